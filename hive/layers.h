// Layered (differencing) hives: those of containers and app packages hold only what differs from
// the hive below them.
//
// A key of such a hive says how it goes with the key of the same path below: both are one, it hides
// the other, or it is there in the other's place, alone or with all below it. A value may hide one
// of its name. The base block says whether a hive has such words; without that what is at their
// places is something else.
#pragma once

#include <cstdint>

#include "hive/image.h"
#include "records/key_node.h"

namespace hivequarry {

struct ValueKey;

// True when the base block says so, in a way that only systems with layers write: no flags that
// none of them has, and no part in transactions.
// In a stack (layer_stack.h) the layer that the position is in decides.
bool HasLayers(const HiveImage& hive, uint32_t position = 0);

// How the key at a position goes with that below; kMerge in a hive without layers.
KeyLayer LayerOfKey(const HiveImage& hive, uint32_t key_position);
// True when its class name is that of the key below.
bool InheritsClass(const HiveImage& hive, uint32_t key_position);
// True for a value that only hides one of its name.
// The bit alone is not enough: without layers other systems may have set it.
bool IsTombstone(const HiveImage& hive, const ValueKey& value);

}  // namespace hivequarry
