// What a screen reader and a user without a mouse meet in a window: names, Tab, letters.
#pragma once

#include <string>
#include <vector>

#include "ui/draw/win.h"

namespace hivequarry::testing {

// A control that can have the focus.
struct MetControl {
  HWND window = nullptr;
  std::string where;  // class and identifier, for messages
  std::string name;   // as a screen reader finds it; empty: none
};
// All in a window, shown or not.
std::vector<MetControl> ControlsIn(HWND window);
// The name by the platform's rules: a button's own text, and that of a list, a tree or a control of
// the program's own; of what shows a text that is its value, the label before it.
std::string AccessName(HWND control);
// What the platform's interface for screen readers says; false where it does not answer.
bool AskedName(HWND control, std::string& name);

// Letters of a dialog that two of its controls have, of those that are shown at the same time.
std::vector<std::string> LettersTwice(HWND dialog);
// Labels, ticks and buttons of a dialog whose texts do not fit them.
std::vector<std::string> CutTexts(HWND dialog);
// Controls of a dialog that Tab and, in a group of choices, the arrow keys do not come to.
std::vector<std::string> OutOfReach(HWND dialog);

}  // namespace hivequarry::testing
