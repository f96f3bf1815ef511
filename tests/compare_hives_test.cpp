// Two hives compared: each kind of difference, real hives held against a plain reader, and scripts
// that make one of the other, applied by another program.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>

#include "cases/script_hive.h"
#include "hive/hive_table.h"
#include "hive/root_path.h"
#include "host/case.h"
#include "host/shortfalls.h"
#include "lists/list_rows.h"
#include "reports/hive_compare.h"
#include "reports/registry_script.h"
#include "tests/support/corpus.h"
#include "tests/support/opened_hive.h"
#include "tests/support/plain_reader.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

std::string Compared(const Bytes& a, const Bytes& b, Texts* rows = nullptr,
                     HiveCompareOptions options = {}) {
  OpenedHive one(a);
  OpenedHive two(b);
  HiveDifferences differences;
  const OutputListPtr list =
      CompareHives({one.hive, one.tree}, {two.hive, two.tree}, options, differences);
  if (rows != nullptr) *rows = RowTexts(*list, 3);
  EXPECT_EQ(RowCount(*list) != 0, AnyDifference(differences) || options.times);
  return DifferenceWords(differences);
}

HiveBuilder BaseHive() {
  HiveBuilder builder;
  builder.Key("Same\\Deep").Sz("v", "text").Dword("n", 1);
  builder.Key("Gone\\Below").Sz("x", "1");
  builder.Key("Values").Sz("kept", "a").Sz("removed", "b").Sz("data", "c").Sz("type", "d");
  builder.Key("Values").Sz("", "default").Binary("long", 40000);
  return builder;
}

HiveBuilder ChangedHive() {
  HiveBuilder builder("ANOTHER");
  builder.Key("SAME\\deep").Dword("N", 1).Sz("V", "text");  // another order, other letters
  builder.Key("New\\Below\\Deeper").Sz("y", "\"2\\");
  builder.Key("Values").Sz("kept", "a").Sz("added", "b").Sz("data", "C").ExpandSz("type", "d");
  builder.Key("Values").Sz("", "default").Binary("long", 40000, 9);
  return builder;
}

TEST(CompareHivesTest, EveryKindOfDifference) {
  EXPECT_EQ(Compared(BaseHive().Build().bytes, BaseHive().Build().bytes),
            "keys +0 -0, times 0, values +0 -0, changed 0");
  HiveBuilder changed = ChangedHive();
  changed.Key("Values").Time(kDefaultTime + 1).Class("class");
  changed.Key("Same").Security(changed.AddSecurity(
      SecurityDescriptor("S-1-5-18", "S-1-5-18", {{.type = 1, .sid = "S-1-5-18"}}, {})));
  BuiltHive built = changed.Build();
  Texts rows;
  HiveCompareOptions options;
  options.times = true;
  EXPECT_EQ(Compared(BaseHive().Build().bytes, built.bytes, &rows, options),
            "keys +3 -2, times 1, values +1 -1, changed 3, classes 1, security 1");
  const Texts expected = {"key removed|ROOT\\Gone||",
                          "key added|ROOT\\New||",
                          "key security|ROOT\\SAME||",
                          "key time|ROOT\\Values||",
                          "key class|ROOT\\Values||",
                          "value added|ROOT\\Values|added|",
                          "value data|ROOT\\Values|data|",
                          "value data|ROOT\\Values|long|",
                          "value removed|ROOT\\Values|removed|",
                          "value type|ROOT\\Values|type|"};
  ASSERT_EQ(rows.size(), expected.size());
  for (size_t i = 0; i < rows.size(); ++i) {
    const std::string row = rows[i].substr(0, rows[i].find('|') + 1);
    EXPECT_EQ(row, expected[i].substr(0, expected[i].find('|') + 1)) << rows[i];
  }
}

// What can't be read is neither equal nor removed.
TEST(CompareHivesTest, BytesOfBothSidesInJson) {
  OpenedHive one(BaseHive().Build());
  OpenedHive two(ChangedHive().Build());
  HiveCompareOptions options;
  options.bytes = true;
  HiveDifferences differences;
  const OutputListPtr list =
      CompareHives({one.hive, one.tree}, {two.hive, two.tree}, options, differences);
  std::string json;
  WriteListJsonLines(*list, [&json](std::string_view piece) { return json += piece, true; });
  EXPECT_NE(json.find(",\"Bytes A\":\"63000000\",\"Bytes B\":\"43000000\"}"), std::string::npos)
      << json;
  EXPECT_NE(json.find(",\"Bytes A\":\"62000000\"}"), std::string::npos) << "removed alone";
  EXPECT_EQ(json.find("\"Bytes\":"), std::string::npos);
}

