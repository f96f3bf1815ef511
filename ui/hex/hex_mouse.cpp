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
  const HexPlace place = PlaceAt(window.view.layout, point.x, point.y, window.view.top_line,
                                 ByteCount(window.view.model), &window.view.side);
  // Until the nearest gap is another one, it is a click, and the caret stays on its digit.
  if (!window.drag.selects && place.boundary == window.drag.start) return;
  if (!window.drag.selects) MoveCaret(window.view.model, window.drag.start, false, false);
  window.drag.selects = true;
  if (place.boundary == window.view.model.caret.position) return;
  MoveCaret(window.view.model, place.boundary, false, true);
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
  return static_cast<int>(std::min<uint32_t>(lines, LinesInView(window.view.layout)));
}

// In 32 bits: the message itself has the low 16 alone.
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
  if (point.y < window.view.layout.line_height) return;  // the titles
  const HexPlace place = PlaceAt(window.view.layout, point.x, point.y, window.view.top_line,
                                 ByteCount(window.view.model), nullptr);
  window.view.side = place.side;
  MoveCaret(window.view.model, extend ? place.boundary : place.position, place.low, extend);
  window.drag.on = true;
  window.drag.selects = extend;
  window.drag.start = place.boundary;
  SetCapture(window.handle);
  SetTimer(window.handle, kDragTimer, kDragInterval, nullptr);
  // A line seen in part would move away from under the pointer.
  AfterHexMove(window, false);
}

void OnHexPointerMove(HexWindow& window, POINT point) {
  if (window.drag.on && LinesOutside(window.view.layout, point.y) == 0) DragTo(window, point);
}

void OnHexDragTimer(HexWindow& window) {
  if (!window.drag.on) return;
  const POINT point = PointerIn(window.handle);
  const int lines = LinesOutside(window.view.layout, point.y);
  if (lines == 0) return;
  ScrollHexTo(window, static_cast<int64_t>(window.view.top_line) + lines);
  const int last =
      static_cast<int>(LinesInView(window.view.layout)) * window.view.layout.line_height;
  // The line at the edge, whole.
  DragTo(window, {point.x, lines < 0 ? window.view.layout.line_height : last});
}

void EndHexDrag(HexWindow& window) {
  if (!window.drag.on) return;
  // First: giving up the capture sends WM_CAPTURECHANGED, which ends a drag too.
  window.drag.on = false;
  KillTimer(window.handle, kDragTimer);
  if (GetCapture() == window.handle) ReleaseCapture();
}

void OnHexWheel(HexWindow& window, int turned) {
  const int per_notch = LinesPerNotch(window);
  if (per_notch == 0) return;
  // Fine wheels turn by less than a line at a time: what is less is kept until it makes one.
  window.wheel_rest += turned;
  const int lines = window.wheel_rest * per_notch / WHEEL_DELTA;
  window.wheel_rest -= lines * WHEEL_DELTA / per_notch;
  if (lines != 0) ScrollHexTo(window, static_cast<int64_t>(window.view.top_line) - lines);
}

void OnHexScroll(HexWindow& window, WORD request) {
  const int64_t top = window.view.top_line;
  const int64_t page = LinesInView(window.view.layout);
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
