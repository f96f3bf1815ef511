// Menus and accelerators, made from the tables of commands.
#pragma once

#include "ui/draw/win.h"
#include "view/commands.h"

namespace hivequarry {

struct MainWindow;

// Made once; accelerators are freed with the main window.
struct MainMenus {
  HMENU recent = nullptr;  // of the main menu, which goes with the window
  HACCEL accelerators = nullptr;
  HACCEL list_accelerators = nullptr;  // while the Output List has the focus
};

// The menu goes with its window, the tables are for the caller to destroy. Those of the Output List
// are the keys of a list window, but for the one that closes it.
HMENU MakeMainMenu(bool evidence);
HACCEL MakeAccelerators();
HACCEL MakeListAccelerators();
// Enables and checks the items of an opening menu.
void UpdateMenu(HMENU menu, const CommandFacts& facts);
// Fills the menu of the hives opened last, when it opens.
void FillRecentMenu(HMENU menu);
// The sub menu that FillRecentMenu is for.
HMENU FindRecentMenu(HMENU main_menu);
// A context menu of the commands offered in `place`, for the caller to destroy.
HMENU MakeContextMenu(MainWindow& window, CommandPlace place);
// Shows it at a place of the screen; what is chosen comes to the window as WM_COMMAND.
void TrackContextMenu(MainWindow& window, CommandPlace place, POINT where);

}  // namespace hivequarry
