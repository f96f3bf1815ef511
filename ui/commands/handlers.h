// Commands about files, views and the Output List pane. Handlers, here and in the other headers of
// this folder, are called on the interface thread, with the guard passed and what the command needs
// there.
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
// The same, in a new copy of the program.
void OnOpenInWindow(MainWindow& window);
// Takes the hive shown out of the window; asks first where values were edited in memory.
void OnCloseHive(MainWindow& window);
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

// The list of blocks, in a window of its own.
void OnBlockList(MainWindow& window);
// The focus goes to the detail pane, which is shown if it was not.
void OnValueDetails(MainWindow& window);
// The list command of that number, for the Output List pane.
void RunOutputCommand(MainWindow& window, CommandNumber number);
template <CommandNumber kNumber>
void OnListCommand(MainWindow& window) {
  RunOutputCommand(window, kNumber);
}
}  // namespace hivequarry
