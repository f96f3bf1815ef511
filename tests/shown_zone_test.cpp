// The time zone in which dates are shown: rules, texts, and what a hive says of it.
#include "hive/shown_zone.h"

#include <gtest/gtest.h>

#include "hive/timestamp.h"
#include "hive/values.h"
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

}  // namespace
}  // namespace hivequarry::testing
