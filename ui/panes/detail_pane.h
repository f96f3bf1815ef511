// The detail pane: a read-only edit. A control of the system takes seconds for a text of megabytes,
// so a long text comes in slices, and its beginning can be read meanwhile.
#pragma once

#include <string>

#include "ui/draw/win.h"

namespace hivequarry {

// Long texts are put into the control a slice at a time, so that the program answers meanwhile.
struct DetailPane {
  HWND window = nullptr;
  std::wstring text;  // while its slices are under way, else empty
  size_t shown = 0;   // characters of `text` in the control
};

// Replaces the text. True while slices remain to be added.
// The first slice is there at once; the caller sees to it that AddDetailSlice is called until it is
// false.
bool SetDetail(DetailPane& pane, std::wstring text);
// Adds one slice, keeping selection and scroll position. True while there are more.
bool AddDetailSlice(DetailPane& pane);

}  // namespace hivequarry
