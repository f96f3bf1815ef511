// Flags of keys: 16 bits at kKeyFlags (key_node.h).
#pragma once

#include <cstdint>

namespace hivequarry {

inline constexpr uint16_t kKeyIsLink = 0x10;    // a symbolic link
inline constexpr uint16_t kKeyIsSource = 0x80;  // programs' writes to it are led elsewhere
// Of a predefined handle: its number of values is none.
inline constexpr uint16_t kHandleKeyFlags = 0x60;
// Programs' own flags: systems before Vista kept them here, and they say nothing of the key.
inline constexpr uint16_t kUserFlagBits = 0xF000;

// How a key's name is stored: in UTF-16, or as bytes. Everyone asks here, so that tree, check and
// marks read the same name.
// Links and sources have names of both kinds. With any other low byte than 0 a name is of bytes:
// that reading loses nothing where the flags are damaged. The high byte is not looked at.
constexpr bool IsWideKeyName(uint16_t flags) {
  return (flags & 0xFF & ~(kKeyIsLink | kKeyIsSource)) == 0;
}

}  // namespace hivequarry
