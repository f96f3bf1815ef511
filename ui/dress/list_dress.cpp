// Trees, lists and the titles of their columns.
#include <array>

#include "ui/draw/dpi.h"
#include "ui/dress/dress_kinds.h"
#include "ui/dress/paint.h"
#include "ui/dress/system_dark.h"

namespace hivequarry {
namespace {

constexpr int kTitleMargin = 6;  // at both sides of a title, at 96 dpi
constexpr int kArrowRoom = 16;   // after it, where the list is in its order

// Text is cut before the arrow, which says how the list is sorted.
void DrawTitle(HWND header, HDC dc, int index) {
  RECT area;
  if (Header_GetItemRect(header, index, &area) == FALSE) return;
  std::array<wchar_t, 256> text{};
  HDITEMW item{};
  item.mask = HDI_TEXT | HDI_FORMAT;
  item.pszText = text.data();
  item.cchTextMax = static_cast<int>(text.size());
  Header_GetItem(header, index, &item);
  const uint32_t dpi = DpiOfWindow(header);
  const RECT line{area.right - 1, area.top, area.right, area.bottom};
  FillRect(dc, &line, BrushOf(Tone::kEdge));
  InflateRect(&area, -Scale(kTitleMargin, dpi), 0);
  if ((item.fmt & (HDF_SORTUP | HDF_SORTDOWN)) != 0) {
    RECT arrow = area;
    arrow.left = arrow.right - Scale(kArrowRoom, dpi);
    DrawTriangle(dc, arrow, Scale(4, dpi), (item.fmt & HDF_SORTUP) != 0, Tone::kFaceText);
    area.right = arrow.left;
  }
  const UINT side = (item.fmt & HDF_JUSTIFYMASK) == HDF_RIGHT ? DT_RIGHT : DT_LEFT;
  DrawWords(dc, text.data(), area, Tone::kFaceText,
            side | DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX);
}

void PaintHeader(HWND header) {
  PaintWindow(header, [header](HDC dc, const RECT& area) {
    FillRect(dc, &area, BrushOf(Tone::kFace));
    const RECT line{area.left, area.bottom - 1, area.right, area.bottom};
    FillRect(dc, &line, BrushOf(Tone::kEdge));
    const int count = Header_GetItemCount(header);
    for (int i = 0; i < count; ++i) DrawTitle(header, dc, i);
  });
}

}  // namespace

void PutOnTree(HWND window, bool dark) {
  if (!SetControlTheme(window, dark, L"DarkMode_Explorer", nullptr)) return;
  constexpr COLORREF kUsual = static_cast<COLORREF>(-1);
  TreeView_SetBkColor(window, dark ? ColourOf(Tone::kWindow) : kUsual);
  TreeView_SetTextColor(window, dark ? ColourOf(Tone::kText) : kUsual);
  TreeView_SetLineColor(window, dark ? ColourOf(Tone::kFaint) : CLR_DEFAULT);
}

void PutOnList(HWND window, bool dark) {
  if (!SetControlTheme(window, dark, L"DarkMode_Explorer", L"Explorer")) return;
  ListView_SetBkColor(window, ColourOf(Tone::kWindow));
  ListView_SetTextBkColor(window, ColourOf(Tone::kWindow));
  ListView_SetTextColor(window, ColourOf(Tone::kText));
}

bool RouteHeader(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer) {
  switch (message) {
    case WM_ERASEBKGND:
      answer = 1;
      return true;
    case WM_PAINT:
      PaintHeader(window);
      answer = 0;
      return true;
    case HDM_SETITEMW:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_MOUSEMOVE:
    case WM_MOUSELEAVE:
      answer = Undressed(window, message, first, second);
      InvalidateRect(window, nullptr, FALSE);
      return true;
    default:
      return false;
  }
}

}  // namespace hivequarry
