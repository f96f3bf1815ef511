// Adding one accepted key to the scan's tables.

#include <algorithm>

#include "hive/key_tree.h"
#include "hive/keys.h"
#include "records/cell.h"
#include "records/name_hash.h"
#include "recovery/root_search.h"
#include "recovery/scan.h"

namespace hivequarry {
namespace {

constexpr uint32_t kParentMargin = 80;  // a parent cannot start this close to the end

bool InDataArea(const HiveImage& hive, uint32_t position) {
  return position >= hive.data_start && position < hive.length;
}

// The damage of a key's links; the row's extra columns are filled as the bits ask.
void FindDamage(const HiveImage& hive, const ScannedKey& key, const KeyRow& row,
                DamageRow& damage) {
  const uint32_t parent_offset = ReadU32(hive, key.position + kKeyParent);
  const uint32_t parent = ReadOffset(hive, key.position + kKeyParent);
  if (row.root) {
    if (!InDataArea(hive, parent)) {
      damage.bits |= kDamageRootParent;
    }
    if (ReadU32(hive, key.position + kKeySubkeyCount) == 0) damage.bits |= kDamageRootNoKeys;
  } else if (parent_offset != kNoOffset) {
    const bool misplaced =
        hive.header_valid && (parent < hive.data_start || parent == key.position ||
                              uint64_t{parent} + kParentMargin >= hive.length);
    if (misplaced || parent_offset % 8 != 0) {
      damage.bits |= kDamageParent;
      damage.failed_parent = parent;
    }
  }
  const uint32_t value_list = ReadU32(hive, key.position + kKeyValueList);
  if (value_list != kNoOffset &&
      (value_list % 8 != 0 ||
       !InsideHive(hive, ReadOffset(hive, key.position + kKeyValueList), 8))) {
    damage.bits |= kDamageValueList;
    damage.value_list = value_list;
  }
  if (key.damaged) damage.bits |= kDamageBadNk;
  if (key.has_slack) damage.bits |= kDamageSlack;
}

uint16_t MarksOf(const ScannedKey& key, bool named) {
  uint16_t marks = 0;
  if (key.damaged) marks |= kMarkBadNk;
  if (key.has_slack) marks |= kMarkBadLength;
  if (!named) marks |= kMarkNoName;
  return marks;
}

// Walks the key's subkey list into the child-entry table.
void AddChildEntries(const HiveImage& hive, KeyRow& row, ScanTables& tables) {
  row.first_entry = static_cast<uint32_t>(tables.child_entries.size());
  const uint32_t wanted = ReadU32(hive, row.position + kKeySubkeyCount);
  if (wanted == 0) return;
  const uint32_t list = ReadOffset(hive, row.position + kKeySubkeyList);
  std::vector<SubkeyEntry> entries;
  const bool inside = list != kNoOffset && InCellBounds(hive, list);
  if (!inside || !ReadSubkeyList(hive, list, tables.list_reads, entries)) {
    tables.tree_sound = false;
    row.list_broken = true;
  }
  row.list_broken = row.list_broken || entries.size() != wanted;
  for (const SubkeyEntry& entry : entries) {
    tables.child_entries.push_back(
        {entry.key, entry.position, kNoRow, entry.kind == ListKind::kLf});
  }
  row.entry_count = static_cast<uint32_t>(entries.size());
}

// For fragments alone: their lists name keys by offsets whose base is not known yet, and the names
// tell which key an entry means (fragment_base.h).
void AddNameHashes(const HiveImage& hive, uint32_t position, uint32_t length, ScanTables& tables) {
  constexpr uint32_t kLongestName = 510;  // bytes; no list has the hash of a longer one
  if (length > kLongestName) return;
  const std::u16string name = WideKeyName(ImageBytes(hive), position, length);
  if (tables.list_style != ListStyle::kHinted) {
    tables.name_hashes.push_back({position, NameHash(name), ListStyle::kHashed});
  }
  if (tables.list_style != ListStyle::kHashed) {
    tables.name_hashes.push_back({position, NameHint(name), ListStyle::kHinted});
  }
}

}  // namespace

void AddScannedKey(HiveImage& hive, const ScannedKey& key, const ScanOptions& options,
                   ScanTables& tables) {
  KeyRow row;
  row.position = key.position;
  const bool known_root = hive.root_position != 0 && key.position == hive.root_position;
  // What repair adds after the scan is no hive's root.
  if (known_root || (key.flags == kRootKeyFlags && !tables.sealed)) {
    const RootRole role = JudgeRoot(hive, key, options, tables);
    if (role == RootRole::kEndsImage) return;
    row.root = role != RootRole::kNone;
  }
  const bool own_root = row.root && key.position == hive.root_position;
  row.parent = own_root ? kNoOffset : ReadOffset(hive, key.position + kKeyParent);
  // Offsets that lead outside the image tell nothing of how far parents reach.
  if (row.parent < hive.length) {
    tables.largest_parent = std::max(tables.largest_parent, row.parent);
  }

  uint32_t name_length = ReadU16(hive, key.position + kKeyNameLength);
  const bool named = name_length != 0;
  if (!named) {
    name_length = options.minimum_name_length;
    if (name_length == 0) NoteOn(tables, row).made_name = ++tables.generated_names;
  }
  row.marks = MarksOf(key, named);
  tables.counted_values += ReadU32(hive, key.position + kKeyValueCount);
  AddChildEntries(hive, row, tables);
  if (!hive.header_valid) AddNameHashes(hive, key.position, name_length, tables);

  DamageRow damage;
  damage.position = key.position;
  FindDamage(hive, key, row, damage);
  if ((damage.bits & (kDamageRootParent | kDamageRootNoKeys)) != 0) tables.tree_sound = false;
  if (damage.bits != 0) tables.damage.push_back(damage);
  if (key.damaged) TolerantKeyTest(hive, key.position, tables.one_bit_errors);
  if (tables.sealed) {
    tables.added_rows.emplace(key.position, static_cast<uint32_t>(tables.keys.size()));
  } else {
    InsertPosition(tables.key_index, key.position);
  }
  tables.keys.push_back(row);
}

}  // namespace hivequarry
