// What work on the live registry had to say or to ask, in words for the user.
#pragma once

#include <cstdint>

#include "live/compare.h"
#include "live/live_lists.h"
#include "live/merge.h"

namespace hivequarry {

// CheckMerge, a question, and OpenMergeTarget, which makes the key where it is missing. False after
// a message, or after "No".
bool PrepareMerge(const HiveImage& hive, const KeyTree& tree, uint32_t item, MergeTarget& target);
// MergeBranch, a message when a refused value has ended it, and the counts as status text.
MergeCounts MergeAndTell(const HiveImage& hive, const KeyTree& tree, MergeTarget& target,
                         const MergeOptions& options, OutputList& errors);

// True when CheckComparison finds no fault; else after a message, but for the virtual folders.
bool MayCompare(const HiveImage& hive, const KeyTree& tree, uint32_t item);

// FindLiveKeysByPermissions, and a message when the privilege for the SACL is not held.
bool FindLiveKeysAndTell(uint32_t roots, const PermissionQuery& query, bool resolve,
                         OutputList& list);

}  // namespace hivequarry
