// What one scan of an image gathers. Rows hold positions and numbers; texts are made where they are
// shown. The tables live from the start of a scan to the end of the build.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/image.h"
#include "hive/position_index.h"
#include "hive/subkey_list.h"

namespace hivequarry {

inline constexpr uint32_t kNoRow = 0xFFFFFFFF;

// Bits of the damage table.
enum KeyDamage : uint8_t {
  kDamageParent = 0x01,      // parent offset implausible
  kDamageRootParent = 0x02,  // root key's parent outside the data area
  kDamageValueList = 0x10,   // value-list offset misaligned or beyond the data end
  kDamageBadNk = 0x20,       // accepted by the tolerant test
  kDamageSlack = 0x40,       // slack behind the name
  kDamageRootNoKeys = 0x80,  // root key without subkeys
};

// An accepted key cell. Rows stand in the order of their positions.
struct KeyRow {
  uint32_t position = 0;
  uint32_t parent = kNoOffset;  // the position that its parent field names
  uint32_t first_entry = 0;     // its subkey list's rows in the child-entry table
  uint32_t entry_count = 0;
  uint32_t generated = 0;  // number of its generated name, 0 when it has its own
  uint16_t marks = 0;      // KeyMark bits
  bool root = false;
};

// One entry of the subkey list of an accepted key. The rows of one key follow one another.
struct ChildEntry {
  uint32_t key = 0;       // position that the entry names
  uint32_t position = 0;  // of the entry itself
  uint32_t row = kNoRow;  // the key row at `key`, once the scan is done
  bool hinted = false;    // an "lf" entry: four name characters stand behind the offset
};

struct DamageRow {
  uint32_t position = 0;               // of the key
  uint8_t bits = 0;                    // KeyDamage
  uint32_t root_parent = kNoOffset;    // with kDamageRootParent
  uint32_t value_list = kNoOffset;     // with kDamageValueList, the offset as stored
  uint32_t failed_parent = kNoOffset;  // with kDamageParent, the position
};

struct BinTableRow {
  uint32_t position = 0;
  uint32_t own_offset = 0;
  uint32_t size = 0;
  uint32_t next = 0;  // position of the next bin, for a bin larger than 4096 bytes; else 0
};

enum class ListStyle : uint8_t { kUndecided = 0, kHashed = 1, kHinted = 2 };

// The name hash of a fragment's key, in the form that its lists use.
struct NameHashRow {
  uint32_t position = 0;
  uint32_t hash = 0;  // kHashed: the multiplicative hash; kHinted: the first four characters
  ListStyle style = ListStyle::kUndecided;
};

struct ScanTables {
  std::vector<KeyRow> keys;
  std::vector<ChildEntry> child_entries;
  std::vector<uint32_t> roots;     // positions of root keys
  std::vector<uint32_t> top_keys;  // positions of keys whose parent offset is 0x20
  std::vector<DamageRow> damage;
  std::vector<NameHashRow> name_hashes;
  std::vector<uint32_t> values;      // positions of accepted value cells, ascending
  std::vector<uint32_t> securities;  // positions of security cells
  std::vector<uint32_t> lists;       // positions of list cells
  std::vector<BinTableRow> bins;
  PositionIndex key_index;  // sealed by FinishScan

  bool tree_sound = true;
  uint32_t lf_lists = 0;
  uint32_t lh_lists = 0;
  ListStyle list_style = ListStyle::kUndecided;
  uint32_t one_bit_errors = 0;   // met by the tolerant key test
  uint32_t largest_parent = 0;   // largest parent position seen
  uint32_t generated_names = 0;  // how many were given out
  uint32_t entry_budget = 0;     // list entries that may still be read
  uint32_t items = 0;            // rows produced, for progress
};

}  // namespace hivequarry
