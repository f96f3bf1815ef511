// Names in a Report List that its writer and its reader share.
#pragma once

#include <array>

#include "lists/output_list.h"

namespace hivequarry {

inline constexpr const char* kReportSection = "RPLfile";
inline constexpr const char* kReportRows = "[ROWS]";
inline constexpr int kReportRowEnd = 99;  // number of the line that ends a row

// The header texts of the columns. The last two have names of their own.
inline constexpr std::array<const char*, kMaxColumns> kReportHeaderKeys = {
    "H0", "H1",  "H2",  "H3",  "H4",  "H5",  "H6",  "H7",      "H8",
    "H9", "H10", "H11", "H12", "H13", "H14", "H15", "CKMDOWN", "MASKDOWN"};

inline constexpr int kReportOtherWidth = 160;  // pixels of a column without a usable width

}  // namespace hivequarry
