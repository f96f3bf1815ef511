// What the shell counts of programs started: the values of "UserAssist\{GUID}\Count" keys, whose
// names are ciphered.
#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "reports/report_run.h"

namespace hivequarry {
namespace {

// What the data of a count hold, told by their length. Data of other lengths count nothing.
struct CountLayout {
  size_t length;
  size_t runs;
  size_t focus_count;  // 0: not kept
  size_t focus_time;
  size_t last_run;  // FILETIME
};
constexpr CountLayout kLayouts[] = {
    {16, 4, 0, 0, 8},    // a session's number, runs, time
    {72, 4, 8, 12, 60},  // likewise, with the focus in between; floating-point numbers follow that
};

// A number or date with the text of its cell.
struct KeyFigure {
  std::string text;
  uint64_t value = kNoValue;
};
// What a value of UserAssist counts; which of these it has depends on its length.
struct Count {
  KeyFigure runs, focus_count, focus_time, last_run;
};

KeyFigure NumberAt(std::span<const uint8_t> data, size_t offset) {
  if (offset == 0) return {};
  const uint32_t number = LoadU32(data.data() + offset);
  return {std::to_string(number), number};
}

KeyFigure DateAt(std::span<const uint8_t> data, size_t offset) {
  const uint8_t* at = data.data() + offset;
  const uint64_t time = uint64_t{LoadU32(at + 4)} << 32 | LoadU32(at);
  return {FormatTimestampChecked(time), DateValue(time)};
}

Cell CellOf(const KeyFigure& counted) { return {counted.text, counted.value}; }

// Told by length; empty for another one.
Count ReadCount(std::span<const uint8_t> data) {
  for (const CountLayout& layout : kLayouts) {
    if (data.size() != layout.length) continue;
    return {NumberAt(data, layout.runs), NumberAt(data, layout.focus_count),
            NumberAt(data, layout.focus_time), DateAt(data, layout.last_run)};
  }
  return {};
}

// A key chosen elsewhere is taken at the user's word.
bool IsCountKey(const SourceKey& key) {
  if (EqualIgnoringCase(key.name, "Count")) return true;
  return key.level == 1 && !ContainsIgnoringCase(key.path, "\\userassist");
}

}  // namespace

void ReportCountKeys(ReportRun& run) {
  SourceKey key;
  SourceValue value;
  while (NextKey(run, key)) {
    const bool failed = !key.error.empty();
    if (!failed && !IsCountKey(key)) continue;
    // The last column is the key's date in the live registry, where nothing has a position, else
    // its position.
    const std::string text = run.live ? KeyDateText(key) : OffsetText(run, key.position);
    const Cell last = {text, run.live ? DateValue(key.last_write) : kNoValue};
    if (failed) AddReportRow(run.list, {key.path, "", "", key.error, "", last}, SubjectOf(key));
    while (run.keys.NextValue(value)) {
      const Count count = value.read ? ReadCount(value.data) : Count();
      AddReportRow(
          run.list,
          {key.path, NameText(value), Rot13(value.name), value.text, CellOf(count.last_run), last,
           CellOf(count.runs), CellOf(count.focus_count), CellOf(count.focus_time)},
          SubjectOf(key, value));
    }
  }
}

}  // namespace hivequarry
