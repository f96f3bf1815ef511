// Dialogs that can be made larger: the resource says how they look at their smallest.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "ui/draw/win.h"

namespace hivequarry {

// What a control does with the room that its dialog has more than at its smallest.
struct DialogAnchor {
  int control;
  bool move_x = false;
  bool move_y = false;
  bool grow_x = false;
  bool grow_y = false;
};

// Measures are pixels.
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

// For WM_INITDIALOG, before anything is moved. The dialog keeps the record for RouteLayout. It gets
// its owner's icon, for which windows that can be sized have room in their title.
DialogLayout MakeResizable(HWND dialog, std::span<const DialogAnchor> anchors);

// Posted to itself by a dialog that goes over to another resolution, when its controls have the
// fonts of that; places and smallest size follow the font.
inline constexpr UINT kDialogFontChanged = WM_APP + 1;
// What the dialog does with WM_SIZE, WM_DPICHANGED, kDialogFontChanged and WM_GETMINMAXINFO; what
// its procedure is to return for the message, FALSE for all others.
INT_PTR RouteLayout(HWND dialog, const DialogLayout& layout, UINT message, LPARAM second);

// The procedure of a dialog whose record `State` is given at its making: it has a member `dialog`.
// `kStart` answers WM_INITDIALOG, `kRoute` everything from then on.
template <typename State, INT_PTR (*kStart)(State&),
          INT_PTR (*kRoute)(State&, UINT, WPARAM, LPARAM)>
INT_PTR CALLBACK RecordDialogProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  auto* state = reinterpret_cast<State*>(GetWindowLongPtrW(dialog, DWLP_USER));
  if (message == WM_INITDIALOG) {
    state = reinterpret_cast<State*>(second);
    state->dialog = dialog;
    const INT_PTR answer = kStart(*state);
    // From here on controls report what the user does.
    SetWindowLongPtrW(dialog, DWLP_USER, second);
    return answer;
  }
  return state != nullptr ? kRoute(*state, message, first, second) : FALSE;
}

}  // namespace hivequarry
