// Bins: the stretches of 4096 bytes or multiples of that which cells are in, each after a header of
// 32 bytes that says at which offset of the data area the bin is. Headers are read at any place, as
// a damaged image may have them anywhere.
#pragma once

#include <cstdint>
#include <vector>

#include "bytes/byte_view.h"
#include "records/base_block.h"

namespace hivequarry {

inline constexpr uint32_t kBinSignature = 0x6E696268;  // "hbin"
inline constexpr uint32_t kBinHeaderSize = 32;
// Of the first bin's first cell, in an image that begins with a base block.
inline constexpr uint32_t kFirstCellPosition = kBaseBlockSize + kBinHeaderSize;

// Layout; the bytes between are spare, or memory that the system did not clear:
//
//    0    4  "hbin"                          20    8  time, FILETIME; first bin of a hive alone
//    4    4  own offset                      28    4  size once more; 0 on some systems
//    8    4  size
//
// The first cell follows at 32. An offset into a bin counts from the start of the data area, so
// that the one of the first bin's first cell is 32 and its position 4128.
// Offsets of the fields from the start of the header. The signature is at 0.
inline constexpr uint32_t kBinOwnOffset = 4;  // of this header, from the start of the data area
inline constexpr uint32_t kBinSize = 8;       // bytes, the header among them
inline constexpr uint32_t kBinTime = 20;      // FILETIME; of the first bin alone
// Never used to find the next bin: SizesDiffer (hive/bins.h) only says where the two disagree.
inline constexpr uint32_t kBinSizeCopy = 28;  // 0 where the system wrote none

// A header met in an image, its two fields held against nothing.
struct BinHeader {
  uint32_t position = 0;    // of the header, from the start of the view
  uint32_t own_offset = 0;  // as stored
  uint32_t size = 0;        // as stored

  // What is to be added to an offset into this bin to get its position, modulo 2^32. 4096 in a hive
  // that is whole; bins of one hive differ in it where bytes were put in or lost between them.
  uint32_t Distance() const { return position - own_offset; }
};

// True for a signature, an own offset and a size that a header could have: both multiples of 4096,
// the size not 0 and below 2^31. The bin may be longer than the view. `bin` is filled as soon as
// the signature is there.
bool ReadBinHeader(ByteView image, uint32_t position, BinHeader& bin);

// True when cells follow each other from the header to where the bin ends, and that lies at most
// `room` bytes after the header's start: callers that ask of many bins end it where the next one
// begins, so that all of them together cost one pass.
// Neither signatures nor what the cells hold are looked at; linear in the number of cells. A bin
// that is longer than the view is not whole.
bool IsWholeBlock(ByteView image, const BinHeader& bin, uint64_t room);

// All headers, at every byte, ascending. An image in which they lie closer together than bins can
// gives only so many as it could have twice over.
// Every byte, because bytes put in or lost need not be a multiple of anything. One search for the
// letter "h", so linear; the bound keeps a file of nothing but headers from taking memory several
// times its own length.
std::vector<BinHeader> FindBinHeaders(ByteView image);

}  // namespace hivequarry
