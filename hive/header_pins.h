// The first half of the search for bytes put in or lost: at which distance each block header is.
#pragma once

#include <vector>

#include "hive/shift_evidence.h"

namespace hivequarry {

// The pins, ascending in position and in offset; none after a stop.
// Distances at which other hives' blocks are found out to be are banned, and the search begun
// again. n log n in headers and records, times a fixed number of rounds.
std::vector<Pin> FindOwnPins(Shifts& shifts);

}  // namespace hivequarry
