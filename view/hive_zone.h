// The time zone that a hive of a system says its machine was in.
#pragma once

#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/shown_zone.h"

namespace hivequarry {

// False, and `zone` unchanged, for a hive that says none, or says it with numbers that none has.
bool ZoneOfHive(const HiveImage& hive, const KeyTree& tree, ShownZone& zone);

}  // namespace hivequarry
