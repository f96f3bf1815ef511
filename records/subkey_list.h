// The "lf", "lh", "li" and "ri" records: lists of a key's subkeys. An "lf" entry has four
// characters of the name after the offset, an "lh" entry a hash of it (name_hash.h); the entries of
// "ri" are offsets of other lists.
#pragma once

#include <cstdint>

#include "bytes/byte_view.h"

namespace hivequarry {

// Layout:
//
//    0    4  size of the cell                 6    2  number of entries
//    4    2  "lf", "lh", "li", "ri"           8       the entries
//
//   list   in hives of                        entry
//   "li"   any version                        offset of a key
//   "lf"   minor version 3 and up             offset of a key, four characters of its name
//   "lh"   minor version 5 and up             offset of a key, hash of its name
//   "ri"   any version                        offset of an "li", "lf" or "lh" list
//
// The count has 16 bits; a cell may have room for more entries than it counts, left from when the
// key had more subkeys.
// Offsets from the start of the cell, after its size (0) and its signature (4). An entry begins
// with the offset of a key's cell, in an "ri" of a list's. Entries are in the order of the keys'
// names, for the system searches them by halves; here they are read one by one.
inline constexpr uint32_t kListCount = 6;  // 16 bits
inline constexpr uint32_t kListEntries = 8;

// By the list's signature: its two letters.
enum class ListKind : uint8_t { kNone = 0, kLf = 1, kLh = 2, kLi = 3, kRi = 4 };

// kNone for any other signature.
ListKind ListKindOfSignature(uint16_t signature);
// Of the list cell at `list`; kNone for no list.
inline ListKind ReadListKind(ByteView image, uint32_t list) {
  return ListKindOfSignature(ReadU16(image, list + 4));
}
// Bytes per entry: 8 for "lf" and "lh", 4 for "li" and "ri".
uint32_t ListEntrySize(ListKind kind);

// How many entries of `size` bytes a list cell can hold: by its own length where that is credible,
// else by the end of the image. The count that the list itself has is not looked at.
struct ListRoom {
  uint32_t entries = 0;   // at most
  bool credible = false;  // an allocated cell of at least 16 bytes, a multiple of 8, in the image
};
// `size` is that of ListEntrySize, never 0. A number that the bytes allow, to bound a loop with;
// that all of these are entries it does not say.
ListRoom RoomOfList(ByteView image, uint32_t list, uint32_t size);

}  // namespace hivequarry
