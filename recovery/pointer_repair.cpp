#include "recovery/pointer_repair.h"

#include <algorithm>

#include "hive/cells.h"
#include "hive/key_node.h"
#include "hive/key_tree.h"
#include "hive/value_key.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

// Calls `fits` with the position that each offset leads to that differs from the stored one in one
// bit; returns the position if exactly one fits, else kNoOffset.
template <typename Fits>
uint32_t OneBitAway(const HiveImage& hive, uint32_t field, const Fits& fits) {
  const uint32_t stored = ReadU32(hive, field);
  uint32_t found = kNoOffset;
  for (int bit = 3; bit < 32; ++bit) {  // offsets are multiples of 8
    const uint32_t offset = stored ^ 1U << bit;
    const uint32_t position = offset % 8 != 0 ? kNoOffset : OffsetPosition(hive, offset, field);
    if (position == kNoOffset || !InsideHive(hive, position, 8) || !fits(position)) continue;
    if (found != kNoOffset) return kNoOffset;
    found = position;
  }
  if (stored % 8 == 0) return found;
  // One of the low bits is the wrong one.
  for (int bit = 0; bit < 3; ++bit) {
    const uint32_t offset = stored ^ 1U << bit;
    if (offset % 8 != 0) continue;
    const uint32_t position = OffsetPosition(hive, offset, field);
    if (InsideHive(hive, position, 8) && fits(position)) return position;
  }
  return kNoOffset;
}

// The entries that a key's list gives, if most of their targets name the key as their parent.
bool IsListOf(const HiveImage& hive, ScanTables& tables, const KeyRow& key, uint32_t list,
              std::vector<SubkeyEntry>& entries) {
  const uint32_t wanted = ReadU32(hive, key.position + kKeySubkeyCount);
  entries.clear();
  const ListKind kind = ListKindOfSignature(ReadU16(hive, list + 4));
  if (kind == ListKind::kNone) return false;
  if (kind != ListKind::kRi && ReadU16(hive, list + 6) != wanted) return false;
  if (!ReadSubkeyList(hive, list, tables.entry_budget, entries)) return false;
  if (entries.size() != wanted) return false;
  size_t agree = 0;
  for (const SubkeyEntry& entry : entries) {
    const uint32_t row = RowAt(tables, entry.key);
    agree += row != kNoRow && tables.keys[row].parent == key.position;
  }
  return agree > 0 && agree * 2 >= entries.size();
}

// Gives a key the entries of a list; what its own list said before is no longer its own.
void GiveEntries(const std::vector<SubkeyEntry>& entries, KeyRow& key, ScanTables& tables) {
  key.first_entry = static_cast<uint32_t>(tables.child_entries.size());
  key.entry_count = static_cast<uint32_t>(entries.size());
  key.repairs |= kRepairSubkeyList;
  for (const SubkeyEntry& entry : entries) {
    tables.child_entries.push_back(
        {entry.key, entry.position, RowAt(tables, entry.key), entry.kind == ListKind::kLf});
  }
}

// True when none of the key's own entries leads to a key that names it.
bool HasNoOwnEntry(const ScanTables& tables, const KeyRow& key) {
  for (uint32_t i = 0; i < key.entry_count; ++i) {
    const uint32_t row = tables.child_entries[key.first_entry + i].row;
    if (row != kNoRow && tables.keys[row].parent == key.position) return false;
  }
  return true;
}

void RepairSubkeyList(const HiveImage& hive, KeyRow& key, ScanTables& tables) {
  std::vector<SubkeyEntry> entries;
  const uint32_t list = OneBitAway(hive, key.position + kKeySubkeyList, [&](uint32_t position) {
    return IsListOf(hive, tables, key, position, entries);
  });
  if (list == kNoOffset || !IsListOf(hive, tables, key, list, entries)) return;
  GiveEntries(entries, key, tables);
  key.list_broken = false;
}

// True for an allocated cell with room for so many entries.
bool IsListCell(const HiveImage& hive, uint32_t list, uint32_t count) {
  if (list % 8 != 0 || !InsideHive(hive, list, 8)) return false;
  const uint32_t size = ReadU32(hive, list);
  const uint32_t length = CellLength(size);
  return IsAllocated(size) && length % 8 == 0 && length >= 8 && InsideHive(hive, list, length) &&
         count <= (length - 4) / 4;
}

