#include "ui/main/window_hive.h"

#include <algorithm>
#include <utility>

#include "hive/hive_table.h"
#include "ui/main/band.h"
#include "ui/main/main_window.h"
#include "ui/main/removed.h"
#include "ui/main/selection.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"

namespace hivequarry {

void ShowTitleOfViewed(MainWindow& window) {
  if (window.viewed->slot >= 0) {
    SetWindowTextW(window.handle,
                   HiveTitle(window.handle, HiveOfSlot(window.viewed->slot).file_name).c_str());
  } else {
    SetWindowTextW(window.handle, L"Hivequarry");
    SetWindowTextW(window.controls.path, L"");
  }
}

WindowHive& AddHive(MainWindow& window) {
  auto hive = std::make_unique<WindowHive>();
  hive->number = window.next_hive++;
  hive->pane.window = window.controls.tree;
  hive->pane.side = SideOfHive(hive->number);
  window.hives.push_back(std::move(hive));
  return *window.hives.back();
}

void DropHive(MainWindow& window, const WindowHive& hive) {
  const auto at = std::find_if(window.hives.begin(), window.hives.end(),
                               [&hive](const auto& open) { return open.get() == &hive; });
  if (at == window.hives.end()) return;
  const auto index = static_cast<size_t>(at - window.hives.begin());
  const bool viewed = window.viewed == &hive;
  // First, so that nothing shown leads to the record when it goes.
  if (viewed) ViewHive(window, window.none);
  window.hives.erase(at);
  if (window.hives.empty()) TreeView_DeleteAllItems(window.controls.tree);
  if (!viewed || window.hives.empty()) return;
  WindowHive& next = *window.hives[std::min(index, window.hives.size() - 1)];
  ViewHive(window, next);
  SelectItem(next.pane, 0);
}

WindowHive* FindHive(const MainWindow& window, uint32_t number) {
  for (const auto& hive : window.hives) {
    if (hive->number == number) return hive.get();
  }
  return nullptr;
}

WindowHive* HiveOfParam(const MainWindow& window, LPARAM param) {
  return IsWorkspaceParam(param) ? nullptr : FindHive(window, HiveOfSide(param));
}

HTREEITEM PlaceOfRoot(const MainWindow& window, const WindowHive& hive) {
  HTREEITEM after = TVI_FIRST;
  HTREEITEM at = TreeView_GetRoot(window.controls.tree);
  for (; at != nullptr; at = TreeView_GetNextSibling(window.controls.tree, at)) {
    const WindowHive* owner = HiveOfParam(window, ParamOfItem(window.controls.tree, at));
    // Folders of a hive have its number too, so they are passed with it; null is the Workspace.
    if (owner == nullptr || owner->number >= hive.number) break;
    after = at;
  }
  return after;
}

size_t LoadedHives(const MainWindow& window) {
  return static_cast<size_t>(std::count_if(window.hives.begin(), window.hives.end(),
                                           [](const auto& hive) { return hive->slot >= 0; }));
}

void ForgetItemShown(MainWindow& window) {
  // What threads still read for the item that goes is dropped when it comes.
  ++window.selection.item_box.newest;
  ++window.selection.detail_box.newest;
  ClearValues(window.values);
  window.selection.removed = nullptr;
  window.selection.freed = nullptr;
  window.selection.deleted = kNoItem;
  ShowInViewer(window.viewer, std::wstring(), {});
  window.selection.item = kNoItem;
  window.selection.value = kNoOffset;
  window.selection.branch_return = kNoItem;
}

void ViewHive(MainWindow& window, WindowHive& hive) {
  if (window.viewed == &hive) return;
  ForgetItemShown(window);
  window.viewed = window.shown = &hive;
  ShowTitleOfViewed(window);
  ShowHiveState(window);
  RenewBand(window);
  ShowCounts(window);
  UpdateToolbar(window);
}

HiveTurn::HiveTurn(MainWindow& window, uint32_t number)
    : window_(window), inside_(window.shown != window.viewed), before_(window.shown->number) {
  if (number == kAnyHive) return;
  WindowHive* const hive = FindHive(window, number);
  window.shown = hive == nullptr ? &window.none : hive;
}

// What was viewed before may have been closed meanwhile, or another hive gone to.
HiveTurn::~HiveTurn() {
  window_.shown = window_.viewed;
  if (!inside_) return;
  if (before_ == kOfNoHive) window_.shown = &window_.none;
  if (WindowHive* const before = FindHive(window_, before_)) window_.shown = before;
}

}  // namespace hivequarry
