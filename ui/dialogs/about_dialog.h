#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// Shows the about dialog until the user closes it.
void ShowAboutDialog(HINSTANCE instance, HWND owner);

}  // namespace hivequarry
