// The command that writes a branch of the hive into the live registry.
#pragma once

namespace hivequarry {

struct MainWindow;

// What could not be written is in a list afterwards.
void OnMergeFolder(MainWindow& window);

}  // namespace hivequarry
