// Deleted keys among those of the tree: where each is, what is said of it, and that finding goes
// through them too.
#include "view/freed_tree.h"

#include <gtest/gtest.h>

#include <tuple>

#include "host/long_operation.h"
#include "host/text.h"
#include "records/base_block.h"
#include "records/key_node.h"
#include "tests/support/deadline.h"
#include "tests/support/freed_hives.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"
#include "view/freed_words.h"
#include "view/tree_find.h"
#include "view/value_rows.h"

namespace hivequarry {
namespace {

using testing::BuiltHive;
using testing::HiveBuilder;
using testing::OpenedHive;
using testing::Texts;

// "under\name" of each: the path of its place in the tree of what was deleted.
Texts Places(const OpenedHive& opened, const FreedTree& freed) {
  Texts places;
  for (uint32_t item = 1; item < freed.tree.items.size(); ++item) {
    std::string path = FreedItemText(opened.hive, freed, item);
    uint32_t at = freed.tree.items[item].parent;
    for (; at != kNoItem && at != 0; at = freed.tree.items[at].parent) {
      path = FreedItemText(opened.hive, freed, at) + "\\" + path;
    }
    const uint32_t under = HostOfFreed(freed, item);
    const std::string top =
        under == kNoItem ? kFreedTitle : ItemName(opened.hive, opened.tree, under);
    places.push_back(top + "|" + path);
  }
  return places;
}

TEST(FreedTree, KeysAreBelowTheirParentsAndTheRestInTheFolder) {
  OpenedHive opened(testing::HiveWithDeletedKeys());
  const auto freed = FindFreedTree(opened.hive, opened.tree);
  EXPECT_EQ(Places(opened, *freed), (Texts{"Freed Keys|Quack", "A|C", "A|C\\D"}));
  EXPECT_TRUE(HasFreedFolder(*freed));
  EXPECT_EQ(FreedFolderText(*freed), "Freed Keys (1 key, 0 values)");
  const uint32_t a = opened.Item("A");
  ASSERT_EQ(FreedTopsUnder(*freed, a).size(), 1U);
  EXPECT_TRUE(FreedTopsUnder(*freed, opened.Item("B")).empty());
  EXPECT_EQ(FreedTopsWithin(*freed, 0, a + 1).size(), 1U);
  const uint32_t c = FreedTopsUnder(*freed, a)[0].item;
  EXPECT_EQ(FreedItemPath(opened.hive, opened.tree, *freed, c + 1),
            ItemPath(opened.hive, opened.tree, a) + "\\C\\D");

  ValueRows rows{&opened.hive, FreedItemRows(opened.hive, opened.tree, *freed, c), {}, freed};
  ASSERT_EQ(RowCount(rows), 1);
  EXPECT_TRUE(IsDeletedRow(rows, 0));
  EXPECT_EQ(RowAt(rows, 0).name, "text");
  EXPECT_EQ(RowAt(rows, 0).data, "long enough");
  rows.values = FreedItemRows(opened.hive, opened.tree, *freed, c + 1);
  ASSERT_EQ(RowCount(rows), 1);
  EXPECT_EQ(RowAt(rows, 0).name, "(No values set)");
}

TEST(FreedTree, DetailsSayWhyAndAllOfTheData) {
  OpenedHive opened(testing::HiveWithDeletedKeys());
  const auto freed = FindFreedTree(opened.hive, opened.tree);
  const uint32_t c = FreedTopsUnder(*freed, opened.Item("A"))[0].item;
  const auto detail = [&](uint32_t item) {
    return TextOfWide(FreedItemDetail(opened.hive, opened.tree, *freed, item));
  };
  EXPECT_NE(detail(c).find("This key was deleted. Its record at 0x"), std::string::npos);
  EXPECT_NE(detail(c).find("begins a free cell. Its parent field at 0x"), std::string::npos);
  EXPECT_NE(detail(c).find("\\A. Of its 1 value the list still leads to 1."), std::string::npos);
  EXPECT_NE(detail(c + 1).find("\\A\\C, which was deleted too."), std::string::npos);
  EXPECT_NE(detail(1).find("leads to no key that is left."), std::string::npos);
  const uint32_t value = freed->records.values.at(0).position;
  const std::string words = TextOfWide(FreedValueDetail(opened.hive, opened.tree, *freed, value));
  EXPECT_NE(words.find("\\A\\C, which was deleted too, names it."), std::string::npos) << words;
  EXPECT_NE(words.find("long enough"), std::string::npos) << words;
}

// Keys that have one long list between them have more entries than the hive has room for.
TEST(FreedTree, SaysThatListsWereCut) {
  constexpr uint32_t kEntries = 4000;
  constexpr uint32_t kKeys = 6;
  HiveBuilder builder;
  builder.Key("A").Binary("list", 4 * kEntries).Binary("room", 4 * kEntries);
  for (uint32_t i = 0; i < kKeys; ++i) builder.Key("A\\key" + std::to_string(i)).Dword("d", 1);
  BuiltHive hive = builder.Build();
  const uint32_t list = hive.DataPosition("A", "list");
  const uint32_t value = hive.ValuePosition("A\\key0", "d");
  for (uint32_t i = 0; i < kEntries; ++i) hive.SetU32(list, 4 + 4 * i, value - kBaseBlockSize);
  for (uint32_t i = 0; i < kKeys; ++i) {
    const uint32_t key = hive.PositionOf("A\\key" + std::to_string(i));
    hive.SetU32(key, kKeyValueCount, kEntries).SetU32(key, kKeyValueList, list - kBaseBlockSize);
    hive.Free(key);
  }
  const uint32_t above = hive.PositionOf("A");
  hive.SetU32(above, kKeySubkeyCount, 0).SetU32(above, kKeySubkeyList, kNoOffset);
  const OpenedHive opened(hive);
  const BackgroundWork work;
  const auto freed = FindFreedTree(opened.hive, opened.tree);
  EXPECT_EQ(freed->records.keys.size(), kKeys);
  EXPECT_NE(freed->shortfalls, 0U);
  EXPECT_NE(FreedItemDetail(opened.hive, opened.tree, *freed, 0).find(u"Not all"),
            std::u16string::npos);
}

TEST(FreedTree, FindingGoesThroughAllTrees) {
  OpenedHive opened(testing::HiveWithDeletedKeys());
  const auto freed = FindFreedTree(opened.hive, opened.tree);
  const SearchedTree trees[] = {
      {&opened.tree, [&](uint32_t item) { return ItemName(opened.hive, opened.tree, item); }},
      {&freed->tree, [&](uint32_t item) { return FreedItemText(opened.hive, *freed, item); }}};
  int passed = 0;
  const auto find = [&](size_t tree, uint32_t from, bool down, bool wrap) {
    const FoundItem found =
        FindItemByName(trees, tree, {"qu", from, down, wrap}, [&passed] { ++passed; });
    return std::pair(found.tree, found.item);
  };
  const uint32_t k = opened.Item("A\\Quick");
  EXPECT_EQ(find(0, 0, true, false), std::pair(size_t{0}, k));
  EXPECT_EQ(find(0, k, true, false), std::pair(size_t{1}, uint32_t{1}));  // in the folder
  EXPECT_EQ(find(1, 1, true, false).second, kNoItem);
  EXPECT_EQ(passed, 0);
  EXPECT_EQ(find(1, 1, true, true), std::pair(size_t{0}, k));
  EXPECT_EQ(find(0, k, false, true), std::pair(size_t{1}, uint32_t{1}));
  EXPECT_EQ(passed, 2);
}

TEST(FreedTree, DeletedKeysAreAmongWhatWasRecovered) {
  OpenedHive opened(testing::HiveWithDeletedKeys());
  opened.tree.disconnected_value_positions.clear();
  const auto freed = FindFreedTree(opened.hive, opened.tree);
  const uint32_t c = FreedTopsUnder(*freed, opened.Item("A"))[0].item;
  TreePlace at{0, false};
  const auto next = [&](bool down) {
    const FoundRecovered found = FindRecovered(opened.tree, freed.get(), at, down);
    at = found.place;
    return std::tuple(found.place.freed, found.place.item, found.passed);
  };
  // Those in the tree first; the folder itself has nothing.
  EXPECT_EQ(next(true), std::tuple(true, c, false));
  EXPECT_EQ(next(true), std::tuple(true, c + 1, false));
  EXPECT_EQ(next(true), std::tuple(true, 1U, false));
  EXPECT_EQ(next(true), std::tuple(true, c, true));
  EXPECT_EQ(next(false), std::tuple(true, 1U, true));
  HideBranch(opened.tree, opened.Item("A"));
  EXPECT_EQ(next(true), std::tuple(true, 1U, true)) << "the only one that is left";
  EXPECT_EQ(FindRecovered(opened.tree, nullptr, {0, false}, true).place.item, kNoItem);
}

// In a chain or side by side.
TEST(FreedTree, DeepAndWideOnesAreMadeWithoutRecursion) {
  for (const bool deep : {true, false}) {
    HiveBuilder builder;
    std::string path = "A";
    builder.Key(path);
    constexpr int kKeys = 500;
    for (int i = 0; i < kKeys; ++i) {
      const std::string name = "\\k" + std::to_string(i);
      builder.Key(deep ? path += name : path + name);
    }
    BuiltHive hive = builder.Build();
    std::vector<uint32_t> cells;
    std::string at = "A";
    for (int i = 0; i < kKeys; ++i) {
      const std::string name = "\\k" + std::to_string(i);
      cells.push_back(hive.PositionOf(deep ? at += name : at + name));
    }
    hive.SetU32(hive.PositionOf("A"), 24, 0).SetU32(hive.PositionOf("A"), 32, 0xFFFFFFFF);
    for (const uint32_t cell : cells) hive.Free(cell);
    OpenedHive opened(hive);
    const auto freed = FindFreedTree(opened.hive, opened.tree);
    EXPECT_EQ(freed->tree.items.size(), kKeys + 1U);
    EXPECT_EQ(freed->tops.size(), deep ? 1U : unsigned{kKeys});
  }
}

}  // namespace
}  // namespace hivequarry
