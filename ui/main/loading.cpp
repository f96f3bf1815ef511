#include "ui/main/loading.h"

#include <system_error>
#include <utility>

#include "app/memory.h"
#include "app/opening_words.h"
#include "app/settings.h"
#include "app/stop_command.h"
#include "hive/file_place.h"
#include "hive/replaying.h"
#include "host/launch.h"
#include "host/long_operation.h"
#include "lists/list_report.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_reports.h"
#include "ui/live/compare_commands.h"
#include "ui/main/freed.h"
#include "ui/main/main_window.h"
#include "ui/main/removed.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"
#include "ui/main/window_settings.h"
#include "view/list_commands.h"
#include "view/tree_find.h"

namespace hivequarry {
namespace {

BuildOptions OptionsOfBuild(const LoadJob& job) {
  const Options& options = TheSettings().options;
  BuildOptions build;
  build.disconnected_values = options.disconnected_values;
  build.tolerant_keys = options.tolerant_keys;
  ReadInCodePage(options.code_page_text);
  build.cut_at_other_root = options.ask_other_roots;
  build.on_cut = OfferOtherHive;
  build.root_path = job.root_path;
  return build;
}

// False when there is no hive to show.
bool OpenAndBuild(LoadJob& job, const BuildOptions& options) {
  job.slot = OpenHiveAndTell(job.file);
  if (job.slot < 0) return false;
  HiveImage& hive = HiveOfSlot(job.slot);
  job.summary = BuildImageTree(hive, options, *job.tree);
  if (FoundNothing(job.summary) && !ValidateAndTell(hive)) return false;
  job.survey = SurveyHive(hive, *job.tree);
  return true;
}

// The worker of a load. The image it makes is nobody else's until the message at the end.
void LoadHive(LoadJob& job, BuildOptions options, HWND window) {
  if (!WithMemory([&] { return OpenAndBuild(job, options); }) && job.slot >= 0) {
    FreeHiveSlot(job.slot);
    job.slot = -1;
  }
  EndOperation();
  PostMessageW(window, kLoadDone, 0, 0);
}

// Does nothing while an operation is under way. The table of hives is set here, on the interface
// thread, before the worker reads it.
void StartLoad(MainWindow& window, const std::string& file, uint32_t start, uint32_t end,
               const ReloadRequest& request) {
  if (window.work.thread.joinable() || !BeginOperation(kOperationLoad)) return;
  ShowArrangement(window, kKeysArrangement);
  TheHiveTable().start_offset = start;
  TheHiveTable().end_offset = end;
  TheHiveTable().logs = request.logs;
  window.load.file = file;
  window.load.start = start;
  window.load.end = end;
  window.load.key_position = request.key_position;
  window.load.key_path = request.key_path;
  window.load.logs = request.logs;
  window.load.slot = -1;
  window.load.tree = std::make_unique<KeyTree>();
  ++window.host.wait_cursors;
  try {
    window.load.thread =
        std::thread(LoadHive, std::ref(window.load), OptionsOfBuild(window.load), window.handle);
  } catch (const std::system_error&) {
    --window.host.wait_cursors;
    EndOperation();
    ShowMessage("Too many Threads or Thread not valid !", kProgramName, Icon::kExclamation);
  }
  UpdateToolbars(window);
  ShowPanes(window);
}

void OpenInNewCopy(const std::string& file) {
  if (!LaunchSelf('"' + file + '"', kLaunchCopy)) CurrentHost().beep(CurrentHost().context);
}

// A position alone says which key is meant only where the image is the same; a path, in any.
void GoToLoadedKey(MainWindow& window) {
  const LoadJob& job = window.load;
  if (!job.key_path.empty()) {
    const uint32_t item =
        ItemAgain(ShownHive(window), *window.hive.tree, job.key_path, job.key_position);
    return SelectItem(window.tree, item);
  }
  if (job.key_position != kNoOffset) GoToPosition(window, job.key_position);
}

void ShowNoHive(MainWindow& window) {
  window.load.root_path.clear();
  ShowHiveState(window);
  SetWindowTextW(window.handle, L"Hivequarry");
  ShowStatus("");
  ShowPanes(window);
}

}  // namespace

void OpenNamedFile(MainWindow& window, const std::string& file, uint32_t start, uint32_t end,
                   uint32_t key_position) {
  if (file.empty()) return;
  if (IsReportName(file)) {
    window.report_named = file;
    PostMessageW(window.handle, WM_COMMAND, MAKEWPARAM(kCommandLoadReport, kReportNamed), 0);
    return;
  }
  if (window.hive.slot >= 0 || window.load.thread.joinable()) return OpenInNewCopy(file);
  StartLoad(window, file, start, end, {LogChoice(), {}, key_position});
}

void LoadAgain(MainWindow& window, const ReloadRequest& request) {
  const std::string file = window.load.file;
  StartLoad(window, file, window.load.start, window.load.end, request);
}

void LoadNamedReport(MainWindow& window) {
  const std::string file = std::exchange(window.report_named, std::string());
  if (file.empty() || !IsListCommandAvailable(window.output, kCommandLoadReport)) return;
  ShowArrangement(window, kOutputArrangement);
  LoadReport(window.output, file);
}

// Threads that look at the new hive start after the tree is shown; messages to the user come last,
// when the window is as it will be.
void ShowLoadResult(MainWindow& window) {
  LoadJob& job = window.load;
  if (!job.thread.joinable()) return;
  job.thread.join();  // its last act was to post this message
  --window.host.wait_cursors;
  EndQuestion(kStopQuestion);
  ShowHostChanges(window);
  UpdateToolbars(window);
  if (job.slot < 0 || job.tree->items.empty()) return ShowNoHive(window);
  window.hive.slot = job.slot;
  window.hive.tree = std::move(job.tree);
  window.hive.summary = job.summary;
  window.hive.survey = std::move(job.survey);
  ShowPanes(window);
  ShowTree(window.tree, ShownHive(window), *window.hive.tree);
  ShowRemovedFolder(window);
  ShowFreedKeys(window);
  SelectItem(window.tree, 0);
  GoToLoadedKey(window);
  ShowHiveState(window);
  StartHashing(window);
  StartFindings(window);
  RenewBand(window);
  ShowCounts(window);
  RememberHive(job.file, job.start, job.end);
  UpdateToolbar(window);
  SetFocus(ShownPane(window));
  CompareLoadedHive(window);
  ShowShortfalls();
  const std::string moved = UndoneWords(ShownHive(window));
  if (!moved.empty()) ShowMessage(moved.c_str(), kProgramName, Icon::kInformation);
  const std::string& layers = window.hive.survey.layers;
  if (!layers.empty()) ShowMessage(layers.c_str(), kProgramName, Icon::kInformation);
  // What became of logs that were applied is in the status bar; what is missing is told at once.
  if (!LacksLogs(ShownHive(window))) return;
  ShowMessage(LogsWords(ShownHive(window)).c_str(), kProgramName, Icon::kInformation);
}

void WaitWhile(const std::function<bool()>& busy) {
  while (busy()) {
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_SENDMESSAGE);
  }
}

// Waits for those first that may be waiting for an answer of this thread, with its messages
// answered; then threads can be joined.
void EndWorkers(MainWindow& window) {
  window.host.ending = true;
  TheLongOperation().backup = false;
  RequestStop();
  WaitWhile([&window] {
    return TheLongOperation().worker_busy || ValueThreadsRun(window.selection.threads);
  });
  JoinValueThreads(window.selection.threads);
  if (window.load.thread.joinable()) window.load.thread.join();
  if (window.work.thread.joinable()) window.work.thread.join();
  StopHashing(window);
  StopFindings(window);
  window.work.done = nullptr;
}

}  // namespace hivequarry