// True when the list that a key names could be its own: a cell of the right size all of whose
// entries lead into the hive, be it to values that are lost. Such a list is left as it is.
bool CouldBeValueList(const HiveImage& hive, uint32_t list, uint32_t count, uint32_t& budget) {
  if (!IsListCell(hive, list, count) || count > budget) return false;
  budget -= count;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t value = ReadOffset(hive, list + 4 + 4 * i);
    if (value % 8 != 0 || !InsideHive(hive, value, 24)) return false;
  }
  return true;
}

// All entries lead to value cells. `budget` bounds the entries read in all.
bool IsValueList(const HiveImage& hive, uint32_t list, uint32_t count, uint32_t& budget) {
  if (!CouldBeValueList(hive, list, count, budget)) return false;
  for (uint32_t i = 0; i < count; ++i) {
    if (ReadU16(hive, ReadOffset(hive, list + 4 + 4 * i) + 4) != kSignatureVk) return false;
  }
  return true;
}

// The value lists that keys name.
PositionIndex NamedValueLists(const HiveImage& hive, const ScanTables& tables) {
  PositionIndex named;
  ResetIndex(named, hive.length);
  for (const KeyRow& key : tables.keys) {
    if (ReadU32(hive, key.position + kKeyValueCount) == 0) continue;
    InsertPosition(named, ReadOffset(hive, key.position + kKeyValueList));
  }
  return named;
}

void RepairValueList(HiveImage& hive, const PositionIndex& named, KeyRow& key, uint32_t& budget) {
  const uint32_t count = ReadU32(hive, key.position + kKeyValueCount);
  const uint32_t field = key.position + kKeyValueList;
  if (count == 0 || ReadU32(hive, field) == kNoOffset) return;
  if (CouldBeValueList(hive, ReadOffset(hive, field), count, budget)) return;
  const uint32_t list = OneBitAway(hive, field, [&](uint32_t position) {
    return !ContainsPosition(named, position) && IsValueList(hive, position, count, budget);
  });
  if (list == kNoOffset) return;
  hive.repaired_value_lists[key.position] = list;
  key.repairs |= kRepairValueList;
}

}  // namespace

void RepairPointers(HiveImage& hive, ScanTables& tables) {
  hive.repaired_value_lists.clear();
  const PositionIndex named = NamedValueLists(hive, tables);
  uint32_t budget = hive.length / 4;
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    if (row % 1024 == 0 && StopRequested()) return;
    KeyRow& key = tables.keys[row];
    if (key.list_broken && HasNoOwnEntry(tables, key)) RepairSubkeyList(hive, key, tables);
    RepairValueList(hive, named, key, budget);
  }
}

bool HasDoubtfulValueList(const HiveImage& hive, uint32_t key_position) {
  const uint32_t count = ReadU32(hive, key_position + kKeyValueCount);
  const uint32_t field = key_position + kKeyValueList;
  if (count == 0 || ReadU32(hive, field) == kNoOffset) return false;
  uint32_t budget = 1;
  const uint32_t list = ReadOffset(hive, field);
  return !IsListCell(hive, list, count) || !CouldBeValueList(hive, list, 1, budget);
}

void ReattachLists(const HiveImage& hive, const ListRecords& records, ScanTables& tables) {
  for (const RecordedList& list : records.lists) {
    const uint32_t row = RowAt(tables, list.parent);
    if (row == kNoRow || list.entries * 2 < list.count) continue;
    KeyRow& key = tables.keys[row];
    if (!key.list_broken || !HasNoOwnEntry(tables, key)) continue;
    std::vector<SubkeyEntry> entries;
    ReadSubkeyList(hive, list.position, tables.entry_budget, entries);
    GiveEntries(entries, key, tables);
    const uint32_t wanted = ReadU32(hive, key.position + kKeySubkeyCount);
    key.list_broken = entries.size() != wanted;
  }
}

}  // namespace hivequarry
