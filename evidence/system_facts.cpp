// What a system says of itself: names, version, time zone, when it was installed, updated and shut
// down; and the profiles of its users.
#include "evidence/decode.h"
#include "hive/timestamp.h"
#include "host/case.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

// How a value's data are read.
enum class FactForm : uint8_t {
  kText,
  kFileTime,  // eight bytes
  kSeconds,   // since 1970
  kMinutes,   // signed: UTC is local time and these
  kChange,    // when a part of the year begins
};
// Which value of which place is a fact, what it is called, and how its data are read.
struct Fact {
  size_t pattern;  // of the decoder's
  const char* value;
  const char* word;
  FactForm form = FactForm::kText;
};
// Places are numbered as the decoder's patterns.
enum : size_t { kWindows, kZone, kComputerName, kActiveName, kHost, kSelect, kVersion, kSource };
constexpr Fact kFacts[] = {
    {kWindows, "ShutdownTime", "Last shutdown", FactForm::kFileTime},
    {kZone, "TimeZoneKeyName", "Time zone"},
    {kZone, "StandardName", "Standard time"},
    {kZone, "DaylightName", "Daylight time"},
    {kZone, "Bias", "Bias", FactForm::kMinutes},
    {kZone, "StandardBias", "Standard bias", FactForm::kMinutes},
    {kZone, "DaylightBias", "Daylight bias", FactForm::kMinutes},
    {kZone, "ActiveTimeBias", "Active bias", FactForm::kMinutes},
    {kZone, "StandardStart", "Standard time begins", FactForm::kChange},
    {kZone, "DaylightStart", "Daylight time begins", FactForm::kChange},
    {kComputerName, "ComputerName", "Computer name"},
    {kActiveName, "ComputerName", "Active computer name"},
    {kHost, "Hostname", "Host name"},
    {kHost, "NV Hostname", "Host name at the next start"},
    {kHost, "Domain", "Domain"},
    {kSelect, "Current", "Current control set"},
    {kSelect, "Default", "Default control set"},
    {kSelect, "LastKnownGood", "Last known good control set"},
    {kSelect, "Failed", "Failed control set"},
    {kVersion, "ProductName", "Product"},
    {kVersion, "EditionID", "Edition"},
    {kVersion, "CurrentVersion", "Version"},
    {kVersion, "DisplayVersion", "Release"},
    {kVersion, "ReleaseId", "Release number"},
    {kVersion, "CurrentBuild", "Build"},
    {kVersion, "CurrentBuildNumber", "Build number"},
    {kVersion, "UBR", "Update of the build"},
    {kVersion, "CSDVersion", "Service pack"},
    {kVersion, "RegisteredOwner", "Owner"},
    {kVersion, "RegisteredOrganization", "Organization"},
    {kVersion, "ProductId", "Product id"},
    {kVersion, "SystemRoot", "System folder"},
    {kVersion, "InstallDate", "Installed", FactForm::kSeconds},
    {kVersion, "InstallTime", "Installed", FactForm::kFileTime},
    {kSource, "ProductName", "Earlier product"},
    {kSource, "CurrentBuild", "Earlier build"},
    {kSource, "InstallDate", "Earlier installation", FactForm::kSeconds},
};

