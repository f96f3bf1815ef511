#include "view/value_rows.h"

#include <algorithm>

#include "hive/values.h"
#include "view/freed_words.h"
#include "words/value_text.h"

namespace hivequarry {

int RowCount(const ValueRows& rows) {
  return static_cast<int>(rows.values.info_rows.size() + rows.values.value_positions.size());
}

uint32_t ValueOfRow(const ValueRows& rows, int row) {
  const auto info_rows = static_cast<int>(rows.values.info_rows.size());
  if (row < info_rows || row >= RowCount(rows)) return kNoOffset;
  return rows.values.value_positions[static_cast<size_t>(row - info_rows)];
}

int RowOfValue(const ValueRows& rows, uint32_t position) {
  const std::vector<uint32_t>& values = rows.values.value_positions;
  const auto found = std::find(values.begin(), values.end(), position);
  if (found == values.end()) return -1;
  return static_cast<int>(rows.values.info_rows.size() +
                          static_cast<size_t>(found - values.begin()));
}

bool IsDeletedRow(const ValueRows& rows, int row) {
  const uint32_t position = ValueOfRow(rows, row);
  return rows.freed != nullptr && position != kNoOffset &&
         FreedValueAt(rows.freed->records, position) != nullptr;
}

ValueRow RowAt(const ValueRows& rows, int row) {
  const auto index = static_cast<size_t>(row);
  const size_t info_rows = rows.values.info_rows.size();
  if (index < info_rows) return rows.values.info_rows[index];
  if (IsDeletedRow(rows, row)) {
    return FreedRowAt(*rows.hive, *rows.freed, ValueOfRow(rows, row));
  }
  return MakeValueRow(*rows.hive, rows.values.value_positions[index - info_rows], rows.options);
}

std::string NameOfRow(const ValueRows& rows, int row) {
  const uint32_t position = ValueOfRow(rows, row);
  if (position == kNoOffset || IsDeletedRow(rows, row)) return RowAt(rows, row).name;
  return ValueDisplayName(ReadValueKey(*rows.hive, position, ValueRead::kName, 0, nullptr));
}

}  // namespace hivequarry
