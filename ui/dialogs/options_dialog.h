// The dialog in which the options are set.
#pragma once

#include "app/settings.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Asks with the dialog "SETTINGSDLG". True when the user wants other options, which `options` then
// has; otherwise it is unchanged.
bool AskOptions(HWND owner, Options& options);

}  // namespace hivequarry
