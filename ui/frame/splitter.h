// A bar between two panes, moved with the mouse, or with the arrow keys once it has the focus.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// Sent to the parent while the bar is moved: wParam is the splitter's identifier, lParam how far it
// should go, in pixels (right or down is positive).
inline constexpr UINT kSplitterMoved = WM_APP + 20;

inline constexpr int kSplitterWidth = 5;  // at 96 dpi

// Once for the process, before the first of them.
bool RegisterSplitterClass(HINSTANCE instance);
// `vertical`: the bar is between a left and a right pane.
// `name` is what a screen reader calls it.
HWND MakeSplitter(HWND parent, int identifier, bool vertical, const wchar_t* name);
// For one whose panes are placed otherwise now.
void SetSplitterVertical(HWND splitter, bool vertical);

}  // namespace hivequarry
