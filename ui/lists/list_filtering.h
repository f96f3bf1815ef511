// Showing some rows of a list of the screen.
#pragma once

#include <cstdint>
#include <functional>

namespace hivequarry {

struct ListPlace;
struct OutputList;

using RowTest = std::function<bool(const OutputList& list, uint32_t row)>;

// Looks at all rows on a worker, and shows those that pass. False while one is at work; then, and
// when the user stops it, what is shown stays so.
bool FilterList(ListPlace& place, RowTest passes);

// A command of a list; called when guard and needs allow it.
void OnShowAllRows(ListPlace& place);

}  // namespace hivequarry
