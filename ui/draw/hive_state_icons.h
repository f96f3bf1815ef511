// Pictures of how far a live hive is in a backup or a replacement.
#pragma once

#include "live/live_hives.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Of `size` pixels, for the caller to destroy.
HIMAGELIST MakeHiveStateIcons(int size);
// Which of them shows a state; a running one turns with `frame`, which may be any number.
int HiveStateIcon(HiveState state, int frame);

}  // namespace hivequarry
