// A replayed hive as its file alone has it, with its tree: what the logs wrote over is there.
#pragma once

#include "hive/image.h"
#include "hive/key_tree.h"

namespace hivequarry {

// Owns both; the replayed hive need not stay. Positions are those of this image, not of the
// replayed one.
struct StateBefore {
  HiveImage image;
  KeyTree tree;
};
// False for a hive that is not replayed, without memory, and when the user stops.
// Costs a copy of the image and a scan.
bool LoadBefore(const HiveImage& hive, StateBefore& before);

}  // namespace hivequarry
