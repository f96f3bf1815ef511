#include "hive/shown_zone.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <deque>
#include <mutex>

#include "hive/timestamp.h"
#include "host/host.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

constexpr uint64_t kMinute = 600'000'000;  // in 100 ns
constexpr int kMostMinutes = 24 * 60;

// Texts are made on many threads: each reads the pointer once. Zones that were in force stay, as a
// user chooses few.
struct ZoneTable {
  std::atomic<const ShownZone*> now{nullptr};  // null: UTC
  std::mutex mutex;                            // of the rest
  std::deque<ShownZone> all;
};
ZoneTable& TheZones() {
  static ZoneTable table;
  return table;
}

uint64_t Moved(uint64_t file_time, int minutes) {
  const auto by = static_cast<int64_t>(minutes) * static_cast<int64_t>(kMinute);
  if (by < 0 && file_time < static_cast<uint64_t>(-by)) return 0;
  if (by > 0 && file_time > UINT64_MAX - static_cast<uint64_t>(by)) return file_time;
  return file_time + static_cast<uint64_t>(by);
}

// 1601-01-01, from which file times count, was a Monday.
int WeekdayOf(uint64_t file_time) {
  constexpr uint64_t kDay = 24 * 60 * kMinute;
  return static_cast<int>((file_time / kDay + 1) % 7);
}

// The moment of a change in a year, by clocks that show what was in force before it.
uint64_t MomentOf(const ZoneChange& change, int year) {
  CalendarTime day;
  day.year = year;
  day.month = change.month;
  day.day = 1;
  day.hour = change.hour;
  day.minute = change.minute;
  if (change.year != 0) {
    day.day = change.week;
    return FileTimeOfCalendar(day);
  }
  const int first = WeekdayOf(FileTimeOfCalendar(day));
  day.day = 1 + (change.weekday - first + 7) % 7 + 7 * (change.week - 1);
  uint64_t moment = FileTimeOfCalendar(day);
  // The fifth that a month does not have is its last.
  while (CalendarOfFileTime(moment).month != change.month) moment = Moved(moment, -7 * 24 * 60);
  return moment;
}

bool IsDaylight(const ShownZone& zone, uint64_t file_time) {
  if (zone.daylight.month == 0 || zone.standard.month == 0) return false;
  const int year = CalendarOfFileTime(Moved(file_time, zone.minutes_east)).year;
  for (const ZoneChange* change : {&zone.daylight, &zone.standard}) {
    if (change->year != 0 && change->year != year) return false;
  }
  const uint64_t begins = Moved(MomentOf(zone.daylight, year), -zone.minutes_east);
  const uint64_t ends = Moved(MomentOf(zone.standard, year), -zone.daylight_minutes_east);
  // South of the equator it goes over the turn of the year.
  const bool within = file_time >= std::min(begins, ends) && file_time < std::max(begins, ends);
  return within == (begins < ends);
}

// Minutes east of UTC in the system's own zone, at that time.
int MinutesOfSystem(uint64_t file_time) {
  const Host& host = CurrentHost();
  const uint64_t local = host.local_time(host.context, file_time);
  const auto ahead = static_cast<int64_t>(local - file_time);
  return static_cast<int>(ahead / static_cast<int64_t>(kMinute));
}

std::string OffsetText(int minutes) {
  const int size = minutes < 0 ? -minutes : minutes;
  return Concat({minutes < 0 ? "-" : "+", Decimal(size / 60, 2), ":", Decimal(size % 60, 2)});
}

// --- as text -------------------------------------------------------------------------------------

constexpr size_t kRuleNumbers = 14;
// The numbers in the order in which a zone is written as text; for reading and writing alike.
std::array<int*, kRuleNumbers> NumbersOf(ShownZone& zone) {
  ZoneChange& from = zone.daylight;
  ZoneChange& to = zone.standard;
  return {&zone.minutes_east, &zone.daylight_minutes_east,
          &from.year,         &from.month,
          &from.weekday,      &from.week,
          &from.hour,         &from.minute,
          &to.year,           &to.month,
          &to.weekday,        &to.week,
          &to.hour,           &to.minute};
}

// Takes a decimal number from the text's start; false, and nothing taken, where there is none.
bool TakeNumber(std::string_view& text, int& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return true;
}

bool IsOffset(int minutes) { return minutes >= -kMostMinutes && minutes <= kMostMinutes; }

// A month of 0 is no change, and nothing else of it counts. With a year `week` is the day of the
// month, else 5 is the last such weekday. An hour of 24 is the end of the day.
bool IsChange(const ZoneChange& change) {
  const bool day = change.year == 0 ? change.week >= 1 && change.week <= 5
                                    : change.week >= 1 && change.week <= 31;
  return change.month == 0 ||
         (change.month >= 1 && change.month <= 12 && day && change.weekday >= 0 &&
          change.weekday <= 6 && change.hour >= 0 && change.hour <= 24 && change.minute >= 0 &&
          change.minute < 60 && change.year >= 0 && change.year <= 9999);
}

