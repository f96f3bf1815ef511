// Dialogs and message boxes wait for their answer, and the windows of the program wait with them: a
// dialog by itself disables its owner alone, and neither the main window nor a list window owns the
// other.
#pragma once

#include <cstdint>
#include <vector>

#include "ui/draw/win.h"

namespace hivequarry {

// Disables the windows of this thread, but for `owner`, as long as it lives. One may be inside
// another: each enables what it has disabled itself.
struct ModalTurn {
  explicit ModalTurn(HWND owner);
  ~ModalTurn();
  ModalTurn(const ModalTurn&) = delete;
  ModalTurn& operator=(const ModalTurn&) = delete;

  HWND owner;
  HWND focus;                  // gets the focus back
  std::vector<HWND> disabled;  // to be enabled again; others were disabled before
};

// DialogBoxParam and CreateDialogParam, of the program's own dialogs with their texts, and with
// them the whole dialog, as large as the user has chosen texts to be (ui/draw/dpi.h).
INT_PTR ShowDialogBox(HINSTANCE instance, const wchar_t* name, HWND owner, DLGPROC procedure,
                      LPARAM argument);
HWND MakeDialogBox(HINSTANCE instance, const wchar_t* name, HWND owner, DLGPROC procedure,
                   LPARAM argument);

}  // namespace hivequarry
