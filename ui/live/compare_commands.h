// The commands that compare the hive with the live registry.
#pragma once

namespace hivequarry {

struct ListPlace;
struct MainWindow;

// The selected branch against the key of the same path in the live registry; what differs is a
// list.
void OnCompareFolder(MainWindow& window);
// The whole of the hive that is viewed.
void OnCompareWorkspace(MainWindow& window);

// A mode of the window: while it is on, the tree marks the keys that differ. Switching it on
// compares what the tree shows of the hive that is viewed; a hive that is loaded meanwhile is
// compared then. A comparison that does not come to its end switches it off, for all hives.
void OnCompareDisplayed(MainWindow& window);
void CompareLoadedHive(MainWindow& window);

// Which differences are listed: in this list, which is made anew, and in those to come. One kind
// alone, or without it all.
void OnOnlyMissing(ListPlace& place);
void OnOnlyDifferent(ListPlace& place);
bool ListsOnlyMissing();
bool ListsOnlyDifferent();

}  // namespace hivequarry
