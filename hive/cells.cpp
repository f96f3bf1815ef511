#include "hive/cells.h"

namespace hivequarry {

bool IsRecordSignature(uint16_t value) {
  switch (value) {
    case kSignatureVk:
    case kSignatureNk:
    case kSignatureSk:
    case kSignatureLf:
    case kSignatureLi:
    case kSignatureRi:
    case kSignatureLh:
      return true;
    default:
      return false;
  }
}

uint32_t NextOccupied(const HiveImage& hive, uint32_t position) {
  constexpr uint32_t kStretch = 8192;
  // Close to the image's end place by place.
  const uint8_t* bytes = BytesInMemory(hive, position, kStretch);
  if (bytes == nullptr) return position + 8;
  uint32_t distance = 8;
  for (; distance + 8 < kStretch; distance += 8) {
    const uint32_t size = LoadU32(bytes + distance);
    if (IsAllocated(size) || size == kBinSignature) break;
  }
  return position + distance;
}

uint32_t FindNextCell(const HiveImage& hive, uint32_t position, uint32_t end, uint32_t max_size) {
  constexpr uint64_t kFarthest = 65519;
  for (uint64_t distance = 8; distance <= kFarthest; distance += 8) {
    const uint64_t at = position + distance;
    if (at + 8 > end) return 0;
    const auto cell = static_cast<uint32_t>(at);
    if (!IsRecordSignature(ReadU16(hive, cell + 4))) continue;
    const uint32_t size = ReadU32(hive, cell);
    if (size == 0 || size % 8 != 0) continue;
    if (CellLength(size) <= max_size) return cell;
  }
  return 0;
}

}  // namespace hivequarry
