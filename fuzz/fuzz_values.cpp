// Value data of any type as text, and records read straight from the input.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "hive/image.h"
#include "hive/keys.h"
#include "hive/subkeys.h"
#include "hive/values.h"
#include "host/text.h"
#include "records/cell.h"
#include "words/property_values.h"
#include "words/value_text.h"

namespace {

using namespace hivequarry;

constexpr uint32_t kMostCells = 256;

void Require(bool holds) {
  if (!holds) std::abort();
}

void ShowData(uint32_t type, std::span<const uint8_t> data) {
  for (const bool wide : {false, true}) {
    Require(CountUnits(DataPreview(type, data, wide)) <= kPreviewLength);
  }
  Require(CountUnits(DataText(type, data, false)) <= data.size() + 1);
  Require(CountUnits(DataText(type, data, true)) <= data.size() + 1);
  // Eight bytes make a line of an offset, three characters and one more each, and a line end.
  Require(CountUnits(HexDump(data)) <= (data.size() / 8 + 1) * 48);
  TypeName(type);
  ReadPropertyValue(type, data);
}

void ReadCell(const HiveImage& hive, uint32_t position) {
  std::vector<uint8_t> data;
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kData, kMaxValueData, &data);
  Require(data.empty() || data.size() == value.data_length);
  if (value.status == ValueStatus::kRead) ShowData(value.type, data);
  ValueDetail(hive, position);
  ReadRawValueName(hive, value);
  const KeyNode key = ReadKeyNode(hive, position, KeyRead::kDiagnose);
  Require(CountUnits(key.name) <= std::max<size_t>(kMaxRawName, key.length));
  ReadClassName(hive, key);
  uint32_t budget = 4096;
  std::vector<SubkeyEntry> entries;
  ReadSubkeyList(hive, position, budget, entries);
  Require(entries.size() <= 4096);
  std::vector<uint32_t> positions;
  budget = 4096;
  ReadValueList(hive, key.value_count, key.value_list, budget, positions);
  Require(positions.size() <= 4096);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const std::span<const uint8_t> bytes(data, size);
  ShowData(data[0] & 0x0F, bytes.subspan(1));
  HiveImage hive = ImageOfBytes(bytes);
  hive.header_valid = hive.data_base_proven = data[1] % 2 == 0;
  uint32_t position = 0;
  for (uint32_t cells = 0; cells < kMostCells; ++cells) {
    ReadCell(hive, position);
    const uint32_t next = FindNextCell(ImageBytes(hive), position, hive.length, 0x10000);
    Require(next == 0 || next > position);
    if (next == 0) break;
    position = next;
  }
  return 0;
}
