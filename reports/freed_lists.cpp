#include "reports/freed_lists.h"

#include <algorithm>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "hive/keys.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "lists/list_rows.h"
#include "records/key_node.h"
#include "records/value_key.h"
#include "recovery/freed_records.h"
#include "reports/before_state.h"
#include "reports/freed_rows.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

std::string PositionOrNone(const HiveImage& hive, uint32_t position) {
  return position == kNoOffset ? std::string() : PlaceText(hive, position);
}

// Of a replayed hive each row says which state has the record so: what the logs make of the hive,
// or what its file has. One that is the same in both is told once.
// The records of the file alone go into a table first; what the other state has too is taken out of
// it, and what is left gets its rows at the end.
constexpr const char* kAfter = "after the logs";
constexpr const char* kBefore = "before the logs";
constexpr const char* kBoth = "both";

// What rows tell of a record, by its position, to know it again in the other state.
using ToldRecords = std::unordered_map<uint32_t, std::vector<uint8_t>>;

std::vector<uint8_t> KeyBytes(const HiveImage& hive, const FreedKey& key) {
  return CopyOf(PartOf(ImageBytes(hive), key.position + 4, kKeyName - 4 + key.name_length));
}

// What makes two copies of a deleted value the same: the record after its size, which the system
// changes when it frees the cell, and the data that are shown.
std::vector<uint8_t> ValueBytes(FreedSource& from, const FreedValue& value) {
  const uint32_t length = kValueName - 4 + value.name_length;
  std::vector<uint8_t> bytes = CopyOf(PartOf(ImageBytes(from.hive), value.position + 4, length));
  const FreedContent content = ReadFreedContent(from, value, FreedData::kShown);
  bytes.push_back(static_cast<uint8_t>(content.value.status));
  bytes.insert(bytes.end(), content.data.begin(), content.data.end());
  return bytes;
}

// Takes the record out of those of the other state. True when it was among them.
bool IsTold(ToldRecords& others, uint32_t position, const std::vector<uint8_t>& bytes) {
  const auto found = others.find(position);
  if (found == others.end() || found->second != bytes) return false;
  others.erase(found);
  return true;
}

void AddKey(FreedSource& from, const FreedKey& key, const char* state, OutputList& list) {
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
              FreedPlaceWords(key),
              state},
             key.position, facts);
}

void AddValue(FreedSource& from, const FreedValue& freed, const ValueListOptions& options,
              const char* state, OutputList& list) {
  const FreedData which = options.raw ? FreedData::kAll : FreedData::kShown;
  const FreedContent content = ReadFreedContent(from, freed, which);
  const ValueRow row = MakeFreedRow(from.hive, content);
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
              PositionOrNone(from.hive, freed.key),
              FreedPlaceText(from.hive, from.records, freed, content), state},
             freed.position, facts, row.icon);
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
  AddDataLines(list, detail.text, value.position);
  AddMeaningLines(list, content.type, content.data, value.position);
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
  add("Type", FreedTypeText(from.hive, content));
  add("Key", FreedPath(hive, tree, from.records, freed->key));
  add("Place", FreedPlaceText(hive, from.records, *freed, content));
  AddValueLines(hive, content, *list);
  return list;
}

namespace {

// Those of the file's own state that no row has told of; a key in use again as it was is none.
void AddKeysBefore(const HiveImage& hive, const KeyTree& tree, StateBefore& before,
                   const ToldRecords& rest, OutputList& list) {
  FreedSource from(before.image, before.tree);
  for (const FreedKey& key : from.records.keys) {
    if (StopRequested()) break;
    const auto found = rest.find(key.position);
    if (found == rest.end()) continue;
    const ByteView now = ImageBytes(hive);
    const ByteView there =
        PartOf(now, key.position + 4, static_cast<uint32_t>(found->second.size()));
    const bool again =
        ItemOfPosition(tree, key.position) != kNoItem && std::ranges::equal(there, found->second);
    if (!again) AddKey(from, key, kBefore, list);
  }
}

}  // namespace

OutputListPtr ListFreedKeys(const HiveImage& hive, const KeyTree& tree) {
  OutputListPtr list = MakeOutputList(kListFreedKeys);
  StateBefore before;
  ToldRecords others;
  const bool two = LoadBefore(hive, before);
  if (two) {
    AddColumns(*list, {kStateTitle});
    for (const FreedKey& key : FindFreedRecords(before.image, before.tree).keys) {
      others[key.position] = KeyBytes(before.image, key);
    }
  }
  FreedSource from(hive, tree);
  for (const FreedKey& key : from.records.keys) {
    if (StopRequested()) break;
    const bool both = two && IsTold(others, key.position, KeyBytes(hive, key));
    AddKey(from, key, both ? kBoth : kAfter, *list);
  }
  if (!others.empty()) AddKeysBefore(hive, tree, before, others, *list);
  return list;
}

OutputListPtr ListFreedValues(const HiveImage& hive, const KeyTree& tree,
                              const ValueListOptions& options) {
  OutputListPtr list = MakeOutputList(kListFreedValues);
  StateBefore before;
  ToldRecords others;
  const bool two = LoadBefore(hive, before);
  std::unique_ptr<FreedSource> earlier;
  if (two) {
    AddColumns(*list, {kStateTitle});
    earlier = std::make_unique<FreedSource>(before.image, before.tree);
    for (const FreedValue& value : earlier->records.values) {
      others[value.position] = ValueBytes(*earlier, value);
    }
  }
  FreedSource from(hive, tree);
  for (const FreedValue& value : from.records.values) {
    if (StopRequested()) break;
    const bool both = two && IsTold(others, value.position, ValueBytes(from, value));
    AddValue(from, value, options, both ? kBoth : kAfter, *list);
  }
  if (!two) return list;
  for (const FreedValue& value : earlier->records.values) {
    if (StopRequested()) break;
    if (others.contains(value.position)) AddValue(*earlier, value, options, kBefore, *list);
  }
  return list;
}

}  // namespace hivequarry
