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

// A record's first key and its place.
struct SortPlace {
  uint64_t key = 0;  // SortKey::first
  uint32_t at = 0;   // of the record
};
// By key; places of equal keys stay as they are. The time goes with the places alone.
void SortPlaces(std::vector<SortPlace>& places);

// Where the items are now, in their order.
template <typename Item, typename KeyOf>
std::vector<SortPlace> OrderByKeys(const std::vector<Item>& items, const KeyOf& key_of) {
  std::vector<SortPlace> order(items.size());
  for (size_t i = 0; i < items.size(); ++i) {
    order[i] = {key_of(items[i]).first, static_cast<uint32_t>(i)};
  }
  SortPlaces(order);
  std::vector<SortPlace> equal;  // by the second key
  for (size_t i = 0, end = 0; i < order.size(); i = end) {
    for (end = i + 1; end < order.size() && order[end].key == order[i].key;) ++end;
    if (end - i == 1) continue;
    equal.clear();
    for (size_t each = i; each < end; ++each) {
      equal.push_back({key_of(items[order[each].at]).second, order[each].at});
    }
    SortPlaces(equal);
    for (size_t each = i; each < end; ++each) order[each].at = equal[each - i].at;
  }
  return order;
}

// Sorts by the SortKey that `key_of(item)` gives; items of equal keys stay as they are. At most
// 2^32 items.
template <typename Item, typename KeyOf>
void SortByKeys(std::vector<Item>& items, const KeyOf& key_of) {
  constexpr size_t kAhead = 16;  // items on their way while one is moved
  const std::vector<SortPlace> order = OrderByKeys(items, key_of);
  std::vector<Item> sorted;
  sorted.reserve(items.size());
  for (size_t i = 0; i < order.size(); ++i) {
    __builtin_prefetch(&items[order[std::min(i + kAhead, order.size() - 1)].at]);
    sorted.push_back(std::move(items[order[i].at]));
  }
  items = std::move(sorted);
}

}  // namespace hivequarry
