// What of dark colours only the system can draw: title bars and scroll bars. Each is asked for
// where the system at hand has it, and nothing happens where it has not. Within this room.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// The whole program's scroll bars and system dialogs.
void SetDarkProgram(bool dark);
// A top-level window's title bar.
void SetDarkTitle(HWND window, bool dark);
// A control's theme. `light`: null for that of its class. Whether the control has ever been dark:
// one that has not is left as the system made it.
bool SetControlTheme(HWND control, bool dark, const wchar_t* dark_theme, const wchar_t* light);

}  // namespace hivequarry
