// The dates of a list that was made in another time zone than the one they are shown in now.
#pragma once

#include <functional>

#include "hive/shown_zone.h"
#include "lists/output_list.h"

namespace hivequarry {

// True when the list has dates of which it keeps what they are: those of a list from a file are
// texts alone.
bool HasDates(const OutputList& list);
// A copy of the list, rows in the same order, in which each date that is shown in zone `from` is
// shown in `to`. Dates whose zone nothing says stay, and so do texts that hold dates among other
// words. Null when `stop` says so, or where memory gives out. `list` is only read.
OutputListPtr CopyInZone(const OutputList& list, const ShownZone& from, const ShownZone& to,
                         const std::function<bool()>& stop);

}  // namespace hivequarry
