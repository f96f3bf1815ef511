#include "hive/timestamp.h"

#include <gtest/gtest.h>

#include "tests/support/cell_writer.h"
#include "tests/support/host_recorder.h"

namespace hivequarry {
namespace {

constexpr uint64_t kSecond = 10'000'000;
constexpr uint64_t kHour = 3600 * kSecond;

TEST(Timestamp, CalendarOfKnownInstants) {
  // From other calendars: the epoch, leap days, ends of centuries and of 400 years.
  const struct {
    uint64_t file_time;
    const char* text;
  } cases[] = {
      {0, "1601/01/01, 00:00:00"},
      {116444736000000000, "1970/01/01, 00:00:00"},
      {125911583990000000, "1999/12/31, 23:59:59"},
      {125962560000000000, "2000/02/29, 00:00:00"},
      {125963424000000000, "2000/03/01, 00:00:00"},
      {132223104000000000, "2020/01/01, 00:00:00"},
      {157520159990000000, "2100/02/28, 23:59:59"},
      {157520160000000000, "2100/03/01, 00:00:00"},
      {252139391990000000, "2399/12/31, 23:59:59"},
      {0x7FFFFFFFFFFFFFFF, "30828/09/14, 02:48:05"},
      {0xFFFFFFFFFFFFFFFF, "60056/05/28, 05:36:10"},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatTimestamp(c.file_time, false), c.text);
}

TEST(Timestamp, CalendarAndBackForEveryDay) {
  // Every day of 800 years, at a time of day that moves: the way back must lead to the start, and
  // the days of a month must follow each other.
  CalendarTime before = CalendarOfFileTime(0);
  for (uint64_t day = 1; day < 292'194; ++day) {
    const uint64_t time = day * 24 * kHour + day % 86'400 * kSecond + 7;
    const CalendarTime now = CalendarOfFileTime(time);
    ASSERT_EQ(FileTimeOfCalendar(now), time);
    const bool next_day = now.day == before.day + 1 && now.month == before.month;
    const bool next_month = now.day == 1 && before.day >= 28 &&
                            now.month == before.month % 12 + 1 &&
                            now.year == before.year + before.month / 12;
    ASSERT_TRUE(next_day || next_month) << day;
    before = now;
  }
}

TEST(Timestamp, ChecksPlausibleYears) {
  using testing::FileTime;
  const struct {
    uint64_t file_time;
    const char* text;
  } cases[] = {
      {FileTime(1987, 12, 31, 23, 59, 59), ""},
      {FileTime(1988, 1, 1), "1988/01/01, 00:00:00"},
      {FileTime(2008, 5, 17, 13, 2, 9), "2008/05/17, 13:02:09"},
      {FileTime(2099, 12, 31, 23, 59, 59), "2099/12/31, 23:59:59"},
      {FileTime(2100, 1, 1), ""},
      {0, ""},
      {0xFFFFFFFFFFFFFFFF, ""},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatTimestampChecked(c.file_time), c.text);
}

TEST(Timestamp, LocalTimeWhereAsked) {
  testing::HostRecorder recorder;
  Host host = CurrentHost();
  host.local_time = [](void*, uint64_t utc) { return utc + 2 * kHour; };
  SetHost(host);
  const uint64_t time = testing::FileTime(2021, 12, 31, 23, 30, 0);
  EXPECT_EQ(FormatTimestamp(time, false), "2021/12/31, 23:30:00");
  EXPECT_EQ(FormatTimestamp(time, true), "2022/01/01, 01:30:00");
  EXPECT_EQ(FormatTimestampOrNone(time), "2022/01/01, 01:30:00");
  EXPECT_EQ(FormatTimestampOrNone(0), "(not available)");
  EXPECT_EQ(FormatTimestampChecked(time), "2021/12/31, 23:30:00");
}

TEST(Timestamp, DosDates) {
  const auto packed = [](uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                         uint32_t minute, uint32_t second) {
    return (hour << 11 | minute << 5 | second / 2) << 16 | (year - 1980) << 9 | month << 5 | day;
  };
  const struct {
    uint32_t dos;
    const char* text;
  } cases[] = {
      {packed(2008, 5, 17, 13, 2, 8), "2008/05/17, 13:02:08"},
      {packed(2020, 2, 29, 23, 59, 58), "2020/02/29, 23:59:58"},
      {packed(2021, 2, 29, 0, 0, 0), ""},
      {packed(2021, 0, 1, 0, 0, 0), ""},
      {packed(2021, 13, 1, 0, 0, 0), ""},
      {packed(2021, 1, 1, 24, 0, 0), ""},
      {packed(2021, 1, 1, 0, 60, 0), ""},
      {packed(1987, 1, 1, 0, 0, 0), ""},
      {packed(2099, 12, 31, 0, 0, 0), "2099/12/31, 00:00:00"},
      {packed(2107, 1, 1, 0, 0, 0), ""},
      {0, ""},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatDosTimestamp(c.dos), c.text);
}

TEST(Timestamp, StoredFieldsAndIso) {
  CalendarTime stored;
  stored.year = 987;
  stored.month = 1;
  stored.day = 2;
  EXPECT_EQ(FormatCalendar(stored), "0987/01/02, 00:00:00");
  EXPECT_EQ(FormatIso8601(132817176441804672), "2021-11-18T14:00:44.1804672Z");
  EXPECT_EQ(FormatIso8601(1), "1601-01-01T00:00:00.0000001Z");
}

}  // namespace
}  // namespace hivequarry
