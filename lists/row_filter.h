// What rows of an Output List are chosen by: words that the user types.
//
// All terms are needed. A term is a text that any column holds, or "title:text" for one column; "-"
// before it wants rows without it. What has blanks in it, or should be taken as it is, is in quotes
// (a quote inside is doubled): "Key Date":2023 -"program files". A term without a text says
// nothing.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lists/output_list.h"
#include "lists/text_pattern.h"

namespace hivequarry {

// As the user typed them; kept to be shown in the head of what is written.
struct FilterWords {
  std::string text;
  PatternForm form;  // of all terms
};

// One condition of a filter; a row must meet all of them.
struct FilterTerm {
  TextPatternPtr pattern;
  int column = -1;        // -1: any
  bool excluded = false;  // rows that hold it are left out
  // The text that each column had last, and whether it holds the pattern: rows share long texts.
  std::vector<std::string_view> looked_at;
  std::vector<bool> found;  // by column, of `looked_at`
};

// Remembers what it has looked at: one thread at a time, and one list.
struct RowFilter {
  std::vector<FilterTerm> terms;  // none: every row passes
  std::string note;               // what the user should know of how the words were taken
};

// False with `fault`, a sentence for the user, for words that mean nothing.
bool MakeRowFilter(const OutputList& list, const FilterWords& words, RowFilter& filter,
                   std::string& fault);
// Which rows from `from` on, and before `to`, pass; none once `stop` was set. The list keeps its
// texts meanwhile.
std::vector<bool> PassingRows(RowFilter& filter, const OutputList& list, uint32_t from, uint32_t to,
                              const std::atomic<bool>& stop);
// False, too, once `stop` was set.
bool RowPasses(RowFilter& filter, const OutputList& list, uint32_t row,
               const std::atomic<bool>* stop = nullptr);
// The words with what they were taken for, for the head of a list; empty where there are none.
std::string FilterLine(const FilterWords& words);

}  // namespace hivequarry
