// Keys and values that were deleted and that nothing names any more, but whose records still are
// in the free space of the image: in free cells, inside free cells that were merged, after the end
// of records in use, and in bytes that belong to no cell.
//
// Rules:
// 1. What the tree or its folders show is left out. A record must pass every check that its fields
//    allow: a name that is printable and has room, a plausible time or type, offsets that could be
//    offsets. Bytes that are the data of a value in use are no free space.
// 2. A key hangs where its parent field leads, if a key of the tree or another freed key is
//    there and may have had it: a key keeps the lengths of the longest name among its subkeys, and
//    of the longest name and data among its values, until the last one goes. Else its path begins
//    with "?", since the place was used again.
// 3. A value belongs to the freed key whose value list names it; else to the key in use whose list
//    still names it after its end. Either may have had it by the same lengths.
// 4. Pages that were left from an earlier state of the hive have that state's offsets
//    (freed_shifts.h). Those lead to freed records alone.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/freed_space.h"

namespace hivequarry {

// Where a freed record's bytes are.
enum class FreedPlace : uint8_t {
  kFreeCell,      // it begins a free cell
  kInFreeCell,    // merged into one
  kBehindRecord,  // in an allocated cell, after what its record or data need
  kNoCell,        // in bytes in which no cell can be made out
};

// What is known of the key that a record says it belongs to.
enum class FreedBond : uint8_t {
  kNone,          // nothing leads to one
  kStands,        // it is there
  kNotConfirmed,  // it is there, but has nothing left by which to tell whether it had this record
  kUsedAgain,     // another record has taken the place since: the bond is not kept
};

// A key that was deleted. `place` says where its bytes are by now.
struct FreedKey {
  uint32_t position = 0;          // of its cell
  uint32_t parent = kNoOffset;    // a key of the tree or another freed key
  uint32_t parent_row = kNoItem;  // of the latter, its place in FreedRecords::keys
  uint32_t values = 0;            // how many it says it has
  uint32_t values_found = 0;      // of these its list still leads to
  uint32_t shift = 0;             // what its offsets are more than they were in this image
  uint16_t name_length = 0;       // bytes of its name that were not overwritten
  FreedPlace place = FreedPlace::kFreeCell;
  FreedBond bond = FreedBond::kNone;
  bool in_circle = false;  // its parents lead back to it
};

// A value that was deleted, or whose key was.
struct FreedValue {
  uint32_t position = 0;           // of its cell
  uint32_t key = kNoOffset;        // a freed key or a key of the tree
  uint32_t ruled_out = kNoOffset;  // with kUsedAgain: the key whose list names it
  uint32_t shift = 0;              // likewise
  uint16_t name_length = 0;        // bytes of its name that were not overwritten
  FreedPlace place = FreedPlace::kFreeCell;
  FreedBond bond = FreedBond::kNone;
};

// Both ascending by position.
struct FreedRecords {
  std::vector<FreedKey> keys;
  std::vector<FreedValue> values;
  std::vector<FreeStretch> space;  // where data are not in use; empty when no value has any
  size_t path_limit = kPathLimit;  // bytes of a freed key's path below the tree's
};

// Shows its progress through the host. Empty when the user stops.
FreedRecords FindFreedRecords(const HiveImage& hive, const KeyTree& tree);

// The record at a position, null for none.
// A pointer into `records`, found by halves.
const FreedKey* FreedKeyAt(const FreedRecords& records, uint32_t position);
const FreedValue* FreedValueAt(const FreedRecords& records, uint32_t position);
// The place of the key at a position among all of them; kNoItem for none.
uint32_t FreedKeyRow(const FreedRecords& records, uint32_t position);

// A type whose upper half is its owner's and whose lower half is that of plain data: the latter.
// Any other type as it is.
inline uint32_t PlainType(uint32_t type) {
  constexpr uint32_t kLastPlain = 11;
  const uint32_t upper = type >> 16;
  return upper >= 1 && upper <= 0xFF && (type & 0xFFFF) <= kLastPlain ? type & 0xFFFF : type;
}

// The path of a freed key or a key of the tree, with names as they are displayed and as they are
// stored. A path beyond the limit is shown shortened, from the key at a place in the file on:
// "...@0x00012340\name\name". Empty for kNoOffset. One that nothing leads to begins with "?".
std::string FreedPath(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                      uint32_t key_position);
std::string StoredFreedPath(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                            uint32_t key_position);
// Path texts of a walk over records: those of one parent are made from its path.
// Keeps references to all three; one thread.
class FreedPathWalker {
 public:
  FreedPathWalker(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records)
      : hive_(hive), tree_(tree), records_(records) {}
  // As FreedPath has it; valid until the next call.
  const std::string& PathOf(uint32_t key_position);

 private:
  // The path made last, to make those of neighbours from.
  struct Known {
    uint32_t row = kNoItem;  // of a key whose path is whole
    size_t room = 0;         // bytes of its names, as limits count them
    std::string path;
  };
  const HiveImage& hive_;
  const KeyTree& tree_;
  const FreedRecords& records_;
  Known last_;
  Known parent_;  // of the key asked for before
};

// The characters of its name that are its own.
std::string FreedKeyName(const HiveImage& hive, const FreedKey& key);
// The same as it is stored.
std::string StoredFreedKeyName(const HiveImage& hive, const FreedKey& key);
// True for a freed key, or a key of the tree, that hangs below an item of the tree or is its key;
// with the root for every record.
bool IsFreedBelow(const KeyTree& tree, const FreedRecords& records, uint32_t key_position,
                  uint32_t item);

// Where the record is and what its path is worth: "inside a free cell, not confirmed".
std::string FreedPlaceWords(const FreedKey& key);
std::string FreedPlaceWords(const HiveImage& hive, const FreedRecords& records,
                            const FreedValue& value);
// "offsets are those of an earlier state of the hive: 0x116000 more"; empty for none.
std::string ShiftWords(uint32_t shift);

}  // namespace hivequarry
