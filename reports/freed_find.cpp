#include "reports/freed_find.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

class FreedSearch {
 public:
  FreedSearch(FreedSource& from, const SearchPattern& pattern, OutputList& list)
      : from_(from), pattern_(pattern), list_(list) {
    // The list's columns say what its rows need: "Details", where it is there, is right before
    // "Place".
    const int place = ColumnCount(list) - 1;
    details_ = place > 0 && ColumnTitle(list, place - 1) == kDetailsTitle;
    key_names_ = pattern.settings.key_names && !pattern.settings.dword;
    value_names_ = pattern.settings.value_names && !pattern.settings.dword;
  }

  // Limits are looked at before the name, which costs more.
  void VisitKey(const FreedKey& key) {
    const uint64_t last_write = LastWriteOfFreed(key.position);
    if (!key_names_ || !MayBeHit(limits_, last_write) || !KeyMatches(key)) return;
    RowFacts facts;
    facts.about_key = true;
    facts.last_write = last_write;
    const FreedPathTexts texts = FreedPathTextsOf(from_, key.position);
    facts.path = texts.stored;
    AddHit({texts.path, "", "", "", PlaceText(from_.hive, key.position)}, key.position, facts, 0,
           "", FreedPlaceWords(key));
  }

  // All data are read only when they are searched; `details` are the key's place ("rk"), and
  // lengths of name ("ln") and data ("ld") as stored.
  void VisitValue(const FreedValue& freed) {
    const bool data = pattern_.settings.value_data;
    const FreedContent content =
        ReadFreedContent(from_, freed, data ? FreedData::kAll : FreedData::kShown);
    const ValueKey& value = content.value;
    if (!MayBeHit(limits_, LastWriteOfFreed(freed.key), value.data_length)) return;
    if (!ValueMatches(content)) return;
    const ValueRow row = MakeFreedRow(from_.hive, content);
    const FreedPathTexts texts = FreedPathTextsOf(from_, freed.key);
    const std::string_view name = StoredNameFact(value);
    const std::string details = Concat(
        {Hex(freed.key == kNoOffset ? 0 : PlaceOf(from_.hive, freed.key)), "rk, ",
         Decimal(value.name_length), "ln, ", Decimal(static_cast<int>(value.data_length)), "ld"});
    RowFacts facts;
    facts.path = texts.stored;
    facts.name = name;
    const std::string key =
        freed.key == kNoOffset ? std::string() : PlaceText(from_.hive, freed.key);
    AddHit({texts.path, row.name, row.data, row.type, key}, freed.position, facts, row.icon,
           details, FreedPlaceText(from_.hive, from_.records, freed, content));
  }

 private:
  uint64_t LastWriteOfFreed(uint32_t key) const {
    return key == kNoOffset ? 0 : ReadU64(from_.hive, key + kKeyLastWrite);
  }

  bool KeyMatches(const FreedKey& key) const {
    if (MatchName(pattern_, StoredFreedKeyName(from_.hive, key))) return true;
    // The digits may be those of the name as it is stored, which the code page may have otherwise.
    return pattern_.settings.hex_mode &&
           FindExactly(pattern_, ReadRawKeyName(from_.hive, key.position));
  }

  // Data that were read too often in this walk are matched as far as a list shows them.
  bool ValueMatches(const FreedContent& content) const {
    const ValueKey& value = content.value;
    if (value.status == ValueStatus::kEmpty || value.status == ValueStatus::kNotAValue) {
      return false;
    }
    if (pattern_.everything) return true;
    if (value_names_ && !value.name.empty()) {
      if (MatchName(pattern_, value.name)) return true;
      const bool raw = pattern_.settings.hex_mode;
      if (raw && FindExactly(pattern_, ReadRawValueName(from_.hive, value))) return true;
    }
    return pattern_.settings.value_data &&
           (value.status == ValueStatus::kRead || value.status == ValueStatus::kReadBefore) &&
           MatchData(pattern_, value.type, content.data);
  }

  // The list's columns: texts, then with details the position in the file and these, the place
  // last.
  void AddHit(std::vector<std::string> texts, uint32_t position, const RowFacts& facts, int icon,
              std::string_view details, std::string place) {
    if (details_) {
      texts.push_back(PositionText(FilePositionOf(from_.hive, position)));
      texts.emplace_back(details);
    }
    texts.push_back(std::move(place));
    const std::vector<Cell> cells(texts.begin(), texts.end());
    AddListRow(list_, cells, position, facts, icon);
  }

  FreedSource& from_;
  const SearchPattern& pattern_;
  const SearchLimits& limits_ = pattern_.settings.limits;
  OutputList& list_;
  bool details_ = false, key_names_ = false, value_names_ = false;
};

}  // namespace

void AddPlaceColumn(OutputList& list) { AddColumns(list, {kPlaceTitle}); }

bool IsFreedRow(const OutputList& list, uint32_t row) {
  const int place = ColumnCount(list) - 1;
  return place >= 0 && ColumnTitle(list, place) == kPlaceTitle &&
         !CellText(list, row, place).empty();
}

bool IsFreedAmongOthers(const OutputList& list, uint32_t row) {
  const int kind = ListKindOf(list);
  if (kind == kListFreedKeys || kind == kListFreedValues) return false;
  if (IsFreedRow(list, row)) return true;
  for (int column = 0; column < ColumnCount(list); ++column) {
    if (ColumnTitle(list, column) == kStateTitle) return CellText(list, row, column) == "freed";
  }
  return false;
}

void SearchFreed(FreedSource& from, uint32_t item, const SearchPattern& pattern, OutputList& list) {
  FreedSearch search(from, pattern, list);
  for (const FreedKey& key : from.records.keys) {
    if (StopRequested()) return;
    if (IsFreedBelow(from.tree, from.records, key.position, item)) search.VisitKey(key);
  }
  const bool values = pattern.settings.value_names || pattern.settings.value_data;
  for (const FreedValue& value : from.records.values) {
    if (StopRequested() || !values) return;
    if (IsFreedBelow(from.tree, from.records, value.key, item)) search.VisitValue(value);
  }
}

void ListFreedDates(FreedSource& from, uint32_t item, const KeyDateRange& range, OutputList& list) {
  for (const FreedKey& key : from.records.keys) {
    if (StopRequested()) return;
    if (!IsFreedBelow(from.tree, from.records, key.position, item)) continue;
    RowFacts facts;
    facts.about_key = true;
    facts.last_write = ReadU64(from.hive, key.position + kKeyLastWrite);
    const KeyDateTime time = KeyDateTimeOf(facts.last_write);
    if (range.limited && !KeyDateInRange(time, range)) continue;
    const FreedPathTexts texts = FreedPathTextsOf(from, key.position);
    facts.path = texts.stored;
    AddListRow(list,
               {{FormatTimestamp(facts.last_write, false), DateValue(facts.last_write)},
                texts.path,
                PlaceText(from.hive, key.position),
                FreedPlaceWords(key)},
               key.position, facts);
  }
}

}  // namespace hivequarry
