// Comparing a branch of a hive with the same branch of the live registry. Neither is changed.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "hive/key_tree.h"
#include "lists/output_list.h"

namespace hivequarry {

// Which differences are listed.
enum class CompareRows : uint8_t {
  kAll,
  kMissing,    // what the registry lacks
  kDifferent,  // values that both have, with other data
};
// What takes part and what is shown; values are always compared by IsSameData.
struct CompareOptions {
  CompareRows rows = CompareRows::kAll;
  bool list_no_access = true;  // keys that may not be read
  bool recovered_keys =
      true;  // compare also keys that the hive's root does not reach, and made ones
};

// Why there is nothing to compare with.
enum class ComparisonFault : uint8_t {
  kNone,
  kVirtualFolder,  // has no branch in any registry
  kNoRoot,         // the registry has no key for the hive's root
  kRootDenied,
  kNoKey,      // the registry has the root, but not the item's key
  kKeyDenied,  // it may not be opened
};
struct ComparisonCheck {
  ComparisonFault fault = ComparisonFault::kNone;
  std::string path = {};  // of the item's key in the registry, for the last two
};
// Whether the item's branch can be compared. Opens the root and the item's key; changes nothing.
ComparisonCheck CheckComparison(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// kListCompare, on a worker: the item's key and all below it as displayed, a key before its
// children, in each key the values of the hive, then values and then keys that are in the registry
// alone. A key that the registry lacks is listed once. Datum: position of the hive's value, or of
// its key; keys of the registry alone have none. Ends early when the user stops. Gives the items
// that have rows, ascending; what the registry alone has counts for the key that it is in.
std::vector<uint32_t> CompareBranch(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                                    const CompareOptions& options, OutputList& list);

// Not owned.
struct ComparedData {
  uint32_t type = 0;
  std::span<const uint8_t> data;  // as stored: texts are UTF-16
};
// True when the registry's value counts as the same as the hive's: a text counts up to its first
// zero, a zero more or less after data means nothing, nor does it whether four bytes are called a
// number or binary.
bool IsSameData(const ComparedData& file, const ComparedData& live);

}  // namespace hivequarry
