#include "ui/dress/menu_dress.h"

#include <cstdint>
#include <string>

#include "ui/draw/dpi.h"
#include "ui/dress/menu_items.h"
#include "ui/dress/paint.h"

namespace hivequarry {
namespace {

// At 96 dpi.
constexpr int kItemMargin = 4;    // above and below a text
constexpr int kGutter = 26;       // before it: the tick
constexpr int kKeyGap = 24;       // between it and its key
constexpr int kRightMargin = 22;  // after both: the arrow of a sub menu
constexpr int kBarMargin = 2;     // at both sides of a title of the bar; the system adds to it
constexpr int kSeparator = 7;

// A menu that was never taken is left as the system made it.
void SetItemsDrawn(HMENU menu, bool on) {
  MENUINFO info{};
  info.cbSize = sizeof info;
  info.fMask = MIM_BACKGROUND;
  info.hbrBack = on ? BrushOf(Tone::kFace) : nullptr;
  if (!on && ItemsOf(menu).empty()) return;
  SetMenuInfo(menu, &info);
  on ? TakeItems(menu) : GiveItemsBack(menu);
}

bool IsBarOf(HWND window, HMENU menu) {
  return (GetWindowLongPtrW(window, GWL_STYLE) & WS_CHILD) == 0 && GetMenu(window) == menu;
}

// Kept for the resolution that was asked for last.
HFONT MenuFont(uint32_t dpi) {
  static Fonts fonts;
  static uint32_t made_for = 0;
  if (made_for != dpi) {
    FreeFonts(fonts);
    fonts = MakeFonts(dpi);
    made_for = dpi;
  }
  return fonts.text;
}

// --- measuring -----------------------------------------------------------------------------------

// Pixels; `format` of DrawText.
SIZE SizeOfText(HWND window, const std::wstring& text, UINT format, HFONT font) {
  const HDC dc = GetDC(window);
  const HGDIOBJ previous = SelectObject(dc, font);
  RECT area{};
  DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &area,
            DT_CALCRECT | DT_SINGLELINE | format);
  SelectObject(dc, previous);
  ReleaseDC(window, dc);
  return {area.right, area.bottom};
}

void Measure(HWND window, const MenuItem& item, MEASUREITEMSTRUCT& measure) {
  const uint32_t dpi = DpiOfWindow(window);
  if ((item.type & MFT_SEPARATOR) != 0) {
    measure.itemWidth = 0;
    measure.itemHeight = static_cast<UINT>(Scale(kSeparator, dpi));
    return;
  }
  const SIZE text = SizeOfText(window, item.text, 0, MenuFont(dpi));
  measure.itemHeight = static_cast<UINT>(text.cy + 2 * Scale(kItemMargin, dpi));
  int width = text.cx;
  if (IsBarOf(window, item.menu)) {
    width += 2 * Scale(kBarMargin, dpi);
  } else {
    width += Scale(kGutter + kRightMargin, dpi);
    if (!item.key.empty()) {
      width += Scale(kKeyGap, dpi) + SizeOfText(window, item.key, DT_NOPREFIX, MenuFont(dpi)).cx;
    }
    // The system adds the room of a tick of its own.
    width -= GetSystemMetrics(SM_CXMENUCHECK);
  }
  measure.itemWidth = static_cast<UINT>(width > 0 ? width : 0);
}

// --- drawing -------------------------------------------------------------------------------------

void DrawTick(HDC dc, const RECT& area, bool round, int unit, Tone tone) {
  const int x = (area.left + area.right) / 2;
  const int y = (area.top + area.bottom) / 2;
  const HPEN pen = CreatePen(PS_SOLID, unit > 1 ? unit : 1, ColourOf(tone));
  const HGDIOBJ old_pen = SelectObject(dc, pen);
  if (round) {
    const HGDIOBJ old_brush = SelectObject(dc, BrushOf(tone));
    Ellipse(dc, x - 2 * unit, y - 2 * unit, x + 3 * unit, y + 3 * unit);
    SelectObject(dc, old_brush);
  } else {
    const POINT points[] = {
        {x - 4 * unit, y}, {x - unit, y + 3 * unit}, {x + 5 * unit, y - 4 * unit}};
    Polyline(dc, points, 3);
  }
  SelectObject(dc, old_pen);
  DeleteObject(pen);
}

// To the right.
void DrawArrow(HDC dc, const RECT& area, int unit, Tone tone) {
  const int y = (area.top + area.bottom) / 2;
  const int x = area.right - 12 * unit;
  const POINT corners[] = {{x, y - 4 * unit}, {x, y + 4 * unit}, {x + 4 * unit, y}};
  const HGDIOBJ old_pen = SelectObject(dc, GetStockObject(NULL_PEN));
  const HGDIOBJ old_brush = SelectObject(dc, BrushOf(tone));
  Polygon(dc, corners, 3);
  SelectObject(dc, old_brush);
  SelectObject(dc, old_pen);
}

void DrawSeparator(HDC dc, const RECT& area) {
  const int y = (area.top + area.bottom) / 2;
  const RECT line{area.left, y, area.right, y + 1};
  FillRect(dc, &line, BrushOf(Tone::kEdge));
}

// The words on the left of the gutter's right edge, the key at the right; in a bar in the middle.
void DrawItemWords(const DRAWITEMSTRUCT& drawn, const MenuItem& item, bool bar, uint32_t dpi) {
  const Tone tone =
      (drawn.itemState & (ODS_GRAYED | ODS_DISABLED)) != 0 ? Tone::kFaint : Tone::kFaceText;
  const UINT line =
      DT_SINGLELINE | DT_VCENTER | ((drawn.itemState & ODS_NOACCEL) != 0 ? DT_HIDEPREFIX : 0);
  RECT area = drawn.rcItem;
  if (bar) return DrawWords(drawn.hDC, item.text, area, tone, line | DT_CENTER);
  const int unit = Scale(1, dpi);
  RECT gutter = area;
  gutter.right = gutter.left + Scale(kGutter, dpi);
  const bool round = (item.type & MFT_RADIOCHECK) != 0;
  if ((drawn.itemState & ODS_CHECKED) != 0) DrawTick(drawn.hDC, gutter, round, unit, tone);
  if (item.leads_on) DrawArrow(drawn.hDC, area, unit, tone);
  area.left = gutter.right;
  area.right -= Scale(kRightMargin, dpi);
  DrawWords(drawn.hDC, item.text, area, tone, line);
  DrawWords(drawn.hDC, item.key, area, tone, line | DT_RIGHT | DT_NOPREFIX);
}

void Draw(HWND window, const MenuItem& item, const DRAWITEMSTRUCT& drawn) {
  const uint32_t dpi = DpiOfWindow(window);
  const bool hot = (drawn.itemState & (ODS_SELECTED | ODS_HOTLIGHT)) != 0;
  FillRect(drawn.hDC, &drawn.rcItem, BrushOf(hot ? Tone::kHot : Tone::kFace));
  const HGDIOBJ previous = SelectObject(drawn.hDC, MenuFont(dpi));
  SetBkMode(drawn.hDC, TRANSPARENT);
  if ((item.type & MFT_SEPARATOR) != 0) {
    DrawSeparator(drawn.hDC, drawn.rcItem);
  } else {
    DrawItemWords(drawn, item, IsBarOf(window, item.menu), dpi);
  }
  SelectObject(drawn.hDC, previous);
  // The system would draw its own arrow, in its own colour, over this one.
  ExcludeClipRect(drawn.hDC, drawn.rcItem.left, drawn.rcItem.top, drawn.rcItem.right,
                  drawn.rcItem.bottom);
}

// --- keys ----------------------------------------------------------------------------------------

// The system takes a character for a text whose address has nothing in its upper half.
wchar_t Small(wchar_t letter) {
  return static_cast<wchar_t>(reinterpret_cast<ULONG_PTR>(
      CharLowerW(reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(letter)))));
}

