// One hive with names and texts of ten scripts, and everything that its text passes on the way to a
// user: lists, files, paths, search, order, scripts.
#include <gtest/gtest.h>

#include "app/key_paths.h"
#include "host/shortfalls.h"
#include "host/visible_text.h"
#include "lists/list_order.h"
#include "lists/list_report.h"
#include "lists/list_rows.h"
#include "lists/list_writers.h"
#include "records/stored_text.h"
#include "reports/hive_lists.h"
#include "reports/registry_script.h"
#include "reports/search.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

using std::string_literals::operator""s;

constexpr const char* kScripts[] = {"Ключ", "Κλειδί", "Բանալի", "מפתח",       "مفتاح",
                                    "กุญแจ", "かぎ鍵", "열쇠",   "चाबी\u200D", "🔑 café"};

Bytes HiveOfScripts() {
  HiveBuilder builder;
  for (const char* const text : kScripts) {
    builder.Key(text).Wide().Sz(text, text).MultiSz("list", {"first", text}).Dword("plain", 7);
  }
  BuiltHive built = builder.Build();
  return std::move(built.bytes);
}

template <typename Write>
std::string Written(const Write& write) {
  std::string all;
  EXPECT_TRUE(write([&all](std::string_view piece) {
    all += piece;
    return true;
  }));
  return all;
}

OutputListPtr Values(const OpenedHive& opened) {
  return ListKeyValues(opened.hive, opened.tree, kNoItem, ValueListOptions());
}

// A joiner is shown as it is; it parts no line and turns nothing round.
TEST(WholeText, ListsAndTheirFiles) {
  const OpenedHive opened(HiveOfScripts());
  const OutputListPtr list = Values(opened);
  ASSERT_EQ(RowCount(*list), 3 * std::size(kScripts));
  const std::string csv = Written([&](const auto& sink) { return WriteListCsv(*list, sink); });
  const std::string text = Written([&](const auto& sink) { return WriteListVisible(*list, sink); });
  const std::string json =
      Written([&](const auto& sink) { return WriteListJsonLines(*list, sink); });
  for (const char* const script : kScripts) {
    SCOPED_TRACE(script);
    EXPECT_NE(csv.find("ROOT\\"s + script + "," + script + ",REG_SZ," + script + ","), csv.npos);
    EXPECT_NE(text.find("\r\nValue       : "s + script + "\r\n"), text.npos) << text;
    EXPECT_NE(json.find("\"Data\":\"first "s + script + " \""), json.npos);
  }
  for (const std::string& written : {csv, text, json}) EXPECT_EQ(written.find('?'), written.npos);
  EXPECT_EQ(json.find("\"Name\""), json.npos) << "the text says all";
  EXPECT_EQ(json.find("\"Path\""), json.npos);
}

// The name of a file may be any bytes; what is written of it is sound all the same.
TEST(WholeText, FileNamesThatAreNoText) {
  const OutputListPtr list = MakeOutputList(kListInfo);
  AddListRow(*list, {"a\xFF b\x9B.dat"}, kNoOffset);
  const std::string written[] = {
      Written([&](const auto& sink) { return WriteListCsv(*list, sink); }),
      Written([&](const auto& sink) { return WriteListVisible(*list, sink); }),
      Written([&](const auto& sink) { return WriteListJsonLines(*list, sink); })};
  for (const std::string& each : written) {
    EXPECT_NE(each.find("a\uFFFD b\uFFFD.dat"), each.npos) << each;
    EXPECT_TRUE(IsText(each));
  }
}

// What fits the code page is written in it, as ever; anything else has a mark and comes back whole.
TEST(WholeText, ReportFilesComeBack) {
  const auto report = [](const OutputList& list) {
    return Written([&](const auto& sink) {
      return WriteReport(list, WrittenRows(), {"Title", {}, std::string(24, '-')}, sink);
    });
  };
  const auto rows_of = [](std::string_view file) {
    const OutputListPtr loaded = MakeOutputList(kListValues);
    ReadReportRows(
        [&file](char* room, size_t size) {
          const size_t count = file.copy(room, size);
          file.remove_prefix(count);
          return count;
        },
        *loaded);
    return RowTexts(*loaded);
  };
  const OutputListPtr whole = Values(OpenedHive(HiveOfScripts()));
  const std::string file = report(*whole);
  EXPECT_TRUE(file.starts_with("\xEF\xBB\xBF[Hivequarry")) << file.substr(0, 40);
  EXPECT_EQ(rows_of(file), RowTexts(*whole));
  ReportHead head;
  ASSERT_EQ(ParseReportHead(file, head), ReportRead::kDone);
  EXPECT_EQ(head.columns[0], "Key");

  const OutputListPtr fitting = MakeOutputList(kListValues);
  const Cell cells[] = {"café €", "v"};
  AddRow(*fitting, {cells, 0, 0, false, {}});
  const std::string narrow = report(*fitting);
  EXPECT_NE(narrow.find("\r\n01caf\xE9 \x80\r\n"), narrow.npos);
  EXPECT_EQ(rows_of(narrow), RowTexts(*fitting));
}

