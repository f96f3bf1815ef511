// A hash of bytes, to tell apart what is too long to be kept.
#pragma once

#include <string_view>

#include "bytes/byte_view.h"

namespace hivequarry {

// The offset basis of 64-bit FNV-1a: where a new hash starts.
inline constexpr uint64_t kHashStart = 0xCBF29CE484222325;

// FNV-1a: the hash of what went before and of these bytes after it.
// Not safe against somebody who makes bytes collide on purpose: who needs that takes SHA-256. The
// result depends on the bytes alone, never on the platform, and on how they are split into calls
// not at all.
inline uint64_t MixedHash(uint64_t hash, ByteView bytes) {
  for (const uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001B3;
  return hash;
}
inline uint64_t MixedHash(uint64_t hash, std::string_view text) {
  return MixedHash(hash, TextBytes(text));
}

}  // namespace hivequarry
