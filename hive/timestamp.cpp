#include "hive/timestamp.h"

#include <chrono>

#include "hive/shown_zone.h"
#include "host/host.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

constexpr uint64_t kSecondsPerDay = 86'400;
// Years are counted from a 1 March, so that the leap day is a year's last day; 1600-03-01 lies 306
// days before 1601-01-01 and starts a cycle of 400 years.
constexpr uint64_t kDaysBeforeEpoch = 306;
constexpr uint32_t kCycleYear = 1600;
constexpr uint32_t kDaysPerCycle = 146'097;
constexpr uint32_t kDaysPerCentury = 36'524;
constexpr uint32_t kDaysPerFourYears = 1'461;

// The first day of a month, from March (0), as a day of the year that starts on 1 March.
constexpr uint32_t MonthStart(uint32_t month) { return (153 * month + 2) / 5; }

void SetDate(uint64_t days, CalendarTime& calendar) {
  const uint64_t shifted = days + kDaysBeforeEpoch;
  auto day = static_cast<uint32_t>(shifted % kDaysPerCycle);
  // Each period but the last of its kind lacks the leap day that would complete it.
  const uint32_t century = day / kDaysPerCentury < 3 ? day / kDaysPerCentury : 3;
  day -= century * kDaysPerCentury;
  const uint32_t quad = day / kDaysPerFourYears;
  day -= quad * kDaysPerFourYears;
  const uint32_t year = day / 365 < 3 ? day / 365 : 3;
  day -= year * 365;
  const uint32_t month = (5 * day + 2) / 153;
  const auto cycle = static_cast<uint32_t>(shifted / kDaysPerCycle);
  const uint32_t march_year = kCycleYear + cycle * 400 + century * 100 + quad * 4 + year;
  calendar.year = static_cast<int>(march_year + (month >= 10 ? 1 : 0));
  calendar.month = static_cast<int>(month < 10 ? month + 3 : month - 9);
  calendar.day = static_cast<int>(day - MonthStart(month) + 1);
}

// Registries have been written since the late eighties; a date outside that range is damage or no
// date, and is not shown as one.
bool IsPlausible(const CalendarTime& calendar) {
  return calendar.year >= 1988 && calendar.year <= 2099 && calendar.month <= 12 &&
         calendar.hour <= 24 && calendar.minute <= 60 && calendar.second <= 60;
}

int DaysOfMonth(int year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return kDays[month - 1] + (month == 2 && leap ? 1 : 0);
}

uint64_t LocalTime(uint64_t file_time) {
  const Host& host = CurrentHost();
  return host.local_time(host.context, file_time);
}

}  // namespace

uint64_t FileTimeNow() {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since).count();
  return FileTimeOfSeconds(static_cast<uint64_t>(seconds));
}

uint64_t LocalFileTimeNow() {
  const Host& host = CurrentHost();
  return host.local_time(host.context, FileTimeNow());
}

CalendarTime CalendarOfFileTime(uint64_t file_time) {
  CalendarTime calendar;
  const uint64_t seconds = file_time / kFileTimeSecond;
  const auto of_day = static_cast<int>(seconds % kSecondsPerDay);
  calendar.fraction = static_cast<uint32_t>(file_time % kFileTimeSecond);
  calendar.hour = of_day / 3600;
  calendar.minute = of_day / 60 % 60;
  calendar.second = of_day % 60;
  SetDate(seconds / kSecondsPerDay, calendar);
  return calendar;
}

uint64_t FileTimeOfCalendar(const CalendarTime& calendar) {
  const bool before_march = calendar.month < 3;
  const auto year = static_cast<uint64_t>(calendar.year) - kCycleYear - (before_march ? 1 : 0);
  const auto month = static_cast<uint32_t>(calendar.month + (before_march ? 9 : -3));
  const uint64_t days = year * 365 + year / 4 - year / 100 + year / 400 + MonthStart(month) +
                        static_cast<uint64_t>(calendar.day) - 1 - kDaysBeforeEpoch;
  const auto of_day = static_cast<uint64_t>(calendar.hour) * 3600 +
                      static_cast<uint64_t>(calendar.minute) * 60 +
                      static_cast<uint64_t>(calendar.second);
  return (days * kSecondsPerDay + of_day) * kFileTimeSecond + calendar.fraction;
}

