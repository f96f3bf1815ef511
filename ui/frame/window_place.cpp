#include "ui/frame/window_place.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "ui/draw/dpi.h"
#include "ui/frame/list_view.h"

namespace hivequarry {
namespace {

constexpr int kCascade = 28;  // from one window to the next, at 96 dpi
constexpr int kMostSteps = 64;

// All classes of its windows are called so at first.
bool IsOurs(HWND window) {
  constexpr std::wstring_view kStart = L"Hivequarry";
  std::array<wchar_t, 64> name{};
  const int length = GetClassNameW(window, name.data(), static_cast<int>(name.size()));
  return std::wstring_view(name.data(), static_cast<size_t>(length)).starts_with(kStart);
}

// In: the window that is left out. Out: the upper left corners of the others.
struct OtherWindows {
  HWND window;
  std::vector<POINT> corners;
};

// Of windows of the program that can be seen, those of other copies too.
BOOL CALLBACK AddCorner(HWND window, LPARAM param) {
  auto& others = *reinterpret_cast<OtherWindows*>(param);
  const bool seen = IsWindowVisible(window) != FALSE && IsIconic(window) == FALSE;
  if (!seen || window == others.window || !IsOurs(window)) return TRUE;
  RECT area;
  GetWindowRect(window, &area);
  others.corners.push_back({area.left, area.top});
  return TRUE;
}

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
  // A placement counts from the work area, which may begin after a task bar at the left or above;
  // of a window that is shown as it is the place on the screen is to be had.
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

RECT BesideOthers(HWND window, RECT area) {
  OtherWindows others{window, {}};
  EnumWindows(AddCorner, reinterpret_cast<LPARAM>(&others));
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromRect(&area, MONITOR_DEFAULTTONEAREST), &monitor);
  const RECT& work = monitor.rcWork;
  const int step = Scale(kCascade, DpiOfWindow(window));
  // At least half of the window is to be seen, in width and in height.
  const LONG least = (area.right - area.left) / 2;
  const LONG least_height = (area.bottom - area.top) / 2;
  const auto taken = [&area, step](const POINT& corner) {
    return std::abs(corner.x - area.left) < step / 2 && std::abs(corner.y - area.top) < step / 2;
  };
  for (int i = 0; i < kMostSteps && std::ranges::any_of(others.corners, taken); ++i) {
    OffsetRect(&area, step, step);
    // Another row of windows begins where there would be too little of this one.
    if (work.right - area.left < least) OffsetRect(&area, work.left - area.left, 0);
    if (work.bottom - area.top < least_height) OffsetRect(&area, 0, work.top - area.top);
  }
  area.right = std::min(area.right, std::max(work.right, area.left + least));
  area.bottom = std::min(area.bottom, std::max(work.bottom, area.top + least_height));
  return area;
}

RECT MoveBesideOthers(HWND window, const RECT& area) {
  const RECT beside = BesideOthers(window, area);
  MoveToArea(window, beside);
  return EqualRect(&beside, &area) != FALSE ? RECT{} : beside;
}

void KeepUnmovedPlace(const RECT& put_beside, HWND window, const WindowPlace& kept,
                      WindowPlace& place) {
  const RECT now = NormalArea(window);
  if (IsRectEmpty(&put_beside) != FALSE || EqualRect(&now, &put_beside) == FALSE) return;
  place.left = kept.left;
  place.top = kept.top;
  place.right = kept.right;
  place.bottom = kept.bottom;
  place.maximised = place.maximised || kept.maximised;
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
