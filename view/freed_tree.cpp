#include "view/freed_tree.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "host/case.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

constexpr uint32_t kNoFreedRow = kNoItem;

// A deleted key on its way to its place.
struct Placed {
  uint32_t host = kNoItem;       // the item of the hive's tree that it hangs below
  uint32_t above = kNoFreedRow;  // or the deleted key
  uint32_t row = 0;
  std::string name;  // by which siblings are in order
};

// One whose parents lead back to it has no place.
Placed PlaceOfKey(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                  uint32_t row) {
  const FreedKey& key = records.keys[row];
  Placed placed;
  placed.row = row;
  placed.name = CapitalsOfText(FreedKeyName(hive, key));
  if (key.in_circle || key.parent == kNoOffset) return placed;
  placed.above = key.parent_row;
  if (placed.above == kNoFreedRow) placed.host = ItemOfPosition(tree, key.parent);
  return placed;
}

// Those in the folder first, then those below keys of the tree in its order, then those below
// deleted keys.
bool IsBefore(const Placed& a, const Placed& b) {
  const auto group = [](const Placed& placed) {
    return placed.above != kNoFreedRow ? 2 : placed.host != kNoItem ? 1 : 0;
  };
  return std::forward_as_tuple(group(a), a.host, a.above, a.name, a.row) <
         std::forward_as_tuple(group(b), b.host, b.above, b.name, b.row);
}

// The branches one after another: first the folder with those that have no place, then those that
// hang below keys of the hive's tree, each a branch of its own.
class TreeMaker {
 public:
  // `placed` is in the order of what its keys are below, those below no freed key first, so the
  // children of a row are one stretch of it; `below_` says where each begins.
  TreeMaker(FreedTree& freed, const std::vector<Placed>& placed) : freed_(freed), placed_(placed) {
    below_.assign(freed.records.keys.size() + 1, 0);
    for (const Placed& each : placed) {
      if (each.above != kNoFreedRow) ++below_[each.above + 1];
    }
    first_below_ = static_cast<uint32_t>(
        std::ranges::find_if(placed, [](const Placed& each) { return each.above != kNoFreedRow; }) -
        placed.begin());
    for (size_t row = 1; row < below_.size(); ++row) below_[row] += below_[row - 1];
  }

  // The folder of what hangs nowhere comes first, as item 0; then the branches below keys of the
  // hive, noted by the item that they hang at.
  void Make() {
    KeyTree& tree = freed_.tree;
    tree.root_text = kFreedTitle;
    freed_.items.assign(freed_.records.keys.size(), kNoItem);
    Add(kNoFreedRow, kNoItem);
    tree.items[0].kind = ItemKind::kDisconnectedKeys;
    uint32_t at = 0;
    for (; at < first_below_ && placed_[at].host == kNoItem; ++at) AddBranch(placed_[at].row, 0);
    freed_.loose_keys = at;
    CloseItem(tree, 0);
    for (; at < first_below_; ++at) {
      freed_.tops.push_back({placed_[at].host, static_cast<uint32_t>(tree.items.size())});
      AddBranch(placed_[at].row, kNoItem);
    }
  }

 private:
  struct Level {
    uint32_t item;
    uint32_t next;  // of the children to be added
    uint32_t end;
  };

  uint32_t Add(uint32_t row, uint32_t parent) {
    const auto item = static_cast<uint32_t>(freed_.tree.items.size());
    KeyItem& it = freed_.tree.items.emplace_back();
    it.parent = parent;
    freed_.rows.push_back(row);
    if (row == kNoFreedRow) return item;
    it.position = freed_.records.keys[row].position;
    freed_.items[row] = item;
    return item;
  }

  void Open(uint32_t row, uint32_t parent) {
    const uint32_t item = Add(row, parent);
    levels_.push_back({item, first_below_ + below_[row], first_below_ + below_[row + 1]});
  }

  // With levels of its own: deleted keys may be nested deeper than calls may.
  void AddBranch(uint32_t row, uint32_t parent) {
    Open(row, parent);
    while (!levels_.empty()) {
      Level& level = levels_.back();
      if (level.next == level.end) {
        CloseItem(freed_.tree, level.item);
        levels_.pop_back();
      } else {
        const uint32_t item = level.item;
        Open(placed_[level.next++].row, item);
      }
    }
  }

