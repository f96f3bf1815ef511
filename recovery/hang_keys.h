// Turns the scan's key rows and list entries into the key tree.
//
// Every key hangs at most once. Keys that lists lead to from the root are connected; where several
// lists name a key, it goes to the owner that its own parent field names, if that owner is reached
// at all, else to the first that reaches it. The other keys are hung among themselves by the same
// rule, under "Disconnected Keys"; the first level there are keys that no disconnected key names,
// and of a ring of keys the one with the lowest position. Cycles, shared subtrees and double
// listings end here: nothing behind this room meets them.
#pragma once

#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// Fills `tree` (items, folders, look-up) from finished tables; root_text is the caller's. The
// tables' key_index moves into the tree.
void HangKeys(const HiveImage& hive, ScanTables& tables, KeyTree& tree);

}  // namespace hivequarry
