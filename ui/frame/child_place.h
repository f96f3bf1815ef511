// Placing and showing the children of a window.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// To an area of its parent; one that ends before it begins counts as empty. What the child showed
// is not moved with it: where panes move over one another, parts of it would be those of the other.
void PlaceChild(HWND child, const RECT& area);
// Without giving it the focus.
void ShowChild(HWND child, bool on);

}  // namespace hivequarry
