// The bytes of an image that no cell in use takes up.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/image.h"

namespace hivequarry {

// [begin, end), in steps of 8 bytes.
struct FreeStretch {
  uint32_t begin = 0;  // positions
  uint32_t end = 0;
};

// Free cells, neighbours as one, and what belongs to no cell, as the blocks' chains of cells have
// it; ascending. Ends early when the user stops.
std::vector<FreeStretch> FindFreeSpace(const HiveImage& hive);

// True when all of [begin, end) is free. Logarithmic in the stretches, which must be ascending and
// apart.
// By halves.
bool IsFreeSpace(const std::vector<FreeStretch>& space, uint32_t begin, uint64_t end);

}  // namespace hivequarry
