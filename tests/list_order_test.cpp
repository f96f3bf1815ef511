#include "lists/list_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "host/case.h"
#include "lists/list_columns.h"

namespace hivequarry {
namespace {

using RowList = std::vector<uint32_t>;

OutputListPtr ListOf(const std::vector<std::string>& texts) {
  OutputListPtr list = MakeOutputList(36);
  for (const std::string& text : texts) {
    const Cell cells[] = {"k", text};
    NewRow row;
    row.cells = cells;
    row.icon = static_cast<int>(text.size() % 3) - 1;
    AddRow(*list, row);
  }
  return list;
}

RowList AllRows(const OutputList& list) {
  RowList rows(RowCount(list));
  std::iota(rows.begin(), rows.end(), 0u);
  return rows;
}

// Row numbers, a digit each.
std::string Sorted(const OutputList& list, SortMode mode, bool descending) {
  std::string order;
  for (const uint32_t row : SortRows(list, AllRows(list), {1, mode, descending}, {})) {
    order += std::to_string(row);
  }
  return order;
}

TEST(SortTest, Modes) {
  const std::string same(1200, 'p');  // longer than what is kept of a key
  const struct {
    SortMode mode;
    std::vector<std::string> texts;
    const char* order;
    const char* descending;
  } cases[] = {
      {SortMode::kText, {"b", "B", "a", "ab", "", "_"}, "423015", "501324"},
      {SortMode::kText, {"K\\b", "k\\a", "K\\a"}, "120", "012"},
      {SortMode::kText, {"o", "\u00F6", "\u00D6", "p", "\u00F6z", "oa"}, "053124", "412350"},
      {SortMode::kText, {"\u0431", "\u0410", "\u0430", "z", "\u65E5"}, "31204", "40123"},
      {SortMode::kText, {same + "c", same + "a", same, same + "b"}, "2130", "0312"},
      {SortMode::kText, {"same", "same"}, "01", "01"},
      {SortMode::kLength, {"ccc", "bb", "aaa", ""}, "3102", "0213"},
      {SortMode::kLength, {"\u0436\u0436", "abc", "\u65E5"}, "201", "102"},
      {SortMode::kNumber, {"10 x", "9", " -2", "", "99999999999999999999"}, "23104", "40132"},
      {SortMode::kDate, {"2008/05/17, 13:02:09", "", "2008/4/30, 23:59:59"}, "120", "021"},
      {SortMode::kLevel, {"a\\b\\c", "z", "b\\c"}, "120", "021"},
      {SortMode::kIcon, {"11", "1", "111"}, "210", "012"},
  };
  for (const auto& c : cases) {
    const OutputListPtr list = ListOf(c.texts);
    SCOPED_TRACE(c.texts[0].substr(0, 20));
    EXPECT_EQ(Sorted(*list, c.mode, false), c.order);
    EXPECT_EQ(Sorted(*list, c.mode, true), c.descending);
  }
}

TEST(SortTest, ColumnsTellHow) {
  const struct {
    int kind, column;
    SortMode mode;
  } cases[] = {
      {11, 0, SortMode::kDate},          {11, 1, SortMode::kText},   {11, 2, SortMode::kText},
      {47, 1, SortMode::kNumber},        {14, 1, SortMode::kNumber}, {57, 2, SortMode::kDate},
      {57, 6, SortMode::kNumber},        {39, 1, SortMode::kNumber}, {5, 9, SortMode::kText},
      {kListTree, 5, SortMode::kNumber}, {41, 4, SortMode::kDate}};
  for (const auto& c : cases) {
    EXPECT_EQ(SortModeOfColumn(*MakeOutputList(c.kind), c.column), c.mode) << c.kind << c.column;
  }
}

TEST(SortTest, StopEndsItWithAllRowsStillThere) {
  std::vector<std::string> texts;
  for (int i = 0; i < 20'000; ++i) texts.push_back(std::to_string(i * 7919 % 20'000));
  const OutputListPtr list = ListOf(texts);
  for (const SortMode mode : {SortMode::kText, SortMode::kNumber}) {
    for (const int questions : {1, 3, 20, 60}) {
      int asked = 0;
      RowList rows =
          SortRows(*list, AllRows(*list), {1, mode, false}, [&] { return ++asked >= questions; });
      EXPECT_LE(asked, questions) << "asked again after a yes";
      std::sort(rows.begin(), rows.end());
      EXPECT_EQ(rows, AllRows(*list));
    }
  }
}

TEST(FindTest, NextAndPrevious) {
  const OutputListPtr list = ListOf({"Alpha", "beta", "ALPHABET", "gamma", "\u00E4lpha"});
  const RowList rows = {4, 3, 2, 1, 0};  // shown the other way round
  const struct {
    FindRequest request;
    int64_t place;
    const char* passed;
  } cases[] = {{{"alpha", -1, true, true}, 2, ""},
               {{"alpha", 2, true, true}, 4, ""},
               {{"alpha", 4, true, true}, 2, kPassedEnd},
               {{"alpha", 4, true, false}, -1, ""},
               {{"alpha", 2, false, true}, 4, kPassedBeginning},
               {{"alpha", 0, false, false}, -1, ""},
               {{"alpha", 4, false, true}, 2, ""},
               {{"BET", 99, true, true}, 2, ""},
               {{"gamma", 1, true, true}, 1, kPassedEnd},  // the row in focus comes last
               {{"\u00C4L", -1, false, true}, 0, ""},
               {{"K", -1, true, true}, 0, ""},  // the first column of any
               {{"nowhere", 3, true, true}, -1, kPassedEnd},
               {{"", 3, true, true}, -1, ""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.request.text);
    std::string passed;
    const FoundRow found =
        FindRow(*list, rows, c.request, {[&](const char* text) { passed += text; }, {}});
    EXPECT_EQ(found.place, c.place);
    EXPECT_EQ(passed, c.passed);
    EXPECT_EQ(found.wrapped, !passed.empty());
  }
  EXPECT_EQ(FindAllRows(*list, rows, "ALPHA", 1), (RowList{2, 4}));
  EXPECT_EQ(FindAllRows(*list, rows, "k", 1), RowList());
  EXPECT_EQ(FindAllRows(*list, rows, "k", -1).size(), 5u);
}

TEST(FindTest, ProgressAndStop) {
  const OutputListPtr list = ListOf(std::vector<std::string>(1025, "x"));
  RowList told;
  const FindEvents events = {{}, [&](uint32_t visited) {
                               told.push_back(visited);
                               return told.size() < 4;
                             }};
  const FoundRow found = FindRow(*list, AllRows(*list), {"y", 5, true, true}, events);
  EXPECT_TRUE(found.stopped);
  EXPECT_EQ(told, (RowList{0, 128, 256, 384}));
  told.clear();
  RowList rows = AllRows(*list);
  rows.pop_back();
  FindRow(*list, rows, {"y", 5, true, true}, events);
  EXPECT_TRUE(told.empty()) << "short lists show no progress";
}

TEST(CaseTest, CapitalsOfCodePages) {
  constexpr char16_t kSmall[] =
      u"az\u00E0\u00FE\u00FF\u0161\u0153\u017E\u0105\u013E\u03AC\u03C3"
      u"\u03C2\u03CE\u0430\u044F\u0451\u045F\u0491\u00F7\u00DF1[{";
  constexpr char16_t kCapital[] =
      u"AZ\u00C0\u00DE\u0178\u0160\u0152\u017D\u0104\u013D\u0386\u03A3"
      u"\u03A3\u038F\u0410\u042F\u0401\u040F\u0490\u00F7\u00DF1[{";
  for (size_t i = 0; kSmall[i] != 0; ++i) EXPECT_EQ(CapitalOf(kSmall[i]), kCapital[i]) << i;
  // Those of the system's own table, and what it leaves as it is.
  constexpr char16_t kPairs[][2] = {
      {u'\u0436', u'\u0416'}, {u'\u0455', u'\u0405'}, {u'\u04CF', u'\u04C0'},
      {u'\u0561', u'\u0531'}, {u'\u03C2', u'\u03A3'}, {u'\u03F2', u'\u03F9'},
      {u'\u1F00', u'\u1F08'}, {u'\u1E01', u'\u1E00'}, {u'\u0253', u'\u0181'},
      {u'\u01C6', u'\u01C4'}, {u'\u2170', u'\u2160'}, {u'\u24D0', u'\u24B6'},
      {u'\u2C30', u'\u2C00'}, {u'\uFF41', u'\uFF21'}, {u'\u0131', u'\u0131'},
      {u'\u017F', u'\u017F'}, {u'\u00B5', u'\u00B5'}, {u'\u01C5', u'\u01C5'},
      {u'\u1E9B', u'\u1E9B'}, {u'\u10D0', u'\u10D0'}, {u'\u0390', u'\u0390'},
      {u'\u0149', u'\u0149'}, {u'\u4E00', u'\u4E00'}};
  for (const auto& [small, capital] : kPairs) EXPECT_EQ(CapitalOf(small), capital) << int{small};
  EXPECT_EQ(CapitalsOf(WesternCodePage())[0xFF], 0x9F);
  EXPECT_EQ(CapitalsOf(WesternCodePage())[0xB5], 0xB5) << "no capital in this code page";
}

constexpr WidthUnits kUnits = {70, 112, 98, 17, 1000};

TEST(WidthTest, EveryKindFits) {
  for (int kind = 0; kind < 115; ++kind) {
    const OutputListPtr list = MakeOutputList(kind);
    if (ColumnCount(*list) == 0) continue;
    const std::vector<int> widths = ColumnWidths(*list, kUnits);
    if (kind == kListInfo) continue;  // one row, too many columns for any window
    EXPECT_EQ(std::accumulate(widths.begin(), widths.end(), 0), 983) << kind;
    EXPECT_GE(*std::min_element(widths.begin(), widths.end()), 30) << kind;
    for (const int width : ColumnWidths(*list, {70, 112, 98, 17, 100})) EXPECT_GE(width, 23);
  }
}

TEST(WidthTest, ColumnsFitTheirTexts) {
  const struct {
    std::vector<int> needed;
    std::vector<int> widths;
  } cases[] = {
      {{100, 200, 50}, {100, 200, 683}},              // the last takes the rest
      {{100, 2000, 50}, {100, 833, 50}},              // the widest is cut
      {{2000, 200, 900, 300}, {375, 200, 240, 168}},  // those that are wider than their share
      {{10, 100}, {23, 960}},
      {{983}, {983}},
      {{}, {}},
  };
  for (const auto& c : cases) EXPECT_EQ(FittedWidths(c.needed, kUnits), c.widths);
  for (const int width : FittedWidths(std::vector<int>(18, 500), kUnits)) EXPECT_EQ(width, 70);
  const std::vector<int> dated = {2000, 400, 300, 330};
  EXPECT_EQ(FittedWidths(dated, kUnits, {false, false, true}),
            (std::vector<int>{363, 163, 300, 157}));
  EXPECT_EQ(FittedWidths(dated, {70, 112, 98, 17, 400}, {false, false, true}),
            FittedWidths(dated, {70, 112, 98, 17, 400}))
      << "no room for the others";
}

TEST(WidthTest, LongTextsAreOfASample) {
  const OutputListPtr list = MakeOutputList(51);
  for (uint32_t row = 0; row < 100'000; ++row) {
    const std::string text(row == 99 ? 50 : row % 500 == 0 ? 30 : row % 7, 'x');
    const Cell cell = text;
    NewRow added;
    added.cells = std::span(&cell, 1);
    AddRow(*list, added);
  }
  RowsShown shown;
  LongTexts texts = LongTextsOf(*list, shown).at(0);
  std::ranges::sort(texts, {}, &std::string_view::size);
  EXPECT_EQ(texts.back().size(), 50U) << "among the first";
  EXPECT_EQ(texts[2].size(), 30U) << "from all over the list";
  FilterRows(shown, std::vector<bool>(100'000));
  EXPECT_EQ(LongTextsOf(*list, shown).at(0), LongTexts());
}

TEST(WidthTest, TitlesDecide) {
  const OutputListPtr search = MakeOutputList(5);
  EXPECT_EQ(ColumnWidths(*search, kUnits), (std::vector<int>{490, 116, 163, 98, 116}));
  EXPECT_EQ(ColumnWidths(*MakeOutputList(11), kUnits), (std::vector<int>{112, 755, 116}));
  SetColumns(*search, {"x", "y"});
  EXPECT_EQ(ColumnWidths(*search, kUnits), (std::vector<int>{160, 160}));
}

}  // namespace
}  // namespace hivequarry
