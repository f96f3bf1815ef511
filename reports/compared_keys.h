// The keys of two compared hives as one tree: those of both, and those that one of them alone has.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/key_tree.h"

namespace hivequarry {

// In what a key differs. A set, a bit each; none: it is the same.
enum KeyDifference : uint8_t {
  kDiffersOnlyInA = 0x01,
  kDiffersOnlyInB = 0x02,
  kDiffersInValues = 0x04,  // in their order too, where that is asked for
  kDiffersInClass = 0x08,
  kDiffersInSecurity = 0x10,
  kDiffersInFlags = 0x20,
  kDiffersInTime = 0x40,
  kDiffersByName = 0x80,  // with one of the first two: the other side has a key of that name
};

// In the order of a walk: a key before those below it, which are by their names; the first is the
// key that both were compared from.
struct ComparedKey {
  uint32_t a = kNoItem;       // of the tree of A; kNoItem for none
  uint32_t b = kNoItem;       // likewise of the tree of B
  uint32_t parent = kNoItem;  // number of the key above
  uint32_t end = 0;           // number after the last key below
  uint8_t differs = 0;        // KeyDifference bits
};
using ComparedKeys = std::vector<ComparedKey>;

}  // namespace hivequarry
