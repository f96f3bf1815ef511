#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "host/file_reading.h"
#include "host/files.h"
#include "host/long_operation.h"
#include "host/profile.h"
#include "host/shortfalls.h"
#include "host/text.h"
#include "lists/list_report.h"
#include "lists/list_sink.h"
#include "lists/report_keys.h"

namespace hivequarry {
namespace {

constexpr size_t kMostHead = 64 * 1024;  // bytes of a file in which its head is looked for
constexpr size_t kMostHeaderText = 63;   // characters
// Characters of the title, and of the other lines of the head. A width, in pixels, counts from the
// least on and is cut to the most.
constexpr size_t kMostTitle = 511;
constexpr size_t kMostWidths = 63;
constexpr int kLeastWidth = 60;
constexpr int kMostWidth = INT16_MAX;

constexpr size_t kPiece = 512;
constexpr uint64_t kMarkerWithin = 20'000;  // bytes from the start of the file

// What is kept of a row: the form of the lists of results sets bounds, that of the console
// program's own lists does not.
struct KeptOfRow {
  size_t text;  // characters; a longer one ends in "..."
  int columns;  // texts of the columns after them are read over
};
constexpr KeptOfRow kKeptOfResults = {519, 12};
constexpr KeptOfRow kKeptOfOwn = {0x10000, kMaxOwnColumns};
constexpr std::string_view kCut = "...";

KeptOfRow KeptOf(const OutputList& list) {
  return IsOwnKind(ListKindOf(list)) ? kKeptOfOwn : kKeptOfResults;
}

// The leading decimal number, 0 where there is none.
int NumberAt(std::string_view text) {
  const size_t start = std::min(text.find_first_not_of(' '), text.size());
  int number = 0;
  std::from_chars(text.data() + start, text.data() + text.size(), number);
  return number;
}

// `limit`: characters.
std::string HeadValue(std::string_view text, const char* key, const char* missing, size_t limit) {
  const std::string value = ProfileValue(text, kReportSection, key, missing, kMostUtf8 * limit);
  return std::string(FirstUnits(value, limit));
}

// The widths are from the last column to the first, a ';' before each.
std::vector<int> WidthsOf(std::string_view text, size_t columns) {
  std::vector<int> widths(columns, kReportOtherWidth);
  for (size_t column = 0; column < columns && !text.empty(); ++column) {
    const size_t mark = text.rfind(';');
    const bool first = mark == std::string_view::npos;
    const int width = NumberAt(text.substr(first ? 0 : mark + 1));
    if (width >= kLeastWidth) widths[column] = std::min(width, kMostWidth);
    text = text.substr(0, first ? 0 : mark);
  }
  return widths;
}

// --- lines ---------------------------------------------------------------------------------------

// The lines of a source, through a window of fixed size. Of a long line only the start is kept.
struct Lines {
  const ByteSource& source;
  size_t longest;  // characters of a line that are kept
  std::vector<char> buffer = std::vector<char>(longest + 3 * kPiece);
  size_t start = 0;  // of what was not handed out yet
  size_t end = 0;
  uint64_t taken = 0;           // bytes taken from the source
  uint64_t limit = UINT64_MAX;  // no more are taken than that
  bool at_end = false;
  bool utf8 = false;  // told by the mark at the beginning
};

void ReadPiece(Lines& lines) {
  // A line that fills the window is longer than any text; the rest of it is of no use.
  if (lines.end - lines.start > lines.buffer.size() - kPiece) {
    lines.end = lines.start + lines.longest;
  }
  std::memmove(lines.buffer.data(), lines.buffer.data() + lines.start, lines.end - lines.start);
  lines.end -= lines.start;
  lines.start = 0;
  const size_t size = std::min<uint64_t>(kPiece, lines.limit - lines.taken);
  const size_t count = size == 0 ? 0 : lines.source(lines.buffer.data() + lines.end, size);
  lines.at_end = count == 0;
  lines.end += count;
  lines.taken += count;
}

// The next line without its end, valid until the next call; false after the last one and when the
// user stops.
bool NextLine(Lines& lines, std::string_view& line) {
  size_t searched = 0;
  while (!StopRequested()) {
    const std::string_view rest(lines.buffer.data() + lines.start, lines.end - lines.start);
    const size_t found = rest.find('\n', std::min(searched, rest.size()));
    if (found != std::string_view::npos || lines.at_end) {
      line = rest.substr(0, found);
      lines.start += line.size() + (found != std::string_view::npos ? 1 : 0);
      if (line.ends_with('\r')) line.remove_suffix(1);
      return !rest.empty();
    }
    searched = std::min(rest.size(), lines.longest);
    ReadPiece(lines);
  }
  return false;
}

bool FindMarker(Lines& lines) {
  std::string_view line;
  // A file without the marker is read no further than the marker may be.
  lines.limit = kMarkerWithin + 2;  // with the line's end
  for (bool first = true; NextLine(lines, line); first = false) {
    if (first) lines.utf8 = line.starts_with(kUtf8Mark);
    if (line != kReportRows) continue;
    lines.limit = UINT64_MAX;
    lines.at_end = false;
    return true;
  }
  return false;
}

// --- rows ----------------------------------------------------------------------------------------

// The number that begins a row's line; 0 for a line that is damaged.
int LineNumber(std::string_view line, int columns) {
  const auto digit = [&](size_t at) { return line[at] >= '0' && line[at] <= '9'; };
  if (line.size() < 2 || !digit(0) || !digit(1)) return 0;
  const int number = (line[0] - '0') * 10 + (line[1] - '0');
  return number <= columns || number == kReportRowEnd ? number : 0;
}

// The row being put together.
struct PendingRow {
  KeptOfRow kept;
  std::array<std::string, kMaxOwnColumns> texts;
  int icon = 0;
  bool begun = false;
  bool ended = false;   // its last line was read
  bool failed = false;  // there was no memory for a row
  bool utf8 = false;    // the file's text
};

// The longest beginning of a line that is text: a line that was cut may end within a character.
std::string StrictText(std::string_view line) {
  for (size_t cut = 0; cut < 4 && cut <= line.size(); ++cut) {
    const std::string_view text = line.substr(0, line.size() - cut);
    if (IsText(text)) return std::string(text);
  }
  return StrictUtf8(line);
}

// Rows of a report have no datum: the hive that they speak of need not be open.
void AddTexts(const PendingRow& pending, OutputList& list) {
  std::array<Cell, kMaxOwnColumns> cells;
  std::copy(pending.texts.begin(), pending.texts.end(), cells.begin());
  NewRow row;
  row.cells = std::span(cells).first(static_cast<size_t>(pending.kept.columns));
  row.icon = pending.icon;
  row.has_datum = false;
  AddRow(list, row);
}

// A row without a first column counts when the file says that it ended, as one does that was saved
// without a text there.
void AddPending(PendingRow& pending, OutputList& list) {
  if (pending.begun && (pending.ended || !pending.texts[0].empty())) {
    const uint32_t before = RowCount(list);
    AddTexts(pending, list);
    pending.failed = RowCount(list) == before;
  } else if (pending.begun) {
    NoteShortfall(Shortfall::kRows);
  }
  for (std::string& text : pending.texts) text.clear();
  pending.icon = 0;
  pending.begun = pending.ended = false;
}

// `number` is that of the column, or kReportRowEnd. Column 1 begins a row even where the end of the
// one before is missing. Texts are cut to what lists of that kind keep, and end in kCut then.
void ParseRowLine(int number, std::string_view rest, PendingRow& pending, OutputList& list) {
  if (number == 1 || pending.ended) AddPending(pending, list);
  pending.begun = true;
  if (number == kReportRowEnd) {
    // Rows keep it in 16 bits.
    pending.icon = std::clamp<int>(NumberAt(rest), INT16_MIN, INT16_MAX);
    pending.ended = true;
  } else if (number <= pending.kept.columns) {
    const std::string whole = pending.utf8 ? StrictText(rest) : TextOfCodePage(rest);
    const std::string_view kept = FirstUnits(whole, pending.kept.text);
    std::string& text = pending.texts[static_cast<size_t>(number - 1)];
    text = kept;
    if (kept.size() < whole.size()) {
      text = FirstUnits(kept, pending.kept.text - kCut.size());
      text += kCut;
    }
  }
}

// Notes the rows that are not read because of a damaged line, from that line on: the one that it is
// in the middle of, and those that begin after it.
void NoteRowsLeft(Lines& lines, const PendingRow& pending, int columns) {
  uint64_t rows = pending.begun && !pending.ended ? 1 : 0;
  bool ended = rows == 0;
  std::string_view line;
  while (NextLine(lines, line)) {
    const int number = LineNumber(line, columns);
    if (number == 0) continue;
    if (number == 1 || ended) ++rows;
    ended = number == kReportRowEnd;
  }
  // Nothing but damage after the last row is a row of which nothing is left.
  NoteShortfall(Shortfall::kRows, std::max<uint64_t>(rows, 1));
}

FileStream OpenReport(const std::string& file) {
  int error = 0;
  return FileStream(OpenFile(file, "rb", error));
}

}  // namespace

ReportRead ParseReportHead(std::string_view bytes, ReportHead& head) {
  head = {};
  const bool utf8 = bytes.starts_with(kUtf8Mark);
  const std::string text =
      utf8 ? StrictUtf8(bytes.substr(kUtf8Mark.size())) : TextOfCodePage(bytes);
  const int count = NumberAt(HeadValue(text, "U2", "0", kMostWidths));
  if (count <= 0) return ReportRead::kNoReport;
  head.kind = NumberAt(HeadValue(text, "U4", "0", kMostWidths));
  const int columns = std::min(count, MostColumns(head.kind));
  head.widths = WidthsOf(HeadValue(text, "U3", "", kMostWidths), static_cast<size_t>(columns));
  head.title = HeadValue(text, "U6", "", kMostTitle);
  for (size_t line = 0; line < kMostHeadLines; ++line) {
    std::string words = HeadValue(text, ReportLineKey(line).c_str(), "", kLongestListHead);
    if (words.empty()) break;
    head.lines.push_back(std::move(words));
  }
  for (int column = 0; column < columns; ++column) {
    head.columns.push_back(HeadValue(text, ReportHeaderKey(column).c_str(), "", kMostHeaderText));
  }
  return ReportRead::kDone;
}

OutputListPtr MakeListOfHead(const ReportHead& head) {
  OutputListPtr list = MakeOutputList(head.kind);
  SetColumns(*list, head.columns);
  if (!head.title.empty()) SetListTitle(*list, head.title);
  if (head.lines.empty()) return list;
  const auto lines = std::make_shared<ListHead>();
  SetLines(*lines, head.lines);
  SetListHead(*list, lines);
  return list;
}

ReportRead ReadReportHead(const std::string& file, ReportHead& head) {
  head = {};
  const FileStream stream = OpenReport(file);
  if (stream == nullptr) return ReportRead::kCannotOpen;
  std::string text(kMostHead, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), stream.get()));
  return ParseReportHead(text, head);
}

