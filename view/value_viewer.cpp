#include "view/value_viewer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "hive/file_place.h"
#include "host/number_text.h"
#include "reports/freed_rows.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Bytes of the image that were put back or left out while opening begin a piece of their own: the
// file has what follows elsewhere.
void AddPlaces(const HiveImage& hive, const DataPiece& piece, std::vector<DataPiece>& places) {
  // Byte by byte only where bytes moved: any two neighbours may be apart in the file then.
  const bool as_in_file = hive.places.pieces.empty() && hive.places.returns.empty();
  const uint32_t step = as_in_file ? piece.length : 1;
  for (uint32_t at = 0; at < piece.length; at += step) {
    const uint32_t in_file = FilePositionOf(hive, piece.position + at);
    const bool goes_on = !places.empty() &&
                         places.back().offset + places.back().length == piece.offset + at &&
                         places.back().position + places.back().length == in_file;
    if (goes_on) {
      places.back().length += step;
    } else {
      places.push_back({piece.offset + at, step, in_file});
    }
  }
}

std::string NumberWords(uint64_t number) {
  return Concat({"0x", Hex(number, 8), " (", std::to_string(number), ")"});
}

}  // namespace

ValueBytes BytesOfValue(const HiveImage& hive, uint32_t position) {
  ValueBytes bytes;
  std::vector<DataPiece> pieces;
  const ValueKey value = ReadWholeValue(hive, position, bytes.data, pieces);
  if (value.status != ValueStatus::kRead) return {};
  bytes.type = value.type;
  bytes.edited = value.edited;
  bytes.whole = MeaningsOfAll(bytes.type, bytes.data);
  for (const DataPiece& piece : pieces) AddPlaces(hive, piece, bytes.places);
  return bytes;
}

ValueBytes BytesOfFreedValue(const HiveImage& hive, const FreedTree& freed, uint32_t position) {
  const FreedValue* value = FreedValueAt(freed.records, position);
  if (value == nullptr) return {};
  FreedContent content = ReadFreedContent(hive, freed.records, *value, FreedData::kAll);
  if (content.value.status != ValueStatus::kRead) return {};
  ValueBytes bytes;
  bytes.type = content.value.type;
  const auto length = static_cast<uint32_t>(content.data.size());
  // Data in segments lie in several places, which are not told here.
  if (!content.value.big_data && length != 0) {
    AddPlaces(hive, {0, length, content.value.data_position}, bytes.places);
  }
  bytes.data = std::move(content.data);
  bytes.whole = MeaningsOfAll(bytes.type, bytes.data);
  return bytes;
}

uint32_t FilePositionIn(const std::vector<DataPiece>& places, uint32_t offset) {
  const auto after = std::ranges::upper_bound(places, offset, {}, &DataPiece::offset);
  if (after == places.begin()) return kNoFilePosition;
  const DataPiece& piece = *(after - 1);
  return offset - piece.offset < piece.length ? piece.position + (offset - piece.offset)
                                              : kNoFilePosition;
}

std::vector<Meaning> MeaningRows(const ValueBytes& value, std::span<const uint8_t> data,
                                 const HexCaret& caret) {
  const uint32_t start = std::min(caret.position, caret.anchor);
  const uint32_t selected = std::max(caret.position, caret.anchor) - start;
  std::vector<Meaning> rows = {
      {"Type", Concat({TypeName(value.type), " (", std::to_string(value.type), ")"})},
      {"Length", Concat({std::to_string(data.size()), data.size() == 1 ? " byte" : " bytes",
                         value.edited ? ", edited in memory" : ""})},
      {"Offset in value", NumberWords(start)}};
  // What the whole of it means comes after the type.
  rows.insert(rows.begin() + 1, value.whole.begin(), value.whole.end());
  const uint32_t in_file = FilePositionIn(value.places, start);
  if (start < data.size()) {
    rows.push_back({"In file", in_file == kNoFilePosition ? "not in the file as it is shown"
                                                          : NumberWords(in_file)});
  }
  if (selected != 0) {
    rows.push_back(
        {"Selected", Concat({std::to_string(selected), selected == 1 ? " byte" : " bytes"})});
  }
  std::ranges::move(MeaningsAt(data, start, selected), std::back_inserter(rows));
  return rows;
}

}  // namespace hivequarry
