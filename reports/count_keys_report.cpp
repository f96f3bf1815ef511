// What the shell counts of programs started: the values of "UserAssist\{GUID}\Count" keys, whose
// names are ciphered.
#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "reports/report_run.h"

namespace hivequarry {
namespace {

constexpr size_t kTimeOffset = 8;  // of the last start, in the data of a count
constexpr size_t kTimedLength = 16;
// Later systems keep counters of the focus there, and the time further on, in data of this length.
constexpr size_t kLongLength = 72;
constexpr size_t kLongTimeOffset = 60;

// The halves are signed numbers; a time that was never set, and what is no time, shows nothing.
std::string TimeAt(std::span<const uint8_t> data, size_t offset) {
  const uint32_t low = LoadU32(data.data() + offset);
  const uint32_t high = LoadU32(data.data() + offset + 4);
  if (static_cast<int32_t>(low) <= 0 || static_cast<int32_t>(high) <= 0) return {};
  return FormatTimestampChecked(uint64_t{high} << 32 | low);
}

std::string CountTime(std::span<const uint8_t> data) {
  if (data.size() < kTimedLength) return {};
  std::string time = TimeAt(data, kTimeOffset);
  if (time.empty() && data.size() == kLongLength) time = TimeAt(data, kLongTimeOffset);
  return time;
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
      const std::string time = value.read ? CountTime(value.data) : std::string();
      AddReportRow(run.list, {key.path, NameText(value), Rot13(value.name), value.text, time, last},
                   SubjectOf(key, value));
    }
  }
}

}  // namespace hivequarry
