// Two hives compared: keys by their paths, values by their names.
//
// Both are walked together from one key each, whatever the two are named (reports/key_pairs.h).
// What is below a key that the other side lacks is one row, with the number of keys and values. The
// order of keys is no difference, that of values only where it is asked for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lists/list_writers.h"
#include "lists/output_list.h"
#include "recovery/image_tree.h"
#include "reports/compared_keys.h"
#include "reports/key_pairs.h"

namespace hivequarry {

// How much differs. Keys and values below those that are added or removed count too.
struct HiveDifferences {
  uint64_t keys_added = 0;
  uint64_t keys_removed = 0;
  uint64_t times = 0;  // keys whose last writes differ
  uint64_t classes = 0;
  uint64_t securities = 0;
  uint64_t flags = 0;
  uint64_t values_added = 0;    // of common keys
  uint64_t values_removed = 0;  // likewise
  uint64_t values_changed = 0;  // in type or data
  uint64_t unreadable = 0;      // values that one side or both could not read
  uint64_t orders = 0;          // of values, where that is asked for
  uint64_t heeded_times = 0;    // those of `times` that are differences
  uint64_t ignored = 0;         // rows left out, of branches that patterns name
};
// True for any difference but those that are not heeded.
bool AnyDifference(const HiveDifferences& differences);
// "keys +1 -5, times 3, values +1 -0, changed 0".
std::string DifferenceWords(const HiveDifferences& differences);

// A kListHiveCompare, by path, keys before values; the datum of a row is a position in B, or in A
// for what B lacks; with `lead_to_a` always one in A, or none. `keys`, empty, takes all keys as one
// tree; null where nobody wants them. Ends early when the user stops.
// Linear in the keys and values of both, but for the sorting of names below each key. Neither hive
// changes; both trees must be those of their hives.
OutputListPtr CompareHives(const ComparedSide& a, const ComparedSide& b,
                           const HiveCompareOptions& options, HiveDifferences& differences,
                           ComparedKeys* keys = nullptr);

// Why a system would not take a side as it is, or what of it could not be read; empty for a sound
// one.
std::string DoubtOfSide(const HiveImage& hive, const ImageSummary& summary);
// Begins what is written of a comparison: each side's file and state.
struct DescribedSide {
  const HiveImage& hive;
  std::string key;    // path of the key that is compared
  std::string doubt;  // DoubtOfSide
};
// Lines for the head of lists and reports, UTF-8, those of A first.
std::vector<std::string> ComparisonHead(const DescribedSide& a, const DescribedSide& b);

// The place of a side's first key in a registry, in long form, as stored; below whatever the root
// is called where it has none. Empty for one that a script would take for another.
std::string PatchRoot(const ComparedSide& side);
// The registry script ("Windows Registry Editor Version 5.00", UTF-16) that makes B of A, its keys
// below `root`. It says nothing of times, classes, security and flags; keys and values with names
// that no line can hold, and data that cannot be read, are left out and noted as shortfalls.
// False when the sink refused or the user stopped.
bool WritePatch(const ComparedSide& a, const ComparedSide& b, const HiveCompareOptions& options,
                const std::string& root, const TextSink& sink);

}  // namespace hivequarry
