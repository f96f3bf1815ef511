// Sorting of large records: small keys are sorted, and each record is moved once.
#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace hivequarry {

// Compared as a whole: `second` decides where the first ones are alike.
struct SortKey {
  uint64_t first = 0;
  uint64_t second = 0;
  auto operator<=>(const SortKey&) const = default;
};

// Sorts by the SortKey that `key_of(item)` gives; items of equal keys stay as they are. Takes
// memory for the keys and for a second row of items while it runs.
template <typename Item, typename KeyOf>
void SortByKeys(std::vector<Item>& items, const KeyOf& key_of) {
  struct Place {
    SortKey key;
    size_t at;
    auto operator<=>(const Place&) const = default;
  };
  constexpr size_t kAhead = 16;  // items on their way while one is moved
  std::vector<Place> order(items.size());
  for (size_t i = 0; i < items.size(); ++i) order[i] = {key_of(items[i]), i};
  std::ranges::sort(order);
  std::vector<Item> sorted;
  sorted.reserve(items.size());
  for (size_t i = 0; i < order.size(); ++i) {
    __builtin_prefetch(&items[order[std::min(i + kAhead, order.size() - 1)].at]);
    sorted.push_back(std::move(items[order[i].at]));
  }
  items = std::move(sorted);
}

}  // namespace hivequarry
