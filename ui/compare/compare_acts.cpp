#include "ui/compare/compare_acts.h"

#include <memory>
#include <string>
#include <utility>

#include "app/memory.h"
#include "host/long_operation.h"
#include "host/output_file.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/list_window.h"

namespace hivequarry {
namespace {

// Opens what is above it; a beep where there is no further one.
void GoToDifference(CompareWindow& window, bool next) {
  CompareTree& tree = TreeOf(window);
  const uint32_t from = KeyOfRow(window, FocusedKeyRow(window));
  const uint32_t key = next ? NextDifference(tree, from) : PreviousDifference(tree, from);
  if (key == kNoItem) return BeepAtUser();
  ShowKey(tree, key);
  ShowRows(window, key);
}

// A key that A lacks is none of the hive shown: the nearest one above it is gone to.
void GoToTree(const CompareWindow& window) {
  const ComparedKeys& keys = window.hives->tree.keys;
  uint32_t key = window.selected;
  while (key != kNoItem && keys[key].a == kNoItem) key = keys[key].parent;
  if (key == kNoItem) return;
  const HiveTurn turn(*window.owner, window.hive);
  GoToPosition(*window.owner, window.hives->tree_a.items[keys[key].a].position);
  SetForegroundWindow(window.owner->handle);
}

// The list that came with the comparison was given to its window.
void ListAgain(CompareWindow& window) {
  const std::shared_ptr<ComparedHives> hives = window.hives;
  MainWindow& owner = *window.owner;
  StartWork(
      owner, kOperationCompare, [hives] { hives->list = ListDifferences(*hives); },
      [&owner, hives] { OpenDifferences(owner, *hives); });
}

// --- scripts -------------------------------------------------------------------------------------

// Filled by the worker; the interface thread reads it when that has ended.
struct ScriptJob {
  OutputFile file;
  bool kept = false;
};

// From A to B, or back. A stopped one is not kept: it would look like a whole one.
void SaveScript(CompareWindow& window, bool to_b) {
  const std::shared_ptr<ComparedHives> hives = window.hives;
  const std::string root = PatchRoot(to_b ? hives->side_a() : hives->side_b());
  if (root.empty()) {
    ShowMessage("No valid root key !", kProgramName, Icon::kInformation);
    return;
  }
  FileRequest request;
  request.filter = L"Registry Files Version 5.00, Unicode (*.reg)\0*.reg\0All Files (*.*)\0*.*\0";
  request.extension = L"reg";
  const std::string name = ChooseFile(window.handle, true, kFolderScripts, request);
  if (name.empty()) return;
  if (FileExists(name) && !TheListDialogs().replace(window.handle, name)) return;
  const auto job = std::make_shared<ScriptJob>();
  if (!OpenListFile(name, OutputMode::kReplace, kFileNotWritten, job->file)) return;
  const bool started = StartWork(
      *window.owner, kOperationCompare,
      [job, hives, root, to_b] {
        const auto sink = [job](std::string_view piece) { return WriteOutput(job->file, piece); };
        const bool made = WithMemory([&] {
          const ComparedSide a = hives->side_a();
          const ComparedSide b = hives->side_b();
          return WritePatch(to_b ? a : b, to_b ? b : a, hives->options, root, sink);
        });
        job->kept = CloseOutput(job->file, made && !StopRequested());
      },
      [job, name, hives] {
        if (!job->kept && !StopRequested()) ReportFileFailure(kFileNotWritten, name);
      });
  if (!started) CloseOutput(job->file, false);
}

}  // namespace

void ToggleRow(CompareWindow& window, int row) {
  const uint32_t key = KeyOfRow(window, row);
  if (key == kNoItem) return;
  const auto at = static_cast<size_t>(row);
  // OpenRow does nothing to a row that is open, so the other one closes it.
  if (OpenRow(TreeOf(window), at) || CloseRow(TreeOf(window), at)) ShowRows(window, key);
}

void GoSideways(CompareWindow& window, bool right) {
  CompareTree& tree = TreeOf(window);
  const int row = FocusedKeyRow(window);
  const uint32_t key = KeyOfRow(window, row);
  if (key == kNoItem) return;
  const auto at = static_cast<size_t>(row);
  if (right ? OpenRow(tree, at) : CloseRow(tree, at)) return ShowRows(window, key);
  // It is open already: its first key is in the row below.
  if (right && CanOpen(tree, key)) return FocusKeyRow(window, at + 1);
  if (!right && tree.keys[key].parent != kNoItem) {
    FocusKeyRow(window, RowOfKey(tree, tree.keys[key].parent));
  }
}

void CheckFilter(const CompareWindow& window) {
  for (const CompareCommand& command : CompareCommands()) {
    uint8_t filter = 0;
    if (!FilterOfAct(command.act, filter)) continue;
    const bool on = filter == window.hives->tree.filter;
    CheckMenuItem(GetMenu(window.handle),
                  static_cast<UINT>(kCompareActs + static_cast<int>(command.act)),
                  MF_BYCOMMAND | (on ? MF_CHECKED : MF_UNCHECKED));
  }
}

void OpenDifferences(MainWindow& window, ComparedHives& hives) {
  if (hives.list != nullptr) OpenListWindow(window, std::move(hives.list));
}

void RunAct(CompareWindow& window, CompareAct act) {
  uint8_t filter = 0;
  if (FilterOfAct(act, filter)) {
    SetFilter(TreeOf(window), filter);
    CheckFilter(window);
    return ShowRows(window, window.selected);
  }
  switch (act) {
    case CompareAct::kNext:
    case CompareAct::kPrevious:
      return GoToDifference(window, act == CompareAct::kNext);
    case CompareAct::kGoToTree:
      return GoToTree(window);
    case CompareAct::kList:
      return ListAgain(window);
    case CompareAct::kScriptToB:
    case CompareAct::kScriptToA:
      return SaveScript(window, act == CompareAct::kScriptToB);
    case CompareAct::kClose:
      PostMessageW(window.handle, WM_CLOSE, 0, 0);
      return;
    default:
      return;
  }
}

}  // namespace hivequarry
