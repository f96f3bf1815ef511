// What the window shows while it holds no hive: how to open one, or which one is being opened.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

bool RegisterEmptyViewClass(HINSTANCE instance);
HWND MakeEmptyView(HWND parent, int identifier);

}  // namespace hivequarry
