#include "recovery/pointer_repair.h"

#include <algorithm>
#include <map>
#include <utility>

#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "records/cell.h"
#include "recovery/value_lists.h"

namespace hivequarry {
namespace {

// Calls `fits` with the position that each offset leads to that differs from the stored one in one
// bit; returns the position if exactly one fits, else kNoOffset.
// At most 32 places are looked at for a field, each by `fits`.
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
  // Many keys may be one bit away from one list.
  if (wanted > tables.list_reads.left) return false;
  uint32_t budget = wanted + 0xFFFF;
  const uint32_t most = budget;
  const bool read = ReadSubkeyList(hive, list, budget, entries);
  tables.list_reads.left -= std::min(tables.list_reads.left, most - budget);
  if (!read) return false;
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
    ChildEntry& given = tables.child_entries.emplace_back();
    given.key = entry.key;
    given.position = entry.position;
    given.hinted = entry.kind == ListKind::kLf;
    SetRow(given, RowAt(tables, entry.key));
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

// A stored offset with one bit turned, where exactly one such place has a list that is plausibly
// the key's.
void RepairSubkeyList(const HiveImage& hive, KeyRow& key, ScanTables& tables) {
  std::vector<SubkeyEntry> entries;
  const uint32_t list = OneBitAway(hive, key.position + kKeySubkeyList, [&](uint32_t position) {
    return IsListOf(hive, tables, key, position, entries);
  });
  if (list == kNoOffset || !IsListOf(hive, tables, key, list, entries)) return;
  GiveEntries(entries, key, tables);
  key.list_broken = false;
}

// --- value lists ---------------------------------------------------------------------------------

// True for an offset that may be right in the whole hive, of which the image may hold a part only.
// By the length that the base block gives, where there is one; a fragment may end anywhere.
bool LeadsBeyondImage(const HiveImage& hive, uint32_t offset, uint32_t position) {
  constexpr uint32_t kDataLengthField = 40;
  if (InsideHive(hive, position, 8)) return false;
  return !hive.header_valid || offset < ReadU32(hive, kDataLengthField);
}

// Offsets below the first bin's header lead to no cell.
bool IsPlaceOfValue(const HiveImage& hive, uint32_t entry) {
  const uint32_t offset = ReadU32(hive, entry);
  if (offset % 8 != 0 || offset < kBinHeaderSize) return false;
  const uint32_t position = OffsetPosition(hive, offset, entry);
  return InsideHive(hive, position, kValueName) || LeadsBeyondImage(hive, offset, position);
}

// What is known of a list cell that keys may mean.
// Independent of the key: only `extremes` is held against its words.
struct ListVerdict {
  uint32_t count = 0;      // entries
  bool places = false;     // all entries lead to where values may be, lost ones too
  bool values = false;     // all lead to values, each to another one
  ValueExtremes extremes;  // of the values
};

// The value lists under repair. Each list is judged once, whatever number of keys it is held
// against.
struct ValueListRepair {
  HiveImage& hive;
  PositionIndex named;                                            // lists that keys name
  PositionIndex shared;                                           // lists that several keys name
  PositionIndex named_values;                                     // by lists that keys name
  uint64_t budget = 0;                                            // entries that may still be read
  std::map<std::pair<uint32_t, uint32_t>, ListVerdict> verdicts;  // by position and count
};

// An allocated cell with a value whose name fits into it.
bool IsValueCell(const HiveImage& hive, uint32_t position) {
  if (position == kNoOffset || !IsAllocated(ReadU32(hive, position))) return false;
  const ValueKey value = ReadStoredValueKey(hive, position, ValueRead::kFields, 0, nullptr);
  return value.status != ValueStatus::kEmpty && value.status != ValueStatus::kNotAValue &&
         kValueName + value.name_length <= value.cell_length;
}

// What the entries say of the list as a whole: whether all lead to where values may be, and to
// values, none of them twice; and the longest name and data among these, for the key's own marks.
ListVerdict Judge(ValueListRepair& repair, uint32_t list, uint32_t count) {
  ListVerdict verdict{count, true, true, {}};
  std::vector<uint32_t> values;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t entry = ValueEntryPosition(list, i);
    verdict.places = verdict.places && IsPlaceOfValue(repair.hive, entry);
    const uint32_t value = EntryTarget(repair.hive, entry);
    verdict.values = verdict.values && IsValueCell(repair.hive, value);
    if (value != kNoOffset) Widen(repair.hive, value, verdict.extremes);
    values.push_back(value);
  }
  std::ranges::sort(values);
  verdict.values = verdict.values && std::ranges::adjacent_find(values) == values.end();
  return verdict;
}

// Null when too much was read by then: only where lists overlap.
const ListVerdict* VerdictOf(ValueListRepair& repair, uint32_t list, uint32_t count) {
  const auto known = repair.verdicts.find({list, count});
  if (known != repair.verdicts.end()) return &known->second;
  if (count > repair.budget) return nullptr;
  repair.budget -= count;
  return &repair.verdicts.emplace(std::pair(list, count), Judge(repair, list, count)).first->second;
}

// Whether the list that a key names could be its own. Such a list is left as it is, be its values
// lost.
bool CouldBeOwnList(ValueListRepair& repair, uint32_t key, uint32_t offset, uint32_t count) {
  const HiveImage& hive = repair.hive;
  if (offset % 8 != 0 || offset < kBinHeaderSize) return false;
  const uint32_t list = ReadOffset(hive, key + kKeyValueList);
  if (!InsideHive(hive, list, 8)) return LeadsBeyondImage(hive, offset, list);
  if (PlaceValueList(hive, count, list).bound != ListBound::kCell) {
    std::vector<uint32_t> values;
    const auto most = static_cast<uint32_t>(std::min<uint64_t>(repair.budget, count));
    ReadValueList(hive, count, list, most, values);
    repair.budget -= std::min<uint64_t>(repair.budget, values.size());
    return !values.empty();
  }
  const ListVerdict* verdict = VerdictOf(repair, list, count);
  if (verdict == nullptr) return true;
  const bool anothers =
      ContainsPosition(repair.shared, list) && !Allows(ExtremesOfKey(hive, key), verdict->extremes);
  return verdict->places && !anothers;
}

// A list that shrank keeps its cell: after its count are values that were deleted, or that moved
// up. True when there are others.
bool GoesOn(const HiveImage& hive, uint32_t list, uint32_t count) {
  const uint32_t room = (CellLength(ReadU32(hive, list)) - 4) / 4;
  const auto target = [&](uint32_t i) { return EntryTarget(hive, ValueEntryPosition(list, i)); };
  constexpr uint32_t kMostRest = 64;
  for (uint32_t i = count; i < std::min(room, count + kMostRest); ++i) {
    const bool moved = i > 0 && target(i) == target(i - 1);
    if (!moved && IsValueCell(hive, target(i))) return true;
  }
  return false;
}

// True for a list that no key names, made for that count, whose values no other list names, and the
// longest name and data of which are what the key's record allows: one of the two to the byte, as
// the longest may have been deleted.
bool IsLostList(ValueListRepair& repair, uint32_t key, uint32_t list, uint32_t count) {
  const HiveImage& hive = repair.hive;
  if (ContainsPosition(repair.named, list)) return false;
  if (PlaceValueList(hive, count, list).bound != ListBound::kCell) return false;
  const ListVerdict* verdict = VerdictOf(repair, list, count);
  if (verdict == nullptr || !verdict->values || GoesOn(hive, list, count)) return false;
  const ValueExtremes words = ExtremesOfKey(hive, key);
  const ValueExtremes& values = verdict->extremes;
  const bool reached = words.name == values.name || words.data == values.data;
  if (!reached || !Allows(words, values)) return false;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t value = EntryTarget(hive, ValueEntryPosition(list, i));
    if (ContainsPosition(repair.named_values, value)) return false;
  }
  return true;
}

