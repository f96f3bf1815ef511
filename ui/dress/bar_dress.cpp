// Toolbars, status bars, progress and tooltips.
#include <array>

#include "ui/draw/dpi.h"
#include "ui/dress/dress_kinds.h"
#include "ui/dress/paint.h"
#include "ui/dress/system_dark.h"

namespace hivequarry {
namespace {

constexpr int kPartMargin = 4;  // at both sides of a part's text, at 96 dpi
// A bound: no status bar of the program has as many.
constexpr size_t kMostParts = 16;

std::wstring PartText(HWND bar, WPARAM part) {
  const auto length = LOWORD(SendMessageW(bar, SB_GETTEXTLENGTHW, part, 0));
  std::wstring text(static_cast<size_t>(length) + 1, L'\0');
  SendMessageW(bar, SB_GETTEXTW, part, reinterpret_cast<LPARAM>(text.data()));
  text.resize(length);
  return text;
}

// With the icon that the part was given, which the system draws no more once it does not draw the
// bar.
void DrawPart(HWND bar, HDC dc, WPARAM part) {
  RECT area{};
  SendMessageW(bar, SB_GETRECT, part, reinterpret_cast<LPARAM>(&area));
  const uint32_t dpi = DpiOfWindow(bar);
  const RECT line{area.right - 1, area.top + 2, area.right, area.bottom - 2};
  FillRect(dc, &line, BrushOf(Tone::kEdge));
  InflateRect(&area, -Scale(kPartMargin, dpi), 0);
  if (const auto icon = reinterpret_cast<HICON>(SendMessageW(bar, SB_GETICON, part, 0));
      icon != nullptr) {
    const int side = Scale(16, dpi);
    DrawIconEx(dc, area.left, (area.top + area.bottom - side) / 2, icon, side, side, 0, nullptr,
               DI_NORMAL);
    area.left += side + Scale(kPartMargin, dpi);
  }
  DrawWords(dc, PartText(bar, part), area, Tone::kFaceText,
            DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_EXPANDTABS);
}

// Dots in the corner by which the window is made larger.
void DrawGrip(HWND bar, HDC dc, const RECT& area) {
  if ((GetWindowLongPtrW(bar, GWL_STYLE) & SBARS_SIZEGRIP) == 0) return;
  const int unit = Scale(2, DpiOfWindow(bar));
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column <= row; ++column) {
      const int right = area.right - unit - column * 2 * unit;
      const int bottom = area.bottom - unit - (2 - row) * 2 * unit;
      const RECT dot{right - unit, bottom - unit, right, bottom};
      FillRect(dc, &dot, BrushOf(Tone::kEdge));
    }
  }
}

void PaintStatusBar(HWND bar) {
  PaintWindow(bar, [bar](HDC dc, const RECT& area) {
    FillRect(dc, &area, BrushOf(Tone::kFace));
    const auto parts = static_cast<WPARAM>(SendMessageW(bar, SB_GETPARTS, 0, 0));
    for (WPARAM part = 0; part < parts && part < kMostParts; ++part) DrawPart(bar, dc, part);
    DrawGrip(bar, dc, area);
  });
}

// A range without length counts as empty.
void PaintProgress(HWND window) {
  PaintWindow(window, [window](HDC dc, const RECT& area) {
    PBRANGE range{};
    SendMessageW(window, PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&range));
    const auto position = static_cast<int>(SendMessageW(window, PBM_GETPOS, 0, 0));
    DrawField(dc, area, Tone::kWindow, Tone::kEdge);
    RECT done = area;
    InflateRect(&done, -1, -1);
    const int whole = range.iHigh - range.iLow;
    done.right =
        done.left + MulDiv(done.right - done.left, position - range.iLow, whole > 0 ? whole : 1);
    FillRect(dc, &done, BrushOf(Tone::kAccent));
  });
}

// What has `changes` done to it is drawn anew.
bool RouteDrawn(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer,
                std::initializer_list<UINT> changes, void (*paint)(HWND)) {
  if (message == WM_ERASEBKGND) return answer = 1, true;
  if (message == WM_PAINT) return paint(window), answer = 0, true;
  for (const UINT change : changes) {
    if (message != change) continue;
    answer = Undressed(window, message, first, second);
    InvalidateRect(window, nullptr, FALSE);
    return true;
  }
  return false;
}

}  // namespace

bool RouteToolbar(HWND window, UINT message, WPARAM first, LPARAM, LRESULT& answer) {
  if (message != WM_ERASEBKGND) return false;
  RECT area;
  GetClientRect(window, &area);
  FillRect(reinterpret_cast<HDC>(first), &area, BrushOf(Tone::kFace));
  answer = 1;
  return true;
}

bool RouteStatusBar(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer) {
  return RouteDrawn(window, message, first, second, answer,
                    {SB_SETTEXTW, SB_SETTEXTA, SB_SETICON, SB_SETPARTS, WM_SETTEXT, WM_SIZE},
                    PaintStatusBar);
}

bool RouteProgress(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer) {
  return RouteDrawn(
      window, message, first, second, answer,
      {PBM_SETPOS, PBM_DELTAPOS, PBM_STEPIT, PBM_SETRANGE, PBM_SETRANGE32, WM_SIZE, WM_TIMER},
      PaintProgress);
}

void PutOnTip(HWND window, bool dark) {
  if (!SetControlTheme(window, dark, L"DarkMode_Explorer", nullptr)) return;
  SendMessageW(window, TTM_SETTIPBKCOLOR,
               dark ? ColourOf(Tone::kButton) : GetSysColor(COLOR_INFOBK), 0);
  SendMessageW(window, TTM_SETTIPTEXTCOLOR,
               dark ? ColourOf(Tone::kFaceText) : GetSysColor(COLOR_INFOTEXT), 0);
}

}  // namespace hivequarry
