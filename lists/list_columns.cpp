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

namespace {

// Columns that need more than `most`, their share alike: a half of that is theirs in any case, the
// other halves go by what each needs, so that paths are cut less than names.
void CutWidths(std::vector<int*>& widths, int most, int least) {
  std::erase_if(widths, [most](const int* width) { return *width <= most; });
  int64_t needed = 0;
  for (const int* width : widths) needed += *width;
  const int base = std::max(most / 2, least);
  const int64_t spare = int64_t{most - base} * std::ssize(widths);
  for (int* width : widths) *width = base + static_cast<int>(spare * *width / needed);
}

// The widths that may be cut, narrow ones first: those of texts, where these have a text unit each
// beside the others; else all.
std::vector<int*> WidthsToCut(std::vector<int>& widths, const std::vector<bool>& whole, int room,
                              int least) {
  std::vector<int*> texts;
  std::vector<int*> all;
  for (size_t i = 0; i < widths.size(); ++i) {
    all.push_back(&widths[i]);
    if (i < whole.size() && whole[i]) {
      room -= widths[i];
    } else {
      texts.push_back(&widths[i]);
    }
  }
  const bool room_for_texts = !texts.empty() && room >= least * static_cast<int>(texts.size());
  std::vector<int*> chosen = room_for_texts ? texts : all;
  std::ranges::sort(chosen, {}, [](const int* width) { return *width; });
  return chosen;
}

}  // namespace

std::vector<int> FittedWidths(std::span<const int> needed, const WidthUnits& units,
                              const std::vector<bool>& whole) {
  std::vector<int> widths(needed.begin(), needed.end());
  if (widths.empty()) return widths;
  for (int& width : widths) width = std::max(width, units.text / 3);
  const int inside = units.client - units.scroll_bar;
  std::vector<int*> cut = WidthsToCut(widths, whole, inside, units.text);
  int room = inside - std::accumulate(widths.begin(), widths.end(), 0);
  for (const int* width : cut) room += *width;
  // What is left is shared by the columns not yet seen, narrow ones first: these need less than
  // their share, and leave more to the others.
  int most = 0;
  for (size_t i = 0; i < cut.size(); ++i) {
    most = std::max(room / static_cast<int>(cut.size() - i), units.text);
    if (*cut[i] > most) break;
    room -= *cut[i];
  }
  if (most < *cut.back()) CutWidths(cut, most, units.text);
  const int taken = std::accumulate(widths.begin(), widths.end(), 0);
  // Nothing is left empty at the right of the last column.
  widths.back() += std::max(inside - taken, 0);
  return widths;
}

}  // namespace hivequarry
