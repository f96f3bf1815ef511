#include "recovery/freed_records.h"

#include <algorithm>
#include <map>
#include <utility>

#include "hive/cells.h"
#include "hive/key_node.h"
#include "hive/value_key.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "recovery/freed_candidates.h"

namespace hivequarry {
namespace {

constexpr uint32_t kStopPollMask = 0xFF;
constexpr uint32_t kDeepest = 512;  // levels of a registry

// Null when none of them stands there. Of keys or of values, const or not.
template <typename Records>
auto* FindRecord(Records& records, uint32_t position) {
  const auto at = std::ranges::lower_bound(records, position, {}, &Records::value_type::position);
  return at != records.end() && at->position == position ? &*at : nullptr;
}

// --- what is shown or in use ---------------------------------------------------------------------

// What the keys of the tree say of the candidates.
struct Uses {
  PositionIndex values;                     // of candidates
  PositionIndex shown;                      // of these, the ones that the tree shows
  std::map<uint32_t, uint32_t> owners;      // by value, the keys that name them behind their lists
  std::map<uint32_t, uint32_t> used_bytes;  // by cell that holds candidates; 0 until it is known
  uint64_t rest = 0;                        // entries behind lists that may still be read
};

void NoteCell(Uses& uses, uint32_t cell, uint64_t bytes) {
  const auto host = uses.used_bytes.find(cell);
  if (host == uses.used_bytes.end()) return;
  host->second = static_cast<uint32_t>(
      std::max<uint64_t>(host->second, std::min<uint64_t>(bytes, UINT32_MAX)));
}

void NoteData(const HiveImage& hive, uint32_t position, Uses& uses) {
  const ValueKey value =
      ReadStoredValueKey(hive, position, ValueRead::kFields, kMaxValueData, nullptr);
  if (value.inline_data || value.data_position < 4) return;
  NoteCell(uses, value.data_position - 4, uint64_t{4} + value.data_length);
}

// Entries behind the end of a value list: values that the key had before.
void NoteListRest(const HiveImage& hive, uint32_t key, uint32_t list, Uses& uses) {
  const uint32_t count = ReadU32(hive, key + kKeyValueCount);
  const uint32_t size = ReadU32(hive, list);
  const uint32_t length = CellLength(size);
  if (!IsAllocated(size) || length % 8 != 0 || !InsideHive(hive, list, length)) return;
  for (uint64_t at = 4 + uint64_t{4} * count; at + 4 <= length && uses.rest > 0; at += 4) {
    --uses.rest;
    const uint32_t value = ReadOffset(hive, list + static_cast<uint32_t>(at));
    if (ContainsPosition(uses.values, value)) uses.owners.emplace(value, key);
  }
}

void NoteKey(const HiveImage& hive, uint32_t key, std::vector<uint32_t>& positions, Uses& uses) {
  positions.clear();
  ReadValuesOfKey(hive, key, kAllEntries, positions);
  for (const uint32_t value : positions) {
    if (ContainsPosition(uses.values, value)) InsertPosition(uses.shown, value);
    if (!uses.used_bytes.empty() && value != kNoOffset) NoteData(hive, value, uses);
  }
  if (!HasValueList(hive, key)) return;
  const uint32_t list = ValueListOf(hive, key);
  if (!InCellBounds(hive, list)) return;
  NoteCell(uses, list, uint64_t{4} + 4 * positions.size());
  NoteListRest(hive, key, list, uses);
}

void NoteClassName(const HiveImage& hive, uint32_t key, Uses& uses) {
  const uint32_t cell = ReadOffset(hive, key + kKeyClassName);
  NoteCell(uses, cell, uint64_t{4} + ReadU16(hive, key + kKeyClassNameLength));
}

void NoteKeysInUse(const HiveImage& hive, const KeyTree& tree, Uses& uses) {
  std::vector<uint32_t> positions;
  const auto count = static_cast<uint32_t>(tree.items.size());
  for (uint32_t item = 0; item < count; ++item) {
    if ((item & kStopPollMask) == 0 && StopRequested()) return;
    const KeyItem& it = tree.items[item];
    const bool is_key = it.kind == ItemKind::kKey || it.kind == ItemKind::kRoot;
    if (!is_key || (it.marks & kVirtualMarks) != 0) continue;
    NoteKey(hive, it.position, positions, uses);
    if (!uses.used_bytes.empty()) NoteClassName(hive, it.position, uses);
  }
  for (const uint32_t value : tree.disconnected_value_positions) {
    InsertPosition(uses.shown, value);
    if (!uses.used_bytes.empty()) NoteData(hive, value, uses);
  }
}

Uses UsesOf(const HiveImage& hive, const KeyTree& tree,
            const std::vector<FreedCandidate>& candidates) {
  Uses uses;
  if (candidates.empty()) return uses;
  ResetIndex(uses.values, hive.length);
  ResetIndex(uses.shown, hive.length);
  uses.rest = hive.length / 4;
  bool any = false;
  for (const FreedCandidate& candidate : candidates) {
    if (candidate.host != kNoOffset) uses.used_bytes[candidate.host] = 0;
    if (!candidate.key) InsertPosition(uses.values, candidate.position);
    any = any || !candidate.key || candidate.host != kNoOffset;
  }
  if (any) NoteKeysInUse(hive, tree, uses);
  return uses;
}

// True for a candidate that is part of other data. Segments of long data are not looked up: their
// cells count as used whole.
bool IsInUse(const HiveImage& hive, const FreedCandidate& candidate, const Uses& uses) {
  if (candidate.host == kNoOffset) return false;
  if (CellLength(ReadU32(hive, candidate.host)) > kBigDataSegment) return true;
  return candidate.position < candidate.host + uint64_t{uses.used_bytes.at(candidate.host)};
}

FreedRecords TakeRecords(const HiveImage& hive, const std::vector<FreedCandidate>& candidates,
                         const Uses& uses) {
  FreedRecords records;
  for (const FreedCandidate& from : candidates) {
    if (IsInUse(hive, from, uses)) continue;
    if (from.key) {
      FreedKey& key = records.keys.emplace_back();
      key.position = from.position;
      key.name_length = from.name_length;
      key.place = from.place;
    } else if (!ContainsPosition(uses.shown, from.position)) {
      FreedValue& value = records.values.emplace_back();
      value.position = from.position;
      value.name_length = from.name_length;
      value.place = from.place;
    }
  }
  return records;
}

// --- relations -----------------------------------------------------------------------------------

bool IsKeyOf(const KeyTree& tree, const FreedRecords& records, uint32_t position) {
  return ItemOfPosition(tree, position) != kNoItem || FindRecord(records.keys, position) != nullptr;
}

// True for a value that is in use: of a key that was taken out of the tree as it stood.
bool IsValueInUse(const HiveImage& hive, uint32_t position) {
  return position != kNoOffset && IsAllocated(ReadU32(hive, position)) &&
         ReadU16(hive, position + 4) == kSignatureVk;
}

// The list may stand in a free cell too; what it names must be values still.
void ClaimValues(const HiveImage& hive, FreedKey& key, uint32_t& budget,
                 std::vector<uint32_t>& positions, FreedRecords& records) {
  positions.clear();
  ReadValuesOfKey(hive, key.position, budget, positions);
  budget -= static_cast<uint32_t>(positions.size());
  for (const uint32_t position : positions) {
    FreedValue* value = FindRecord(records.values, position);
    key.values_found += value != nullptr || IsValueInUse(hive, position);
    if (value != nullptr && value->key == kNoOffset) value->key = key.position;
  }
}

void Relate(const HiveImage& hive, const KeyTree& tree, const Uses& uses, FreedRecords& records) {
  uint32_t budget = hive.length / 4;
  std::vector<uint32_t> positions;
  for (FreedKey& key : records.keys) {
    if (StopRequested()) return;
    const uint32_t parent = ReadOffset(hive, key.position + kKeyParent);
    if (parent != key.position && IsKeyOf(tree, records, parent)) key.parent = parent;
    key.values = ReadU32(hive, key.position + kKeyValueCount);
    ClaimValues(hive, key, budget, positions, records);
  }
  for (const auto& [value, key] : uses.owners) {
    FreedValue* record = FindRecord(records.values, value);
    if (record != nullptr && record->key == kNoOffset) record->key = key;
  }
}

// --- paths ---------------------------------------------------------------------------------------

// How paths are written.
struct PathText {
  std::string (*of_item)(const HiveImage& hive, const KeyTree& tree, uint32_t item);
  std::string (*of_name)(const HiveImage& hive, const FreedKey& key);
};

std::string NarrowName(const HiveImage& hive, const FreedKey& key) {
  std::string name = ReadKeyName(hive, key.position);
  const bool wide = ReadU8(hive, key.position + kKeyFlags) == 0;
  name.resize(std::min<size_t>(name.size(), wide ? key.name_length / 2 : key.name_length));
  return name;
}

std::string Utf8Name(const HiveImage& hive, const FreedKey& key) {
  return Utf8FromWide(WideKeyName(hive, key.position, key.name_length));
}

std::string Utf8PathOfItem(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  return ItemPathUtf8(hive, tree, item, nullptr);
}

// From the key up; freed parents may go round in a circle.
std::string PathOf(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                   uint32_t position, const PathText& text) {
  std::string below;
  std::vector<uint32_t> met;
  while (met.size() < kDeepest && std::ranges::find(met, position) == met.end()) {
    const uint32_t item = ItemOfPosition(tree, position);
    if (item != kNoItem) return text.of_item(hive, tree, item) + below;
    const FreedKey* key = FindRecord(records.keys, position);
    if (key == nullptr) break;
    const std::string name = text.of_name(hive, *key);
    if (!met.empty() && below.size() + name.size() >= kPathLimit) break;
    below.insert(0, "\\" + name);
    met.push_back(position);
    position = key->parent;
  }
  return below.empty() ? below : "?" + below;
}

}  // namespace

const char* FreedPlaceWords(FreedPlace place) {
  constexpr const char* kWords[] = {"free cell", "inside a free cell", "behind a record",
                                    "outside cells"};
  static_assert(std::size(kWords) == static_cast<size_t>(FreedPlace::kNoCell) + 1);
  return kWords[static_cast<size_t>(place)];
}

FreedRecords FindFreedRecords(const HiveImage& hive, const KeyTree& tree) {
  ShowStatus("Looking for freed records ...");
  const std::vector<FreedCandidate> candidates = FindFreedCandidates(hive, tree);
  const Uses uses = UsesOf(hive, tree, candidates);
  FreedRecords records = TakeRecords(hive, candidates, uses);
  if (hive.data_base_proven) Relate(hive, tree, uses, records);
  ShowStatus("");
  return StopRequested() ? FreedRecords() : std::move(records);
}

std::string FreedPath(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                      uint32_t key_position) {
  return PathOf(hive, tree, records, key_position, {ItemPath, NarrowName});
}

std::string FreedPathUtf8(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                          uint32_t key_position) {
  return PathOf(hive, tree, records, key_position, {Utf8PathOfItem, Utf8Name});
}

}  // namespace hivequarry
