// What a user does in the program's dialogs.
#pragma once

#include <functional>
#include <vector>

#include "ui/draw/win.h"

namespace hivequarry::testing {

using Use = std::function<void(HWND dialog)>;

// What is done in the dialog that comes up next, once and from within its own loop; or in the next
// one with that title (null: any).
void InNextDialog(Use use);
void InDialog(const wchar_t* title, Use use);

void Click(HWND dialog, int control);
Use Clicks(std::vector<int> controls);
bool IsOn(HWND dialog, int control);
bool IsShown(HWND dialog, int control);
bool Ticked(HWND dialog, int control);
// As if typed over all of an edit or combo box, the dialog told.
void Type(HWND dialog, int control, const wchar_t* text);

}  // namespace hivequarry::testing
