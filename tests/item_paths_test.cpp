// Full paths: whole as far as any registry goes, bounded in all, and no two keys with the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <unordered_set>

#include "lists/list_writers.h"
#include "reports/hive_lists.h"
#include "reports/key_dates.h"
#include "tests/support/deadline.h"
#include "tests/support/opened_hive.h"
#include "tests/support/plain_cells.h"

namespace hivequarry::testing {
namespace {

constexpr const char* kWideName = "深い鍵";  // of a character set that few code pages have

// All paths of a hive: different from one another, the same however they are asked for, and found
// again.
void CheckPaths(const OpenedHive& opened) {
  const KeyTree& tree = opened.tree;
  PathWalker walker(opened.hive, tree);
  std::unordered_set<uint64_t> seen;  // hashes: the paths together are long
  const auto count = static_cast<uint32_t>(tree.items.size());
  for (uint32_t item = 0; item < count; ++item) {
    const std::string path = walker.PathOf(item);
    const std::string stored = walker.StoredPathOf(item);
    ASSERT_TRUE(seen.insert(std::hash<std::string>()(path)).second) << item << ": " << path;
    if (item % (count / 100 + 1) != 0) continue;
    ASSERT_EQ(ItemPath(opened.hive, tree, item), path);
    ASSERT_EQ(StoredItemPath(opened.hive, tree, item), stored);
    ASSERT_EQ(FindItemByPath(opened.hive, tree, path), item) << path;
  }
}

TEST(ItemPaths, AreWholeAsFarAsRegistriesGo) {
  // 512 levels and 32,767 characters are the most that there are.
  const OpenedHive opened{std::span<const uint8_t>(NestedHive(511, std::string(62, 'n')))};
  const std::string path = ItemPath(opened.hive, opened.tree, 511);
  EXPECT_EQ(path.size(), ItemPath(opened.hive, opened.tree, 0).size() + 511 * 63);
  EXPECT_EQ(path.find("...@"), std::string::npos);
  CheckPaths(opened);
}

TEST(ItemPaths, OfDeepTreesAreShortenedFromAKeyOn) {
  const OpenedHive opened{std::span<const uint8_t>(NestedHive(20000, "name"))};
  const std::string path = ItemPath(opened.hive, opened.tree, 20000);
  EXPECT_LT(path.size(), 200u);
  const std::string root = ItemPath(opened.hive, opened.tree, 0);
  EXPECT_EQ(path.find("\\...@0x"), root.size()) << path;
  EXPECT_TRUE(path.ends_with("\\name\\name\\name"));
  CheckPaths(opened);
  // One that is not shortened is found too, and one that names no key is not.
  EXPECT_EQ(FindItemByPath(opened.hive, opened.tree, LongItemPath(opened.hive, opened.tree, 6000)),
            6000u);
  EXPECT_EQ(FindItemByPath(opened.hive, opened.tree, root + "\\...@0x00000004\\name"), kNoItem);
  EXPECT_EQ(FindItemByPath(opened.hive, opened.tree, root + "\\...@0x\\name"), kNoItem);
}

// The key that a shortened path names is where the file has it, bytes put in before it and all.
TEST(ItemPaths, ShortenedOfMovedBytes) {
  Bytes bytes = NestedHive(20000, "name");
  bytes.insert(bytes.begin() + 4100 + 4096, 3, 0x55);
  const OpenedHive opened{std::span<const uint8_t>(bytes)};
  ASSERT_FALSE(opened.hive.places.pieces.empty());
  const std::string path = ItemPath(opened.hive, opened.tree, 20000);
  const size_t mark = path.find("@0x");
  ASSERT_NE(mark, std::string::npos) << path;
  const auto place = static_cast<size_t>(std::stoul(path.substr(mark + 1), nullptr, 16));
  EXPECT_EQ(std::string(bytes.begin() + static_cast<ptrdiff_t>(place) + 4,
                        bytes.begin() + static_cast<ptrdiff_t>(place) + 6),
            "nk");
  EXPECT_EQ(FindItemByPath(opened.hive, opened.tree, path), 20000u);
}

TEST(ItemPaths, OfKeysBelowALongPath) {
  CheckPaths(
      OpenedHive{std::span<const uint8_t>(WideBelowNested(100, kWideName, 20000 / kSizeShare))});
  CheckPaths(OpenedHive{
      std::span<const uint8_t>(WideBelowNested(3, std::string(250, 'n'), 60000 / kSizeShare))});
}

// A key that its parent's list names, and one of the same name that only names its parent: the
// second hangs under the folder, below a copy of the parent.
TEST(ItemPaths, UnderTheFolderDifferFromThoseOfTheRoot) {
  PlainCells cells;
  uint32_t key = cells.root;
  for (int level = 0; level < 20000; ++level) {
    const uint32_t child = cells.Key(key, "name");
    cells.List(key, std::span(&child, 1));
    key = child;
  }
  cells.Key(key, "last");
  const uint32_t listed = cells.Key(key, "last");
  cells.List(key, std::span(&listed, 1));
  const OpenedHive opened{std::span<const uint8_t>(cells.Finish())};
  ASSERT_TRUE(std::ranges::any_of(
      opened.tree.items, [](const KeyItem& item) { return item.kind == ItemKind::kPathCopy; }));
  CheckPaths(opened);
}

// The path with the names as they are stored is beside the one that is displayed.
TEST(ItemPaths, StoredPathsAreShortenedAlike) {
  const std::string name = std::string(kWideName) + "\x1B";
  const OpenedHive opened{std::span<const uint8_t>(NestedHive(20000, name))};
  const OutputListPtr list = ListKeyTree(opened.hive, opened.tree, 0);
  ASSERT_GE(RowCount(*list), 20001u);
  const std::string shown(CellText(*list, 20000, 0));
  const std::string stored(FactsOfRow(*list, 20000).path);
  const size_t mark = shown.find("\\...@0x");
  ASSERT_NE(mark, std::string::npos) << shown;
  EXPECT_EQ(stored.substr(0, mark + 16), shown.substr(0, mark + 16));
  EXPECT_TRUE(shown.ends_with(std::string("\\") + kWideName + "\\u{1B}")) << shown;
  EXPECT_TRUE(stored.ends_with("\\" + name)) << stored;
}

// Rows of deep trees cost what their paths show, and not all that is above.
TEST(ItemPaths, OfDeepTreesAreListedInTime) {
  const Bytes bytes = NestedHive(200000, kWideName);
  const OpenedHive opened{std::span<const uint8_t>(bytes)};
  const Deadline deadline(kSeconds * (0.5 + 0.2 * static_cast<double>(bytes.size()) / 1e6));
  EXPECT_EQ(RowCount(*ListKeyTree(opened.hive, opened.tree, 0)), 200001u);
  const OutputListPtr dates = MakeOutputList(kListKeyDates);
  ListKeyDates(opened.hive, opened.tree, 0, {}, *dates);
  EXPECT_EQ(RowCount(*dates), 200001u);
}

}  // namespace
}  // namespace hivequarry::testing
