#include "hive/bins.h"

#include <algorithm>

#include "hive/file_place.h"
#include "host/long_operation.h"

namespace hivequarry {
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

std::vector<BinRow> ListHiveBins(const HiveImage& hive) {
  return ListHiveBins(hive, hive.data_start, UINT32_MAX);
}

bool AnySizesDiffer(std::span<const BinRow> rows) { return std::ranges::any_of(rows, SizesDiffer); }
}  // namespace hivequarry
