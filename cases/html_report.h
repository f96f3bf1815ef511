// One HTML file of lists: whole in itself, light or dark as the reader's system is, to be read,
// filtered and printed anywhere. It loads nothing, and says so to the browser.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "lists/list_writers.h"
#include "lists/output_list.h"

namespace hivequarry {

// The lists of one kind, each of a file.
struct HtmlSection {
  std::string id;     // letters, digits and "-": of its place in the file
  std::string title;  // UTF-8, as all texts here
  std::string note;   // under the title
  // The file's name, which each row begins with (empty: rows have none), and its list.
  std::vector<std::pair<std::string, OutputListPtr>> lists;
  std::string whole;  // name of the file that has all rows
};

// Columns of a picture, by height.
struct HtmlBars {
  std::string title;
  std::vector<std::pair<std::string, uint64_t>> bars;  // words under a column, and its height
};

// Lists are shared with whoever made them and must not change while the report is written.
struct HtmlReport {
  std::string title;
  std::vector<std::string> lines;  // under it
  std::vector<HtmlBars> pictures;  // before the last section
  std::vector<HtmlSection> sections;
};

// A section of one list, whose rows have no file's name before them.
HtmlSection SectionOf(const char* id, const char* title, OutputListPtr list,
                      const std::string& whole = {});

// Times (FILETIME) by the year that each is in, UTC; those of years that no registry has seen
// apart.
struct YearCounts {
  std::map<int, uint64_t> years;  // by year, how many times
  uint64_t others = 0;            // of no such year
};
void CountYear(YearCounts& counts, uint64_t time);
// A bar for each year from the first to the last; the title ends with how many are in none of them.
HtmlBars BarsOf(const YearCounts& counts, std::string title);

// At most so many rows of a section; how many more there are is said.
inline constexpr uint32_t kMostHtmlRows = 3000;
// False when the sink refused or the user stopped. Columns without a text in any row are left out.
bool WriteHtmlReport(const HtmlReport& report, const TextSink& sink);

}  // namespace hivequarry
