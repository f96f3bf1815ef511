// The commands that compare the hive with the live registry.
#pragma once

namespace hivequarry {

struct ListPlace;
struct MainWindow;

// The selected branch against the key of the same path in the live registry; what differs is a
// list.
void OnCompareFolder(MainWindow& window);
// The window shows one hive.
void OnCompareWorkspace(MainWindow& window);

// A mode: while it is on, the tree marks the keys that differ. Switching it on compares what the
// tree shows; so does a load that ends meanwhile. A comparison that does not come to its end
// switches it off.
void OnCompareDisplayed(MainWindow& window);
void CompareLoadedHive(MainWindow& window);

// Which differences are listed: in this list, which is made anew, and in those to come. One kind
// alone, or without it all.
void OnOnlyMissing(ListPlace& place);
void OnOnlyDifferent(ListPlace& place);
bool ListsOnlyMissing();
bool ListsOnlyDifferent();

}  // namespace hivequarry
