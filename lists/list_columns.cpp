#include "lists/list_columns.h"

#include <algorithm>
#include <numeric>

namespace hivequarry {
namespace {

constexpr int kOtherWidth = 160;  // pixels of a column that no kind knows

int FixedWidth(const KindColumn& column, const WidthUnits& units) {
  if (column.unit == WidthUnit::kDate) return units.date;
  return column.unit == WidthUnit::kType ? units.type : column.thirds * units.text / 3;
}

// Further columns may be after those of the kind.
bool HasOwnColumns(const OutputList& list) {
  const auto own = std::ssize(FindListKind(ListKindOf(list)).columns);
  if (own == 0 || own > ColumnCount(list)) return false;
  for (int column = 0; column < own; ++column) {
    if (ColumnRecord(list, column) == nullptr) return false;
  }
  return true;
}

// By column: its width in pixels, and its rank as KindColumn has it.
struct Columns {
  std::vector<int> widths;
  std::vector<int> ranks;
};

// What the other columns leave for one of them.
int RoomFor(const Columns& all, size_t column, const WidthUnits& units) {
  const int taken = std::accumulate(all.widths.begin(), all.widths.end(), 0);
  return units.client - units.scroll_bar - (taken - all.widths[column]);
}

// Gives all columns of long texts, which are those with a rank, an equal share of what the columns
// without one leave.
void NarrowTexts(Columns& all, const WidthUnits& units) {
  int room = units.client - units.scroll_bar;
  int texts = 0;
  for (size_t column = 0; column < all.widths.size(); ++column) {
    if (all.ranks[column] == 0) room -= all.widths[column];
    if (all.ranks[column] > 0) ++texts;
  }
  for (size_t column = 0; column < all.widths.size(); ++column) {
    if (all.ranks[column] > 0) all.widths[column] = std::max(room / texts, units.text / 3);
  }
}

}  // namespace

std::vector<int> ColumnWidths(const OutputList& list, const WidthUnits& units) {
  const auto columns = static_cast<size_t>(ColumnCount(list));
  if (columns == 0 || !HasOwnColumns(list)) return std::vector<int>(columns, kOtherWidth);
  Columns all;
  for (int column = 0; column < ColumnCount(list); ++column) {
    const KindColumn* known = ColumnRecord(list, column);
    const KindColumn& record = known != nullptr ? *known : FurtherColumn({});
    all.widths.push_back(std::max(FixedWidth(record, units), units.text / 3));
    all.ranks.push_back(record.rank);
  }
  const auto highest = std::max_element(all.ranks.begin(), all.ranks.end());
  const auto rest = static_cast<size_t>(highest - all.ranks.begin());
  if (RoomFor(all, rest, units) < units.text) NarrowTexts(all, units);
  all.widths[rest] = std::max(RoomFor(all, rest, units), units.text / 3);
  return all.widths;
}

std::vector<LongTexts> LongTextsOf(const OutputList& list, const RowsShown& shown) {
  // All of the first rows, which are in view, and a sample of the others: lists may have millions.
  constexpr uint32_t kFirstRows = 100;
  constexpr uint32_t kOtherRows = 200;
  const uint32_t count = ShownCount(shown, RowCount(list));
  std::vector<LongTexts> longest(static_cast<size_t>(ColumnCount(list)));
  std::vector<std::string_view> cells(longest.size());
  const uint32_t step = std::max(count / kOtherRows, 1U);
  for (uint32_t place = 0; place < count; place += place < kFirstRows ? 1 : step) {
    CellTexts(list, RowAt(shown, place), cells);
    for (size_t column = 0; column < cells.size(); ++column) {
      auto shortest = std::ranges::min_element(longest[column], {}, &std::string_view::size);
      if (cells[column].size() > shortest->size()) *shortest = cells[column];
    }
  }
  return longest;
}

std::vector<int> FittedWidths(std::span<const int> needed, const WidthUnits& units) {
  std::vector<int> widths(needed.begin(), needed.end());
  if (widths.empty()) return widths;
  for (int& width : widths) width = std::max(width, units.text / 3);
  // What is left is shared by the columns not yet seen, narrow ones first: these need less than
  // their share, and leave more to the others.
  std::vector<int> ascending = widths;
  std::ranges::sort(ascending);
  int room = units.client - units.scroll_bar;
  int most = 0;
  for (size_t i = 0; i < ascending.size(); ++i) {
    most = std::max(room / static_cast<int>(ascending.size() - i), units.text);
    if (ascending[i] > most) break;
    room -= ascending[i];
  }
  if (most < ascending.back()) {
    for (int& width : widths) width = std::min(width, most);
  }
  const int taken = std::accumulate(widths.begin(), widths.end(), 0);
  widths.back() += std::max(units.client - units.scroll_bar - taken, 0);
  return widths;
}

}  // namespace hivequarry