  FreedTree& freed_;
  const std::vector<Placed>& placed_;
  std::vector<uint32_t> below_;  // by row: where its children begin among those below deleted keys
  uint32_t first_below_ = 0;
  std::vector<Level> levels_;
};

// By key, then in the order of the records: those of one key are found by a binary search.
void PlaceValues(FreedTree& freed) {
  const std::vector<FreedValue>& values = freed.records.values;
  freed.owned.reserve(values.size());
  for (uint32_t row = 0; row < values.size(); ++row) freed.owned.push_back({values[row].key, row});
  std::ranges::sort(freed.owned, [](const FreedTree::Owned& a, const FreedTree::Owned& b) {
    return std::tie(a.key, a.row) < std::tie(b.key, b.row);
  });
}

}  // namespace

// What the search cut short is the difference: a thread may have noted other shortfalls before. An
// operation has its own account of them (host/shortfalls.h), so nothing is kept here for one.
std::shared_ptr<const FreedTree> FindFreedTree(const HiveImage& hive, const KeyTree& tree) {
  auto freed = std::make_shared<FreedTree>();
  const BackgroundWork* work = WorkInBackground();
  const uint64_t before = work == nullptr ? 0 : work->shortfalls.load();
  freed->records = FindFreedRecords(hive, tree);
  if (work != nullptr) freed->shortfalls = work->shortfalls - before;
  std::vector<Placed> placed;
  placed.reserve(freed->records.keys.size());
  for (uint32_t row = 0; row < freed->records.keys.size(); ++row) {
    if ((row & 0xFF) == 0 && StopRequested()) return std::make_shared<FreedTree>();
    placed.push_back(PlaceOfKey(hive, tree, freed->records, row));
  }
  std::ranges::sort(placed, IsBefore);
  TreeMaker(*freed, placed).Make();
  PlaceValues(*freed);
  return freed;
}

std::span<const FreedTree::Top> FreedTopsUnder(const FreedTree& freed, uint32_t item) {
  return FreedTopsWithin(freed, item, item + 1);
}

std::span<const FreedTree::Top> FreedTopsWithin(const FreedTree& freed, uint32_t first,
                                                uint32_t end) {
  const auto from = std::ranges::lower_bound(freed.tops, first, {}, &FreedTree::Top::under);
  const auto to =
      std::lower_bound(from, freed.tops.end(), end,
                       [](const FreedTree::Top& top, uint32_t under) { return top.under < under; });
  return {from, to};
}

std::span<const FreedTree::Owned> FreedValuesOf(const FreedTree& freed, uint32_t key_position) {
  const auto from = std::ranges::lower_bound(freed.owned, key_position, {}, &FreedTree::Owned::key);
  const auto to =
      std::upper_bound(from, freed.owned.end(), key_position,
                       [](uint32_t key, const FreedTree::Owned& value) { return key < value.key; });
  return {from, to};
}

uint32_t FreedItemAt(const FreedTree& freed, uint32_t position) {
  const uint32_t row = FreedKeyRow(freed.records, position);
  return row == kNoItem || row >= freed.items.size() ? kNoItem : freed.items[row];
}

const FreedKey* FreedKeyOf(const FreedTree& freed, uint32_t item) {
  const uint32_t row = item < freed.rows.size() ? freed.rows[item] : kNoFreedRow;
  return row == kNoFreedRow ? nullptr : &freed.records.keys[row];
}

// Branches were added in the order of their hosts, so the tops ascend by their items too, and the
// last one at or before an item is that of its branch. Before the first top is the folder.
uint32_t HostOfFreed(const FreedTree& freed, uint32_t item) {
  const auto after = std::ranges::upper_bound(freed.tops, item, {}, &FreedTree::Top::item);
  if (item >= freed.tree.items.size() || after == freed.tops.begin()) return kNoItem;
  return (after - 1)->under;
}

bool HasFreedFolder(const FreedTree& freed) {
  return freed.loose_keys != 0 || !FreedValuesOf(freed, kNoOffset).empty();
}

}  // namespace hivequarry
