#include "cases/html_report.h"

#include <algorithm>

#include "hive/timestamp.h"
#include "host/long_operation.h"
#include "host/markup_text.h"
#include "host/number_text.h"
#include "host/visible_text.h"

namespace hivequarry {
namespace {

// As dates are held to be such elsewhere (FormatTimestampChecked).
constexpr int kFirstYear = 1988;
constexpr int kLastYear = 2099;

// The page may load nothing from anywhere, and run this script alone.
constexpr const char* kHead =
    "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
    "style-src 'unsafe-inline'; script-src 'unsafe-inline'\">\n"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n";

constexpr const char* kStyle = R"(<style>
:root { color-scheme: light dark; --ink: #1c2024; --paper: #ffffff; --line: #d4d9de;
  --soft: #f2f4f6; --mark: #2f6fb0; --quiet: #5d6771; }
@media (prefers-color-scheme: dark) { :root { --ink: #e4e7ea; --paper: #16191c; --line: #3a4147;
  --soft: #21262a; --mark: #6aa9e8; --quiet: #a0a9b1; } }
body { margin: 0 auto; padding: 1.5rem; max-width: 110rem; background: var(--paper);
  color: var(--ink); font: 15px/1.45 system-ui, sans-serif; }
h1 { font-size: 1.6rem; margin: 0 0 .5rem; }
h2 { font-size: 1.15rem; margin: 2rem 0 .4rem; }
p, li { max-width: 60rem; }
nav ul { columns: 16rem; padding-left: 1.1rem; }
a { color: var(--mark); }
.note { color: var(--quiet); margin: .2rem 0; }
.wide { overflow-x: auto; border: 1px solid var(--line); border-radius: 4px; }
table { border-collapse: collapse; font-size: 13px; }
@media screen { table { width: max-content; } }
th, td { text-align: left; vertical-align: top; padding: .25rem .6rem;
  border-bottom: 1px solid var(--line); max-width: 34rem; overflow-wrap: break-word; }
th { position: sticky; top: 0; background: var(--soft); white-space: nowrap; }
tr:last-child td { border-bottom: 0; }
input { font: inherit; padding: .25rem .5rem; margin: .3rem 0; width: 20rem; max-width: 100%;
  color: inherit; background: var(--paper); border: 1px solid var(--line); border-radius: 4px; }
svg rect { fill: var(--mark); } svg text { fill: var(--quiet); font-size: 10px; }
[hidden] { display: none; }
@media print { .filter, nav { display: none; } th { position: static; }
  .wide { overflow: visible; border: 0; } body { padding: 0; font-size: 10px; }
  table { font-size: 8px; } tr { break-inside: avoid; } }
</style>
)";

// "report.html#q=word" opens with all lists filtered.
constexpr const char* kScript = R"(<script>
"use strict";
function filterRows(box) {
  const words = box.value.toLowerCase().split(/\s+/).filter(Boolean);
  const rows = document.getElementById(box.dataset.rows).rows;
  let shown = 0;
  for (const row of rows) {
    const text = row.textContent.toLowerCase();
    row.hidden = !words.every(word => text.includes(word));
    shown += row.hidden ? 0 : 1;
  }
  box.nextElementSibling.textContent = words.length ? shown + " of " + rows.length + " rows" : "";
}
const boxes = document.querySelectorAll("input[data-rows]");
for (const box of boxes) box.addEventListener("input", () => filterRows(box));
if (location.hash.startsWith("#q=")) {
  for (const box of boxes) {
    box.value = decodeURIComponent(location.hash.slice(3));
    filterRows(box);
  }
}
</script>
)";

// Whatever a name or data could do to the page has escapes.
std::string Escaped(std::string_view text) {
  std::string visible;
  AppendVisibleOnce(text, visible);
  std::string out;
  AppendMarkup(visible, out);
  return out;
}

uint64_t RowsOf(const HtmlSection& section) {
  uint64_t rows = 0;
  for (const auto& [file, list] : section.lists) rows += RowCount(*list);
  return rows;
}

// By their titles, in the order of the first list that has each; those of all rows empty are none.
// Linear in all cells in the worst case: a column is read up to its first filled cell.
std::vector<std::string> TitlesOf(const HtmlSection& section) {
  std::vector<std::string> titles;
  for (const auto& [file, list] : section.lists) {
    for (int column = 0; column < ColumnCount(*list); ++column) {
      const std::string& title = ColumnTitle(*list, column);
      if (std::ranges::find(titles, title) != titles.end()) continue;
      bool filled = false;
      for (uint32_t row = 0; row < RowCount(*list) && !filled; ++row) {
        filled = !CellText(*list, row, column).empty();
      }
      if (filled) titles.push_back(title);
    }
  }
  return titles;
}

int ColumnOf(const OutputList& list, const std::string& title) {
  for (int column = 0; column < ColumnCount(list); ++column) {
    if (ColumnTitle(list, column) == title) return column;
  }
  return -1;
}

// Hands on 256 KiB at a time. Once the sink has refused or the user has stopped, what is added is
// dropped.
class Page {
 public:
  explicit Page(const TextSink& sink) : sink_(sink) {}
  Page& operator<<(std::string_view text) {
    buffer_ += text;
    if (buffer_.size() > 256 * 1024) Flush();
    return *this;
  }
  bool Flush() {
    if (open_ && !buffer_.empty()) open_ = sink_(buffer_) && !StopRequested();
    buffer_.clear();
    return open_;
  }

 private:
  const TextSink& sink_;
  std::string buffer_;
  bool open_ = true;
};

// At most kMostHtmlRows of a section: a browser lays out a table as a whole.
void WriteRows(const HtmlSection& section, const std::vector<std::string>& titles, Page& page) {
  uint32_t left = kMostHtmlRows;
  for (const auto& [file, list] : section.lists) {
    std::vector<int> columns;
    columns.reserve(titles.size());
    for (const std::string& title : titles) columns.push_back(ColumnOf(*list, title));
    const std::string name = file.empty() ? std::string() : "<td>" + Escaped(file) + "</td>";
    for (uint32_t row = 0; row < RowCount(*list) && left != 0; ++row, --left) {
      page << "<tr>" << name;
      for (const int column : columns) {
        page << "<td>" << (column < 0 ? std::string() : Escaped(CellText(*list, row, column)))
             << "</td>";
      }
      page << "</tr>\n";
    }
  }
}

// The first kMostHtmlRows rows of all lists of the section; the note says how many there are and
// where the rest is. All texts are escaped, ids are the program's own.
void WriteSection(const HtmlSection& section, Page& page) {
  const uint64_t rows = RowsOf(section);
  page << "<section id=\"" << section.id << "\">\n<h2>" << Escaped(section.title) << "</h2>\n";
  if (!section.note.empty()) page << "<p class=\"note\">" << Escaped(section.note) << "</p>\n";
  if (rows == 0) {
    page << "<p class=\"note\">Nothing.</p>\n</section>\n";
    return;
  }
  const std::vector<std::string> titles = TitlesOf(section);
  const bool named = !section.lists.front().first.empty();
  const bool own = std::ranges::find(titles, "File") != titles.end();
  page << "<p class=\"note\">" << std::to_string(rows) << (rows == 1 ? " row" : " rows");
  if (rows > kMostHtmlRows) page << ", the first " << std::to_string(kMostHtmlRows) << " here";
  if (!section.whole.empty()) page << "; all in " << Escaped(section.whole);
  page << "</p>\n<label class=\"filter\">Filter: <input type=\"search\" data-rows=\"rows-"
       << section.id
       << "\"> <span class=\"note\"></span></label>\n<div class=\"wide\"><table>\n<thead><tr>"
       << (!named ? ""
           : own  ? "<th>Hive File</th>"
                  : "<th>File</th>");
  for (const std::string& title : titles) page << "<th>" << Escaped(title) << "</th>";
  page << "</tr></thead>\n<tbody id=\"rows-" << section.id << "\">\n";
  WriteRows(section, titles, page);
  page << "</tbody>\n</table></div>\n</section>\n";
}

// A bar's width goes with their number, 4 to 60 units; a label is left out where the one before it
// would touch it. A count that is not 0 has a bar of at least one unit.
void WriteBars(const HtmlBars& picture, Page& page) {
  constexpr uint64_t kHeight = 120;
  if (picture.bars.empty()) return;
  uint64_t most = 1;
  for (const auto& [label, count] : picture.bars) most = std::max(most, count);
  const uint64_t step = std::clamp<uint64_t>(1000 / picture.bars.size(), 4, 60);
  const std::string width = std::to_string(step * picture.bars.size() + 10);
  page << "<h2>" << Escaped(picture.title) << "</h2>\n<svg role=\"img\" viewBox=\"0 0 " << width
       << " 150\" width=\"" << width << "\" height=\"150\" style=\"max-width:100%\">\n<title>"
       << Escaped(picture.title) << "</title>\n";
  uint64_t x = 5;
  uint64_t free = 0;  // from where on the next label has room
  for (const auto& [label, count] : picture.bars) {
    const uint64_t height = count == 0 ? 0 : std::max<uint64_t>(1, count * kHeight / most);
    page << "<rect x=\"" << std::to_string(x) << "\" y=\"" << std::to_string(125 - height)
         << "\" width=\"" << std::to_string(step - 1) << "\" height=\"" << std::to_string(height)
         << "\"><title>" << Escaped(label) << ": " << std::to_string(count) << "</title></rect>\n";
    if (x >= free) {
      page << "<text x=\"" << std::to_string(x) << "\" y=\"140\">" << Escaped(label) << "</text>\n";
      free = x + 50;
    }
    x += step;
  }
  page << "</svg>\n";
}

}  // namespace

HtmlSection SectionOf(const char* id, const char* title, OutputListPtr list,
                      const std::string& whole) {
  HtmlSection section;
  section.id = id;
  section.title = title;
  section.whole = whole;
  section.lists.emplace_back(std::string(), std::move(list));
  return section;
}

void CountYear(YearCounts& counts, uint64_t time) {
  const int year = CalendarOfFileTime(time).year;
  ++(year >= kFirstYear && year <= kLastYear ? counts.years[year] : counts.others);
}

HtmlBars BarsOf(const YearCounts& counts, std::string title) {
  HtmlBars picture{std::move(title), {}};
  if (counts.others != 0) {
    picture.title +=
        Concat({"; ", std::to_string(counts.others), counts.others == 1 ? " is" : " are",
                " not between ", Decimal(kFirstYear), " and ", Decimal(kLastYear)});
  }
  if (counts.years.empty()) return picture;
  const int last = counts.years.rbegin()->first;
  for (int year = counts.years.begin()->first; year <= last; ++year) {
    const auto counted = counts.years.find(year);
    picture.bars.emplace_back(std::to_string(year),
                              counted == counts.years.end() ? 0 : counted->second);
  }
  return picture;
}

bool WriteHtmlReport(const HtmlReport& report, const TextSink& sink) {
  Page page(sink);
  page << kHead << "<title>" << Escaped(report.title) << "</title>\n"
       << kStyle << "</head>\n<body>\n<h1>" << Escaped(report.title) << "</h1>\n";
  for (const std::string& line : report.lines) page << "<p>" << Escaped(line) << "</p>\n";
  page << "<nav><ul>\n";
  for (const HtmlSection& section : report.sections) {
    page << "<li><a href=\"#" << section.id << "\">" << Escaped(section.title) << "</a> ("
         << std::to_string(RowsOf(section)) << ")</li>\n";
  }
  page << "</ul></nav>\n";
  for (const HtmlSection& section : report.sections) {
    const bool last = &section == &report.sections.back();
    for (size_t i = 0; last && i < report.pictures.size(); ++i) WriteBars(report.pictures[i], page);
    WriteSection(section, page);
  }
  page << kScript << "</body>\n</html>\n";
  return page.Flush();
}

}  // namespace hivequarry
