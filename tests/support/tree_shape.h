// What every key tree holds, however it came to be.
#pragma once

#include <cstdint>

#include "hive/key_tree.h"

namespace hivequarry::testing {

// The first item that is not where the order of the tree wants it: each after its parent, its
// branch inside the parent's, the root around everything. kNoItem when all are.
inline uint32_t FirstMisplacedItem(const KeyTree& tree) {
  constexpr uint32_t kFewest = 3;  // the root and the folders of what is disconnected
  const auto count = static_cast<uint32_t>(tree.items.size());
  if (count < kFewest || tree.items[0].end != count) return 0;
  for (uint32_t item = 1; item < count; ++item) {
    const KeyItem& it = tree.items[item];
    const bool placed = it.parent < item && it.end > item && it.end <= tree.items[it.parent].end;
    if (!placed) return item;
  }
  return kNoItem;
}

}  // namespace hivequarry::testing
