// Bytes put into a hive or lost from it: which stretches of its bytes are at which distance from
// their offsets.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace hivequarry {

// Bytes that two neighbouring stretches may differ by at most, put in or lost. More than that is
// rather another hive's block than a part of this one.
inline constexpr uint32_t kLargestShift = 1024 * 1024;

// A stretch of the hive's own bytes, [begin, end), at one distance: position less offset, modulo
// 2^32.
struct KeptStretch {
  uint32_t begin = 0;  // positions
  uint32_t end = 0;
  uint32_t distance = 0;
};

// The length that a base block with a right checksum, at the start of `bytes`, gives to its hive's
// data area; UINT32_MAX when there is none.
// Counted in offsets, so without the base block itself.
uint32_t EndByBaseBlock(std::span<const uint8_t> bytes);

// The stretches, ascending in position and in offset; what lies between two of them was put in.
// One stretch for a hive whose distance never changes. The first begins at 0: at the distance
// `first` when that is `anchored` by a base block, else at that of the first block.
//
// Block headers propose the distances, and so do cells that others name elsewhere; how many records
// are where others name them decides. A header alone, with nothing else that fits, moves nothing.
// Blocks at a distance of another hive's own are left where they are.
// `bytes` are those of the whole image, from its base block on where it has one. Nothing is changed
// here: who calls puts the image together (moved_bytes.h). Linear in the image but for look-ups of
// records; empty when the user stops.
std::vector<KeptStretch> FindShifts(std::span<const uint8_t> bytes, uint32_t first, bool anchored);

}  // namespace hivequarry
