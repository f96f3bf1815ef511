// The place in a registry that the hive shown stands for, as the user names it.
#pragma once

namespace hivequarry {

struct MainWindow;

// Asks with the dialog "ROOTDLG" for the registry path of the hive's root key: one of those that the
// system mounts hives at, or any other. Paths are shown, exported, compared and merged under it.
void OnHiveRoot(MainWindow& window);

}  // namespace hivequarry
