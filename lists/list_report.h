// Report List files (".rpt"): an Output List kept on disk with its kind, title, columns, widths,
// texts and icons. A profile-style head (section "RPLfile") is followed by rows of numbered lines.
// Lines end in "\r\n"; the file is in the code page where all of its text fits that, else in UTF-8
// with a mark at the beginning. Not kept: what the rows speak of (their datum), and on
// loading the texts of columns 13 to 18.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "lists/list_writers.h"
#include "lists/output_list.h"

namespace hivequarry {

// A name longer than 4 characters that ends in ".rpt", in any mix of capital and small letters.
bool IsReportName(std::string_view file);

// What a file keeps of a list's window.
struct ReportLook {
  std::string title;        // of its window; empty for the main window's list pane
  std::vector<int> widths;  // of its columns, in pixels; 160 for those not given
  std::string written;      // when the file was made, 24 characters (ReportTime); empty: now
};
// A local time, seconds since 1970, as "Wed Nov  1 08:09:10 2023".
std::string ReportTime(int64_t local_seconds);
// The present local time in that form.
std::string ReportTimeNow();

// Writes the file's text. A list without columns is refused (false, nothing written); one without
// rows to write ends after the row marker. Line ends and zero characters inside a text become
// blanks, as the file has nothing to keep them with. False also when the sink refused or the user
// stopped.
bool WriteReport(const OutputList& list, const WrittenRows& which, const ReportLook& look,
                 const TextSink& sink);

// The head of a file.
struct ReportHead {
  int kind = 0;                      // number of a kind of lists
  std::string title;                 // as stored, may be empty
  std::vector<std::string> columns;  // header texts; empty: the file is no Report List
  std::vector<int> widths;           // of each column; below 60 or not stored: 160
  std::vector<std::string> lines;    // of the list's head; none in files of before it was kept
};
// kNoReport: the file's head names no columns; its rows can't be found.
enum class ReportRead { kDone, kNoReport, kCannotOpen };
// A list without rows that the head describes.
OutputListPtr MakeListOfHead(const ReportHead& head);
// Messages are the caller's business ("%s %s !" with "Could Not Open or Create File").
ReportRead ReadReportHead(const std::string& file, ReportHead& head);
// Adds the file's rows to `list`, which has the head's kind and columns, numbered rows off. A row
// that was saved with an empty first column comes back as one. Ends at the first damaged line and
// when the user stops; what was read by then stays.
// What the medium did not give was zeros, and is added to `unread`.
ReportRead ReadReportRows(const std::string& file, OutputList& list, UnreadBytes& unread);

// The same from bytes. A source puts the next bytes, at most `size`, to `room` and returns their
// number, 0 at the end.
using ByteSource = std::function<size_t(char* room, size_t size)>;
ReportRead ParseReportHead(std::string_view text, ReportHead& head);
ReportRead ReadReportRows(const ByteSource& source, OutputList& list);

}  // namespace hivequarry
