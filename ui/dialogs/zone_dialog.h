// The dialog that asks for the time zone in which dates are shown.
#pragma once

#include "hive/shown_zone.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Asks with the dialog "TIMEZONEDLG"; it begins with `zone`. `of_hive`: what the hive says, null
// for nothing. False, and `zone` unchanged, when the user keeps it.
bool AskZone(HWND owner, const ShownZone* of_hive, ShownZone& zone);

}  // namespace hivequarry
