// Two hives compared: keys by their paths, values by their names.
//
// Both are walked together from one key each, whatever the two are named. Keys pair by name,
// component by component, names by the system's capitals; several of one name pair in the order of
// their positions. What is below a key that the other side lacks is one row, with the number of
// keys and values. The order of keys and values is no difference.
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/list_writers.h"
#include "lists/output_list.h"

namespace hivequarry {

// One side. Lives as long as the comparison.
struct ComparedSide {
  const HiveImage& hive;
  const KeyTree& tree;
  uint32_t item = 0;  // the key from which on it is compared
};

struct HiveCompareOptions {
  bool recovered = false;  // keys that no list leads to take part
  bool times = false;      // a row for each time that differs
  bool deep = false;       // a row for each key below one that is added or removed
  bool text = false;       // text up to its first zero
};

// How much differs. Keys and values below those that are added or removed count too.
struct HiveDifferences {
  uint64_t keys_added = 0;
  uint64_t keys_removed = 0;
  uint64_t times = 0;
  uint64_t classes = 0;
  uint64_t securities = 0;
  uint64_t flags = 0;
  uint64_t values_added = 0;    // of common keys
  uint64_t values_removed = 0;  // likewise
  uint64_t values_changed = 0;  // in type or data
  uint64_t unreadable = 0;
};
// True for any difference but those of times.
bool AnyDifference(const HiveDifferences& differences);
// "keys +1 -5, times 3, values +1 -0, changed 0".
std::string DifferenceWords(const HiveDifferences& differences);

// A kListHiveCompare, by path, keys before values; the datum of a row is a position in B, or in A
// for what B lacks. Ends early when the user stops.
OutputListPtr CompareHives(const ComparedSide& a, const ComparedSide& b,
                           const HiveCompareOptions& options, HiveDifferences& differences);

// The registry script ("Windows Registry Editor Version 5.00", UTF-16) that makes B of A, its keys
// below `root`. It says nothing of times, classes, security and flags; keys and values with names
// that no line can hold, and data that cannot be read, are left out and noted as shortfalls.
bool WritePatch(const ComparedSide& a, const ComparedSide& b, const HiveCompareOptions& options,
                const std::string& root, const TextSink& sink);

}  // namespace hivequarry
