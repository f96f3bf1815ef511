// Lists that keys have lost: offsets with one wrong bit, and lists that only their keys remember.
#pragma once

#include "hive/image.h"
#include "recovery/list_recorder.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// Subkey and value lists found again through offsets with a single wrong bit. Repaired value lists
// are noted in the image. An offset that leads past the end of an image that was cut off may be
// right, and stays as it is.
// Only keys whose list can't be read are asked, and of these only such without an entry that holds.
// Ends early when the user stops.
void RepairPointers(HiveImage& hive, ScanTables& tables);

// True for a key with values whose value list is no cell of the right size, or whose first entry
// leads nowhere, or whose list is in `named` already, those that keys name; else it is added there.
bool HasDoubtfulValueList(const HiveImage& hive, uint32_t key_position, PositionIndex& named);

// Recorded lists given to the parent that more than half of their keys record, where that key's own
// list cannot be read.
// A list of which most entries are another key's already stays where it is.
void ReattachLists(const HiveImage& hive, const ListRecords& records, ScanTables& tables);

}  // namespace hivequarry
