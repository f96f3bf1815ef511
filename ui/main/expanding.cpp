#include "ui/main/expanding.h"

#include <algorithm>

#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "ui/main/main_window.h"
#include "ui/main/notifications.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"
#include "ui/panes/tree_expand.h"

namespace hivequarry {
namespace {

// Of all hives together.
struct Progress {
  uint32_t done = 0;
  uint32_t all = 0;
};
// Over all hives of the window, in items.
Progress ProgressOf(const MainWindow& window) {
  Progress progress;
  for (const auto& hive : window.hives) {
    const TreePane& pane = hive->pane;
    if (!IsExpanding(pane)) continue;
    progress.done += pane.expand_inserted;
    progress.all += pane.expand_end - pane.expand_top;
  }
  return progress;
}

// While an operation is under way, its own progress is shown.
void ShowProgress(MainWindow& window) {
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
  if (more || window.expanding_shown) ShowProgress(window);
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
  return std::ranges::any_of(window.hives,
                             [](const auto& hive) { return IsExpanding(hive->pane); });
}

void StartExpanding(MainWindow& window) {
  StartExpand(window.shown->pane, SelectedItem(window.shown->pane));
  ExpandOn(window);
}

void ExpandOn(MainWindow& window) {
  for (const auto& hive : window.hives) ExpandSlice(hive->pane);
  FollowExpanding(window);
}

bool StopExpanding(MainWindow& window) {
  if (!IsExpanding(window)) return false;
  for (const auto& hive : window.hives) StopExpand(hive->pane);
  FollowExpanding(window);
  return true;
}

}  // namespace hivequarry