// "+02:00", also "2", "+2:30".
bool ReadOffset(std::string_view text, ShownZone& zone) {
  const bool west = text.starts_with('-');
  if (west || text.starts_with('+')) text.remove_prefix(1);
  int hours = 0;
  int minutes = 0;
  if (text.empty() || text[0] == '-' || !TakeNumber(text, hours) || hours > 14) return false;
  if (text.starts_with(':')) {
    text.remove_prefix(1);
    if (text.size() != 2 || text[0] == '-' || !TakeNumber(text, minutes) || minutes > 59) {
      return false;
    }
  }
  if (!text.empty()) return false;
  const int size = 60 * hours + minutes;
  zone.kind = size == 0 ? ZoneKind::kUtc : ZoneKind::kFixed;
  zone.minutes_east = west ? -size : size;
  return true;
}

// "NAME;60;120;0;3;...": a name has no semicolon.
bool ReadRule(std::string_view text, ShownZone& zone) {
  size_t at = text.find(';');
  if (at == std::string_view::npos) return false;
  zone.name = text.substr(0, at);
  text.remove_prefix(at);
  for (int* number : NumbersOf(zone)) {
    if (!text.starts_with(';')) return false;
    text.remove_prefix(1);
    if (!TakeNumber(text, *number)) return false;
  }
  zone.kind = ZoneKind::kRule;
  return text.empty() && IsOffset(zone.minutes_east) && IsOffset(zone.daylight_minutes_east) &&
         IsChange(zone.daylight) && IsChange(zone.standard);
}

}  // namespace

void SetShownZone(const ShownZone& zone) {
  ZoneTable& zones = TheZones();
  const std::lock_guard lock(zones.mutex);
  const ShownZone* wanted = nullptr;
  if (zone.kind != ZoneKind::kUtc) {
    const auto found = std::ranges::find(zones.all, zone);
    wanted = found != zones.all.end() ? &*found : &zones.all.emplace_back(zone);
  }
  zones.now.store(wanted);
}

ShownZone ShownZoneNow() {
  const ShownZone* zone = TheZones().now.load();
  return zone == nullptr ? ShownZone() : *zone;
}

int MinutesEast(const ShownZone& zone, uint64_t file_time) {
  switch (zone.kind) {
    case ZoneKind::kUtc:
      return 0;
    case ZoneKind::kSystem:
      return MinutesOfSystem(file_time);
    case ZoneKind::kFixed:
      return zone.minutes_east;
    case ZoneKind::kRule:
      return IsDaylight(zone, file_time) ? zone.daylight_minutes_east : zone.minutes_east;
  }
  return 0;
}

uint64_t TimeIn(const ShownZone& zone, uint64_t file_time) {
  return Moved(file_time, MinutesEast(zone, file_time));
}

std::string ZoneSuffix(const ShownZone& zone, uint64_t file_time) {
  if (zone.kind == ZoneKind::kUtc) return {};
  return ' ' + OffsetText(MinutesEast(zone, file_time));
}

uint64_t ShownTime(uint64_t file_time) {
  const ShownZone* zone = TheZones().now.load(std::memory_order_relaxed);
  return zone == nullptr ? file_time : TimeIn(*zone, file_time);
}

std::string ShownZoneSuffix(uint64_t file_time) {
  const ShownZone* zone = TheZones().now.load(std::memory_order_relaxed);
  return zone == nullptr ? std::string() : ZoneSuffix(*zone, file_time);
}

uint64_t TimeOfShown(uint64_t shown) {
  const ShownZone* zone = TheZones().now.load();
  if (zone == nullptr) return shown;
  // What is in force some hours before and after; the earlier of both moments that show it.
  constexpr int kAround = 14 * 60;
  const uint64_t first = Moved(shown, -MinutesEast(*zone, Moved(shown, -kAround)));
  const uint64_t second = Moved(shown, -MinutesEast(*zone, Moved(shown, kAround)));
  for (const uint64_t time : {std::min(first, second), std::max(first, second)}) {
    if (Moved(time, MinutesEast(*zone, time)) == shown) return time;
  }
  return first;  // an hour that clocks leave out
}

std::string ZoneAsText(const ShownZone& zone) {
  if (zone.kind == ZoneKind::kUtc) return "UTC";
  if (zone.kind == ZoneKind::kSystem) return "system";
  if (zone.kind == ZoneKind::kFixed) return OffsetText(zone.minutes_east);
  ShownZone copy = zone;
  std::string text = zone.name;
  std::ranges::replace(text, ';', ',');
  for (const int* number : NumbersOf(copy)) text += ';' + std::to_string(*number);
  return text;
}

bool ReadZone(std::string_view text, ShownZone& zone) {
  ShownZone read;
  bool known = text == "UTC" || text == "system";
  if (text == "system") read.kind = ZoneKind::kSystem;
  known = known || ReadOffset(text, read) || ReadRule(text, read);
  if (known) zone = read;
  return known;
}

std::string ZoneWords(const ShownZone& zone) {
  if (zone.kind == ZoneKind::kUtc) return "UTC";
  if (zone.kind == ZoneKind::kSystem) return "this computer's";
  if (zone.kind == ZoneKind::kFixed) return "UTC" + OffsetText(zone.minutes_east);
  return zone.name.empty() ? "UTC" + OffsetText(zone.minutes_east) + " with daylight time"
                           : zone.name;
}

}  // namespace hivequarry
