// The dates of lists on the screen, when another time zone is chosen for them.
#pragma once

namespace hivequarry {

struct MainWindow;

// All lists of the window show their dates in the zone in force: short ones at once, the others one
// after the other on a worker, which the user may stop; what is left then keeps its zone, which its
// dates say. A list that is worked on waits for that end.
void ShowListsInZone(MainWindow& window);
// What waits, after the end of a worker.
void FollowZone(MainWindow& window);

}  // namespace hivequarry
