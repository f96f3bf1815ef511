// The times that decoded evidence tells, as events of a timeline.
#pragma once

#include "evidence/evidence_source.h"
#include "reports/timeline.h"

namespace hivequarry {

// Adds an event for each time in each row of every decoder, for the hive that was added last
// (AddToTimeline): called as decoder and column are, "UserAssist: Last Run", with what the row is
// about as its detail. Times of keys' last writes are not told again: the walk over the keys has
// told them. Ends early when the user stops. Of rows at or below `options.item`, and of times
// within those of the options, alone. Runs all decoders one after another. What the events say is
// copied into the timeline, which need not outlive hive and tree. Any one thread at a time.
void AddDecoderTimes(Timeline& timeline, EvidenceSource& source, const TimelineOptions& options);

}  // namespace hivequarry
