// Image list positions of the tree pane's icons, and which one an item gets.
#pragma once

#include "hive/key_tree.h"

namespace hivequarry {

// In the order of the image list. A closed folder is followed by its open twin.
enum TreeIcon : int {
  kIconFolder = 0,
  kIconFolderOpen,
  kIconRepaired,
  kIconRepairedOpen,
  kIconWorkspace,
  kIconSnapshot,
  kIconBackup,
  kIconNoAccess,
  kIconVirtual,  // a key without a name of its own, or made by repair
  kIconVirtualOpen,
  kIconVirtualRepaired,  // disconnected, with repair marks
  kIconVirtualRepairedOpen,
  kIconVirtualHint,  // made by repair, its name taken from a list's hint
  kIconVirtualHintOpen,
  kIconRootLimit,
  kIconRootLimitOpen,
  kIconIsolated,  // disconnected, sound in itself
  kIconIsolatedOpen,
  kTreeIconCount
};

// The closed icon of an item; its open twin is the next one.
inline int ClosedIcon(const KeyItem& item) {
  constexpr uint16_t kCreated = kMarkSibling | kMarkParent | kMarkChild;
  if (item.kind != ItemKind::kKey) return kIconFolder;
  if ((item.marks & kCreated) != 0) {
    return (item.marks & kMarkHashName) != 0 ? kIconVirtualHint : kIconVirtual;
  }
  if ((item.marks & kMarkNoName) != 0) return kIconVirtual;
  if (item.connected) return item.marks != 0 ? kIconRepaired : kIconFolder;
  return item.marks != 0 ? kIconVirtualRepaired : kIconIsolated;
}

}  // namespace hivequarry
