// Any bytes as a hive file: opened, its tree built, and everything shown of it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/fuzzed_hive.h"
#include "hive/bins.h"
#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/values.h"
#include "recovery/freed_records.h"
#include "reports/freed_lists.h"
#include "tests/support/tree_shape.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace {

using namespace hivequarry;
using fuzzing::FuzzedHive;
using fuzzing::Require;

constexpr uint32_t kMostItems = 1000;    // shown of one input
constexpr uint32_t kMostValues = 16;     // shown of one item
constexpr uint32_t kLongestDetail = 40;  // values shown in detail

void ShowItem(const HiveImage& hive, const KeyTree& tree, uint32_t item, uint32_t& details) {
  StoredItemName(hive, tree, item);
  KeyDetail(hive, tree, item);
  ValueViewOptions options;
  options.technical = item % 2 == 1;
  options.cell_details = item % 3 == 1;
  const ItemValues values = ShowItemValues(hive, tree, item, options);
  Require(values.value_positions.size() <= hive.length / 4);
  uint32_t shown = 0;
  for (const uint32_t position : values.value_positions) {
    if (++shown > kMostValues) break;
    const ValueRow row = MakeValueRow(hive, position, options);
    Require(row.value == position);
    if (details++ < kLongestDetail) {
      ValueDetail(hive, position);
      ValueDetailName(hive, position);
    }
  }
}

void ShowTree(const HiveImage& hive, const KeyTree& tree) {
  PathWalker walker(hive, tree);
  const auto count = static_cast<uint32_t>(std::min<size_t>(tree.items.size(), kMostItems));
  uint32_t details = 0;
  for (uint32_t item = 0; item < count; ++item) {
    const std::string path = walker.PathOf(item);
    Require(path.size() <= ListedPathLimit(hive, tree) + 1024);
    if (item % 16 == 0) {
      Require(path == ItemPath(hive, tree, item));
      FindItemByPath(hive, tree, path);
      StoredItemPath(hive, tree, item);
    }
    ShowItem(hive, tree, item, details);
  }
}

// Nothing that the tree shows is freed, and each record is listed.
void ShowFreed(const HiveImage& hive, const KeyTree& tree) {
  const FreedRecords records = FindFreedRecords(hive, tree);
  for (const FreedKey& key : records.keys) {
    Require(ItemOfPosition(tree, key.position) == kNoItem && key.parent != key.position);
    Require(key.values_found <= key.values);
  }
  if (records.keys.size() + records.values.size() > kMostItems) return;
  Require(RowCount(*ListFreedKeys(hive, tree)) == records.keys.size());
  Require(RowCount(*ListFreedValues(hive, tree, {})) == records.values.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  BuildOptions options;
  options.tolerant_keys = size % 4 != 3;
  const FuzzedHive opened(data, size, options);
  const ImageSummary& summary = opened.summary;
  Require(summary.connected_keys + summary.disconnected_keys == summary.keys);
  Require(testing::FirstMisplacedItem(opened.tree) == kNoItem);
  ShowTree(opened.hive, opened.tree);
  ShowFreed(opened.hive, opened.tree);
  ListHiveBins(opened.hive, opened.hive.data_start, 1000);
  return 0;
}
