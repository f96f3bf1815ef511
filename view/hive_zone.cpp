#include "view/hive_zone.h"

#include <optional>
#include <string>
#include <vector>

#include "app/key_paths.h"
#include "bytes/byte_view.h"
#include "hive/values.h"
#include "host/case.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr const char* kZoneKey =
    "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\TimeZoneInformation";

// Minutes west of UTC, as the system stores them.
struct StoredZone {
  std::optional<int> bias;
  int standard_bias = 0;
  int daylight_bias = 0;
  bool no_daylight = false;
  ZoneChange standard;
  ZoneChange daylight;
  std::string key_name;
  std::string standard_name;
};

// Year, month, week, hour, minute, second, milliseconds, weekday: 16 bits each.
ZoneChange ChangeOf(ByteView data) {
  ZoneChange change;
  if (data.size() < 16) return change;
  change.year = ReadU16(data, 0);
  change.month = ReadU16(data, 2);
  change.week = ReadU16(data, 4);
  change.hour = ReadU16(data, 6);
  change.minute = ReadU16(data, 8);
  change.weekday = ReadU16(data, 14);
  return change;
}

std::string TextOf(uint32_t type, ByteView data) {
  const std::string text = DataText(type, data);
  return text.substr(0, text.find('\0'));
}

// Values of "TimeZoneInformation"; biases are signed minutes, UTC is local time and these. Daylight
// time may be switched off under either of two names.
void TakeValue(const std::string& name, uint32_t type, ByteView data, StoredZone& zone) {
  const bool number = data.size() == 4;
  const int minutes = number ? static_cast<int>(ReadU32(data, 0)) : 0;
  const auto is = [&name](const char* wanted) { return EqualIgnoringCase(name, wanted); };
  if (is("Bias") && number) zone.bias = minutes;
  if (is("StandardBias") && number) zone.standard_bias = minutes;
  if (is("DaylightBias") && number) zone.daylight_bias = minutes;
  if (is("DynamicDaylightTimeDisabled") || is("DisableAutoDaylightTimeSet")) {
    zone.no_daylight = zone.no_daylight || minutes != 0;
  }
  if (is("StandardStart")) zone.standard = ChangeOf(data);
  if (is("DaylightStart")) zone.daylight = ChangeOf(data);
  if (is("TimeZoneKeyName")) zone.key_name = TextOf(type, data);
  if (is("StandardName")) zone.standard_name = TextOf(type, data);
}

}  // namespace

bool ZoneOfHive(const HiveImage& hive, const KeyTree& tree, ShownZone& zone) {
  const FoundKey found = FindKeyPath(hive, tree, kZoneKey);
  if (!found.whole || found.item == kNoItem || !HasKeyCell(tree, found.item)) return false;
  StoredZone stored;
  for (const uint32_t position : ListedValues(hive, tree.items[found.item].position)) {
    std::vector<uint8_t> data;
    const ValueKey value = ReadShownValue(hive, position, data);
    if (value.status == ValueStatus::kRead) TakeValue(value.name, value.type, data, stored);
  }
  if (!stored.bias) return false;
  ShownZone read;
  read.kind = ZoneKind::kRule;
  // A change without a month is none; what the zone adds in winter counts only with one.
  const bool daylight = !stored.no_daylight && stored.daylight.month != 0;
  read.minutes_east = -(*stored.bias + (stored.standard.month != 0 ? stored.standard_bias : 0));
  read.daylight_minutes_east = -(*stored.bias + stored.daylight_bias);
  if (daylight) {
    read.daylight = stored.daylight;
    read.standard = stored.standard;
  }
  // Later systems keep the name of a resource where earlier ones have a name.
  read.name = stored.key_name.empty() ? stored.standard_name : stored.key_name;
  // By way of the text, whose reader refuses the numbers that no zone has: a hive may hold any.
  return ReadZone(ZoneAsText(read), zone);
}

}  // namespace hivequarry
