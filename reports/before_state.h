// A replayed hive as its file alone has it, with its tree: what the logs wrote over is there.
#pragma once

#include "hive/image.h"
#include "hive/key_tree.h"

namespace hivequarry {

struct StateBefore {
  HiveImage image;
  KeyTree tree;
};
// False for a hive that is not replayed, without memory, and when the user stops.
bool LoadBefore(const HiveImage& hive, StateBefore& before);

}  // namespace hivequarry
