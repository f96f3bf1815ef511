// What the special reports are made with: the walk over their keys, the texts of their cells, and
// their rows. RunReport (structure_reports.h) is what callers use.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "lists/list_rows.h"
#include "reports/key_source.h"

namespace hivequarry {

// Characters of a display name or file of a service, as of every other text from a value's data.
inline constexpr size_t kDataCellLimit = 519;

// A report under way: made by RunReport, gone when that returns.
struct ReportRun {
  KeySource& keys;       // the caller's, at the starting key
  OutputList& list;      // the caller's; rows are added to those it has
  bool live = false;     // on the live registry: the list has that kind's columns
  uint32_t visited = 0;  // keys
  uint32_t kept = 0;     // rows not yet in the list
};

// The next key of the walk, parents first; shows how far it is. False at the end, or when the user
// stops.
bool NextKey(ReportRun& run, SourceKey& key);

// What a row speaks of.
struct RowSubject {
  uint32_t position = kNoOffset;  // image position; none in the live registry
  bool about_key = false;         // else about a value
  uint64_t last_write = 0;        // FILETIME, UTC; 0 when unknown
  std::string path;               // lossless, as RowFacts has it
  std::string name;
};
// The key itself, or a value of it. The texts are copies: the walk may go on.
RowSubject SubjectOf(const SourceKey& key);
RowSubject SubjectOf(const SourceKey& key, const SourceValue& value);
// Cells in the order of the kind's columns; those that are missing are empty.
void AddReportRow(OutputList& list, std::span<const Cell> cells, const RowSubject& subject);
inline void AddReportRow(OutputList& list, std::initializer_list<Cell> cells,
                         const RowSubject& subject) {
  AddReportRow(list, std::span(cells.begin(), cells.size()), subject);
}

// --- cells -----------------------------------------------------------------------------------

// Empty when the last write is not known.
std::string KeyDateText(const SourceKey& key);
// "0x%08X", as the file counts; empty for none.
std::string OffsetText(const ReportRun& run, uint32_t position);
// "(Default value)" for the default value.
std::string_view NameText(const SourceValue& value);
// Texts whole up to `limit` characters, in one line; other data, and data that can't be read, as
// lists show them.
std::string DataCell(const SourceValue& value, size_t limit = kDataCellLimit);
// True for string data, which is text however it was encoded.
bool IsText(const SourceValue& value);
// Control characters, which would break a row, as blanks.
void MakeOneLine(std::string& text);
// Adds a text to a cell that several values feed: ", " between them, and one ", ..." for all that
// find no room; not after a text that itself ends in ".", where it is noted as cut short instead.
void JoinText(std::string& cell, std::string_view text);

// Each letter 13 places on, as the shell ciphers the names of what it counts; and back.
std::string Rot13(std::string_view text);

// --- names -----------------------------------------------------------------------------------

// Where `part` (small letters) is in a text, whatever the case; npos for nowhere.
size_t FindIgnoringCase(std::string_view text, std::string_view part);
// `part` is in small letters here too.
bool ContainsIgnoringCase(std::string_view text, std::string_view part);
// The path without its last name, and that name; a path of one name has no parent.
std::string_view ParentPath(std::string_view path);
// Views into `path`.
std::string_view LastName(std::string_view path);

// --- most recently used lists ----------------------------------------------------------------

// Which of a key's values was used when: rank by value name, the one used last first.
using MruOrder = std::unordered_map<std::string, size_t>;
// True when the value is the list itself: "MRUList" (a letter for each name) or "MRUListEx" (32-bit
// numbers, names being their decimal digits, 0xFFFFFFFF at the end). Its names are then added to
// the order, at most kMaxMruEntries of numbers; a name that comes twice keeps its first rank.
bool ReadMruList(const SourceValue& value, MruOrder& order);
// After all ranks for a name that the list lacks.
size_t RankOf(const MruOrder& order, const std::string& name);

// --- the reports, each from one starting key ---------------------------------------------------
//
// Each walks its keys to the end, or until the user stops, and adds its rows. What they list is
// said in the manual ("Special reports").

void ReportServices(ReportRun& run);
void ReportUninstall(ReportRun& run);
void ReportCountKeys(ReportRun& run);
void ReportClasses(ReportRun& run);
void ReportProgIds(ReportRun& run);
void ReportOpenWith(ReportRun& run);
void ReportKeyFiles(ReportRun& run);
void ReportFiles(ReportRun& run);
void ReportOpenSaveMru(ReportRun& run);
void ReportStreamMru(ReportRun& run);

}  // namespace hivequarry
