// Freed records in searches, lists of dates, details and scripts, and what they may cost.
#include <gtest/gtest.h>

#include "host/number_text.h"
#include "host/shortfalls.h"
#include "reports/freed_find.h"
#include "reports/freed_lists.h"
#include "reports/freed_script.h"
#include "reports/hive_lists.h"
#include "tests/support/deadline.h"
#include "tests/support/hostile_hives.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using testing::BuiltHive;
using testing::Bytes;
using testing::HiveBuilder;
using testing::OpenedHive;
using testing::Texts;
namespace field = testing::field;

// A deleted key with two values, of which the data of one are in use, and one whose parent's place
// was used again.
BuiltHive Deleted() {
  HiveBuilder builder;
  builder.Key("A\\Kept");
  builder.Key("A\\Gone").Sz("name", "a text").Binary("bytes", 40).FreeBehind(64);
  builder.Key("A\\Lost child of it").FreeBehind(64);
  BuiltHive built = builder.Build();
  built.Unlink("A\\Gone").Unlink("A\\Lost child of it");
  built.SetU16(built.PositionOf("A"), 56, 8);  // its longest subkey name
  for (const char* path : {"A\\Gone", "A\\Lost child of it"}) built.Free(built.PositionOf(path));
  built.Free(built.ValueListPosition("A\\Gone"));
  for (const char* name : {"name", "bytes"}) built.Free(built.ValuePosition("A\\Gone", name));
  built.Free(built.DataPosition("A\\Gone", "name"));
  return built;
}

Texts RowsOf(const OutputList& list) {
  Texts rows;
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    std::string& text = rows.emplace_back(CellText(list, row, 0));
    for (int column = 1; column < ColumnCount(list); ++column) {
      text.append("|").append(CellText(list, row, column));
    }
  }
  return rows;
}

Texts Search(const OpenedHive& opened, const std::string& text, const char* below = "") {
  SearchSettings settings;
  settings.text = text;
  settings.key_names = settings.value_names = settings.value_data = true;
  SearchPattern pattern;
  EXPECT_TRUE(CompilePattern(settings, pattern));
  const OutputListPtr list = MakeSearchList(false);
  AddPlaceColumn(*list);
  const uint32_t item = opened.Item(below);
  SearchBranch(opened.hive, opened.tree, item, pattern, *list);
  FreedSource from(opened.hive, opened.tree);
  SearchFreed(from, item, pattern, *list);
  for (uint32_t row = 0; row < RowCount(*list); ++row) {
    EXPECT_EQ(IsFreedRow(*list, row), !CellText(*list, row, 5).empty());
  }
  return RowsOf(*list);
}

std::string At(uint32_t position) { return HexNumber(position); }

TEST(FreedHanding, ASearchTakesThemIn) {
  const BuiltHive built = Deleted();
  const OpenedHive opened(built);
  const std::string gone = At(built.PositionOf("A\\Gone"));
  const std::string lost = At(built.PositionOf("A\\Lost child of it"));
  EXPECT_EQ(Search(opened, "lost"),
            Texts{"?\\Lost child of it||||" + lost + "|free cell, parent's place was used again"});
  EXPECT_EQ(Search(opened, "a text"),
            Texts{"ROOT\\A\\Gone|name|a text|REG_SZ|" + gone + "|free cell"});
  EXPECT_EQ(Search(opened, "kept"),
            Texts{"ROOT\\A\\Kept||||" + At(built.PositionOf("A\\Kept")) + "|"});
  EXPECT_EQ(Search(opened, "gone", "A").size(), 1u);
  EXPECT_EQ(Search(opened, "lost", "A").size(), 0u) << "not known to be below";
  EXPECT_EQ(Search(opened, "gone", "A\\Kept").size(), 0u);
}

TEST(FreedHanding, DatesTakeThemIn) {
  const BuiltHive built = Deleted();
  const OpenedHive opened(built);
  const OutputListPtr list = MakeOutputList(kListKeyDates);
  AddPlaceColumn(*list);
  KeyDateRange range;
  range.limited = true;
  range.start = {2021, 1, 1, 0, 0, 0};
  range.end = {2021, 12, 31, 0, 0, 0};
  FreedSource from(opened.hive, opened.tree);
  ListFreedDates(from, 0, range, *list);
  EXPECT_EQ(RowsOf(*list).at(0),
            "2021/03/04, 00:00:00|ROOT\\A\\Gone|" + At(built.PositionOf("A\\Gone")) + "|free cell");
  EXPECT_EQ(RowCount(*list), 2u);
  range.start.year = 2022;
  ListFreedDates(from, 0, range, *list);
  EXPECT_EQ(RowCount(*list), 2u);
}

