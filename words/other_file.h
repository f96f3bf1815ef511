// What a file is that holds no hive, as far as its first bytes tell.
#pragma once

#include <cstdint>
#include <string>

#include "bytes/byte_view.h"

namespace hivequarry {

// Bytes from a file's beginning that are enough to tell.
inline constexpr uint32_t kOtherFileStart = 0x10000;

// "The file begins as an SQLite database."; of zeros, of a hive in compressed clusters, of bytes
// without any pattern likewise. `start` is the beginning of a file of `length` bytes, whole or its
// first kOtherFileStart bytes. Empty when nothing is known.
std::string OtherFileWords(ByteView start, uint64_t length);

}  // namespace hivequarry
