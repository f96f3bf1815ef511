// Reading files from media that do not give every byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace hivequarry {

// Where bytes come from. The tests put a failing medium in its place.
struct FileReader {
  // Up to `size` bytes at a file position; returns how many came. Where it is fewer, `error` is an
  // errno value, or 0 at the end of the file.
  size_t (*read)(std::FILE* stream, uint64_t position, uint8_t* out, size_t size, int& error);
};
// Set by tests before any file is read.
FileReader& TheFileReader();

// A stretch of a file.
struct FileRange {
  uint64_t position = 0;
  uint64_t size = 0;
};

// What could not be read of a file.
struct UnreadBytes {
  static constexpr size_t kMostRanges = 4096;  // further ones are counted, not listed

  std::vector<FileRange> ranges;  // ascending, apart from each other
  uint64_t count = 0;             // of all bytes
  uint64_t end = 0;               // after the last of them
  int error = 0;                  // errno value of the first failure
};
// Adds a range; what of it lies before the end of those added so far is in there already.
// Ranges must be added in ascending order of their starts.
void AddUnread(UnreadBytes& unread, uint64_t position, uint64_t size);
// Adds those of a later stretch of the file, which begins after the end of those added so far.
void AddUnread(UnreadBytes& unread, const UnreadBytes& later);
// Leaves what lies before `position` alone.
void CutUnread(UnreadBytes& unread, uint64_t position);

// Reads up to `size` bytes at a file position; returns how many there are up to the end of the
// file, or up to where the user stopped. What the medium does not give is tried again in smaller
// pieces, down to one of 512 bytes; such a piece is zeros then, and in `unread` (null: nobody
// asks).
size_t ReadFileBytes(std::FILE* stream, uint64_t position, uint8_t* out, size_t size,
                     UnreadBytes* unread = nullptr);

// "0x00001000-0x000011FF, 0x00003000-0x000031FF": first and last byte of each, at most `most`.
std::string UnreadRangesText(const UnreadBytes& unread, size_t most = UnreadBytes::kMostRanges);

}  // namespace hivequarry
