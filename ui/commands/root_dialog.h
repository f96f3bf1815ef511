// The place in a registry that the hive shown stands for, as the user names it.
#pragma once

namespace hivequarry {

struct MainWindow;

// Asks with the dialog "ROOTDLG" for the registry path of the hive's root key: one of those that
// the system mounts hives at, or any other. Paths are shown, exported, compared and merged under
// it.
void OnHiveRoot(MainWindow& window);
// The same, with the reason, where what the hive says of itself is not enough to write to a
// registry by it (RootDoubt). True when there is no doubt, or none any more.
bool EnsureRoot(MainWindow& window);

}  // namespace hivequarry
