// Image list positions of the tree pane's icons, and which one an item gets. The folder's colour
// says where a key hangs (gold: connected, violet: not, outlined: no key cell of its own here), the
// badge what was done to show it (plus: its place was repaired, "?": its name is not its own). Red:
// the logs removed it. Pale with a cross: it was deleted.
#pragma once

#include "hive/key_tree.h"

namespace hivequarry {

// In the order of the image list. A closed folder is followed by its open twin.
enum TreeIcon : int {
  kIconFolder = 0,
  kIconFolderOpen,
  kIconRepaired,  // connected, its place or a list of it repaired
  kIconRepairedOpen,
  kIconWorkspace,
  kIconSnapshot,
  kIconBackup,
  kIconNoAccess,
  kIconMade,  // made: only relations prove the key
  kIconMadeOpen,
  kIconIsolatedRepaired,
  kIconIsolatedRepairedOpen,
  kIconMadeHint,  // made, its name taken from a list's hint
  kIconMadeHintOpen,
  kIconRootLimit,
  kIconRootLimitOpen,
  kIconIsolated,  // disconnected, sound in itself
  kIconIsolatedOpen,
  kIconUnnamed,  // a key cell without a name of its own
  kIconUnnamedOpen,
  kIconIsolatedUnnamed,
  kIconIsolatedUnnamedOpen,
  kIconCopy,  // a connected key shown again on the way to an unlinked one
  kIconCopyOpen,
  kIconLostKeys,  // the folders of what is disconnected
  kIconLostKeysOpen,
  kIconLostValues,
  kIconLostValuesOpen,
  kIconRemoved,  // the logs removed the key
  kIconRemovedOpen,
  kIconRemovedFolder,
  kIconRemovedFolderOpen,
  kIconFreed,  // deleted, its record is in free space
  kIconFreedOpen,
  kIconFreedFolder,
  kIconFreedFolderOpen,
  kTreeIconCount
};

// Whether anything about the key's place or its lists was set right. Slack after a name is no
// repair.
inline bool IsRepaired(const KeyItem& item) {
  constexpr uint16_t kRepairMarks =
      kMarkListParent | kMarkSiblingParent | kMarkByParent | kMarkBadNk;
  return item.repairs != 0 || (item.marks & kRepairMarks) != 0;
}

// The closed icon of an item; its open twin is the next one.
inline int ClosedIcon(const KeyItem& item) {
  if (item.kind == ItemKind::kDisconnectedKeys) return kIconLostKeys;
  if (item.kind == ItemKind::kDisconnectedValues) return kIconLostValues;
  if (item.kind == ItemKind::kPathCopy) return kIconCopy;
  const bool hinted = (item.marks & kMarkHashName) != 0;
  if ((item.marks & kVirtualMarks) != 0) return hinted ? kIconMadeHint : kIconMade;
  const bool isolated = item.kind == ItemKind::kKey && !item.connected;
  if (hinted || (item.marks & kMarkNoName) != 0) {
    return isolated ? kIconIsolatedUnnamed : kIconUnnamed;
  }
  if (IsRepaired(item)) return isolated ? kIconIsolatedRepaired : kIconRepaired;
  return isolated ? kIconIsolated : kIconFolder;
}

}  // namespace hivequarry
