// The hbin blocks of a hive, one row each.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "hive/image.h"

namespace hivequarry {

// One block as its header has it. All but the first four fields are as stored: held against
// nothing.
struct BinRow {
  uint32_t index = 0;       // from 0
  uint32_t position = 0;    // image position
  uint32_t place = 0;       // the same as the file counts
  uint32_t size = 0;        // bytes, the header among them
  uint32_t size_copy = 0;   // the header's second copy; 0 where the system wrote none
  uint32_t own_offset = 0;  // what the header says of its place in the data area
  bool invalid = false;     // no "hbin" where a block should start: the row that ends the walk
};

// The second copy is only written by some systems; 0 is where it was not.
inline bool SizesDiffer(const BinRow& row) {
  return row.size_copy != 0 && row.size != row.size_copy;
}

// The block walk from `first_position`, at most `count` blocks. Where a block's sizes differ the
// walk goes on with the first. It ends after an invalid row, and at a size that leads nowhere (0).
// Positions count in the image. A block's size may lead beyond the image's end: the walk is over
// then, and the row stays. One row for each 4096 bytes at most in a sound hive; a damaged one may
// name smaller sizes, so the rows are bounded by the image's length alone. Ends early when the user
// stops.
std::vector<BinRow> ListHiveBins(const HiveImage& hive, uint32_t first_position, uint32_t count);
// All of them, from the start of the data area.
std::vector<BinRow> ListHiveBins(const HiveImage& hive);
// True when a block gives itself two sizes.
bool AnySizesDiffer(std::span<const BinRow> rows);

}  // namespace hivequarry
