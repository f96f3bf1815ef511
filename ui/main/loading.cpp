// A load: StartLoad sets the table of hives and starts LoadHive on the worker, which opens the
// image with its logs and builds the tree; kLoadDone leads to ShowLoaded, which takes the result
// into a WindowHive and shows it. A hive that is loaded again is let go of before: until the end
// its record has nothing loaded, and keeps its place in the window.
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
#include "ui/compare/compare_window.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_reports.h"
#include "ui/live/compare_commands.h"
#include "ui/main/expanding.h"
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

// On the interface thread, before the worker starts: it gets the settings as they are then.
BuildOptions OptionsOfBuild(const LoadJob& job) {
  const Options& options = TheSettings().options;
  BuildOptions build;
  build.disconnected_values = options.disconnected_values;
  build.tolerant_keys = options.tolerant_keys;
  ReadInCodePage(options.code_page_text);
  build.cut_at_other_root = options.ask_other_roots;
  build.on_cut = OfferOtherHive;
  build.root_path = job.origin.root_path;
  return build;
}

// False when there is no hive to show.
bool OpenAndBuild(LoadJob& job, const BuildOptions& options) {
  job.slot = OpenHiveAndTell(job.origin.file);
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
void StartLoad(MainWindow& window, const HiveOrigin& origin, uint32_t into,
               const ReloadRequest& request) {
  if (window.work.thread.joinable() || !BeginOperation(kOperationLoad)) return;
  ShowArrangement(window, kKeysArrangement);
  TheHiveTable().start_offset = origin.start;
  TheHiveTable().end_offset = origin.end;
  TheHiveTable().logs = request.logs;
  window.load.origin = origin;
  window.load.origin.logs = request.logs;
  window.load.into = into;
  window.load.key_position = request.key_position;
  window.load.key_path = request.key_path;
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

// A position alone says which key is meant only where the image is the same; a path, in any.
void GoToLoadedKey(MainWindow& window) {
  const LoadJob& job = window.load;
  if (!job.key_path.empty()) {
    const uint32_t item =
        ItemAgain(ShownHive(window), *window.shown->tree, job.key_path, job.key_position);
    return SelectItem(window.shown->pane, item);
  }
  if (job.key_position != kNoOffset) GoToPosition(window, job.key_position);
}

// What was to be loaded again is gone.
void ShowNoHive(MainWindow& window) {
  if (window.load.slot >= 0) FreeHiveSlot(window.load.slot);
  WindowHive* const hive = FindHive(window, window.load.into);
  if (hive != nullptr) DropHive(window, *hive);
  StartFindings(window);  // of the others, which ended for this one
  ShowTitleOfViewed(window);
  ShowHiveState(window);
  ShowStatus("");
  ShowPanes(window);
}

// A file that is open, the whole of it, is not opened once more.
bool GoToOpenHive(MainWindow& window, const std::string& file) {
  for (const auto& hive : window.hives) {
    if (hive->slot < 0 || hive->origin.end != 0) continue;
    if (FullName(hive->origin.file) != FullName(file)) continue;
    SelectItem(hive->pane, 0);
    SetFocus(ShownPane(window));
    return true;
  }
  return false;
}

// What the panes show from now on.
WindowHive& TakeLoaded(MainWindow& window) {
  LoadJob& job = window.load;
  WindowHive* const again = FindHive(window, job.into);
  WindowHive& hive = again == nullptr ? AddHive(window) : *again;
  ForgetItemShown(window);
  window.viewed = window.shown = &hive;
  hive.origin = job.origin;
  hive.slot = job.slot;
  hive.tree = std::move(job.tree);
  hive.summary = job.summary;
  hive.survey = std::move(job.survey);
  return hive;
}

}  // namespace

void OpenNamedFile(MainWindow& window, const NamedFile& file) {
  if (file.name.empty()) return;
  if (IsReportName(file.name)) {
    window.report_named = file.name;
    PostMessageW(window.handle, WM_COMMAND, MAKEWPARAM(kCommandLoadReport, kReportNamed), 0);
    return;
  }
  const bool busy = window.load.thread.joinable() || window.work.thread.joinable();
  const bool apart = TheSettings().options.window_for_each && (busy || LoadedHives(window) != 0);
  if (apart) return OpenInNewCopy(file.name);
  if (busy) return window.load.waiting.push_back(file);
  if (file.end == 0 && file.key == kNoOffset && GoToOpenHive(window, file.name)) return;
  StartLoad(window, {file.name, file.start, file.end, {}, {}}, kAnyHive, {file.logs, {}, file.key});
}

void OpenWaiting(MainWindow& window) {
  if (window.load.waiting.empty()) return;
  const NamedFile next = window.load.waiting.front();
  window.load.waiting.erase(window.load.waiting.begin());
  OpenNamedFile(window, next);
}

void OpenInNewCopy(const std::string& file) {
  if (!LaunchSelf('"' + file + '"', kLaunchCopy)) BeepAtUser();
}

void LoadAgain(MainWindow& window, const ReloadRequest& request) {
  StartLoad(window, window.shown->origin, window.shown->number, request);
}

void LetReadersEnd(MainWindow& window) {
  StopFindings(window);
  // Results on their way are dropped, and value threads that have not begun yet do nothing.
  ++window.selection.item_box.newest;
  ++window.selection.detail_box.newest;
  WaitWhile([&window] { return ValueThreadsRun(window.selection.threads); });
}

// Nobody may look at the hive any more when it goes.
void LetGoOfHive(MainWindow& window) {
  WindowHive& hive = *window.shown;
  CloseCompareWindows(hive.number);
  LetReadersEnd(window);
  StopHashing(hive.hashing);
  if (window.blocks != nullptr) DestroyWindow(window.blocks);
  const int slot = std::exchange(hive.slot, -1);
  // Items that go select others, which nobody asked for.
  window.tree_changes = true;
  const ClosingBranches closing(window);
  ClearTree(hive.pane);
  ForgetRemoved(window);
  ForgetFreed(window);
  if (window.shown == window.viewed) TreeView_SelectItem(window.controls.tree, nullptr);
  window.tree_changes = false;
  if (window.shown == window.viewed) ForgetItemShown(window);
  ForgetFindings(window);
  hive.removed = nullptr;
  hive.tree = nullptr;
  hive.sid_replacement = SidReplacement();
  hive.structure = HiveStructure();
  ShowHiveState(window);
  RenewBand(window);
  if (slot >= 0) FreeHiveSlot(slot);
}

void CloseShownHive(MainWindow& window) {
  WindowHive& hive = *window.shown;
  LetGoOfHive(window);
  DropHive(window, hive);
  StartFindings(window);  // of the others, if they were looked for
  ShowPanes(window);
}

void LoadNamedReport(MainWindow& window) {
  const std::string file = std::exchange(window.report_named, std::string());
  if (file.empty() || !IsListCommandAvailable(window.output, kCommandLoadReport)) return;
  ShowArrangement(window, kOutputArrangement);
  LoadReport(window.output, file);
}

namespace {

// Threads that look at the new hive start after the tree is shown; messages to the user come last,
// when the window is as it will be.
void ShowLoaded(MainWindow& window) {
  LoadJob& job = window.load;
  job.thread.join();  // its last act was to post this message
  --window.host.wait_cursors;
  EndQuestion(kStopQuestion);
  ShowHostChanges(window);
  UpdateToolbars(window);
  if (job.slot < 0 || job.tree->items.empty()) return ShowNoHive(window);
  WindowHive& hive = TakeLoaded(window);
  ShowPanes(window);
  window.tree_changes = true;
  ShowTree(hive.pane, ShownHive(window), *hive.tree, PlaceOfRoot(window, hive));
  window.tree_changes = false;
  ShowRemovedFolder(window);
  ShowFreedKeys(window);
  SelectItem(window.shown->pane, 0);
  GoToLoadedKey(window);
  ShowHiveState(window);
  StartHashing(window);
  StartFindings(window);
  RenewBand(window);
  ShowCounts(window);
  RememberHive(job.origin.file, job.origin.start, job.origin.end);
  RememberInSystem(window, job.origin.file);
  UpdateToolbar(window);
  SetFocus(ShownPane(window));
  CompareLoadedHive(window);
  ShowShortfalls();
  const std::string moved = UndoneWords(ShownHive(window));
  if (!moved.empty()) ShowMessage(moved.c_str(), kProgramName, Icon::kInformation);
  const std::string& layers = window.shown->survey.layers;
  if (!layers.empty()) ShowMessage(layers.c_str(), kProgramName, Icon::kInformation);
  // What became of logs that were applied is in the status bar; what is missing is told at once.
  if (!LacksLogs(ShownHive(window))) return;
  ShowMessage(LogsWords(ShownHive(window)).c_str(), kProgramName, Icon::kInformation);
}

}  // namespace

void ShowLoadResult(MainWindow& window) {
  if (!window.load.thread.joinable()) return;
  ShowLoaded(window);
  OpenWaiting(window);
}

void WaitWhile(const std::function<bool()>& busy) {
  while (busy()) {
    // Looking for sent messages alone answers these and leaves all posted ones and input where they
    // are: no command can begin meanwhile. What is waited for has no event, so it is looked at
    // every 5 ms.
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
  for (const auto& hive : window.hives) StopHashing(hive->hashing);
  StopFindings(window);
  window.work.done = nullptr;
}

}  // namespace hivequarry
