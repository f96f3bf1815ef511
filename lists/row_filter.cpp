#include "lists/row_filter.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "host/case.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kFilterStopInterval = 1024;
constexpr size_t kLongestShared = 24;  // bytes: texts from this length on are worth remembering

bool IsBlank(char character) { return character == ' ' || character == '\t'; }

// A piece in quotes, where a quote is; else up to a blank, or to a colon if that ends it.
std::string TakePiece(std::string_view& rest, bool colon_ends, bool& quoted) {
  std::string piece;
  quoted = !rest.empty() && rest.front() == '"';
  if (!quoted) {
    const auto end =
        std::ranges::find_if(rest, [&](char c) { return IsBlank(c) || (colon_ends && c == ':'); });
    const auto length = static_cast<size_t>(end - rest.begin());
    piece = rest.substr(0, length);
    rest.remove_prefix(length);
    return piece;
  }
  rest.remove_prefix(1);
  while (!rest.empty()) {
    const size_t end = std::min(rest.find('"'), rest.size());
    piece += rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (rest.empty() || rest.front() != '"') break;
    piece += '"';
    rest.remove_prefix(1);
  }
  return piece;
}

std::string WithoutBlanks(std::string_view text) {
  std::string dense(text);
  std::erase_if(dense, IsBlank);
  return dense;
}

// Titles with blanks are known without these too. -1: none.
int ColumnCalled(const OutputList& list, std::string_view name) {
  for (int column = 0; column < ColumnCount(list); ++column) {
    const std::string& title = ColumnTitle(list, column);
    if (EqualIgnoringCase(title, name) || EqualIgnoringCase(WithoutBlanks(title), name)) {
      return column;
    }
  }
  return -1;
}

// A term as it was typed, before its text is made into a pattern.
struct ReadTerm {
  std::string text;
  int column = -1;
  bool excluded = false;
};

std::string NoColumn(std::string_view name) {
  return Concat({"No column is called \"", name, "\"."});
}

// A single letter is the name of a drive, a number part of a time.
bool LooksLikeTitle(std::string_view name) {
  return name.size() > 1 && name.find_first_not_of("0123456789") != name.npos &&
         name.find_first_of("\\/.()[]{}*+?|^$") == name.npos;
}

// "-" before a term excludes. "TITLE:text" looks in that column alone; a title in quotes must be
// one, without them the whole is looked for as text, with a note where it looks like a title.
bool TakeTerm(const OutputList& list, std::string_view& rest, ReadTerm& term, RowFilter& filter,
              std::string& fault) {
  term.excluded = rest.size() > 1 && rest.front() == '-' && !IsBlank(rest[1]);
  if (term.excluded) rest.remove_prefix(1);
  const std::string_view whole = rest;
  bool quoted = false;
  const std::string name = TakePiece(rest, true, quoted);
  if (rest.empty() || rest.front() != ':') {
    term.text = name;
    return true;
  }
  term.column = ColumnCalled(list, name);
  if (term.column < 0 && quoted) {
    fault = NoColumn(name);
    return false;
  }
  bool value_quoted = false;
  if (term.column < 0) {
    rest = whole;
    term.text = TakePiece(rest, false, value_quoted);
    if (LooksLikeTitle(name)) filter.note = NoColumn(name) + " It is looked for as text.";
    return true;
  }
  rest.remove_prefix(1);
  term.text = TakePiece(rest, false, value_quoted);
  return true;
}

// Long texts that rows share are the same bytes in memory: one that was looked at for the row
// before is not looked at again.
bool HoldsOnce(FilterTerm& term, size_t column, std::string_view text,
               const std::atomic<bool>* stop) {
  if (text.size() < kLongestShared) return HoldsPattern(*term.pattern, text, stop);
  std::string_view& last = term.looked_at[column];
  if (text.data() != last.data() || text.size() != last.size()) {
    last = text;
    term.found[column] = HoldsPattern(*term.pattern, text, stop);
  }
  return term.found[column];
}

// In the term's column, or in any.
bool TermHolds(FilterTerm& term, std::span<const std::string_view> cells,
               const std::atomic<bool>* stop) {
  if (term.column >= 0) {
    const auto column = static_cast<size_t>(term.column);
    return HoldsOnce(term, column, cells[column], stop);
  }
  for (size_t column = 0; column < cells.size(); ++column) {
    if (HoldsOnce(term, column, cells[column], stop)) return true;
  }
  return false;
}

}  // namespace

bool MakeRowFilter(const OutputList& list, const FilterWords& words, RowFilter& filter,
                   std::string& fault) {
  filter = RowFilter();
  fault.clear();
  const auto columns = static_cast<size_t>(ColumnCount(list));
  for (std::string_view rest = words.text;;) {
    while (!rest.empty() && IsBlank(rest.front())) rest.remove_prefix(1);
    if (rest.empty()) return true;
    ReadTerm read;
    if (!TakeTerm(list, rest, read, filter, fault)) return false;
    // As "-" alone, or a title with nothing after it while the user still types.
    if (read.text.empty()) continue;
    FilterTerm term;
    term.pattern = MakeTextPattern(read.text, words.form, fault);
    if (term.pattern == nullptr) return false;
    term.column = read.column;
    term.excluded = read.excluded;
    term.looked_at.resize(columns);
    term.found.resize(columns);
    filter.terms.push_back(std::move(term));
  }
}

bool RowPasses(RowFilter& filter, const OutputList& list, uint32_t row,
               const std::atomic<bool>* stop) {
  std::array<std::string_view, kMaxOwnColumns> texts;
  const auto cells = std::span(texts).first(static_cast<size_t>(ColumnCount(list)));
  CellTexts(list, row, cells);
  return std::ranges::all_of(filter.terms, [&](FilterTerm& term) {
    return TermHolds(term, cells, stop) != term.excluded;
  });
}

std::vector<bool> PassingRows(RowFilter& filter, const OutputList& list, uint32_t from, uint32_t to,
                              const std::atomic<bool>& stop) {
  std::vector<bool> passing(to - from);
  for (uint32_t row = from; row < to; ++row) {
    if ((row - from) % kFilterStopInterval == 0 && stop.load(std::memory_order_relaxed)) return {};
    passing[row - from] = RowPasses(filter, list, row, &stop);
  }
  return stop.load(std::memory_order_relaxed) ? std::vector<bool>() : passing;
}

std::string FilterLine(const FilterWords& words) {
  if (words.text.find_first_not_of(" \t") == std::string::npos) return {};
  std::string line = "Filter: " + words.text;
  const struct {
    bool on;
    const char* words;
  } choices[] = {{words.form.match_case, "case"},
                 {words.form.whole_words, "whole words"},
                 {words.form.regular, "regular expressions"}};
  const char* before = " (";
  for (const auto& choice : choices) {
    if (!choice.on) continue;
    line += before;
    line += choice.words;
    before = ", ";
  }
  return before[0] == ',' ? line + ")" : line;
}

}  // namespace hivequarry
