// Dates and times as text: "2008/05/17, 13:02:09".
#pragma once

#include <cstdint>
#include <string>

namespace hivequarry {

struct ShownZone;

// A second in the units of a FILETIME, which are 100 ns.
inline constexpr uint64_t kFileTimeSecond = 10'000'000;
// 1970-01-01 as a FILETIME.
inline constexpr uint64_t kFileTime1970 = 116'444'736'000'000'000;
// Seconds since 1970-01-01, UTC. Wraps where they are more than a FILETIME can tell.
constexpr uint64_t FileTimeOfSeconds(uint64_t seconds) {
  return kFileTime1970 + seconds * kFileTimeSecond;
}

struct CalendarTime {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  uint32_t fraction = 0;  // 100-ns units
};
// A FILETIME (100-ns units since 1601-01-01) as calendar fields, whatever its value.
CalendarTime CalendarOfFileTime(uint64_t file_time);
// The present, to the second, UTC; and in local time.
// Whole seconds: it stamps lists and file names, it measures nothing.
uint64_t FileTimeNow();
uint64_t LocalFileTimeNow();
// For years from 1601 on and fields in their ranges; nothing is checked, and an earlier year wraps.
uint64_t FileTimeOfCalendar(const CalendarTime& calendar);

// These two are in the zone that dates are shown in (shown_zone.h), which is UTC unless the user
// chose another one.
// A FILETIME; empty for a date that is not plausible (year 1988 to 2099).
std::string FormatTimestampChecked(uint64_t file_time);
// A FILETIME pair, unchecked, as local time when `local`.
std::string FormatTimestamp(uint64_t file_time, bool local);
// As in another zone than the one in force, without the zone's own words: "2008/05/17, 15:02:09".
std::string FormatCalendarIn(const ShownZone& zone, uint64_t file_time);
// A FILETIME that may be zero ("(not available)"), as local time.
std::string FormatTimestampOrNone(uint64_t file_time);
// A packed DOS date (low half) and time (high half), checked; empty when implausible.
std::string FormatDosTimestamp(uint32_t dos_date_time);
// 0 for a date that is none. Steps of two seconds; no time zone is in it, and none is added.
uint64_t FileTimeOfDos(uint32_t dos_date_time);
// The form used in saved lists, from stored fields.
// "2008/05/17, 13:02:09"; a year beyond 9999 gets more digits.
std::string FormatCalendar(const CalendarTime& calendar);
// ISO 8601 with seven decimals and "Z", as the console prints it.
// UTC; whatever the value is, so that nothing stored is lost in it.
std::string FormatIso8601(uint64_t file_time);
// The same in the zone that dates are shown in: with "+02:00" in place of "Z".
std::string FormatShownIso(uint64_t file_time);

}  // namespace hivequarry
