// From loaded bytes to an image: a copy as text is undone, a fragment aligned, moved bytes are put
// back, and the bounds and the distance between offsets and positions set from what the bytes
// confirm. The base block is not trusted.
#pragma once

#include "hive/hive_start.h"
#include "hive/image.h"

namespace hivequarry {

// A copy as text (every line end made longer) becomes the hive that it was; what is in the file
// before that is left out. `probe` is what the image then confirms; it stays as it was, and false
// comes back, when the bytes are no such copy.
// While opening only: the image's bytes change in place and its length shrinks.
bool UndoTextCopy(HiveImage& hive, HiveProbe& probe);

// Bounds, and where offsets lead, for a loaded image of which `probe` tells what was recognised:
// bytes that were moved are put back.
// The order matters: bounds first, then the data base, then what moved, then the runs of what is
// left.
void SetPlaces(HiveImage& hive, const HiveProbe& probe);

}  // namespace hivequarry
