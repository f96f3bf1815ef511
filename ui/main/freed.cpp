#include "ui/main/freed.h"

#include "app/settings.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"
#include "ui/main/notifications.h"
#include "view/freed_words.h"

namespace hivequarry {

std::shared_ptr<const FreedTree> ShownFreed(const MainWindow& window) {
  return window.freed.freed == nullptr ? nullptr : window.hive.findings.freed;
}

void ForgetFreed(MainWindow& window) {
  window.freed = TreePane();
  window.tree.guests = nullptr;
}

void ShowFreedKeys(MainWindow& window) {
  ForgetFreed(window);
  const std::shared_ptr<const FreedTree>& freed = window.hive.findings.freed;
  if (freed == nullptr || !TheSettings().freed_in_tree) return;
  window.freed.window = window.tree.window;
  window.freed.side = kFreedSide;
  window.freed.struck = window.look.fonts.struck;
  if (HasFreedFolder(*freed)) {
    InsertFolder(window.freed, window.tree.handles[0], WindowText(FreedFolderText(*freed)));
  }
  AttachGuests(window.tree, window.freed, ShownHive(window), *freed);
  KeepFilling(window);
  // Deleted values of the key that is shown are among its rows from now on.
  const uint32_t item = window.selection.item;
  const bool known = item < window.hive.tree->items.size() && SelectedItem(window.tree) == item &&
                     HasKeyCell(*window.hive.tree, item);
  if (known && !FreedValuesOf(*freed, window.hive.tree->items[item].position).empty()) {
    RefreshItem(window);
  }
}

void HideFreedKeys(MainWindow& window) {
  if (window.freed.freed == nullptr) return;
  const bool selected = IsFreedSelected(window);
  DetachGuests(window.tree, window.freed);
  if (selected) SelectItem(window.tree, 0);
  RefreshItem(window);
}

bool IsFreedSelected(const MainWindow& window) {
  return window.freed.side != 0 && IsSideSelected(window.freed);
}

uint32_t SelectedFreedKey(const MainWindow& window) {
  if (!IsFreedSelected(window)) return kNoOffset;
  const FreedKey* key = FreedKeyOf(*window.freed.freed, SelectedItem(window.freed));
  return key == nullptr ? kNoOffset : key->position;
}

uint32_t SelectedKeyPosition(const MainWindow& window) {
  if (window.hive.slot < 0) return kNoOffset;
  if (IsFreedSelected(window)) return SelectedFreedKey(window);
  const uint32_t item = SelectedItem(window.tree);
  return item == kNoItem ? kNoOffset : window.hive.tree->items[item].position;
}

bool GoToFreed(MainWindow& window, uint32_t position) {
  const std::shared_ptr<const FreedTree> freed = ShownFreed(window);
  if (freed == nullptr) return false;
  const FreedValue* value = FreedValueAt(freed->records, position);
  const uint32_t key = value == nullptr ? position : value->key;
  const uint32_t item = key == kNoOffset ? 0 : FreedItemAt(*freed, key);
  const uint32_t live =
      value == nullptr || key == kNoOffset ? kNoItem : ItemOfPosition(*window.hive.tree, key);
  if (item == kNoItem && live == kNoItem) return false;
  if (live != kNoItem && window.hive.tree->items[live].hidden) return false;
  ShowArrangement(window, kKeysArrangement);
  window.selection.wanted_value = value == nullptr ? kNoOffset : position;
  if (live != kNoItem) {
    if (SelectedItem(window.tree) == live) RefreshItem(window);
    SelectItem(window.tree, live);
  } else {
    if (IsFreedSelected(window) && SelectedItem(window.freed) == item) ShowFreedItem(window, item);
    SelectGuest(window.tree, window.freed, item);
  }
  SetFocus(window.tree.window);
  return true;
}

}  // namespace hivequarry
