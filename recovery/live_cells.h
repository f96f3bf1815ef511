// What the live keys of a scan own, and the rows that this shows to be no records.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/owned_cells.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// The cells of the keys in these rows, which lists reach from the root. Collected when first asked
// for, and again when more keys are reached.
const OwnedCells& LiveCells(const HiveImage& hive, const std::vector<bool>& reached,
                            ScanTables& tables);

// Takes out of the tables the rows of keys that no list reaches and that have bytes of a live
// record's cell: its data and the like are no keys, and of records that overlap the one that is
// reached is the record. What was made from such bytes goes with them. Returns how many rows went;
// the rows' numbers have changed then.
uint32_t DropOwnedKeys(const HiveImage& hive, const std::vector<bool>& reached, ScanTables& tables);
// The same of the subkey lists that no key names and that are in data or class names.
void DropOwnedLists(const HiveImage& hive, const std::vector<bool>& reached, ScanTables& tables);

// Of recovered keys and values, those that are in the data of a recovered value, or the like, and
// the records that own these: neither is proven by anything else. Both are noted in the tree, keys
// get kMarkShared.
// Both stay in the tree: which of them is the record nothing tells.
void MarkSharedBytes(const HiveImage& hive, KeyTree& tree);

}  // namespace hivequarry
