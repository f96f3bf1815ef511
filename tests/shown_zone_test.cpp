// The time zone in which dates are shown: rules, texts, and what a hive says of it.
#include "hive/shown_zone.h"

#include <gtest/gtest.h>

#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "lists/list_zone.h"
#include "tests/support/hive_builder.h"
#include "tests/support/host_recorder.h"
#include "tests/support/opened_hive.h"
#include "view/hive_zone.h"

namespace hivequarry::testing {
namespace {

constexpr const char* kBerlin = "W. Europe Standard Time;60;120;0;3;0;5;2;0;0;10;0;5;3;0";
constexpr const char* kSydney = "AUS Eastern Standard Time;600;660;0;10;0;1;2;0;0;4;0;1;3;0";
constexpr const char* kDated = "One year;60;120;2008;3;0;30;2;0;2008;10;0;26;3;0";

uint64_t Utc(int year, int month, int day, int hour, int minute = 0) {
  return FileTimeOfCalendar({year, month, day, hour, minute, 0});
}

// Back in UTC when a test ends.
class Zones : public ::testing::Test {
 protected:
  void TearDown() override { SetShownZone({}); }
  static void Choose(const char* text) {
    ShownZone zone;
    ASSERT_TRUE(ReadZone(text, zone)) << text;
    SetShownZone(zone);
  }
};

TEST_F(Zones, DatesByRule) {
  const struct {
    const char* zone;
    uint64_t time;
    const char* text;
  } cases[] = {
      {"UTC", Utc(2020, 7, 1, 12), "2020/07/01, 12:00:00"},
      {"+05:30", Utc(2020, 7, 1, 23), "2020/07/02, 04:30:00 +05:30"},
      {"-3", Utc(2020, 1, 1, 1), "2019/12/31, 22:00:00 -03:00"},
      {kBerlin, Utc(2020, 7, 1, 12), "2020/07/01, 14:00:00 +02:00"},
      {kBerlin, Utc(2020, 3, 29, 0, 59), "2020/03/29, 01:59:00 +01:00"},
      {kBerlin, Utc(2020, 3, 29, 1), "2020/03/29, 03:00:00 +02:00"},
      {kBerlin, Utc(2020, 10, 25, 0, 59), "2020/10/25, 02:59:00 +02:00"},
      {kBerlin, Utc(2020, 10, 25, 1), "2020/10/25, 02:00:00 +01:00"},
      {kSydney, Utc(2020, 1, 1, 0), "2020/01/01, 11:00:00 +11:00"},
      {kSydney, Utc(2020, 7, 1, 0), "2020/07/01, 10:00:00 +10:00"},
      {kSydney, Utc(2020, 10, 3, 16), "2020/10/04, 03:00:00 +11:00"},
      {kDated, Utc(2008, 7, 1, 12), "2008/07/01, 14:00:00 +02:00"},
      {kDated, Utc(2009, 7, 1, 12), "2009/07/01, 13:00:00 +01:00"},
  };
  for (const auto& c : cases) {
    Choose(c.zone);
    EXPECT_EQ(FormatTimestampChecked(c.time), c.text);
    EXPECT_EQ(FormatTimestamp(c.time, false), c.text);
  }
  Choose(kBerlin);
  EXPECT_EQ(FormatShownIso(Utc(2020, 7, 1, 12)), "2020-07-01T14:00:00.0000000+02:00");
  EXPECT_EQ(FormatIso8601(Utc(2020, 7, 1, 12)), "2020-07-01T12:00:00.0000000Z");
  EXPECT_EQ(FormatTimestampChecked(0), "") << "no zone makes a date of what is none";
  SetShownZone({});
  EXPECT_EQ(FormatShownIso(Utc(2020, 7, 1, 12)), "2020-07-01T12:00:00.0000000Z");
}

TEST_F(Zones, TimesThatAreTypedAreThoseThatAreShown) {
  for (const char* zone : {"UTC", "+14", "-12", kBerlin, kSydney}) {
    Choose(zone);
    for (uint64_t time = Utc(2020, 1, 1, 0); time < Utc(2021, 1, 1, 0);
         time += Utc(1601, 1, 1, 7)) {
      const uint64_t back = TimeOfShown(ShownTime(time));
      ASSERT_EQ(ShownTime(back), ShownTime(time));
      ASSERT_LE(back, time) << "of an hour that is there twice the first";
    }
    EXPECT_EQ(ShownTime(0), zone == std::string("-12") ? 0 : ShownTime(0));
  }
}

TEST_F(Zones, TextsAndBack) {
  for (const char* text : {"UTC", "system", "+02:00", "-09:30", kBerlin, kSydney, kDated}) {
    ShownZone zone;
    ASSERT_TRUE(ReadZone(text, zone));
    EXPECT_EQ(ZoneAsText(zone), text);
  }
  ShownZone kept;
  kept.kind = ZoneKind::kFixed;
  kept.minutes_east = 7;
  for (const char* text :
       {"", "+", "+99", "+2:3", "2:60", "+-2", "utc+", "X;1", "X;60;120;0;13;0;5;2;0;0;10;0;5;3;0",
        "X;60;120;0;3;0;6;2;0;0;10;0;5;3;0", "X;9999;120;0;3;0;5;2;0;0;10;0;5;3;0",
        "X;60;120;0;3;0;5;2;0;0;10;0;5;3;0;1"}) {
    EXPECT_FALSE(ReadZone(text, kept)) << text;
  }
  EXPECT_EQ(kept.minutes_east, 7);
  EXPECT_EQ(ZoneWords(ShownZone()), "UTC");
}

Bytes Change(uint16_t month, uint16_t week, uint16_t hour) {
  Bytes bytes(16);
  const uint16_t fields[] = {0, month, week, hour};
  for (size_t i = 0; i < 4; ++i) bytes[2 * i] = static_cast<uint8_t>(fields[i]);
  return bytes;
}

HiveBuilder SystemHive(uint32_t bias, bool no_daylight) {
  HiveBuilder builder;
  builder.Key("Select").Dword("Current", 1);
  builder.Key("ControlSet001\\Control\\TimeZoneInformation")
      .Dword("Bias", bias)
      .Dword("StandardBias", 0)
      .Dword("DaylightBias", 0xFFFFFFC4)
      .Dword("DynamicDaylightTimeDisabled", no_daylight ? 1 : 0)
      .Value("StandardStart", kRegBinary, Change(10, 5, 3))
      .Value("DaylightStart", kRegBinary, Change(3, 5, 2))
      .Sz("TimeZoneKeyName", "W. Europe Standard Time");
  return builder;
}

TEST_F(Zones, OfAHive) {
  const struct {
    HiveBuilder builder;
    const char* zone;
  } cases[] = {
      {SystemHive(0xFFFFFFC4, false), kBerlin},
      {SystemHive(0xFFFFFFC4, true), "W. Europe Standard Time;60;120;0;0;0;0;0;0;0;0;0;0;0;0"},
      {SystemHive(0x7FFFFFFF, false), ""},
      {HiveBuilder(), ""},
  };
  for (const auto& c : cases) {
    OpenedHive opened(c.builder.Build());
    ShownZone zone;
    EXPECT_EQ(ZoneOfHive(opened.hive, opened.tree, zone), *c.zone != '\0');
    if (*c.zone != '\0') {
      EXPECT_EQ(ZoneAsText(zone), c.zone);
    }
  }
}

// As a list on the screen follows another zone: row by row what it says there.
TEST_F(Zones, OfAListThatIsThere) {
  const uint64_t time = Utc(2020, 7, 1, 12);
  const auto dated = [&](int kind, std::string_view before, std::string_view after, int column) {
    const std::string text = Concat({before, FormatTimestamp(time, false)});
    const std::string whole = text.substr(0, text.size() - ShownZoneSuffix(time).size());
    const std::string shown = Concat({whole, after, ShownZoneSuffix(time)});
    OutputListPtr list = MakeOutputList(kind);
    std::vector<Cell> cells(static_cast<size_t>(ColumnCount(*list)));
    cells[static_cast<size_t>(column)] = Cell(shown, DateValue(time));
    AddRow(*list, {cells, 3, 77, true, {}});
    return list;
  };
  const struct {
    int kind;
    const char* before;
    const char* after;
    const char* text;  // in Berlin
  } cases[] = {
      {kListKeyDates, "", "", "2020/07/01, 14:00:00 +02:00"},
      {kListKeyDates, "00001, ", "", "00001, 2020/07/01, 14:00:00 +02:00"},
      {kListTimeline, "", ".1234567", "2020/07/01, 14:00:00.1234567 +02:00"},
  };
  ShownZone berlin;
  ASSERT_TRUE(ReadZone(kBerlin, berlin));
  const auto never = [] { return false; };
  for (const char* made_in : {"UTC", "+05:30", "-3"}) {
    Choose(made_in);
    const ShownZone from = ShownZoneNow();
    for (const auto& c : cases) {
      SCOPED_TRACE(std::string(made_in) + ": " + c.text);
      const OutputListPtr list = dated(c.kind, c.before, c.after, 0);
      ASSERT_TRUE(HasDates(*list));
      const OutputListPtr copy = CopyInZone(*list, from, berlin, never);
      ASSERT_NE(copy, nullptr);
      EXPECT_EQ(CellText(*copy, 0, 0), c.text);
      EXPECT_EQ(CellValue(*copy, 0, 0), DateValue(time)) << "sorts as before";
      EXPECT_EQ(RowDatum(*copy, 0), 77U);
      EXPECT_EQ(RowIcon(*copy, 0), 3);
      const OutputListPtr back = CopyInZone(*copy, berlin, from, never);
      EXPECT_EQ(CellText(*back, 0, 0), CellText(*list, 0, 0));
    }
  }
  const OutputListPtr list = dated(kListKeyDates, "", "", 0);
  EXPECT_EQ(CopyInZone(*list, {}, berlin, [] { return true; }), nullptr);
  EXPECT_EQ(CellText(*CopyInZone(*list, berlin, {}, never), 0, 0), CellText(*list, 0, 0))
      << "not made in that zone";
}

// A time of which nothing says the zone is no time of any.
TEST_F(Zones, LocalTimesOfAListStay) {
  constexpr const char* kText = "2020/07/01, 12:00:00";
  const uint64_t time = Utc(2020, 7, 1, 12);
  OutputListPtr timeline = MakeOutputList(kListTimeline);
  AddListRow(*timeline, {{kText, DateValue(time)}, "Networks: Created (local)"}, 1);
  AddListRow(*timeline, {{kText, DateValue(time)}, "key written"}, 1);
  ShownZone berlin;
  ASSERT_TRUE(ReadZone(kBerlin, berlin));
  const OutputListPtr copy = CopyInZone(*timeline, {}, berlin, [] { return false; });
  EXPECT_EQ(CellText(*copy, 0, 0), kText);
  EXPECT_EQ(CellText(*copy, 1, 0), "2020/07/01, 14:00:00 +02:00");
  OutputListPtr report = MakeOutputList(kListKeyDates);
  AddListRow(*report, {kText}, 1);
  EXPECT_FALSE(HasDates(*report)) << "a text alone";
}

}  // namespace
}  // namespace hivequarry::testing
