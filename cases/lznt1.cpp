#include "cases/lznt1.h"

#include <algorithm>

namespace hivequarry {
namespace {

constexpr uint16_t kChunkMark = 0x3000;  // of a header: always so
constexpr uint16_t kCompressed = 0x8000;

// Copies from what was decoded; the two may overlap.
bool CopyBack(std::vector<uint8_t>& out, size_t start, size_t back, size_t length, size_t end) {
  if (back == 0 || back > out.size() - start || length > end - out.size()) return false;
  for (size_t i = 0; i < length; ++i) out.push_back(out[out.size() - back]);
  return true;
}

// How many of a pair's 16 bits are its length: fewer, the further the output has come.
// A distance reaches no further back than the chunk's start: with 16 bytes done or fewer 4 bits are
// enough for it, and each doubling takes one bit from the length, down to 4.
uint32_t LengthBits(size_t done) {
  uint32_t bits = 12;
  for (size_t reach = 16; done > reach && bits > 4; reach *= 2) --bits;
  return bits;
}

// A byte of flags, lowest bit first, before each eight items: 0 a byte as it is, 1 two bytes with a
// distance in the high bits and a length in the low ones. How many bits are the length's follows
// from how far the chunk has come (LengthBits). False for what leads before the chunk or makes it
// longer than kLznt1Chunk.
bool DecodeChunk(ByteView data, std::vector<uint8_t>& out) {
  const size_t start = out.size();
  const size_t end = start + kLznt1Chunk;
  for (uint32_t at = 0; at < data.size();) {
    const uint8_t flags = data[at++];
    for (uint32_t bit = 0; bit < 8 && at < data.size(); ++bit) {
      if ((flags >> bit & 1) == 0) {
        if (out.size() >= end) return false;
        out.push_back(data[at++]);
        continue;
      }
      if (!IsInside(data, at, 2)) return false;
      const uint32_t pair = ReadU16(data, at);
      const uint32_t bits = LengthBits(out.size() - start);
      const size_t length = (pair & ((1U << bits) - 1)) + 3;
      if (!CopyBack(out, start, (pair >> bits) + 1, length, end)) return false;
      at += 2;
    }
  }
  return true;
}

}  // namespace

uint32_t Lznt1ChunkSize(ByteView bytes, uint32_t at) {
  const uint16_t header = ReadU16(bytes, at);
  if ((header & 0x7000) != kChunkMark) return 0;
  const uint32_t size = (header & 0xFFFU) + 3;
  if (!IsInside(bytes, at, size)) return 0;
  const bool whole = (header & kCompressed) != 0 || size == kLznt1Chunk + 2;
  return whole ? size : 0;
}

bool BeginsAsLznt1(ByteView bytes, uint32_t letters) {
  const uint16_t header = ReadU16(bytes, 0);
  return (header & 0xF000) == (kCompressed | kChunkMark) && (ReadU8(bytes, 2) & 0x0F) == 0 &&
         ReadU32(bytes, 3) == letters;
}

uint32_t DecodeLznt1(ByteView bytes, uint32_t most, std::vector<uint8_t>& out) {
  const size_t end = out.size() + most;
  uint32_t at = 0;
  while (out.size() + kLznt1Chunk <= end) {
    const uint32_t size = Lznt1ChunkSize(bytes, at);
    if (size == 0) break;
    const ByteView data = PartOf(bytes, at + 2, size - 2);
    const size_t before = out.size();
    if ((ReadU16(bytes, at) & kCompressed) == 0) {
      out.insert(out.end(), data.begin(), data.end());
    } else if (!DecodeChunk(data, out)) {
      out.resize(before);
      break;
    }
    at += size;
    if (out.size() - before < kLznt1Chunk) break;  // the last one
  }
  return at;
}

namespace {

// A length is 3 more than its bits say. Bits of 7 go on in half a byte: two references share it,
// the low half for the first and the high half for the next that needs one. 15 there goes on in a
// byte, 255 there in 16 bits that count from 0 anew:
//
//    3 bits beside the distance   0 to 6: that
//    half a byte                  0 to 14: 7 more
//    a byte                       0 to 254: 7 + 15 more
//    16 bits                      the whole, at least 22
//
// What a match's length has beyond the three bits beside its distance.
struct LengthReader {
  ByteView bytes;
  uint32_t& at;
  uint32_t half = 0;  // place of a byte whose high half is still to be used, and one more

  bool Read(uint32_t& length) {
    if (half == 0) {
      if (at >= bytes.size()) return false;
      length = bytes[at] & 15;
      half = ++at;
    } else {
      length = bytes[half - 1] >> 4;
      half = 0;
    }
    if (length == 15) {
      if (at >= bytes.size()) return false;
      length = bytes[at++];
      if (length == 255) {
        length = ReadU16(bytes, at);
        at += 2;
        if (length < 22 || at > bytes.size()) return false;  // longer than a page is none
        length -= 22;
      }
      length += 15;
    }
    length += 7;
    return true;
  }
};

}  // namespace

// The last match may be longer than what is left of the page: it is cut there.
uint32_t DecodePlainLz77(ByteView bytes, uint32_t most, std::vector<uint8_t>& out) {
  const size_t start = out.size();
  const size_t end = start + most;
  uint32_t at = 0;
  uint32_t flags = 0;
  LengthReader lengths{bytes, at};
  for (uint32_t left = 0; out.size() < end; --left) {
    if (left == 0) {
      if (!IsInside(bytes, at, 4)) break;
      flags = ReadU32(bytes, at);
      at += 4;
      left = 32;
    }
    if ((flags >> (left - 1) & 1) == 0) {
      if (at >= bytes.size()) break;
      out.push_back(bytes[at++]);
      continue;
    }
    if (!IsInside(bytes, at, 2)) break;
    const uint32_t pair = ReadU16(bytes, at);
    at += 2;
    uint32_t length = pair & 7;
    if (length == 7 && !lengths.Read(length)) break;
    const size_t wanted = std::min<size_t>(length + 3, end - out.size());
    if (!CopyBack(out, start, (pair >> 3) + 1, wanted, end)) break;
  }
  if (out.size() == end) return at;
  out.resize(start);
  return 0;
}

}  // namespace hivequarry
