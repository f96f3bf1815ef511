#include "reports/freed_lists.h"

#include <algorithm>
#include <string>
#include <vector>

#include "hive/cells.h"
#include "hive/key_node.h"
#include "hive/timestamp.h"
#include "hive/value_key.h"
#include "hive/value_text.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "lists/list_rows.h"
#include "recovery/freed_records.h"
#include "recovery/item_values.h"

namespace hivequarry {
namespace {

// Where a list's rows come from.
struct FreedSource {
  const HiveImage& hive;
  const KeyTree& tree;
  FreedRecords records;
};

// The path of a key, and its lossless form where that says more.
struct PathTexts {
  std::string path;
  std::string lossless;
};

PathTexts PathTextsOf(const FreedSource& from, uint32_t key) {
  PathTexts texts;
  texts.path = FreedPath(from.hive, from.tree, from.records, key);
  if (IsPlainText(texts.path)) return texts;
  texts.lossless = FreedPathUtf8(from.hive, from.tree, from.records, key);
  if (texts.lossless == Utf8FromNarrow(texts.path)) texts.lossless.clear();
  return texts;
}

std::string PositionOrNone(const HiveImage& hive, uint32_t position) {
  return position == kNoOffset ? std::string() : PlaceText(hive, position);
}

void AddKey(const FreedSource& from, const FreedKey& key, OutputList& list) {
  const PathTexts texts = PathTextsOf(from, key.position);
  RowFacts facts;
  facts.about_key = true;
  facts.last_write = ReadU64(from.hive, key.position + kKeyLastWrite);
  facts.path = texts.lossless;
  AddListRow(list,
             {texts.path, PlaceText(from.hive, key.position), PositionOrNone(from.hive, key.parent),
              FormatTimestampChecked(facts.last_write), std::to_string(key.values),
              std::to_string(key.values_found), FreedPlaceWords(key.place)},
             key.position, facts);
}

// The characters of its name that are its own.
void CutName(const FreedValue& freed, ValueKey& value) {
  const size_t characters = value.flags == 0 ? freed.name_length / 2 : freed.name_length;
  value.name.resize(std::min(value.name.size(), characters));
}

// Data cells that were used again are shown as they are: only the reader of a list can tell whether
// they still are the value's.
std::string PlaceWords(const HiveImage& hive, const FreedValue& freed, const ValueKey& value) {
  std::string words = FreedPlaceWords(freed.place);
  const bool elsewhere = value.status == ValueStatus::kRead && !value.inline_data;
  if (elsewhere && IsAllocated(ReadU32(hive, value.data_position - 4))) words += ", data in use";
  return words;
}

void AddValue(const FreedSource& from, const FreedValue& freed, const ValueListOptions& options,
              DataBudget& budget, OutputList& list) {
  std::vector<uint8_t> data;
  ValueKey value = ReadFreedValue(from.hive, freed.position, budget, data);
  CutName(freed, value);
  const ValueRow row = MakeValueRow(from.hive, value, data, ValueViewOptions());
  const PathTexts texts = PathTextsOf(from, freed.key);
  const std::string name = LosslessName(from.hive, value);
  const std::string bytes = options.raw ? BytesText(data) : std::string();
  RowFacts facts;
  facts.path = texts.lossless;
  facts.name = name;
  facts.bytes = bytes;
  AddListRow(list,
             {texts.path, row.name, row.type, row.data, PlaceText(from.hive, freed.position),
              PositionOrNone(from.hive, freed.key), PlaceWords(from.hive, freed, value)},
             freed.position, facts, row.icon);
}

}  // namespace

OutputListPtr ListFreedKeys(const HiveImage& hive, const KeyTree& tree) {
  OutputListPtr list = MakeOutputList(kListFreedKeys);
  const FreedSource from{hive, tree, FindFreedRecords(hive, tree)};
  for (const FreedKey& key : from.records.keys) {
    if (StopRequested()) break;
    AddKey(from, key, *list);
  }
  return list;
}

OutputListPtr ListFreedValues(const HiveImage& hive, const KeyTree& tree,
                              const ValueListOptions& options) {
  OutputListPtr list = MakeOutputList(kListFreedValues);
  const FreedSource from{hive, tree, FindFreedRecords(hive, tree)};
  DataBudget budget = MakeDataBudget(hive);
  for (const FreedValue& value : from.records.values) {
    if (StopRequested()) break;
    AddValue(from, value, options, budget, *list);
  }
  return list;
}

}  // namespace hivequarry
