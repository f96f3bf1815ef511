// What the toolbars of the main window and of list windows share.
#pragma once

#include <span>

#include "ui/draw/win.h"
#include "view/commands.h"

namespace hivequarry {

inline constexpr int kToolButtonSide = 30;  // at 96 dpi

// For MakeToolbarControl. `style` is of BTNS_*.
TBBUTTON ToolButton(ToolIcon icon, CommandNumber number, BYTE style);
TBBUTTON ToolGap();
// A toolbar that its parent places; null when it can't be had. With the focus, the arrow keys go
// from button to button, Enter and the blank press.
HWND MakeToolbarControl(HWND parent, int identifier, DWORD style,
                        std::span<const TBBUTTON> buttons);
// One that a press can reach, or a grey one. A number without a button does nothing.
void EnableToolButton(HWND toolbar, CommandNumber number, bool on);

}  // namespace hivequarry
