// A hive that was copied as text: every 0A of it became 0D 0A.
//
// A hive has bytes of any value: in a copy as text each 0A follows a 0D, and blocks and cells are
// ever farther from their places. Taking out one 0D before each 0A gives back the hive, byte
// for byte. The reverse, 0D 0A that became 0A, can't be undone so: where bytes are missing nothing
// tells but what is around them (byte_shifts.h).
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

namespace hivequarry {

// True when every 0A of the file, from `start` on for `length` bytes, follows a 0D, and there is
// one. Of other files little is read.
// A look that costs little: it ends at the first 0A without a 0D, which comes early in any other
// file.
bool MayBeTextCopy(std::FILE* stream, uint64_t start, uint64_t length);

// Where, once they are out, the 0Ds to be taken out were: the positions of the 0As that they
// preceded. Empty when the bytes are no copy as text: when too few 0As say so, or when they are in
// order as they are.
// Ascending; counted as the bytes are once the 0Ds are out, so ready for FilePlaces::returns.
std::vector<uint32_t> ReturnsOfTextCopy(std::span<const uint8_t> bytes);
// Removes these 0Ds in place; returns how many bytes are left.
uint32_t RemoveReturns(std::span<uint8_t> bytes);

}  // namespace hivequarry