// The key that an item's text underlines, in small letters; 0 for none.
wchar_t KeyOf(const std::wstring& text) {
  for (size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] != L'&') continue;
    if (text[i + 1] != L'&') return Small(text[i + 1]);
    ++i;
  }
  return 0;
}

// Items that are drawn here have no text as far as keys are concerned. The only one of that key is
// carried out; of several the first is selected.
LRESULT ItemOfKey(HMENU menu, wchar_t typed) {
  const wchar_t key = Small(typed);
  const MenuItems& items = ItemsOf(menu);
  size_t found = 0;
  int matches = 0;
  for (size_t i = 0; i < items.size(); ++i) {
    if (KeyOf(items[i]->text) != key) continue;
    if (matches++ == 0) found = i;
  }
  if (matches == 0) return MAKELRESULT(0, MNC_IGNORE);
  return MAKELRESULT(found, matches == 1 ? MNC_EXECUTE : MNC_SELECT);
}

}  // namespace

void SetOwnDrawn(HMENU menu, bool on) {
  SetItemsDrawn(menu, on);
  const int count = GetMenuItemCount(menu);
  for (int i = 0; i < count; ++i) {
    if (const HMENU sub = GetSubMenu(menu, i); sub != nullptr) SetOwnDrawn(sub, on);
  }
}

