// Freed records in searches and lists of dates: rows after those of the tree, with their Place.
#pragma once

#include "lists/output_list.h"
#include "reports/freed_rows.h"
#include "reports/key_dates.h"
#include "reports/search.h"

namespace hivequarry {

// Gives an empty list a last column "Place"; rows of the tree leave it empty.
void AddPlaceColumn(OutputList& list);
// True for a row about a freed record, of such a list or of one of freed records alone.
bool IsFreedRow(const OutputList& list, uint32_t row);
// True for one of a list that has rows about records in use as well: it must be told from them.
bool IsFreedAmongOthers(const OutputList& list, uint32_t row);

// The freed records below `item`, all of them for the root: a row for each key whose name matches
// and for each value whose name or data do. End early when the user stops.
void SearchFreed(FreedSource& from, uint32_t item, const SearchPattern& pattern, OutputList& list);
// The freed keys below `item` by the time of their last write.
void ListFreedDates(FreedSource& from, uint32_t item, const KeyDateRange& range, OutputList& list);

}  // namespace hivequarry
