// Sizes and fonts at a window's resolution. Measures in code are pixels at 96 dpi.
#pragma once

#include <cstdint>

#include "ui/draw/win.h"

namespace hivequarry {

uint32_t DpiOfWindow(HWND window);
inline int Scale(int measure, uint32_t dpi) {
  return MulDiv(measure, static_cast<int>(dpi), USER_DEFAULT_SCREEN_DPI);
}

struct Fonts {
  HFONT text = nullptr;   // the system's message font
  HFONT title = nullptr;  // larger, for the empty window
  HFONT fixed = nullptr;  // monospaced, for details
};
// The fonts at a resolution; the caller owns them.
Fonts MakeFonts(uint32_t dpi);
void FreeFonts(Fonts& fonts);

}  // namespace hivequarry
