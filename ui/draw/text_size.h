// The texts of controls, and the room that texts take on the screen.
#pragma once

#include <string>
#include <vector>

#include "ui/draw/win.h"

namespace hivequarry {

// All of it.
std::wstring TextOfControl(HWND control);
// The one that it draws its text in; never null.
HFONT FontOfControl(HWND control);
// What one line of text takes, in pixels.
SIZE TextSize(HFONT font, const std::wstring& text);
// Where each of its units ends, counted from its beginning.
std::vector<int> TextEnds(HFONT font, const std::wstring& text);
int LineHeight(HFONT font);

}  // namespace hivequarry