// "first Sunday of November, 02:00", or a date of one year; "none" for a zone without daylight
// time, empty for numbers that say no day. Eight numbers of 16 bits, not in the order of
// SYSTEMTIME:
//
//    0  year, 0 for every one     8  minute
//    2  month, 0 for no change   10  second
//    4  week of the month,       12  millisecond
//       5 the last; with a       14  day of the week, 0 Sunday
//       year the day
//    6  hour
//
std::string ChangeText(ByteView data) {
  constexpr const char* kWeeks[] = {"", "first", "second", "third", "fourth", "last"};
  constexpr const char* kDays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                   "Thursday", "Friday", "Saturday"};
  constexpr const char* kMonths[] = {"",        "January",  "February", "March",  "April",
                                     "May",     "June",     "July",     "August", "September",
                                     "October", "November", "December"};
  const uint16_t year = ReadU16(data, 0);
  const uint16_t month = ReadU16(data, 2);
  const uint16_t week = ReadU16(data, 4);
  const uint16_t day = ReadU16(data, 14);
  if (month == 0) return "none";
  if (month > 12) return {};
  const std::string hour =
      Concat({Decimal(ReadU16(data, 6), 2, '0'), ":", Decimal(ReadU16(data, 8), 2, '0')});
  if (year != 0) {
    return Concat({std::to_string(year), "/", Decimal(month, 2, '0'), "/", Decimal(week, 2, '0'),
                   ", ", hour});
  }
  if (week == 0 || week > 5 || day > 6) return {};
  return Concat({kWeeks[week], " ", kDays[day], " of ", kMonths[month], ", ", hour});
}

// Two cells: a text or nothing, then a time or nothing.
void AddFactCells(const Fact& fact, const EvidenceValue& value, EvidenceRow& row) {
  const std::optional<uint64_t> number = NumberOf(value);
  switch (fact.form) {
    case FactForm::kText:
      row.Text(ValueText(value)).Empty();
      NoteTail(value, row);
      return;
    case FactForm::kFileTime:
      row.Empty();
      if (HasData(value, 8, row)) row.Time(ReadU64(value.data, 0));
      return;
    case FactForm::kSeconds:
      row.Empty();
      if (number && *number != 0) row.Time(FileTimeOfSeconds(*number));
      return;
    case FactForm::kMinutes:
      if (number) {
        row.Text(std::to_string(static_cast<int32_t>(*number)) + " minutes");
      } else {
        row.Empty().Note("no number");
      }
      return;
    case FactForm::kChange:
      row.Text(HasData(value, 16, row) ? ChangeText(value.data) : std::string());
      return;
  }
}

}  // namespace

void DecodeSystemFacts(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) {
    const bool source = place.pattern == kSource;
    const std::string name = source ? run.keys.NameOf(place.key) : std::string();
    if (source && !StartsIgnoringCase(name, "Source OS")) continue;
    const std::vector<EvidenceValue> values = run.keys.ValuesOf(place.key);
    for (const Fact& fact : kFacts) {
      if (fact.pattern != place.pattern) continue;
      for (const EvidenceValue& value : values) {
        if (!EqualIgnoringCase(value.name, fact.value)) continue;
        EvidenceRow row;
        row.Text(source ? Concat({fact.word, ": ", name}) : std::string(fact.word));
        AddFactCells(fact, value, row);
        row.cells.resize(3);
        row.Text(place.control_set);
        AddEvidence(run, std::move(row), place.key, &value);
      }
    }
  }
}

void DecodeProfiles(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) {
    const std::vector<EvidenceValue> values = run.keys.ValuesOf(place.key);
    // A FILETIME in two numbers of 32 bits.
    const auto time = [&](const char* low, const char* high) {
      return NumberNamed(values, low).value_or(0) | NumberNamed(values, high).value_or(0) << 32;
    };
    EvidenceRow row;
    const std::string sid = run.keys.NameOf(place.key);
    row.Text(sid).Text(TextNamed(values, "ProfileImagePath"));
    row.Time(time("LocalProfileLoadTimeLow", "LocalProfileLoadTimeHigh"));
    row.Time(time("LocalProfileUnloadTimeLow", "LocalProfileUnloadTimeHigh"));
    const std::optional<uint64_t> state = NumberNamed(values, "State");
    row.Text(state ? HexText(*state, 4) : std::string());
    row.Text(TextNamed(values, "Guid"));
    // The system puts a profile aside under this name when it can't load it.
    if (EndsIgnoringCase(sid, ".bak")) row.Note("put aside by the system");
    AddEvidence(run, std::move(row), place.key);
  }
}

}  // namespace hivequarry
