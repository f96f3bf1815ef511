#include "ui/draw/dimmed_selection.h"

#include "ui/draw/tones.h"

namespace hivequarry {

bool IsDimmedSelection(const NMCUSTOMDRAW& notice) {
  const bool selected = (notice.uItemState & CDIS_SELECTED) != 0;
  return selected && GetFocus() != notice.hdr.hwndFrom &&
         TheColours().scheme != ColourScheme::kHighContrast;
}

void SetDimmedColours(COLORREF& text, COLORREF& background) {
  text = ColourOf(Tone::kText);
  background = ColourOf(Tone::kDimmed);
}

}  // namespace hivequarry
