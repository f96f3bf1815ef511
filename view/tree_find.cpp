#include "view/tree_find.h"

#include <algorithm>

#include "hive/keys.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/long_operation.h"
#include "view/tree_icons.h"

namespace hivequarry {
namespace {

constexpr int64_t kStopPollMask = 0x3FF;

// Whether one of the entries of a key's value list leads to the value at `position`.
bool ListsValue(const HiveImage& hive, uint32_t key, uint32_t position) {
  std::vector<uint32_t> positions;
  ReadValuesOfKey(hive, key, kAllEntries, positions);
  return std::ranges::find(positions, position) != positions.end();
}

// Linear in the keys and their lists: for one value, not for many.
uint32_t ItemListingValue(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  for (uint32_t item = 0; item < tree.items.size(); ++item) {
    if (!HasKeyCell(tree, item)) continue;
    if (ListsValue(hive, tree.items[item].position, position)) return item;
  }
  return kNoItem;
}

}  // namespace

FoundItem FindItemByName(std::span<const SearchedTree> trees, size_t from_tree,
                         const TreeFindRequest& request, const std::function<void()>& passed) {
  const std::string text = CapitalsOfText(request.text);
  const auto size = [&trees](size_t tree) {
    return static_cast<int64_t>(trees[tree].tree->items.size());
  };
  int64_t all = 0;
  for (size_t tree = 0; tree < trees.size(); ++tree) all += size(tree);
  const bool begins = from_tree < trees.size() && request.from < size(from_tree);
  size_t tree = begins ? from_tree : request.down ? 0 : trees.size() - 1;
  // Where there is none to begin with: before the first of all, or after the last.
  int64_t at = begins ? request.from : request.down ? -1 : size(tree);
  for (int64_t visited = 0; visited < all; ++visited) {
    if ((visited & kStopPollMask) == 0 && StopRequested()) return {kNoItem, true};
    at += request.down ? 1 : -1;
    while (at < 0 || at == size(tree)) {
      const size_t last = request.down ? trees.size() - 1 : 0;
      if (tree == last && !request.wrap) return {};
      if (tree == last) passed();
      tree = request.down ? (tree + 1) % trees.size() : (tree + trees.size() - 1) % trees.size();
      at = request.down ? 0 : size(tree) - 1;
    }
    const auto item = static_cast<uint32_t>(at);
    if (trees[tree].tree->items[item].hidden) continue;
    if (CapitalsOfText(trees[tree].name(item)).find(text) != std::string::npos) {
      return {item, false, tree};
    }
  }
  return {};
}

uint32_t ItemAgain(const HiveImage& hive, const KeyTree& tree, std::string_view path,
                   uint32_t position) {
  const uint32_t there = position == kNoOffset ? kNoItem : ItemOfPosition(tree, position);
  const bool same = there != kNoItem && LongItemPath(hive, tree, there) == path;
  if (same && !tree.items[there].hidden) return there;
  while (!path.empty()) {
    const uint32_t item = FindItemByPath(hive, tree, path);
    if (item != kNoItem && !tree.items[item].hidden) return item;
    path = path.substr(0, std::min(path.rfind('\\'), path.size()));
    // Only the first name of a root's path is left, which leads to no key below it.
    if (path.find('\\') == std::string_view::npos) break;
  }
  return 0;
}

namespace {

bool ShowsRecovered(const KeyTree& tree, const FreedTree* freed, uint32_t item) {
  const KeyItem& it = tree.items[item];
  if (it.hidden) return false;
  if (item == tree.disconnected_values) return !tree.disconnected_value_positions.empty();
  if (!IsKeyItem(tree, item)) return false;
  // Any icon but the plain folder says that something was found out about the key.
  if (ClosedIcon(it) != kIconFolder) return true;
  return freed != nullptr && HasKeyCell(tree, item) && !FreedValuesOf(*freed, it.position).empty();
}

// Both trees as one row of places: the hive's, the branches of deleted keys in it, and the folder
// of those without a place.
struct PlacesInRow {
  const KeyTree& tree;
  const FreedTree* freed;

  uint32_t Live() const { return static_cast<uint32_t>(tree.items.size()); }
  uint32_t Freed() const {
    return freed == nullptr ? 0 : static_cast<uint32_t>(freed->tree.items.size());
  }
  uint32_t InFolder() const { return Freed() == 0 ? 0 : freed->tree.items[0].end; }
  uint32_t Count() const { return Live() + Freed(); }

  // The folder is first in its tree and last in the row: the tree's items are turned by as many.
  TreePlace At(uint32_t row) const {
    if (row < Live()) return {row, false};
    return {(row - Live() + InFolder()) % Freed(), true};
  }
  // Count() for a place that is none of them.
  uint32_t RowOf(TreePlace place) const {
    if (!place.freed) return std::min(place.item, Count());
    if (place.item >= Freed()) return Count();
    return Live() + (place.item + Freed() - InFolder()) % Freed();
  }
  bool IsRecovered(TreePlace place) const {
    if (!place.freed) return ShowsRecovered(tree, freed, place.item);
    if (place.item == 0) return !FreedValuesOf(*freed, kNoOffset).empty();
    const uint32_t host = HostOfFreed(*freed, place.item);
    return host == kNoItem || !tree.items[host].hidden;
  }
};

}  // namespace

FoundRecovered FindRecovered(const KeyTree& tree, const FreedTree* freed, TreePlace from,
                             bool down) {
  const PlacesInRow places{tree, freed};
  const uint32_t count = places.Count();
  uint32_t at = places.RowOf(from);
  const bool begins = at < count;
  FoundRecovered found;
  for (uint32_t steps = 0; steps < count; ++steps) {
    const bool at_end = down ? at + 1 >= count : at == 0;
    // A search that begins nowhere comes in at an end: it passes none by that.
    found.passed |= at_end && begins;
    if (down) {
      at = at_end ? 0 : at + 1;
    } else {
      at = at_end ? count - 1 : at - 1;
    }
    if (!places.IsRecovered(places.At(at))) continue;
    found.place = places.At(at);
    return found;
  }
  return {};
}

uint32_t ItemShowing(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  uint32_t item = ItemOfPosition(tree, position);
  if (item == kNoItem && std::ranges::binary_search(tree.disconnected_value_positions, position)) {
    item = tree.disconnected_values;
  }
  // The slow way last.
  if (item == kNoItem) item = ItemListingValue(hive, tree, position);
  return item != kNoItem && tree.items[item].hidden ? kNoItem : item;
}

}  // namespace hivequarry
