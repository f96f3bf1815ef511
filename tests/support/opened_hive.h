// A hive opened from bytes, with its tree: what most tests start from. Everything is released with
// the object.
#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/opening_words.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/values.h"
#include "recovery/image_tree.h"
#include "tests/support/hive_builder.h"
#include "tests/support/host_recorder.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry::testing {

// An image without a tree.
class OpenedImage {
 public:
  explicit OpenedImage(std::span<const uint8_t> bytes, std::string_view name = "TEST")
      : file_(bytes, name), slot_(OpenHiveAndTell(file_.name())) {}
  ~OpenedImage() {
    if (slot_ > 0) FreeHiveSlot(slot_);
  }
  OpenedImage(const OpenedImage&) = delete;
  OpenedImage& operator=(const OpenedImage&) = delete;

  bool opened() const { return slot_ > 0; }
  HiveImage& hive() { return HiveOfSlot(slot_); }
  const TempFile& file() const { return file_; }

 private:
  TempFile file_;
  int slot_;
};

struct OpenedHive {
  explicit OpenedHive(std::span<const uint8_t> bytes, const BuildOptions& options = {})
      : image(bytes), hive(image.hive()), summary(BuildImageTree(hive, options, tree)) {}
  explicit OpenedHive(const BuiltHive& built, const BuildOptions& options = {})
      : OpenedHive(std::span<const uint8_t>(built.bytes), options) {}

  HostRecorder host;
  OpenedImage image;
  HiveImage& hive;
  KeyTree tree;
  ImageSummary summary;

  // The item of a path below the root, without the root's own name; kNoItem when there is none.
  uint32_t Item(std::string_view path) const { return FindItemByPath(hive, tree, path); }
  const KeyItem& At(std::string_view path) const { return tree.items.at(Item(path)); }
  bool Has(std::string_view path) const { return Item(path) != kNoItem; }

  // Paths of all items in display order, without the root's own.
  std::vector<std::string> Paths() const {
    std::vector<std::string> paths;
    const size_t root = ItemPath(hive, tree, 0).size() + 1;
    for (uint32_t item = 1; item < tree.items.size(); ++item) {
      paths.push_back(ItemPath(hive, tree, item).substr(root));
    }
    return paths;
  }
  // The value pane of an item: info rows, then "name=data".
  std::vector<std::string> Values(std::string_view path) const {
    std::vector<std::string> texts;
    const ItemValues values = ShowItemValues(hive, tree, Item(path), {});
    for (const ValueRow& row : values.info_rows) texts.push_back(row.name + "=" + row.data);
    for (const uint32_t position : values.value_positions) {
      const ValueRow row = MakeValueRow(hive, position, {});
      texts.push_back(row.name + "=" + row.data);
    }
    return texts;
  }
};

}  // namespace hivequarry::testing
