// Making snapshots of the live registry, and opening them.
#pragma once

namespace hivequarry {

struct MainWindow;

// Ask with the dialogs "KEYSNAPSHOTDLG" and "ROOTSNAPSHOTDLG", and make the files on a worker. What
// could not be read is shown as a list.
void OnKeySnapshot(MainWindow& window);
void OnRootSnapshots(MainWindow& window);
void OnOpenSnapshot(MainWindow& window);

}  // namespace hivequarry
