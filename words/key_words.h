// The small fields of a key node in words: who opened the key, and how the system treats it.
#pragma once

#include <cstdint>
#include <string>

namespace hivequarry {

// "0x02: opened after boot initialisation"; of a byte without these bits, which systems before
// Windows 8 left 0, "0x00: none".
// `bits` is the byte at kKeyAccessBits of a key record.
std::string AccessWords(uint8_t bits);
// The low nibble: user flags, the high one: control of virtualisation.
// `flags` is the byte at kKeyUserFlags.
std::string UserFlagWords(uint8_t flags);

}  // namespace hivequarry
