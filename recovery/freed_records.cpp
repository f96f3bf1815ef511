#include "recovery/freed_records.h"

#include <algorithm>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hive/keys.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "records/cell.h"
#include "recovery/freed_candidates.h"
#include "recovery/freed_shifts.h"
#include "recovery/freed_uses.h"
#include "recovery/high_marks.h"

namespace hivequarry {
namespace {

constexpr uint32_t kRecordPollMask = 0xFF;
constexpr uint32_t kInlineData = 4;       // bytes that a value holds itself
constexpr uint32_t kEntriesOfEach = 256;  // of a key's list, read whatever other keys have read

// Null when none of them is there. Of keys or of values, const or not.
template <typename Records>
auto* FindRecord(Records& records, uint32_t position) {
  const auto at = std::ranges::lower_bound(records, position, {}, &Records::value_type::position);
  return at != records.end() && at->position == position ? &*at : nullptr;
}

FreedRecords RecordsOf(const std::vector<FreedCandidate>& candidates) {
  FreedRecords records;
  for (const FreedCandidate& from : candidates) {
    if (from.key) {
      FreedKey& key = records.keys.emplace_back();
      key.position = from.position;
      key.name_length = from.name_length;
      key.place = from.place;
    } else {
      FreedValue& value = records.values.emplace_back();
      value.position = from.position;
      value.name_length = from.name_length;
      value.place = from.place;
    }
  }
  return records;
}

// --- relations -----------------------------------------------------------------------------------

// What is known while records are joined. `runs` is empty until FindShifts, and in hives without an
// earlier state.
struct Relating {
  const HiveImage& hive;
  const KeyTree& tree;
  const FreedUses& uses;
  FreedRecords& records;
  std::vector<ShiftRun> runs = {};          // whose offsets are of an earlier state
  PositionIndex values = {};                // of the freed values: most entries lead to none
  std::vector<uint32_t> rows_of_rank = {};  // in it
  std::unordered_map<uint32_t, bool> keeps_names = {};   // by position of a key of the tree
  std::unordered_map<uint32_t, bool> keeps_values = {};  // likewise
  uint32_t pool = 0;                     // list entries that keys with long lists share
  std::vector<uint32_t> positions = {};  // scratch
};

// Not every writer of hives keeps the marks, and they may be damaged: then what the key has still
// exceeds them.
bool KeepsSubkeyMark(Relating& relating, uint32_t item) {
  const KeyTree& tree = relating.tree;
  const uint32_t parent = tree.items[item].position;
  const auto [known, added] = relating.keeps_names.try_emplace(parent, true);
  if (!added) return known->second;
  const uint32_t end = tree.items[item].end;
  for (uint32_t child = item + 1; child < end; child = tree.items[child].end) {
    const KeyItem& it = tree.items[child];
    const bool own = it.entry != 0 && (it.marks & kVirtualMarks) == 0;
    if (!own || SubkeyVerdict(relating.hive, parent, it.position) != MarkVerdict::kRuledOut) {
      continue;
    }
    known->second = false;
    break;
  }
  return known->second;
}

bool KeepsValueMarks(Relating& relating, uint32_t key) {
  const auto [known, added] = relating.keeps_values.try_emplace(key, true);
  if (!added) return known->second;
  std::vector<uint32_t> values;
  ReadValuesOfKey(relating.hive, key, kEntriesOfEach, values);
  known->second = std::ranges::none_of(values, [&](uint32_t value) {
    return value != kNoOffset && ValueVerdict(relating.hive, key, value) == MarkVerdict::kRuledOut;
  });
  return known->second;
}

// A parent in the tree that never had the key, or that has nothing left to tell it by.
FreedBond BondToItem(Relating& relating, uint32_t item, uint32_t key) {
  const KeyItem& it = relating.tree.items[item];
  if ((it.marks & kVirtualMarks) != 0) return FreedBond::kStands;
  switch (SubkeyVerdict(relating.hive, it.position, key)) {
    case MarkVerdict::kRuledOut:
      return KeepsSubkeyMark(relating, item) ? FreedBond::kUsedAgain : FreedBond::kNotConfirmed;
    case MarkVerdict::kUnproven:
      return FreedBond::kNotConfirmed;
    default:
      return FreedBond::kStands;
  }
}

// Sets parent and bond by the key's parent field. Offsets of an earlier state lead to freed keys of
// that state alone.
void FindParent(Relating& relating, FreedKey& key) {
  const HiveImage& hive = relating.hive;
  const uint32_t field = key.position + kKeyParent;
  const uint32_t nominal = ReadOffset(hive, field);
  key.parent = key.parent_row = kNoOffset;
  key.bond = FreedBond::kNone;
  if (nominal == kNoOffset) return;
  const uint32_t parent = nominal - key.shift;
  if (parent == key.position) return;
  const uint32_t item = key.shift == 0 ? ItemOfPosition(relating.tree, parent) : kNoItem;
  const FreedKey* freed = item == kNoItem ? FindRecord(relating.records.keys, parent) : nullptr;
  if (item != kNoItem) {
    key.bond = BondToItem(relating, item, key.position);
  } else if (freed != nullptr && freed->shift == key.shift) {
    const bool out = SubkeyVerdict(hive, parent, key.position) == MarkVerdict::kRuledOut;
    key.bond = out ? FreedBond::kUsedAgain : FreedBond::kStands;
  }
  if (key.bond == FreedBond::kNone || key.bond == FreedBond::kUsedAgain) return;
  key.parent = parent;
  if (freed != nullptr) {
    key.parent_row = static_cast<uint32_t>(freed - relating.records.keys.data());
  }
}

// True for a value in use that no key of the tree has: of a key that was taken out of the tree as
// it was.
bool IsLeftValue(const Relating& relating, uint32_t position) {
  return position != kNoOffset && IsAllocated(ReadU32(relating.hive, position)) &&
         ReadU16(relating.hive, position + 4) == kSignatureVk &&
         !ContainsPosition(relating.uses.named, position);
}

// Positions that the key's list leads to with the offsets of an earlier state.
void ReadShiftedList(const HiveImage& hive, const FreedKey& key, uint32_t most,
                     std::vector<uint32_t>& positions) {
  if (!HasValueList(hive, key.position)) return;
  const uint32_t list = ReadU32(hive, key.position + kKeyValueList) + hive.data_base - key.shift;
  if (list % 4 != 0 || !InCellBounds(hive, list)) return;
  const uint32_t room = (hive.length - list - 4) / 4;
  const uint32_t count = std::min({key.values, room, most});
  for (uint32_t i = 0; i < count; ++i) {
    positions.push_back(ReadU32(hive, list + 4 + 4 * i) + hive.data_base - key.shift);
  }
}

FreedValue* ValueAt(Relating& relating, uint32_t position) {
  std::vector<FreedValue>& values = relating.records.values;
  if (position % 8 != 0) return FindRecord(values, position);
  const uint32_t rank = RankOfPosition(relating.values, position);
  return rank == kNoRank ? nullptr : &values[relating.rows_of_rank[rank]];
}

// Values outside blocks may be at other places than multiples of 8.
void IndexValues(Relating& relating) {
  const std::vector<FreedValue>& values = relating.records.values;
  ResetIndex(relating.values, relating.hive.length);
  for (uint32_t row = 0; row < values.size(); ++row) {
    InsertPosition(relating.values, values[row].position);
    if (values[row].position % 8 == 0) relating.rows_of_rank.push_back(row);
  }
  SealIndex(relating.values);
}

// The first key that names a value has it: lists of freed keys are read before what lists in use
// still name after their ends.
void Bind(Relating& relating, FreedValue& value, uint32_t key) {
  if (value.key != kNoOffset) return;
  const MarkVerdict verdict = ValueVerdict(relating.hive, key, value.position);
  const bool exceeds = verdict == MarkVerdict::kRuledOut;
  const bool in_tree = ItemOfPosition(relating.tree, key) != kNoItem;
  const bool kept = !exceeds || !in_tree || KeepsValueMarks(relating, key);
  value.bond = !exceeds ? FreedBond::kStands
               : kept   ? FreedBond::kUsedAgain
                        : FreedBond::kNotConfirmed;
  const bool out = value.bond == FreedBond::kUsedAgain;
  value.ruled_out = out ? key : kNoOffset;
  value.key = out ? kNoOffset : key;
}

// What one entry of a key's list leads to: a value that may be its own.
bool IsValueOf(Relating& relating, const FreedKey& key, uint32_t position) {
  const FreedValue* value = ValueAt(relating, position);
  if (value == nullptr) return key.shift == 0 && IsLeftValue(relating, position);
  return value->shift == key.shift &&
         ValueVerdict(relating.hive, key.position, position) != MarkVerdict::kRuledOut;
}

void ReadList(Relating& relating, FreedKey& key) {
  relating.positions.clear();
  key.values = ReadU32(relating.hive, key.position + kKeyValueCount);
  key.values_found = 0;
  const uint32_t most = std::max(kEntriesOfEach, relating.pool);
  if (key.shift == 0) ReadValuesOfKey(relating.hive, key.position, most, relating.positions);
  if (key.shift != 0) ReadShiftedList(relating.hive, key, most, relating.positions);
  const auto read = static_cast<uint32_t>(relating.positions.size());
  if (read > kEntriesOfEach) relating.pool -= std::min(relating.pool, read - kEntriesOfEach);
  if (read == most && key.values > read) NoteShortfall(Shortfall::kFreedRecords);
}

// The list may be in a free cell too; what it names must be values still.
void BindValues(Relating& relating, FreedKey& key) {
  ReadList(relating, key);
  for (const uint32_t position : relating.positions) {
    key.values_found += IsValueOf(relating, key, position);
    FreedValue* value = ValueAt(relating, position);
    if (value != nullptr && value->shift == key.shift) Bind(relating, *value, key.position);
  }
}

// Whether it leads to any.
bool LeadsToValues(Relating& relating, FreedKey& key) {
  ReadList(relating, key);
  return std::ranges::any_of(relating.positions,
                             [&](uint32_t position) { return IsValueOf(relating, key, position); });
}

template <typename Work>
void ForEachKey(FreedRecords& records, const Work& work) {
  uint32_t steps = 0;
  for (FreedKey& key : records.keys) {
    if ((++steps & 0xF) == 0 && StopRequested()) return;
    work(key);
  }
}

// Which records are in pages of an earlier state. It takes three witnesses, and a key is two at
// most, by its list and by its parent: with fewer than two keys that lead nowhere there is nothing
// to tell it by.
void FindShifts(Relating& relating) {
  FreedRecords& records = relating.records;
  relating.pool = relating.hive.length / 4;
  std::vector<bool> led;
  uint32_t lost = 0;
  ForEachKey(records, [&](FreedKey& key) {
    FindParent(relating, key);
    key.values_found = LeadsToValues(relating, key);
    led.push_back(key.values_found != 0 || key.bond == FreedBond::kStands ||
                  key.bond == FreedBond::kNotConfirmed);
    lost += key.values_found == 0 && (key.values != 0 || !led.back());
  });
  if (lost < 2 || StopRequested()) return;
  relating.runs = FindShiftRuns(relating.hive, records, led);
  for (FreedKey& key : records.keys) key.shift = ShiftOf(relating.runs, key.position);
  for (FreedValue& value : records.values) value.shift = ShiftOf(relating.runs, value.position);
}

// Marks the circles of parents, and hands on along the parents that a path is not confirmed.
void FollowParents(std::vector<FreedKey>& keys) {
  enum : uint8_t { kUnseen, kOnWay, kDone };
  std::vector<uint8_t> states(keys.size(), kUnseen);
  std::vector<uint32_t> way;
  for (uint32_t start = 0; start < keys.size(); ++start) {
    if ((start & kRecordPollMask) == 0 && StopRequested()) return;
    uint32_t row = start;
    for (; row != kNoItem && states[row] == kUnseen; row = keys[row].parent_row) {
      states[row] = kOnWay;
      way.push_back(row);
    }
    if (row != kNoItem && states[row] == kOnWay) {
      for (size_t at = way.size(); at-- > 0;) {
        keys[way[at]].in_circle = true;
        if (way[at] == row) break;
      }
    }
    for (; !way.empty(); way.pop_back()) {
      FreedKey& key = keys[way.back()];
      const bool below = key.parent_row != kNoItem && key.bond == FreedBond::kStands;
      if (below && keys[key.parent_row].bond == FreedBond::kNotConfirmed) {
        key.bond = FreedBond::kNotConfirmed;
      }
      states[way.back()] = kDone;
    }
  }
}

// In this order: parents by the offsets as they are, runs of an earlier state by what these leave
// unexplained, parents and values anew with the runs, and last what is only confirmed by others.
void Relate(Relating& relating) {
  FreedRecords& records = relating.records;
  IndexValues(relating);
  FindShifts(relating);
  relating.pool = relating.hive.length / 4;
  // FindShifts has found the parents of offsets as they are.
  const bool shifted = !relating.runs.empty();
  ForEachKey(records, [&](FreedKey& key) {
    if (shifted) FindParent(relating, key);
    BindValues(relating, key);
  });
  for (const FormerValue& former : relating.uses.former) {
    FreedValue* value = ValueAt(relating, former.value);
    if (value != nullptr && value->shift == 0) Bind(relating, *value, former.key);
  }
  FollowParents(records.keys);
}

// Whether a value has data in a cell of their own: without any nothing has to be asked about cells.
bool AnyData(const HiveImage& hive, const std::vector<FreedValue>& values) {
  return std::ranges::any_of(values, [&hive](const FreedValue& value) {
    const uint32_t length = ReadU32(hive, value.position + kValueDataLength);
    return length > kInlineData && length <= INT32_MAX;
  });
}

// All paths together are not much longer than the file, whatever the chains of parents are.
size_t PathLimitFor(const HiveImage& hive, const FreedRecords& records) {
  const size_t rows = records.keys.size() + records.values.size() + 1;
  return std::clamp(2 * size_t{hive.length} / rows, kPathLimit, kLongestPath);
}

}  // namespace

const FreedKey* FreedKeyAt(const FreedRecords& records, uint32_t position) {
  return FindRecord(records.keys, position);
}

const FreedValue* FreedValueAt(const FreedRecords& records, uint32_t position) {
  return FindRecord(records.values, position);
}

uint32_t FreedKeyRow(const FreedRecords& records, uint32_t position) {
  const FreedKey* key = FreedKeyAt(records, position);
  return key == nullptr ? kNoItem : static_cast<uint32_t>(key - records.keys.data());
}

// Uses are collected before overlaps are settled: a record in use must not take the bytes of one
// that was freed.
FreedRecords FindFreedRecords(const HiveImage& hive, const KeyTree& tree) {
  ShowStatus("Looking for freed records ...");
  std::vector<FreedCandidate> candidates = FindFreedCandidates(hive, tree);
  const FreedUses uses = CollectFreedUses(hive, tree, candidates);
  std::erase_if(candidates, [&](const FreedCandidate& each) { return !IsFreed(hive, each, uses); });
  SettleOverlaps(hive, candidates);
  FreedRecords records = RecordsOf(candidates);
  Relating relating{hive, tree, uses, records};
  if (hive.data_base_proven) Relate(relating);
  records.path_limit = PathLimitFor(hive, records);
  if (AnyData(hive, records.values)) records.space = FindFreeSpace(hive);
  ShowStatus("");
  return StopRequested() ? FreedRecords() : std::move(records);
}

}  // namespace hivequarry
