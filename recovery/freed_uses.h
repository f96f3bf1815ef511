// What the keys of the tree say of the places at which freed records were found: what they name
// themselves, what their data take up, and which values they had before.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/position_index.h"
#include "recovery/freed_candidates.h"

namespace hivequarry {

// A cell without a signature that holds candidates, and how many of its bytes a key or value needs.
struct HostCell {
  uint32_t position = 0;  // of its size field
  uint32_t used = 0;      // from its start; 0 when nothing names it
};

// A value that a key's list names after its end.
struct FormerValue {
  uint32_t value = 0;  // position
  uint32_t key = 0;    // position of the key whose list it was in
};

// Made for one set of candidates, and of no use with another.
struct FreedUses {
  PositionIndex candidates;          // those that are values
  PositionIndex named;               // values that keys name or that the tree shows without one
  std::vector<FormerValue> former;   // candidates alone, each once
  std::vector<HostCell> hosts;       // ascending by position
  std::vector<uint32_t> odd_types;   // of candidates, ascending
  std::vector<bool> odd_types_used;  // by a value in use
};

// Every value, and every entry after a list's end, is looked at once, however many keys name it.
// Ends early when the user stops.
FreedUses CollectFreedUses(const HiveImage& hive, const KeyTree& tree,
                           std::span<const FreedCandidate> candidates);

// False for a candidate that the tree shows, that is part of data in use, or whose type no value in
// use has.
bool IsFreed(const HiveImage& hive, const FreedCandidate& candidate, const FreedUses& uses);

}  // namespace hivequarry
