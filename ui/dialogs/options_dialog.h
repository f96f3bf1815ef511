// The dialog in which the options are set.
#pragma once

#include "app/settings.h"
#include "ui/draw/win.h"

namespace hivequarry {

struct OptionChoice {
  Options options;
  ColourChoice colours = ColourChoice::kSystem;
};
// Asks with the dialog "SETTINGSDLG". True when the user wants something else, which `choice` then
// has; otherwise it is unchanged.
bool AskOptions(HWND owner, OptionChoice& choice);

}  // namespace hivequarry
