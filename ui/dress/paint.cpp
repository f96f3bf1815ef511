#include "ui/dress/paint.h"

namespace hivequarry {

void KeepOutOfChildren(HWND window, HDC dc) {
  for (HWND child = GetWindow(window, GW_CHILD); child != nullptr;
       child = GetWindow(child, GW_HWNDNEXT)) {
    if (IsWindowVisible(child) == FALSE) continue;
    RECT area;
    GetWindowRect(child, &area);
    MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&area), 2);
    ExcludeClipRect(dc, area.left, area.top, area.right, area.bottom);
  }
}

void DrawWords(HDC dc, const std::wstring& words, RECT area, Tone tone, UINT format) {
  SetTextColor(dc, ColourOf(tone));
  DrawTextW(dc, words.c_str(), static_cast<int>(words.size()), &area, format);
}

void DrawField(HDC dc, const RECT& area, Tone ground, Tone edge) {
  FillRect(dc, &area, BrushOf(ground));
  FrameRect(dc, &area, BrushOf(edge));
}

void DrawTriangle(HDC dc, const RECT& area, int half, bool up, Tone tone) {
  const int x = (area.left + area.right) / 2;
  const int y = (area.top + area.bottom) / 2;
  const int tip = up ? y - half / 2 - 1 : y + half / 2 + 1;
  const int base = up ? tip + half : tip - half;
  const POINT corners[] = {{x - half, base}, {x + half, base}, {x, tip}};
  const HGDIOBJ old_pen = SelectObject(dc, GetStockObject(NULL_PEN));
  const HGDIOBJ old_brush = SelectObject(dc, BrushOf(tone));
  Polygon(dc, corners, 3);
  SelectObject(dc, old_brush);
  SelectObject(dc, old_pen);
}

void DrawFrameEdge(HWND window) {
  const bool sunken = (GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_CLIENTEDGE) != 0;
  const bool lined = (GetWindowLongPtrW(window, GWL_STYLE) & WS_BORDER) != 0;
  if (!sunken && !lined) return;
  RECT area;
  GetWindowRect(window, &area);
  OffsetRect(&area, -area.left, -area.top);
  const HDC dc = GetWindowDC(window);
  FrameRect(dc, &area, BrushOf(Tone::kEdge));
  if (sunken) {
    InflateRect(&area, -1, -1);
    FrameRect(dc, &area, BrushOf(IsWindowEnabled(window) != FALSE ? Tone::kWindow : Tone::kFace));
  }
  ReleaseDC(window, dc);
}

bool ShowsFocus(HWND window) {
  return GetFocus() == window &&
         (SendMessageW(window, WM_QUERYUISTATE, 0, 0) & UISF_HIDEFOCUS) == 0;
}

bool ShowsKeys(HWND window) {
  return (SendMessageW(window, WM_QUERYUISTATE, 0, 0) & UISF_HIDEACCEL) == 0;
}

}  // namespace hivequarry
