// Edits and combo boxes.
#include "ui/draw/dpi.h"
#include "ui/draw/text_size.h"
#include "ui/dress/dress_kinds.h"
#include "ui/dress/paint.h"
#include "ui/dress/system_dark.h"

namespace hivequarry {
namespace {

constexpr int kTextMargin = 4;  // at 96 dpi

// Only a list without an edit field has its text drawn here: an edit field draws its own.
void DrawChoice(HWND window, HDC dc, const RECT& area, const COMBOBOXINFO& info) {
  const bool usable = IsWindowEnabled(window) != FALSE;
  const bool focus = GetFocus() == window || GetFocus() == info.hwndItem;
  DrawField(dc, area, usable ? Tone::kWindow : Tone::kFace, focus ? Tone::kAccent : Tone::kEdge);
  const uint32_t dpi = DpiOfWindow(window);
  DrawTriangle(dc, info.rcButton, Scale(4, dpi), false, usable ? Tone::kText : Tone::kFaint);
  const LONG_PTR form = GetWindowLongPtrW(window, GWL_STYLE) & 0x3;
  if (form != CBS_DROPDOWNLIST) return;
  RECT text = area;
  InflateRect(&text, -Scale(kTextMargin, dpi), 0);
  text.right = info.rcButton.left;
  DrawWords(dc, TextOfControl(window), text, usable ? Tone::kText : Tone::kFaint,
            DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
}

void PaintChoice(HWND window) {
  COMBOBOXINFO info{};
  info.cbSize = sizeof info;
  GetComboBoxInfo(window, &info);
  PaintWindow(window,
              [window, &info](HDC dc, const RECT& area) { DrawChoice(window, dc, area, info); });
}

// After these a combo box draws itself at once.
bool ChoiceRedraws(UINT message) {
  switch (message) {
    case CB_SETCURSEL:
    case CB_SELECTSTRING:
    case CB_SHOWDROPDOWN:
    // From its own list and edit field.
    case WM_COMMAND:
    case WM_ENABLE:
    case WM_SETTEXT:
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_MOUSEMOVE:
    case WM_MOUSELEAVE:
    case WM_KEYDOWN:
    case WM_CHAR:
      return true;
    default:
      return false;
  }
}

}  // namespace

void PutOnField(HWND window, bool dark) {
  SetControlTheme(window, dark, L"DarkMode_Explorer", nullptr);
}

bool RouteField(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer) {
  if (message != WM_NCPAINT) return false;
  answer = Undressed(window, message, first, second);
  DrawFrameEdge(window);
  return true;
}

void PutOnChoice(HWND window, bool dark) {
  SetControlTheme(window, dark, L"DarkMode_CFD", nullptr);
  COMBOBOXINFO info{};
  info.cbSize = sizeof info;
  if (GetComboBoxInfo(window, &info) != FALSE && info.hwndList != nullptr) {
    SetControlTheme(info.hwndList, dark, L"DarkMode_Explorer", nullptr);
  }
}

bool RouteChoice(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer) {
  if (message == WM_ERASEBKGND) return answer = 1, true;
  if (message == WM_PAINT) return PaintChoice(window), true;
  if (!ChoiceRedraws(message)) return false;
  answer = Undressed(window, message, first, second);
  if (IsWindow(window) != FALSE) InvalidateRect(window, nullptr, FALSE);
  return true;
}

}  // namespace hivequarry