std::string FormatTimestampChecked(uint64_t file_time) {
  const CalendarTime calendar = CalendarOfFileTime(file_time);
  if (!IsPlausible(calendar)) return std::string();
  std::string zone = ShownZoneSuffix(file_time);
  if (zone.empty()) return FormatCalendar(calendar);
  return FormatCalendar(CalendarOfFileTime(ShownTime(file_time))) + zone;
}

std::string FormatTimestamp(uint64_t file_time, bool local) {
  if (local) return FormatCalendar(CalendarOfFileTime(LocalTime(file_time)));
  return FormatCalendar(CalendarOfFileTime(ShownTime(file_time))) + ShownZoneSuffix(file_time);
}

std::string FormatCalendarIn(const ShownZone& zone, uint64_t file_time) {
  return FormatCalendar(CalendarOfFileTime(TimeIn(zone, file_time)));
}

std::string FormatTimestampOrNone(uint64_t file_time) {
  return file_time == 0 ? "(not available)" : FormatTimestamp(file_time, true);
}

std::string FormatDosTimestamp(uint32_t dos_date_time) {
  return FormatTimestampChecked(FileTimeOfDos(dos_date_time));
}

uint64_t FileTimeOfDos(uint32_t dos_date_time) {
  const auto field = [&](int shift, int bits) {
    return static_cast<int>(dos_date_time >> shift & ((1U << bits) - 1));
  };
  CalendarTime calendar;
  calendar.day = field(0, 5);
  calendar.month = field(5, 4);
  calendar.year = 1980 + field(9, 7);
  calendar.second = 2 * field(16, 5);
  calendar.minute = field(21, 6);
  calendar.hour = field(27, 5);
  const bool valid = calendar.month >= 1 && calendar.month <= 12 && calendar.day >= 1 &&
                     calendar.day <= DaysOfMonth(calendar.year, calendar.month) &&
                     calendar.hour < 24 && calendar.minute < 60 && calendar.second < 60;
  return valid ? FileTimeOfCalendar(calendar) : 0;
}

std::string FormatCalendar(const CalendarTime& calendar) {
  // A date a row: too many for a format string.
  std::string text = "0000/00/00, 00:00:00";
  if (calendar.year > 9999 || calendar.year < 0) {
    text.insert(0, std::to_string(calendar.year / 10000));
  }
  const auto put = [&text](size_t from_end, int digits, int value) {
    for (size_t at = text.size() - from_end; digits > 0; --digits, --at, value /= 10) {
      text[at] = static_cast<char>('0' + value % 10);
    }
  };
  put(17, 4, calendar.year % 10000);
  put(14, 2, calendar.month);
  put(11, 2, calendar.day);
  put(7, 2, calendar.hour);
  put(4, 2, calendar.minute);
  put(1, 2, calendar.second);
  return text;
}

std::string FormatIso8601(uint64_t file_time) {
  const CalendarTime calendar = CalendarOfFileTime(file_time);
  return Concat({Decimal(calendar.year, 4), "-", Decimal(calendar.month, 2), "-",
                 Decimal(calendar.day, 2), "T", Decimal(calendar.hour, 2), ":",
                 Decimal(calendar.minute, 2), ":", Decimal(calendar.second, 2), ".",
                 Decimal(calendar.fraction, 7), "Z"});
}

std::string FormatShownIso(uint64_t file_time) {
  const std::string zone = ShownZoneSuffix(file_time);
  std::string text = FormatIso8601(ShownTime(file_time));
  if (!zone.empty()) text.replace(text.size() - 1, 1, zone, 1);
  return text;
}

}  // namespace hivequarry
