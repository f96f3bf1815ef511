// The "lf", "lh", "li" and "ri" records: lists of a key's subkeys. An "lf" entry has four
// characters of the name after the offset, an "lh" entry a hash of it (name_hash.h); the entries of
// "ri" are offsets of other lists.
#pragma once

#include <cstdint>

#include "bytes/byte_view.h"

namespace hivequarry {

inline constexpr uint32_t kListCount = 6;  // 16 bits, from the start of the cell
inline constexpr uint32_t kListEntries = 8;

enum class ListKind : uint8_t { kNone = 0, kLf = 1, kLh = 2, kLi = 3, kRi = 4 };

ListKind ListKindOfSignature(uint16_t signature);
// Of the list cell at `list`; kNone for no list.
inline ListKind ReadListKind(ByteView image, uint32_t list) {
  return ListKindOfSignature(ReadU16(image, list + 4));
}
// Bytes per entry: 8 for "lf" and "lh", 4 for "li" and "ri".
uint32_t ListEntrySize(ListKind kind);

// How many entries of `size` bytes a list cell can hold: by its own length where that is credible,
// else by the end of the image.
struct ListRoom {
  uint32_t entries = 0;
  bool credible = false;
};
ListRoom RoomOfList(ByteView image, uint32_t list, uint32_t size);

}  // namespace hivequarry
