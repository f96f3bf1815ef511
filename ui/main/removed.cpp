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

struct RemovedJob {
  std::shared_ptr<RemovedState> state = std::make_shared<RemovedState>();
  bool found = false;
};

void ShowContent(MainWindow& window) {
  const RemovedState& state = *window.hive.removed;
  BindFolder(window.removed, state, WindowText(RemovedFolderText(state)));
}

void ShowRemoved(MainWindow& window, const RemovedJob& job) {
  if (!job.found || window.hive.slot < 0) return;
  window.hive.removed = job.state;
  ShowContent(window);
  TreeView_Expand(window.removed.window, window.removed.handles[0], TVE_EXPAND);
  if (IsRemovedSelected(window)) OnRemovedSelected(window);
}

void WorkOut(MainWindow& window) {
  const auto job = std::make_shared<RemovedJob>();
  StartWork(
      window, kOperationList,
      [job, &hive = ShownHive(window), &tree = *window.hive.tree] {
        job->found = FindRemoved(hive, tree, *job->state);
        if (job->found) HideWhatStays(*job->state);
      },
      [&window, job] { ShowRemoved(window, *job); });
}

}  // namespace

void ForgetRemoved(MainWindow& window) { window.removed = TreePane(); }

void ShowRemovedFolder(MainWindow& window) {
  ForgetRemoved(window);
  if (!IsReplayed(ShownHive(window))) return;
  window.removed.window = window.tree.window;
  window.removed.side = kRemovedSide;
  InsertFolder(window.removed, window.tree.handles[0], WindowText(kRemovedTitle));
  if (window.hive.removed != nullptr) ShowContent(window);
}

TreePane& PaneOfItem(MainWindow& window, LPARAM item) {
  if ((item & kFreedSide) != 0) return window.freed;
  return (item & kRemovedSide) != 0 ? window.removed : window.tree;
}

bool IsRemovedSelected(const MainWindow& window) {
  return window.removed.side != 0 && IsSideSelected(window.removed);
}

bool OnRemovedExpanding(MainWindow& window, const NMTREEVIEWW& notice) {
  const bool opens = (notice.action & TVE_EXPAND) != 0;
  if (!opens || (notice.itemNew.lParam & kRemovedSide) == 0) return false;
  if (window.hive.removed != nullptr) return false;
  WorkOut(window);
  return true;
}

void OnRemovedSelected(MainWindow& window) {
  const uint32_t item = SelectedItem(window.removed);
  if (item == kNoItem || item == 0) {
    const bool known = window.hive.removed != nullptr;
    return ShowRemovedRoot(window,
                           RemovedFolderDetail(known ? window.hive.removed.get() : nullptr));
  }
  const RemovedState& state = *window.hive.removed;
  ShowItemWords(window, WideText(RemovedItemWords(*ShownHive(window).logs, state, item)));
  ShowRemovedItem(window, item);
}

}  // namespace hivequarry
