#include "ui/draw/dimmed_selection.h"

namespace hivequarry {
namespace {

bool IsHighContrast() {
  HIGHCONTRASTW contrast{};
  contrast.cbSize = sizeof contrast;
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) != FALSE &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

// A quarter of `strong` in `weak`.
COLORREF Mixed(COLORREF strong, COLORREF weak) {
  const auto mix = [](int a, int b) { return (a + 3 * b) / 4; };
  return RGB(mix(GetRValue(strong), GetRValue(weak)), mix(GetGValue(strong), GetGValue(weak)),
             mix(GetBValue(strong), GetBValue(weak)));
}

}  // namespace

bool IsDimmedSelection(const NMCUSTOMDRAW& notice) {
  const bool selected = (notice.uItemState & CDIS_SELECTED) != 0;
  return selected && GetFocus() != notice.hdr.hwndFrom && !IsHighContrast();
}

void SetDimmedColours(COLORREF& text, COLORREF& background) {
  text = GetSysColor(COLOR_WINDOWTEXT);
  background = Mixed(GetSysColor(COLOR_HIGHLIGHT), GetSysColor(COLOR_WINDOW));
}

}  // namespace hivequarry