TEST(WholeText, PathsAreFoundWhateverTheCase) {
  const OpenedHive opened(HiveOfScripts());
  for (const char* const script : kScripts) {
    const uint32_t item = FindItemByPath(opened.hive, opened.tree, "ROOT\\"s + script);
    ASSERT_NE(item, kNoItem) << script;
    EXPECT_EQ(ItemName(opened.hive, opened.tree, item), script);
    const std::string capitals = CapitalsOfText(script);
    EXPECT_EQ(FindItemByPath(opened.hive, opened.tree, capitals), item) << capitals;
  }
}

TEST(WholeText, SearchByTheSystemsLetters) {
  HiveBuilder builder;
  builder.Key("Σίσυφος").Wide().Sz("v", "Жук").MultiSz("m", {"один", "Straße"});
  const Bytes binary = Utf16("xжук");
  builder.Key("b").Value("odd", 3, Bytes(binary.begin(), binary.end())).Value("narrow", 3, {0xE9});
  const OpenedHive opened(builder.Build());
  const struct {
    const char* text;
    const char* ticks;
    size_t hits;
  } cases[] = {{"ΣΊΣΥΦΟΣ", "k", 1},   {"σίσυφος", "k", 1}, {"σίσυφοσ", "kl", 1},
               {"Σίσυφοσ", "kc", 0},  {"ЖУК", "d", 1},     {"жук", "dw", 2},
               {"ОДИН", "dl", 1},     {"straße", "dl", 1}, {"STRASSE", "d", 0},
               {"один stra", "d", 0}, {"É", "d", 1},       {"\u0416x", "kvd", 0}};
  for (const auto& c : cases) {
    const std::string_view ticks = c.ticks;
    const auto has = [ticks](char tick) { return ticks.find(tick) != ticks.npos; };
    SearchSettings asked;
    asked.text = c.text;
    asked.key_names = has('k');
    asked.value_names = has('v');
    asked.value_data = has('d');
    asked.wide = has('w');
    asked.match_case = has('c');
    asked.match_length = has('l');
    SearchPattern pattern;
    ASSERT_TRUE(CompilePattern(asked, pattern));
    const OutputListPtr hits = MakeSearchList(false);
    SearchBranch(opened.hive, opened.tree, 0, pattern, *hits);
    EXPECT_EQ(RowCount(*hits), c.hits) << c.text << " " << c.ticks;
  }
}

// Both forms; what the first one lacks is counted, and the second one lacks nothing.
TEST(WholeText, Scripts) {
  const OpenedHive opened(HiveOfScripts());
  const auto exported = [&](ScriptForm form, ScriptExport& written) {
    std::string bytes;
    written = ExportBranch(
        opened.hive, opened.tree, 0,
        [&bytes](std::string_view piece) {
          bytes += piece;
          return true;
        },
        RecoveredKeys::kLeftOut, form);
    return bytes;
  };
  ForgetShortfalls();
  ScriptExport written;
  const std::string four = exported(ScriptForm::kFour, written);
  EXPECT_TRUE(four.starts_with("REGEDIT4\r\n\r\n[ROOT]\r\n"));
  EXPECT_EQ(written.lossy.size(), 3 * std::size(kScripts));  // key, value and list
  EXPECT_EQ(ShortfallCount(Shortfall::kScriptTexts), written.lossy.size());
  ForgetShortfalls();
  const std::string five = exported(ScriptForm::kFive, written);
  EXPECT_TRUE(written.lossy.empty());
  EXPECT_EQ(ShortfallCount(Shortfall::kScriptTexts), 0u);
  ASSERT_TRUE(five.starts_with("\xFF\xFEW\0"s));
  std::string text;
  AppendUnits({reinterpret_cast<const uint8_t*>(five.data()) + 2, five.size() - 2},
              StoredUnits::kOfString, SIZE_MAX, text);
  EXPECT_TRUE(text.starts_with("Windows Registry Editor Version 5.00\r\n\r\n[ROOT]\r\n"));
  for (const char* const script : kScripts) {
    const std::string lines =
        "[ROOT\\"s + script + "]\r\n\"" + script + "\"=\"" + script + "\"\r\n";
    EXPECT_NE(text.find(lines), text.npos) << lines;
  }
}

// Version 5.00: what a quoted text could not give back byte for byte is hexadecimal.
TEST(WholeText, ScriptDataComeBackByteForByte) {
  const struct {
    Bytes data;
    const char* line;
  } cases[] = {{{'a', 0, 0, 0}, "\"n\"=\"a\""},
               {{}, "\"n\"=hex(1):"},
               {{'a', 0}, "\"n\"=hex(1):61,00"},
               {{'a', 0, 0}, "\"n\"=hex(1):61,00,00"},
               {{0, 0, 0, 0}, "\"n\"=hex(1):00,00,00,00"},
               {{'\n', 0, 0, 0}, "\"n\"=hex(1):0a,00,00,00"},
               {{0x3D, 0xD8, 0, 0}, "\"n\"=\"\xED\xA0\xBD\""}};
  for (const auto& c : cases) {
    std::string line;
    bool lost = true;
    EXPECT_TRUE(FormatScriptValue("n", kRegSz, c.data, ScriptForm::kFive, line, lost));
    EXPECT_FALSE(lost);
    EXPECT_EQ(line, c.line + "\r\n"s);
  }
}

