// The block list: one row for each hbin block, in a window of its own.
#pragma once

namespace hivequarry {

struct MainWindow;

// Shows the list of the hive shown, or brings it to the front.
void ShowBlockList(MainWindow& window);

}  // namespace hivequarry
