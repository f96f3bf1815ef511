// What the lists of security records share. Not for use outside this folder.
#pragma once

#include <cstdint>

#include "lists/list_rows.h"

namespace hivequarry {

// Entries that one walk over many records reads at most. Sound ones take 16 bytes and more each and
// belong to one record alone; damaged records that lie over one another, or all name one list,
// would make a walk as long as the square of the image.
inline uint32_t AceBudget(uint32_t image_length) { return image_length / 8; }

}  // namespace hivequarry
