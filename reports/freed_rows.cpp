#include "reports/freed_rows.h"

#include <algorithm>

#include "hive/layers.h"
#include "host/text.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "words/layer_words.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Data, with the cell's size before them.
bool IsFreeAt(const FreedRecords& records, uint32_t data, uint32_t length) {
  return IsFreeSpace(records.space, data - 4, uint64_t{data} + length);
}

// The "db" cell, its list, and every segment.
bool AreSegmentsFree(const HiveImage& hive, const FreedRecords& records, const ValueKey& value,
                     uint32_t shift) {
  // After the cell's size: signature and number of segments, offset of their list, four bytes more.
  constexpr uint32_t kBigDataRecord = 12;
  if (!IsFreeAt(records, value.data_position, kBigDataRecord)) return false;
  // The offsets are as in the state in which the value was in use, `shift` more than here.
  const uint32_t list = ReadOffset(hive, value.data_position + 4) + 4 - shift;
  const uint32_t count = (value.data_length + kBigDataSegment - 1) / kBigDataSegment;
  bool free = IsFreeAt(records, list, 4 * count);
  for (uint32_t i = 0; i < count && free; ++i) {
    const uint32_t left = value.data_length - i * kBigDataSegment;
    const uint32_t segment = ReadOffset(hive, list + 4 * i) + 4 - shift;
    free = IsFreeAt(records, segment, std::min(left, kBigDataSegment));
  }
  return free;
}

bool IsDataFree(const HiveImage& hive, const FreedRecords& records, const ValueKey& value,
                uint32_t shift) {
  return value.big_data ? AreSegmentsFree(hive, records, value, shift)
                        : IsFreeAt(records, value.data_position, value.data_length);
}

// Name and type as they were before the value was freed. Data in a cell that is another record's by
// now are marked; of a value that was moved they are dropped, as its offset is worked out and
// proves nothing then.
FreedContent ReadContent(const HiveImage& hive, const FreedRecords& records,
                         const FreedValue& freed, DataBudget* budget) {
  FreedContent content;
  ValueKey& value = content.value;
  value = ReadFreedValue(hive, freed.position, freed.shift, budget, content.data);
  content.type = value.type;
  value.type = PlainType(value.type);
  const size_t characters =
      IsWideValueName(value.flags) ? freed.name_length / 2 : freed.name_length;
  value.name.resize(FirstUnits(value.name, characters).size());
  const bool read = value.status == ValueStatus::kRead || value.status == ValueStatus::kReadBefore;
  if (!read || value.inline_data) return content;
  content.in_use = !IsDataFree(hive, records, value, freed.shift);
  if (content.in_use && freed.shift != 0) {
    content.in_use = false;
    content.data.clear();
    value.status = ValueStatus::kDataOffset;
  }
  return content;
}

}  // namespace

FreedSource::FreedSource(const HiveImage& of, const KeyTree& with)
    : hive(of),
      tree(with),
      found(FindFreedRecords(of, with)),
      records(found),
      budget(MakeDataBudget(of)),
      paths(of, with, records) {}

FreedSource::FreedSource(const HiveImage& of, const KeyTree& with, const FreedRecords& known)
    : hive(of), tree(with), records(known), budget(MakeDataBudget(of)), paths(of, with, records) {}

FreedPathTexts FreedPathTextsOf(FreedSource& from, uint32_t key_position) {
  FreedPathTexts texts;
  texts.path = from.paths.PathOf(key_position);
  if (texts.path.find(kEscapeStart) == std::string::npos)
    return texts;  // no name is displayed otherwise
  texts.stored = StoredFreedPath(from.hive, from.tree, from.records, key_position);
  if (texts.stored == texts.path) texts.stored.clear();
  return texts;
}

FreedContent ReadFreedContent(FreedSource& from, const FreedValue& freed, FreedData which) {
  return ReadContent(from.hive, from.records, freed,
                     which == FreedData::kAll ? &from.budget : nullptr);
}

FreedContent ReadFreedContent(const HiveImage& hive, const FreedRecords& records,
                              const FreedValue& freed, FreedData which) {
  if (which == FreedData::kShown) return ReadContent(hive, records, freed, nullptr);
  DataBudget budget = MakeDataBudget(hive);
  return ReadContent(hive, records, freed, &budget);
}

std::string FreedTypeText(const HiveImage& hive, const FreedContent& content) {
  if (IsTombstone(hive, content.value)) return kTombstoneType;
  std::string text = TypeName(content.value.type);
  if (content.type != content.value.type) text += " (" + TypeName(content.type) + ")";
  return text;
}

ValueRow MakeFreedRow(const HiveImage& hive, const FreedContent& content) {
  ValueRow row = MakeValueRow(hive, content.value, content.data, ValueViewOptions());
  row.type = FreedTypeText(hive, content);
  return row;
}

std::string FreedPlaceText(const HiveImage& hive, const FreedRecords& records,
                           const FreedValue& freed, const FreedContent& content) {
  const std::string words = FreedPlaceWords(hive, records, freed);
  return content.in_use ? words + ", data in use" : words;
}

}  // namespace hivequarry
