// Output List: the model after every list of results. Its kind fixes title and columns; rows are
// appended by a worker while a window may read those already there. Writers (list_writers.h) and
// windows only ever read it.
#pragma once

#include <atomic>
#include <concepts>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hive/timestamp.h"
#include "lists/list_head.h"
#include "lists/list_kinds.h"

namespace hivequarry {

// What a row says beyond its columns, for writers that keep it (JSON Lines). Empty or zero parts
// are not written.
struct RowFacts {
  bool about_key = false;          // the row speaks of a key (last_write is then written)
  uint64_t last_write = 0;         // FILETIME, UTC
  std::string_view path;           // as stored, given when the path column has it otherwise
  std::string_view name;           // likewise, of a value's name
  std::string_view bytes;          // a value's data, hexadecimal
  std::string_view from_log = {};  // the entry of a log that brought or changed the record
  // The datum is where the image has the key or value that the row speaks of: writers that have the
  // image say what its record says.
  bool of_record = false;
};

// What a cell is beside its text: a number or position, or a date in seconds since 1601-01-01 UTC.
// Sorting goes by that; a cell of a Report List has a text alone.
inline constexpr uint64_t kNoValue = UINT64_MAX;
// The value of a date, FILETIME.
constexpr uint64_t DateValue(uint64_t file_time) { return file_time / kFileTimeSecond; }

// A cell to add. The text is only looked at, so a cell made from a temporary text ends
// with it.
struct Cell {
  // Without a number the cell sorts by its text; with one the text is what is shown of it.
  Cell() = default;
  template <std::convertible_to<std::string_view> Text>
  Cell(const Text& shown) : text(shown) {}
  Cell(std::string_view shown, uint64_t is) : text(shown), value(is) {}
  std::string_view text;
  uint64_t value = kNoValue;  // what it sorts by
};

// A row to add; missing columns at the end are empty.
struct NewRow {
  std::span<const Cell> cells;
  int icon = 0;
  uint32_t datum = 0;     // position of the key or value that the row speaks of
  bool has_datum = true;  // false: the row speaks of no position
  RowFacts facts;
};

struct OutputList;
// The list's own type is known in one file alone.
struct OutputListDeleter {
  void operator()(OutputList* list) const;
};
using OutputListPtr = std::unique_ptr<OutputList, OutputListDeleter>;

// An empty list with the title and the columns of its kind (list_kinds.h).
OutputListPtr MakeOutputList(int kind);

int ListKindOf(const OutputList& list);
// Title and subtitle may be set while nobody else reads them.
const std::string& ListTitle(const OutputList& list);
void SetListTitle(OutputList& list, std::string title);
const std::string& ListSubtitle(const OutputList& list);
void SetListSubtitle(OutputList& list, std::string subtitle);
// The file that the list was made from, UTF-8; empty where that means nothing. No writer keeps it.
const std::string& ListSource(const OutputList& list);
void SetListSource(OutputList& list, std::string file);
// What its text, its print-out and its Report List begin with; null: nothing.
const std::shared_ptr<const ListHead>& ListHeadOf(const OutputList& list);
void SetListHead(OutputList& list, std::shared_ptr<const ListHead> head);
// Columns are numbered from 0.
int ColumnCount(const OutputList& list);
const std::string& ColumnTitle(const OutputList& list, int column);
// Gives the list other columns than its kind's, at most kMaxColumns (kMaxOwnColumns for the console
// program's own kinds); the list must be empty.
void SetColumns(OutputList& list, std::vector<std::string> titles);
// Gives an empty list further columns after those that it has.
void AddColumns(OutputList& list, std::initializer_list<const char*> titles);
// The record of a column of the list's kind, or of one added to these; null where the list, read
// from a file, has another title there.
const KindColumn* ColumnRecord(const OutputList& list, int column);

// Numbers before the first column of the rows added from now on; the numbers count the rows of
// the list from 1. A first column longer than 511 characters is cut to that.
enum class RowNumbers : uint8_t {
  kNone,
  kFive,  // "%05d, "
  kSix,   // "%06d ", of the main window's list pane
};
void SetRowNumbers(OutputList& list, RowNumbers numbers);

// Appends a row; texts beyond the last column are dropped. One thread at a time adds; others may
// read the rows counted by RowCount meanwhile. When memory gives out that is noted
// (NoteRefusedRow) and the operation under way is stopped; the list stays as it was.
void AddRow(OutputList& list, const NewRow& row);
// Takes a row that is added; its texts live no longer than the call. False: it wants no more.
using RowTaker = std::function<bool(const NewRow& row)>;
// From now on an empty list keeps no rows: each goes to the taker, or is only counted where there
// is none. RowCount counts them; nothing else can be asked of them. Numbers are not put before
// them. ClearRows makes it a list that keeps its rows again.
void HandOnRows(OutputList& list, RowTaker taker);
// True where rows are only counted: who adds them need not make their texts.
bool CountsRowsAlone(const OutputList& list);
// False once rows are no longer taken, for want of memory or by their taker: making more is idle.
bool TakesRows(const OutputList& list);
// Appends a copy of another list's row, in columns of the same order.
void AddRowOf(OutputList& list, const OutputList& from, uint32_t row);
// The same with another text in some cells, which keep what they are.
struct OtherText {
  int column;
  std::string text;
};
void AddRowOf(OutputList& list, const OutputList& from, uint32_t row,
              std::span<const OtherText> texts);
// All of a list but its rows; those added to it are not numbered.
OutputListPtr MakeListLike(const OutputList& list);
// Gives the rows of a list that nobody else reads to one that is still empty, in this order: each
// of them once. `from` is left empty. False, with nothing changed, when that can't be: the order
// lacks rows, or the lists differ in their columns.
bool MoveRows(OutputList& list, OutputList& from, std::span<const uint32_t> order);
// Rows that may be read.
uint32_t RowCount(const OutputList& list);
// Valid until the list is cleared or destroyed; empty for a column that the list does not have.
std::string_view CellText(const OutputList& list, uint32_t row, int column);
// What the cell is; kNoValue where its text is all that is known of it.
uint64_t CellValue(const OutputList& list, uint32_t row, int column);
// The texts of a row's first cells at once, for who wants them all.
void CellTexts(const OutputList& list, uint32_t row, std::span<std::string_view> cells);
// Rows are numbered from 0, below RowCount; the same holds for the functions that follow.
int RowIcon(const OutputList& list, uint32_t row);
// What was given; the row's number (from 1) where nothing was.
uint32_t RowDatum(const OutputList& list, uint32_t row);
bool RowHasDatum(const OutputList& list, uint32_t row);
// Its texts are the list's, valid as long as CellText's.
RowFacts FactsOfRow(const OutputList& list, uint32_t row);
// Gives one cell of a row another text, for a list that is filled in afterwards (the name of a file
// made for the row). No reader may be at work. False when there is no memory or no such cell.
// A date stays that date.
bool ReplaceCell(OutputList& list, uint32_t row, int column, std::string_view text);
// No reader may be at work.
void ClearRows(OutputList& list);

}  // namespace hivequarry
