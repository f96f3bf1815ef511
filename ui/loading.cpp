#include <system_error>

#include "hive/root_path.h"
#include "host/long_operation.h"
#include "ui/main_window.h"
#include "ui/text.h"

namespace hivequarry {
namespace {

constexpr std::string_view kReportEnding = ".rpt";

bool IsReportName(std::string_view file) {
  return file.size() > kReportEnding.size() &&
         EqualIgnoringCase(file.substr(file.size() - kReportEnding.size()), kReportEnding);
}

// The worker of a load. The image it makes is nobody else's until the message at the end.
void LoadHive(LoadJob& job, HWND window) {
  job.slot = OpenHive(job.file, true);
  if (job.slot >= 0) {
    HiveImage& hive = TheHiveTable().slots[static_cast<size_t>(job.slot)];
    job.summary = BuildImageTree(hive, BuildOptions(), *job.tree);
  }
  EndOperation();
  PostMessageW(window, kLoadDone, 0, 0);
}

void StartLoad(MainWindow& window, const std::string& file, uint32_t start, uint32_t end) {
  if (!BeginOperation(kOperationLoad)) return;
  TheHiveTable().start_offset = start;
  TheHiveTable().end_offset = end;
  window.load.file = file;
  window.load.slot = -1;
  window.load.tree = std::make_unique<KeyTree>();
  ++window.host.wait_cursors;
  try {
    window.load.thread = std::thread(LoadHive, std::ref(window.load), window.handle);
  } catch (const std::system_error&) {
    --window.host.wait_cursors;
    EndOperation();
    ShowMessage("Too many Threads or Thread not valid !", kProgramName, Icon::kExclamation);
  }
  UpdateToolbar(window);
  ShowPanes(window);
}

void OpenInNewCopy(const std::string& file) {
  const Host& host = CurrentHost();
  if (!host.launch(host.context, "/C \"" + file + "\"")) host.beep(host.context);
}

void ShowNoHive(MainWindow& window) {
  SetWindowTextW(window.handle, L"Hivequarry");
  ShowStatus("");
  ShowPanes(window);
}

}  // namespace

void OpenNamedFile(MainWindow& window, const std::string& file, uint32_t start, uint32_t end) {
  if (file.empty() || IsReportName(file)) return;
  if (window.slot >= 0 || window.load.thread.joinable()) return OpenInNewCopy(file);
  StartLoad(window, file, start, end);
}

void TakeLoadResult(MainWindow& window) {
  LoadJob& job = window.load;
  if (!job.thread.joinable()) return;
  job.thread.join();  // its last act was to post this message
  --window.host.wait_cursors;
  TakeHostChanges(window);
  UpdateToolbar(window);
  if (job.slot < 0 || job.tree->items.empty()) return ShowNoHive(window);
  window.slot = job.slot;
  window.key_tree = std::move(job.tree);
  window.summary = job.summary;
  ShowPanes(window);
  ShowTree(window.tree, ShownHive(window), *window.key_tree);
  SelectItem(window.tree, 0);
  ShowCounts(window);
  UpdateToolbar(window);
  SetFocus(window.tree.window);
}

void EndWorkers(MainWindow& window) {
  window.host.ending = true;
  TheLongOperation().backup = false;
  RequestStop();
  // A worker may be waiting for an answer of this thread, so messages sent are served meanwhile.
  while (TheLongOperation().worker_busy || ValueThreadsRun(window.threads)) {
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_SENDMESSAGE);
  }
  if (window.load.thread.joinable()) window.load.thread.join();
}

}  // namespace hivequarry
