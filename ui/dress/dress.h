// Windows and controls in the colours in force. While they are light, or those of high contrast,
// nothing is done here: controls draw themselves as the system wants it. In dark each kind of
// control is given its colours, or is drawn here where it takes none.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// From here on every window of the program that this thread makes is dressed, with its controls,
// tooltips and menus, and follows the system's colours. Once or more often. Dialogs of the system
// are left alone, but for message boxes.
void StartDressing();

// The windows that are there get the colours in force, pictures included: those of the program's
// windows are told WM_SYSCOLORCHANGE.
void RedressWindows();

// Shows a menu at a place of the screen, dressed, and destroys it. The number of the item that was
// chosen, 0 for none; its owner is told nothing.
int ChooseFromMenu(HMENU menu, HWND owner, POINT where);

}  // namespace hivequarry
