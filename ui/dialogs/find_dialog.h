// The dialog that asks what to find, in an Output List or in the tree.
#pragma once

#include <string>

#include "ui/draw/win.h"

namespace hivequarry {

// In: what the box begins with. Out, after OK alone: what the user chose.
struct FindChoice {
  const wchar_t* title = L"Find in List";
  std::string text;  // what the box begins with, then what the user gave
  bool down = true;
  bool wrap = true;
  bool add_to_selection = false;
  bool can_add = true;  // false: "Add to current selection" is not offered
};

// Asks with the dialog "SEARCHDLG"; its box offers TheSettings().histories.list_finds. True when
// the user wants to find a text: `choice` is then what he chose, the text not empty and before
// that history. Otherwise `choice` is unchanged.
bool AskFind(HWND owner, FindChoice& choice);

}  // namespace hivequarry