TEST(CompareHivesTest, UnreadableDataAreNotEqual) {
  BuiltHive damaged = BaseHive().Build();
  damaged.SetU32(damaged.ValuePosition("Values", "long"), field::kValueData, 0x00F00000);
  damaged.SetU32(damaged.ValuePosition("Same\\Deep", "v"), field::kValueData, 0x00F00000);
  EXPECT_EQ(Compared(BaseHive().Build().bytes, damaged.bytes),
            "keys +0 -0, times 0, values +0 -0, changed 0, unreadable 2");
  EXPECT_EQ(Compared(damaged.bytes, damaged.bytes),
            "keys +0 -0, times 0, values +0 -0, changed 0, unreadable 2");
}

// Names that a joined path could not tell apart.
TEST(CompareHivesTest, KeysPairByComponents) {
  HiveBuilder one;
  one.Root().NewKey("A\\B");
  HiveBuilder two;
  two.Key("A\\B");
  EXPECT_EQ(Compared(one.Build().bytes, two.Build().bytes),
            "keys +2 -1, times 0, values +0 -0, changed 0");
}

// What a pattern names is left out with all below it, and its rows are counted.
TEST(CompareHivesTest, PatternsLeaveBranchesOut) {
  constexpr struct {
    const char* pattern;
    const char* words;
    uint64_t ignored;
  } kCases[] = {{"GONE", "keys +3 -0, times 0, values +1 -1, changed 3", 1},
                {"\\new\\*", "keys +1 -2, times 0, values +1 -1, changed 3", 0},
                {"**\\Deep*", "keys +2 -2, times 0, values +1 -1, changed 3", 0},
                {"**", "keys +0 -0, times 0, values +0 -0, changed 0", 7},
                {"V?lu*s", "keys +3 -2, times 0, values +0 -0, changed 0", 5},
                {"Values\\*", "keys +3 -2, times 0, values +1 -1, changed 3", 0},
                {"*\\Below", "keys +1 -1, times 0, values +1 -1, changed 3", 0}};
  for (const auto& row : kCases) {
    OpenedHive a(BaseHive().Build());
    OpenedHive b(ChangedHive().Build());
    HiveCompareOptions options;
    ASSERT_TRUE(ParseIgnorePattern(row.pattern, options.ignored.emplace_back()));
    HiveDifferences differences;
    CompareHives({a.hive, a.tree}, {b.hive, b.tree}, options, differences);
    EXPECT_EQ(DifferenceWords(differences), row.words) << row.pattern;
    EXPECT_EQ(differences.ignored, row.ignored) << row.pattern;
  }
  IgnorePattern pattern;
  for (const char* bad : {"", "\\", "a\\\\b", "a\\"})
    EXPECT_FALSE(ParseIgnorePattern(bad, pattern));
}

TEST(CompareHivesTest, OrderAndTimesCountWhereTheyAreAskedFor) {
  HiveBuilder one;
  one.Key("K").Sz("a", "1").Sz("b", "2").Sz("c", "3");
  HiveBuilder two;
  two.Key("K").Sz("c", "3").Sz("new", "").Sz("A", "1").Sz("b", "2").Time(kDefaultTime + 1);
  const Bytes a = one.Build().bytes;
  const Bytes b = two.Build().bytes;
  EXPECT_EQ(Compared(a, b), "keys +0 -0, times 1, values +1 -0, changed 0");
  HiveCompareOptions options;
  options.order = true;
  Texts rows;
  EXPECT_EQ(Compared(a, b, &rows, options),
            "keys +0 -0, times 1, values +1 -0, changed 0, orders 1");
  EXPECT_TRUE(rows.at(0).starts_with("value order|")) << rows.at(0);
  OpenedHive opened_a(a);
  OpenedHive opened_b(a);
  HiveDifferences differences;
  options.heed_times = true;
  CompareHives({opened_a.hive, opened_a.tree}, {opened_b.hive, opened_b.tree}, options,
               differences);
  EXPECT_FALSE(AnyDifference(differences));
  differences.heeded_times = 1;
  EXPECT_TRUE(AnyDifference(differences));
}

