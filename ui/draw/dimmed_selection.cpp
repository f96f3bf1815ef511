#include "ui/draw/dimmed_selection.h"

#include "ui/draw/tones.h"

namespace hivequarry {

bool HasOwnSelection(const NMCUSTOMDRAW& notice) {
  if ((notice.uItemState & CDIS_SELECTED) == 0) return false;
  if (TheColours().scheme == ColourScheme::kHighContrast) return false;
  return IsDark() || GetFocus() != notice.hdr.hwndFrom;
}

void SetSelectionColours(const NMCUSTOMDRAW& notice, COLORREF& text, COLORREF& background) {
  if (GetFocus() != notice.hdr.hwndFrom) return SetDimmedColours(text, background);
  text = ColourOf(Tone::kSelectionText);
  background = ColourOf(Tone::kSelection);
}

void SetDimmedColours(COLORREF& text, COLORREF& background) {
  text = ColourOf(Tone::kText);
  background = ColourOf(Tone::kDimmed);
}

}  // namespace hivequarry
