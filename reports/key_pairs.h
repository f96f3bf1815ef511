// Keys of two hives side by side: paired by their names, component by component, names by the
// system's capitals; several of one name pair in the order of their positions. Values of two keys
// pair by their names likewise, in the order of their lists.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "reports/ignored_branches.h"
#include "reports/sorted_pairs.h"

namespace hivequarry {

// One side. Lives as long as the comparison.
struct ComparedSide {
  const HiveImage& hive;
  const KeyTree& tree;
  uint32_t item = 0;  // the key from which on it is compared
  // A registry script: it knows keys and values, but no times, classes, security and flags.
  bool script = false;
};

// All of these hold for both sides. The first names what takes part, the others what counts and
// what is shown.
struct HiveCompareOptions {
  bool recovered = false;   // keys that no list leads to take part
  bool times = false;       // a row for each time that differs
  bool heed_times = false;  // and it is a difference
  bool deep = false;        // a row for each key below one that is added or removed
  bool text = false;        // text up to its first zero
  bool order = false;       // the order of values is a difference
  bool lead_to_a = false;   // rows are about A where it has what they are about
  bool bytes = false;       // rows about values have the bytes of both
  std::vector<IgnorePattern> ignored;
};

// A value, or key, as it is paired.
struct PairedName {
  std::string capitals;  // of the name, by which it is paired
  uint32_t at = 0;     // number of an item, or position of a value; kNoOffset for one that is lost
  uint32_t place = 0;  // of a value in its key's list
};

// An item that a side lacks is kNoItem.
struct KeyPair {
  Pairing pairing = Pairing::kBoth;
  uint32_t a = kNoItem;
  uint32_t b = kNoItem;
  bool twin = false;     // another pair before it has that name too
  bool ignored = false;  // a pattern names it, or a key above
};
// Positions of values: kNoOffset for one that a side lacks or has lost.
struct ValuePair {
  Pairing pairing = Pairing::kBoth;
  uint32_t a = kNoOffset;
  uint32_t b = kNoOffset;
  uint32_t place_a = 0;  // in the key's list
  uint32_t place_b = 0;
  bool twin = false;  // as in KeyPair
};

// What one side holds of a value.
struct SideValue {
  ValueKey value;
  std::vector<uint8_t> data;
  // False for a value that is lacking, too, and for data that were read too often.
  bool read() const { return value.status == ValueStatus::kRead; }
};

// What a walk over pairs keeps.
struct PairWalk {
  ComparedSide a;
  ComparedSide b;
  const HiveCompareOptions& options;
  DataBudget budget_a = MakeDataBudget(a.hive);
  DataBudget budget_b = MakeDataBudget(b.hive);
  SideValue value_a = {};  // read last
  SideValue value_b = {};
  IgnoreState state = {};                  // of the pair under way; empty without patterns
  std::vector<uint32_t> positions_a = {};  // of values, listed last
  std::vector<uint32_t> positions_b = {};
};

// False for folders, hidden keys and, unless they were asked for, keys that no list leads to.
bool TakesPart(const ComparedSide& side, uint32_t item, const HiveCompareOptions& options);
inline uint32_t PositionOf(const ComparedSide& side, uint32_t item) {
  return side.tree.items[item].position;
}
// The item's name as it pairs.
std::string CapitalsOfItem(const ComparedSide& side, uint32_t item);
// The pairs below two keys, by their names.
std::vector<KeyPair> PairsBelow(const PairWalk& walk, uint32_t item_a, uint32_t item_b);
// By their names, those of one name in the order of the list; none for kNoItem.
std::vector<PairedName> PairedValues(const ComparedSide& side, uint32_t item);
std::vector<ValuePair> ValuePairs(const PairWalk& walk, uint32_t item_a, uint32_t item_b);
// True when the two keys list the same values, byte for byte and in one order; false says nothing.
bool ListTheSameValues(PairWalk& walk, uint32_t item_a, uint32_t item_b);
// Reads both into the walk. Null for values that are the same, else what differs, in words.
const char* ValueDifference(PairWalk& walk, uint32_t position_a, uint32_t position_b);
// With its data, within the budget; a side that lacks the value (kNoOffset) gives an empty one.
void ReadSide(const ComparedSide& side, uint32_t position, DataBudget& budget, SideValue& out);

// The values of two keys side by side, by their names; an item may be kNoItem. `what` is null for
// those that are the same. Empty, and `too_many` set, where one of them lists more than `most`.
struct ComparedValue {
  const char* what = nullptr;
  ValuePair pair;
};
inline constexpr size_t kMostComparedValues = 10'000;
std::vector<ComparedValue> ValuesSideBySide(PairWalk& walk, uint32_t item_a, uint32_t item_b,
                                            bool& too_many, size_t most = kMostComparedValues);

// For WalkPairs: the patterns' state of a pair below one with `above`, into the walk.
void EnterPair(PairWalk& walk, const IgnoreState& above, KeyPair& pair);

// Hands each pair to `visit(pair)`, keys before what is below them; what is below a key of one side
// alone is not gone through. Nothing recurses, however deep they are. Ends early when the user
// stops.
template <typename Visit>
void WalkPairs(PairWalk& walk, const Visit& visit) {
  struct Level {
    std::vector<KeyPair> pairs;
    size_t next = 0;
    IgnoreState state;  // of the key above
    bool ignored = false;
  };
  std::vector<Level> open;
  walk.state = StartOfPatterns(walk.options.ignored);
  const KeyPair first{Pairing::kBoth, walk.a.item, walk.b.item};
  visit(first);
  open.push_back({PairsBelow(walk, first.a, first.b), 0, walk.state});
  while (!open.empty() && !StopRequested()) {
    Level& level = open.back();
    if (level.next == level.pairs.size()) {
      open.pop_back();
      continue;
    }
    KeyPair pair = level.pairs[level.next++];
    pair.ignored = level.ignored;
    if (!level.state.empty()) EnterPair(walk, level.state, pair);
    visit(pair);
    if (pair.pairing != Pairing::kBoth) continue;
    std::vector<KeyPair> below = PairsBelow(walk, pair.a, pair.b);
    if (!below.empty()) open.push_back({std::move(below), 0, walk.state, pair.ignored});
  }
}

// Hands a key of one side alone, whose pair is under way, and those below it to `visit(item)`, but
// for those that take no part and those that patterns name. Gives the number of the latter. Ends
// early when the user stops, or `visit` says false.
template <typename Visit>
uint64_t WalkBranch(const PairWalk& walk, const ComparedSide& side, uint32_t item,
                    const Visit& visit) {
  struct Level {
    uint32_t end;  // item after the subtree
    IgnoreState state;
  };
  std::vector<Level> above;  // only with patterns
  uint64_t left_out = 0;
  const uint32_t end = side.tree.items[item].end;
  for (uint32_t at = item; at < end && !StopRequested();) {
    if (!TakesPart(side, at, walk.options)) {
      ++at;
      continue;
    }
    if (!walk.state.empty()) {
      while (!above.empty() && above.back().end <= at) above.pop_back();
      IgnoreState state = above.empty() ? walk.state : above.back().state;
      const bool named =
          at != item && EnterIgnoring(walk.options.ignored, CapitalsOfItem(side, at), state);
      if (named) {
        ++left_out;
        at = side.tree.items[at].end;
        continue;
      }
      above.push_back({side.tree.items[at].end, std::move(state)});
    }
    if (!visit(at)) break;
    ++at;
  }
  return left_out;
}

}  // namespace hivequarry
