#include "recovery/freed_uses.h"

#include <algorithm>

#include "hive/keys.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

constexpr uint32_t kUsePollMask = 0xFF;

// Entries of a list after its end: [begin, end) are positions.
struct EntryRange {
  uint32_t begin = 0;
  uint32_t end = 0;
  uint32_t key = 0;  // position of the key whose list it is
};

// `rests` are read after all lists, so that what a list in use names is never another key's former
// value.
struct Collecting {
  const HiveImage& hive;
  FreedUses uses = {};
  std::vector<EntryRange> rests = {};
  std::vector<uint32_t> positions = {};  // of the values of one key
};

// Null for a cell that holds no candidate. Logarithmic: hosts are ascending by position.
HostCell* FindHost(FreedUses& uses, uint32_t cell) {
  const auto at = std::ranges::lower_bound(uses.hosts, cell, {}, &HostCell::position);
  return at != uses.hosts.end() && at->position == cell ? &*at : nullptr;
}

// Only cells that hold candidates are of interest: the rest of the hive costs a look-up.
void NoteCell(FreedUses& uses, uint32_t cell, uint64_t bytes) {
  HostCell* host = FindHost(uses, cell);
  if (host == nullptr) return;
  host->used = std::max(host->used, static_cast<uint32_t>(std::min<uint64_t>(bytes, UINT32_MAX)));
}

// The data of a "db" cell: its list, and each segment for as much as the value has in it.
void NoteSegments(const HiveImage& hive, uint32_t cell, uint32_t length, FreedUses& uses) {
  constexpr uint32_t kListOffset = 8;
  const uint32_t list = ReadOffset(hive, cell + kListOffset);
  const uint32_t count = (length + kBigDataSegment - 1) / kBigDataSegment;
  NoteCell(uses, list, kCellSizeField + 4 * uint64_t{count});
  for (uint32_t i = 0; i < count && InCellBounds(hive, list + kCellSizeField + 4 * i); ++i) {
    const uint32_t segment = ReadOffset(hive, list + kCellSizeField + 4 * i);
    NoteCell(uses, segment,
             kCellSizeField + std::min(length - kBigDataSegment * i, kBigDataSegment));
  }
}

// Data too long to be read are in use as well.
void NoteData(const HiveImage& hive, uint32_t position, FreedUses& uses) {
  const ValueKey value =
      ReadStoredValueKey(hive, position, ValueRead::kFields, kMaxValueData, nullptr);
  const bool none = value.status == ValueStatus::kEmpty || value.status == ValueStatus::kNotAValue;
  if (none || value.inline_data || !hive.data_base_proven) return;
  const uint32_t cell = ReadOffset(hive, position + kValueDataOffset);
  const uint64_t needed = kCellSizeField + uint64_t{value.data_length};
  NoteCell(uses, cell, needed);
  const bool big = needed > CellLength(ReadU32(hive, cell)) &&
                   ReadU16(hive, cell + kCellSizeField) == kSignatureDb &&
                   value.data_length < kMaxValueData;
  if (big) NoteSegments(hive, cell, value.data_length, uses);
}

// A type that no system has by itself is believed of a freed value when a value in use has it too.
void NoteType(const HiveImage& hive, uint32_t position, FreedUses& uses) {
  const uint32_t type = ReadU32(hive, position + kValueType);
  const auto at = std::ranges::lower_bound(uses.odd_types, type);
  const bool used = at != uses.odd_types.end() && *at == type &&
                    ReadU16(hive, position + kCellSizeField) == kSignatureVk;
  if (used) uses.odd_types_used[static_cast<size_t>(at - uses.odd_types.begin())] = true;
}

// Once, however many lists name it.
void NoteValue(const HiveImage& hive, uint32_t position, FreedUses& uses) {
  if (ContainsPosition(uses.named, position)) return;
  InsertPosition(uses.named, position);
  if (!uses.hosts.empty()) NoteData(hive, position, uses);
  if (!uses.odd_types.empty()) NoteType(hive, position, uses);
}

// What the list names, as all walks read it, and what is after its end.
void NoteList(Collecting& collecting, uint32_t key) {
  const HiveImage& hive = collecting.hive;
  if (!HasValueList(hive, key)) return;
  std::vector<uint32_t>& positions = collecting.positions;
  positions.clear();
  ReadValuesOfKey(hive, key, kAllEntries, positions);
  for (const uint32_t value : positions) {
    if (value != kNoOffset) NoteValue(hive, value, collecting.uses);
  }
  const uint32_t list = ValueListOf(hive, key);
  const ValueListPlace place = PlaceValueList(hive, ReadU32(hive, key + kKeyValueCount), list);
  const bool cell = place.bound == ListBound::kCell;
  const uint64_t count = cell ? place.most : positions.size();
  if (place.bound == ListBound::kNone || list % 4 != 0) return;
  NoteCell(collecting.uses, list, kCellSizeField + 4 * count);
  if (!cell) return;
  const uint32_t end = list + CellLength(ReadU32(hive, list));
  const uint32_t begin = ValueEntryPosition(list, place.most);
  if (begin < end) collecting.rests.push_back({begin, end, key});
}