void DressMenuBar(HWND window) {
  if ((GetWindowLongPtrW(window, GWL_STYLE) & WS_CHILD) != 0) return;
  if (const HMENU bar = GetMenu(window); bar != nullptr) SetItemsDrawn(bar, IsDark());
}

void DrawBarRest(HWND window) {
  MENUBARINFO bar{};
  bar.cbSize = sizeof bar;
  if (GetMenuBarInfo(window, OBJID_MENU, 0, &bar) == FALSE || bar.hMenu == nullptr) return;
  RECT frame;
  GetWindowRect(window, &frame);
  RECT rest = bar.rcBar;
  RECT last{};
  const int count = GetMenuItemCount(bar.hMenu);
  const bool known =
      count > 0 && GetMenuItemRect(window, bar.hMenu, static_cast<UINT>(count - 1), &last) != FALSE;
  const HDC dc = GetWindowDC(window);
  // A bar of several rows has its last item in the last one.
  if (known && last.top - bar.rcBar.top < last.bottom - last.top) {
    rest.left = last.right;
    OffsetRect(&rest, -frame.left, -frame.top);
    FillRect(dc, &rest, BrushOf(Tone::kFace));
  }
  RECT line{bar.rcBar.left, bar.rcBar.bottom, bar.rcBar.right, bar.rcBar.bottom + 1};
  OffsetRect(&line, -frame.left, -frame.top);
  FillRect(dc, &line, BrushOf(Tone::kFace));
  ReleaseDC(window, dc);
}

bool RouteMenus(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer) {
  switch (message) {
    case WM_MEASUREITEM: {
      auto& measure = *reinterpret_cast<MEASUREITEMSTRUCT*>(second);
      const MenuItem* item = measure.CtlType == ODT_MENU ? ItemOfData(measure.itemData) : nullptr;
      if (item == nullptr) return false;
      Measure(window, *item, measure);
      answer = TRUE;
      return true;
    }
    case WM_DRAWITEM: {
      const auto& drawn = *reinterpret_cast<const DRAWITEMSTRUCT*>(second);
      const MenuItem* item = drawn.CtlType == ODT_MENU ? ItemOfData(drawn.itemData) : nullptr;
      if (item == nullptr) return false;
      Draw(window, *item, drawn);
      answer = TRUE;
      return true;
    }
    case WM_MENUCHAR:
      answer = ItemOfKey(reinterpret_cast<HMENU>(second), static_cast<wchar_t>(LOWORD(first)));
      return HIWORD(answer) != MNC_IGNORE;
    default:
      return false;
  }
}

}  // namespace hivequarry
