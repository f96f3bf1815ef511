// Keys and values that were deleted and that nothing names any more, but whose records still stand
// in the free space of the image: in free cells, inside free cells that were merged, behind the end
// of records in use, and in bytes that belong to no cell.
//
// Rules:
// 1. What the tree or its folders show is left out. A record must pass every check that its fields
//    allow: a name that is printable and has room, a plausible time or type, offsets that could be
//    offsets. Bytes that are the data of a value in use are no free space.
// 2. A key hangs where its parent field leads, if a key of the tree or another freed key stands
//    there. Its path begins with "?" where it does not, since the place was used again.
// 3. A value belongs to the freed key whose value list names it; else to the key in use whose list
//    still names it behind its end.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"

namespace hivequarry {

enum class FreedPlace : uint8_t {
  kFreeCell,      // it begins a free cell
  kInFreeCell,    // merged into one
  kBehindRecord,  // in an allocated cell, behind what its record or data need
  kNoCell,        // in bytes in which no cell can be made out
};
// "free cell", "inside a free cell" and so on.
const char* FreedPlaceWords(FreedPlace place);

struct FreedKey {
  uint32_t position = 0;
  uint32_t parent = kNoOffset;  // a key of the tree or another freed key
  uint32_t values = 0;          // how many it says it has
  uint32_t values_found = 0;    // of these its list still leads to
  uint16_t name_length = 0;     // bytes of its name that were not overwritten
  FreedPlace place = FreedPlace::kFreeCell;
};

struct FreedValue {
  uint32_t position = 0;
  uint32_t key = kNoOffset;  // a freed key or a key of the tree
  uint16_t name_length = 0;  // bytes of its name that were not overwritten
  FreedPlace place = FreedPlace::kFreeCell;
};

// Both ascending by position.
struct FreedRecords {
  std::vector<FreedKey> keys;
  std::vector<FreedValue> values;
};

// Shows its progress through the host. Empty when the user stops.
FreedRecords FindFreedRecords(const HiveImage& hive, const KeyTree& tree);

// The path of a freed key or a key of the tree, code-page text and in UTF-8. Of at most kPathLimit
// bytes but for the last name. Empty for kNoOffset.
std::string FreedPath(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                      uint32_t key_position);
std::string FreedPathUtf8(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                          uint32_t key_position);

}  // namespace hivequarry
