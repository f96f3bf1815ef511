// The dialog in which the options are set.
#pragma once

#include "app/settings.h"
#include "ui/draw/win.h"

namespace hivequarry {

struct OptionChoice {
  Options options;
  ColourChoice colours = ColourChoice::kSystem;
  bool open_with = false;      // the system's folders offer the program
  bool may_open_with = false;  // the user may have that changed: it is in the registry
};
// Asks with the dialog "SETTINGSDLG". True when the user wants something else, which `choice` then
// has; otherwise it is unchanged.
bool AskOptions(HWND owner, OptionChoice& choice);

}  // namespace hivequarry