// Names that differ look different wherever they are shown, and are what they are in JSON.
TEST(WholeText, OddCharactersAreShown) {
  const std::string names[] = {"a\x1B",    "a\\u{1B}", "a\0b"s,         "a\\u{0}b",
                               "a\\b",     "u{5C}b",   "a\xED\xA0\xBD", "a\xED\xA0\xBE",
                               "a\u202Eb", "a\u00ADb", "a\r\nb",        "{5C}"};
  std::set<std::string> shown;
  for (const std::string& name : names) shown.insert("a\\" + ShownKeyName(name));
  shown.insert("a\\b");
  shown.insert(ShownKeyName("a\\b"));
  EXPECT_EQ(shown.size(), std::size(names) + 2);
  for (const std::string& name : shown) {
    for (const char byte : name) EXPECT_GE(static_cast<uint8_t>(byte), 0x20) << name;
  }
  EXPECT_EQ(ShownKeyName("a\0b"s), "a\\u{0}b");
  EXPECT_EQ(ShownKeyName("a\xED\xA0\xBD"), "a\\u{D83D}");
  EXPECT_EQ(ShownValueName("C:\\u{x"), "C:\\u{5C}u{x");
}

// The reading that was the only one once.
TEST(WholeText, InTheCodePage) {
  const OpenedHive opened(HiveOfScripts());
  ReadInCodePage(true);
  const OutputListPtr list = Values(opened);
  ReadInCodePage(false);
  EXPECT_EQ(CellText(*list, 0, 1), "??????");
  EXPECT_EQ(CellText(*list, 1, 3), "first ?????? ");
  EXPECT_EQ(CellText(*list, 27, 1), "?? café");
}

// What goes on to others is whole while the old reading is chosen for the eye.
TEST(WholeText, HandedOnWholeInTheCodePage) {
  const OpenedHive opened(HiveOfScripts());
  const auto script = [&opened] {
    std::string bytes;
    ExportBranch(
        opened.hive, opened.tree, 0,
        [&bytes](std::string_view piece) {
          bytes += piece;
          return true;
        },
        RecoveredKeys::kLeftOut, ScriptForm::kFive);
    return bytes;
  };
  const uint32_t item = FindItemByPath(opened.hive, opened.tree, "ROOT\\Ключ");
  ASSERT_NE(item, kNoItem);
  const std::string path = KeyPathOf(opened.hive, opened.tree, item);
  const std::string whole = script();
  ReadInCodePage(true);
  EXPECT_EQ(ItemName(opened.hive, opened.tree, item).find_first_not_of('?'), std::string::npos);
  EXPECT_EQ(KeyPathOf(opened.hive, opened.tree, item), path);
  EXPECT_EQ(FindKeyPath(opened.hive, opened.tree, path).item, item);
  EXPECT_EQ(script(), whole);
  ReadInCodePage(false);
}

TEST(Text, CharactersAndUnits) {
  EXPECT_EQ(TextOfWide(u"a\xD83D\xDD11\xD83D"), "a\xF0\x9F\x94\x91\xED\xA0\xBD");
  EXPECT_EQ(WideOfText("a\xF0\x9F\x94\x91\xED\xA0\xBD"), u"a\xD83D\xDD11\xD83D");
  EXPECT_EQ(WideOfText("\xC0\x80\xF5"), u"\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(CountUnits("aж🔑"), 4u);
  EXPECT_EQ(FirstUnits("aж🔑b", 3), "aж");
  EXPECT_EQ(FirstUnits("aж🔑b", 4), "aж🔑");
  EXPECT_TRUE(IsText("\xED\xA0\xBD") && !IsText("\xE9") && !IsText("\xE2\x82"));
  EXPECT_EQ(StrictUtf8("a\xED\xA0\xBDж\xFF"), "a\uFFFDж\uFFFD");
  size_t lost = 0;
  EXPECT_EQ(CodePageOfText("é€ж🔑", &lost), "\xE9\x80???");
  EXPECT_EQ(lost, 3u);
  EXPECT_EQ(TextOfEither("\xE9\x80"), "é€");
  EXPECT_EQ(TextOfEither("é"), "é");
  EXPECT_TRUE(EqualIgnoringCase("ⱥж", "ȺЖ")) << "a letter longer than its capital";
  EXPECT_TRUE(StartsIgnoringCase("ⱥжx", "ȺЖ") && EndsIgnoringCase("xⱥж", "ȺЖ"));
  EXPECT_FALSE(StartsIgnoringCase("ⱥ", "ȺЖ") || EndsIgnoringCase("ж", "ȺЖ"));
  EXPECT_LT(CompareIgnoringCase("\uFF5E", "\uFFFD"), 0);
  EXPECT_LT(CompareIgnoringCase("🔑", "\uFF5E"), 0) << "surrogates come before U+E000";
}

}  // namespace
}  // namespace hivequarry::testing
