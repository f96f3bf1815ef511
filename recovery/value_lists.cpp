#include "recovery/value_lists.h"

#include <algorithm>
#include <span>
#include <vector>

#include "hive/keys.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

constexpr uint32_t kClaimPollMask = 0xFF;

// A key that names a list.
struct ListClaim {
  uint32_t list = 0;     // position of the list's cell
  uint32_t key = 0;      // position
  uint32_t entries = 0;  // as the key counts them
  bool proven = false;   // the list's cell has room for the key's count
};

std::vector<ListClaim> ClaimsOf(const HiveImage& hive, const ScanTables& tables) {
  std::vector<ListClaim> claims;
  for (const KeyRow& key : tables.keys) {
    if (IsMade(key) || !HasValueList(hive, key.position)) continue;
    claims.push_back({ValueListOf(hive, key.position), key.position,
                      ReadU32(hive, key.position + kKeyValueCount)});
  }
  std::ranges::sort(claims, [](const ListClaim& a, const ListClaim& b) {
    return a.list != b.list ? a.list < b.list : a.key < b.key;
  });
  // Not before they are in order: the lists are read from one end of the image to the other.
  std::erase_if(claims, [&hive](ListClaim& claim) {
    const ValueListPlace place = PlaceValueList(hive, claim.entries, claim.list);
    claim.entries = place.most;
    claim.proven = place.bound == ListBound::kCell;
    return place.bound == ListBound::kNone;
  });
  return claims;
}

// The greatest level at which the demands, each cut to it, take no more than `most` in all.
// Fair to small demands: none that is at most an equal share of the whole is cut.
uint64_t LevelOf(std::vector<uint64_t> demands, uint64_t most) {
  std::ranges::sort(demands);
  size_t rest = demands.size();
  for (const uint64_t demand : demands) {
    if (demand > most / rest) return most / rest;
    most -= demand;
    --rest;
  }
  return UINT64_MAX;
}

// The claims to one list.
using Group = std::span<ListClaim>;

// Views into `claims`, which are ordered by list.
std::vector<Group> GroupsOf(std::vector<ListClaim>& claims) {
  std::vector<Group> groups;
  for (size_t from = 0; from < claims.size();) {
    size_t to = from + 1;
    while (to < claims.size() && claims[to].list == claims[from].list) ++to;
    groups.push_back(std::span(claims).subspan(from, to - from));
    from = to;
  }
  return groups;
}

// Puts the key with the best right to the list first: one that its cell has room for, and whose own
// words the values reach; else one that they allow.
void PutOwnerFirst(const HiveImage& hive, uint64_t most, Group group) {
  const uint32_t entries = std::ranges::max(group, {}, &ListClaim::entries).entries;
  std::vector<uint32_t> values;
  ReadValueList(hive, entries, group[0].list,
                static_cast<uint32_t>(std::min<uint64_t>(most, entries)), values);
  ValueExtremes extremes;
  for (const uint32_t value : values) {
    if (value != kNoOffset) Widen(hive, value, extremes);
  }
  const auto right = [&](const ListClaim& claim) {
    const ValueExtremes words = ExtremesOfKey(hive, claim.key);
    const bool reached = words.name == extremes.name && words.data == extremes.data;
    return 4 * claim.proven + 2 * reached + Allows(words, extremes);
  };
  std::ranges::stable_sort(group, std::ranges::greater(), right);
}

void LimitWalks(HiveImage& hive, const ListClaim& claim, uint64_t most) {
  if (most >= claim.entries) return;
  hive.found.list_notes[claim.key].in_walks = static_cast<uint32_t>(most);
}

// Keys beside the owner get the list whole, one after the other, as long as their share of what all
// shared lists are allowed lasts.
void LimitShares(HiveImage& hive, std::span<const Group> groups) {
  // Entries that shared lists may cost in all walks: so many, and one for each 128 bytes of the
  // image.
  constexpr uint64_t kLeast = 65536;
  constexpr uint32_t kBytesPerEntry = 128;  // of the image
  std::vector<uint64_t> demands;
  for (const Group& group : groups) {
    uint64_t demand = 0;
    for (const ListClaim& claim : group.subspan(1)) demand += claim.entries;
    if (demand != 0) demands.push_back(demand);
  }
  const uint64_t level = LevelOf(std::move(demands), kLeast + hive.length / kBytesPerEntry);
  for (const Group& group : groups) {
    uint64_t left = level;
    for (const ListClaim& claim : group.subspan(1)) {
      hive.found.list_notes[claim.key].shared = true;
      if (claim.entries > left) {
        LimitWalks(hive, claim, 0);
        continue;
      }
      left -= claim.entries;
    }
  }
}

