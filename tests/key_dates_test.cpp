#include "reports/key_dates.h"

#include <gtest/gtest.h>

#include "tests/support/opened_hive.h"

namespace hivequarry {
namespace {

using testing::FileTime;
using testing::HiveBuilder;
using testing::OpenedHive;

TEST(KeyDates, TextsReadBack) {
  const struct {
    const char* text;
    const char* same;  // null: no date
  } cases[] = {
      {"2008/05/17, 13:02:09", "2008/05/17, 13:02:09"},
      {"2008-5-7T13:02", "2008/05/07, 13:02:00"},
      {"2024-02-29 1:2:3", "2024/02/29, 01:02:03"},
      {"30827/01/01", "30827/01/01, 00:00:00"},
      {"2023/02/29", nullptr},
      {"2008/05/17 24:00", nullptr},
      {"2008/05/17, 13:02:09Z", nullptr},
      {"", nullptr},
  };
  for (const auto& c : cases) {
    KeyDateTime time{1, 1, 1, 1, 1, 1};
    ASSERT_EQ(ReadKeyDate(c.text, time), c.same != nullptr) << c.text;
    EXPECT_EQ(KeyDateText(time), c.same == nullptr ? "0001/01/01, 01:01:01" : c.same) << c.text;
  }
}

// Names of the listed keys, with their dates.
std::vector<std::string> Listed(const OpenedHive& opened, const KeyDateRange& range) {
  const OutputListPtr list = MakeOutputList(kListKeyDates);
  ListKeyDates(opened.hive, opened.tree, 0, range, *list);
  std::vector<std::string> rows;
  for (uint32_t row = 0; row < RowCount(*list); ++row) {
    const std::string path(CellText(*list, row, 1));
    EXPECT_EQ(RowDatum(*list, row), opened.tree.items[opened.Item(path)].position);
    rows.push_back(path.substr(path.rfind('\\') + 1) + " " + std::string(CellText(*list, row, 0)));
  }
  return rows;
}

TEST(KeyDates, BothEndsOfTheRangeAreListed) {
  HiveBuilder hive;
  hive.Root().Time(FileTime(1970, 1, 1));
  hive.Key("A").Time(FileTime(2020, 5, 6, 7, 8, 9));
  hive.Key("A\\Late").Time(FileTime(2020, 5, 6, 7, 8, 10));
  hive.Key("A\\Late\\End").Time(FileTime(2020, 5, 6, 7, 8, 9) + 9'999'999);
  hive.Key("B").Time(FileTime(2019, 12, 31, 23, 59, 59));
  const OpenedHive opened(hive.Build());
  KeyDateRange range{true, {2020, 1, 1, 0, 0, 0}, {2020, 5, 6, 7, 8, 9}};
  EXPECT_EQ(Listed(opened, range),
            (std::vector<std::string>{"A 2020/05/06, 07:08:09", "End 2020/05/06, 07:08:09"}));
  EXPECT_EQ(opened.host.statuses.back(), "Done.  2");
  std::swap(range.start, range.end);
  EXPECT_TRUE(Listed(opened, range).empty());
  range.limited = false;
  EXPECT_EQ(Listed(opened, range).size(), 5U);
}

// The base block's word, and without one the newest time that a clock can have shown.
TEST(KeyDates, LastActivityOfAHive) {
  constexpr uint64_t kDay = uint64_t{86400} * 10'000'000;
  testing::HiveBuilder builder;
  builder.Key("Old").Time(testing::kDefaultTime);
  builder.Key("New").Time(testing::kDefaultTime + kDay);
  builder.Key("Never").Time(UINT64_MAX - 5);
  testing::Bytes bytes = builder.Build().bytes;
  testing::PutU32(bytes, 12, 0);
  testing::PutU32(bytes, 16, 0);
  const testing::OpenedHive unsaid(bytes);
  EXPECT_EQ(LastActivity(unsaid.hive, unsaid.tree), testing::kDefaultTime + kDay);
  const uint64_t stored = testing::kDefaultTime + 3 * kDay;
  testing::PutU32(bytes, 12, static_cast<uint32_t>(stored));
  testing::PutU32(bytes, 16, static_cast<uint32_t>(stored >> 32));
  const testing::OpenedHive said(bytes);
  EXPECT_EQ(LastActivity(said.hive, said.tree), stored);
}

}  // namespace
}  // namespace hivequarry
