// Block headers, found wherever they are.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace hivequarry {

struct BinHeader {
  uint32_t position = 0;
  uint32_t own_offset = 0;
  uint32_t size = 0;

  uint32_t Distance() const { return position - own_offset; }
};

// True for a signature, an own offset and a size that a header could have.
bool ReadBinHeader(std::span<const uint8_t> bytes, uint32_t position, BinHeader& bin);

// True when cells follow each other from the header to where the block ends, and that lies at most
// `room` bytes after the header: callers that ask of many blocks end it where the next one begins,
// so that all of them together cost one pass.
bool IsWholeBlock(std::span<const uint8_t> bytes, const BinHeader& bin, uint64_t room);

// All headers, at every byte, ascending. An image in which they lie closer together than blocks can
// gives only so many as it could have twice over.
std::vector<BinHeader> FindBinHeaders(std::span<const uint8_t> bytes);

}  // namespace hivequarry
