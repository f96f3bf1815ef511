// What the commands do, one function a command. Called on the interface thread, with the guard
// passed.
#pragma once

namespace hivequarry {

struct MainWindow;

void OnOpenFile(MainWindow& window);
void OnStop(MainWindow& window);
void OnExit(MainWindow& window);
void OnAbout(MainWindow& window);
void OnResizeColumns(MainWindow& window);
void OnTechnicalView(MainWindow& window);
void OnCellDetails(MainWindow& window);
void OnDetailPane(MainWindow& window);
void OnBlockList(MainWindow& window);
void OnCopyKeyName(MainWindow& window);
void OnExpandSubfolders(MainWindow& window);
void OnCollapseSubfolders(MainWindow& window);
void OnValueDetails(MainWindow& window);
void OnNextPane(MainWindow& window);
void OnPreviousPane(MainWindow& window);

}  // namespace hivequarry
