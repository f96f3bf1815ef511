#include "words/bin_texts.h"

#include "host/number_text.h"

namespace hivequarry {
namespace {

// Blocks are shown counted from 0, but the row that reports a missing one counts from 1.
uint32_t ShownNumber(const BinRow& row) { return row.invalid ? row.index + 1 : row.index; }

}  // namespace

std::string BinNumberText(const BinRow& row) { return Decimal(ShownNumber(row), 4); }

std::string BinSizeText(const BinRow& row) {
  if (row.invalid) return "invalid";
  return Hex(row.size, 8);
}

std::string BinCopyText(const BinRow& row) {
  if (row.invalid || !SizesDiffer(row)) return {};
  return Hex(row.size_copy, 8);
}

std::string BinPaneText(const BinRow& row) {
  if (row.invalid) {
    return Concat({Decimal(ShownNumber(row), 4, ' '), ",  ", Hex(row.place), "    - Error"});
  }
  return Concat({Hex(ShownNumber(row), 4), ",   ", Hex(row.place)});
}

}  // namespace hivequarry
