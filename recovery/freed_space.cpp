#include "recovery/freed_space.h"

#include <algorithm>

#include "host/long_operation.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

// Stretches come ascending; one that follows the last without a gap becomes part of it.
void AddFree(std::vector<FreeStretch>& space, uint32_t begin, uint32_t end) {
  if (!space.empty() && space.back().end == begin) {
    space.back().end = end;
  } else {
    space.push_back({begin, end});
  }
}

}  // namespace

std::vector<FreeStretch> FindFreeSpace(const HiveImage& hive) {
  constexpr uint32_t kPollMask = 0x3FFF;
  std::vector<FreeStretch> space;
  uint32_t steps = 0;
  uint32_t bin_end = 0;
  for (uint64_t at = hive.data_start; at + kCellStep <= hive.length;) {
    if ((++steps & kPollMask) == 0 && StopRequested()) break;
    const auto p = static_cast<uint32_t>(at);
    const uint32_t size = ReadU32(hive, p);
    if (size == kBinSignature) {
      const uint32_t bin = ReadU32(hive, p + 8);
      bin_end = bin >= kPageSize && bin % kPageSize == 0 ? p + std::min(bin, hive.length - p) : 0;
      at += kBinHeaderSize;
      continue;
    }
    const uint32_t length = CellLength(size);
    // Where the chain of cells is broken, steps of a cell's least size find the next header, and
    // what is stepped over is free, as no cell claims it.
    const bool whole =
        length != 0 && length % kCellStep == 0 && bin_end > p && length <= bin_end - p;
    const uint32_t taken = whole ? length : kCellStep;
    if (!whole || !IsAllocated(size)) AddFree(space, p, p + taken);
    at += taken;
  }
  return space;
}

bool IsFreeSpace(const std::vector<FreeStretch>& space, uint32_t begin, uint64_t end) {
  const auto behind = std::ranges::upper_bound(space, begin, {}, &FreeStretch::begin);
  return behind != space.begin() && std::prev(behind)->end >= end;
}

}  // namespace hivequarry
