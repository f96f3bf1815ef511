#include "ui/commands/tree_commands.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/opening_words.h"
#include "app/settings.h"
#include "hive/file_place.h"
#include "host/files.h"
#include "host/launch.h"
#include "lists/list_order.h"
#include "recovery/root_search.h"
#include "ui/commands/handlers.h"
#include "ui/frame/text.h"
#include "ui/main/expanding.h"
#include "ui/main/freed.h"
#include "ui/main/main_window.h"
#include "ui/main/notifications.h"
#include "ui/main/removed.h"
#include "ui/main/toolbar.h"
#include "view/freed_words.h"
#include "view/list_commands.h"
#include "view/removed_words.h"
#include "view/tree_find.h"

namespace hivequarry {
namespace {

constexpr size_t kItemsFoundAtOnce = 20000;  // larger trees are searched by a worker

// One search through the trees of the pane. `found` and `passed` are the answer, a worker's where
// the trees are large.
struct TreeSearch {
  TreeFindRequest request;
  // The hive's tree, what was deleted, what logs removed; the two latter as far as they are shown.
  std::vector<SearchedTree> trees;
  std::vector<TreePane*> panes;
  size_t from = 0;  // which of them
  std::shared_ptr<const FreedTree> freed;
  std::shared_ptr<const RemovedState> removed;
  FoundItem found;
  bool passed = false;
};

// On the interface thread. After a stop nothing is said.
void ShowFound(MainWindow& window, const TreeSearch& search) {
  if (search.passed) {
    ShowPassingText(window, search.request.down ? kPassedEnd : kPassedBeginning);
  }
  if (search.found.item != kNoItem) {
    TreePane& pane = *search.panes[search.found.tree];
    if (&pane == &window.shown->freed_pane)
      return SelectGuest(window.shown->pane, pane, search.found.item);
    return SelectItem(pane, search.found.item);
  }
  if (search.found.stopped) return;
  ShowMessage("No items found !", kProgramName, Icon::kInformation);
}

// The search begins at the item that is selected, in whichever of the trees that is.
void AddTree(TreeSearch& search, TreePane& pane, std::function<std::string(uint32_t)> name) {
  const uint32_t selected = SelectedItem(pane);
  if (selected != kNoItem) {
    search.from = search.trees.size();
    search.request.from = selected;
  }
  search.trees.push_back({pane.tree, std::move(name)});
  search.panes.push_back(&pane);
}

// The trees that are in the control of the hive shown: its own, what was deleted, what its logs
// removed. The shared ones are kept alive by `search`. Items without a name are passed over.
void GatherTrees(MainWindow& window, TreeSearch& search) {
  const HiveImage& hive = ShownHive(window);
  const KeyTree& tree = *window.shown->tree;
  AddTree(search, window.shown->pane, [&](uint32_t item) { return ItemName(hive, tree, item); });
  search.freed = ShownFreed(window);
  if (const FreedTree* freed = search.freed.get(); freed != nullptr) {
    AddTree(search, window.shown->freed_pane, [freed, &hive, &tree](uint32_t item) {
      const uint32_t under = HostOfFreed(*freed, item);
      const bool gone = under != kNoItem ? tree.items[under].hidden : !HasFreedFolder(*freed);
      return gone ? std::string() : FreedItemText(hive, *freed, item);
    });
  }
  search.removed = window.shown->removed;
  if (const RemovedState* removed = search.removed.get(); removed != nullptr) {
    AddTree(search, window.shown->removed_pane, [removed](uint32_t item) {
      return item == 0 ? RemovedFolderText(*removed)
                       : ItemName(removed->before.image, removed->before.tree, item);
    });
  }
}

// Small trees are searched at once, so that no operation has to begin and end for them.
void StartSearch(MainWindow& window, bool down) {
  const auto search = std::make_shared<TreeSearch>();
  search->request = {window.tree_find.text, kNoItem, down, window.tree_find.wrap};
  GatherTrees(window, *search);
  const auto run = [search] {
    search->found = FindItemByName(search->trees, search->from, search->request,
                                   [&search] { search->passed = true; });
  };
  size_t items = 0;
  for (const SearchedTree& searched : search->trees) items += searched.tree->items.size();
  if (items <= kItemsFoundAtOnce) {
    run();
    return ShowFound(window, *search);
  }
  StartWork(window, kOperationFind, run, [&window, search] { ShowFound(window, *search); });
}

void AskAndSearch(MainWindow& window) {
  FindChoice choice = window.tree_find;
  choice.title = L"Find in Tree";
  choice.wrap = choice.text.empty() ? TheSettings().options.wrap_find : choice.wrap;
  choice.can_add = false;
  if (!AskFind(window.handle, choice)) return;
  window.tree_find = choice;
  StartSearch(window, choice.down);
}

void SearchAgain(MainWindow& window, bool down, CommandNumber list_command) {
  if (window.layout.arrangement == kOutputArrangement)
    return RunOutputCommand(window, list_command);
  window.tree_find.text.empty() ? AskAndSearch(window) : StartSearch(window, down);
}

bool IsFolder(const KeyTree& tree, uint32_t item) {
  return item == tree.disconnected_keys || item == tree.disconnected_values;
}

// The item under the root, or under a folder, that holds an item; a folder or the root is its own.
uint32_t BranchTop(const KeyTree& tree, uint32_t item) {
  for (;;) {
    const uint32_t parent = tree.items[item].parent;
    if (parent == kNoItem || parent == 0 || IsFolder(tree, parent)) return item;
    item = parent;
  }
}

uint32_t CountKeys(const KeyTree& tree, uint32_t item) {
  uint32_t count = 0;
  for (uint32_t at = item; at < tree.items[item].end; ++at) count += IsKeyOrCopy(tree, at) ? 1 : 0;
  return count;
}

bool MayDelete(uint32_t keys) {
  if (keys <= 1) return true;
  const std::string question = "Delete " + std::to_string(keys) + " keys from tree ?";
  return ShowMessage(question.c_str(), kProgramName, Icon::kQuestion, Buttons::kYesNo) ==
         Answer::kYes;
}

}  // namespace

void OnFind(MainWindow& window) {
  if (window.layout.arrangement == kOutputArrangement) {
    RunOutputCommand(window, kCommandFindInList);
  } else {
    AskAndSearch(window);
  }
}

void OnFindNext(MainWindow& window) { SearchAgain(window, true, kCommandFindNext); }
void OnFindPrevious(MainWindow& window) { SearchAgain(window, false, kCommandFindPrevious); }

void OnRecovered(MainWindow& window, bool down) {
  WindowHive& hive = *window.shown;
  const bool in_freed = IsFreedSelected(window);
  const TreePlace from{SelectedItem(in_freed ? hive.freed_pane : hive.pane), in_freed};
  const FoundRecovered found = FindRecovered(*hive.tree, ShownFreed(window).get(), from, down);
  if (found.place.item == kNoItem) {
    const bool known = hive.findings.freed != nullptr;
    ShowMessage(known ? "Nothing was recovered in this hive."
                      : "Nothing was recovered in this hive so far.\r\n"
                        "Deleted keys are still being looked for.",
                kProgramName, Icon::kInformation);
    return;
  }
  if (found.passed) ShowPassingText(window, down ? kPassedEnd : kPassedBeginning);
  if (found.place.freed) return SelectGuest(hive.pane, hive.freed_pane, found.place.item);
  SelectItem(hive.pane, found.place.item);
}

void OnCurrentBranch(MainWindow& window) {
  const KeyTree& tree = *window.shown->tree;
  const uint32_t item = SelectedItem(window.shown->pane);
  const uint32_t top = BranchTop(tree, item);
  // The second time, from the top, the way leads back to where it came from.
  if (item != top) {
    SelectItem(window.shown->pane, top);
    TreeView_SelectSetFirstVisible(window.controls.tree, window.shown->pane.handles[top]);
    window.selection.branch_return = item;
    return;
  }
  const uint32_t back = window.selection.branch_return;
  const bool inside = back > top && back < tree.items[top].end && !tree.items[back].hidden;
  if (inside) SelectItem(window.shown->pane, back);
}

void OnExpandSubfolders(MainWindow& window) { StartExpanding(window); }

void OnCollapseSubfolders(MainWindow& window) { CollapseSelected(window); }

void OnCopyKeyName(MainWindow& window) {
  const uint32_t item = SelectedItem(window.shown->pane);
  const HiveImage& hive = ShownHive(window);
  const KeyTree& tree = *window.shown->tree;
  const std::string path = IsFreedSelected(window)
                               ? FreedItemPath(hive, tree, *window.shown->freed_pane.freed,
                                               SelectedItem(window.shown->freed_pane))
                               : LongItemPath(hive, tree, item);
  CopyText(window.handle, WideName(path));
}

void OnFreedInTree(MainWindow& window) {
  bool& shown = TheSettings().freed_in_tree;
  shown = !shown;
  for (const auto& hive : window.hives) {
    if (hive->slot < 0) continue;
    const HiveTurn turn(window, hive->number);
    shown ? ShowFreedKeys(window) : HideFreedKeys(window);
  }
  UpdateToolbar(window);
}

void OnOpenValidRoot(MainWindow& window) {
  const uint32_t item = SelectedItem(window.shown->pane);
  OpenRootInCopy(ShownHive(window), window.shown->tree->items[item].position);
}

void OnOpenKey(MainWindow& window) {
  const HiveImage& hive = ShownHive(window);
  const uint32_t position = window.shown->tree->items[SelectedItem(window.shown->pane)].position;
  LaunchSelf(KeyArguments(FullName(hive.file_name), hive.base_offset, FileEndOf(hive),
                          PlaceOf(hive, position)),
             kLaunchPlain);
}

void OnDeleteKeys(MainWindow& window) {
  KeyTree& tree = *window.shown->tree;
  const uint32_t item = SelectedItem(window.shown->pane);
  if (!MayDelete(CountKeys(tree, item))) return;
  LetReadersEnd(window);
  HideBranch(tree, item);
  RemoveItem(window.shown->pane, item);
  RefreshItem(window);
  StartFindings(window);
}

void OnShowAllKeys(MainWindow& window) {
  LetReadersEnd(window);
  UnhideAll(*window.shown->tree);
  const uint32_t item = SelectedItem(window.shown->pane);
  // Items that go select others; what is selected is said again at the end.
  window.tree_changes = true;
  ClearTree(window.shown->pane);
  ForgetRemoved(window);
  ForgetFreed(window);
  ShowTree(window.shown->pane, ShownHive(window), *window.shown->tree,
           PlaceOfRoot(window, *window.shown));
  ShowRemovedFolder(window);
  ShowFreedKeys(window);
  window.tree_changes = false;
  SelectItem(window.shown->pane, item == kNoItem ? 0 : item);
  RefreshItem(window);
  StartFindings(window);
}

}  // namespace hivequarry
