#include "ui/frame/window_place.h"

#include <algorithm>

#include "ui/draw/dpi.h"
#include "ui/frame/list_view.h"

namespace hivequarry {
namespace {

WINDOWPLACEMENT PlacementOf(HWND window) {
  WINDOWPLACEMENT placement{};
  placement.length = sizeof placement;
  GetWindowPlacement(window, &placement);
  return placement;
}

}  // namespace

int Unscale(int measure, uint32_t dpi) {
  return MulDiv(measure, USER_DEFAULT_SCREEN_DPI, static_cast<int>(dpi));
}

RECT NormalArea(HWND window) {
  const WINDOWPLACEMENT placement = PlacementOf(window);
  RECT area = placement.rcNormalPosition;
  if (placement.showCmd == SW_SHOWNORMAL) GetWindowRect(window, &area);
  return area;
}

WindowPlace PlaceOfWindow(HWND window, uint32_t dpi) {
  const WINDOWPLACEMENT placement = PlacementOf(window);
  const RECT normal = NormalArea(window);
  WindowPlace place;
  place.left = normal.left;
  place.top = normal.top;
  place.right = normal.left + Unscale(normal.right - normal.left, dpi);
  place.bottom = normal.top + Unscale(normal.bottom - normal.top, dpi);
  place.maximised =
      placement.showCmd == SW_SHOWMAXIMIZED ||
      (placement.showCmd == SW_SHOWMINIMIZED && (placement.flags & WPF_RESTORETOMAXIMIZED) != 0);
  return place;
}

RECT AreaOfPlace(const WindowPlace& place, uint32_t dpi) {
  return {place.left, place.top, place.left + Scale(place.right - place.left, dpi),
          place.top + Scale(place.bottom - place.top, dpi)};
}

RECT OnScreen(RECT area) {
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromRect(&area, MONITOR_DEFAULTTONEAREST), &monitor);
  const RECT& work = monitor.rcWork;
  const LONG width = std::min(area.right - area.left, work.right - work.left);
  const LONG height = std::min(area.bottom - area.top, work.bottom - work.top);
  const LONG left = std::clamp(area.left, work.left, work.right - width);
  const LONG top = std::clamp(area.top, work.top, work.bottom - height);
  return {left, top, left + width, top + height};
}

void MoveToArea(HWND window, const RECT& area) {
  SetWindowPos(window, nullptr, area.left, area.top, area.right - area.left, area.bottom - area.top,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

std::vector<int> ColumnWidths(HWND list, uint32_t dpi) {
  std::vector<int> widths;
  for (int column = 0; column < ColumnCount(list); ++column) {
    widths.push_back(Unscale(ListView_GetColumnWidth(list, column), dpi));
  }
  return widths;
}

void SetColumnWidths(HWND list, const std::vector<int>& widths, uint32_t dpi) {
  const int count = std::min(ColumnCount(list), static_cast<int>(widths.size()));
  for (int column = 0; column < count; ++column) {
    const int width = widths[static_cast<size_t>(column)];
    if (width > 0) ListView_SetColumnWidth(list, column, Scale(width, dpi));
  }
}

}  // namespace hivequarry
