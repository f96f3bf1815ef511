// What the logs removed: keys and values that the hive's file has in its own tree, and that the
// hive as its logs make it has no longer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "reports/before_state.h"

namespace hivequarry {

// The entries [first, last] of HiveLogs::steps, after the last of which it was gone. One where the
// very entry is known; more where looking at every state would cost too much.
struct RemovedBy {
  uint32_t first = 0;  // numbers of steps, both included
  uint32_t last = 0;
};
// Items and positions are those of the state before the logs.
struct RemovedKey {
  uint32_t item = kNoItem;  // of the tree before
  std::string path;         // as lists show it, with the root that the hive has now
  RemovedBy by;
};
// A value that the hive had before its logs were applied, and has not after them.
struct RemovedValue {
  uint32_t item = kNoItem;  // its key, which may be there still
  uint32_t position = 0;    // in the image before
  std::string path;         // of the key
  RemovedBy by;
};

// What an item of the tree before is.
enum class RemovedMark : uint8_t {
  kStays,    // is there still: no part of this
  kWay,      // is there still, and something below it or of its values is not
  kRemoved,  // the key is gone
};

// Owns the state before; kept for as long as its rows are shown.
struct RemovedState {
  StateBefore before;
  std::vector<RemovedKey> keys;      // ascending by path
  std::vector<RemovedValue> values;  // likewise
  std::vector<RemovedMark> marks;    // by item of the tree before
};
// `tree` is that of the replayed hive. False for a hive that is not replayed, without memory, and
// when the user stops. Costs a load, and for finding the entries a load more for each of them that
// removed something, up to a bound.
bool FindRemoved(const HiveImage& hive, const KeyTree& tree, RemovedState& removed);

// What removed it: "HIVE.LOG1 at 0x00000200 (512), entry 10", the entry's position in its log; with
// several entries "one of the entries 10..12".
std::string RemovedByText(const HiveLogs& logs, const RemovedBy& by);

// Takes out of the view of the tree before what is neither removed nor on the way to it.
void HideWhatStays(RemovedState& removed);

}  // namespace hivequarry
