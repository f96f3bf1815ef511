// The value viewer in a window of its own, for rows of lists.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

struct ListPlace;

// Shows the value or key that the focused row is about, in the window that is there or a new one.
void OnRowsValue(ListPlace& place);
// Gathers what it shows anew, with the dates in the zone in force; not when the hive is gone that
// it was read from.
void RenewValueWindow();
// Keys of that window: Esc closes it, Tab goes round. False for messages of other windows.
bool TranslateValueKeys(MSG& message);

}  // namespace hivequarry
