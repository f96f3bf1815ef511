#include <algorithm>
#include <cstdlib>

#include "ui/hex/hex_window.h"

namespace hivequarry {
namespace {

constexpr UINT_PTR kDragTimer = 1;
constexpr UINT kDragInterval = 40;  // milliseconds

// Lines to scroll for a pointer above or below the lines: the farther, the faster.
int LinesOutside(const HexLayout& layout, int y) {
  const int above = layout.line_height - y;
  const int below = y - layout.height;
  if (above > 0) return -(1 + above / layout.line_height);
  return below >= 0 ? 1 + below / layout.line_height : 0;
}

void DragTo(HexWindow& window, POINT point) {
  const HexPlace place = PlaceAt(window.layout, point.x, point.y, window.top_line,
                                 ByteCount(window.model), &window.side);
  // Until the nearest gap is another one, it is a click, and the caret stays on its digit.
  if (!window.drag_selects && place.boundary == window.drag_start) return;
  if (!window.drag_selects) MoveCaret(window.model, window.drag_start, false, false);
  window.drag_selects = true;
  if (place.boundary == window.model.caret.position) return;
  MoveCaret(window.model, place.boundary, false, true);
  AfterHexMove(window);
}

POINT PointerIn(HWND window) {
  POINT point{};
  GetCursorPos(&point);
  ScreenToClient(window, &point);
  return point;
}

int LinesPerNotch(const HexWindow& window) {
  UINT lines = 3;
  SystemParametersInfoW(SPI_GETWHEELSCROLLLINES, 0, &lines, 0);
  // WHEEL_PAGESCROLL is more than any page.
  return static_cast<int>(std::min<uint32_t>(lines, LinesInView(window.layout)));
}

int TrackPosition(HWND window) {
  SCROLLINFO info{};
  info.cbSize = sizeof info;
  info.fMask = SIF_TRACKPOS;
  GetScrollInfo(window, SB_VERT, &info);
  return info.nTrackPos;
}

}  // namespace

void OnHexButtonDown(HexWindow& window, POINT point, bool extend) {
  SetFocus(window.handle);
  if (point.y < window.layout.line_height) return;  // the titles
  const HexPlace place =
      PlaceAt(window.layout, point.x, point.y, window.top_line, ByteCount(window.model), nullptr);
  window.side = place.side;
  MoveCaret(window.model, extend ? place.boundary : place.position, place.low, extend);
  window.dragging = true;
  window.drag_selects = extend;
  window.drag_start = place.boundary;
  SetCapture(window.handle);
  SetTimer(window.handle, kDragTimer, kDragInterval, nullptr);
  // A line seen in part would move away from under the pointer.
  AfterHexMove(window, false);
}

void OnHexPointerMove(HexWindow& window, POINT point) {
  if (window.dragging && LinesOutside(window.layout, point.y) == 0) DragTo(window, point);
}

void OnHexDragTimer(HexWindow& window) {
  if (!window.dragging) return;
  const POINT point = PointerIn(window.handle);
  const int lines = LinesOutside(window.layout, point.y);
  if (lines == 0) return;
  ScrollHexTo(window, static_cast<int64_t>(window.top_line) + lines);
  const int last = static_cast<int>(LinesInView(window.layout)) * window.layout.line_height;
  // The line at the edge, whole.
  DragTo(window, {point.x, lines < 0 ? window.layout.line_height : last});
}

void EndHexDrag(HexWindow& window) {
  if (!window.dragging) return;
  window.dragging = false;
  KillTimer(window.handle, kDragTimer);
  if (GetCapture() == window.handle) ReleaseCapture();
}

void OnHexWheel(HexWindow& window, int turned) {
  const int per_notch = LinesPerNotch(window);
  if (per_notch == 0) return;
  window.wheel_rest += turned;
  const int lines = window.wheel_rest * per_notch / WHEEL_DELTA;
  window.wheel_rest -= lines * WHEEL_DELTA / per_notch;
  if (lines != 0) ScrollHexTo(window, static_cast<int64_t>(window.top_line) - lines);
}

void OnHexScroll(HexWindow& window, WORD request) {
  const int64_t top = window.top_line;
  const int64_t page = LinesInView(window.layout);
  switch (request) {
    case SB_LINEUP:
      return ScrollHexTo(window, top - 1);
    case SB_LINEDOWN:
      return ScrollHexTo(window, top + 1);
    case SB_PAGEUP:
      return ScrollHexTo(window, top - page);
    case SB_PAGEDOWN:
      return ScrollHexTo(window, top + page);
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
      return ScrollHexTo(window, TrackPosition(window.handle));
    case SB_TOP:
      return ScrollHexTo(window, 0);
    case SB_BOTTOM:
      return ScrollHexTo(window, UINT32_MAX);
    default:
      return;
  }
}

}  // namespace hivequarry
