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
// A little right of and below each window of the program's, of this copy or another, that begins
// where `area` does; smaller where the screen ends. `window` is the one that goes there.
RECT BesideOthers(HWND window, RECT area);
// Goes there; says where the window is if that is beside another one, else an empty area.
RECT MoveBesideOthers(HWND window, const RECT& area);
// A window that was put beside another one and stayed there is kept where that would have been:
// else it would begin further to the right each time.
void KeepUnmovedPlace(const RECT& put_beside, HWND window, const WindowPlace& kept,
                      WindowPlace& place);
// `area` in pixels of the screen; order and focus of the windows stay.
void MoveToArea(HWND window, const RECT& area);

// Column widths of a list at 96 dpi. Columns beyond those given, and those of width 0, stay.
std::vector<int> ColumnWidths(HWND list, uint32_t dpi);
void SetColumnWidths(HWND list, const std::vector<int>& widths, uint32_t dpi);

}  // namespace hivequarry