// A line of a script speaks of the first key of a name: one that deletes the second would delete
// what the other side has.
TEST(CompareHivesTest, DuplicateNamesAreSaidAndNotPatched) {
  HiveBuilder one;
  one.Key("Twin").Sz("v", "1");
  HiveBuilder two;
  two.Key("Twin").Sz("v", "1");
  two.Root().NewKey("TWIN");
  two.Key("Twin").Sz("V", "again");
  Texts rows;
  const Bytes a = two.Build().bytes;
  EXPECT_EQ(Compared(a, one.Build().bytes, &rows), "keys +0 -1, times 0, values +0 -1, changed 0");
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_TRUE(rows[0].starts_with("value removed, duplicate name|")) << rows[0];
  EXPECT_TRUE(rows[1].starts_with("key removed, duplicate name|")) << rows[1];
  OpenedHive opened_a(a);
  OpenedHive opened_b(one.Build());
  std::string script;
  const auto sink = [&script](std::string_view text) { return !script.append(text).empty(); };
  ForgetShortfalls();
  WritePatch({opened_a.hive, opened_a.tree}, {opened_b.hive, opened_b.tree}, {}, "HKEY_X", sink);
  EXPECT_EQ(script.find('-'), std::string::npos);
  EXPECT_EQ(ShortfallCount(Shortfall::kScriptNames), 2U);
}

// --- registry scripts ----------------------------------------------------------------------------

std::string ReadLines(const std::string& text, ScriptRead* read = nullptr) {
  std::string lines;
  const ScriptRead done = ReadScript(text, [&lines](ScriptLine& line) {
    constexpr const char* kActs[] = {"key", "-key", "value", "-value"};
    lines += std::string(kActs[static_cast<size_t>(line.act)]) + " " + line.name + " " +
             std::to_string(line.type) + " " + BytesText(line.data) + "\n";
  });
  if (read != nullptr) *read = done;
  return lines;
}

TEST(ScriptReaderTest, EveryFormOfALine) {
  const std::string head = "Windows Registry Editor Version 5.00\r\n\r\n";
  constexpr const char* kCases[][2] = {
      {"@=\"x\"", "value  1 78000000\n"},
      {"\"a\\\\b\\\"c\"=dword:0000000A ; why", "value a\\b\"c 4 0a000000\n"},
      {"\"m\"=hex(7):61,00,\\\r\n  00,00", "value m 7 61000000\n"},
      {"\"e\"=hex:", "value e 3 \n"},
      {"\"b\" = hex(1fffe):1,ff", "value b 131070 01ff\n"},
      {"\"two\nlines\"=\"1\n2\"", "value two\nlines 1 31000a0032000000\n"},
      {"\"gone\"=-", "-value gone 0 \n"},
      {"[-HKEY_X\\K]", "-key HKEY_X\\K 0 \n"},
      {"[HKEY_X\\K[1]\\]", "key HKEY_X\\K[1] 0 \n"},
      {"; \"x\"=\"y\"", ""}};
  for (const auto& row : kCases) {
    EXPECT_EQ(ReadLines(head + "[HKEY_X]\r\n" + row[0] + "\r\n"),
              std::string("key HKEY_X 0 \n") + row[1]);
  }
  for (const char* bad : {"x", "\"a\"=", "\"a\"=\"b", "\"a\"=hex:zz", "\"a\"=hex:1 2",
                          "\"a\"=dword:", "\"a\"=\"b\" c", "[HKEY_X", "[]"}) {
    ScriptRead read;
    EXPECT_EQ(ReadLines(head + "[HKEY_X]\r\n" + bad, &read), "key HKEY_X 0 \n") << bad;
    EXPECT_EQ(read.bad_lines, 1U) << bad;
    EXPECT_EQ(read.first_bad, 4U) << bad;
  }
  ScriptRead read;
  ReadLines(head + "[HKEY_X]\r\n\"a\"=\"b\\\nc\nd\"\r\nx", &read);
  EXPECT_EQ(read.first_bad, 7U) << "lines end in quotes, after a backslash too";
  EXPECT_EQ(ReadLines(head + "[bad\r\n\"a\"=\"b\"\r\n"), "") << "a value without its key";
  EXPECT_EQ(ReadLines("REGEDIT4\n[K]\n\"a\"=hex(2):41,e9,00"),
            "key K 0 \nvalue a 2 4100e9000000\n");
  EXPECT_FALSE(IsScriptStart("regf"));
}

