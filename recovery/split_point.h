// Where two threads share the walk through an image.
#pragma once

#include <cstdint>

#include "hive/image.h"

namespace hivequarry {

// The position of a block's header near the image's middle, whose next block goes on where it ends;
// 0 where there is none, and for images that one thread is done with sooner. It may be bytes of a
// cell: who splits there holds the state in which the first walk comes to it against the one that
// the second walk began with, and forgets the second where they differ.
uint32_t BlockToSplitAt(const HiveImage& hive);

}  // namespace hivequarry
