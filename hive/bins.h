// The hbin blocks of a hive, one row each.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "hive/image.h"

namespace hivequarry {

struct BinRow {
  uint32_t index = 0;     // from 0
  uint32_t position = 0;  // image position
  uint32_t place = 0;     // the same as the file counts
  uint32_t size = 0;
  uint32_t size_copy = 0;   // the header's second copy; 0 where the system wrote none
  uint32_t own_offset = 0;  // what the header says of its place in the data area
  bool invalid = false;     // no "hbin" where a block should start: the row that ends the walk
};

inline constexpr int kInvalidBinColour = -16;  // colour code of the invalid row

// The block walk from `first_position`, at most `count` blocks. Where a block's sizes differ the
// walk goes on with the first. It ends after an invalid row, and at a size that leads nowhere (0).
std::vector<BinRow> ListHiveBins(const HiveImage& hive, uint32_t first_position, uint32_t count);
// True when a block gives itself two sizes.
bool AnySizesDiffer(std::span<const BinRow> rows);

// Texts of a row: "%04d", "%08X" (or "invalid"), and the differing copy as "%08X" or empty.
std::string BinNumberText(const BinRow& row);
std::string BinSizeText(const BinRow& row);
std::string BinCopyText(const BinRow& row);
// The row in the main window's block list: "%04X,   %X", or "%4d,  %X    - Error".
std::string BinPaneText(const BinRow& row);

}  // namespace hivequarry
