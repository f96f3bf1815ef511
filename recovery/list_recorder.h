// The list recorder: every subkey list cell that the scan met, with the entries that no accepted
// key's own list accounts for. A list that lost its key still names siblings, and its siblings
// still name their parent.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/image.h"
#include "hive/subkeys.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// An entry whose target is in no accepted key's list. The rows of one list follow one another, in
// list order.
struct SiblingEntry {
  uint32_t target = 0;          // position of the key that it names
  uint32_t position = 0;        // of the entry
  uint32_t parent = kNoOffset;  // the parent that the target records; none when it is no key, or
                                // not the key that the entry's hint means
};

// A list cell whose entries are noted, whether a key names it or not.
struct RecordedList {
  uint32_t position = 0;  // of the list cell
  ListKind kind = ListKind::kNone;
  uint32_t count = 0;           // of the list, not only of its recorded entries
  uint32_t first = 0;           // its rows in the entry table
  uint32_t entries = 0;         // how many rows
  uint32_t parent = kNoOffset;  // the parent that most of its targets record, if more than half do
};

struct ListRecords {
  std::vector<RecordedList> lists;  // those with recorded entries, in the order of their positions
  std::vector<SiblingEntry> entries;
  std::vector<uint32_t> by_target;  // entry rows, in the order of their targets
};

// Reads the lists of the scan's list table; ends early when the user stops.
// Linear in the entries, within what a walk may read of lists (hive/subkeys.h); what that leaves
// out is noted as a shortfall.
ListRecords RecordLists(const HiveImage& hive, const ScanTables& tables);

// The first recorded entry that names a position, kNoRow when there is none.
uint32_t EntryOfTarget(const ListRecords& records, uint32_t target);
// The recorded list that an entry row belongs to.
const RecordedList& ListOfEntry(const ListRecords& records, uint32_t entry);

// The kind and count of a list as shown: "666C-12".
std::string ListKindText(uint16_t signature, uint32_t count);
// True for an "lf" entry at `position` whose four characters could begin a name.
bool ReadHint(const HiveImage& hive, uint32_t position, uint32_t& hint);

}  // namespace hivequarry
