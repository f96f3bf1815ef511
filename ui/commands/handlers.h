// What the commands do, one function a command. Called on the interface thread, with the guard
// passed and what the command needs there.
#pragma once

#include <cstddef>
#include <cstdint>

#include "view/command_numbers.h"

namespace hivequarry {

struct MainWindow;

// Of commands that are accepted and do nothing, and of those that are never carried out.
void OnNothing(MainWindow& window);

void OnOpenFile(MainWindow& window);
void OnStop(MainWindow& window);
void OnExit(MainWindow& window);
void OnAbout(MainWindow& window);
void OpenRecentHive(MainWindow& window, size_t index);
template <size_t kIndex>
void OnRecentHive(MainWindow& window) {
  OpenRecentHive(window, kIndex);
}

void OnToggleView(MainWindow& window);
void OnOutputListButton(MainWindow& window);
void OnLastPane(MainWindow& window);
void OnResizeColumns(MainWindow& window);
void OnTechnicalView(MainWindow& window);
void OnCellDetails(MainWindow& window);
void OnDetailPane(MainWindow& window);
void OnNextPane(MainWindow& window);
void OnPreviousPane(MainWindow& window);

// Lists of what the hive holds, made on a worker and shown in windows of their own.
void OnBlockList(MainWindow& window);
void OnListBlockRuns(MainWindow& window);
void OnListRoots(MainWindow& window);
void OnListKeys(MainWindow& window);
void OnListValues(MainWindow& window);
void OnListLostValues(MainWindow& window);
void OnListFreedKeys(MainWindow& window);
void OnListFreedValues(MainWindow& window);

// The list command of that number, for the Output List pane.
void RunOutputCommand(MainWindow& window, CommandNumber number);
template <CommandNumber kNumber>
void OnListCommand(MainWindow& window) {
  RunOutputCommand(window, kNumber);
}
// In the pane that is shown: the Output List, else the tree.
void OnFind(MainWindow& window);
void OnFindNext(MainWindow& window);
void OnFindPrevious(MainWindow& window);

void OnCurrentBranch(MainWindow& window);
void OnExpandSubfolders(MainWindow& window);
void OnCollapseSubfolders(MainWindow& window);
void OnCopyKeyName(MainWindow& window);
void OnOpenValidRoot(MainWindow& window);
void OnOpenKey(MainWindow& window);
void OnDeleteKeys(MainWindow& window);
void OnShowAllKeys(MainWindow& window);

void OnValueDetails(MainWindow& window);
void OnSelectAllValues(MainWindow& window);
void OnInvertValues(MainWindow& window);
void OnCopyValues(MainWindow& window);
void OnSaveValue(MainWindow& window);

}  // namespace hivequarry
