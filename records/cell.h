// Cells: a signed 32-bit size (negative when allocated, its four bytes included), then the record.
// Cells fill a bin without gaps, on 8-byte steps. What makes one plausible, and the forward scan
// for the next.
#pragma once

#include <cstdint>

#include "bytes/byte_view.h"

namespace hivequarry {

// The 16 bits after the size, which say what a record is: two letters, the first one lowest. Value
// lists, value data, class names and the lists of data segments have none: such a cell is known by
// the record that names it alone.
inline constexpr uint16_t kSignatureVk = 0x6B76;  // a value (value_key.h)
inline constexpr uint16_t kSignatureNk = 0x6B6E;  // a key (key_node.h)
inline constexpr uint16_t kSignatureSk = 0x6B73;  // a security descriptor (security_cell.h)
inline constexpr uint16_t kSignatureLf = 0x666C;  // lists of subkeys (subkey_list.h)
inline constexpr uint16_t kSignatureLi = 0x696C;
inline constexpr uint16_t kSignatureRi = 0x6972;
inline constexpr uint16_t kSignatureLh = 0x686C;
inline constexpr uint16_t kSignatureDb = 0x6264;  // only where a value's data leads to it
inline constexpr uint16_t kSignatureLk = 0x6B6C;  // only for the key classifier

// True for the seven signatures that start a record wherever they are met.
// "db" and "lk" are none of them: two letters that chance puts at a place of 8 bytes too often, and
// nothing that a sound hive needs the scan to find.
bool IsRecordSignature(uint16_t value);

// Of the size field, after which the record follows.
inline constexpr uint32_t kCellSizeField = 4;
// Cells begin at multiples of it, counted from their bin's header, and are as long.
inline constexpr uint32_t kCellStep = 8;

// Absolute length of a cell, its size field included, by that field; 0x80000000 stays as it is. It
// is what the file says: callers hold it against the bytes that there are.
inline uint32_t CellLength(uint32_t size) { return size > 0x7FFFFFFF ? 0U - size : size; }
// By the size field: negative, as of a record in use. Records keep their bytes when they are freed,
// but for the sign of the size, and what a neighbour or a later owner writes over them.
inline bool IsAllocated(uint32_t size) { return size > 0x7FFFFFFF; }

// The next place after `position`, in steps of 8 and not far, where an allocated cell or a bin may
// begin; or one before it, from where to ask again. Always after `position`, so that a walk ends.
// Looks at less than 8192 bytes in one call.
uint32_t NextOccupied(ByteView image, uint32_t position);

// The next plausible cell after `position`, at 8-byte steps counted from it: a record signature
// and a size that is a non-zero multiple of 8 of at most `max_size`. 0 when none starts within
// 65,519 bytes or before `end`.
// Free and allocated cells alike. `end` is a position too. A position of 0 is never a cell's, as a
// base block or a bin header is there; so 0 is free to say "none".
uint32_t FindNextCell(ByteView image, uint32_t position, uint32_t end, uint32_t max_size);

// Where the cells that follow one another from `position` on come to an end: at the first that has
// no size or one that is no multiple of 8 (`end` is its position then, and `broken` is set), or at
// or after `limit`.
struct CellChain {
  uint64_t end = 0;  // position
  bool broken = false;
};
// Sizes outside the image read as 0, so a chain never runs past its end by more than one cell.
// Linear in the cells met: each takes at least 8 bytes.
CellChain FollowCells(ByteView image, uint64_t position, uint64_t limit);

}  // namespace hivequarry
