#include "ui/main/removed.h"

#include <memory>

#include "hive/replaying.h"
#include "reports/removed_state.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"
#include "ui/main/selection.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"
#include "view/removed_words.h"

namespace hivequarry {
namespace {

// Filled by the worker; the interface thread reads it when that has ended.
struct RemovedJob {
  std::shared_ptr<RemovedState> state = std::make_shared<RemovedState>();
  bool found = false;
};

void ShowContent(MainWindow& window) {
  const RemovedState& state = *window.shown->removed;
  BindFolder(window.shown->removed_pane, state, WindowText(RemovedFolderText(state)));
}

// On the interface thread; the hive may be gone by then.
void ShowRemoved(MainWindow& window, const RemovedJob& job) {
  if (!job.found || window.shown->slot < 0) return;
  window.shown->removed = job.state;
  ShowContent(window);
  TreeView_Expand(window.shown->removed_pane.window, window.shown->removed_pane.handles[0],
                  TVE_EXPAND);
  if (window.shown == window.viewed && IsRemovedSelected(window)) OnRemovedSelected(window);
}

// When the folder is opened for the first time: the state before the logs costs a load of its own.
void WorkOut(MainWindow& window) {
  const auto job = std::make_shared<RemovedJob>();
  StartWork(
      window, kOperationList,
      [job, &hive = ShownHive(window), &tree = *window.shown->tree] {
        job->found = FindRemoved(hive, tree, *job->state);
        if (job->found) HideWhatStays(*job->state);
      },
      [&window, job] { ShowRemoved(window, *job); });
}

}  // namespace

void ForgetRemoved(MainWindow& window) { RemoveFolder(window.shown->removed_pane); }

void ShowRemovedFolder(MainWindow& window) {
  ForgetRemoved(window);
  if (!IsReplayed(ShownHive(window))) return;
  window.shown->removed_pane.window = window.controls.tree;
  window.shown->removed_pane.side = window.shown->pane.side | kRemovedSide;
  InsertFolder(window.shown->removed_pane, window.shown->pane.handles[0],
               WindowText(kRemovedTitle));
  if (window.shown->removed != nullptr) ShowContent(window);
}

TreePane& PaneOfSide(WindowHive& hive, LPARAM item) {
  if ((item & kFreedSide) != 0) return hive.freed_pane;
  return (item & kRemovedSide) != 0 ? hive.removed_pane : hive.pane;
}

TreePane& PaneOfItem(MainWindow& window, LPARAM item) {
  WindowHive* const of = HiveOfParam(window, item);
  return PaneOfSide(of == nullptr ? window.none : *of, item);
}

bool IsRemovedSelected(const MainWindow& window) {
  return window.shown->removed_pane.side != 0 && IsSideSelected(window.shown->removed_pane);
}

bool OnRemovedExpanding(MainWindow& window, const NMTREEVIEWW& notice) {
  const bool opens = (notice.action & TVE_EXPAND) != 0;
  if (!opens || (notice.itemNew.lParam & kRemovedSide) == 0) return false;
  const HiveTurn turn(window, HiveOfSide(notice.itemNew.lParam));
  if (window.shown->slot < 0 || window.shown->removed != nullptr) return false;
  WorkOut(window);
  return true;
}

void OnRemovedSelected(MainWindow& window) {
  const uint32_t item = SelectedItem(window.shown->removed_pane);
  if (item == kNoItem || item == 0) {
    const bool known = window.shown->removed != nullptr;
    return ShowRemovedRoot(window,
                           RemovedFolderDetail(known ? window.shown->removed.get() : nullptr));
  }
  const RemovedState& state = *window.shown->removed;
  ShowItemWords(window, WideText(RemovedItemWords(*ShownHive(window).logs, state, item)));
  ShowRemovedItem(window, item);
}

}  // namespace hivequarry
