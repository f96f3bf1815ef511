// Menus in dark: the system has no documented way to colour them but to draw their items. Items
// keep their texts, by which they are found and read aloud. Within this room.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// Items of the menu and of its sub menus are drawn here, or by the system again.
void SetOwnDrawn(HMENU menu, bool on);
// The bar of a window, for the colours in force; its menus follow when they open.
void DressMenuBar(HWND window);
// Of a top-level window: what is right of the bar's items, and the line below it.
void DrawBarRest(HWND window);
// In dark, of a window that owns a menu: whether `answer` is all that is to be done.
bool RouteMenus(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);

}  // namespace hivequarry
