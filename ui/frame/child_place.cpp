#include "ui/frame/child_place.h"

#include <algorithm>

namespace hivequarry {

void PlaceChild(HWND child, const RECT& area) {
  SetWindowPos(child, nullptr, area.left, area.top, std::max<LONG>(area.right - area.left, 0),
               std::max<LONG>(area.bottom - area.top, 0),
               SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
}

void ShowChild(HWND child, bool on) { ShowWindow(child, on ? SW_SHOWNA : SW_HIDE); }

}  // namespace hivequarry
