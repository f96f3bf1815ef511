// Names for controls whose own text is what they hold.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// A label without size. A screen reader takes it for the name of the control that the parent gets
// next.
HWND MakeUnseenLabel(HWND parent, const wchar_t* name);

}  // namespace hivequarry
