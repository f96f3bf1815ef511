// The commands that write keys as a registry script.
#pragma once

namespace hivequarry {

struct ListPlace;
struct MainWindow;

// The whole hive; the selected branch.
void OnExportHive(MainWindow& window);
void OnExportFolder(MainWindow& window);
// The keys that the selected rows speak of, or the row in focus, each with its values alone.
void OnListExport(ListPlace& place);

}  // namespace hivequarry
