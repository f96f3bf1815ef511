#include "ui/frame/dialog_layout.h"

#include "ui/draw/text_size.h"

namespace hivequarry {
namespace {

// The width of the alphabet is what dialogs take the average of.
SIZE FontUnits(HWND dialog) {
  constexpr wchar_t kLetters[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  const SIZE units = TextSize(FontOfControl(GetDlgItem(dialog, IDOK)), kLetters);
  return {units.cx > 0 ? units.cx : 1, units.cy > 0 ? units.cy : 1};
}

SIZE SizeOf(const RECT& area) { return {area.right - area.left, area.bottom - area.top}; }

// The smallest client area in the font of now.
SIZE SmallestClient(const DialogLayout& layout, SIZE units) {
  return {MulDiv(layout.client.cx, units.cx, layout.units.cx),
          MulDiv(layout.client.cy, units.cy, layout.units.cy)};
}

// The place of a control for a font of these units, in a client area that is `extra` larger than
// the smallest one.
RECT PlaceFor(const DialogLayout& layout, const DialogLayout::Place& place, SIZE units,
              SIZE extra) {
  const auto x = [&](LONG measure) { return MulDiv(measure, units.cx, layout.units.cx); };
  const auto y = [&](LONG measure) { return MulDiv(measure, units.cy, layout.units.cy); };
  const DialogAnchor& anchor = place.anchor;
  return {x(place.area.left) + (anchor.move_x ? extra.cx : 0),
          y(place.area.top) + (anchor.move_y ? extra.cy : 0),
          x(place.area.right) + (anchor.move_x || anchor.grow_x ? extra.cx : 0),
          y(place.area.bottom) + (anchor.move_y || anchor.grow_y ? extra.cy : 0)};
}

// From the places in the template, scaled to the font of now: never from where the controls are, so
// that roundings do not add up.
void LayOutDialog(HWND dialog, const DialogLayout& layout) {
  RECT client;
  GetClientRect(dialog, &client);
  const SIZE units = FontUnits(dialog);
  const SIZE smallest = SmallestClient(layout, units);
  const SIZE extra{client.right - smallest.cx, client.bottom - smallest.cy};
  for (const DialogLayout::Place& place : layout.places) {
    const RECT area = PlaceFor(layout, place, units, extra);
    SetWindowPos(GetDlgItem(dialog, place.anchor.control), nullptr, area.left, area.top,
                 SizeOf(area).cx, SizeOf(area).cy, SWP_NOZORDER | SWP_NOACTIVATE);
  }
  // Controls that moved would take old pixels along.
  RedrawWindow(dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void BoundDialog(HWND dialog, const DialogLayout& layout, MINMAXINFO& bounds) {
  if (layout.places.empty()) return;  // asked before WM_INITDIALOG
  const SIZE smallest = SmallestClient(layout, FontUnits(dialog));
  bounds.ptMinTrackSize = {smallest.cx + layout.frame.cx, smallest.cy + layout.frame.cy};
}

}  // namespace

DialogLayout MakeResizable(HWND dialog, std::span<const DialogAnchor> anchors) {
  // One with a frame for sizing has a picture in its title.
  const HWND owner = GetWindow(dialog, GW_OWNER);
  const auto icon = static_cast<LPARAM>(GetClassLongPtrW(owner, GCLP_HICONSM));
  if (icon != 0) SendMessageW(dialog, WM_SETICON, ICON_SMALL, icon);
  DialogLayout layout;
  RECT client;
  RECT window;
  GetClientRect(dialog, &client);
  GetWindowRect(dialog, &window);
  layout.client = SizeOf(client);
  layout.frame = {SizeOf(window).cx - layout.client.cx, SizeOf(window).cy - layout.client.cy};
  layout.units = FontUnits(dialog);
  for (const DialogAnchor& anchor : anchors) {
    RECT area;
    GetWindowRect(GetDlgItem(dialog, anchor.control), &area);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&area), 2);
    layout.places.push_back({anchor, area});
  }
  return layout;
}

INT_PTR RouteLayout(HWND dialog, const DialogLayout& layout, UINT message, LPARAM second) {
  switch (message) {
    case WM_SIZE:
    case kDialogFontChanged:
      LayOutDialog(dialog, layout);
      return TRUE;
    case WM_DPICHANGED:
      PostMessageW(dialog, kDialogFontChanged, 0, 0);  // the fonts come after this
      return FALSE;
    case WM_GETMINMAXINFO:
      BoundDialog(dialog, layout, *reinterpret_cast<MINMAXINFO*>(second));
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace hivequarry
