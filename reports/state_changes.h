// What became different between two states of one hive: the keys that the tree connects, and the
// values that they list. Keys are told apart by their paths below the root.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"

namespace hivequarry {

// `content` tells values apart, it proves nothing: two of one hash count as the same.
struct StateValue {
  std::string name;       // as lists show it
  uint32_t position = 0;  // of the record, in the image of that state
  uint64_t content = 0;   // of type and data, a hash
};
struct StateKey {
  std::string path;                // as lists show it, without the root's own
  uint32_t position = 0;           // of the cell, in the image of that state
  uint64_t last_write = 0;         // FILETIME, UTC
  std::vector<StateValue> values;  // by name
};
// By path. What a load of the state cuts short is no shortfall of anybody's.
struct HiveState {
  std::string root;  // path of the root
  std::vector<StateKey> keys;
};
// Builds the tree of an image that is nobody else's. Empty when the user stops.
HiveState StateOf(HiveImage& image);
// The same with a tree that was built.
HiveState StateOf(const HiveImage& image, const KeyTree& tree);

// From the earlier state to the later one.
enum class StateChange : uint8_t {
  kKeyAdded,
  kKeyRemoved,
  kKeyChanged,  // time of its last write
  kValueAdded,
  kValueRemoved,
  kValueChanged,
};
// The word in the list's column, never null.
const char* ChangeWord(StateChange change);

// A key or value that differs; `value` is null for a key. Of removed ones the records are those of
// the state before.
using ChangeSink =
    std::function<void(StateChange change, const StateKey& key, const StateValue* value)>;
// By path, the key's own change before those of its values. Linear in both.
void CompareStates(const HiveState& before, const HiveState& after, const ChangeSink& sink);

}  // namespace hivequarry
