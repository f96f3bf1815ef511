#include "lists/list_report.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "app/list_words.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using namespace std::string_literals;
using TextViews = std::vector<std::string_view>;

void AddWithIcon(OutputList& list, const TextViews& texts, int icon = 0) {
  const std::vector<Cell> cells(texts.begin(), texts.end());
  NewRow row;
  row.cells = cells;
  row.icon = icon;
  row.datum = 4128;
  AddRow(list, row);
}

std::string ReportText(const OutputList& list, const ReportLook& look,
                       const WrittenRows& which = {}) {
  std::string text;
  EXPECT_TRUE(WriteReport(list, which, look, [&](auto piece) { return text += piece, true; }));
  return text;
}

OutputListPtr ReadRows(std::string_view text, ReportRead expected = ReportRead::kDone,
                       int kind = 4) {
  OutputListPtr list = MakeOutputList(kind);
  const ByteSource source = [&](char* room, size_t size) {
    const size_t count = text.copy(room, size);
    text.remove_prefix(count);
    return count;
  };
  EXPECT_EQ(ReadReportRows(source, *list), expected);
  return list;
}

// Every row as "text|text...:icon", empty texts at the end left out.
std::string Shown(const OutputList& list) {
  std::string out;
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    std::string cells = testing::RowText(list, row);
    while (cells.ends_with("|")) cells.pop_back();
    out += cells + ":" + std::to_string(RowIcon(list, row)) + "\n";
  }
  return out;
}

TEST(ReportFile, HeadComesBackAndOldFilesHaveNone) {
  const OutputListPtr list = MakeOutputList(11);
  AddWithIcon(*list, {"2008/05/17, 13:02:09", "HKLM\\A", "0x00001020"}, 3);
  const std::string without = ReportText(*list, {"Key Dates", {120, 300, 90}, "then"});
  const auto head = std::make_shared<ListHead>();
  // More lines than are kept, one of them longer than any: the rows are found all the same.
  std::vector<std::string> lines = {"File: C:\\a b", " \"State\" ", std::string(30000, 'x')};
  while (lines.size() < 40) lines.push_back("line");
  SetLines(*head, lines);
  SetListHead(*list, head);
  const std::string with = ReportText(*list, {"Key Dates", {120, 300, 90}, "then"});
  lines[2].resize(500);
  lines.resize(16);
  for (const std::string& text : {without, with}) {
    ReportHead read;
    ASSERT_EQ(ParseReportHead(text, read), ReportRead::kDone);
    EXPECT_EQ(read.lines, text == with ? lines : std::vector<std::string>());
    EXPECT_EQ(read.columns.size(), 3U);
    EXPECT_EQ(Shown(*ReadRows(text)), "2008/05/17, 13:02:09|HKLM\\A|0x00001020:3\n");
    EXPECT_EQ(HeadLinesOf(*MakeListOfHead(read)), read.lines);
  }
}

TEST(ReportFile, LongHeadsOfAnyLetterLeaveTheRowsInSight) {
  const OutputListPtr list = MakeOutputList(11);
  AddWithIcon(*list, {"2008/05/17, 13:02:09", "HKLM\\A", "0x00001020"}, 3);
  const auto head = std::make_shared<ListHead>();
  std::string line;
  while (line.size() < 1500) line += "\u16A0";
  SetLines(*head, std::vector<std::string>(16, line));
  SetListHead(*list, head);
  const std::string text = ReportText(*list, {"Key Dates", {120, 300, 90}, "then"});
  EXPECT_EQ(Shown(*ReadRows(text)), "2008/05/17, 13:02:09|HKLM\\A|0x00001020:3\n");
  ReportHead read;
  ASSERT_EQ(ParseReportHead(text, read), ReportRead::kDone);
  EXPECT_GE(read.lines.size(), 9U);
}

