#include "hive/bins.h"

#include <cstdio>

#include "hive/file_place.h"
#include "host/host.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

// The second copy is only written by some systems; 0 is where it was not.
bool SizesDiffer(const BinRow& row) { return row.size_copy != 0 && row.size != row.size_copy; }

// Blocks are shown counted from 0, but the row that reports a missing one counts from 1.
uint32_t ShownNumber(const BinRow& row) { return row.invalid ? row.index + 1 : row.index; }

}  // namespace

std::vector<BinRow> ListHiveBins(const HiveImage& hive, uint32_t first_position, uint32_t count) {
  std::vector<BinRow> rows;
  bool told = false;
  uint64_t position = first_position;
  while (position + 4 < hive.length && rows.size() < count && !StopRequested()) {
    BinRow row;
    row.index = static_cast<uint32_t>(rows.size());
    row.position = static_cast<uint32_t>(position);
    row.place = PlaceOf(hive, row.position);
    row.invalid = ReadU32(hive, row.position) != kBinSignature;
    if (!row.invalid) {
      row.own_offset = ReadU32(hive, row.position + 4);
      row.size = ReadU32(hive, row.position + 8);
      row.size_copy = ReadU32(hive, row.position + 28);
      if (SizesDiffer(row) && !told) {
        told = true;
        ShowMessage("Block size error !", "Error", Icon::kExclamation);
      }
    }
    rows.push_back(row);
    if (row.invalid || row.size == 0) break;
    position += row.size;
  }
  return rows;
}

std::string BinNumberText(const BinRow& row) {
  char text[16];
  std::snprintf(text, sizeof(text), "%04u", ShownNumber(row));
  return text;
}

std::string BinSizeText(const BinRow& row) {
  if (row.invalid) return "invalid";
  char text[16];
  std::snprintf(text, sizeof(text), "%08X", row.size);
  return text;
}

std::string BinCopyText(const BinRow& row) {
  if (row.invalid || !SizesDiffer(row)) return {};
  char text[16];
  std::snprintf(text, sizeof(text), "%08X", row.size_copy);
  return text;
}

std::string BinPaneText(const BinRow& row) {
  char text[48];
  std::snprintf(text, sizeof(text), row.invalid ? "%4u,  %X    - Error" : "%04X,   %X",
                ShownNumber(row), row.place);
  return text;
}

}  // namespace hivequarry
