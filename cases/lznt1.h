// The two forms in which systems keep bytes compressed where hives are found too: LZNT1, of files
// that the file system compresses, and plain LZ77, of pages in compressed memory.
//
// Never fail loudly: what does not decode ends the output there.
#pragma once

#include <cstdint>
#include <vector>

#include "bytes/byte_view.h"

namespace hivequarry {

// LZNT1: chunks one after another, each with a header of 16 bits: bits 0 to 11 its length less 3
// (the header counts), bits 12 to 14 the mark 3, bit 15 set for a compressed chunk. In one, a byte
// of flags is before each eight tokens, lowest bit first: 0 a literal byte, 1 a back reference of
// 16 bits, whose split between distance and length depends on how many bytes the chunk has become
// so far.
//
// Plain LZ77: 32 bits of flags before each 32 tokens, highest bit first; a reference has 13 bits of
// distance and 3 of length, which may go on in further bytes.
inline constexpr uint32_t kLznt1Chunk = 4096;  // that a chunk becomes

inline constexpr uint16_t kPlainLznt1Chunk = 0x3FFF;  // header of a chunk that is not compressed

// A chunk's own length with its header, by that header; 0 where none can begin so.
uint32_t Lznt1ChunkSize(ByteView bytes, uint32_t at);
// True when a compressed chunk whose output begins with those four letters may begin here: four
// literals come first then.
bool BeginsAsLznt1(ByteView bytes, uint32_t letters);

// Appends what the chunks from the start of the view on become, at most `most` bytes. Returns how
// many bytes of the view they are: whole chunks alone, up to one that does not decode, to a header
// of 0 or to the end. `most` is a multiple of kLznt1Chunk.
uint32_t DecodeLznt1(ByteView bytes, uint32_t most, std::vector<uint8_t>& out);

// Appends what the bytes become, at most `most`. Returns how many bytes of the view that took; 0
// where it does not decode to `most` bytes.
uint32_t DecodePlainLz77(ByteView bytes, uint32_t most, std::vector<uint8_t>& out);

}  // namespace hivequarry
