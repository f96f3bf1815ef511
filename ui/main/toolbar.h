// The toolbar of the main window.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

struct MainWindow;

// The pictures are set when there are any (SetToolbarIcons).
HWND MakeToolbar(MainWindow& window);
void SetToolbarIcons(MainWindow& window);
// Enables and checks the buttons as the facts are now.
void UpdateToolbar(MainWindow& window);
// The toolbar and those of the list windows, when an operation began or ended.
void UpdateToolbars(MainWindow& window);
void OnToolTip(const MainWindow& window, NMTTDISPINFOW& notice);
// Breaks the toolbar into as many rows as a width takes; their height together.
int WrapToolbar(const MainWindow& window, int width);

}  // namespace hivequarry