bool HasCountedList(const HiveImage& hive, const KeyRow& key) {
  return !IsMade(key) && ReadU32(hive, key.position + kKeyValueCount) != 0 &&
         ReadU32(hive, key.position + kKeyValueList) != kNoOffset;
}

// The lists that keys name, and the values that are named so.
void NoteNamed(const ScanTables& tables, ValueListRepair& repair) {
  const HiveImage& hive = repair.hive;
  for (PositionIndex* index : {&repair.named, &repair.shared, &repair.named_values}) {
    ResetIndex(*index, hive.length);
  }
  std::vector<uint32_t> values;
  uint64_t budget = hive.length / 4;
  for (const KeyRow& key : tables.keys) {
    if (!HasCountedList(hive, key)) continue;
    const uint32_t list = ReadOffset(hive, key.position + kKeyValueList);
    if (ContainsPosition(repair.named, list)) {
      InsertPosition(repair.shared, list);
      continue;
    }
    InsertPosition(repair.named, list);
    const ValueListPlace place =
        PlaceValueList(hive, ReadU32(hive, key.position + kKeyValueCount), list);
    if (place.bound != ListBound::kCell || place.most > budget) continue;
    budget -= place.most;
    values.clear();
    ReadValueList(hive, place.most, list, place.most, values);
    for (const uint32_t value : values) InsertPosition(repair.named_values, value);
  }
}

