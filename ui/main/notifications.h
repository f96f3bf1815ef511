// What the child windows of the main window report, and its timers.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

struct MainWindow;

// Timers of work that the interface thread does in parts: "Expand subfolders", a long detail text,
// a branch with very many keys.
inline constexpr UINT_PTR kExpandTimer = 1;
inline constexpr UINT_PTR kDetailTimer = 2;
inline constexpr UINT_PTR kFillTimer = 3;
inline constexpr UINT_PTR kPassingTimer = 4;  // a status text that goes by itself
inline constexpr UINT kPassingTime = 2000;    // milliseconds
inline constexpr UINT kTimerPause = 10;       // milliseconds between two parts

// WM_NOTIFY, WM_CONTEXTMENU (`where` on the screen, -1 and -1 for the keyboard) and WM_TIMER.
LRESULT OnNotify(MainWindow& window, const NMHDR& notice);
void OnContextMenu(MainWindow& window, HWND child, POINT where);
// A status text of the tree's own, which goes by itself after two seconds.
void ShowPassingText(const MainWindow& window, const char* text);
void OnTimer(MainWindow& window, UINT_PTR timer);
// Sees to it that branches which are filled in part become whole.
void KeepFilling(const MainWindow& window);

}  // namespace hivequarry
