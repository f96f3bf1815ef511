// Layered hives (layers.h) one over the other: what a system that has loaded them all shows.
//
// The stack is one image and one key tree, so that whatever reads a hive reads it. The image has
// the bytes of all layers one after the other, the topmost first; cells of a layer lead among
// themselves. So a record's position says which layer it is of, and its place is that in the
// layer's own file. Keys that are one have one item, at the position of the topmost of them; what
// the others add is kept beside the image, by that position.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"

namespace hivequarry {

struct StackLayer {
  HiveImage hive;      // as it was opened: positions in it are its own
  uint32_t start = 0;  // position in the stack's image of its first byte
};

// Why a record is not there for who looks at the whole stack.
enum class HiddenBy : uint8_t {
  kNothing,
  kTombstone,   // of a key or value; also the tombstone itself
  kSuperseded,  // by a key
  kOwnValue,    // by a value of that name
};
// Why a key or value is not part of what a system sees.
struct HiddenNote {
  HiddenBy by = HiddenBy::kNothing;
  uint32_t layer = 0;  // that hides it
};

struct StackValue {
  uint32_t position = kNoOffset;  // of its cell
  uint32_t entry = 0;             // position of the list entry that names it
};
// A key that is not plainly what its cell says.
struct StackKey {
  std::vector<uint32_t> keys;  // that are one: positions, topmost first
  uint64_t last_write = 0;     // FILETIME, the newest of those whose values count
  uint32_t class_of = 0;       // position of the key whose class name it has
  std::vector<StackValue> values;
};

// Positions are those of the stack's image.
struct LayerStack {
  std::vector<StackLayer> layers;                   // topmost first
  std::unordered_map<uint32_t, StackKey> keys;      // by the position of their items
  std::unordered_map<uint32_t, HiddenNote> hidden;  // keys and values that are shown all the same
};

// Number of the layer that a position is in; 0 in an image that is no stack.
// A position beyond all layers counts as the last one's.
uint32_t LayerAt(const HiveImage& hive, uint32_t position);
// Where that layer's image begins; 0 in an image that is no stack.
uint32_t LayerStart(const HiveImage& hive, uint32_t position);
// The hive that the position is of: its layer, or the hive itself.
const HiveImage& LayerHive(const HiveImage& hive, uint32_t position);
bool InOneLayer(const LayerStack& stack, uint32_t position, uint32_t size);
// True when the bytes are all of one layer; of an image that is no stack, always.
inline bool InOneLayer(const HiveImage& hive, uint32_t position, uint32_t size) {
  return hive.stack == nullptr || InOneLayer(*hive.stack, position, size);
}
// Points into the stack: valid as long as the image.
const StackKey* StackKeyAt(const LayerStack& stack, uint32_t position);
// Null for a key of which its cell tells all, and in an image that is no stack.
inline const StackKey* StackKeyAt(const HiveImage& hive, uint32_t position) {
  return hive.stack == nullptr ? nullptr : StackKeyAt(*hive.stack, position);
}
// kNothing in an image that is no stack, and for what nobody hides.
HiddenNote HiddenNoteAt(const HiveImage& hive, uint32_t position);

// Time of a key's last write: FILETIME; of keys that are one the newest.
uint64_t LastWriteOfKey(const HiveImage& hive, uint32_t position);

enum class StackFault : uint8_t {
  kNone,
  kStopped,
  kNoMemory,  // or longer together than positions reach
  kNoPlaces,  // `layer` is a part of a hive, or a copy as text: its offsets lead nobody knows where
};
struct StackResult {
  StackFault fault = StackFault::kNone;
  uint32_t layer = 0;  // with kNoPlaces: which one
};
// Given away to StackHives, which keeps the image and lets the tree go.
struct TreeOfLayer {
  HiveImage hive;
  KeyTree tree;
};
// Puts hives one over the other, topmost first; `stack` has slot, names and logs of the topmost.
// Keys that no list leads to are by themselves in it, wherever they hang. With `show_hidden` the
// tree has the keys and values that are hidden too, with their notes. The layers' trees are read
// alone, each item and value of them a few times.
StackResult StackHives(std::vector<TreeOfLayer> layers, bool show_hidden, HiveImage& stack,
                       KeyTree& tree);

}  // namespace hivequarry