// The list that a key means whose own offset cannot be right; kNoOffset when it can, or when no
// list or more than one fits.
uint32_t LostListOf(ValueListRepair& repair, const KeyRow& key) {
  const uint32_t field = key.position + kKeyValueList;
  const uint32_t count = ReadU32(repair.hive, key.position + kKeyValueCount);
  const uint32_t offset = ReadU32(repair.hive, field);
  if (CouldBeOwnList(repair, key.position, offset, count)) return kNoOffset;
  return OneBitAway(repair.hive, field, [&](uint32_t position) {
    return IsLostList(repair, key.position, position, count);
  });
}

// All keys are asked before any gets its list, so that two which one list fits both go without.
void RepairValueLists(HiveImage& hive, ScanTables& tables) {
  hive.found.value_lists.clear();
  ValueListRepair repair{hive, {}, {}, {}, uint64_t{hive.length} / 2, {}};
  NoteNamed(tables, repair);
  std::map<uint32_t, uint32_t> taken;  // keys that a list fits, by list
  std::vector<std::pair<uint32_t, uint32_t>> found;
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    if (row % 1024 == 0 && StopRequested()) return;
    if (!HasCountedList(hive, tables.keys[row])) continue;
    const uint32_t list = LostListOf(repair, tables.keys[row]);
    if (list == kNoOffset) continue;
    found.emplace_back(row, list);
    ++taken[list];
  }
  for (const auto& [row, list] : found) {
    if (taken[list] > 1) continue;  // which of the keys means it nothing tells
    hive.found.value_lists[tables.keys[row].position] = list;
    tables.keys[row].repairs |= kRepairValueList;
  }
}

}  // namespace

void RepairPointers(HiveImage& hive, ScanTables& tables) {
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    if (row % 1024 == 0 && StopRequested()) return;
    KeyRow& key = tables.keys[row];
    if (key.list_broken && HasNoOwnEntry(tables, key)) RepairSubkeyList(hive, key, tables);
  }
  RepairValueLists(hive, tables);
}

bool HasDoubtfulValueList(const HiveImage& hive, uint32_t key_position, PositionIndex& named) {
  const uint32_t count = ReadU32(hive, key_position + kKeyValueCount);
  const uint32_t field = key_position + kKeyValueList;
  if (count == 0 || ReadU32(hive, field) == kNoOffset) return false;
  const uint32_t list = ReadOffset(hive, field);
  if (PlaceValueList(hive, count, list).bound != ListBound::kCell || list % 8 != 0) return true;
  if (ContainsPosition(named, list) || !IsPlaceOfValue(hive, ValueEntryPosition(list, 0)))
    return true;
  InsertPosition(named, list);
  return false;
}

// A list goes to the key that more than half of its targets name, if at least half of its entries
// can be read and the key has no list of its own that leads to its keys.
void ReattachLists(const HiveImage& hive, const ListRecords& records, ScanTables& tables) {
  for (const RecordedList& list : records.lists) {
    const uint32_t row = RowAt(tables, list.parent);
    if (row == kNoRow || list.entries * 2 < list.count) continue;
    KeyRow& key = tables.keys[row];
    if (!key.list_broken || !HasNoOwnEntry(tables, key)) continue;
    std::vector<SubkeyEntry> entries;
    uint32_t budget = list.count;
    ReadSubkeyList(hive, list.position, budget, entries);
    GiveEntries(entries, key, tables);
    const uint32_t wanted = ReadU32(hive, key.position + kKeySubkeyCount);
    key.list_broken = entries.size() != wanted;
  }
}

}  // namespace hivequarry
