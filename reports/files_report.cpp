// Files and folders that values name, by key and by file.
#include <algorithm>
#include <numeric>
#include <vector>

#include "host/case.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "lists/list_rows.h"
#include "reports/path_texts.h"
#include "reports/report_run.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kRowsAfterStop = 10000;

// The paths of a value's text; where there is none, those of its name, which is a path in the lists
// of shared libraries and of programs' display names.
std::vector<std::string> PathsOf(const SourceKey& key, const SourceValue& value) {
  std::vector<std::string> paths;
  if (value.read && IsText(value)) {
    uint64_t left_out = 0;
    paths = PathsInText(DataText(value.type, value.data, true), &left_out);
    if (left_out != 0) NoteShortfall(Shortfall::kRows, left_out);
  }
  if (!paths.empty()) return paths;
  const bool ciphered = ContainsIgnoringCase(key.path, "\\userassist\\");
  return PathsInText(ciphered ? Rot13(value.name) : value.name);
}

// Calls `add` with each path, and the key and value that name it.
template <typename Add>
void ForEachFile(ReportRun& run, const Add& add) {
  SourceKey key;
  SourceValue value;
  while (NextKey(run, key)) {
    if (!key.error.empty()) {
      value = SourceValue();
      value.text = key.error;
      add(std::string(), key, value);
    }
    while (run.keys.NextValue(value)) {
      for (const std::string& path : PathsOf(key, value)) add(path, key, value);
    }
  }
}

RowSubject FileSubject(const SourceKey& key, const SourceValue& value) {
  return key.error.empty() ? SubjectOf(key, value) : SubjectOf(key);
}

// A list for rows that wait to be sorted.
OutputListPtr MakeWaitingList(const OutputList& list) {
  OutputListPtr waiting = MakeOutputList(ListKindOf(list));
  std::vector<std::string> titles;
  titles.reserve(static_cast<size_t>(ColumnCount(list)));
  for (int column = 0; column < ColumnCount(list); ++column) {
    titles.push_back(ColumnTitle(list, column));
  }
  SetColumns(*waiting, std::move(titles));
  return waiting;
}

// The rows of a waiting list by their files, capital and small letters alike.
std::vector<uint32_t> SortedRows(const OutputList& waiting, uint32_t count, bool stopped) {
  std::vector<uint32_t> order(count);
  std::iota(order.begin(), order.end(), 0U);
  // After a stop all that is left counts as equal, so that the sort ends soon. Of a run that was
  // stopped before there are few rows, which are sorted all the same.
  std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
    return (stopped || !StopRequested()) &&
           CompareIgnoringCase(CellText(waiting, a, 0), CellText(waiting, b, 0)) < 0;
  });
  return order;
}

// Of a run that was stopped there is time for some rows only.
void AddSorted(OutputList& waiting, OutputList& list) {
  const bool stopped = StopRequested();
  const uint32_t count = stopped ? std::min(RowCount(waiting), kRowsAfterStop) : RowCount(waiting);
  const std::vector<uint32_t> order = SortedRows(waiting, count, stopped);
  // Rows one by one where only some of them are wanted, or the list has rows of an earlier start.
  if (MoveRows(list, waiting, order)) return;
  uint32_t left = kRowsAfterStop;
  for (const uint32_t row : order) {
    if (StopRequested() && left-- == 0) break;
    AddRowOf(list, waiting, row);
  }
}

std::string_view FileValueName(const SourceKey& key, const SourceValue& value) {
  return key.error.empty() ? NameText(value) : std::string_view();
}

std::string FileValueType(const SourceKey& key, const SourceValue& value) {
  return key.error.empty() ? TypeName(value.type) : std::string();
}

// Cells of its own, then those that both lists have; the live registry has but one control set.
void AddFileRow(ReportRun& run, OutputList& list, std::initializer_list<Cell> own,
                const SourceKey& key, const SourceValue& value) {
  std::vector<Cell> cells(own);
  const std::string date = KeyDateText(key);
  const std::string control_set = run.keys.ControlSet();
  cells.emplace_back(date, DateValue(key.last_write));
  if (!run.live) cells.emplace_back(control_set);
  AddReportRow(list, cells, FileSubject(key, value));
}

}  // namespace

void ReportKeyFiles(ReportRun& run) {
  ForEachFile(run, [&](const std::string& path, const SourceKey& key, const SourceValue& value) {
    AddFileRow(run, run.list,
               {key.path, FileValueName(key, value), value.text, path, FileValueType(key, value)},
               key, value);
  });
}

void ReportFiles(ReportRun& run) {
  const OutputListPtr waiting = MakeWaitingList(run.list);
  ForEachFile(run, [&](const std::string& path, const SourceKey& key, const SourceValue& value) {
    AddFileRow(run, *waiting,
               {path, key.path, FileValueName(key, value), value.text, FileValueType(key, value)},
               key, value);
    ++run.kept;
  });
  AddSorted(*waiting, run.list);
  run.kept = 0;
}

}  // namespace hivequarry