// What a hive's own script says is that hive again.
TEST(ScriptReaderTest, AHiveAndItsScriptAreTheSame) {
  HiveBuilder builder = BaseHive();
  builder.Key("Umlaut \u00C4").Sz("\u00E9", "\u0416").ExpandSz("e", "%x%").MultiSz("m", {"a", "b"});
  OpenedHive one(builder.Build());
  for (const ScriptForm form : {ScriptForm::kFive, ScriptForm::kFour}) {
    const TempFile file{Bytes()};
    {
      std::ofstream out(file.name(), std::ios::binary);
      const auto sink = [&out](std::string_view text) { return bool(out << text); };
      SetRootPath(one.hive, "HKLM\\SOFTWARE");
      ExportBranch(one.hive, one.tree, 0, sink, RecoveredKeys::kLeftOut, form);
    }
    ScriptHive script = OpenScript(file.name());
    ASSERT_GT(script.slot, 0);
    EXPECT_EQ(script.read.bad_lines, 0U);
    const HiveImage& hive = HiveOfSlot(script.slot);
    const uint32_t item = FindItemByPath(hive, script.tree, "\\HKEY_LOCAL_MACHINE\\SOFTWARE");
    ASSERT_NE(item, kNoItem);
    HiveDifferences differences;
    CompareHives({one.hive, one.tree}, {hive, script.tree, item, true}, {}, differences);
    // The older form has no letter for U+0416.
    EXPECT_EQ(DifferenceWords(differences), form == ScriptForm::kFive
                                                ? "keys +0 -0, times 0, values +0 -0, changed 0"
                                                : "keys +0 -0, times 0, values +0 -0, changed 1");
    FreeHiveSlot(script.slot);
  }
}

TEST(ScriptReaderTest, LaterLinesDelete) {
  const std::string text =
      "REGEDIT4\r\n[X\\A\\B]\r\n\"v\"=\"1\"\r\n\"w\"=\"2\"\r\n\"V\"=-\r\n[-x\\a\\B\\C]\r\n["
      "X\\Gone\\Sub]\r\n"
      "[-X\\gone]\r\n[X\\Gone]\r\n";
  const TempFile file(Bytes(text.begin(), text.end()));
  ScriptHive script = OpenScript(file.name());
  ASSERT_GT(script.slot, 0);
  HiveBuilder wanted;
  wanted.Key("X\\A\\B").Sz("w", "2");
  wanted.Key("X\\Gone");
  OpenedHive hive(wanted.Build());
  HiveDifferences differences;
  CompareHives({hive.hive, hive.tree}, {HiveOfSlot(script.slot), script.tree, 0, true}, {},
               differences);
  EXPECT_EQ(DifferenceWords(differences), "keys +0 -0, times 0, values +0 -0, changed 0");
  EXPECT_EQ(script.deletions, 3U);
  FreeHiveSlot(script.slot);
}

// --- a plain reader ------------------------------------------------------------------------------

std::u16string Capitals(std::u16string name) {
  for (char16_t& unit : name) unit = CapitalOf(unit);
  return name;
}

using PlainPaths = std::map<std::vector<std::u16string>, PlainKey>;
PlainPaths PathsOf(const Bytes& hive) {
  const std::vector<PlainKey> keys = ReadPlainTree(hive);
  std::vector<std::vector<std::u16string>> paths(keys.size());
  PlainPaths by_path;
  for (size_t i = 0; i < keys.size(); ++i) {
    if (keys[i].parent != kNone) {
      paths[i] = paths[keys[i].parent];
      paths[i].push_back(Capitals(keys[i].name));
    }
    by_path.emplace(paths[i], keys[i]);
  }
  EXPECT_EQ(by_path.size(), keys.size()) << "this reader knows no twins";
  return by_path;
}

std::string PlainDifferences(const Bytes& a, const Bytes& b) {
  const PlainPaths one = PathsOf(a);
  const PlainPaths two = PathsOf(b);
  HiveDifferences found;
  for (const auto& [path, key] : one) found.keys_removed += two.count(path) == 0;
  for (const auto& [path, key] : two) {
    const auto other = one.find(path);
    if (other == one.end()) {
      ++found.keys_added;
      continue;
    }
    found.times += key.time != other->second.time;
    std::map<std::u16string, const PlainValue*> before;
    for (const PlainValue& value : other->second.values) before[Capitals(value.name)] = &value;
    for (const PlainValue& value : key.values) {
      const auto was = before.find(Capitals(value.name));
      if (was == before.end()) {
        ++found.values_added;
        continue;
      }
      found.values_changed += was->second->type != value.type || was->second->data != value.data;
      before.erase(was);
    }
    found.values_removed += before.size();
  }
  return DifferenceWords(found);
}

