// The colours of what is selected in a pane while another pane has the focus. What the other panes
// are about must be seen then too, and the system's own shade for it can hardly be told from white.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// In CDDS_ITEMPREPAINT: whether the item takes these colours.
bool IsDimmedSelection(const NMCUSTOMDRAW& notice);
// The system has no such pair, so it is mixed from those that it has.
void SetDimmedColours(COLORREF& text, COLORREF& background);

}  // namespace hivequarry
