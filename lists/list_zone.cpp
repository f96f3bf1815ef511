#include "lists/list_zone.h"

#include <algorithm>
#include <vector>

#include "hive/timestamp.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kRowsPerLook = 256;  // whether to stop

// Times of the machine whose zone nothing says are called so.
constexpr std::string_view kLocal = "(local)";

bool IsDateColumn(const OutputList& list, int column) {
  const KindColumn* record = ColumnRecord(list, column);
  return record != nullptr && record->holds == CellHolds::kDate &&
         !ColumnTitle(list, column).ends_with(kLocal);
}

std::vector<int> DateColumns(const OutputList& list) {
  std::vector<int> columns;
  for (int column = 0; column < ColumnCount(list); ++column) {
    if (IsDateColumn(list, column)) columns.push_back(column);
  }
  return columns;
}

// Of a timeline such times are among others: the event is called so.
bool IsLocalRow(const OutputList& list, uint32_t row) {
  constexpr int kEvent = 1;
  return ListKindOf(list) == kListTimeline && CellText(list, row, kEvent).ends_with(kLocal);
}

// ".1234567" at the end of a text; empty where there is none.
std::string_view FractionAtEnd(std::string_view text) {
  constexpr size_t kLength = 8;
  if (text.size() < kLength || text[text.size() - kLength] != '.') return {};
  const std::string_view fraction = text.substr(text.size() - kLength);
  const bool digits = fraction.find_first_not_of("0123456789", 1) == fraction.npos;
  return digits ? fraction : std::string_view();
}

// "00001, 2008/05/17, 13:02:09.1234567 +02:00": what is before the date, the date as the zone has
// it, its fraction, the zone. Empty where the text is not of that form.
std::string TextInZone(std::string_view text, uint64_t seconds, const ShownZone& from,
                       const ShownZone& to) {
  const uint64_t time = seconds * kFileTimeSecond;
  const std::string zone = ZoneSuffix(from, time);
  if (!text.ends_with(zone)) return {};
  text.remove_suffix(zone.size());
  const std::string_view fraction = FractionAtEnd(text);
  text.remove_suffix(fraction.size());
  const std::string date = FormatCalendarIn(from, time);
  if (!text.ends_with(date)) return {};
  text.remove_suffix(date.size());
  return Concat({text, FormatCalendarIn(to, time), fraction, ZoneSuffix(to, time)});
}

}  // namespace

bool HasDates(const OutputList& list) {
  const std::vector<int> columns = DateColumns(list);
  for (uint32_t row = 0; row < RowCount(list) && !columns.empty(); ++row) {
    const auto valued = [&](int column) { return CellValue(list, row, column) != kNoValue; };
    if (std::ranges::any_of(columns, valued)) return true;
  }
  return false;
}

OutputListPtr CopyInZone(const OutputList& list, const ShownZone& from, const ShownZone& to,
                         const std::function<bool()>& stop) {
  const std::vector<int> columns = DateColumns(list);
  OutputListPtr copy = MakeListLike(list);
  std::vector<OtherText> texts;
  const uint32_t rows = RowCount(list);
  for (uint32_t row = 0; row < rows; ++row) {
    if (row % kRowsPerLook == 0 && stop()) return nullptr;
    texts.clear();
    for (const int column : columns) {
      const uint64_t seconds = CellValue(list, row, column);
      if (seconds == kNoValue || IsLocalRow(list, row)) continue;
      std::string text = TextInZone(CellText(list, row, column), seconds, from, to);
      if (!text.empty()) texts.push_back({column, std::move(text)});
    }
    AddRowOf(*copy, list, row, texts);
  }
  // Fewer rows: memory gave out.
  return RowCount(*copy) == rows ? std::move(copy) : nullptr;
}

}  // namespace hivequarry
