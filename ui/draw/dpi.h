// Sizes and fonts at a window's resolution. Measures in code are pixels at 96 dpi.
#pragma once

#include <cstdint>

#include "ui/draw/win.h"

namespace hivequarry {

// Of the screen that shows the window; that of the system where it can't be asked.
uint32_t DpiOfWindow(HWND window);
// A measure at 96 dpi in pixels at another resolution, rounded.
inline int Scale(int measure, uint32_t dpi) {
  return MulDiv(measure, static_cast<int>(dpi), USER_DEFAULT_SCREEN_DPI);
}

struct Fonts {
  HFONT text = nullptr;    // the system's message font
  HFONT struck = nullptr;  // the same with a line through it, for what was deleted
  HFONT title = nullptr;   // larger, for the empty window
  HFONT fixed = nullptr;   // monospaced, for details
};
// How large the user has chosen texts to be, in percent, from 100 to 225. The system's own fonts
// follow that by themselves.
uint32_t TextPercent();
// The fonts at a resolution; the caller owns them.
Fonts MakeFonts(uint32_t dpi);
// Only when no control uses them any more.
void FreeFonts(Fonts& fonts);

}  // namespace hivequarry