// Values that lists name whose cells have room for their keys' counts.
PositionIndex ProvenValues(const HiveImage& hive, std::span<const Group> groups, uint64_t most) {
  PositionIndex values;
  ResetIndex(values, hive.length);
  std::vector<uint32_t> entries;
  for (const Group& group : groups) {
    const ListClaim& owner = group[0];
    if (!owner.proven) continue;
    entries.clear();
    ReadValueList(hive, owner.entries, owner.list,
                  static_cast<uint32_t>(std::min<uint64_t>(most, owner.entries)), entries);
    for (const uint32_t value : entries) InsertPosition(values, value);
  }
  return values;
}

// How many entries are its key's, of a list whose cell or count is wrong. Where the cell is sound a
// value that contradicts the key's words is a damaged one, and others of the key come after it.
uint32_t OwnEntries(const HiveImage& hive, const ListClaim& claim, const PositionIndex& proven,
                    uint64_t most) {
  std::vector<uint32_t> values;
  ReadValueList(hive, ReadU32(hive, claim.key + kKeyValueCount), claim.list,
                static_cast<uint32_t>(std::min<uint64_t>(most, claim.entries)), values);
  const ValueExtremes words = ExtremesOfKey(hive, claim.key);
  const bool sound_cell = PlaceValueList(hive, 1, claim.list).bound == ListBound::kCell;
  uint32_t own = 0;
  for (uint32_t i = 0; i < values.size(); ++i) {
    if (values[i] == kNoOffset || ReadU16(hive, values[i] + 4) != kSignatureVk) continue;
    ValueExtremes extremes;
    Widen(hive, values[i], extremes);
    const bool allocated = IsAllocated(ReadU32(hive, values[i]));
    const bool fits = allocated && Allows(words, extremes);
    if (ContainsPosition(proven, values[i]) || (!fits && !sound_cell)) break;
    if (fits) own = i + 1;
  }
  return own;
}

// Bounds the entries of lists whose cells do not say how long they are. What sound lists name is
// gathered only when the first guess is met: most hives have none.
void SettleGuesses(HiveImage& hive, std::span<const Group> groups, uint64_t most) {
  const auto is_guess = [](const ListClaim& claim) { return !claim.proven; };
  PositionIndex proven;
  for (const Group& group : groups) {
    for (const ListClaim& claim : group) {
      if (!is_guess(claim) || StopRequested()) continue;
      if (NoteOfValueList(hive, claim.key).in_walks == 0) continue;
      if (proven.bits.empty()) proven = ProvenValues(hive, groups, most);
      hive.found.list_notes[claim.key].entries = OwnEntries(hive, claim, proven, most);
    }
  }
}

}  // namespace

void Widen(const HiveImage& hive, uint32_t value_position, ValueExtremes& extremes) {
  const ValueKey value = ReadStoredValueKey(hive, value_position, ValueRead::kFields, 0, nullptr);
  if (value.status == ValueStatus::kEmpty || value.status == ValueStatus::kNotAValue) return;
  const uint32_t bytes = IsWideValueName(value.flags) ? value.name_length : 2U * value.name_length;
  extremes.name = std::max(extremes.name, bytes);
  extremes.data = std::max(extremes.data, value.data_length);
}

ValueExtremes ExtremesOfKey(const HiveImage& hive, uint32_t key_position) {
  return {ReadU32(hive, key_position + kKeyLongestValueName),
          ReadU32(hive, key_position + kKeyLongestValueData)};
}

// A quarter of the image is more entries of 4 bytes than it can hold without lists that overlap.
void SettleValueLists(HiveImage& hive, const ScanTables& tables) {
  hive.found.list_notes.clear();
  if (!hive.data_base_proven) return;
  // Keys that share lists count more values than there are.
  if (!tables.repaired && tables.counted_values <= tables.values.size()) return;
  std::vector<ListClaim> claims = ClaimsOf(hive, tables);
  const std::vector<Group> groups = GroupsOf(claims);
  std::vector<uint64_t> demands;
  demands.reserve(groups.size());
  for (const Group& group : groups) {
    demands.push_back(std::ranges::max(group, {}, &ListClaim::entries).entries);
  }
  const uint64_t level = LevelOf(std::move(demands), hive.length / 4);
  for (size_t i = 0; i < groups.size(); ++i) {
    if ((i & kClaimPollMask) == 0 && StopRequested()) return;
    if (groups[i].size() > 1) PutOwnerFirst(hive, level, groups[i]);
    LimitWalks(hive, groups[i][0], level);
  }
  LimitShares(hive, groups);
  SettleGuesses(hive, groups, level);
}

}  // namespace hivequarry
