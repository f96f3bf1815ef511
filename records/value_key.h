// The "vk" record: a value, and the "db" record that long data are in. Offsets are as stored;
// where they lead is the hive's business (hive/values.h).
#pragma once

#include <cstdint>
#include <string>

#include "bytes/byte_view.h"

namespace hivequarry {

// Layout:
//
//    0    4  size of the cell                12    4  offset of the data, or the data
//    4    2  "vk"                            16    4  type
//    6    2  length of the name, bytes       20    2  flags
//    8    4  length of the data, bytes       22    2  spare
//                                            24       the name
//
// Offsets of the fields from the start of the cell, after its size (0) and its signature (4). Where
// nothing else is said a field is 32 bits wide.
inline constexpr uint32_t kValueNameLength = 6;  // bytes; 16 bits. 0: the key's default value
inline constexpr uint32_t kValueDataLength = 8;  // bytes, with the mark of inline data
// Of a cell without a signature that has the data after its size; where they are inline, the data.
inline constexpr uint32_t kValueDataOffset = 12;
inline constexpr uint32_t kValueType = 16;
inline constexpr uint32_t kValueFlags = 20;  // 16 bits, the two below; two bytes more are spare
inline constexpr uint32_t kValueName = 24;   // the fixed part ends here

inline constexpr uint16_t kValueNameIsBytes = 1;  // low bytes of UTF-16, not UTF-16
// Hides the value of that name in the hive below (hive/layers.h). It has no type and no data.
inline constexpr uint16_t kValueTombstone = 2;
// Flags that no system writes say a name of bytes: that reading loses nothing, as each byte is
// shown.
constexpr bool IsWideValueName(uint16_t flags) { return (flags & ~kValueTombstone) == 0; }

inline constexpr uint32_t kInlineData = 0x80000000;  // of the data length: up to 4 bytes, inline

// A "db" record: data longer than a segment, cut into cells of which the last may be shorter.
// Systems write it in hives of minor version 4 and up; in older ones a long value is one long cell.
// A segment's cell is 4 bytes of size, the 16344 bytes, and 4 bytes that make it a multiple of 8.
inline constexpr uint32_t kBigDataSegment = 16344;  // bytes of data per segment
inline constexpr uint32_t kBigDataCellLength = 16;  // of the "db" cell itself
inline constexpr uint32_t kBigDataCount = 6;        // 16 bits: segments
inline constexpr uint32_t kBigDataList = 8;         // offset of the cell with their offsets

// Types of values.
// 8, 9 and 10 are resource lists of drivers; any other number may be in a hive too, and is read as
// bytes.
inline constexpr uint32_t kRegNone = 0;
inline constexpr uint32_t kRegSz = 1;
inline constexpr uint32_t kRegExpandSz = 2;
inline constexpr uint32_t kRegBinary = 3;
inline constexpr uint32_t kRegDword = 4;
inline constexpr uint32_t kRegDwordBigEndian = 5;
inline constexpr uint32_t kRegLink = 6;
inline constexpr uint32_t kRegMultiSz = 7;
inline constexpr uint32_t kRegQword = 11;

// As stored, held against nothing, but for the mark of inline data.
struct ValueFields {
  uint32_t size = 0;  // of the cell, as stored
  uint16_t signature = 0;
  uint16_t name_length = 0;  // bytes, as stored
  // Without the mark of inline data. Where the upper half has more than the mark it is kept whole:
  // there are no inline data of such a length, so the field is damaged and must look it.
  uint32_t data_length = 0;
  uint32_t data_offset = 0;  // as stored; inline data are these four bytes
  uint32_t type = 0;
  uint16_t flags = 0;  // low bit: the name is of bytes
};
// Of the cell at `cell`, whatever its signature is. Fields that lie beyond the view's end are 0.
ValueFields ReadValueFields(ByteView image, uint32_t cell);

// A name of `length` bytes as text.
// UTF-8, not yet made visible; shorter where the image ends first. Empty for the default value.
std::string ValueNameText(ByteView image, uint32_t cell, uint32_t length, bool wide);

}  // namespace hivequarry
