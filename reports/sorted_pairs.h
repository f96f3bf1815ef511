// Two sorted runs side by side: what one of them alone has, and what both have.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace hivequarry {

// Which of the two has it.
enum class Pairing : uint8_t { kBoth, kOnlyA, kOnlyB };

// Hands what the runs hold to `visit(pairing, a, b)`, in their order; of one that a run lacks the
// other's is in its place. Both are sorted by the member `name`; those of one name pair in their
// order. Linear in both.
template <typename Item, typename Name, typename Visit>
void VisitPairs(const std::vector<Item>& a, const std::vector<Item>& b, Name Item::*name,
                const Visit& visit) {
  size_t i = 0;
  size_t j = 0;
  while (i < a.size() && j < b.size()) {
    const int order = (a[i].*name).compare(b[j].*name);
    if (order < 0) {
      visit(Pairing::kOnlyA, a[i], a[i]);
    } else if (order > 0) {
      visit(Pairing::kOnlyB, b[j], b[j]);
    } else {
      visit(Pairing::kBoth, a[i], b[j]);
    }
    i += order <= 0;
    j += order >= 0;
  }
  for (; i < a.size(); ++i) visit(Pairing::kOnlyA, a[i], a[i]);
  for (; j < b.size(); ++j) visit(Pairing::kOnlyB, b[j], b[j]);
}

}  // namespace hivequarry
