// The hive that a key's snapshot starts from.
#pragma once

#include <cstdint>
#include <span>

namespace hivequarry {

inline constexpr uint32_t kEmptyHiveSize = 8192;
// Of the root key's name area; any registry path shorter than this fits into it.
inline constexpr uint32_t kRootNameArea = 248;

// "RCSYS": a sound hive without values or subkeys, whose root key has room for a long name.
std::span<const uint8_t, kEmptyHiveSize> EmptyHive();

}  // namespace hivequarry
