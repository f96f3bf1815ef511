// An Output List as text, CSV and JSON Lines. Text has "\r\n" line ends; CSV is that of RFC 4180,
// with a header line. All are handed to a sink as UTF-8.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hive/image.h"
#include "lists/output_list.h"

namespace hivequarry {

// The lines of a list's head; none for one without.
std::vector<std::string> HeadLinesOf(const OutputList& list);

// Takes the next piece of output; false ends the writing.
using TextSink = std::function<bool(std::string_view)>;

// Which rows are written, and in which order.
struct WrittenRows {
  std::span<const uint32_t> rows = {};      // numbers of rows; looked at only when `listed`
  bool listed = false;                      // false: every row, as they were added
  bool selection = false;                   // a part of the list: no lines about the whole of it
  bool head = false;                        // its head all the same, where it is kept
  std::span<const std::string> lines = {};  // of the head, after the list's own
};
// All lines of the head of what is written.
std::vector<std::string> HeadLinesOf(const OutputList& list, const WrittenRows& which);
// How many rows that are, and the row at a place among them (below the count).
uint32_t WrittenCount(const OutputList& list, const WrittenRows& which);
inline uint32_t WrittenRow(const WrittenRows& which, uint32_t place) {
  return which.listed ? which.rows[place] : place;
}

// Nothing is written for a list without columns, or without rows to write. False when the sink
// refused or the user stopped. `written` (may be null) takes the number of rows handed to the sink
// by then.
bool WriteListText(const OutputList& list, const WrittenRows& which, const TextSink& sink,
                   uint32_t* written = nullptr);
inline bool WriteListText(const OutputList& list, const TextSink& sink) {
  return WriteListText(list, WrittenRows(), sink);
}
// Files of text and Report Lists are in the code page where all of their text fits it, as they ever
// were, and else in UTF-8 with a mark at the beginning.
enum class FileEncoding : uint8_t {
  kCodePage,
  kUtf8,        // with the mark
  kMarkedUtf8,  // added to a file that begins with one
};
inline constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
// Reads all texts that are to be written, up to the first that does not fit.
FileEncoding EncodingOf(const OutputList& list, const WrittenRows& which);
// Hands on what is written to it in that encoding; `sink` must live as long.
TextSink EncodedSink(FileEncoding encoding, const TextSink& sink);
// The compact form: the texts of the first column alone, without labels and line ends.
bool WriteFirstColumn(const OutputList& list, const WrittenRows& which, const TextSink& sink);
// The whole list for people to read: UTF-8 in which whatever a name or data could do to a terminal,
// and to lines, has escapes (host/visible_text.h).
bool WriteListVisible(const OutputList& list, const TextSink& sink);
// The whole list; its titles also when it is empty.
bool WriteListCsv(const OutputList& list, const TextSink& sink);
// Both off: the texts as they are, quoted where they must be.
struct CsvForm {
  bool safe = false;     // "'" before what a spreadsheet would take for a formula
  bool visible = false;  // with escapes, as WriteListVisible has them
};
bool WriteListCsvAs(const OutputList& list, const CsvForm& form, const TextSink& sink,
                    const WrittenRows& which = {});
// Tables for pasting and for reading: a line a row, its cells between tabs, the titles first; and a
// page of HTML, which begins with the list's head. What a cell holds beside text has escapes, as
// WriteListVisible has them. UTF-8, "\r\n" line ends; the titles also when there are no rows.
bool WriteListTabbed(const OutputList& list, const WrittenRows& which, const TextSink& sink);
// Fields of names and data are escaped for the page as well: no cell can bring a tag with it.
bool WriteListHtml(const OutputList& list, const WrittenRows& which, const TextSink& sink);
// One object a row: the column titles as keys, then "Offset", "LastWrite", "Path", "Name" and
// "Bytes" as far as the row has them.
bool WriteListJsonLines(const OutputList& list, const TextSink& sink);
// Numbers and flags are JSON's, all else is text.
bool WriteRowsJsonLines(const OutputList& list, const WrittenRows& which, const TextSink& sink);
// The same of a list whose rows speak of a hive's records: their positions are those in its file.
bool WriteHiveJsonLines(const OutputList& list, const HiveImage& hive, const TextSink& sink,
                        const WrittenRows& which = {});

// Lists that are made while they are written, of which no row is kept. `make` adds all rows to a
// list that is empty, and the same ones each time; it looks at TakesRows now and then. What is
// written is what the functions above write of the whole list.
using RowMaker = std::function<void(OutputList& list)>;
// Text says how many rows follow: they are made twice, the first time to be counted.
bool WriteMadeText(OutputList& list, const RowMaker& make, bool visible, const TextSink& sink);
bool WriteMadeCsv(OutputList& list, const RowMaker& make, const CsvForm& form,
                  const TextSink& sink);
// `hive` may be null.
bool WriteMadeJsonLines(OutputList& list, const RowMaker& make, const HiveImage* hive,
                        const TextSink& sink);

// A text as a JSON string, with its quotes. Bytes that are no text become U+FFFD.
std::string JsonString(std::string_view text);

}  // namespace hivequarry
