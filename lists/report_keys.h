// Names in a Report List that its writer and its reader share.
#pragma once

#include <string>

#include "lists/output_list.h"

namespace hivequarry {

inline constexpr const char* kReportSection = "RPLfile";  // of the entries before the rows
inline constexpr const char* kReportRows = "[ROWS]";      // the line after which rows begin
inline constexpr int kReportRowEnd = 99;                  // number of the line that ends a row

// The key of a column's header text. The last two columns of a list of results have names of their
// own; the console program's own lists may have more columns.
inline std::string ReportHeaderKey(int column) {
  if (column == 16) return "CKMDOWN";
  return column == 17 ? "MASKDOWN" : "H" + std::to_string(column);
}

// The keys of the lines of a list's head. Readers look for the rows' marker within 20,000 bytes.
inline constexpr size_t kMostHeadLines = 16;
inline constexpr size_t kLongestListHead = 500;  // characters of a line
// Lines are numbered from 0.
inline std::string ReportLineKey(size_t line) { return "S" + std::to_string(line); }

inline constexpr int kReportOtherWidth = 160;  // pixels of a column without a usable width

}  // namespace hivequarry
