// Two compared hives as one tree: which keys are in view, and the way between differences; and what
// a window shows of a hive and another file.
#include "view/compare_tree.h"

#include <gtest/gtest.h>

#include <fstream>

#include "hive/hive_table.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"
#include "view/compare_sides.h"

namespace hivequarry::testing {
namespace {

// 0 root; 1 same, 2 below it only in A; 3 different, 4 below it same; 5 only in B, 6 below it;
// 7 same, differs in its time.
ComparedKeys SomeKeys() {
  ComparedKeys keys(8);
  const auto set = [&](size_t at, uint32_t parent, uint32_t end, uint8_t differs) {
    keys[at] = {static_cast<uint32_t>(at), static_cast<uint32_t>(at), parent, end, differs};
  };
  set(0, kNoItem, 8, 0);
  set(1, 0, 3, 0);
  set(2, 1, 3, kDiffersOnlyInA);
  set(3, 0, 5, kDiffersInValues | kDiffersInTime);
  set(4, 3, 5, 0);
  set(5, 0, 7, kDiffersOnlyInB | kDiffersByName);
  set(6, 5, 7, kDiffersOnlyInB);
  set(7, 0, 8, kDiffersInTime);
  return keys;
}
using RowList = std::vector<uint32_t>;

TEST(CompareTreeTest, KeysAreInViewAsTheyAreOpenedAndFiltered) {
  CompareTree tree = MakeCompareTree(SomeKeys(), false);
  EXPECT_EQ(tree.rows, (RowList{0, 1, 3, 5, 7}));
  EXPECT_EQ(tree.depths, (RowList{0, 1, 2, 1, 2, 1, 2, 1}));
  EXPECT_TRUE(OpenRow(tree, 1));
  EXPECT_FALSE(OpenRow(tree, 1) || OpenRow(tree, 2) || OpenRow(tree, 99))
      << "open, no keys, no row";
  EXPECT_EQ(tree.rows, (RowList{0, 1, 2, 3, 5, 7}));
  EXPECT_TRUE(CloseRow(tree, 0));
  EXPECT_EQ(tree.rows, (RowList{0}));
  EXPECT_TRUE(OpenRow(tree, 0));
  EXPECT_EQ(tree.rows, (RowList{0, 1, 2, 3, 5, 7})) << "what was open stays so";

  const struct {
    uint8_t filter;
    RowList rows;
  } kFilters[] = {{kGroupOnlyA, {0, 1, 2}},
                  {kGroupOnlyB, {0, 5}},
                  {kGroupDifferent, {0, 3}},
                  {kGroupOnlyA | kGroupDifferent, {0, 1, 2, 3}},
                  {kEveryGroup, {0, 1, 2, 3, 5, 7}}};
  for (const auto& [filter, rows] : kFilters) {
    SetFilter(tree, filter);
    EXPECT_EQ(tree.rows, rows) << int{filter};
  }
  SetFilter(tree, kGroupDifferent);
  EXPECT_FALSE(CanOpen(tree, 3)) << "below it nothing differs";
  EXPECT_EQ(ShowKey(tree, 6), tree.rows.size()) << "the filter does not let it pass";
  EXPECT_EQ(RowOfKey(tree, 4), 1U) << "the key above";
}

TEST(CompareTreeTest, NextAndPreviousDifference) {
  CompareTree tree = MakeCompareTree(SomeKeys(), false);
  RowList next;
  for (uint32_t at = NextDifference(tree, kNoItem); at != kNoItem; at = NextDifference(tree, at)) {
    next.push_back(at);
  }
  EXPECT_EQ(next, (RowList{2, 3, 5, 6}));
  EXPECT_EQ(PreviousDifference(tree, 5), 3U);
  EXPECT_EQ(PreviousDifference(tree, 2), kNoItem);
  EXPECT_EQ(PreviousDifference(tree, kNoItem), 6U);
  EXPECT_EQ(ShowKey(tree, 6), 4U);
  EXPECT_EQ(tree.rows, (RowList{0, 1, 3, 5, 6, 7}));
  SetFilter(tree, kGroupOnlyA);
  EXPECT_EQ(NextDifference(tree, 2), kNoItem);
  EXPECT_EQ(NextDifference(MakeCompareTree(SomeKeys(), true), 6), 7U) << "times are heeded";
}

TEST(CompareTreeTest, WordsSayWhatTheColoursDo) {
  const CompareTree tree = MakeCompareTree(SomeKeys(), false);
  const Texts words = {
      "different below",           "different below", "only in A", "different: values, time", "",
      "only in B, duplicate name", "only in B",       "time"};
  for (uint32_t at = 0; at < words.size(); ++at) EXPECT_EQ(DifferenceText(tree, at), words[at]);
  EXPECT_TRUE(MakeCompareTree({}, false).rows.empty());
}

HiveBuilder HiveA() {
  HiveBuilder hive;
  hive.Key("Both\\Deep").Sz("v", "1").Sz("same", "s");
  hive.Key("Gone\\Below");
  return hive;
}
HiveBuilder HiveB() {
  HiveBuilder hive;
  hive.Key("BOTH\\Deep").Sz("V", "2").Sz("same", "s").Dword("new", 1);
  hive.Key("New\\Below");
  return hive;
}

Texts ViewOf(ComparedHives& hives) {
  Texts lines;
  for (uint32_t key = 0; key < hives.tree.keys.size(); ++key) {
    lines.push_back(std::string(hives.tree.depths[key], ' ') + ComparedKeyName(hives, key) + "|" +
                    DifferenceText(hives.tree, key));
  }
  return lines;
}

TEST(CompareSidesTest, AHiveAndAnotherFile) {
  OpenedHive a(HiveA().Build());
  const TempFile b(HiveB().Build().bytes);
  CompareWish wish;
  wish.file = b.name();
  const int shown = TheHiveTable().current;
  {
    const auto hives = CompareWithFile(a.hive, a.tree, a.summary, wish);
    ASSERT_EQ(hives->fault, "");
    EXPECT_EQ(ViewOf(*hives), (Texts{"ROOT|different below", " Both|different below",
                                     "  Deep|different: values", " Gone|only in A",
                                     "  Below|only in A", " New|only in B", "  Below|only in B"}));
    EXPECT_EQ(TheHiveTable().current, shown);
    Texts values;
    for (const ComparedValueRow& row : ComparedValueRows(*hives, 2)) {
      values.push_back(row.what + "|" + row.name + "|" + row.data_a + "|" + row.data_b);
    }
    EXPECT_EQ(values, (Texts{"only in B|new||0x00000001 (1)", "|same|s|s", "value data|V|1|2"}));
    EXPECT_EQ(ComparedValueRows(*hives, 5).size(), 0U);
    EXPECT_NE(ComparedKeyTime(*hives, 0, true), "");
    EXPECT_EQ(ComparedKeyTime(*hives, 3, true), "");
    EXPECT_EQ(RowCount(*hives->list), 4U);
    EXPECT_EQ(HiveOfSlot(hives->slot_b).state, SlotState::kTaken);
    wish.key_a = "both\\deep";
    const auto branch = CompareWithFile(a.hive, a.tree, a.summary, wish);
    EXPECT_EQ(branch->tree.keys.size(), 1U);
  }
  int taken = 0;
  for (const HiveImage& hive : TheHiveTable().slots) taken += hive.state == SlotState::kTaken;
  EXPECT_EQ(taken, 1) << "B is closed with what was shown of it";

  wish.key_a = "None";
  EXPECT_NE(CompareWithFile(a.hive, a.tree, a.summary, wish)->fault.find("No key None"),
            std::string::npos);
  wish.key_a.clear();
  wish.key_b = "None";
  EXPECT_EQ(CompareWithFile(a.hive, a.tree, a.summary, wish)->list, nullptr);
}

// One tree for two hives of a row of keys, one of them opened: what a window does must not depend
// on the number of keys that are not in view.
TEST(CompareTreeTest, TwentyThousandLevels) {
  constexpr uint32_t kLevels = 20'000;
  ComparedKeys keys(kLevels);
  for (uint32_t i = 0; i < kLevels; ++i) keys[i] = {i, i, i == 0 ? kNoItem : i - 1, kLevels, 0};
  keys.back().differs = kDiffersInClass;
  CompareTree tree = MakeCompareTree(std::move(keys), false);
  EXPECT_EQ(NextDifference(tree, 0), kLevels - 1);
  EXPECT_EQ(ShowKey(tree, kLevels - 1), kLevels - 1);
  EXPECT_EQ(tree.depths.back(), kLevels - 1);
  EXPECT_TRUE(CloseRow(tree, 1));
  EXPECT_EQ(tree.rows.size(), 2U);
}

}  // namespace
}  // namespace hivequarry::testing
