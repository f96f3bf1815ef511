// The times that decoded evidence tells, as events of a timeline.
#pragma once

#include "hive/key_tree.h"
#include "reports/timeline.h"

namespace hivequarry {

// Adds an event for each time in each row of every decoder, for the hive that was added last
// (AddToTimeline): called as decoder and column are, "UserAssist: Last Run", with what the row is
// about as its detail. Times of keys' last writes are not told again. Ends early when the user
// stops.
void AddDecoderTimes(Timeline& timeline, const HiveImage& hive, const KeyTree& tree,
                     const TimelineOptions& options);

}  // namespace hivequarry
