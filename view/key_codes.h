// Keys as the tables of commands name them.
#pragma once

#include <cstdint>

namespace hivequarry {

// Virtual key codes; letters are their own codes.
inline constexpr uint16_t kKeyBack = 0x08;
inline constexpr uint16_t kKeyTab = 0x09;
inline constexpr uint16_t kKeyReturn = 0x0D;
inline constexpr uint16_t kKeyNumericPlus = 0x6B;
inline constexpr uint16_t kKeyF1 = 0x70;
inline constexpr uint16_t kKeyF3 = 0x72;
inline constexpr uint16_t kKeyF4 = 0x73;
inline constexpr uint16_t kKeyF6 = 0x75;

}  // namespace hivequarry
