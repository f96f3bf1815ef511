// Times that values hold, by the names of their keys and their own.
#include <algorithm>

#include "hive/file_place.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/visible_text.h"
#include "reports/report_run.h"
#include "reports/timeline.h"

namespace hivequarry {
namespace {

// How a value's data hold a time.
enum class TimeForm : uint8_t {
  kFileTime,  // 64 bits
  kSeconds,   // 32 bits, since 1970
  kRunCount,  // of a program's counts: a FILETIME at a place that the length tells
};

// A row of what times are known; paths and names are compared without regard to case.
struct ValueTime {
  const char* key;    // the end of the key's path; nullptr for any
  const char* value;  // name; nullptr for any
  TimeForm form;
  const char* event;
};

constexpr ValueTime kTimes[] = {
    {"\\Control\\Windows", "ShutdownTime", TimeForm::kFileTime, "shut down"},
    {"\\Windows NT\\CurrentVersion", "InstallDate", TimeForm::kSeconds, "installed"},
    {"\\Windows NT\\CurrentVersion", "InstallTime", TimeForm::kFileTime, "installed"},
    {"\\Count", nullptr, TimeForm::kRunCount, "run"},
    {"\\{83da6326-97a6-4088-9453-a1923f573b29}\\0064", "", TimeForm::kFileTime, "device installed"},
    {"\\{83da6326-97a6-4088-9453-a1923f573b29}\\0065", "", TimeForm::kFileTime,
     "device first installed"},
    {"\\{83da6326-97a6-4088-9453-a1923f573b29}\\0066", "", TimeForm::kFileTime, "connected"},
    {"\\{83da6326-97a6-4088-9453-a1923f573b29}\\0067", "", TimeForm::kFileTime, "removed"},
};

bool IsCountKey(std::string_view path) {
  return EndsIgnoringCase(path, "\\Count") &&
         CapitalsOfText(path).find("\\USERASSIST\\") != std::string::npos;
}

// 0 for no time.
// Counts of runs are 72 bytes with the time of the last one at 60, on systems from Windows 7 on,
// and 16 bytes with it at 8 on those before.
uint64_t TimeIn(TimeForm form, const std::vector<uint8_t>& data) {
  if (form == TimeForm::kSeconds) {
    const uint64_t seconds = data.size() == 4 ? LoadU32(data.data()) : 0;
    return seconds == 0 ? 0 : FileTimeOfSeconds(seconds);
  }
  if (form == TimeForm::kFileTime) return data.size() == 8 ? LoadU64(data.data()) : 0;
  if (data.size() == 72) return LoadU64(data.data() + 60);
  return data.size() == 16 ? LoadU64(data.data() + 8) : 0;
}

}  // namespace

void AddValueTimes(Timeline& timeline, const HiveImage& hive, const KeyTree& tree, uint32_t item,
                   const TimelineOptions& options, const TimelineEvent& key) {
  const bool any = std::ranges::any_of(
      kTimes, [&key](const ValueTime& time) { return EndsIgnoringCase(key.key, time.key); });
  if (!any || (EndsIgnoringCase(key.key, "\\Count") && !IsCountKey(key.key))) return;
  std::vector<uint32_t> values;
  // More entries, of four bytes each, no hive has room for.
  ReadValuesOfKey(hive, tree.items[item].position, hive.length / 4, values);
  for (const uint32_t position : values) {
    std::vector<uint8_t> data;
    const ValueKey value = ReadShownValue(hive, position, data);
    if (value.status != ValueStatus::kRead) continue;
    for (const ValueTime& time : kTimes) {
      const bool named = time.value == nullptr || EqualIgnoringCase(value.name, time.value);
      if (!named || !EndsIgnoringCase(key.key, time.key)) continue;
      const uint64_t at = TimeIn(time.form, data);
      if (at == 0 || !IsInTimes(options, at)) continue;
      TimelineEvent event = key;
      event.time = at;
      event.offset = PlaceOf(hive, position);
      event.event = time.event;
      const std::string name = ShownValueName(value.name);
      // The names of counts are ciphered.
      const std::string clear = time.form == TimeForm::kRunCount ? Rot13(name) : std::string();
      event.value = name;
      event.detail = clear;
      AddEvent(timeline, event);
    }
  }
}

}  // namespace hivequarry
