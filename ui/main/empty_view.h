// What the window shows while it holds no hive: how to open one, or which one is being opened.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// Once for the process. The view draws what the main window, its parent, is in: nothing open, or a
// hive on its way. The parent places it; null when it can't be had.
bool RegisterEmptyViewClass(HINSTANCE instance);
HWND MakeEmptyView(HWND parent, int identifier);

}  // namespace hivequarry
