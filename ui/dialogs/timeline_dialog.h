// The dialog that asks what a timeline is made of.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// Asks with the dialog "TIMELINEDLG"; it begins with TheSettings().timeline, which become what the
// user chose. False when he wants no list.
bool AskTimeline(HWND owner);

}  // namespace hivequarry
