// Files and folders that values name, by key and by file.
#include <algorithm>
#include <numeric>
#include <vector>

#include "hive/value_text.h"
#include "host/case.h"
#include "host/long_operation.h"
#include "reports/path_texts.h"
#include "reports/report_run.h"

namespace hivequarry {
namespace {

constexpr size_t kMaxTextBytes = 0x20000;  // of a value's data
constexpr size_t kRowsAfterStop = 10000;

// The paths of a value's text; where there is none, those of its name, which is a path in the lists
// of shared libraries and of programs' display names.
std::vector<std::string> PathsOf(const SourceKey& key, const SourceValue& value) {
  std::vector<std::string> paths;
  if (value.read && IsText(value)) {
    const auto data = value.data.first(std::min(value.data.size(), kMaxTextBytes));
    paths = PathsInText(DataText(value.type, data, true));
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

struct FileRow {
  std::string sorted_by;
  std::string texts[6];
  RowSubject subject;
};

RowSubject FileSubject(const SourceKey& key, const SourceValue& value) {
  return key.error.empty() ? SubjectOf(key, value) : SubjectOf(key);
}

// In the order of their paths. Of a run that was stopped there is time for some rows only.
void AddSorted(std::vector<FileRow>& rows, OutputList& list) {
  const bool stopped = StopRequested();
  if (stopped) rows.resize(std::min(rows.size(), kRowsAfterStop));
  std::vector<uint32_t> order(rows.size());
  std::iota(order.begin(), order.end(), 0U);
  std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
    return (stopped || !StopRequested()) && rows[a].sorted_by < rows[b].sorted_by;
  });
  size_t left = kRowsAfterStop;
  for (const uint32_t row : order) {
    if (StopRequested() && left-- == 0) break;
    const auto& cells = rows[row].texts;
    const std::vector<std::string_view> texts(std::begin(cells), std::end(cells));
    AddReportRow(list, texts, rows[row].subject);
  }
}

std::string_view FileValueName(const SourceKey& key, const SourceValue& value) {
  return key.error.empty() ? NameText(value) : std::string_view();
}

std::string FileValueType(const SourceKey& key, const SourceValue& value) {
  return key.error.empty() ? TypeName(value.type) : std::string();
}

}  // namespace

void ReportKeyFiles(ReportRun& run) {
  ForEachFile(run, [&](const std::string& path, const SourceKey& key, const SourceValue& value) {
    AddReportRow(run.list,
                 {key.path, FileValueName(key, value), value.text, path, FileValueType(key, value),
                  KeyDateText(key)},
                 FileSubject(key, value));
  });
}

void ReportFiles(ReportRun& run) {
  const CaseTable capitals = CurrentCapitals();
  std::vector<FileRow> rows;
  ForEachFile(run, [&](const std::string& path, const SourceKey& key, const SourceValue& value) {
    rows.push_back({Capitals(capitals, path),
                    {path, key.path, std::string(FileValueName(key, value)), value.text,
                     FileValueType(key, value), KeyDateText(key)},
                    FileSubject(key, value)});
    ++run.kept;
  });
  AddSorted(rows, run.list);
  run.kept = 0;
}

}  // namespace hivequarry
