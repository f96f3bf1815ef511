
#include "hive/timestamp.h"
#include "host/case.h"
#include "host/host.h"
#include "host/number_text.h"
#include "host/profile.h"
#include "lists/list_report.h"
#include "lists/list_sink.h"
#include "lists/report_keys.h"

namespace hivequarry {
namespace {

constexpr uint64_t kSecondsPerDay = 86'400;

// Line ends and zeros become blanks: the form has no escapes.
void AppendLine(std::string_view text, std::string& out) {
  const size_t start = out.size();
  out += text;
  for (size_t i = start; i < out.size(); ++i) {
    if (out[i] == '\r' || out[i] == '\n' || out[i] == '\0') out[i] = ' ';
  }
}

void AppendKey(std::string_view key, std::string_view value, std::string& out) {
  out += "\r\n";
  out += key;
  out += '=';
  AppendLine(value, out);
}

// From the last column to the first.
std::string WidthsText(const std::vector<int>& widths, int columns) {
  std::string text;
  for (int column = columns - 1; column >= 0; --column) {
    const bool known = column < static_cast<int>(widths.size());
    text += ';';
    text += std::to_string(known ? widths[static_cast<size_t>(column)] : kReportOtherWidth);
  }
  return text;
}

// Readers that do not know these keys pass them over. Lines that would take the rows out of their
// sight are left out.
void WriteListHead(const std::vector<std::string>& lines, std::string& out) {
  // Readers look for the rows within the first 20,000 bytes (report_reader.cpp); what else is
  // before them takes the rest.
  constexpr size_t kRoom = 14'000;
  const size_t end = out.size() + kRoom;
  for (size_t i = 0; i < std::min(lines.size(), kMostHeadLines) && out.size() < end; ++i) {
    const std::string_view kept = FirstUnits(lines[i], kLongestListHead);
    AppendKey(ReportLineKey(i), ProfileText(kept), out);
  }
}

// U0 version of the form, U1 time, U2 columns, U3 widths, U4 kind, U5 rows, U6 title; then the
// lines of the head, and the columns' titles.
void WriteHead(const ListShape& shape, int columns, const WrittenRows& which,
               const ReportLook& look, std::string& out) {
  const OutputList& list = shape.list;
  out += '[';
  out += kProgramName;
  out += " Output List]\r\n\r\n\r\n[";
  out += kReportSection;
  out += "]\r\n";
  AppendKey("U0", "100", out);
  AppendKey("U1", look.written.empty() ? ReportTimeNow() : look.written, out);
  AppendKey("U2", std::to_string(columns), out);
  AppendKey("U3", WidthsText(look.widths, columns), out);
  AppendKey("U4", std::to_string(ListKindOf(list)), out);
  AppendKey("U5", std::to_string(shape.rows), out);
  AppendKey("U6", look.title, out);
  WriteListHead(HeadLinesOf(list, which), out);
  for (int column = 0; column < columns; ++column) {
    AppendKey(ReportHeaderKey(column), ColumnTitle(list, column), out);
  }
  out += "\r\n\r\n";
  out += kReportRows;
  out += "\r\n";
}

void AppendNumber(int number, std::string& out) { out += Decimal(number, 2); }

// A line for each cell that is not empty: its column from 1 on, and the text; the row's icon ends
// it.
void WriteRow(const ListShape& shape, int columns, uint32_t row, std::string& out) {
  for (int column = 0; column < columns; ++column) {
    const std::string_view text = CellText(shape.list, row, column);
    if (text.empty()) continue;
    AppendNumber(column + 1, out);
    AppendLine(text, out);
    out += "\r\n";
  }
  AppendNumber(kReportRowEnd, out);
  AppendNumber(RowIcon(shape.list, row), out);
  out += "\r\n";
}

}  // namespace

bool IsReportName(std::string_view file) {
  constexpr std::string_view kEnding = ".rpt";
  if (file.size() <= kEnding.size()) return false;
  return EqualPlainLetters(file.substr(file.size() - kEnding.size()), kEnding);
}

std::string ReportTime(int64_t local_seconds) {
  constexpr const char* kDays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
  constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const uint64_t time = FileTimeOfSeconds(static_cast<uint64_t>(local_seconds));
  const CalendarTime at = CalendarOfFileTime(time);
  // Days are counted from 1601-01-01, a Monday.
  const uint64_t day = time / kFileTimeSecond / kSecondsPerDay;
  return Concat({kDays[day % 7], " ", kMonths[at.month - 1], " ", Decimal(at.day, 2, ' '), " ",
                 Decimal(at.hour, 2), ":", Decimal(at.minute, 2), ":", Decimal(at.second, 2), " ",
                 Decimal(at.year, 4)});
}

std::string ReportTimeNow() {
  const uint64_t seconds = LocalFileTimeNow() / kFileTimeSecond;
  return ReportTime(static_cast<int64_t>(seconds - kFileTime1970 / kFileTimeSecond));
}

bool WriteReport(const OutputList& list, const WrittenRows& which, const ReportLook& look,
                 const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  const int columns = std::min(shape.columns, MostColumns(ListKindOf(list)));
  if (columns == 0) return false;
  // The title is no text of the list, so EncodingOf has not seen it.
  const bool plain_title = FitsCodePage(look.title);
  const FileEncoding encoding = plain_title ? EncodingOf(list, which) : FileEncoding::kUtf8;
  const TextSink encoded = EncodedSink(encoding, sink);
  ListOutput out{encoded, {}};
  WriteHead(shape, columns, which, look, out.buffer);
  return WriteInPieces(out, WrittenCount(list, which), [&](uint32_t place) {
    WriteRow(shape, columns, WrittenRow(which, place), out.buffer);
  });
}

}  // namespace hivequarry
