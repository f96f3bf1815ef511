// The blocks of a hive as lists show them. A row that is `invalid` is the last: the walk from block
// to block found none there.
#pragma once

#include <string>

#include "hive/bins.h"

namespace hivequarry {

// Lists that have colours show the row that ends the walk in it.
inline constexpr int kInvalidBinColour = -16;  // colour code of the invalid row

// Texts of a row: "%04d", "%08X" (or "invalid"), and the differing copy as "%08X" or empty.
std::string BinNumberText(const BinRow& row);
std::string BinSizeText(const BinRow& row);
std::string BinCopyText(const BinRow& row);
// The row in the main window's block list: "%04X,   %X", or "%4d,  %X    - Error".
std::string BinPaneText(const BinRow& row);

}  // namespace hivequarry
