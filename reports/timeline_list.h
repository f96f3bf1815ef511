// The timeline of one hive as a list.
#pragma once

#include <functional>

#include "lists/output_list.h"
#include "reports/timeline.h"

namespace hivequarry {

// Adds a row an event to a kListTimeline, by time. A row's datum is where the image has the key or
// value; times of the base block, and of keys that only a log has, lead nowhere. `more`, where it
// is given, adds events from elsewhere.
void ListTimeline(const HiveImage& hive, const KeyTree& tree, const TimelineOptions& options,
                  OutputList& list, const std::function<void(Timeline& timeline)>& more = nullptr);

}  // namespace hivequarry