TEST(ReportFile, ByteForByte) {
  const OutputListPtr list = MakeOutputList(11);
  AddWithIcon(*list, {"2008/05/17, 13:02:09", "HKLM\\A", "0x00001020"}, 3);
  AddWithIcon(*list, {"", "line\r\nend", ""}, 12);
  EXPECT_EQ(ReportText(*list, {"Key Dates", {120, 300, 90}, "Sat May 17 13:02:09 2008"}),
            "[Hivequarry Output List]\r\n"
            "\r\n\r\n[RPLfile]\r\n"
            "\r\nU0=100\r\nU1=Sat May 17 13:02:09 2008\r\nU2=3\r\nU3=;90;300;120\r\nU4=11\r\nU5=2"
            "\r\nU6=Key Dates\r\nH0=Key Date\r\nH1=Key\r\nH2=Key Offset"
            "\r\n\r\n[ROWS]\r\n"
            "012008/05/17, 13:02:09\r\n02HKLM\\A\r\n030x00001020\r\n9903\r\n"
            "02line  end\r\n9912\r\n");
}

TEST(ReportFile, ScopeAndEmptyLists) {
  const OutputListPtr list = MakeOutputList(51);
  for (const std::string_view key : {"a", "b", "c"}) AddWithIcon(*list, {key});
  const uint32_t rows[] = {2, 0};
  const std::string part = ReportText(*list, {}, {rows, true, true});
  EXPECT_TRUE(part.ends_with("\r\n\r\n[ROWS]\r\n01c\r\n9900\r\n01a\r\n9900\r\n"));
  EXPECT_NE(part.find("\r\nU5=3\r\n"), std::string::npos) << "rows of the whole list";
  EXPECT_TRUE(ReportText(*MakeOutputList(5), {}).ends_with("=Key Offset\r\n\r\n[ROWS]\r\n"));
  const auto refused = [](std::string_view) { return ADD_FAILURE() << "written", true; };
  EXPECT_FALSE(WriteReport(*MakeOutputList(99), {}, {}, refused));
}

TEST(ReportFile, ComesBack) {
  const OutputListPtr list = MakeOutputList(4);
  std::vector<std::string> titles;
  for (int i = 1; i <= 18; ++i) titles.push_back("T" + std::to_string(i));
  SetColumns(*list, titles);
  const TextViews full = {"1",  "2",  "3",  "4",  "5",  "6",  "7",  "8",  "9",
                          "10", "11", "12", "13", "14", "15", "16", "17", "18"};
  AddWithIcon(*list, {"", "before all"}, 1);
  AddWithIcon(*list, full, 7);
  AddWithIcon(*list, {}, 4);
  AddWithIcon(*list, {"", "no first"}, 123);
  AddWithIcon(*list, {"last"}, -16);
  const std::string text = ReportText(*list, {"My title", {70, 40, 100}, {}});
  EXPECT_NE(text.find("\r\nH15=T16\r\nCKMDOWN=T17\r\nMASKDOWN=T18\r\n"), std::string::npos);
  ReportHead head;
  ASSERT_EQ(ParseReportHead(text, head), ReportRead::kDone);
  EXPECT_EQ(head.kind, 4);
  EXPECT_EQ(head.title, "My title");
  EXPECT_EQ(head.columns, titles);
  const OutputListPtr loaded = ReadRows(text);
  EXPECT_EQ(Shown(*loaded),
            "|before all:1\n1|2|3|4|5|6|7|8|9|10|11|12:7\n:4\n|no first:123\nlast:-16\n");
  EXPECT_FALSE(RowHasDatum(*loaded, 1));
  EXPECT_EQ(RowDatum(*loaded, 1), 2u);
}

TEST(ReportFile, ColumnsOfOtherEncoding) {
  const OutputListPtr list = MakeOutputList(kListInfo);
  AddWithIcon(*list, {"\u00C4.dat", "8192"});
  const std::string text = ReportText(*list, {});
  EXPECT_NE(text.find("\r\n01\xC4.dat\r\n"), std::string::npos);
  EXPECT_EQ(Shown(*ReadRows(text, ReportRead::kDone, kListInfo)), "\u00C4.dat|8192:0\n");
}

