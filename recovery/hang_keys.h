// Turns the scan's key rows and list entries into the key tree.
//
// Every key hangs once. What lists lead to from the root is connected; where several lists name a
// key, it goes to the owner that its own parent field names, if that owner is reached at all, else
// to the first that reaches it.
//
// The other keys hang where, in this order of belief: a list names them and their parent field
// agrees; their parent field names a key whose own list is lost or incomplete; a list names them;
// their parent field names any other key. Of these,
// - a key that names a connected key whose list is lost or incomplete hangs there, in its branch;
// - a key that names a connected key whose list is whole was unlinked from it: it is under
//   "Disconnected Keys", in a branch of path copies that leads to its place;
// - keys that hang nowhere are the first level of "Disconnected Keys", in the order of their
//   positions; a ring of keys is cut at its lowest position.
//
// Cycles, shared subtrees and double listings end here: nothing after this room meets them.
#pragma once

#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// For each row of finished tables: whether lists lead to it from the root.
std::vector<bool> RowsReachedByLists(const HiveImage& hive, const ScanTables& tables);

// Fills `tree` (items, folders, look-up) from finished tables; root_text is the caller's. The
// tables' key_index moves into the tree. Keys in cells that live records own go (live_cells.h).
void HangKeys(const HiveImage& hive, ScanTables& tables, KeyTree& tree);

}  // namespace hivequarry
