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

// Asks for a file; a hive, or a Report List, is loaded on a worker.
void OnOpenFile(MainWindow& window);
// Asks what runs to stop; it does so at its next look at the flag.
void OnStop(MainWindow& window);
void OnExit(MainWindow& window);
void OnAbout(MainWindow& window);
// `index` counts from the hive opened last; there is one.
void OpenRecentHive(MainWindow& window, size_t index);
template <size_t kIndex>
void OnRecentHive(MainWindow& window) {
  OpenRecentHive(window, kIndex);
}

// The next arrangement of panes; the Output List and back; the arrangement before this one.
void OnToggleView(MainWindow& window);
void OnOutputListButton(MainWindow& window);
void OnLastPane(MainWindow& window);
// Of the list that is shown: values or Output List. From then on their widths are the user's.
void OnResizeColumns(MainWindow& window);
// Switches of the value pane, whose rows are gathered anew, and of the pane below it.
void OnTechnicalView(MainWindow& window);
void OnCellDetails(MainWindow& window);
void OnDetailPane(MainWindow& window);
// The focus goes round the panes that are shown.
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

// To the topmost key above the selected one, and from there back to it.
void OnCurrentBranch(MainWindow& window);
// Everything below the selected item: opened in parts, so that the window goes on; closed at once.
void OnExpandSubfolders(MainWindow& window);
void OnCollapseSubfolders(MainWindow& window);
// The whole path, as the path line shows it.
void OnCopyKeyName(MainWindow& window);
// Another copy of the program opens the part of the file that begins at this root cell, or the same
// range with this key selected.
void OnOpenValidRoot(MainWindow& window);
void OnOpenKey(MainWindow& window);
// Takes the item out of the tree that is shown, with all below it; the file keeps it. Undone as a
// whole.
void OnDeleteKeys(MainWindow& window);
void OnShowAllKeys(MainWindow& window);

// The focus goes to the detail pane, which is shown if it was not.
void OnValueDetails(MainWindow& window);
// Of the value pane's rows: which are selected, and what is done with those that are.
void OnSelectAllValues(MainWindow& window);
void OnInvertValues(MainWindow& window);
void OnCopyValues(MainWindow& window);
void OnSaveValue(MainWindow& window);

}  // namespace hivequarry
