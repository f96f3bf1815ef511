// The command that writes a branch of the hive into the live registry.
#pragma once

namespace hivequarry {

struct MainWindow;

// Writes the selected branch to the live registry, after asking; what could not be written is in a
// list afterwards.
void OnMergeFolder(MainWindow& window);

}  // namespace hivequarry
