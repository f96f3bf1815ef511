#include "hive/bin_headers.h"

#include <cstring>

#include "hive/cells.h"
#include "hive/image.h"

namespace hivequarry {

bool ReadBinHeader(std::span<const uint8_t> bytes, uint32_t position, BinHeader& bin) {
  if (bytes.size() < kBinHeaderSize || position > bytes.size() - kBinHeaderSize) return false;
  if (LoadU32(&bytes[position]) != kBinSignature) return false;
  bin.position = position;
  bin.own_offset = LoadU32(&bytes[position + 4]);
  bin.size = LoadU32(&bytes[position + 8]);
  return bin.own_offset % 4096 == 0 && bin.size % 4096 == 0 && bin.size != 0 &&
         bin.size < 0x80000000;
}

bool IsWholeBlock(std::span<const uint8_t> bytes, const BinHeader& bin, uint64_t room) {
  const uint64_t end = uint64_t{bin.position} + bin.size;
  if (end > bytes.size() || bin.size > room) return false;
  uint64_t at = uint64_t{bin.position} + kBinHeaderSize;
  while (at < end) {
    const uint32_t cell = CellLength(LoadU32(&bytes[at]));
    if (cell == 0 || cell % 8 != 0) return false;
    at += cell;
  }
  return at == end;
}

std::vector<BinHeader> FindBinHeaders(std::span<const uint8_t> bytes) {
  std::vector<BinHeader> headers;
  const size_t most = bytes.size() / 2048 + 64;
  const uint8_t* const end = bytes.data() + bytes.size();
  const uint8_t* h = bytes.data();
  while (headers.size() < most) {
    h = static_cast<const uint8_t*>(std::memchr(h, 'h', static_cast<size_t>(end - h)));
    if (h == nullptr) break;
    BinHeader bin;
    if (ReadBinHeader(bytes, static_cast<uint32_t>(h - bytes.data()), bin)) headers.push_back(bin);
    ++h;
  }
  return headers;
}

}  // namespace hivequarry
