#include "recovery/split_point.h"

#include <algorithm>

#include "host/side_work.h"
#include "records/bin_header.h"

namespace hivequarry {

uint32_t BlockToSplitAt(const HiveImage& hive) {
  constexpr uint32_t kSearched = 16 << 20;  // bytes after the middle
  if (!IsWorthSideWork(hive.length)) return 0;
  const ByteView image = ImageBytes(hive);
  const uint32_t middle = hive.length / 2 / kPageSize * kPageSize;
  const uint32_t end = middle + std::min(kSearched, hive.length - middle);
  for (uint32_t p = std::max(middle, hive.data_start + kPageSize); p < end; p += kPageSize) {
    BinHeader block;
    BinHeader next;
    if (!ReadBinHeader(image, p, block) || block.size >= hive.length - p) continue;
    const bool goes_on = ReadBinHeader(image, p + block.size, next) &&
                         next.own_offset == block.own_offset + block.size;
    if (goes_on) return p;
  }
  return 0;
}

}  // namespace hivequarry
