// What the value viewer shows beside the details: the bytes of a value, where they are in the file,
// and what those at the caret may mean. Knows no window.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "hive/values.h"
#include "view/copy_forms.h"
#include "view/freed_tree.h"
#include "view/hex_bytes.h"
#include "view/value_meaning.h"

namespace hivequarry {

// The data of the value shown. Owns them.
struct ValueBytes {
  uint32_t type = 0;           // of the value, as stored
  bool edited = false;         // the bytes are those of an edit: the file has others
  std::vector<uint8_t> data;   // empty: there is nothing to be shown but the details
  std::vector<Meaning> whole;  // MeaningsOfAll
  // Where the file has them: `position` is one in the file here. Ascending; empty for nowhere.
  std::vector<DataPiece> places;
};

// Of a value of any length; empty when its data can't be read.
ValueBytes BytesOfValue(const HiveImage& hive, uint32_t position);
// Of the deleted value at a position.
ValueBytes BytesOfFreedValue(const HiveImage& hive, const FreedTree& freed, uint32_t position);

// Where in the file the byte at an offset inside the value is; kNoFilePosition for nowhere. By
// halves.
uint32_t FilePositionIn(const std::vector<DataPiece>& places, uint32_t offset);

// The rows beside the bytes: type and length of the value, the place of the caret or the selection,
// and what the bytes there may mean. `data` are all bytes.
std::vector<Meaning> MeaningRows(const ValueBytes& value, std::span<const uint8_t> data,
                                 const HexCaret& caret);

}  // namespace hivequarry
