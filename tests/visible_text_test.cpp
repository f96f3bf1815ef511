// What names and data of a hive may do to a terminal, and to the lines of a list.
#include "host/visible_text.h"

#include <gtest/gtest.h>

#include <numeric>
#include <set>
#include <vector>

#include "lists/list_writers.h"
#include "reports/hive_lists.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"
#include "view/shown_text.h"

namespace hivequarry::testing {
namespace {

using namespace std::string_view_literals;

std::string Visible(std::string_view utf8) {
  std::string out;
  AppendVisible(utf8, out);
  return out;
}

TEST(VisibleText, Escapes) {
  const std::pair<std::string_view, const char*> cases[] = {
      {"", ""},
      {"HKLM\\u\\x1B {u{", "HKLM\\u\\x1B {u{"},
      {"\x1B[2J\a\0\x7F"sv, "\\u{1B}[2J\\u{7}\\u{0}\\u{7F}"},
      {"a\r\nb\tc", "a\\u{D}\\u{A}b\\u{9}c"},
      {"\u009B1m\u00A0\u00E9", "\\u{9B}1m\u00A0\u00E9"},
      {"\u061C\u200E\u200F\u2028\u2029\u202E\u2066\u2069",
       "\\u{61C}\\u{200E}\\u{200F}\\u{2028}"
       "\\u{2029}\\u{202E}\\u{2066}\\u{2069}"},
      {"\u2027\u202F\u2065\u0600\u20AC\U0001F600", "\u2027\u202F\u2065\u0600\u20AC\U0001F600"},
      {"\\u{1B}", "\\u{5C}u{1B}"},
      {"\\u{5C}u{", "\\u{5C}u{5C}u{"},
      {"\\\x1B", "\\\\u{1B}"}};
  std::set<std::string> shown;
  for (const auto& [text, visible] : cases) {
    EXPECT_EQ(Visible(text), visible);
    EXPECT_TRUE(shown.insert(Visible(text)).second) << "two texts look alike";
  }
}

// Whatever the text's length is, and wherever in it the one odd byte.
TEST(VisibleText, WhereAPlainTextEnds) {
  for (size_t size = 0; size < 50; ++size) {
    const std::string plain =
        std::string(size, '~').substr(0, size / 2) + std::string(size - size / 2, ' ');
    EXPECT_EQ(PlainEnd(plain, 0, ',', '"'), size);
    for (size_t at = 0; at < size; ++at) {
      for (const char odd : "\x1F,\"\x7F\x80\xFF\n"sv) {
        std::string text = plain;
        text[at] = odd;
        ASSERT_EQ(PlainEnd(text, 0, ',', '"'), at) << size;
        ASSERT_EQ(PlainEnd(text, at / 2, ',', '"'), at) << size;
        ASSERT_EQ(PlainEnd(text, at + 1, ',', '"'), size) << "what is before counts no more";
        ASSERT_FALSE(IsPlain(text, ',', '"'));
        ASSERT_EQ(PlainEnd(text, 0), odd == ',' || odd == '"' ? size : at);
      }
      std::string text = plain;
      text[at] = '{';
      ASSERT_TRUE(IsPlain(text)) << "of a GUID";
      if (at >= 2) text.replace(at - 2, 2, "\\u");
      ASSERT_EQ(IsPlain(text), at < 2);
    }
  }
}

TEST(VisibleText, LinesOfMessages) {
  EXPECT_EQ(VisibleLine("Can not open \u0416\x1B\r\n(n\u201C\n\u00FF)"),
            "Can not open \u0416\\u{1B} (n\u201C \u00FF)");
  EXPECT_EQ(VisibleLines("a\r\n\tb\rc\nd\x1B"), "a\r\n\tb\\u{D}c\nd\\u{1B}");
}

TEST(VisibleText, NoNameForgesALine) {
  HiveBuilder builder;
  builder.Key("A\rState: none\nB").Class("C\r\nConnected: no").Sz("v\x1B[1m", "x\r\nValue : y");
  const BuiltHive hive = builder.Build();
  const OpenedHive opened(hive);
  const uint32_t key = hive.PositionOf("A\rState: none\nB");
  const auto text = [](const OutputList& list) {
    std::string all;
    EXPECT_TRUE(WriteListVisible(list, [&](std::string_view piece) {
      all += piece;
      return true;
    }));
    return all;
  };
  const std::string values = text(*ListKeyValues(opened.hive, opened.tree, kNoItem, {}));
  EXPECT_NE(values.find("v\\u{1B}[1m\r\n"), values.npos) << values;
  EXPECT_NE(values.find("A\\u{D}State: none\\u{A}B\r\n"), values.npos) << values;
  // A detail of a key: as many rows of each field as a key has, and no line end in the window's
  // text.
  const OutputListPtr detail = ListDetail(opened.hive, opened.tree, key);
  Texts fields;
  for (uint32_t row = 0; row < RowCount(*detail); ++row) {
    fields.emplace_back(CellText(*detail, row, 0));
  }
  EXPECT_EQ(std::ranges::count(fields, "State"), 1);
  EXPECT_EQ(std::ranges::count(fields, "Connected"), 1);
  const std::string shown = KeyDetailAt(opened.hive, opened.tree, key);
  EXPECT_NE(shown.find("A\\u{D}State: none\\u{A}B\r\n"), shown.npos) << shown;
  EXPECT_EQ(std::ranges::count(shown, '\n'), RowCount(*detail));
}

TEST(VisibleText, JsonAndCsvForTerminals) {
  const OutputListPtr list = MakeOutputList(36);
  for (const std::string_view first :
       {"=1+1", "+1", "-1", "@a", "\tb", "\rc", "d=", "\u009D\x1B"}) {
    const Cell cells[] = {first, "x"};
    NewRow row;
    row.cells = cells;
    row.facts.path = first == "d=" ? "\u202Ed" : "";
    AddRow(*list, row);
  }
  const auto written = [&list](const auto& write) {
    std::string all;
    EXPECT_TRUE(write(*list, [&](std::string_view piece) {
      all += piece;
      return true;
    }));
    return all.substr(all.find("Type\r\n") == all.npos ? 0 : all.find("Type\r\n") + 6);
  };
  const auto as = [&written](CsvForm form) {
    return written([form](const OutputList& rows, const TextSink& sink) {
      return WriteListCsvAs(rows, form, sink);
    });
  };
  EXPECT_EQ(as({}),
            "=1+1,x,,\r\n+1,x,,\r\n-1,x,,\r\n@a,x,,\r\n\tb,x,,\r\n\"\rc\",x,,\r\nd=,x,,\r\n"
            "\u009D\x1B,x,,\r\n");
  EXPECT_EQ(as({true, false}),
            "'=1+1,x,,\r\n'+1,x,,\r\n'-1,x,,\r\n'@a,x,,\r\n'\tb,x,,\r\n\"'\rc\",x,,\r\nd=,x,,\r\n"
            "\u009D\x1B,x,,\r\n");
  EXPECT_EQ(as({true, true}),
            "'=1+1,x,,\r\n'+1,x,,\r\n'-1,x,,\r\n'@a,x,,\r\n'\\u{9}b,x,,\r\n'\\u{D}c,x,,\r\n"
            "d=,x,,\r\n\\u{9D}\\u{1B},x,,\r\n");
  const std::string json = written(WriteListJsonLines);
  EXPECT_NE(json.find("\"Path\":\"\\u202ed\""), json.npos) << json;
  EXPECT_NE(json.find("\"\\u009d\\u001b\""), json.npos) << json;
}

// Each unit is as wide as the next one, so that the room is a number of units.
TEST(VisibleTextTest, PathsAreCutInTheirMiddle) {
  const struct {
    const char16_t* path;
    int room;
    const char16_t* shown;
  } cases[] = {
      {u"HKLM\\SYSTEM\\Setup", 17, u"HKLM\\SYSTEM\\Setup"},
      {u"HKLM\\SYSTEM\\Setup", 16, u"HKLM\\...EM\\Setup"},
      {u"HKLM\\SYSTEM\\Setup", 9, u"HKL...tup"},
      {u"HKLM\\SYSTEM\\Setup", 5, u"H...p"},
      {u"HKLM\\SYSTEM\\Setup", 3, u"HKLM\\SYSTEM\\Setup"},
      {u"a\U0001F511bcdefg\U0001F511\u0431", 8, u"a...g\U0001F511\u0431"},
      {u"abcdefghij\U0001F511\u0431", 7, u"ab...\u0431"},
      {u"", 0, u""},
  };
  for (const auto& c : cases) {
    const std::u16string path = c.path;
    std::vector<int> ends(path.size());
    std::iota(ends.begin(), ends.end(), 1);
    EXPECT_EQ(FitPath(path, c.room, ends, 3), c.shown) << c.room;
  }
}

}  // namespace
}  // namespace hivequarry::testing
