#include "hive/image.h"

#include <algorithm>
#include <cstring>

namespace hivequarry {

void SetBounds(HiveImage& hive) {
  hive.data_start = hive.header_valid ? kBaseBlockSize : 0;
  hive.data_base = hive.data_start;
  hive.data_base_proven = hive.header_valid;
  hive.root_position = hive.root_valid ? kFirstCellPosition : 0;
  hive.lower_bound = hive.root_position;
  hive.last_valid = hive.length < 8 ? 0 : hive.length - 8;
}

HiveImage ImageOfBytes(ByteView bytes) {
  HiveImage hive;
  hive.buffer = AllocateImage(bytes.size());
  if (!hive.buffer) return hive;
  std::copy(bytes.begin(), bytes.end(), hive.buffer.get());
  std::memset(hive.buffer.get() + bytes.size(), 0, kImageSlack);
  hive.length = hive.held = hive.file_bytes = static_cast<uint32_t>(bytes.size());
  SetBounds(hive);
  return hive;
}

uint32_t ReadHeldBytes(const HiveImage& hive, uint32_t position, uint8_t* out, uint32_t size) {
  return ReadBytes(ByteView(hive.buffer.get(), hive.held), position, out, size);
}

}  // namespace hivequarry
