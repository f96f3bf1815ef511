#include "records/cell.h"

#include "records/bin_header.h"

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

uint32_t NextOccupied(ByteView image, uint32_t position) {
  constexpr uint32_t kStretch = 8192;
  // Close to the image's end place by place.
  if (!IsInside(image, position, kStretch)) return position + 8;
  const uint8_t* bytes = image.data() + position;
  uint32_t distance = 8;
  for (; distance + 8 < kStretch; distance += 8) {
    const uint32_t size = LoadU32(bytes + distance);
    if (IsAllocated(size) || size == kBinSignature) break;
  }
  return position + distance;
}

uint32_t FindNextCell(ByteView image, uint32_t position, uint32_t end, uint32_t max_size) {
  // A bit less than 64 KiB: as far as a run of freed or damaged bytes is worth looking through for
  // one more record. The step is 8, so the farthest cell begins 65,512 bytes after the position.
  constexpr uint64_t kFarthest = 65519;
  for (uint64_t distance = 8; distance <= kFarthest; distance += 8) {
    const uint64_t at = position + distance;
    if (at + 8 > end) return 0;
    const auto cell = static_cast<uint32_t>(at);
    if (!IsRecordSignature(ReadU16(image, cell + 4))) continue;
    const uint32_t size = ReadU32(image, cell);
    if (size == 0 || size % 8 != 0) continue;
    if (CellLength(size) <= max_size) return cell;
  }
  return 0;
}

CellChain FollowCells(ByteView image, uint64_t position, uint64_t limit) {
  while (position < limit) {
    const uint32_t length = CellLength(ReadU32(image, static_cast<uint32_t>(position)));
    // A length of 0 would never end the walk, and one that is no multiple of 8 was never written.
    if (length == 0 || length % 8 != 0) return {position, true};
    position += length;
  }
  return {position, false};
}

}  // namespace hivequarry