TEST(ReportHeadTest, Widths) {
  const struct {
    const char* stored;
    std::vector<int> widths;
  } cases[] = {{";120;200", {200, 120, 160}},
               {";300;59;40", {160, 160, 300}},
               {";60;61;62;63", {63, 62, 61}},
               {"", {160, 160, 160}},
               {";;x;100", {100, 160, 160}},
               {"99;100", {100, 99, 160}},
               {";-70;99999999999", {160, 160, 160}},
               // Only 63 characters are looked at: the last number is cut to 16.
               {";160;160;160;160;160;160;160;160;160;160;160;160;160;110;120;160;170;180",
                {160, 120, 110}}};
  for (const auto& c : cases) {
    ReportHead head;
    ParseReportHead("[RPLfile]\r\nU2=3\r\nU3="s + c.stored + "\r\n", head);
    EXPECT_EQ(head.widths, c.widths) << c.stored;
  }
}

TEST(ReportHeadTest, ColumnsAtMostEighteen) {
  const struct {
    std::string text;
    size_t columns;
  } cases[] = {{"", 0},
               {"[RPLfile]\r\nU2=-3\r\n", 0},
               {"[Other]\r\nU2=3\r\n", 0},
               {"[rplFILE]\nu2=2\nH0=" + std::string(80, 'h'), 2},
               {"[RPLfile]\r\nU2=1000000000\r\nH0=" + std::string(63, 'h'), 18}};
  for (const auto& c : cases) {
    ReportHead head;
    const ReportRead result = c.columns == 0 ? ReportRead::kNoReport : ReportRead::kDone;
    EXPECT_EQ(ParseReportHead(c.text, head), result) << c.text;
    EXPECT_EQ(head.columns.size(), c.columns) << c.text;
    EXPECT_EQ(head.widths.size(), c.columns);
    EXPECT_TRUE(c.columns == 0 || head.columns[0] == std::string(63, 'h'));
  }
}

TEST(ReportHeadTest, TextsAreCutByCharacters) {
  const struct {
    std::string mark, stored, shown;
  } cases[] = {{"", "\xE4", "\u00E4"}, {"\xEF\xBB\xBF", "\u0436", "\u0436"}};
  for (const auto& c : cases) {
    const auto repeated = [](const std::string& character, int times) {
      std::string text;
      for (int i = 0; i < times; ++i) text += character;
      return text;
    };
    ReportHead head;
    ASSERT_EQ(ParseReportHead(c.mark + "[RPLfile]\r\nU2=1\r\nU6=" + repeated(c.stored, 600) +
                                  "\r\nH0=" + repeated(c.stored, 70) + "\r\n",
                              head),
              ReportRead::kDone);
    EXPECT_EQ(head.title, repeated(c.shown, 511));
    EXPECT_EQ(head.columns, std::vector{repeated(c.shown, 63)});
  }
}

TEST(ReportRows, DamagedFiles) {
  const std::string x(100'000, 'x');
  const std::string row = "[ROWS]\r\n01a\r\n9901\r\n";
  const struct {
    std::string text;
    std::string shown;
    uint64_t lost = 0;  // rows
  } cases[] = {
      {"[ROWS]\r\n01a\r\n02b\r\n9903\r\n01c\r\n", "a|b:3\nc:0\n"},  // ends within a row
      {"[ROWS]\n01a\n9901", "a:1\n"},
      {"[ROWS]\r\n02x\r\n01a\r\n9901\r\n", "a:1\n", 1},  // no row was begun
      {row + "00b\r\n01c\r\n", "a:1\n", 1},
      {row + "19b\r\n01c\r\n", "a:1\n", 1},
      {row + "zzb\r\n01c\r\n", "a:1\n", 1},
      {row + "\r\n01c\r\n", "a:1\n", 1},
      {row + "0\r\n01c\r\n", "a:1\n", 1},
      {row + "x", "a:1\n", 1},
      {row + "01b\r\nx\r\n03d\r\n9900\r\n01c\r\n9900\r\n02e\r\n9900\r\n", "a:1\nb:0\n", 3},
      {row + "x\r\n02b\r\n9900\r\n01c\r\ny\r\n9900\r\n", "a:1\n", 2},
      {"[ROWS]\r\n01a\r\n13m\r\n18r\r\n12l\r\n9901\r\n", "a|||||||||||l:1\n"},
      {row + "01b\r\n01c\r\n99-70000\r\n", "a:1\nb:0\nc:-32768\n"},
      {"[ROWS]\r\n01" + x + "\r\n02b\r\n9902\r\n", x.substr(0, 516) + "...|b:2\n"},
      // Where the marker may be.
      {x.substr(0, 19992) + "\r\n" + row, "a:1\n"},
      {x.substr(0, 19999) + "\r\n" + row, ""},
      {x + "\r\n" + row, ""},
      {"U6=" + row, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 60));
    ForgetShortfalls();
    const bool found = !c.shown.empty();
    EXPECT_EQ(Shown(*ReadRows(c.text, found ? ReportRead::kDone : ReportRead::kNoReport)), c.shown);
    EXPECT_EQ(ShortfallCount(Shortfall::kRows), c.lost);
  }
  ForgetShortfalls();
}

