// The rows of the value pane: those of one tree item, by their place in the pane. Texts are made
// when they are asked for. Rows count from 0; -1 is no row.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "view/freed_tree.h"
#include "words/item_values.h"

namespace hivequarry {

// The rows of the value pane and what they were made of.
struct ValueRows {
  const HiveImage* hive = nullptr;  // of the values; outlives the rows
  ItemValues values;
  ValueViewOptions options;  // those that the values were gathered with
  // Some of the values may be deleted ones; null: none is.
  std::shared_ptr<const FreedTree> freed = nullptr;
};

// Info rows come first, then the values in the order in which they were gathered.
int RowCount(const ValueRows& rows);
// The image position of a row's value; kNoOffset for an info row or no row.
uint32_t ValueOfRow(const ValueRows& rows, int row);
// The row of the value at an image position, -1 when there is none.
int RowOfValue(const ValueRows& rows, uint32_t position);
// True for the row of a deleted value.
bool IsDeletedRow(const ValueRows& rows, int row);
// A row's texts; `row` is one of those that RowCount counts.
ValueRow RowAt(const ValueRows& rows, int row);
// The name alone; no data is read.
std::string NameOfRow(const ValueRows& rows, int row);

}  // namespace hivequarry
