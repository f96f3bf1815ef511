#include "ui/main/expanding.h"

#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "ui/main/main_window.h"
#include "ui/main/notifications.h"
#include "ui/main/removed.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"
#include "ui/panes/tree_expand.h"
#include "ui/panes/tree_fill.h"

namespace hivequarry {
namespace {

// The tree of the hive shown that the selected item is of; nothing of it is selected where that is
// an item of another hive.
TreePane& SelectedPane(const MainWindow& window) {
  const HWND tree = window.controls.tree;
  return PaneOfSide(*window.shown, ParamOfItem(tree, TreeView_GetSelection(tree)));
}

template <typename Use>
void ForEachPane(const MainWindow& window, const Use& use) {
  for (const auto& hive : window.hives) {
    for (TreePane* pane : {&hive->pane, &hive->removed_pane, &hive->freed_pane}) use(*pane);
  }
}

// Of all hives together.
struct Progress {
  uint32_t done = 0;
  uint32_t all = 0;
};
// Over all hives of the window, in items.
Progress ProgressOf(const MainWindow& window) {
  Progress progress;
  ForEachPane(window, [&progress](const TreePane& pane) {
    if (!IsExpanding(pane)) return;
    progress.done += pane.expand_inserted;
    progress.all += pane.expand_end - pane.expand_top;
  });
  return progress;
}

// While an operation is under way, its own progress is shown.
void ShowKeysExpanded(MainWindow& window) {
  if (TheLongOperation().running != 0) return;
  const Progress progress = ProgressOf(window);
  window.host.progress_position = progress.done;
  window.host.progress_steps = progress.all;
  ShowStatus(progress.all == 0 ? ""
                               : Concat({"Opening branches, key ", Thousands(progress.done), " of ",
                                         Thousands(progress.all), " (Esc stops)"})
                                     .c_str());
}

// The timer, the status bar and "Stop" follow what is under way.
void FollowExpanding(MainWindow& window) {
  const bool more = IsExpanding(window);
  if (more) {
    SetTimer(window.handle, kExpandTimer, kTimerPause, nullptr);
  } else {
    KillTimer(window.handle, kExpandTimer);
  }
  if (more || window.expanding_shown) ShowKeysExpanded(window);
  if (more != window.expanding_shown) {
    window.expanding_shown = more;
    UpdateToolbar(window);
  }
  KeepFilling(window);
}

}  // namespace

ClosingBranches::ClosingBranches(MainWindow& window) : window_(window) {
  told_ = TreeView_GetCount(window.controls.tree) >= kManyTreeItems;
  if (!told_) return;
  previous_ = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
  ShowStatus("Closing branches ...");
  ShowHostChanges(window);
  UpdateWindow(window.controls.status);
}

ClosingBranches::~ClosingBranches() {
  if (!told_) return;
  SetCursor(previous_);
  if (TheLongOperation().running == 0) ShowStatus("");
}

bool IsExpanding(const MainWindow& window) {
  bool any = false;
  ForEachPane(window, [&any](const TreePane& pane) { any = any || IsExpanding(pane); });
  return any;
}

bool IsBranchSelected(const MainWindow& window) {
  const TreePane& pane = SelectedPane(window);
  const uint32_t item = SelectedItem(pane);
  return pane.tree != nullptr && item < pane.tree->items.size() && HasShownChildren(pane, item);
}

void StartExpanding(MainWindow& window) {
  TreePane& pane = SelectedPane(window);
  StartExpand(pane, SelectedItem(pane));
  ExpandOn(window);
}

void CollapseSelected(MainWindow& window) {
  const ClosingBranches closing(window);
  TreePane& pane = SelectedPane(window);
  CollapseBranch(pane, SelectedItem(pane));
  KeepFilling(window);  // a branch whose expanding this has ended
}

void ExpandOn(MainWindow& window) {
  ForEachPane(window, ExpandSlice);
  FollowExpanding(window);
}

bool StopExpanding(MainWindow& window) {
  if (!IsExpanding(window)) return false;
  ForEachPane(window, StopExpand);
  FollowExpanding(window);
  return true;
}

}  // namespace hivequarry
