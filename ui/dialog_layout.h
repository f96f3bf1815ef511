// Dialogs that can be made larger: the resource says how they look at their smallest.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "ui/win.h"

namespace hivequarry {

// What a control does with the room that its dialog has more than at its smallest.
struct DialogAnchor {
  int control;
  bool move_x = false;
  bool move_y = false;
  bool grow_x = false;
  bool grow_y = false;
};

struct DialogLayout {
  struct Place {
    DialogAnchor anchor;
    RECT area;
  };
  std::vector<Place> places;
  SIZE client{};  // with these places, all for the font units below
  SIZE frame{};   // what the window is larger than its client area
  SIZE units{};   // of the font, as dialogs measure it
};

// For WM_INITDIALOG, WM_SIZE and WM_GETMINMAXINFO. When the font has become another one, for
// another resolution, places and smallest size follow it.
DialogLayout ReadDialogLayout(HWND dialog, std::span<const DialogAnchor> anchors);
void LayOutDialog(HWND dialog, const DialogLayout& layout);
void BoundDialog(HWND dialog, const DialogLayout& layout, MINMAXINFO& bounds);

}  // namespace hivequarry
