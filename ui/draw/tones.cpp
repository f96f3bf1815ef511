#include "ui/draw/tones.h"

namespace hivequarry {
namespace {

bool IsDark(COLORREF back) { return GetRValue(back) + GetGValue(back) + GetBValue(back) < 3 * 128; }

// Three parts of the text's colour and two of the background's.
BYTE Mixed(BYTE text, BYTE back) { return static_cast<BYTE>((text * 3 + back * 2) / 5); }

}  // namespace

COLORREF WarningColour() {
  return IsDark(GetSysColor(COLOR_WINDOW)) ? RGB(255, 140, 120) : RGB(176, 32, 16);
}

COLORREF FoundColour() {
  return IsDark(GetSysColor(COLOR_WINDOW)) ? RGB(200, 170, 255) : RGB(96, 48, 160);
}

COLORREF PaleColour() {
  const COLORREF text = GetSysColor(COLOR_WINDOWTEXT);
  const COLORREF back = GetSysColor(COLOR_WINDOW);
  return RGB(Mixed(GetRValue(text), GetRValue(back)), Mixed(GetGValue(text), GetGValue(back)),
             Mixed(GetBValue(text), GetBValue(back)));
}

}  // namespace hivequarry
