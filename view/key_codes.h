// Keys as the tables of commands name them.
#pragma once

#include <cstdint>

namespace hivequarry {

// Virtual key codes; letters are their own codes.
inline constexpr uint16_t kKeyBack = 0x08;
inline constexpr uint16_t kKeyTab = 0x09;
inline constexpr uint16_t kKeyReturn = 0x0D;
inline constexpr uint16_t kKeyEscape = 0x1B;
inline constexpr uint16_t kKeyPageUp = 0x21;
inline constexpr uint16_t kKeyPageDown = 0x22;
inline constexpr uint16_t kKeyEnd = 0x23;
inline constexpr uint16_t kKeyHome = 0x24;
inline constexpr uint16_t kKeyLeft = 0x25;
inline constexpr uint16_t kKeyUp = 0x26;
inline constexpr uint16_t kKeyRight = 0x27;
inline constexpr uint16_t kKeyDown = 0x28;
inline constexpr uint16_t kKeyInsert = 0x2D;
inline constexpr uint16_t kKeyDelete = 0x2E;
inline constexpr uint16_t kKeyNumericPlus = 0x6B;
inline constexpr uint16_t kKeyF1 = 0x70;
inline constexpr uint16_t kKeyF3 = 0x72;
inline constexpr uint16_t kKeyF4 = 0x73;
inline constexpr uint16_t kKeyF6 = 0x75;
inline constexpr uint16_t kKeyF7 = 0x76;
inline constexpr uint16_t kKeyF8 = 0x77;

}  // namespace hivequarry
