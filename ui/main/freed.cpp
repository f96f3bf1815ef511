#include "ui/main/freed.h"

#include "app/settings.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"
#include "ui/main/notifications.h"
#include "view/freed_words.h"

namespace hivequarry {

std::shared_ptr<const FreedTree> ShownFreed(const MainWindow& window) {
  return window.shown->freed_pane.freed == nullptr ? nullptr : window.shown->findings.freed;
}

void ForgetFreed(MainWindow& window) {
  RemoveFolder(window.shown->freed_pane);
  window.shown->pane.guests = nullptr;
}

void ShowFreedKeys(MainWindow& window) {
  ForgetFreed(window);
  const std::shared_ptr<const FreedTree>& freed = window.shown->findings.freed;
  if (freed == nullptr || !TheSettings().freed_in_tree) return;
  window.shown->freed_pane.window = window.controls.tree;
  window.shown->freed_pane.side = window.shown->pane.side | kFreedSide;
  window.shown->freed_pane.struck = window.look.fonts.struck;
  if (HasFreedFolder(*freed)) {
    InsertFolder(window.shown->freed_pane, window.shown->pane.handles[0],
                 WindowText(FreedFolderText(*freed)));
  }
  AttachGuests(window.shown->pane, window.shown->freed_pane, ShownHive(window), *freed);
  KeepFilling(window);
  // Deleted values of the key that is shown are among its rows from now on.
  const uint32_t item = window.selection.item;
  const bool known = item < window.shown->tree->items.size() &&
                     SelectedItem(window.shown->pane) == item &&
                     HasKeyCell(*window.shown->tree, item);
  if (known && !FreedValuesOf(*freed, window.shown->tree->items[item].position).empty()) {
    RefreshItem(window);
  }
}

void HideFreedKeys(MainWindow& window) {
  if (window.shown->freed_pane.freed == nullptr) return;
  const bool selected = IsFreedSelected(window);
  DetachGuests(window.shown->pane, window.shown->freed_pane);
  if (selected) SelectItem(window.shown->pane, 0);
  RefreshItem(window);
}

bool IsFreedSelected(const MainWindow& window) {
  return window.shown->freed_pane.side != 0 && IsSideSelected(window.shown->freed_pane);
}

uint32_t SelectedFreedKey(const MainWindow& window) {
  if (!IsFreedSelected(window)) return kNoOffset;
  const FreedKey* key =
      FreedKeyOf(*window.shown->freed_pane.freed, SelectedItem(window.shown->freed_pane));
  return key == nullptr ? kNoOffset : key->position;
}

uint32_t SelectedKeyPosition(const MainWindow& window) {
  if (window.shown->slot < 0) return kNoOffset;
  if (IsFreedSelected(window)) return SelectedFreedKey(window);
  const uint32_t item = SelectedItem(window.shown->pane);
  return item == kNoItem ? kNoOffset : window.shown->tree->items[item].position;
}

bool GoToFreed(MainWindow& window, uint32_t position) {
  const std::shared_ptr<const FreedTree> freed = ShownFreed(window);
  if (freed == nullptr) return false;
  // A deleted value is shown with its key, which may be there, be deleted as well, or not be known:
  // then the folder has it. It is wanted before the key is selected, as the rows come later.
  const FreedValue* value = FreedValueAt(freed->records, position);
  const uint32_t key = value == nullptr ? position : value->key;
  const uint32_t item = key == kNoOffset ? 0 : FreedItemAt(*freed, key);
  const uint32_t live =
      value == nullptr || key == kNoOffset ? kNoItem : ItemOfPosition(*window.shown->tree, key);
  if (item == kNoItem && live == kNoItem) return false;
  if (live != kNoItem && window.shown->tree->items[live].hidden) return false;
  ShowArrangement(window, kKeysArrangement);
  window.selection.wanted_value = value == nullptr ? kNoOffset : position;
  if (live != kNoItem) {
    if (SelectedItem(window.shown->pane) == live) RefreshItem(window);
    SelectItem(window.shown->pane, live);
  } else {
    if (IsFreedSelected(window) && SelectedItem(window.shown->freed_pane) == item)
      ShowFreedItem(window, item);
    SelectGuest(window.shown->pane, window.shown->freed_pane, item);
  }
  SetFocus(window.controls.tree);
  return true;
}

}  // namespace hivequarry
