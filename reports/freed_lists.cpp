#include "reports/freed_lists.h"

#include <algorithm>
#include <string>

#include "hive/keys.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "lists/list_rows.h"
#include "recovery/freed_records.h"
#include "reports/freed_rows.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

std::string PositionOrNone(const HiveImage& hive, uint32_t position) {
  return position == kNoOffset ? std::string() : PlaceText(hive, position);
}

void AddKey(FreedSource& from, const FreedKey& key, OutputList& list) {
  const FreedPathTexts texts = FreedPathTextsOf(from, key.position);
  RowFacts facts;
  facts.about_key = true;
  facts.last_write = ReadU64(from.hive, key.position + kKeyLastWrite);
  facts.path = texts.stored;
  AddListRow(list,
             {texts.path,
              PlaceText(from.hive, key.position),
              PositionOrNone(from.hive, key.parent),
              {FormatTimestampChecked(facts.last_write), DateValue(facts.last_write)},
              {std::to_string(key.values), key.values},
              {std::to_string(key.values_found), key.values_found},
              FreedPlaceWords(key)},
             key.position, facts);
}

void AddValue(FreedSource& from, const FreedValue& freed, const ValueListOptions& options,
              OutputList& list) {
  const FreedData which = options.raw ? FreedData::kAll : FreedData::kShown;
  const FreedContent content = ReadFreedContent(from, freed, which);
  const ValueRow row = MakeFreedRow(from, content);
  const FreedPathTexts texts = FreedPathTextsOf(from, freed.key);
  const std::string_view name = StoredNameFact(content.value);
  const bool bytes_known = options.raw && content.value.status != ValueStatus::kReadBefore;
  const std::string bytes = bytes_known ? BytesText(content.data) : std::string();
  RowFacts facts;
  facts.path = texts.stored;
  facts.name = name;
  facts.bytes = bytes;
  AddListRow(list,
             {texts.path, row.name, row.type, row.data, PlaceText(from.hive, freed.position),
              PositionOrNone(from.hive, freed.key), FreedPlaceText(from, freed, content)},
             freed.position, facts, row.icon);
}

// A row a line.
void AddLines(std::string_view text, const char* field, uint32_t position, OutputList& list) {
  while (!text.empty()) {
    const size_t end = std::min(text.find("\r\n"), text.size());
    AddListRow(list, {field, text.substr(0, end)}, position, RowFacts(), 0);
    text.remove_prefix(std::min(end + 2, text.size()));
  }
}

// The key's own fields. What its offsets lead to is left out where they are those of an earlier
// state: here they lead to somebody else's cells.
void AddKeyLines(const FreedSource& from, const FreedKey& key, OutputList& list) {
  constexpr std::string_view kLed[] = {"Parent name", "List kind", "Class"};
  const std::vector<DetailField> fields = KeyFieldsAt(from.hive, from.tree, key.position);
  // The first is the name, in whose place the path is.
  for (size_t i = 1; i < fields.size(); ++i) {
    const bool led = std::ranges::find(kLed, fields[i].label) != std::end(kLed);
    if (led && key.shift != 0) continue;
    AddListRow(list, {fields[i].label, DetailLine(fields[i].text)}, key.position);
  }
}

void AddValueLines(const HiveImage& hive, const FreedContent& content, OutputList& list) {
  const ValueKey& value = content.value;
  const auto add = [&](const char* field, const std::string& text) {
    AddListRow(list, {field, text}, value.position, RowFacts(), 0);
  };
  const ValueDetailText detail = ValueDetail(value, content.data);
  if (detail.status != ValueStatus::kRead) {
    add("Length", std::to_string(value.data_length));
    add("Data position", TargetText(hive, value.data_position));
    return add("Data", ValueDataText(value, {}));
  }
  const size_t header = std::min(detail.text.find("\r\n"), detail.text.size());
  add("Header", detail.text.substr(0, header));
  AddLines(std::string_view(detail.text).substr(std::min(header + 2, detail.text.size())), "Data",
           value.position, list);
}

}  // namespace

OutputListPtr ListFreedDetail(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  FreedSource from(hive, tree);
  const FreedKey* key = FreedKeyAt(from.records, position);
  const FreedValue* freed = FreedValueAt(from.records, position);
  if (key == nullptr && freed == nullptr) return nullptr;
  OutputListPtr list = MakeOutputList(kListDetail);
  const auto add = [&](const char* field, const std::string& text) {
    AddListRow(*list, {field, text}, position, RowFacts(), 0);
  };
  if (key != nullptr) {
    add("Key", FreedPath(hive, tree, from.records, position));
    add("Place", FreedPlaceWords(*key));
    AddKeyLines(from, *key, *list);
    return list;
  }
  const FreedContent content = ReadFreedContent(from, *freed, FreedData::kAll);
  add("Value", ValueDisplayName(content.value));
  add("Type", FreedTypeText(content));
  add("Key", FreedPath(hive, tree, from.records, freed->key));
  add("Place", FreedPlaceText(from, *freed, content));
  AddValueLines(hive, content, *list);
  return list;
}

OutputListPtr ListFreedKeys(const HiveImage& hive, const KeyTree& tree) {
  OutputListPtr list = MakeOutputList(kListFreedKeys);
  FreedSource from(hive, tree);
  for (const FreedKey& key : from.records.keys) {
    if (StopRequested()) break;
    AddKey(from, key, *list);
  }
  return list;
}

OutputListPtr ListFreedValues(const HiveImage& hive, const KeyTree& tree,
                              const ValueListOptions& options) {
  OutputListPtr list = MakeOutputList(kListFreedValues);
  FreedSource from(hive, tree);
  for (const FreedValue& value : from.records.values) {
    if (StopRequested()) break;
    AddValue(from, value, options, *list);
  }
  return list;
}

}  // namespace hivequarry
