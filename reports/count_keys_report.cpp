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

struct Count {
  std::string runs, focus_count, focus_time, last_run;
};

std::string NumberAt(std::span<const uint8_t> data, size_t offset) {
  return offset == 0 ? std::string() : std::to_string(LoadU32(data.data() + offset));
}

Count ReadCount(std::span<const uint8_t> data) {
  for (const CountLayout& layout : kLayouts) {
    if (data.size() != layout.length) continue;
    const uint8_t* time = data.data() + layout.last_run;
    return {NumberAt(data, layout.runs), NumberAt(data, layout.focus_count),
            NumberAt(data, layout.focus_time),
            FormatTimestampChecked(uint64_t{LoadU32(time + 4)} << 32 | LoadU32(time))};
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
    const std::string last = run.live ? KeyDateText(key) : OffsetText(run, key.position);
    if (failed) AddReportRow(run.list, {key.path, "", "", key.error, "", last}, SubjectOf(key));
    while (run.keys.NextValue(value)) {
      const Count count = value.read ? ReadCount(value.data) : Count();
      AddReportRow(run.list,
                   {key.path, NameText(value), Rot13(value.name), value.text, count.last_run, last,
                    count.runs, count.focus_count, count.focus_time},
                   SubjectOf(key, value));
    }
  }
}

}  // namespace hivequarry