TEST(FreedHanding, DetailsHaveAllOfTheData) {
  const BuiltHive built = Deleted();
  const OpenedHive opened(built);
  const uint32_t value = built.ValuePosition("A\\Gone", "name");
  const OutputListPtr list = ListDetail(opened.hive, opened.tree, value);
  ASSERT_NE(list, nullptr);
  const Texts rows = RowsOf(*list);
  ASSERT_EQ(rows.size(), 6u);
  EXPECT_EQ(rows[0], "Value|name");
  EXPECT_EQ(rows[2], "Key|ROOT\\A\\Gone");
  EXPECT_EQ(rows[3], "Place|free cell");
  EXPECT_EQ(rows[5], "Data|a text");
  const OutputListPtr key = ListDetail(opened.hive, opened.tree, built.PositionOf("A\\Gone"));
  EXPECT_EQ(RowsOf(*key).at(0), "Key|ROOT\\A\\Gone");
}

std::string ScriptOf(OpenedHive& opened, const FreedChoice& choice) {
  opened.hive.root.long_prefix = "HKEY_LOCAL_MACHINE\\TEST\\";
  FreedSource from(opened.hive, opened.tree);
  std::string script;
  ExportFreed(from, choice, [&](std::string_view piece) {
    script += piece;
    return true;
  });
  return script;
}

TEST(FreedHanding, AScriptSaysWhereTheyStand) {
  const BuiltHive built = Deleted();
  OpenedHive opened(built);
  const FreedRecords records = FindFreedRecords(opened.hive, opened.tree);
  const std::string gone = At(built.PositionOf("A\\Gone"));
  const std::string head =
      "REGEDIT4\r\n\r\n; Keys and values that were deleted, from the free space"
      " of a hive.\r\n";
  const std::string bytes_at = At(built.ValuePosition("A\\Gone", "bytes"));
  const std::string script = ScriptOf(opened, ChooseFreedBelow(opened.tree, records, 0));
  const std::string expected = head + "; Deleted key at " + gone +
                               ", free cell, last written 2021/03/04, 00:00:00 UTC\r\n"
                               "[HKEY_LOCAL_MACHINE\\TEST\\A\\Gone]\r\n; Deleted value at " +
                               At(built.ValuePosition("A\\Gone", "name")) +
                               ", free cell\r\n\"name\"=\"a text\"\r\n; Deleted value at " +
                               bytes_at +
                               ", free cell, data in use: what follows may be another record's\r\n"
                               "; \"bytes\"=hex:";
  EXPECT_EQ(script.substr(0, expected.size()), expected);
  EXPECT_NE(script.find("\r\n;   "), std::string::npos) << "lines that go on are comments too";
  EXPECT_NE(script.find("parent's place was used again"), std::string::npos);
  EXPECT_NE(script.find("\r\n[?\\Lost child of it]\r\n"), std::string::npos);

  const uint32_t value = built.ValuePosition("A\\Gone", "name");
  const FreedChoice one = ChooseFreed(records, std::span(&value, 1), FreedScope::kBranches);
  EXPECT_EQ(ScriptOf(opened, one), head + "; Deleted values of the key at " + gone +
                                       "\r\n[HKEY_LOCAL_MACHINE\\TEST\\A\\Gone]\r\n"
                                       "; Deleted value at " +
                                       At(value) + ", free cell\r\n\"name\"=\"a text\"\r\n\r\n");
}

TEST(FreedHanding, BranchesAreThoseBelow) {
  HiveBuilder builder;
  builder.Key("A\\B\\C\\D").Dword("v", 1);
  BuiltHive built = builder.Build();
  built.Unlink("A\\B");
  for (const char* path : {"A\\B", "A\\B\\C", "A\\B\\C\\D"}) built.Free(built.PositionOf(path));
  built.Free(built.ValuePosition("A\\B\\C\\D", "v")).Free(built.ValueListPosition("A\\B\\C\\D"));
  const OpenedHive opened(built);
  const FreedRecords records = FindFreedRecords(opened.hive, opened.tree);
  ASSERT_EQ(records.keys.size(), 3u);
  const uint32_t middle = built.PositionOf("A\\B\\C");
  const auto choose = [&](FreedScope scope) {
    const FreedChoice choice = ChooseFreed(records, std::span(&middle, 1), scope);
    return std::pair(choice.keys.size(), choice.values.size());
  };
  EXPECT_EQ(choose(FreedScope::kRecords), std::pair(size_t{1}, size_t{0}));
  EXPECT_EQ(choose(FreedScope::kBranches), std::pair(size_t{2}, size_t{1}));
}

// --- costs -----------------------------------------------------------------------------------

class FreedCosts : public ::testing::TestWithParam<testing::HostileHive> {};

TEST_P(FreedCosts, StayWithinLimits) {
  const Bytes bytes = GetParam().make(2);
  OpenedHive opened(bytes);
  const testing::Deadline deadline;
  FreedSource from(opened.hive, opened.tree);
  const FreedChoice all = ChooseFreedBelow(opened.tree, from.records, 0);
  uint64_t written = 0;
  ExportFreed(from, all, [&](std::string_view piece) {
    written += piece.size();
    return true;
  });
  ListFreedKeys(opened.hive, opened.tree);
  ValueListOptions options;
  options.raw = true;
  ListFreedValues(opened.hive, opened.tree, options);
  EXPECT_LT(written, 40 * bytes.size());
}

INSTANTIATE_TEST_SUITE_P(Hostile, FreedCosts, ::testing::ValuesIn(testing::HostileHives()));

}  // namespace
}  // namespace hivequarry
