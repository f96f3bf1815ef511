// Registering the program's window classes.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// What the window classes of the program differ in.
struct WindowClass {
  const wchar_t* name;
  WNDPROC procedure;
  int extra_bytes = 0;  // of each window, after what the system keeps
  bool framed = false;  // top-level windows: the program's icon, the colour of dialogs after all
};

// True when the class is there afterwards, also when it was before.
bool RegisterWindowClass(HINSTANCE instance, const WindowClass& wanted);

// The record that a window was given at its making, kept in its user data from WM_NCCREATE on; null
// before.
template <typename Record>
Record* RecordOfWindow(HWND window, UINT message, LPARAM second) {
  if (message == WM_NCCREATE) {
    const auto* create = reinterpret_cast<const CREATESTRUCTW*>(second);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  return reinterpret_cast<Record*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

}  // namespace hivequarry
