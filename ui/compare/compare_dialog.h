// The dialog that asks what the hive shown is to be compared with.
#pragma once

#include "ui/draw/win.h"
#include "view/compare_sides.h"

namespace hivequarry {

// Asks with the dialog "COMPAREDLG". `wish` is what it begins with, then what the user gave. False
// when he gives none.
bool AskComparison(HWND owner, CompareWish& wish);

}  // namespace hivequarry