TEST(CompareHivesCorpus, HeldAgainstAPlainReader) {
  if (!HasCorpus()) GTEST_SKIP() << "real hives are not tested: none in " << CorpusFolder();
  constexpr const char* kPairs[][2] = {{"NTUSER.DAT", "NTUSER_modified.DAT"},
                                       {"NTUSER.DAT", "win7_ntuser.dat"},
                                       {"NTUSER_win10.DAT", "NTUSER.DAT"},
                                       {"SAM", "SAM_duplicate_name"},
                                       {"BCD", "BCD_2"},
                                       {"ManySubkeysHive", "InvalidParentHive"},
                                       {"ManySubkeysHive", "SlackHive"},
                                       {"UnicodeHive", "special"},
                                       {"StringValuesHive", "MultiSzHive"}};
  for (const auto& pair : kPairs) {
    SCOPED_TRACE(std::string(pair[0]) + " " + pair[1]);
    const Bytes a = ContentOf<Bytes>(CorpusFile(pair[0]));
    const Bytes b = ContentOf<Bytes>(CorpusFile(pair[1]));
    const std::string words = Compared(a, b);
    const std::string plain = PlainDifferences(a, b);
    EXPECT_EQ(words.substr(0, plain.size()), plain) << words;
  }
  EXPECT_EQ(Compared(ContentOf<Bytes>(CorpusFile("NTUSER.DAT")),
                     ContentOf<Bytes>(CorpusFile("NTUSER_modified.DAT"))),
            "keys +1 -5, times 3, values +1 -0, changed 0");
  EXPECT_EQ(Compared(ContentOf<Bytes>(CorpusFile("ManySubkeysHive")),
                     ContentOf<Bytes>(CorpusFile("DuplicateSubkeysHive"))),
            "keys +1 -1, times 0, values +0 -0, changed 0");
}

// --- scripts -------------------------------------------------------------------------------------

// Applies the script that makes `b` of `a` to a copy of `a`, and compares that with `b`.
void ExpectPatchMakes(const Bytes& a, const Bytes& b) {
  const TempFile copy(a);
  const std::string script = copy.name() + ".reg";
  {
    OpenedHive one(a);
    OpenedHive two(b);
    std::ofstream out(script, std::ios::binary);
    const auto sink = [&out](std::string_view text) { return bool(out << text); };
    // As it is called without the number that tells it from the first one open.
    EXPECT_EQ(PatchRoot({two.hive, two.tree}).find('('), std::string::npos);
    ASSERT_TRUE(WritePatch({one.hive, one.tree}, {two.hive, two.tree}, {}, "HKEY_X", sink));
  }
  const std::string line = "iconv -f UTF-16 -t UTF-8 '" + script + "' | tr -d '\\r' > '" + script +
                           ".txt' && hivexregedit --merge --prefix HKEY_X '" + copy.name() + "' '" +
                           script + ".txt'";
  ASSERT_EQ(std::system(line.c_str()), 0) << ContentOf(script + ".txt");
  const std::string words = Compared(ContentOf<Bytes>(copy.name()), b);
  EXPECT_TRUE(words.starts_with("keys +0 -0, times ")) << words;
  EXPECT_NE(words.find("values +0 -0, changed 0"), std::string::npos) << words;
}

TEST(ComparePatches, MakeOneOfTheOther) {
  if (std::system("command -v hivexregedit >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "scripts are not applied: no hivexregedit (package libwin-hivex-perl)";
  }
  const Bytes a = BaseHive().Build().bytes;
  const Bytes b = ChangedHive().Build().bytes;
  ExpectPatchMakes(a, b);
  ExpectPatchMakes(b, a);
  if (!HasCorpus()) return;
  const Bytes before = ContentOf<Bytes>(CorpusFile("NTUSER.DAT"));
  const Bytes after = ContentOf<Bytes>(CorpusFile("NTUSER_modified.DAT"));
  ExpectPatchMakes(before, after);
  ExpectPatchMakes(after, before);
}

}  // namespace
}  // namespace hivequarry::testing
