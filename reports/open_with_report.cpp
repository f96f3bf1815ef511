// Which programs open which files: the lists that the shell keeps by extension, and the commands of
// file types.
#include <algorithm>
#include <vector>

#include "hive/root_path.h"
#include "reports/report_run.h"

namespace hivequarry {
namespace {

// By the key's name: what its values tell of programs.
enum class Source { kNone, kList, kProgIds, kChoice, kCommand, kExtension };

Source SourceOf(const SourceKey& key) {
  if (EqualIgnoringCase(key.name, "OpenWithList")) return Source::kList;
  if (EqualIgnoringCase(key.name, "OpenWithProgids")) return Source::kProgIds;
  if (EqualIgnoringCase(key.name, "UserChoice")) return Source::kChoice;
  if (EqualIgnoringCase(key.name, "command")) return Source::kCommand;
  return key.name.starts_with('.') ? Source::kExtension : Source::kNone;
}

// The text that a value adds to the key's programs, empty for none.
std::string ProgramOf(const SourceValue& value, Source source) {
  switch (source) {
    case Source::kList:
      return value.name.empty() ? std::string() : DataCell(value);
    case Source::kProgIds:
      return value.name;
    case Source::kChoice:
      return EqualIgnoringCase(value.name, "progid") ? DataCell(value) : std::string();
    default:
      break;
  }
  const bool names_program = EqualIgnoringCase(value.name, "Application") ||
                             (value.name.empty() && ContainsIgnoringCase(DataCell(value), ".exe"));
  return names_program ? DataCell(value) : std::string();
}

// A key whose row is not complete before its subkeys are seen.
struct OpenRow {
  bool open = false;
  bool list = false;  // its subkeys are named after programs
  SourceKey key;
  std::string programs;
};

void CloseRow(ReportRun& run, OpenRow& row) {
  if (row.open && !row.programs.empty()) {
    AddReportRow(
        run.list,
        {row.key.path, row.programs, {KeyDateText(row.key), DateValue(row.key.last_write)}},
        SubjectOf(row.key));
  }
  row = OpenRow();
}

// The programs that a key's values name, the one used last first.
std::string ReadPrograms(KeySource& keys, Source source) {
  struct Program {
    std::string value, text;
  };
  std::vector<Program> programs;
  MruOrder order;
  SourceValue value;
  while (keys.NextValue(value)) {
    if (source == Source::kList && ReadMruList(value, order)) continue;
    std::string text = ProgramOf(value, source);
    if (!text.empty()) programs.push_back({value.name, std::move(text)});
  }
  std::stable_sort(programs.begin(), programs.end(), [&](const Program& a, const Program& b) {
    return RankOf(order, a.value) < RankOf(order, b.value);
  });
  std::string joined;
  for (const Program& program : programs) JoinText(joined, program.text);
  return joined;
}

}  // namespace

void ReportOpenWith(ReportRun& run) {
  SourceKey key;
  OpenRow row;
  while (NextKey(run, key)) {
    if (row.open && key.level <= row.key.level) CloseRow(run, row);
    if (row.list && key.level == row.key.level + 1) JoinText(row.programs, key.name);
    const Source source = SourceOf(key);
    if (source == Source::kNone && key.error.empty()) continue;
    CloseRow(run, row);
    row.open = true;
    row.list = source == Source::kList;
    row.key = key;
    row.programs = key.error.empty() ? ReadPrograms(run.keys, source) : key.error;
  }
  CloseRow(run, row);
}

}  // namespace hivequarry
