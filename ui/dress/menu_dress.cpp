#include "ui/dress/menu_dress.h"

#include <array>
#include <cstdint>
#include <string>

#include "ui/draw/dpi.h"
#include "ui/dress/paint.h"

namespace hivequarry {
namespace {

// At 96 dpi.
constexpr int kItemMargin = 4;    // above and below a text
constexpr int kGutter = 26;       // before it: the tick
constexpr int kKeyGap = 24;       // between it and its key
constexpr int kRightMargin = 22;  // after both: the arrow of a sub menu
constexpr int kBarMargin = 7;     // at both sides of a title of the bar
constexpr int kSeparator = 7;

// Where an item is. It goes with the item as its data, as nothing else tells whom WM_MEASUREITEM is
// about; handles of menus have 32 bits.
struct ItemPlace {
  HMENU menu;
  UINT position;
};
static_assert(sizeof(ULONG_PTR) == 8);
ULONG_PTR DataOf(ItemPlace place) {
  return static_cast<ULONG_PTR>(place.position) << 32 |
         static_cast<uint32_t>(reinterpret_cast<ULONG_PTR>(place.menu));
}
ItemPlace PlaceOf(ULONG_PTR data) {
  return {reinterpret_cast<HMENU>(data & 0xFFFFFFFF), static_cast<UINT>(data >> 32)};
}

struct MenuItem {
  std::wstring text;
  std::wstring key;  // what follows a tab
  UINT type = 0;
  bool leads_on = false;
};

MenuItem ReadItem(ItemPlace place) {
  std::array<wchar_t, 512> text{};
  MENUITEMINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = MIIM_FTYPE | MIIM_STRING | MIIM_SUBMENU;
  info.dwTypeData = text.data();
  info.cch = static_cast<UINT>(text.size());
  MenuItem item;
  if (GetMenuItemInfoW(place.menu, place.position, TRUE, &info) == FALSE) return item;
  item.type = info.fType;
  item.leads_on = info.hSubMenu != nullptr;
  item.text = text.data();
  const size_t tab = item.text.find(L'\t');
  if (tab != std::wstring::npos) {
    item.key = item.text.substr(tab + 1);
    item.text.resize(tab);
  }
  return item;
}

void SetItemDrawn(ItemPlace place, bool on) {
  MENUITEMINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = MIIM_FTYPE | MIIM_DATA;
  if (GetMenuItemInfoW(place.menu, place.position, TRUE, &info) == FALSE) return;
  const bool drawn = (info.fType & MFT_OWNERDRAW) != 0;
  const ULONG_PTR data = on ? DataOf(place) : 0;
  if (drawn == on && (!on || info.dwItemData == data)) return;
  info.fType = on ? info.fType | MFT_OWNERDRAW : info.fType & ~static_cast<UINT>(MFT_OWNERDRAW);
  info.dwItemData = data;
  SetMenuItemInfoW(place.menu, place.position, TRUE, &info);
}

void SetItemsDrawn(HMENU menu, bool on) {
  MENUINFO info{};
  info.cbSize = sizeof info;
  info.fMask = MIM_BACKGROUND;
  info.hbrBack = on ? BrushOf(Tone::kFace) : nullptr;
  SetMenuInfo(menu, &info);
  const int count = GetMenuItemCount(menu);
  for (int i = 0; i < count; ++i) SetItemDrawn({menu, static_cast<UINT>(i)}, on);
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

void Measure(HWND window, MEASUREITEMSTRUCT& measure) {
  const uint32_t dpi = DpiOfWindow(window);
  const ItemPlace place = PlaceOf(measure.itemData);
  const MenuItem item = ReadItem(place);
  if ((item.type & MFT_SEPARATOR) != 0) {
    measure.itemWidth = 0;
    measure.itemHeight = static_cast<UINT>(Scale(kSeparator, dpi));
    return;
  }
  const SIZE text = SizeOfText(window, item.text, 0, MenuFont(dpi));
  measure.itemHeight = static_cast<UINT>(text.cy + 2 * Scale(kItemMargin, dpi));
  int width = text.cx;
  if (IsBarOf(window, place.menu)) {
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

void Draw(HWND window, const DRAWITEMSTRUCT& drawn) {
  const uint32_t dpi = DpiOfWindow(window);
  const ItemPlace place = PlaceOf(drawn.itemData);
  const MenuItem item = ReadItem(place);
  const bool hot = (drawn.itemState & (ODS_SELECTED | ODS_HOTLIGHT)) != 0;
  FillRect(drawn.hDC, &drawn.rcItem, BrushOf(hot ? Tone::kHot : Tone::kFace));
  const HGDIOBJ previous = SelectObject(drawn.hDC, MenuFont(dpi));
  SetBkMode(drawn.hDC, TRANSPARENT);
  if ((item.type & MFT_SEPARATOR) != 0) {
    DrawSeparator(drawn.hDC, drawn.rcItem);
  } else {
    DrawItemWords(drawn, item, IsBarOf(window, place.menu), dpi);
  }
  SelectObject(drawn.hDC, previous);
  // The system would draw its own arrow, in its own colour, over this one.
  ExcludeClipRect(drawn.hDC, drawn.rcItem.left, drawn.rcItem.top, drawn.rcItem.right,
                  drawn.rcItem.bottom);
}

// --- keys ----------------------------------------------------------------------------------------

// The key that an item's text underlines, in small letters; 0 for none.
wchar_t KeyOf(const std::wstring& text) {
  for (size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] != L'&') continue;
    if (text[i + 1] != L'&') {
      return static_cast<wchar_t>(reinterpret_cast<ULONG_PTR>(
          CharLowerW(reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(text[i + 1])))));
    }
    ++i;
  }
  return 0;
}

// Items that are drawn here have no text as far as keys are concerned. The only one of that key is
// carried out; of several the first is selected.
LRESULT ItemOfKey(HMENU menu, wchar_t typed) {
  const auto key = static_cast<wchar_t>(reinterpret_cast<ULONG_PTR>(
      CharLowerW(reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(typed)))));
  int found = -1;
  int matches = 0;
  const int count = GetMenuItemCount(menu);
  for (int i = 0; i < count; ++i) {
    if (KeyOf(ReadItem({menu, static_cast<UINT>(i)}).text) != key) continue;
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
  if ((GetWindowLongPtrW(window, GWL_STYLE) & WS_CHILD) != 0) return;
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
      if (measure.CtlType != ODT_MENU) return false;
      Measure(window, measure);
      answer = TRUE;
      return true;
    }
    case WM_DRAWITEM: {
      const auto& drawn = *reinterpret_cast<const DRAWITEMSTRUCT*>(second);
      if (drawn.CtlType != ODT_MENU) return false;
      Draw(window, drawn);
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