// Calls `visit` with each entry's value and the first of the keys with that entry.
template <typename Visit>
void VisitEntries(const HiveImage& hive, std::vector<EntryRange>& ranges, const Visit& visit) {
  std::ranges::stable_sort(ranges, {}, &EntryRange::begin);
  uint32_t covered = 0;
  uint32_t steps = 0;
  for (const EntryRange& range : ranges) {
    if ((++steps & kUsePollMask) == 0 && StopRequested()) return;
    for (uint32_t field = std::max(range.begin, covered); field < range.end; field += 4) {
      if ((field & 0xFFFC) == 0 && StopRequested()) return;
      const uint32_t value = EntryTarget(hive, field);
      if (value != kNoOffset) visit(value, range.key);
    }
    covered = std::max(covered, range.end);
  }
}

void NoteKeys(Collecting& collecting, const KeyTree& tree) {
  const HiveImage& hive = collecting.hive;
  uint32_t steps = 0;
  for (const KeyItem& item : tree.items) {
    if ((++steps & kUsePollMask) == 0 && StopRequested()) return;
    // Keys that are hidden from the view are in use all the same, so this is not HasKeyCell.
    const bool is_key = item.kind == ItemKind::kKey || item.kind == ItemKind::kRoot;
    if (!is_key || (item.marks & kVirtualMarks) != 0 || item.position == kNoOffset) continue;
    NoteList(collecting, item.position);
    const uint32_t class_name = ReadOffset(hive, item.position + kKeyClassName);
    const uint32_t length = ReadU16(hive, item.position + kKeyClassNameLength);
    if (!collecting.uses.hosts.empty()) {
      NoteCell(collecting.uses, class_name, kCellSizeField + uint64_t{length});
    }
  }
}

void NoteValues(Collecting& collecting, const KeyTree& tree) {
  const HiveImage& hive = collecting.hive;
  FreedUses& uses = collecting.uses;
  uint32_t steps = 0;
  for (const uint32_t value : tree.disconnected_value_positions) {
    if ((++steps & kUsePollMask) == 0 && StopRequested()) return;
    NoteValue(hive, value, uses);
  }
  PositionIndex taken;
  ResetIndex(taken, hive.length);
  VisitEntries(hive, collecting.rests, [&](uint32_t value, uint32_t key) {
    if (!ContainsPosition(uses.candidates, value) || ContainsPosition(taken, value)) return;
    InsertPosition(taken, value);
    uses.former.push_back({value, key});
  });
}

// Candidates come ascending, so those of one host follow one another.
void NoteCandidates(const HiveImage& hive, std::span<const FreedCandidate> candidates,
                    FreedUses& uses) {
  for (const FreedCandidate& candidate : candidates) {
    if (!candidate.key) InsertPosition(uses.candidates, candidate.position);
    const bool hosted = candidate.host != kNoOffset;
    if (hosted && (uses.hosts.empty() || uses.hosts.back().position != candidate.host)) {
      uses.hosts.push_back({candidate.host, 0});
    }
    if (candidate.odd_type) {
      uses.odd_types.push_back(ReadU32(hive, candidate.position + kValueType));
    }
  }
  std::ranges::sort(uses.odd_types);
  const auto rest = std::unique(uses.odd_types.begin(), uses.odd_types.end());
  uses.odd_types.erase(rest, uses.odd_types.end());
  uses.odd_types_used.resize(uses.odd_types.size());
}

bool IsTypeUsed(const HiveImage& hive, const FreedCandidate& candidate, const FreedUses& uses) {
  const uint32_t type = ReadU32(hive, candidate.position + kValueType);
  const auto at = std::ranges::lower_bound(uses.odd_types, type);
  return uses.odd_types_used[static_cast<size_t>(at - uses.odd_types.begin())];
}

}  // namespace

FreedUses CollectFreedUses(const HiveImage& hive, const KeyTree& tree,
                           std::span<const FreedCandidate> candidates) {
  Collecting collecting{hive};
  if (candidates.empty()) return {};
  ResetIndex(collecting.uses.candidates, hive.length);
  ResetIndex(collecting.uses.named, hive.length);
  NoteCandidates(hive, candidates, collecting.uses);
  NoteKeys(collecting, tree);
  NoteValues(collecting, tree);
  return std::move(collecting.uses);
}

// In a host cell only what is after the bytes in use counts.
bool IsFreed(const HiveImage& hive, const FreedCandidate& candidate, const FreedUses& uses) {
  if (candidate.odd_type && !IsTypeUsed(hive, candidate, uses)) return false;
  if (!candidate.key && ContainsPosition(uses.named, candidate.position)) return false;
  if (candidate.host == kNoOffset) return true;
  const auto host = std::ranges::lower_bound(uses.hosts, candidate.host, {}, &HostCell::position);
  return candidate.position >= host->position + uint64_t{host->used};
}

}  // namespace hivequarry
