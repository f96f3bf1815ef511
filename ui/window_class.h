// Registering the program's window classes.
#pragma once

#include "ui/win.h"

namespace hivequarry {

struct WindowClass {
  const wchar_t* name;
  WNDPROC procedure;
  int extra_bytes = 0;  // of each window, behind what the system keeps
  bool framed = false;  // top-level windows: the program's icon, the colour of dialogs behind all
};

// True when the class is there afterwards, also when it was before.
bool RegisterWindowClass(HINSTANCE instance, const WindowClass& wanted);

}  // namespace hivequarry