ReportRead ReadReportRows(const ByteSource& source, OutputList& list) {
  const KeptOfRow kept = KeptOf(list);
  // The line's number, and a character more, to tell that the text goes on.
  Lines lines{source, 2 + kMostUtf8 * (kept.text + 1)};
  if (!FindMarker(lines)) return ReportRead::kNoReport;
  PendingRow pending{kept, {}};
  pending.utf8 = lines.utf8;
  const int columns = MostColumns(ListKindOf(list));
  std::string_view line;
  while (!pending.failed && NextLine(lines, line)) {
    const int number = LineNumber(line, columns);
    if (number == 0) {
      NoteRowsLeft(lines, pending, columns);
      break;
    }
    ParseRowLine(number, line.substr(2), pending, list);
  }
  // A stop may have come in the middle of a row.
  if (!pending.failed && !StopRequested()) AddPending(pending, list);
  return ReportRead::kDone;
}

ReportRead ReadReportRows(const std::string& file, OutputList& list, UnreadBytes& unread) {
  const FileStream stream = OpenReport(file);
  if (stream == nullptr) return ReportRead::kCannotOpen;
  uint64_t position = 0;
  const auto source = [&](char* room, size_t size) {
    const size_t got =
        ReadFileBytes(stream.get(), position, reinterpret_cast<uint8_t*>(room), size, &unread);
    position += got;
    return got;
  };
  return ReadReportRows(source, list);
}

}  // namespace hivequarry
