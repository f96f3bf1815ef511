// Writing a branch of a hive into the live registry: keys with their class names, values as stored.
#pragma once

#include <cstdint>
#include <string>

#include "hive/key_tree.h"
#include "lists/output_list.h"
#include "live/live_place.h"
#include "live/registry.h"

namespace hivequarry {

inline constexpr uint32_t kMaxMergeDepth = 255;  // levels below the branch's first key

struct MergeOptions {
  bool list_no_access = true;  // list also keys that aren't there or may not be written
  bool security = false;       // give the keys the security records that they have in the hive
  bool recovered_keys =
      false;  // write also keys that the hive's root does not reach, and made ones
};

// A merge that may begin.
struct MergeTarget {
  LivePlace place;
  uint32_t item = kNoItem;  // of the branch's first key
  OpenedKey key;            // of the item
  bool wow64 = false;       // the 32-bit view of the registry
};
// Why a merge can't begin.
enum class MergeFault : uint8_t {
  kNone,
  kNoLivePlace,   // a virtual folder, or what is below one
  kUnknownRoot,   // the hive's root has no place in a registry
  kDoubtfulRoot,  // it is not beyond doubt (RootDoubt)
  kUnreadable,    // the item has no key cell, or a name on its path can't be a registry's
  kNotOpened,     // the registry refuses the item's key
};
// Whether the item can be merged at all; item and place of `target` are set as far as they are
// known. Changes nothing.
MergeFault CheckMerge(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                      MergeTarget& target);
// Opens or makes the key of a target that was found good.
MergeFault OpenMergeTarget(const HiveImage& hive, const KeyTree& tree, MergeTarget& target);

// What was written stays, also after a refusal or a stop.
struct MergeCounts {
  uint32_t keys = 0;     // written, the branch's first one included
  uint32_t values = 0;   // written
  bool refused = false;  // a refused value has ended it,
  int32_t error = 0;     // with this error
};
// On a worker. Writes the branch as displayed, keys before their children; existing values are
// overwritten, others stay. What the registry refuses, or the hive no longer holds, becomes a row
// of `errors` (kListErrors). Symbolic links are written after the other keys of their parent, and
// a key that is a link in one of hive and registry alone is refused. A refused key is left out with
// all below it; the first refused value ends the merge. Ends early when the user stops.
MergeCounts MergeBranch(const HiveImage& hive, const KeyTree& tree, MergeTarget& target,
                        const MergeOptions& options, OutputList& errors);
// What rows and messages say of an error of a merge: the platform's words, where it has some.
std::string MergeErrorText(int32_t error);

}  // namespace hivequarry
