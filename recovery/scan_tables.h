// What one scan of an image gathers. Rows hold positions and numbers; texts are made where they are
// shown. The tables live from the start of a scan to the end of the build.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/position_index.h"
#include "hive/subkeys.h"
#include "recovery/owned_cells.h"

namespace hivequarry {

// Rows fit into 31 bits: a key takes more than two bytes of an image.
inline constexpr uint32_t kNoRow = 0x7FFFFFFF;

// Bits of the damage table.
enum KeyDamage : uint8_t {
  kDamageParent = 0x01,      // parent offset implausible
  kDamageRootParent = 0x02,  // root key's parent outside the data area
  kDamageValueList = 0x10,   // value-list offset misaligned or beyond the data end
  kDamageBadNk = 0x20,       // accepted by the tolerant test
  kDamageSlack = 0x40,       // slack after the name
  kDamageRootNoKeys = 0x80,  // root key without subkeys
};

// An accepted key cell, or a key that only relations still prove. Rows are in the order of their
// positions, but for those that relation repair adds until it is done.
struct KeyRow {
  uint32_t position = 0;
  uint32_t parent = kNoOffset;   // the position that its parent field names, or its repaired parent
  uint32_t first_entry = 0;      // its subkey list's rows in the child-entry table
  uint32_t entry_count = 0;      // rows from there on
  uint16_t marks = 0;            // KeyMark bits
  uint8_t repairs = 0;           // KeyRepair bits
  bool root : 1 = false;         // counts as one: the hive's own or another
  bool list_broken : 1 = false;  // its list could not be read whole, or does not have its count
  bool noted : 1 = false;        // the tables' key_notes have one at its position
};
static_assert(sizeof(KeyRow) == 20, "a million keys have one each");
// No record of its own: relations alone speak for it, and none of its fields may be read.
inline bool IsMade(const KeyRow& key) { return (key.marks & kVirtualMarks) != 0; }

// One entry of the subkey list of an accepted key. The rows of one key follow one another.
struct ChildEntry {
  uint32_t key = 0;            // position that the entry names
  uint32_t position = 0;       // of the entry itself
  uint32_t row : 31 = kNoRow;  // the key row at `key`, once the scan is done
  uint32_t hinted : 1 = 0;     // an "lf" entry: four name characters are after the offset
};
static_assert(sizeof(ChildEntry) == 12, "a million keys have one each");

// A key in which the scan met something that does not agree. Few keys have a row.
struct DamageRow {
  uint32_t position = 0;               // of the key
  uint8_t bits = 0;                    // KeyDamage
  uint32_t value_list = kNoOffset;     // with kDamageValueList, the offset as stored
  uint32_t failed_parent = kNoOffset;  // with kDamageParent, the position
};

// A block header as the scan met it, its fields as stored: believed or not.
struct BinTableRow {
  uint32_t position = 0;  // of the header
  uint32_t own_offset = 0;
  uint32_t size = 0;
};

// Which lists the system that wrote a hive makes: "lh" or "lf". Hives mostly have
// one kind alone.
enum class ListStyle : uint8_t { kUndecided = 0, kHashed = 1, kHinted = 2 };

// The name hash of a fragment's key, in the form that its lists use.
struct NameHashRow {
  uint32_t position = 0;  // of the key
  uint32_t hash = 0;      // kHashed: the multiplicative hash; kHinted: the first four characters
  ListStyle style = ListStyle::kUndecided;
};

// Memory goes with the records that the image has room for: no table grows by what a file claims.
// Each is filled by one thread; a second half of the image has tables of its own until it is
// joined.
struct ScanTables {
  std::vector<KeyRow> keys;
  std::vector<ChildEntry> child_entries;
  std::unordered_map<uint32_t, KeyNote> key_notes;  // of rows that are `noted`, by position
  std::vector<uint32_t> roots;  // position of the hive's own root key; empty when there is none
  std::vector<uint32_t> other_roots;  // of hives that seem to begin in the image (root_search.h)
  std::vector<uint32_t> stray_roots;  // of keys that have a root's flags and are no hive's root
  std::vector<DamageRow> damage;
  std::vector<NameHashRow> name_hashes;
  std::vector<uint32_t> values;      // positions of accepted value cells, ascending
  std::vector<uint32_t> securities;  // positions of security cells
  std::vector<uint32_t> lists;       // positions of list cells
  std::vector<BinTableRow> bins;
  PositionIndex key_index;  // sealed by FinishScan

  // False once a list could not be read whole, a root key is not as a root is, or one was made.
  bool tree_sound = true;
  bool repaired = false;  // relation repair has run: something did not agree
  uint32_t lf_lists = 0;  // list cells met, by which list_style is decided
  uint32_t lh_lists = 0;
  ListStyle list_style = ListStyle::kUndecided;
  uint32_t one_bit_errors = 0;   // met by the tolerant key test
  uint32_t largest_parent = 0;   // largest parent position seen
  uint32_t generated_names = 0;  // how many were given out
  SubkeyListReads list_reads;    // of the keys' lists
  uint64_t counted_values = 0;   // the keys' value counts, summed up
  // Rows of keys that were added after the index was sealed, by position.
  bool sealed = false;
  std::unordered_map<uint32_t, uint32_t> added_rows;
  // What live keys own, of so many of them, once somebody has asked (live_cells.h).
  OwnedCells live_cells;
  size_t live_keys = 0;  // for how many keys that holds
  // Keys that relation repair made, by what they were missing as (KeyMark).
  uint32_t virtual_parents = 0;
  uint32_t virtual_children = 0;
  uint32_t virtual_siblings = 0;
  std::unordered_map<uint32_t, SiblingNote> sibling_notes;  // by position of the made key
};

// The row of the key at a position, kNoRow when there is none. Once the index is sealed.
// Constant time. A row is a rank as long as nothing was added.
inline uint32_t RowAt(const ScanTables& tables, uint32_t position) {
  const uint32_t rank = RankOfPosition(tables.key_index, position);
  if (rank != kNoRank) return rank;
  if (tables.added_rows.empty()) return kNoRow;
  const auto added = tables.added_rows.find(position);
  return added == tables.added_rows.end() ? kNoRow : added->second;
}

inline void SetRow(ChildEntry& entry, uint32_t row) { entry.row = row & kNoRow; }

// The row's note, a new one where it has none: valid until another row gets one.
inline KeyNote& NoteOn(ScanTables& tables, KeyRow& key) {
  KeyNote& note = tables.key_notes[key.position];
  if (!key.noted) note = KeyNote();  // of a row that was dropped
  key.noted = true;
  return note;
}
inline uint32_t EvidenceOf(const ScanTables& tables, const KeyRow& key) {
  const auto found = key.noted ? tables.key_notes.find(key.position) : tables.key_notes.end();
  return found == tables.key_notes.end() ? 0 : found->second.evidence;
}

}  // namespace hivequarry
