#include "view/bookmark_report.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "lists/list_rows.h"
#include "tests/support/freed_hives.h"
#include "tests/support/opened_hive.h"
#include "tests/support/sample_hives.h"
#include "view/freed_words.h"

namespace hivequarry::testing {
namespace {

std::string CellOf(const HtmlSection& section, uint32_t row, int column) {
  return std::string(CellText(*section.lists.front().second, row, column));
}

std::string Column(const HtmlSection& section, uint32_t row, std::string_view title) {
  const OutputList& list = *section.lists.front().second;
  for (int column = 0; column < ColumnCount(list); ++column) {
    if (ColumnTitle(list, column) == title) return CellOf(section, row, column);
  }
  return "(no such column)";
}

uint32_t RowsOfSection(const HtmlSection& section) {
  return RowCount(*section.lists.front().second);
}

const HtmlSection& SectionWith(const HtmlReport& report, std::string_view title) {
  const auto has_title = [title](const HtmlSection& section) { return section.title == title; };
  return *std::ranges::find_if(report.sections, has_title);
}

BookmarkedHive Look(const OpenedHive& opened, const HiveHashes* hashes = nullptr) {
  return {&opened.hive, &opened.tree, nullptr, hashes};
}

HtmlReport ReportOf(const BookmarkedHive& hive, std::span<const Bookmark> bookmarks,
                    bool by_tag = false) {
  return ReportBookmarks(std::span(&hive, 1), bookmarks, by_tag);
}

TEST(BookmarkReport, KeysValuesAndWhatIsMissing) {
  HiveBuilder builder;
  builder.Key("Kept").Time(kDefaultTime).Sz("<b>", "text").Binary("long", kMostReportedData + 3);
  builder.Key("Lost\\Below").Dword("n", 1);
  const OpenedHive sound(builder.Build());
  HiveHashes hashes;
  hashes.hive = "0123";
  const BookmarkedHive look = Look(sound, &hashes);
  std::vector<Bookmark> bookmarks = {BookmarkOfKey(look, sound.Item("\\Kept")),
                                     BookmarkOfKey(look, sound.Item("\\Lost\\Below"))};
  bookmarks[0].note = "look & see";
  bookmarks.push_back(bookmarks[0]);
  bookmarks[2].path += "\\gone";
  bookmarks[2].sha256.clear();
  bookmarks[2].position = 0x7FFFFFF0;
  bookmarks[2].note = "third";
  const HtmlReport report = ReportOf(look, bookmarks);
  const HtmlSection& keys = report.sections[0];
  EXPECT_EQ(RowsOfSection(keys), 2U);
  EXPECT_EQ(Column(keys, 0, "Note"), "look & see");
  EXPECT_EQ(Column(keys, 0, "State"), "live");
  EXPECT_EQ(Column(keys, 0, "Why here"), "");
  EXPECT_EQ(Column(keys, 0, "Remarks"), "");
  const HtmlSection& values = SectionWith(report, "Values of the bookmarked keys");
  EXPECT_EQ(RowsOfSection(values), 3U);
  EXPECT_EQ(CellOf(values, 0, 1), "<b>");
  EXPECT_EQ(CellOf(values, 0, 5), "74006500780074000000");
  EXPECT_TRUE(CellOf(values, 1, 5).ends_with(" ... 3 more bytes"));
  const HtmlSection& missing = report.sections.back();
  ASSERT_EQ(RowsOfSection(missing), 1U);
  EXPECT_EQ(Column(missing, 0, "Note"), "third");
  EXPECT_TRUE(Column(missing, 0, "Nearest key").ends_with("\\Kept"));
  std::string html;
  EXPECT_TRUE(WriteHtmlReport(report, [&html](std::string_view text) {
    html += text;
    return true;
  }));
  EXPECT_LT(html.find("0123"), html.find("Bookmarked keys"));
  EXPECT_NE(html.find("&lt;b&gt;"), std::string::npos);
  EXPECT_EQ(html.find("<b>"), std::string::npos);
  EXPECT_NE(html.find("Keys of the bookmarks by the year"), std::string::npos);
}

TEST(BookmarkReport, ValuesAndRowsByTheirTags) {
  HiveBuilder builder;
  builder.Key("Run").Time(kDefaultTime).Sz("evil", "cmd");
  const OpenedHive opened(builder.Build());
  const BookmarkedHive look = Look(opened);
  const uint32_t item = opened.Item("\\Run");
  const uint32_t evil = ListedValues(opened.hive, opened.tree.items[item].position).at(0);
  OutputListPtr list = MakeOutputList(kListDetail);
  SetColumns(*list, {"Key", "What"});
  AddListRow(*list, {ItemPath(opened.hive, opened.tree, item), "of the list"}, evil);
  std::vector<Bookmark> bookmarks = {BookmarkOfValue(look, item, evil),
                                     BookmarkOfRow(look, *list, 0, kNoOffset),
                                     BookmarkOfKey(look, item)};
  bookmarks[0].tags = {"start", "Bad"};
  bookmarks[1].tags = {"bad"};
  const HtmlReport kinds = ReportOf(look, bookmarks);
  const HtmlSection& values = SectionWith(kinds, "Bookmarked values");
  EXPECT_EQ(Column(values, 0, "Value"), "evil");
  EXPECT_EQ(Column(values, 0, "Type"), "REG_SZ");
  EXPECT_EQ(Column(values, 0, "Bytes"), "63006d0064000000");
  const HtmlSection& rows = SectionWith(kinds, "Bookmarked rows of lists");
  EXPECT_NE(Column(rows, 0, "Row").find("of the list"), std::string::npos);
  EXPECT_EQ(Column(rows, 0, "Data"), "cmd");

  const HtmlReport tags = ReportOf(look, bookmarks, true);
  std::vector<std::string> titles;
  for (const HtmlSection& section : tags.sections) {
    titles.push_back(section.title + " " + std::to_string(RowsOfSection(section)));
  }
  EXPECT_EQ(titles, (std::vector<std::string>{"Tag: Bad 2", "Tag: start 1", "Without a tag 1",
                                              "Values of the bookmarked keys 1",
                                              "Bookmarks whose key or value is not there 0"}));
}

TEST(BookmarkReport, EachOfSeveralHivesHasItsOwn) {
  HiveBuilder first;
  first.Key("Both").Dword("n", 1);
  HiveBuilder second;
  second.Key("Both").Dword("n", 2);
  const OpenedHive a(first.Build());
  const OpenedHive b(second.Build());
  HiveHashes hash_a;
  hash_a.hive = std::string(64, 'a');
  HiveHashes hash_b;
  hash_b.hive = std::string(64, 'b');
  const BookmarkedHive hives[] = {Look(a, &hash_a), Look(b, &hash_b)};
  const std::vector<Bookmark> bookmarks = {BookmarkOfKey(hives[1], b.Item("\\Both")),
                                           BookmarkOfKey(hives[0], a.Item("\\Both"))};
  const HtmlReport report = ReportBookmarks(hives, bookmarks, false);
  EXPECT_EQ(Column(report.sections[0], 0, "Hive File"), b.hive.file_name);
  EXPECT_EQ(Column(report.sections[0], 1, "Hive File"), a.hive.file_name);
  EXPECT_EQ(CellOf(SectionWith(report, "Values of the bookmarked keys"), 0, 3), "0x00000002 (2)");
}

TEST(BookmarkReport, RecoveredKeysSayWhyTheyAreThere) {
  const OpenedHive damaged(DamagedSample());
  uint32_t item = 0;
  while (!IsRecovered(damaged.tree, item) || !HasKeyCell(damaged.tree, item)) ++item;
  const BookmarkedHive look = Look(damaged);
  const std::vector<Bookmark> bookmarks = {BookmarkOfKey(look, item)};
  const HtmlReport report = ReportOf(look, bookmarks);
  EXPECT_TRUE(Column(report.sections[0], 0, "State").starts_with("recovered"));
  EXPECT_NE(Column(report.sections[0], 0, "Why here"), "");
  ASSERT_EQ(report.pictures.size(), 2U);
  EXPECT_FALSE(report.pictures[0].bars.empty());
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

// A deleted key with what is left of its values; a row about one of these is of that key.
TEST(BookmarkReport, DeletedKeysHaveTheirValues) {
  OpenedHive opened(HiveWithDeletedKeys());
  SetRootPath(opened.hive, "HKU\\S-1-5-18");
  opened.tree.root_text = DisplayedRoot(opened.hive);
  const auto freed = FindFreedTree(opened.hive, opened.tree);
  BookmarkedHive look = Look(opened);
  look.freed = freed.get();
  const auto& values = freed->records.values;
  const auto owned = std::ranges::find_if(values, [&freed](const FreedValue& value) {
    return value.key != kNoOffset && FreedItemAt(*freed, value.key) != kNoItem;
  });
  ASSERT_NE(owned, values.end());
  const OutputListPtr found = MakeOutputList(kListSearch);
  AddListRow(*found, {"path", "value"}, owned->position);
  const Bookmark bookmarks[] = {BookmarkOfDeletedKey(look, owned->key),
                                BookmarkOfRow(look, *found, 0, opened.tree.items[0].position)};
  EXPECT_EQ(bookmarks[1].path, bookmarks[0].path);
  const HtmlReport report = ReportOf(look, bookmarks);
  const HtmlSection& shown = SectionWith(report, "Values of the bookmarked keys");
  EXPECT_EQ(RowsOfSection(shown), FreedValuesOf(*freed, owned->key).size());
  EXPECT_FALSE(CellOf(shown, 0, 5).empty()) << "its bytes";
  const std::string path =
      FreedItemPath(opened.hive, opened.tree, *freed, FreedItemAt(*freed, owned->key));
  EXPECT_EQ(CellOf(shown, 0, 0), path) << "as the tree shows it";
}

}  // namespace
}  // namespace hivequarry::testing
