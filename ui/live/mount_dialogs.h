// Loading a hive file into the registry as a subkey of HKEY_USERS, and unloading it again.
#pragma once

namespace hivequarry {

struct MainWindow;

// Ask with the dialogs "MAPREGDLG" and "UNLOADREGDLG", which stay when the registry refuses. A hive
// that was loaded is shown as a list of its first keys. Of a hive that is open a copy is loaded,
// made where the user wants it.
void OnLoadHive(MainWindow& window);
void OnUnloadHive(MainWindow& window);

}  // namespace hivequarry
