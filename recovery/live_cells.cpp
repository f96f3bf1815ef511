#include "recovery/live_cells.h"

#include <algorithm>

#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/subkeys.h"
#include "hive/values.h"
#include "records/cell.h"
#include "recovery/scan.h"

namespace hivequarry {
namespace {

// A key's bytes: its fixed part and its name, of which a damaged length may claim any number. With
// `listed` they end with its cell.
bool HasLiveBytes(const HiveImage& hive, const OwnedCells& live, const KeyRow& key, bool listed) {
  uint32_t used = kKeyName + uint32_t{ReadU16(hive, key.position + kKeyNameLength)};
  if (listed) used = std::clamp(CellLength(ReadU32(hive, key.position)), uint32_t{kKeyName}, used);
  return OwnerOf(live, key.position, uint64_t{key.position} + used) != nullptr;
}

// Keys that their parent's list names: more than their own bytes says that they are some.
std::vector<bool> ListedKeys(const ScanTables& tables) {
  std::vector<bool> listed(tables.keys.size());
  for (const KeyRow& key : tables.keys) {
    for (uint32_t i = 0; i < key.entry_count; ++i) {
      const uint32_t row = tables.child_entries[key.first_entry + i].row;
      if (row < listed.size() && tables.keys[row].parent == key.position) listed[row] = true;
    }
  }
  return listed;
}

// Cells whose bytes a program chooses. What is in any other cell the system wrote.
bool IsDataCell(const OwnedCell& cell) {
  return cell.what == OwnedAs::kData || cell.what == OwnedAs::kSegment ||
         cell.what == OwnedAs::kClassName;
}

// True for an entry or field in bytes that whoever wrote a live value or class name chose.
bool IsInData(const OwnedCells& live, uint32_t position) {
  const OwnedCell* owner = OwnerOf(live, position, uint64_t{position} + 4);
  return owner != nullptr && IsDataCell(*owner);
}

// The entries stay where they are, so that other keys' numbers of entries hold.
void ForgetEntries(const KeyRow& key, ScanTables& tables) {
  for (uint32_t i = 0; i < key.entry_count; ++i) {
    ChildEntry& entry = tables.child_entries[key.first_entry + i];
    entry.key = kNoOffset;
    entry.row = kNoRow;
  }
}

// Positions of the keys with a cell of their own that no list leads to.
std::vector<uint32_t> RecoveredRecords(const KeyTree& tree) {
  std::vector<uint32_t> records;
  for (uint32_t item = 0; item < tree.items.size(); ++item) {
    const bool recovered = HasKeyCell(tree, item) && !tree.items[item].connected;
    if (recovered) records.push_back(tree.items[item].position);
  }
  return records;
}

void NoteShared(uint32_t position, uint32_t other, KeyTree& tree) {
  tree.shared_bytes.emplace(position, other);
  const uint32_t item = ItemOfPosition(tree, position);
  if (item != kNoItem) tree.items[item].marks |= kMarkShared;
}

// Records whose fixed part lies in the data cell of another record. Both get a note, since nothing
// says which of them is wrong.
void NoteSharing(const HiveImage& hive, const OwnedCells& data, std::span<const uint32_t> records,
                 KeyTree& tree) {
  for (const uint32_t position : records) {
    const uint32_t fixed =
        ReadU16(hive, position + 4) == kSignatureVk ? kValueName : uint32_t{kKeyName};
    const OwnedCell* owner = OwnerOf(data, position, uint64_t{position} + fixed);
    if (owner == nullptr || owner->owner == position || !IsDataCell(*owner)) continue;
    NoteShared(position, owner->owner, tree);
    NoteShared(owner->owner, position, tree);
  }
}

// Lists that a key names, itself or through an "ri".
// The budget bounds what "ri" lists that overlap may have read; a sound hive has far fewer.
PositionIndex NamedLists(const HiveImage& hive, const ScanTables& tables) {
  PositionIndex named;
  ResetIndex(named, hive.length);
  uint32_t budget = hive.length / 4;
  for (const KeyRow& key : tables.keys) {
    if (IsMade(key) || ReadU32(hive, key.position + kKeySubkeyCount) == 0) continue;
    const uint32_t list = ReadOffset(hive, key.position + kKeySubkeyList);
    if (ContainsPosition(named, list)) continue;
    InsertPosition(named, list);
    if (ListKindOfSignature(ReadU16(hive, list + 4)) != ListKind::kRi) continue;
    const uint32_t count = std::min<uint32_t>(ReadU16(hive, list + 6), budget);
    budget -= count;
    for (uint32_t i = 0; i < count; ++i) InsertPosition(named, ReadOffset(hive, list + 8 + 4 * i));
  }
  return named;
}

}  // namespace

const OwnedCells& LiveCells(const HiveImage& hive, const std::vector<bool>& reached,
                            ScanTables& tables) {
  std::vector<uint32_t> keys;
  for (uint32_t row = 0; row < tables.keys.size() && row < reached.size(); ++row) {
    if (reached[row] && !IsMade(tables.keys[row])) keys.push_back(tables.keys[row].position);
  }
  if (keys.size() != tables.live_keys) {
    tables.live_cells = CollectOwnedCells(hive, keys);
    tables.live_keys = keys.size();
  }
  return tables.live_cells;
}

// A made key goes with the entry or field it was made from. Entries of dropped keys are forgotten
// before the rows' numbers change.
uint32_t DropOwnedKeys(const HiveImage& hive, const std::vector<bool>& reached,
                       ScanTables& tables) {
  if (std::ranges::find(reached, false) == reached.end()) return 0;
  const OwnedCells& live = LiveCells(hive, reached, tables);
  const std::vector<bool> listed = ListedKeys(tables);
  uint32_t dropped = 0;
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    KeyRow& key = tables.keys[row];
    const bool made = IsMade(key);
    const bool owned = made ? IsInData(live, EvidenceOf(tables, key))
                            : !reached[row] && HasLiveBytes(hive, live, key, listed[row]);
    if (!owned) continue;
    ForgetEntries(key, tables);
    key.position = kNoOffset;
    ++dropped;
  }
  if (dropped == 0) return 0;
  std::erase_if(tables.keys, [](const KeyRow& key) { return key.position == kNoOffset; });
  IndexKeys(hive, tables);
  return dropped;
}

void DropOwnedLists(const HiveImage& hive, const std::vector<bool>& reached, ScanTables& tables) {
  const PositionIndex named = NamedLists(hive, tables);
  const auto loose = [&named](uint32_t list) { return !ContainsPosition(named, list); };
  if (std::ranges::none_of(tables.lists, loose)) return;
  const OwnedCells& live = LiveCells(hive, reached, tables);
  std::erase_if(tables.lists, [&](uint32_t list) { return loose(list) && IsInData(live, list); });
}

void MarkSharedBytes(const HiveImage& hive, KeyTree& tree) {
  const std::vector<uint32_t> keys = RecoveredRecords(tree);
  const std::vector<uint32_t>& values = tree.disconnected_value_positions;
  if (keys.empty() && values.empty()) return;
  const OwnedCells of_keys = CollectOwnedCells(hive, keys);
  const OwnedCells of_values = CollectValueCells(hive, values);
  for (const OwnedCells* owned : {&of_keys, &of_values}) {
    NoteSharing(hive, *owned, keys, tree);
    NoteSharing(hive, *owned, values, tree);
  }
}

}  // namespace hivequarry
