// What the parts of a check share. Not for use outside this folder.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "bytes/byte_view.h"
#include "check/check.h"
#include "hive/position_index.h"
#include "records/base_block.h"
#include "records/cell.h"
#include "records/key_node.h"

namespace hivequarry {

inline constexpr uint32_t kNowhereOffset = 0xFFFFFFFF;

// What a cell is used as, by those who name it.
// The numbers are kept in a byte for each cell, beside kSharedUse: fewer than 128.
enum class CellUse : uint8_t {
  kNone,
  kKey,
  kSubkeyList,
  kValueList,
  kValue,
  kData,
  kClassName,
  kSecurity
};

// A security record that keys name or that the ring leads to.
struct SecurityUse {
  uint32_t position = 0;  // of its cell
  uint32_t keys = 0;      // that name it
  bool in_ring = false;   // the ring leads to it
};

// A key that was met again in a list.
struct ListedAgain {
  uint32_t position = 0;
  uint32_t lister = 0;  // number of the key whose list it is
};

// What a check under way knows. Made and gone within CheckHive.
struct Checking {
  ByteView hive;
  BaseBlock base;
  bool layered = false;         // holds only what differs from another hive
  bool layers_unknown = false;  // of a version from before there were such
  uint64_t blocks_end = 0;      // by the base block, or the end of the file if that comes first
  uint64_t blocks_claim = 0;    // by the base block
  PositionIndex cells;          // of the cells that the blocks have, allocated or free
  // By rank in `cells`: the use, and whether further owners were reported.
  std::vector<uint8_t> uses;
  std::unordered_map<uint32_t, uint64_t> list_of_lists;  // keys of an "ri" list, by position
  std::vector<SecurityUse> securities;
  std::unordered_map<uint32_t, uint32_t> security_at;  // number of the record, by position
  // The one that was looked up last: neighbours mostly have the same, which is looked up once.
  uint32_t last_security_offset = kNowhereOffset;
  uint32_t last_security = 0;
  std::vector<ListedAgain> listed_again;  // by position once all keys were read
  std::vector<uint32_t> misplaced;        // keys whose parent field is not who listed them first
  std::vector<uint32_t> values_of_key;    // scratch
  CheckResult result;
};

// --- findings ------------------------------------------------------------------------------------

// What was found and what was expected, as texts made only for a finding.
struct FoundTexts {
  std::string found;
  std::string expected;
};
// At the code's own level; the second form at another. Past kMostFindings of a code it is counted
// and not kept.
void AddFinding(Checking& check, CheckCode code, uint32_t position, uint32_t key,
                FoundTexts texts = {});
void AddFindingOf(Checking& check, CheckCode code, CheckLevel level, uint32_t position,
                  uint32_t key, FoundTexts texts);
std::string OffsetFound(uint32_t offset);  // "0x00001020", or "none"

// --- cells ---------------------------------------------------------------------------------------

// What an offset leads to: no cell's start, a free cell, an allocated one.
enum class Reach : uint8_t { kNoCell, kFree, kCell };
// `position` is set whenever the offset is inside the blocks, `size` and `rank` for a cell alone.
struct CellTarget {
  Reach reach = Reach::kNoCell;
  uint32_t position = 0;
  uint32_t rank = 0;  // in Checking::cells
  uint32_t size = 0;  // bytes of the record, without the size field
};
// The cell that an offset leads to.
// kNoCell where no cell begins there: the offset may lead into the middle of one.
CellTarget FindCell(const Checking& check, uint32_t offset);
// The same, and a finding about whoever has the offset when it leads to no allocated cell.
CellTarget FollowOffset(Checking& check, uint32_t offset, CheckCode none, CheckCode free,
                        uint32_t position, uint32_t key);
inline uint16_t SignatureOf(const Checking& check, const CellTarget& cell) {
  return cell.size < 2 ? uint16_t{0} : LoadU16(check.hive.data() + cell.position + 4);
}
// Notes that the cell is used. False when it was used before: then it is not to be read again, and
// a finding says so, unless security records or keys, which may have several owners or are reported
// otherwise, are named as such again.
bool ClaimCell(Checking& check, const CellTarget& cell, CellUse use, uint32_t key);

// Of a cell's use: its further owners were reported.
inline constexpr uint8_t kSharedUse = 0x80;
inline CellUse UseOf(const Checking& check, const CellTarget& cell) {
  return static_cast<CellUse>(check.uses[cell.rank] & ~kSharedUse);
}
inline bool IsShared(const Checking& check, const CellTarget& cell) {
  return (check.uses[cell.rank] & kSharedUse) != 0;
}
inline void SetShared(Checking& check, const CellTarget& cell) {
  check.uses[cell.rank] |= kSharedUse;
}

// --- the parts, in the order in which they run ---------------------------------------------------

// Base block. False when no blocks can be read.
// Sets base, layered, blocks_claim and blocks_end, which the other parts need.
bool CheckBase(Checking& check);
// What is after the blocks, and the file's length.
void CheckEnd(Checking& check);
// Blocks and cells; fills `cells`.
void CheckBlocks(Checking& check);
// Root, keys, and what they name.
void CheckKeys(Checking& check);
// Values of a key whose record is whole.
void CheckValues(Checking& check, uint32_t key);
// The key's security record, and after all keys the records and their ring.
void UseSecurity(Checking& check, uint32_t key);
void CheckSecurity(Checking& check);
// Allocated cells that nothing names.
void CheckUnnamed(Checking& check);

// --- layers --------------------------------------------------------------------------------------

// What a key's byte at kKeyLayerBits says; of a hive that is no layer it may be anything.
inline KeyLayer LayerOf(uint8_t layer_byte) {
  return static_cast<KeyLayer>(layer_byte & kLayerMask);
}
// Of a key, by its number among the result's keys: what its layer bits forbid it to have, and bits
// that no layer has.
void CheckLayer(Checking& check, uint32_t key);
// Of a value, by the flags and fields of its record.
void CheckTombstoneValue(Checking& check, uint32_t position, uint32_t key);

// --- names ---------------------------------------------------------------------------------------

// A name as stored: the low bytes of its units, or the units.
struct StoredName {
  ByteView bytes;
  bool wide = false;
  // Half a unit at the end is none. UnitAt is asked for places below this alone.
  uint32_t units() const { return static_cast<uint32_t>(wide ? bytes.size() / 2 : bytes.size()); }
};
inline char16_t UnitAt(const StoredName& name, uint32_t at) {
  return name.wide ? LoadU16(name.bytes.data() + 2 * size_t{at}) : char16_t{name.bytes[at]};
}
// As CapitalOf (host/case.h) has it, at once for what single bytes store.
// Units of names are compared one by one, as the system orders subkeys: no locale, no normal form.
char16_t CapitalUnit(char16_t unit);
// Below, at or above 0, in the order of the capitals' units.
int CompareNames(const StoredName& a, const StoredName& b);
bool HasUnit(const StoredName& name, char16_t unit);
// Of an allocated key or value cell that is long enough for its fixed part; cut at its end.
// Views into the hive.
StoredName NameOfKey(const Checking& check, uint32_t position);
StoredName NameOfValue(const Checking& check, uint32_t position);
// Of a name's length in the file: bytes as UTF-16, as the high-water marks count.
// A name in single bytes counts twice its length.
inline uint32_t MarkLength(uint32_t stored, bool wide) { return wide ? stored : 2 * stored; }

}  // namespace hivequarry
