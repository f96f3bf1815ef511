// Texts to hold against what is expected: formatted ones, those of files, and those of list rows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "lists/output_list.h"

namespace hivequarry::testing {

using Texts = std::vector<std::string>;

template <typename... Parts>
std::string Formatted(const char* format, Parts... parts) {
  char text[256];
  std::snprintf(text, sizeof text, format, parts...);
  return text;
}

// The content of a file (its name UTF-8) that is on a disk; nothing when there is none.
template <typename Content = std::string>
Content ContentOf(const std::string& name) {
  std::ifstream file(std::filesystem::path(std::u8string(name.begin(), name.end())),
                     std::ios::binary | std::ios::ate);
  if (!file) return {};
  Content content(static_cast<size_t>(file.tellg()), {});
  file.seekg(0);
  file.read(reinterpret_cast<char*>(content.data()), static_cast<std::streamsize>(content.size()));
  return content;
}

// The first cells of a row, "|" after each.
inline std::string RowText(const OutputList& list, uint32_t row, int columns = kMaxColumns) {
  std::string text;
  for (int column = 0; column < std::min(columns, ColumnCount(list)); ++column) {
    text += std::string(CellText(list, row, column)) + "|";
  }
  return text;
}

inline Texts RowTexts(const OutputList& list, int columns = kMaxColumns) {
  Texts texts;
  for (uint32_t row = 0; row < RowCount(list); ++row) texts.push_back(RowText(list, row, columns));
  return texts;
}

}  // namespace hivequarry::testing
