#include "reports/search.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <random>

#include "hive/value_edits.h"
#include "host/long_operation.h"
#include "reports/key_dates.h"
#include "reports/search_sieve.h"
#include "tests/support/deadline.h"
#include "tests/support/opened_hive.h"
#include "tests/support/sample_hives.h"
#include "tests/support/texts.h"
#include "view/search_words.h"

namespace hivequarry {
namespace {

using testing::Bytes;
using testing::Formatted;
using testing::HiveBuilder;
using testing::OpenedHive;
using testing::Texts;
using testing::Utf16;

// "k" key names, "v" value names, "d" data; "c" case, "l" length, "w" wide, "h" hex, "n" number.
SearchSettings Asked(const std::string& pattern, std::string_view ticks) {
  const auto has = [&](char tick) { return ticks.find(tick) != std::string_view::npos; };
  const bool hex = has('h') || has('n');
  return {hex ? "" : pattern, hex ? pattern : "", hex,      has('c'), has('l'), has('n'), has('w'),
          has('k'),           has('v'),           has('d'), false,    false,    false,    {}};
}

SearchPattern Compiled(const std::string& pattern, std::string_view ticks) {
  SearchPattern compiled;
  EXPECT_TRUE(CompilePattern(Asked(pattern, ticks), compiled));
  return compiled;
}

// Words and expressions in names and in data of every kind, with the text's own case rules.
TEST(Search, WordsAndExpressions) {
  HiveBuilder builder;
  builder.Key("Run").Sz("RunOnce", "start run.exe").Sz("Path", "C:\\Temp\\run42.exe");
  builder.Key("Other").Value("Bytes", 3, Bytes{0xFF, 'r', 'u', 'n', 0xFF, '7'});
  builder.Key("Other").Value("Wide", 3, Utf16("xrun9")).MultiSz("Many", {"one", "run 8"});
  builder.Key("Ж").Sz("ж", "слово run");
  const OpenedHive opened(builder.Build());
  const struct {
    const char* pattern;
    bool regular, words;
    const char* ticks;
    Texts found;
  } cases[] = {
      {"run", false, true, "kvd", {"Many", "Run", "RunOnce", "\u0436"}},
      {"run", false, true, "vdl", {}},
      {"run", false, true, "kl", {"Run"}},
      {"run\\d+", true, false, "d", {"Path"}},
      {"run.?\\d", true, false, "d", {"Bytes", "Many", "Path"}},
      {"run\\d", true, false, "dw", {"Wide", "Path"}},
      {"RUN|^One$", true, false, "dc", {}},
      {"RUN$|^One$", true, false, "d", {"Many", "\u0436"}},
      {"r.n|once", true, false, "kl", {"Run"}},
      {"^\u0436$", true, false, "kv", {"\u0416", "\u0436"}},
      {"slov|\u0421\u041B\u041E\u0412\u041E", true, true, "d", {"\u0436"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.pattern) + " " + c.ticks);
    SearchSettings asked = Asked(c.pattern, c.ticks);
    asked.regular = c.regular;
    asked.whole_words = c.words;
    SearchPattern pattern;
    ASSERT_TRUE(CompilePattern(asked, pattern)) << pattern.fault;
    for (const SearchWay way : {SearchWay::kPlain, SearchWay::kSieved}) {
      const OutputListPtr list = MakeSearchList(false);
      SearchBranchBy(way, opened.hive, opened.tree, 0, pattern, *list);
      Texts found;
      for (uint32_t row = 0; row < RowCount(*list); ++row) {
        const std::string key(CellText(*list, row, 0));
        const std::string value(CellText(*list, row, 1));
        found.push_back(value.empty() ? key.substr(key.rfind('\\') + 1) : value);
      }
      EXPECT_EQ(found, c.found);
    }
  }
  SearchSettings wrong = Asked("a)(b", "kl");
  wrong.regular = true;
  SearchPattern pattern;
  EXPECT_FALSE(CompilePattern(wrong, pattern));
  EXPECT_NE(pattern.fault, "");
}

// A hit is within the limits, whatever it holds; without a pattern everything within them is one.
TEST(Search, SizesAndTimes) {
  HiveBuilder builder;
  builder.Key("Old").Time(100).Binary("small", 10).Binary("large", 5000);
  builder.Key("New").Time(200).Binary("small", 10).Dword("number", 1);
  const OpenedHive opened(builder.Build());
  const struct {
    const char* pattern;
    SearchLimits limits;
    uint32_t rows;
  } cases[] = {
      {"", {5000, UINT32_MAX, 0, UINT64_MAX}, 1}, {"", {0, 10, 0, UINT64_MAX}, 3},
      {"", {0, UINT32_MAX, 150, 250}, 3},         {"", {0, 4, 150, 250}, 1},
      {"small", {0, UINT32_MAX, 0, 100}, 1},      {"old", {0, UINT32_MAX, 0, 100}, 1},
      {"old", {1, UINT32_MAX, 0, UINT64_MAX}, 0}, {"", {5001, UINT32_MAX, 0, UINT64_MAX}, 0},
  };
  for (const auto& c : cases) {
    SearchSettings asked = Asked(c.pattern, "kvd");
    asked.limits = c.limits;
    SearchPattern pattern;
    ASSERT_TRUE(CompilePattern(asked, pattern));
    const OutputListPtr list = MakeSearchList(false);
    SearchBranch(opened.hive, opened.tree, 0, pattern, *list);
    EXPECT_EQ(RowCount(*list), c.rows) << c.pattern << c.limits.least << " " << c.limits.from;
  }
}

TEST(Search, DigitsAndTextMirrorEachOther) {
  EXPECT_EQ(HexOfText("Az\u00FF"), "417AFF");
  EXPECT_EQ(TextOfHex("417aff0"), "Az\u00FF");
  EXPECT_EQ(HexOfText("A\u0416"), "41001604");       // what the code page lacks, as UTF-16
  EXPECT_EQ(TextOfHex("G0"), std::string(1, '\0'));  // 16 for the letter after F
  EXPECT_EQ(Compiled("00000401", "nd").bytes, std::string("\x01\x04\0\0", 4));
  EXPECT_EQ(Compiled("0401", "nd").bytes, "\x04\x01");  // no number: not 8 digits
  SearchPattern pattern;
  EXPECT_FALSE(CompilePattern(Asked("040", "hd"), pattern));
  EXPECT_FALSE(CompilePattern(Asked("", "kvd"), pattern));
  EXPECT_FALSE(CompilePattern(Asked("run", ""), pattern));
}

// What is no pair of digits is refused, never taken for some byte.
TEST(Search, DigitsAsPeopleWriteThem) {
  const struct {
    const char* text;
    HexFault fault;
    const char* digits;
  } cases[] = {{"530041", HexFault::kNone, "530041"},
               {"0x53aF", HexFault::kNone, "53aF"},
               {" 53 00\t41 ", HexFault::kNone, "530041"},
               {"0x53 0X0041", HexFault::kNone, "530041"},
               {"", HexFault::kNone, ""},
               {"zz", HexFault::kNoDigits, "zz"},
               {"0x", HexFault::kNoDigits, ""},
               {"5300x41", HexFault::kNoDigits, "5300x41"},
               {"5", HexFault::kOdd, "5"},
               {"5 30", HexFault::kOdd, "530"},
               {"5 3", HexFault::kOdd, "53"},
               {"0x5", HexFault::kOdd, "5"},
               {"53-00", HexFault::kNoDigits, "53-00"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const HexPattern hex = HexPatternOf(c.text);
    EXPECT_EQ(hex.fault, c.fault);
    EXPECT_EQ(hex.digits, c.digits);
    SearchPattern pattern;
    const bool usable = c.fault == HexFault::kNone && *c.digits != 0;
    EXPECT_EQ(CompilePattern(Asked(c.text, "hd"), pattern), usable);
    if (usable) {
      EXPECT_EQ(pattern.bytes, BytesOfHex(c.digits));
    }
  }
  EXPECT_EQ(Compiled("0x00000401", "nd").bytes, std::string("\x01\x04\0\0", 4));
}

TEST(Search, FindsBytes) {
  const struct {
    const char* pattern;
    const char* ticks;
    std::string bytes;
    size_t found;
  } cases[] = {
      {"ab", "d", "xAb", 4},
      {"ab", "dc", "xAb", 0},
      {"aab", "d", "aaab", 5},
      {"aba", "d", "abcababa", 7},
      {"ab", "d", std::string("a\0b", 3), 0},
      {"ab", "dw", std::string("a\0b\0", 4), 5},
      {"aab", "dw", std::string("a\0a\0a\0b\0", 8), 9},
      {"\u0436", "dw", "x\x16\x04", 4},
      {"\u0436", "dwc", "x\x16\x04", 0},
      {"\u0436", "d", "x\x16\x04", 0},
      {"6142", "hd", "xaB", 4},
      {"e4", "hd", "\xC4", 2},  // a letter's capital form, in the code page
  };
  for (const auto& c : cases) {
    const SearchPattern pattern = Compiled(c.pattern, c.ticks);
    const auto* bytes = reinterpret_cast<const uint8_t*>(c.bytes.data());
    EXPECT_EQ(FindBytes(pattern, {bytes, c.bytes.size()}, pattern.settings.wide,
                        pattern.settings.match_case),
              c.found)
        << c.pattern << " in " << c.bytes;
  }
}

Texts HitRows(const OpenedHive& opened, const SearchPattern& pattern,
              SearchWay way = SearchWay::kBest) {
  const OutputListPtr list = MakeSearchList(true);
  SearchBranchBy(way, opened.hive, opened.tree, 0, pattern, *list);
  return testing::RowTexts(*list);
}

// "Key", or "Key:Value", of each row.
Texts Hits(const OpenedHive& opened, const SearchPattern& pattern) {
  Texts hits = HitRows(opened, pattern);
  for (std::string& hit : hits) {
    const size_t key = hit.find('|');
    const std::string value = hit.substr(key + 1, hit.find('|', key + 1) - key - 1);
    hit = hit.substr(hit.rfind('\\', key) + 1, key - hit.rfind('\\', key) - 1);
    if (!value.empty()) hit += ":" + value;
  }
  return hits;
}

TEST(Search, WhatEachTickFinds) {
  HiveBuilder builder;
  builder.Key("Run").Sz("RunOnce", "nothing").Sz("", "C:\\run.exe").Dword("Small", 0x401);
  builder.Key("Run").Value("Same", 3, {1, 4, 0, 0}).Value("Odd", 0x201, Utf16("xABCx"));
  builder.Key("\u041D\u043E run").Wide().MultiSz("List", {"one", "two run"});
  builder.Key("Other").WideValue("Narrow", 3, Utf16("abc")).Sz("abc", "abc").Value("N", 4, {97});
  Bytes twice = testing::Utf16Z("ended");  // and ended once more
  twice.insert(twice.end(), 2, 0);
  builder.Key("Other").Value("Twice", 1, twice);
  const OpenedHive opened(builder.Build());
  const struct {
    const char* pattern;
    const char* ticks;
    Texts hits;
  } cases[] = {
      {"Ended", "dl", {"Other:Twice"}},
      {"run",
       "kvd",
       {"Run", "Run:RunOnce", "Run:(Default value)", "\u041D\u043E run", "\u041D\u043E run:List"}},
      {"run", "kvdl", {"Run"}},
      {"run", "kvdc", {"Run:(Default value)", "\u041D\u043E run", "\u041D\u043E run:List"}},
      {"two run", "dl", {"\u041D\u043E run:List"}},
      {"00000401", "nkvd", {"Run:Small"}},
      {"01040000", "hd", {"Run:Same"}},
      {"abc", "dw", {"Other:Narrow", "Other:abc", "Run:Odd"}},
      {"610062006300", "hd", {"Other:Narrow", "Other:abc", "Run:Odd"}},
      {"610062006300", "hdc", {"Other:Narrow", "Other:abc"}},
      {"1D043E042000", "hk", {"\u041D\u043E run"}},
      {"4E00610072", "hv", {"Other:Narrow"}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Hits(opened, Compiled(c.pattern, c.ticks)), c.hits) << c.pattern << " " << c.ticks;
  }
}

TEST(Search, EditsHiddenKeysAndUnreadableData) {
  HiveBuilder builder;
  builder.Key("Keep").Sz("Name", "needle").Sz("Broken", "a needle that is long enough");
  builder.Key("Gone\\Below").Sz("Name", "needle");
  testing::BuiltHive built = builder.Build();
  built.SetU32(built.ValuePosition("Keep", "Broken"), testing::field::kValueData, 0x7FFFFFF0);
  OpenedHive opened(built);
  HideBranch(opened.tree, opened.Item("Gone"));
  const uint32_t name = built.ValuePosition("Keep", "Name");
  EXPECT_EQ(Hits(opened, Compiled("needle", "d")), Texts{"Keep:Name"});
  EXPECT_EQ(
      HitRows(opened, Compiled("broken", "vd")).at(0).find("|Broken|Data Offset Error|REG_SZ|"),
      ItemPath(opened.hive, opened.tree, opened.Item("Keep")).size());
  ASSERT_TRUE(SetValueEdit(opened.hive, name, 1, testing::Utf16Z("thimble")));
  EXPECT_TRUE(Hits(opened, Compiled("needle", "d")).empty());
  EXPECT_EQ(Hits(opened, Compiled("thimble", "d")), Texts{"Keep:Name"});
}

TEST(Search, FromAFolderOfTheProgramsOwn) {
  HiveBuilder builder;
  builder.Key("Lost").Sz("Name", "needle");
  builder.Key("Kept").Sz("Name", "needle");
  builder.Key("Bare").Sz("Name", "needle").Sz("Other", "");
  testing::BuiltHive built = builder.Build();
  built.Unlink("Lost").SetU32(built.PositionOf("Bare"), testing::field::kKeyValues, 0);
  const OpenedHive opened(built);
  const auto rows_from = [&](ItemKind kind) {
    const OutputListPtr list = MakeSearchList(false);
    for (uint32_t item = 0; item < opened.tree.items.size(); ++item) {
      if (opened.tree.items[item].kind != kind) continue;
      SearchBranch(opened.hive, opened.tree, item, Compiled("needle", "d"), *list);
    }
    return RowCount(*list);
  };
  EXPECT_EQ(rows_from(ItemKind::kDisconnectedKeys), 1u);
  EXPECT_EQ(rows_from(ItemKind::kDisconnectedValues), 1u);
  EXPECT_EQ(rows_from(ItemKind::kRoot), 3u);
  const std::string row = HitRows(opened, Compiled("needle", "d")).back();
  EXPECT_NE(row.find("\\Disconnected Values|Name|needle|REG_SZ||0x"), std::string::npos) << row;
}

TEST(Search, RowsSayWhereAHitStands) {
  HiveBuilder builder;
  builder.Key("Run").Sz("Path", "needle");
  const testing::BuiltHive built = builder.Build();
  const OpenedHive opened(testing::Embedded(built.bytes, 512, 0));
  const uint32_t key = built.PositionOf("Run");
  const uint32_t value = built.ValuePosition("Run", "Path");
  const std::string path = ItemPath(opened.hive, opened.tree, opened.Item("Run"));
  EXPECT_EQ(HitRows(opened, Compiled("run", "k")),
            Texts{Formatted("%s||||0x%08X|0x%08X||", path.c_str(), key, key + 512)});
  EXPECT_EQ(HitRows(opened, Compiled("needle", "d")),
            Texts{Formatted("%s|Path|needle|REG_SZ|0x%08X|0x%08X|%Xrk, 4ln, 14ld|", path.c_str(),
                            key, value + 512, key)});
}

// Whoever reads the list must know all that was asked for.
TEST(Search, HeadsSayWhatWasAsked) {
  SearchSettings all;
  all.text = "a+";
  all.regular = all.match_case = all.key_names = all.value_data = all.freed = true;
  SearchSettings limited;
  limited.value_names = true;
  limited.limits = {4, 9, FileTimeOf({2012, 4, 4, 1, 58, 40}), UINT64_MAX};
  SearchSettings bytes;
  bytes.hex = "00000401";
  bytes.hex_mode = bytes.dword = bytes.value_data = bytes.wide = bytes.whole_words = true;
  bytes.limits.to = FileTimeOf({2012, 4, 4, 0, 0, 0}) + 9'999'999;
  SearchSettings words;
  words.text = "run";
  words.whole_words = words.key_names = true;
  words.limits.most = 7;
  const std::pair<const SearchSettings&, const char*> cases[] = {
      {all, "regular expression \"a+\" in names of keys, data; match case, freed records too"},
      {limited,
       "anything in names of values; bytes of data from 4 to 9; key written from "
       "2012/04/04, 01:58:40 (UTC)"},
      {bytes, "bytes 00000401 in data; dword; key written up to 2012/04/04, 00:00:00 (UTC)"},
      {words, "text \"run\" in names of keys; whole words; bytes of data up to 7"}};
  for (const auto& [settings, said] : cases) EXPECT_EQ(SearchWords(settings), said);
}

TEST(Search, StopIsHeardInsideLongData) {
  Bytes data(kMaxValueData);
  data.back() = 1;
  const SearchPattern pattern = Compiled("0001", "hd");
  EXPECT_EQ(FindBytes(pattern, data, false, true), data.size() + 1);
  ASSERT_TRUE(BeginOperation(kOperationLoad));
  RequestStop();
  EXPECT_EQ(FindBytes(pattern, data, false, true), 0u);
  EndOperation();
}

TEST(Search, KeysTooDeepAreLeftOut) {
  const OpenedHive opened(testing::DeepHive(400));
  const OutputListPtr list = MakeSearchList(false);
  EXPECT_FALSE(SearchBranch(opened.hive, opened.tree, 0, Compiled("level", "k"), *list));
  EXPECT_EQ(RowCount(*list), kMaxSearchDepth - 2);  // the root has another name
}

// A piece of what the hive holds, as a user might type it, at times with a letter changed.
std::string RandomPattern(const OpenedHive& opened, std::mt19937& random) {
  const auto item = static_cast<uint32_t>(random() % opened.tree.items.size());
  std::string text = ItemName(opened.hive, opened.tree, item);
  const std::vector<uint32_t> values =
      HasKeyCell(opened.tree, item) ? ListedValues(opened.hive, opened.tree.items[item].position)
                                    : std::vector<uint32_t>();
  if (!values.empty() && random() % 3 != 0) {
    Bytes data;
    const ValueKey value = ReadValueKey(opened.hive, values[random() % values.size()],
                                        ValueRead::kData, kMaxValueData, &data);
    text = random() % 2 != 0 ? value.name : DataText(value.type, data);
  }
  std::u16string units = WideOfText(text);
  if (units.empty()) return "?";
  units = units.substr(random() % units.size(), 1 + random() % 12);
  if (random() % 4 == 0) {
    units[random() % units.size()] = static_cast<char16_t>(32 + random() % 0x600);
  }
  for (char16_t& unit : units) unit = random() % 4 == 0 ? CapitalOf(unit) : unit;
  return TextOfWide(units);
}

void ExpectSameWithAndWithoutSieve(const OpenedHive& opened, uint32_t seed, int patterns) {
  constexpr const char* kTicks[] = {"kvd", "kvdw", "kvdc", "kvdwl", "kvdh", "kvdhc", "dw", "v"};
  std::mt19937 random(seed);
  for (int i = 0; i < patterns; ++i) {
    const std::string ticks = kTicks[random() % std::size(kTicks)];
    const std::string text = RandomPattern(opened, random);
    const bool hex = ticks.find('h') != std::string::npos;
    const SearchPattern pattern = Compiled(hex ? HexOfText(text) : text, ticks);
    ASSERT_EQ(HitRows(opened, pattern, SearchWay::kSieved),
              HitRows(opened, pattern, SearchWay::kPlain))
        << "\"" << text << "\" " << ticks;
  }
}

// A hive of all that a sieve has to think of.
Bytes OddHive() {
  HiveBuilder builder;
  Bytes big(3 * testing::kSegment, 'x');
  testing::PutBytes(big, testing::kSegment - 3, Utf16("seamed"));
  testing::PutBytes(big, 2 * testing::kSegment - 2, Bytes{'s', 'e', 'a', 'm'});
  builder.Key("Big").Value("Data", 3, big).Value("Text", 1, big);
  builder.Key("Gr\u00F6\u00DFe \u0416")
      .Wide()
      .WideValue("\u20ACuro \u0152uvre", 1, Utf16("\u20AC 5"));
  builder.Root().NewKey(std::string(700, 'n') + "seamed");
  builder.Key("List").MultiSz("Many", {"one", "two", "", "three"}).Value("Link", 6, Utf16("C:\\x"));
  testing::BuiltHive built = builder.Build();
  return std::move(built.bytes);
}

TEST(Search, SieveChangesNothing) {
  const OpenedHive odd(OddHive());
  const OpenedHive damaged(testing::DamagedSample());
  ExpectSameWithAndWithoutSieve(odd, 1, 400 / testing::kSizeShare);
  ExpectSameWithAndWithoutSieve(damaged, 2, 400 / testing::kSizeShare);
  for (const char* text : {"seam", "seamed", "ne two", "\u20ACuro", "\u00F6SS", "\u00F6\u00DFE",
                           "\u0436", "Unnamed(", "ROOT", "zzqq"}) {
    const SearchPattern pattern = Compiled(text, "kvdw");
    EXPECT_EQ(HitRows(odd, pattern, SearchWay::kSieved), HitRows(odd, pattern, SearchWay::kPlain))
        << text;
    EXPECT_EQ(HitRows(damaged, pattern, SearchWay::kSieved),
              HitRows(damaged, pattern, SearchWay::kPlain))
        << text;
  }
}

TEST(Search, SieveChangesNothingInARealHive) {
  const char* folder = std::getenv("HIVEQUARRY_CORPUS");
  const std::filesystem::path corpus =
      folder != nullptr ? folder : std::filesystem::path(HIVEQUARRY_SOURCE_DIR) / "../shared/hives";
  const Bytes bytes = testing::ContentOf<Bytes>((corpus / "NTUSER.DAT").string());
  if (bytes.empty()) GTEST_SKIP() << "no real hive in " << corpus;
  const OpenedHive opened(bytes);
  ExpectSameWithAndWithoutSieve(opened, 3, 60);
}

}  // namespace
}  // namespace hivequarry
