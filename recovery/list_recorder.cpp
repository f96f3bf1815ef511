#include "recovery/list_recorder.h"

#include <algorithm>
#include <numeric>

#include "hive/keys.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/shortfalls.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

// What the lists of accepted keys name: entries with these targets tell nothing new.
PositionIndex ListedTargets(const HiveImage& hive, const ScanTables& tables) {
  PositionIndex listed;
  ResetIndex(listed, hive.length);
  for (const ChildEntry& entry : tables.child_entries) InsertPosition(listed, entry.key);
  return listed;
}

// An "lf" entry whose hint is not how its target's name begins means another key, one that was
// there before.
bool HintMeansTarget(const HiveImage& hive, const SubkeyEntry& entry) {
  if (entry.kind != ListKind::kLf || !InsideHive(hive, entry.key, kKeyName + 4)) return true;
  return ReadU32(hive, entry.position + 4) == ReadU32(hive, entry.key + kKeyName) ||
         ReadU16(hive, entry.key + kKeyNameLength) < 4;
}

// The parent that the entry's key records is noted only where the entry's hint agrees with the
// key's name: else the place may have been used again.
SiblingEntry Record(const HiveImage& hive, const ScanTables& tables, const SubkeyEntry& entry) {
  SiblingEntry sibling;
  sibling.target = entry.key;
  sibling.position = entry.position;
  const uint32_t row = RowAt(tables, entry.key);
  if (row != kNoRow && HintMeansTarget(hive, entry)) sibling.parent = tables.keys[row].parent;
  return sibling;
}

// The parent that more than half of the list's readable targets record. Boyer-Moore: one candidate
// survives, and is then counted.
uint32_t MajorityParent(const ListRecords& records, const RecordedList& list) {
  uint32_t candidate = kNoOffset;
  uint32_t lead = 0;
  for (uint32_t i = 0; i < list.entries; ++i) {
    const uint32_t parent = records.entries[list.first + i].parent;
    if (parent == kNoOffset) continue;
    if (lead == 0) candidate = parent;
    lead = candidate == parent ? lead + 1 : lead - 1;
  }
  uint32_t votes = 0;
  uint32_t voters = 0;
  for (uint32_t i = 0; i < list.entries; ++i) {
    const uint32_t parent = records.entries[list.first + i].parent;
    voters += parent != kNoOffset;
    votes += parent != kNoOffset && parent == candidate;
  }
  return votes * 2 > voters ? candidate : kNoOffset;
}

}  // namespace

ListRecords RecordLists(const HiveImage& hive, const ScanTables& tables) {
  ListRecords records;
  const PositionIndex listed = ListedTargets(hive, tables);
  SubkeyListReads reads = MakeSubkeyListReads(hive);
  std::vector<SubkeyEntry> entries;
  for (const uint32_t position : tables.lists) {
    if (StopRequested()) break;
    RecordedList list;
    list.position = position;
    list.kind = ListKindOfSignature(ReadU16(hive, position + 4));
    if (list.kind == ListKind::kRi) continue;  // names lists, which have their own rows
    list.count = ReadU16(hive, position + 6);
    list.first = static_cast<uint32_t>(records.entries.size());
    entries.clear();
    ReadSubkeyList(hive, position, reads, entries);
    for (const SubkeyEntry& entry : entries) {
      if (entry.key < hive.data_start || entry.key >= hive.length) continue;
      if (entry.key % 8 != 0 || ContainsPosition(listed, entry.key)) continue;
      records.entries.push_back(Record(hive, tables, entry));
    }
    list.entries = static_cast<uint32_t>(records.entries.size()) - list.first;
    if (list.entries == 0) continue;
    list.parent = MajorityParent(records, list);
    records.lists.push_back(list);
  }
  if (reads.cut != 0) NoteShortfall(Shortfall::kSubkeyLists, reads.cut);
  records.by_target.resize(records.entries.size());
  std::iota(records.by_target.begin(), records.by_target.end(), 0U);
  std::stable_sort(records.by_target.begin(), records.by_target.end(),
                   [&records](uint32_t a, uint32_t b) {
                     return records.entries[a].target < records.entries[b].target;
                   });
  return records;
}

uint32_t EntryOfTarget(const ListRecords& records, uint32_t target) {
  const auto at = std::lower_bound(records.by_target.begin(), records.by_target.end(), target,
                                   [&records](uint32_t entry, uint32_t wanted) {
                                     return records.entries[entry].target < wanted;
                                   });
  const bool found = at != records.by_target.end() && records.entries[*at].target == target;
  return found ? *at : kNoRow;
}

const RecordedList& ListOfEntry(const ListRecords& records, uint32_t entry) {
  const auto behind = std::upper_bound(
      records.lists.begin(), records.lists.end(), entry,
      [](uint32_t wanted, const RecordedList& list) { return wanted < list.first; });
  return *std::prev(behind);
}

std::string ListKindText(uint16_t signature, uint32_t count) {
  return Concat({Hex(signature), "-", Decimal(count)});
}

bool ReadHint(const HiveImage& hive, uint32_t position, uint32_t& hint) {
  hint = ReadU32(hive, position + 4);
  // Zero-padded at the end only, and nothing that no name has.
  for (uint32_t rest = hint; rest != 0; rest >>= 8) {
    const uint32_t c = rest & 0xFF;
    if (c < 0x20 || c == '\\') return false;
  }
  return hint != 0;
}

}  // namespace hivequarry
