// Relation repair. A hive tells three times who belongs to whom: a key's parent field, its parent's
// subkey list, and the companions that share a list with it. After the scan these are held against
// each other; keys that only a relation still proves are added, and every repair leaves its mark.
//
// Rules, in the order in which they run. A relation that no byte supports is not made.
//
// 1. Pointers with one wrong bit. A key whose subkey list or value list cannot be read gets the
//    list that its offset leads to with a single bit flipped, if exactly one of the 32 offsets
//    leads to a list that fits: a subkey list with the key's count, most of whose keys name this
//    key as their parent; a value list that no other key names, whose cell is made for the key's
//    count, and all of whose entries lead to values that reach the key's words for its longest
//    name and data.
// 2. Lists that lost their key. A list of which no key's own list accounts for the entries belongs
//    to the parent that more than half of its keys record, if that key's own list cannot be read.
// 3. Missing parents. A key that no list names, and whose parent field names a place where no key
//    was accepted: a free key cell there comes back as it is; otherwise a key is made for the
//    place, unless another record is there. It hangs where its own parent field says, if that
//    is readable still.
// 4. Implausible parent fields ("par_rep"): the key's parent is the owner of the entry that names
//    it, else the parent that its list's other keys record.
// 5. Missing children. A list entry that leads to no accepted key: a free key cell comes back, a
//    cell with the body of a key and one wrong bit in its signature too; otherwise a key is made,
//    named by the entry's hint where it has one. Only entries of lists that mostly hold are
//    believed. Where entry and key disagree about the parent, the side that names a key wins.
// 6. Missing siblings: the same for the entries of lists that belong to no key; the parent is the
//    one that the list's other keys record.
#pragma once

#include "hive/image.h"
#include "recovery/scan.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// True when the tables hold anything that does not agree, or a key's value list cannot be read:
// then the evaluating pass and the repair are worth their time.
bool NeedsRepair(const HiveImage& hive, const ScanTables& tables);

// Steps 1 to 6, for tables that FinishScan has sealed. The image's bytes are not touched; repaired
// value lists are noted in the image. Ends early when the user stops.
// Afterwards the index is sealed anew and rows may have other numbers.
void RepairRelations(HiveImage& hive, const ScanOptions& options, ScanTables& tables);

// The last round: a root key whose parent field leads outside the data area has none.
void RepairRoots(ScanTables& tables);

// The relaxed test for a key cell that a relation names: "nk", a sensible size, allocated or free.
bool IsKeyCellAt(const HiveImage& hive, uint32_t position);

}  // namespace hivequarry
