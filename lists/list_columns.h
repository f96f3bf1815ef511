// Widths of an Output List's columns.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "lists/output_list.h"
#include "lists/rows_shown.h"

namespace hivequarry {

// What widths are made of, in pixels, measured once with the font of the lists.
struct WidthUnits {
  int text = 0;        // "ABCDEFGHIJ"
  int date = 0;        // "0000/00/00, 00:00:00"
  int type = 0;        // "REG_EXPAND_SZ"
  int scroll_bar = 0;  // of a vertical one
  int client = 0;      // of the list's inside
};

// One width a column, by what the column's title says it holds. One column takes what the others
// leave of the inside; where that is less than a text unit, all columns of long texts share alike.
// None is narrower than a third of the text unit. A list that does not begin with the columns of
// its kind gets 160 pixels a column.
std::vector<int> ColumnWidths(const OutputList& list, const WidthUnits& units);

// The texts that may be the widest of each column: the longest of the first rows shown and of some
// from all over the list, so that very many rows cost no more.
inline constexpr size_t kLongTexts = 4;
using LongTexts = std::array<std::string_view, kLongTexts>;
// Views into the list, one array for each of its columns; empty texts where there are fewer.
std::vector<LongTexts> LongTextsOf(const OutputList& list, const RowsShown& shown);
// Widths for columns whose titles and texts need so many pixels. Where these are more than the
// inside has, the widest are cut, those less that need more, but none to less than a text unit;
// where they are fewer, the last column takes the rest. Columns that are to be seen whole (`whole`;
// fewer than columns: the others are not) are not cut while there is room for the others.
std::vector<int> FittedWidths(std::span<const int> needed, const WidthUnits& units,
                              const std::vector<bool>& whole = {});

}  // namespace hivequarry
