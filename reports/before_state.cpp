#include "reports/before_state.h"

#include "hive/replaying.h"
#include "recovery/image_tree.h"

namespace hivequarry {

bool LoadBefore(const HiveImage& hive, StateBefore& before) {
  before.image = ImageAfter(hive, 0);
  if (before.image.length == 0) return false;
  return !BuildImageTree(before.image, TreeAlone(), before.tree).stopped;
}

}  // namespace hivequarry
