// The colours of what is selected. In a pane without the focus it is dimmed: what the other panes
// are about must be seen then too, and the system's own shade for it can hardly be told from white.
// In dark the selection of the pane with the focus is of the palette too.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// In CDDS_ITEMPREPAINT: whether the item is selected and is to have colours other than the
// system's.
bool HasOwnSelection(const NMCUSTOMDRAW& notice);
void SetSelectionColours(const NMCUSTOMDRAW& notice, COLORREF& text, COLORREF& background);
// Those of a selection without the focus.
void SetDimmedColours(COLORREF& text, COLORREF& background);

}  // namespace hivequarry
