#include "ui/main/work.h"

#include <system_error>
#include <utility>

#include "app/list_words.h"
#include "app/memory.h"
#include "app/shortfall_words.h"
#include "app/stop_command.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "ui/lists/list_dates.h"
#include "ui/main/loading.h"
#include "ui/main/main_window.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"

namespace hivequarry {

bool StartWork(MainWindow& window, int code, std::function<void()> work,
               std::function<void()> done) {
  if (window.work.thread.joinable() || !BeginOperation(code)) return false;
  window.work.done = std::move(done);
  window.work.hive = window.shown->slot < 0 ? kAnyHive : window.shown->number;
  ++window.host.wait_cursors;
  try {
    window.work.thread = std::thread([run = std::move(work), handle = window.handle] {
      WithMemory([&run] {
        run();
        return true;
      });
      EndOperation();
      PostMessageW(handle, kWorkDone, 0, 0);
    });
  } catch (const std::system_error&) {
    --window.host.wait_cursors;
    EndOperation();
    ShowMessage("Too many Threads or Thread not valid !", kProgramName, Icon::kExclamation);
    return false;
  }
  UpdateToolbars(window);
  return true;
}

namespace {

void ShowCut(const std::string& cut) {
  if (!cut.empty()) ShowMessage(cut.c_str(), kProgramName, Icon::kExclamation);
}

}  // namespace

void ShowShortfalls() { ShowCut(ShortfallWords()); }

// The worker has ended or is about to; the flag of the running operation is clear since before its
// message was posted. The order matters: a question whether to stop is answered, what the worker
// said last is shown, and only then `done` runs, which may begin the next operation.
void FinishWork(MainWindow& window) {
  if (!window.work.thread.joinable()) return;
  window.work.thread.join();  // its last act was to post this message
  --window.host.wait_cursors;
  EndQuestion(kStopQuestion);
  ShowHostChanges(window);
  ShowTitleOfViewed(window);  // the worker may have opened a hive for itself
  const std::function<void()> done = std::exchange(window.work.done, nullptr);
  UpdateToolbars(window);  // `done` may show a box
  TellOfRefusedRow();
  const std::string cut = ShortfallWords();
  if (done) {
    const HiveTurn turn(window, window.work.hive);
    done();
  }
  // What `done` began counts anew, and tells of that when it ends.
  ShowCut(window.work.thread.joinable() ? cut : ShortfallWords());
  UpdateToolbars(window);
  if (!window.work.thread.joinable()) FollowZone(window);
  if (!window.work.thread.joinable()) OpenWaiting(window);
}

}  // namespace hivequarry
