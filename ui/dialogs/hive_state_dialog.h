// The dialog with all that is known of the state of the hive shown.
#pragma once

#include <string>

#include "ui/draw/win.h"

namespace hivequarry {

// Shows the dialog "HIVESTATEDLG" until the user closes it.
void ShowHiveStateDialog(HWND owner, const std::wstring& text);
// Another text for the dialog, where it is open: more has become known.
void RenewHiveStateDialog(const std::wstring& text);

}  // namespace hivequarry
