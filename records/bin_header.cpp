#include "records/bin_header.h"

#include <cstring>

#include "records/cell.h"

namespace hivequarry {

bool ReadBinHeader(ByteView image, uint32_t position, BinHeader& bin) {
  if (!IsInside(image, position, kBinHeaderSize)) return false;
  const uint8_t* header = image.data() + position;
  if (LoadU32(header) != kBinSignature) return false;
  bin.position = position;
  bin.own_offset = LoadU32(header + kBinOwnOffset);
  bin.size = LoadU32(header + kBinSize);
  return bin.own_offset % kPageSize == 0 && bin.size % kPageSize == 0 && bin.size != 0 &&
         bin.size < 0x80000000;
}

bool IsWholeBlock(ByteView image, const BinHeader& bin, uint64_t room) {
  const uint64_t end = uint64_t{bin.position} + bin.size;
  if (end > image.size() || bin.size > room) return false;
  const CellChain chain = FollowCells(image, uint64_t{bin.position} + kBinHeaderSize, end);
  return !chain.broken && chain.end == end;
}

std::vector<BinHeader> FindBinHeaders(ByteView image) {
  std::vector<BinHeader> headers;
  if (image.empty()) return headers;
  // Bins are 4096 bytes at least; the 64 are for images that are shorter than that many bins.
  const size_t most = image.size() / 2048 + 64;
  const uint8_t* const end = image.data() + image.size();
  const uint8_t* h = image.data();
  while (headers.size() < most) {
    h = static_cast<const uint8_t*>(std::memchr(h, 'h', static_cast<size_t>(end - h)));
    if (h == nullptr) break;
    BinHeader bin;
    if (ReadBinHeader(image, static_cast<uint32_t>(h - image.data()), bin)) headers.push_back(bin);
    ++h;
  }
  return headers;
}

}  // namespace hivequarry
