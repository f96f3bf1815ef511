// Layered hives in words (hive/layers.h).
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/values.h"

namespace hivequarry {

// "0x83: supersede tree, inherit class"; "0x00: merge".
// `bits` is the byte at kKeyLayerBits of a key in a hive with layers.
std::string LayerBitWords(uint8_t bits);

// The status words of a key: those of its marks (StatusText), and "tombstone", "supersedes" or
// "supersedes tree".
std::string KeyStatusText(const HiveImage& hive, const KeyItem& it);

// The type of a value as lists show it: that of its code, or kTombstoneType.
inline constexpr const char* kTombstoneType = "(tombstone)";
std::string ValueTypeText(const HiveImage& hive, const ValueKey& value);

// Of a record in a stack of hives (hive/layer_stack.h): "1 (SOFTWARE)", the layer's number, 0 the
// topmost, and its file's name; empty for an image that is no stack.
std::string LayerOfText(const HiveImage& hive, uint32_t position);
// The layers of all keys that the one at a position is one with: "0, 2"; of any other record its
// own.
std::string JoinedLayersText(const HiveImage& hive, uint32_t position);
// Why a record of a stack is not there for who looks at the whole: "hidden by the tombstone of
// layer 0". Empty for one that is there.
std::string HiddenText(const HiveImage& hive, uint32_t position);
// The cell of the column kLayerTitle (lists/list_kinds.h).
std::string LayerCell(const HiveImage& hive, uint32_t position);

// The keys and values of a tree that do something to the hive below.
struct LayerCounts {
  uint32_t tombstone_keys = 0;
  uint32_t tombstone_values = 0;
  uint32_t superseding_keys = 0;  // for the whole branch or for their own values
  uint32_t other_keys = 0;        // with layer bits
};
// Reads the fields of all listed values of a hive with layers; nothing of any other.
// Linear in keys and values.
LayerCounts CountLayers(const HiveImage& hive, const KeyTree& tree);
// "yes (differencing hive), 2 tombstone keys, 1 tombstone value, 3 supersede"; "no" for a hive
// without layers, "supported, none used" for one whose keys and values do nothing to another's.
std::string LayersText(const HiveImage& hive, const LayerCounts& counts);
// What the user must be told of a hive that is shown without the one below it; empty for a hive
// that is none of these. Counts them (CountLayers): for once after a load.
std::string LayersNotice(const HiveImage& hive, const KeyTree& tree);

}  // namespace hivequarry
