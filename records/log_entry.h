// What a log of a hive is made of, after its first 512 bytes, which are a copy of a base block
// (base_block.h).
//
// New form: entries from position 512 on, each at a multiple of 512, without gaps: a header, the
// places of the pages, the pages. Two hashes make an entry sure. Old form: "DIRT", a bitmap of the
// 512-byte units of the bins that the log holds, and these, one after the other.
#pragma once

#include <cstdint>

#include "bytes/byte_view.h"

namespace hivequarry {

inline constexpr uint32_t kLogUnit = 512;  // base block copy, steps of entries, units of the bitmap
inline constexpr uint32_t kLogEntrySignature = 0x454C7648;   // "HvLE"
inline constexpr uint32_t kLogBitmapSignature = 0x54524944;  // "DIRT"
inline constexpr uint32_t kLogEntryHeader = 40;
inline constexpr uint32_t kLogPlaceSize = 8;  // of a page: offset in the bins, size in bytes
// No offset leads further: its highest bit is taken.
inline constexpr uint32_t kMostBins = 0x7FFFF000;

// Layout, as systems from Windows 8.1 on write it; the numbers count from the entry's start:
//
//    0    4  "HvLE"                          20    4  number of pages
//    4    4  size, a multiple of 512         24    8  hash of the bytes from 40 to the end
//    8    4  flags: bit 0 of the base block  32    8  hash of the bytes from 0 to 32
//   12    4  sequence number                 40    8  of each page: its offset, its size
//   16    4  length of the bins              ...      the pages, in that order, then filling
//
// The header of an entry, whatever is in it.
// Fields as stored. Only after CheckLogEntry has said kNone may any of them be relied on.
struct LogEntryHeader {
  uint32_t signature = 0;
  uint32_t size = 0;  // of the entry, a multiple of 512
  uint32_t flags = 0;
  uint32_t sequence = 0;   // one more than that of the entry before
  uint32_t bins_size = 0;  // after the entry, a multiple of 4096
  uint32_t pages = 0;      // how many
  uint64_t hash1 = 0;      // of all after the header
  uint64_t hash2 = 0;      // of the header before it
};
// The header at `at`; fields after the end of the view are 0.
LogEntryHeader ReadLogEntryHeader(ByteView log, uint32_t at);

// Why an entry does not hold.
enum class LogEntryFault : uint8_t {
  kNone,
  kEndOfFile,  // no room for a header
  kSignature,
  kHeaderHash,
  kSize,     // no multiple of 512, or less than that
  kPastEnd,  // longer than the file
  kDataHash,
  kBinsSize,    // no multiple of 4096, or more than offsets lead to
  kPages,       // none, or more than the entry has room for
  kPagePlace,   // a page outside the bins
  kFirstBlock,  // the page of the first block is no block
  kSequence,    // not the number after that of the entry before it: for who reads a run of them
};
// The bytes of a log, wherever they are kept.
// A log may be in memory or in a file; a record is read through a window into it, so that a log of
// gigabytes takes no more memory than one piece.
class LogSource {
 public:
  // At most `size` bytes from `at` on, valid until the next call: fewer at the end of the log,
  // where they can't be read, and when the user stops.
  virtual ByteView At(uint32_t at, uint32_t size) = 0;
  // Bytes of the whole log; the same all through.
  virtual uint32_t length() const = 0;

 protected:
  ~LogSource() = default;
};

// Places of pages, read some at a time, as an entry may have as many as it has room for.
// A fixed 8 KiB, on the stack of whoever reads.
struct LogPlaces {
  static constexpr uint32_t kMost = 1024;
  uint8_t bytes[kMost * kLogPlaceSize];
  uint32_t count = 0;  // of the places read
  // `i` below `count`. The offset counts from the start of the bins, the size is in bytes.
  uint32_t offset(uint32_t i) const { return LoadU32(bytes + i * kLogPlaceSize); }
  uint32_t size(uint32_t i) const { return LoadU32(bytes + i * kLogPlaceSize + 4); }
};
// Those of the entry at `at` from page `first` on, of `pages` in all. False when they can't be
// read.
// `at` counts from the start of the log; `first` must be less than `pages`. The next call goes on
// at first + places.count.
bool ReadLogPlaces(LogSource& log, uint32_t at, uint32_t first, uint32_t pages, LogPlaces& places);

// Whether the entry at `at` holds. The hash of its header comes first, so that nothing else is
// driven by a number that is not sure; all of it costs no more than the entry's own bytes.
// A stop makes it one that does not hold.
// The faults are tested in the order of the enumeration, and the first one met is returned;
// kSequence is never returned here. `header` is filled as far as bytes are there, whatever comes
// back.
LogEntryFault CheckLogEntry(LogSource& log, uint32_t at, LogEntryHeader& header);
LogEntryFault CheckLogEntry(ByteView log, uint32_t at, LogEntryHeader& header);

// The hash of log entries: Marvin32 with their seed. Bytes after the last whole word count too.
// Both halves of the state as one number, the high half first in significance. The seed is
// 0x82EF4D887A4E55C5, the same for all hives.
uint64_t LogHash(ByteView bytes);

}  // namespace hivequarry