// The bounds are those of lists of results; the console program's own lists come back whole.
TEST(ReportFile, OwnListsComeBackWhole) {
  const OutputListPtr list = MakeOutputList(kListInfo);
  std::vector<std::string> texts = {std::string(600, 'f')};
  for (int i = 1; i < ColumnCount(*list); ++i) texts.push_back(std::to_string(100 + i));
  texts[7] = std::string(33000, 'p');
  AddWithIcon(*list, TextViews(texts.begin(), texts.end()));
  const std::string text = ReportText(*list, {});
  ReportHead head;
  ASSERT_EQ(ParseReportHead(text, head), ReportRead::kDone);
  ASSERT_EQ(head.columns.size(), texts.size());
  EXPECT_EQ(head.columns.back(), "root_contradiction");
  EXPECT_EQ(Shown(*ReadRows(text, ReportRead::kDone, kListInfo)), Shown(*list));
}

// Lines around the pieces and the window in which the file is read.
TEST(ReportRows, StopLeavesNoPartOfARow) {
  std::string_view pieces[] = {"[ROWS]\r\n01a\r\n02b\r\n9900\r\n01c\r\n", "02d\r\n9900\r\n"};
  size_t next = 0;
  const OutputListPtr list = MakeOutputList(5);
  ASSERT_TRUE(BeginOperation(kOperationLoad));
  ReadReportRows(
      [&](char* room, size_t size) {
        if (next == 1) RequestStop();
        return next < std::size(pieces) ? pieces[next++].copy(room, size) : 0;
      },
      *list);
  EndOperation();
  EXPECT_EQ(RowCount(*list), 1u);
}

TEST(ReportRows, LinesOfEveryLength) {
  std::string text = "[ROWS]\r\n";
  std::string shown;
  for (size_t length = 1; length < 560; ++length) {
    text += "01" + std::string(length, 'a') + "\r\n02b\r\n9901\r\n";
    shown += length <= 519 ? std::string(length, 'a') : std::string(516, 'a') + "...";
    shown += "|b:1\n";
  }
  EXPECT_EQ(Shown(*ReadRows(text)), shown);
}

TEST(ReportFile, OnDisk) {
  const std::string file = ::testing::TempDir() + "list_report_test.rpt";
  const OutputListPtr list = MakeOutputList(51);
  AddWithIcon(*list, {"a"}, 5);
  std::ofstream(file, std::ios::binary) << ReportText(*list, {});
  ReportHead head;
  EXPECT_EQ(ReadReportHead(file, head), ReportRead::kDone);
  EXPECT_EQ(head.columns, std::vector<std::string>{"Key"});
  EXPECT_EQ(ReadReportRowsAndTell(file, *list), ReportRead::kDone);
  EXPECT_EQ(Shown(*list), "a:5\na:5\n");
  std::filesystem::remove(file);
  EXPECT_EQ(ReadReportHead(file, head), ReportRead::kCannotOpen);
  EXPECT_EQ(ReadReportRowsAndTell(file, *list), ReportRead::kCannotOpen);
}

TEST(ReportFile, NamesAndTimes) {
  for (const char* name : {"a.rpt", "C:\\x.RPT", "..rPt"}) EXPECT_TRUE(IsReportName(name)) << name;
  for (const char* name : {".rpt", "", "arpt", "a.rpt ", "a.rp"}) EXPECT_FALSE(IsReportName(name));
  EXPECT_EQ(ReportTime(1698826150), "Wed Nov  1 08:09:10 2023");
  EXPECT_EQ(ReportTimeNow().size(), 24u);
}

}  // namespace
}  // namespace hivequarry
