#include "lists/list_rows.h"

#include "hive/file_place.h"
#include "hive/keys.h"
#include "hive/layer_stack.h"
#include "hive/offset_map.h"
#include "host/host.h"
#include "host/number_text.h"
#include "words/property_values.h"
#include "words/value_text.h"

namespace hivequarry {

std::string PositionText(uint32_t position) { return HexNumber(position); }

std::string PlaceText(const HiveImage& hive, uint32_t position) {
  return PositionText(PlaceOf(hive, position));
}

std::string TargetText(const HiveImage& hive, uint32_t position) {
  return position >= kNowhere ? "nowhere" : PlaceText(hive, position);
}

void AddDataLines(OutputList& list, std::string_view text, uint32_t datum) {
  // A last line needs no end; an end at the very end makes no empty row.
  for (const char* field = "Header"; !text.empty(); field = "Data") {
    const size_t end = std::min(text.find("\r\n"), text.size());
    AddListRow(list, {field, text.substr(0, end)}, datum);
    text.remove_prefix(std::min(end + 2, text.size()));
  }
}

void AddMeaningLines(OutputList& list, uint32_t type, std::span<const uint8_t> data,
                     uint32_t datum) {
  const PropertyValue value = ReadPropertyValue(type, data);
  if (value.kind.empty()) return;
  AddListRow(list, {"Meaning", PropertyWords(value)}, datum);
  if (!value.text.empty()) AddListRow(list, {"Meaning", value.text}, datum);
}

std::string BytesText(std::span<const uint8_t> bytes) {
  std::string text(bytes.size() * 2, '0');
  for (size_t i = 0; i < bytes.size(); ++i) {
    text[2 * i] = kLowerDigits[bytes[i] >> 4];
    text[2 * i + 1] = kLowerDigits[bytes[i] & 15];
  }
  return text;
}

void ShowWalk(const std::string& path, uint32_t keys, size_t rows) {
  ShowStatus((path + "  " + std::to_string(keys) + "/" + std::to_string(rows)).c_str());
}

void AddListRow(OutputList& list, std::span<const Cell> cells, uint32_t datum,
                const RowFacts& facts, int icon) {
  const bool about_record = datum != kNoOffset;
  AddRow(list, {cells, icon, about_record ? datum : 0, about_record, facts});
}

void AddListRow(OutputList& list, std::initializer_list<Cell> cells, uint32_t datum,
                const RowFacts& facts, int icon) {
  AddListRow(list, std::span(cells.begin(), cells.size()), datum, facts, icon);
}

std::string_view StoredNameFact(const ValueKey& value) {
  return IsNameShownWhole(value) ? std::string_view() : std::string_view(value.name);
}

uint64_t LastWriteOf(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  if (!HasKeyCell(tree, item)) return 0;
  return LastWriteOfKey(hive, tree.items[item].position);
}

}  // namespace hivequarry
