// The time zone in which dates are shown. What a hive stores is UTC, and so is what other programs
// read: JSON Lines, scripts, files of timelines. Texts in another zone end with what it was then.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace hivequarry {

// Which time texts of dates are in.
enum class ZoneKind : uint8_t {
  kUtc,
  kSystem,  // this computer's
  kFixed,
  kRule,  // as a system keeps it: two times of the year at which clocks change
};

// When clocks change: in a month (0: they don't), on the Nth (5: last) of a day of the week (0 is
// Sunday), at a time of the day. With `year` on that day of the month, and in that year alone.
struct ZoneChange {
  int year = 0, month = 0, weekday = 0, week = 0, hour = 0, minute = 0;
  bool operator==(const ZoneChange&) const = default;
};

// Only kRule looks at the two changes; only kFixed and kRule at minutes.
struct ShownZone {
  ZoneKind kind = ZoneKind::kUtc;
  int minutes_east = 0;           // of UTC: kFixed, and kRule in winter
  int daylight_minutes_east = 0;  // kRule, from `daylight` to `standard`
  ZoneChange daylight;
  ZoneChange standard;
  std::string name;  // of a rule; empty: unknown
  bool operator==(const ShownZone&) const = default;
};

// What every text is made by from now on, on any thread.
void SetShownZone(const ShownZone& zone);
ShownZone ShownZoneNow();

// Minutes east of UTC at a time (FILETIME, UTC).
int MinutesEast(const ShownZone& zone, uint64_t file_time);
// A time as the clocks of a zone show it, and " +02:00"; nothing in UTC.
uint64_t TimeIn(const ShownZone& zone, uint64_t file_time);
std::string ZoneSuffix(const ShownZone& zone, uint64_t file_time);
// A time as the clocks of the zone in force show it, and " +02:00"; the same time and an empty text
// in UTC.
uint64_t ShownTime(uint64_t file_time);
std::string ShownZoneSuffix(uint64_t file_time);
// The time at which clocks of the zone in force show this. Of an hour that is there twice the
// first.
uint64_t TimeOfShown(uint64_t shown);

// For settings and users: "UTC", "system", "+02:00", and a rule's numbers after its name; back
// again, false for anything else.
std::string ZoneAsText(const ShownZone& zone);
bool ReadZone(std::string_view text, ShownZone& zone);
// "UTC", "this computer's", "UTC+02:00", "W. Europe Standard Time".
std::string ZoneWords(const ShownZone& zone);

}  // namespace hivequarry
