#include "hive/bins.h"

#include <algorithm>

#include "hive/file_place.h"
#include "host/long_operation.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

// The second copy is only written by some systems; 0 is where it was not.
bool SizesDiffer(const BinRow& row) { return row.size_copy != 0 && row.size != row.size_copy; }

// Blocks are shown counted from 0, but the row that reports a missing one counts from 1.
uint32_t ShownNumber(const BinRow& row) { return row.invalid ? row.index + 1 : row.index; }

}  // namespace

std::vector<BinRow> ListHiveBins(const HiveImage& hive, uint32_t first_position, uint32_t count) {
  std::vector<BinRow> rows;
  uint64_t position = first_position;
  while (position + 4 < hive.length && rows.size() < count && !StopRequested()) {
    BinRow row;
    row.index = static_cast<uint32_t>(rows.size());
    row.position = static_cast<uint32_t>(position);
    row.place = PlaceOf(hive, row.position);
    row.invalid = ReadU32(hive, row.position) != kBinSignature;
    if (!row.invalid) {
      row.own_offset = ReadU32(hive, row.position + kBinOwnOffset);
      row.size = ReadU32(hive, row.position + kBinSize);
      row.size_copy = ReadU32(hive, row.position + kBinSizeCopy);
    }
    rows.push_back(row);
    if (row.invalid || row.size == 0) break;
    position += row.size;
  }
  return rows;
}

bool AnySizesDiffer(std::span<const BinRow> rows) { return std::ranges::any_of(rows, SizesDiffer); }

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
