// Commands that search, and the list of keys by date.
#pragma once

#include <functional>

#include "lists/output_list.h"

namespace hivequarry {

struct MainWindow;
struct ListPlace;

// Opens a window for an empty list and fills it on a worker; the rows appear as they come. `done`
// (may be null) follows on the interface thread, unless the window was closed meanwhile. Null when
// there is no window or an operation is under way.
ListPlace* FillListWindow(MainWindow& window, OutputListPtr list,
                          std::function<void(OutputList& list)> fill,
                          std::function<void()> done = nullptr);

// The same with the list that a window shows: its rows go and are made anew.
void RefillListWindow(ListPlace& place, std::function<void(OutputList& list)> fill,
                      std::function<void()> done);

// They ask what to look for, below the selected item, in the hive or in the live registry, and fill
// a list window. So does the search for dates.
void OnSearchBranch(MainWindow& window);
void OnSearchWorkspace(MainWindow& window);
void OnSearchRegistry(MainWindow& window);
void OnKeyDates(MainWindow& window);
// Asks what to add, then lists what happened when in the selected branch.
void OnTimeline(MainWindow& window);

}  // namespace hivequarry
