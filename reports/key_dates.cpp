#include "reports/key_dates.h"

#include <tuple>

#include "hive/keys.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "records/base_block.h"
#include "words/layer_words.h"

namespace hivequarry {
namespace {

auto FieldsOf(const KeyDateTime& time) {
  return std::tie(time.year, time.month, time.day, time.hour, time.minute, time.second);
}

CalendarTime CalendarOf(const KeyDateTime& time) {
  CalendarTime calendar;
  calendar.year = time.year;
  calendar.month = time.month;
  calendar.day = time.day;
  calendar.hour = time.hour;
  calendar.minute = time.minute;
  calendar.second = time.second;
  return calendar;
}

// A number of at most `digits` digits that `text` begins with; `text` moves after it.
bool ParseNumber(std::string_view& text, size_t digits, int& number) {
  size_t used = 0;
  for (number = 0; used < digits && used < text.size(); ++used) {
    if (text[used] < '0' || text[used] > '9') break;
    number = 10 * number + (text[used] - '0');
  }
  text.remove_prefix(used);
  return used != 0;
}

bool SkipOneOf(std::string_view& text, std::string_view characters) {
  if (text.empty() || characters.find(text.front()) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

bool ParseDate(std::string_view& text, KeyDateTime& time) {
  return ParseNumber(text, 5, time.year) && SkipOneOf(text, "/-") &&
         ParseNumber(text, 2, time.month) && SkipOneOf(text, "/-") &&
         ParseNumber(text, 2, time.day);
}

// What is after the date: nothing, or a time of which the seconds may be left out.
bool ParseTime(std::string_view& text, KeyDateTime& time) {
  if (text.empty()) return true;
  const bool comma = SkipOneOf(text, ",");
  const bool apart = SkipOneOf(text, comma ? " " : " T");
  const bool minutes = apart && ParseNumber(text, 2, time.hour) && SkipOneOf(text, ":") &&
                       ParseNumber(text, 2, time.minute);
  if (!minutes || text.empty()) return minutes;
  return SkipOneOf(text, ":") && ParseNumber(text, 2, time.second);
}

// A date of the calendar is the same after a conversion and back.
bool IsDate(const KeyDateTime& time) {
  // FILETIME begins in 1601; 30827 is the last year of the system's own calendar structure.
  const bool fields = time.year >= 1601 && time.year <= 30827 && time.month >= 1 &&
                      time.month <= 12 && time.day >= 1 && time.day <= 31;
  return fields && KeyDateTimeOf(FileTimeOf(time)) == time;
}

// A key that was made has a row without date.
void AddDateRow(const HiveImage& hive, const KeyTree& tree, uint32_t item, PathWalker& paths,
                OutputList& list) {
  const bool has_cell = HasKeyCell(tree, item);
  RowFacts facts;
  facts.about_key = facts.of_record = has_cell;
  facts.last_write = LastWriteOf(hive, tree, item);
  const std::string& path = paths.PathOf(item);
  facts.path = paths.StoredPathOf(item);
  const uint32_t position = tree.items[item].position;
  const std::string date = has_cell ? FormatTimestamp(facts.last_write, false) : "";
  const std::string offset = PlaceText(hive, position);
  const std::string layer = LayerCell(hive, position);
  AddListRow(list, {{date, DateValue(facts.last_write)}, path, offset, layer}, position, facts);
}

// A key without a cell of its own has neither date nor access bits, and is wanted only where
// neither is asked for.
bool IsWanted(const HiveImage& hive, const KeyTree& tree, uint32_t item,
              const KeyDateRange& range) {
  if (range.access >= 0) {
    const bool has_cell = HasKeyCell(tree, item);
    const int bits = has_cell ? ReadU8(hive, tree.items[item].position + kKeyAccessBits) & 3 : -1;
    if (bits != range.access) return false;
  }
  if (!range.limited) return true;
  return HasKeyCell(tree, item) &&
         KeyDateInRange(KeyDateTimeOf(LastWriteOf(hive, tree, item)), range);
}

}  // namespace

KeyDateTime KeyDateTimeOf(uint64_t file_time) {
  const CalendarTime calendar = CalendarOfFileTime(file_time);
  return {calendar.year, calendar.month,  calendar.day,
          calendar.hour, calendar.minute, calendar.second};
}

uint64_t FileTimeOf(const KeyDateTime& time) { return FileTimeOfCalendar(CalendarOf(time)); }

std::string KeyDateText(const KeyDateTime& time) { return FormatCalendar(CalendarOf(time)); }

bool ReadKeyDate(std::string_view text, KeyDateTime& time) {
  KeyDateTime read;
  if (!ParseDate(text, read) || !ParseTime(text, read) || !text.empty() || !IsDate(read)) {
    return false;
  }
  time = read;
  return true;
}

bool KeyDateInRange(const KeyDateTime& time, const KeyDateRange& range) {
  const auto at = FieldsOf(time);
  return FieldsOf(range.start) <= at && at <= FieldsOf(range.end);
}

void ListKeyDates(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                  const KeyDateRange& range, OutputList& list) {
  PathWalker paths(hive, tree);
  uint32_t keys = 0;
  for (uint32_t at = item; at < tree.items[item].end && !StopRequested(); ++at) {
    if (!IsKeyItem(tree, at)) continue;
    if (++keys % kKeysPerStatus == 0) ShowWalk(paths.PathOf(at), keys, RowCount(list));
    if (IsWanted(hive, tree, at, range)) AddDateRow(hive, tree, at, paths, list);
  }
  ShowStatus(Concat({"Done.  ", Decimal(RowCount(list))}).c_str());
}

uint64_t LastActivity(const HiveImage& hive, const KeyTree& tree) {
  const auto is_date = [](uint64_t time) { return !FormatTimestampChecked(time).empty(); };
  const uint64_t stored = hive.header_valid ? ReadBaseBlock(ImageBytes(hive)).last_write : 0;
  if (is_date(stored)) return stored;
  uint64_t newest = 0;
  for (uint32_t item = 0; item < tree.items.size(); ++item) {
    const uint64_t time = LastWriteOf(hive, tree, item);
    if (time > newest && is_date(time)) newest = time;
  }
  return newest;
}

}  // namespace hivequarry
