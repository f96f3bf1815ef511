// Where a window is and how wide its columns are, as the settings keep it: corners are those of
// the screen, sizes those at 96 dpi, so that they suit the screen where it appears next time.
#pragma once

#include <cstdint>
#include <vector>

#include "app/settings.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Pixels at 96 dpi.
int Unscale(int measure, uint32_t dpi);
// What the window covers when it is neither maximised nor minimised, in pixels.
RECT NormalArea(HWND window);
// The place as it is when the window is neither maximised nor minimised; without columns.
WindowPlace PlaceOfWindow(HWND window, uint32_t dpi);
// The place in pixels.
RECT AreaOfPlace(const WindowPlace& place, uint32_t dpi);
// The same size moved onto the nearest screen, or cut to it.
RECT OnScreen(RECT area);
// `area` in pixels of the screen; order and focus of the windows stay.
void MoveToArea(HWND window, const RECT& area);

// Column widths of a list at 96 dpi. Columns beyond those given, and those of width 0, stay.
std::vector<int> ColumnWidths(HWND list, uint32_t dpi);
void SetColumnWidths(HWND list, const std::vector<int>& widths, uint32_t dpi);

}  // namespace hivequarry
