// Value lists that are wrong, shared or repaired: which values a key is given, what is said of the
// others, and that no key's list takes from another's.
#include <gtest/gtest.h>

#include <ctime>
#include <functional>

#include "hive/keys.h"
#include "host/shortfalls.h"
#include "lists/list_writers.h"
#include "reports/hive_lists.h"
#include "reports/key_source.h"
#include "reports/search.h"
#include "tests/support/opened_hive.h"

namespace hivequarry::testing {
namespace {

using Texts = std::vector<std::string>;

// Rows of the values list as "key:value=data[status]", the key without the root.
Texts Rows(const OpenedHive& opened, uint32_t item = kNoItem) {
  const OutputListPtr list = ListKeyValues(opened.hive, opened.tree, item, ValueListOptions());
  Texts rows;
  for (uint32_t row = 0; row < RowCount(*list); ++row) {
    const auto cell = [&](int column) { return std::string(CellText(*list, row, column)); };
    const size_t root = opened.tree.root_text.size();
    std::string text = cell(0).substr(std::min(root + 1, cell(0).size()));
    text += ":" + cell(1) + "=" + cell(3);
    if (!cell(6).empty()) text += "[" + cell(6) + "]";
    rows.push_back(text);
  }
  return rows;
}

size_t CountOf(const Texts& rows, std::string_view start) {
  return static_cast<size_t>(
      std::ranges::count_if(rows, [&](const std::string& row) { return row.starts_with(start); }));
}

std::string Json(const OutputList& list) {
  std::string text;
  WriteListJsonLines(list, [&](std::string_view piece) {
    text += piece;
    return true;
  });
  return text;
}

void NameListOf(BuiltHive& built, std::string_view key, std::string_view owner, uint32_t count) {
  const uint32_t position = built.PositionOf(key);
  built.SetU32(position, field::kKeyValues, count)
      .Link(position, field::kKeyValueList, built.ValueListPosition(owner));
}

// --- bounds --------------------------------------------------------------------------------------

// "Broken" comes first and has more than two values; the others have one each.
BuiltHive BrokenAndSound(const std::function<void(BuiltHive&, uint32_t)>& damage) {
  HiveBuilder builder;
  builder.Key("Broken").Dword("b0", 0).Dword("b1", 1).Dword("b2", 2);
  for (int i = 0; i < 2000; ++i) builder.Key("S" + std::to_string(i)).Dword("own", 7);
  BuiltHive built = builder.Build();
  damage(built, built.PositionOf("Broken"));
  return built;
}

TEST(ValueLists, OneBrokenKeyTakesNothingFromTheOthers) {
  const struct {
    const char* what;
    std::function<void(BuiltHive&, uint32_t)> damage;
    size_t broken;  // rows of the broken key
  } kCases[] = {
      {"count", [](BuiltHive& h, uint32_t key) { h.SetU32(key, field::kKeyValues, 0x7FFFFFFF); },
       3},
      {"count, and the list's cell without a size",
       [](BuiltHive& h, uint32_t key) {
         h.SetU32(key, field::kKeyValues, 0x7FFFFFFF).SetU32(h.ValueListPosition("Broken"), 0, 0);
       },
       3},
      {"list at a value, which is no list",
       [](BuiltHive& h, uint32_t key) {
         h.SetU32(key, field::kKeyValues, 0x10000)
             .Link(key, field::kKeyValueList, h.ValuePosition("Broken", "b1"));
       },
       1},
      {"list in the middle of another key's cells",
       [](BuiltHive& h, uint32_t key) {
         h.SetU32(key, field::kKeyValues, 0x10000)
             .Link(key, field::kKeyValueList, h.PositionOf("S5") + 40);
       },
       1}};
  for (const auto& at : kCases) {
    SCOPED_TRACE(at.what);
    const OpenedHive opened(BrokenAndSound(at.damage));
    ForgetShortfalls();
    const Texts rows = Rows(opened);
    EXPECT_EQ(CountOf(rows, "S"), 2000u);
    EXPECT_EQ(CountOf(rows, "Broken"), at.broken);
    uint32_t values = 0;
    const auto keys = KeysOfHive(opened.hive, opened.tree, 0);
    SourceKey key;
    SourceValue value;
    while (keys->NextKey(key)) {
      while (keys->NextValue(value)) values += value.name == "own";
    }
    EXPECT_EQ(values, 2000u);
    EXPECT_EQ(std::ranges::count_if(
                  opened.tree.disconnected_value_positions,
                  [&](uint32_t position) {
                    return ReadValueKey(opened.hive, position, ValueRead::kName, 0, nullptr).name ==
                           "own";
                  }),
              0);
    EXPECT_EQ(ShortfallCount(Shortfall::kValueLists), 0u);
  }
}

// With a wrong count or cell of the list and a value in it that is damaged as well, the values
// after that one are at their key or among those without one, never nowhere.
TEST(ValueLists, ADamagedValueHidesNoneAfterIt) {
  const struct {
    const char* what;
    std::function<void(BuiltHive&)> damage;
    size_t at_key;
  } kCases[] = {
      {"count", [](BuiltHive& h) { h.FlipBit(h.PositionOf("A") + field::kKeyValues + 2, 7); }, 6},
      {"no cell", [](BuiltHive& h) { h.SetU32(h.ValueListPosition("A"), 0, 0); }, 2},
      {"odd cell", [](BuiltHive& h) { h.SetU32(h.ValueListPosition("A"), 0, 0U - 31); }, 2}};
  for (const auto& at : kCases) {
    SCOPED_TRACE(at.what);
    HiveBuilder builder;
    for (int i = 0; i < 6; ++i) builder.Key("A").Dword("v" + std::to_string(i), 1);
    BuiltHive built = builder.Build();
    built.SetU16(built.ValuePosition("A", "v2"), 8, 0x7000);  // the length of its data
    at.damage(built);
    const OpenedHive opened(built);
    EXPECT_EQ(CountOf(Rows(opened), "A:v"), at.at_key);
    EXPECT_EQ(opened.tree.disconnected_value_positions.size(), 6 - at.at_key);
  }
}

// The owner is the key whose record knows the list's longest name and data.
TEST(ValueLists, SharedListsAreTheirOwnersFirst) {
  constexpr uint32_t kShared = 6000;
  HiveBuilder builder;
  KeyRef owner = builder.Key("Middle");
  for (uint32_t i = 0; i < kShared; ++i) owner.Dword("value" + std::to_string(i), i);
  for (int i = 0; i < 30; ++i) builder.Key("B" + std::to_string(i));
  for (int i = 0; i < 2000; ++i) builder.Key("S" + std::to_string(i)).Dword("own", 7);
  BuiltHive built = builder.Build();
  for (int i = 0; i < 30; ++i) NameListOf(built, "B" + std::to_string(i), "Middle", kShared);
  const OpenedHive opened(built);
  ForgetShortfalls();
  const Texts rows = Rows(opened);
  EXPECT_EQ(CountOf(rows, "S"), 2000u);
  EXPECT_EQ(CountOf(rows, "Middle:value"), kShared);
  EXPECT_EQ(CountOf(rows, "B0:value1="), 1u);
  EXPECT_TRUE(std::ranges::count(rows, "B0:value1=0x00000001 (1)[shared list]") == 1);
  // What is not shown again is said, in a row and at the end.
  const size_t left_out = ShortfallCount(Shortfall::kValueLists);
  EXPECT_GT(left_out, 10u);
  EXPECT_EQ(static_cast<size_t>(std::ranges::count_if(
                rows,
                [](const std::string& row) {
                  return row.ends_with(":=values of a shared list, not shown again[shared list]");
                })),
            left_out);
  // Who asks for one key gets all of it.
  EXPECT_EQ(Rows(opened, opened.Item("B29")).size(), kShared);
  EXPECT_EQ(opened.summary.disconnected_values, 0u);
}

TEST(ValueLists, ListsOfAHostileHiveAreReadInTime) {
  constexpr uint32_t kKeys = 20000;
  HiveBuilder builder;
  KeyRef owner = builder.Key("K0");
  for (uint32_t i = 0; i < 10000; ++i) owner.Dword("v" + std::to_string(i), i);
  for (uint32_t i = 1; i < kKeys; ++i) builder.Key("K" + std::to_string(i));
  BuiltHive built = builder.Build();
  for (uint32_t i = 1; i < kKeys; ++i) NameListOf(built, "K" + std::to_string(i), "K0", 10000);
  const OpenedHive opened(built);
  [[maybe_unused]] const std::clock_t start = std::clock();
  EXPECT_LT(Rows(opened).size(), 10000u + kKeys + 65536u + built.bytes.size() / 128);
  SearchPattern pattern;
  SearchSettings settings;
  settings.text = "v99";
  settings.value_names = true;
  ASSERT_TRUE(CompilePattern(settings, pattern));
  const OutputListPtr found = MakeSearchList(false);
  SearchBranch(opened.hive, opened.tree, 0, pattern, *found);
  EXPECT_GE(RowCount(*found), 111u);
#if !defined(HIVEQUARRY_THREAD_SANITIZER) && !defined(HIVEQUARRY_ADDRESS_SANITIZER)
  EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 1.5);
#endif
}

// An own list whose entries all name one value, and values that overlap with one another.
TEST(ValueLists, OneValueManyTimesIsShownWithinBounds) {
  HiveBuilder builder;
  builder.Key("A").Dword("v", 1);
  for (int i = 0; i < 200000; ++i) builder.Key("A").Dword("", 1);
  builder.Key("B").Dword("own", 7);
  BuiltHive built = builder.Build();
  const uint32_t list = built.ValueListPosition("A");
  for (uint32_t i = 1; i <= 200000; ++i) {
    built.SetU32(list, 4 + 4 * i, built.U32(list, 4));
  }
  const OpenedHive opened(built);
  ForgetShortfalls();
  const Texts rows = Rows(opened);
  EXPECT_EQ(CountOf(rows, "B:own"), 1u);
  EXPECT_LT(rows.size(), 180000u);
  EXPECT_EQ(rows.size() + ShortfallCount(Shortfall::kRows), 200002u);
}

// --- repairs -------------------------------------------------------------------------------------

BuiltHive WithLostList(const std::function<void(BuiltHive&, uint32_t)>& damage) {
  HiveBuilder builder;
  builder.Key("A").Sz("name", "text").Sz("longer name", "t");
  builder.Key("B").Dword("other", 1);
  builder.Key("C").Key("D");
  BuiltHive built = builder.Build();
  const uint32_t key = built.PositionOf("A");
  built.FlipBit(key + field::kKeyValueList, 0);  // no cell begins there
  damage(built, key);
  return built;
}

TEST(ValueLists, RepairsAreProven) {
  const struct {
    const char* what;
    std::function<void(BuiltHive&, uint32_t)> damage;
    bool repaired;
  } kCases[] = {
      {"nothing else wrong", [](BuiltHive&, uint32_t) {}, true},
      {"shorter names than the key knows of",
       [](BuiltHive& h, uint32_t key) { h.SetU32(key, kKeyLongestValueName, 24); }, true},
      {"shorter names and data than the key knows of",
       [](BuiltHive& h, uint32_t key) {
         h.SetU32(key, kKeyLongestValueName, 24).SetU32(key, kKeyLongestValueData, 99);
       },
       false},
      {"longer data than the key knows of",
       [](BuiltHive& h, uint32_t key) { h.SetU32(key, kKeyLongestValueData, 4); }, false},
      {"a list with room for more",
       [](BuiltHive& h, uint32_t key) {
         h.SetU32(key, field::kKeyValues, 1).SetU32(key, kKeyLongestValueName, 8);
         h.SetU32(h.ValueListPosition("A"), 0, 0U - 32);
       },
       false},
      {"an entry that leads to no value",
       [](BuiltHive& h, uint32_t) { h.SetU16(h.ValuePosition("A", "name"), 4, 0); }, false},
      {"values that another key names",
       [](BuiltHive& h, uint32_t) {
         h.Link(h.ValueListPosition("B"), 4, h.ValuePosition("A", "longer name"));
       },
       false},
  };
  for (const auto& at : kCases) {
    SCOPED_TRACE(at.what);
    const BuiltHive built = WithLostList(at.damage);
    const OpenedHive opened(built);
    const Texts rows = Rows(opened);
    EXPECT_EQ(CountOf(rows, "A:name=text[repaired list]"), at.repaired ? 1u : 0u);
    EXPECT_EQ(CountOf(rows, "A:=lost value list"), at.repaired ? 0u : 1u);
    EXPECT_EQ(opened.At("A").repairs, at.repaired ? kRepairValueList : 0);
    const Texts pane = opened.Values("A");
    EXPECT_EQ(std::ranges::count(pane, "Info=repaired list"), at.repaired ? 1 : 0);
  }
}

// A list that lies past the place where the file was cut is where the key says, and lost.
TEST(ValueLists, NoRepairOfWhatWasCutOff) {
  HiveBuilder builder;
  builder.Key("A").Dword("v1", 1);
  BuiltHive built = builder.Build();
  const uint32_t list = built.ValueListPosition("A");
  built.SetU32(built.PositionOf("A"), field::kKeyValueList, (list - kDataArea) | 1U << 20);
  built.SetU32(0, 40, 1U << 24);  // the hive's own length
  const OpenedHive opened(built);
  EXPECT_EQ(opened.At("A").repairs, 0);
  EXPECT_EQ(CountOf(Rows(opened), "A:=lost value list (1 value)"), 1u);
  BuiltHive whole = built;  // in a hive that ends there the offset is impossible
  whole.SetU32(0, 40, static_cast<uint32_t>(whole.bytes.size()) - kDataArea);
  EXPECT_EQ(OpenedHive(whole).At("A").repairs, kRepairValueList);
}

// --- entries that lead nowhere -------------------------------------------------------------------

TEST(ValueLists, LostValuesHaveRows) {
  HiveBuilder builder;
  for (int i = 0; i < 4; ++i) builder.Key("A").Dword("v" + std::to_string(i), 1);
  BuiltHive built = builder.Build();
  const uint32_t list = built.ValueListPosition("A");
  built.SetU32(list, 8, 0x7FFFFFF8);                   // nowhere
  built.SetU32(list, 12, 0x00FF0003);                  // no place for a cell
  built.SetU16(built.ValuePosition("A", "v3"), 4, 0);  // no value
  const OpenedHive opened(built);
  EXPECT_EQ(Rows(opened),
            (Texts{"A:v0=0x00000001 (1)", "A:=lost value[entry leads nowhere]",
                   "A:=lost value[entry leads nowhere]", "A:=lost value[entry leads nowhere]"}));
  const OutputListPtr rows = ListKeyValues(opened.hive, opened.tree, kNoItem, ValueListOptions());
  EXPECT_EQ(RowDatum(*rows, 1), 0x80000FF8u);
  EXPECT_EQ(RowDatum(*rows, 2), list + 12);
  EXPECT_EQ(RowDatum(*rows, 3), built.ValuePosition("A", "v3"));
  EXPECT_EQ(opened.Values("A"),
            (Texts{"=lost value", "=lost value", "=lost value", "v0=0x00000001 (1)"}));
}

// --- names ---------------------------------------------------------------------------------------

TEST(ValueNames, LongOnesAreShownCutAndKeptWhole) {
  const std::string longest(16383, 'n');
  HiveBuilder builder;
  builder.Key("A").Dword(longest, 1).Dword(std::string(519, 'm'), 2);
  builder.Key("B").WideValue(longest, kRegSz, {});
  const OpenedHive opened(builder.Build());
  EXPECT_EQ(opened.summary.values, 3u);
  const OutputListPtr list = ListKeyValues(opened.hive, opened.tree, kNoItem, ValueListOptions());
  ASSERT_EQ(RowCount(*list), 3u);
  const std::string shown = std::string(516, 'n') + "...";
  EXPECT_EQ(CellText(*list, 0, 1), shown);
  EXPECT_EQ(FactsOfRow(*list, 0).name, longest);
  EXPECT_EQ(CellText(*list, 1, 1), std::string(519, 'm'));
  EXPECT_EQ(CellText(*list, 2, 1), shown);
  EXPECT_EQ(FactsOfRow(*list, 2).name, longest);
}

TEST(ValueNames, OneThatIsCalledLikeTheUnnamedIsQuoted) {
  HiveBuilder builder;
  builder.Key("A").Dword("", 1).Dword("(Default value)", 2).Dword("\"(Default value)\"", 3);
  const OpenedHive opened(builder.Build());
  EXPECT_EQ(Rows(opened),
            (Texts{"A:(Default value)=0x00000001 (1)", "A:\"(Default value)\"=0x00000002 (2)",
                   "A:\"\"(Default value)\"\"=0x00000003 (3)"}));
  const OutputListPtr list = ListKeyValues(opened.hive, opened.tree, kNoItem, ValueListOptions());
  EXPECT_EQ(FactsOfRow(*list, 0).name, "");
  EXPECT_EQ(FactsOfRow(*list, 1).name, "(Default value)");
}

TEST(ValueNames, LoneSurrogatesAreToldApart) {
  HiveBuilder builder;
  builder.Key("A").WideValue("xy", kRegSz, {}).WideValue("xz", kRegSz, {});
  builder.Key("B").Wide().Dword("v", 1);
  BuiltHive built = builder.Build();
  built.SetU16(built.ValuePosition("A", "xy"), 24 + 2, 0xD83D);
  built.SetU16(built.ValuePosition("A", "xz"), 24 + 2, 0xDC01);
  built.SetU16(built.PositionOf("B"), 80, 0xDFFF);
  const OpenedHive opened(built);
  const OutputListPtr list = ListKeyValues(opened.hive, opened.tree, kNoItem, ValueListOptions());
  ASSERT_EQ(RowCount(*list), 3u);
  EXPECT_EQ(CellText(*list, 0, 1), "x\\u{D83D}");
  EXPECT_EQ(CellText(*list, 1, 1), "x\\u{DC01}");
  const std::string json = Json(*list);
  EXPECT_NE(json.find("\"Name\":\"x\\ud83d\""), std::string::npos);
  EXPECT_NE(json.find("\"Name\":\"x\\udc01\""), std::string::npos);
  EXPECT_NE(json.find("\"Path\":\"ROOT\\\\\\udfff\""), std::string::npos) << json;
}

TEST(KeyNames, LongOnesAreCutVisibly) {
  const std::string longest(400, 'k');
  HiveBuilder builder;
  builder.Root().NewKey(longest).Dword("v", 1);
  builder.Root().NewKey(std::string(300, 'w')).Wide().Dword("v", 1);
  const OpenedHive opened(builder.Build());
  EXPECT_EQ(CountOf(Rows(opened), std::string(253, 'k') + "...:v"), 1u);
  EXPECT_EQ(CountOf(Rows(opened), std::string(253, 'w') + "...:v"), 1u);
  const OutputListPtr list = ListKeyTree(opened.hive, opened.tree, 0);
  EXPECT_EQ(FactsOfRow(*list, 1).path, "ROOT\\" + longest);
}

TEST(KeyNames, BackslashesPartNoKeys) {
  HiveBuilder builder;
  builder.Root().NewKey("A\\B").Dword("v", 1);
  builder.Key("A\\B").Dword("w", 1);
  const OpenedHive opened(builder.Build());
  EXPECT_EQ(CountOf(Rows(opened), "A\\u{5C}B:v"), 1u);
  EXPECT_EQ(CountOf(Rows(opened), "A\\B:w"), 1u);
  EXPECT_NE(opened.Item("A\\u{5C}B"), opened.Item("A\\B"));
}

}  // namespace
}  // namespace hivequarry::testing
