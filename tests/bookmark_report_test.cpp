#include "view/bookmark_report.h"

#include <gtest/gtest.h>

#include "app/key_paths.h"
#include "hive/timestamp.h"
#include "tests/support/opened_hive.h"
#include "tests/support/sample_hives.h"

namespace hivequarry::testing {
namespace {

std::string CellOf(const HtmlSection& section, uint32_t row, int column) {
  return std::string(CellText(*section.lists.front().second, row, column));
}

TEST(BookmarkReport, KeysValuesAndWhatIsMissing) {
  HiveBuilder builder;
  builder.Key("Kept").Time(kDefaultTime).Sz("<b>", "text").Binary("long", kMostReportedData + 3);
  builder.Key("Lost\\Below").Dword("n", 1);
  const OpenedHive sound(builder.Build());
  std::vector<Bookmark> bookmarks(3);
  bookmarks[0].path = KeyPathOf(sound.hive, sound.tree, sound.Item("\\Kept"));
  bookmarks[0].note = "look & see";
  bookmarks[1].path = KeyPathOf(sound.hive, sound.tree, sound.Item("\\Lost\\Below"));
  bookmarks[2].path = bookmarks[0].path + "\\gone";
  bookmarks[2].note = "third";
  HiveHashes hashes;
  hashes.hive = "0123";
  const HtmlReport report = ReportBookmarks(sound.hive, sound.tree, bookmarks, hashes);
  ASSERT_EQ(report.sections.size(), 3U);
  const HtmlSection& keys = report.sections[0];
  EXPECT_EQ(RowCount(*keys.lists.front().second), 2U);
  EXPECT_EQ(CellOf(keys, 0, 0), "look & see");
  EXPECT_EQ(CellOf(keys, 0, 3), "live");
  EXPECT_EQ(CellOf(keys, 0, 4), "");
  const HtmlSection& values = report.sections[1];
  EXPECT_EQ(RowCount(*values.lists.front().second), 3U);
  EXPECT_EQ(CellOf(values, 0, 1), "<b>");
  EXPECT_EQ(CellOf(values, 0, 5), "74006500780074000000");
  EXPECT_TRUE(CellOf(values, 1, 5).ends_with(" ... 3 more bytes"));
  const HtmlSection& missing = report.sections[2];
  ASSERT_EQ(RowCount(*missing.lists.front().second), 1U);
  EXPECT_EQ(CellOf(missing, 0, 0), "third");
  EXPECT_TRUE(CellOf(missing, 0, 4).ends_with("\\Kept"));
  std::string html;
  EXPECT_TRUE(WriteHtmlReport(report, [&html](std::string_view text) {
    html += text;
    return true;
  }));
  EXPECT_NE(html.find("0123"), std::string::npos);
  EXPECT_NE(html.find("&lt;b&gt;"), std::string::npos);
  EXPECT_EQ(html.find("<b>"), std::string::npos);
}

TEST(BookmarkReport, RecoveredKeysSayWhyTheyAreThere) {
  const OpenedHive damaged(DamagedSample());
  uint32_t item = 0;
  while (!IsRecovered(damaged.tree, item) || !HasKeyCell(damaged.tree, item)) ++item;
  std::vector<Bookmark> bookmarks(1);
  bookmarks[0].path = KeyPathOf(damaged.hive, damaged.tree, item);
  const HtmlReport report = ReportBookmarks(damaged.hive, damaged.tree, bookmarks, {});
  EXPECT_TRUE(CellOf(report.sections[0], 0, 3).starts_with("recovered"));
  EXPECT_NE(CellOf(report.sections[0], 0, 4), "");
  EXPECT_FALSE(report.picture.bars.empty());
}

TEST(HtmlReport, BarsOfYearsSayWhatIsInNone) {
  const auto bars = [](const std::vector<int>& years) {
    YearCounts counts;
    for (const int year : years) {
      CalendarTime time;
      time.year = year;
      time.month = time.day = 1;
      CountYear(counts, FileTimeOfCalendar(time));
    }
    const HtmlBars picture = BarsOf(counts, "Keys");
    std::string text = picture.title;
    for (const auto& [label, count] : picture.bars)
      text += " " + label + ":" + std::to_string(count);
    return text;
  };
  EXPECT_EQ(bars({}), "Keys");
  EXPECT_EQ(bars({2012, 2010, 2012}), "Keys 2010:1 2011:0 2012:2");
  EXPECT_EQ(bars({1987, 1988, 2099, 2100}).substr(0, 55),
            "Keys; 2 are not between 1988 and 2099 1988:1 1989:0 199");
  EXPECT_EQ(bars({1601}), "Keys; 1 is not between 1988 and 2099");
}

}  // namespace
}  // namespace hivequarry::testing
