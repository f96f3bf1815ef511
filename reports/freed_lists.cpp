#include "reports/freed_lists.h"

#include <string>

#include "hive/key_node.h"
#include "hive/timestamp.h"
#include "hive/value_key.h"
#include "host/long_operation.h"
#include "lists/list_rows.h"
#include "recovery/freed_records.h"
#include "reports/freed_rows.h"

namespace hivequarry {
namespace {

std::string PositionOrNone(uint32_t position) {
  return position == kNoOffset ? std::string() : PositionText(position);
}

void AddKey(const FreedSource& from, const FreedKey& key, OutputList& list) {
  const FreedPathTexts texts = FreedPathTextsOf(from, key.position);
  RowFacts facts;
  facts.about_key = true;
  facts.last_write = ReadU64(from.hive, key.position + kKeyLastWrite);
  facts.path = texts.lossless;
  AddListRow(list,
             {texts.path, PositionText(key.position), PositionOrNone(key.parent),
              FormatTimestampChecked(facts.last_write), std::to_string(key.values),
              std::to_string(key.values_found), FreedPlaceWords(from.records, key)},
             key.position, facts);
}

void AddValue(FreedSource& from, const FreedValue& freed, const ValueListOptions& options,
              OutputList& list) {
  const FreedContent content = ReadFreedContent(from, freed);
  const ValueRow row = MakeFreedRow(from, content);
  const FreedPathTexts texts = FreedPathTextsOf(from, freed.key);
  const std::string name = LosslessName(from.hive, content.value);
  const std::string bytes = options.raw ? BytesText(content.data) : std::string();
  RowFacts facts;
  facts.path = texts.lossless;
  facts.name = name;
  facts.bytes = bytes;
  AddListRow(list,
             {texts.path, row.name, row.type, row.data, PositionText(freed.position),
              PositionOrNone(freed.key), FreedPlaceText(from, freed, content)},
             freed.position, facts, row.icon);
}

}  // namespace

OutputListPtr ListFreedKeys(const HiveImage& hive, const KeyTree& tree) {
  OutputListPtr list = MakeOutputList(kListFreedKeys);
  const FreedSource from(hive, tree);
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
