// Buttons, ticks and group boxes, and labels that can't be used: the system draws their texts in
// colours of its own.
#include <algorithm>

#include "ui/draw/dpi.h"
#include "ui/draw/text_size.h"
#include "ui/dress/dress_kinds.h"
#include "ui/dress/paint.h"

namespace hivequarry {
namespace {

// At 96 dpi.
constexpr int kBoxSide = 13;     // of a tick's box
constexpr int kBoxGap = 4;       // after it
constexpr int kCorner = 6;       // how round those of a button are
constexpr int kGroupIndent = 8;  // before a group's title

enum class ButtonForm : uint8_t { kPush, kTick, kRadio, kGroup, kOther };

// Ticks and radio buttons with BS_PUSHLIKE look as buttons do. Owner-drawn ones are left to their
// owners.
ButtonForm FormOf(HWND button) {
  const LONG_PTR style = GetWindowLongPtrW(button, GWL_STYLE);
  const bool as_push = (style & BS_PUSHLIKE) != 0;
  switch (style & BS_TYPEMASK) {
    case BS_PUSHBUTTON:
    case BS_DEFPUSHBUTTON:
      return ButtonForm::kPush;
    case BS_CHECKBOX:
    case BS_AUTOCHECKBOX:
    case BS_3STATE:
    case BS_AUTO3STATE:
      return as_push ? ButtonForm::kPush : ButtonForm::kTick;
    case BS_RADIOBUTTON:
    case BS_AUTORADIOBUTTON:
      return as_push ? ButtonForm::kPush : ButtonForm::kRadio;
    case BS_GROUPBOX:
      return ButtonForm::kGroup;
    default:
      return ButtonForm::kOther;
  }
}

// What drawing a button needs to know, gathered for one message.
struct Button {
  HWND window;
  HDC dc;
  RECT area;
  LRESULT state;  // BST_*
  LONG_PTR style;
  uint32_t dpi;
  std::wstring text;
};

Tone TextTone(const Button& button) {
  return IsWindowEnabled(button.window) != FALSE ? Tone::kFaceText : Tone::kFaint;
}

UINT KeyFormat(const Button& button) { return ShowsKeys(button.window) ? 0 : DT_HIDEPREFIX; }

// What was selected into `dc` is put back, here and in all that draws below.
void DrawRounded(HDC dc, const RECT& area, int corner, Tone ground, Tone edge) {
  const HPEN pen = CreatePen(PS_SOLID, 1, ColourOf(edge));
  const HGDIOBJ old_pen = SelectObject(dc, pen);
  const HGDIOBJ old_brush = SelectObject(dc, BrushOf(ground));
  RoundRect(dc, area.left, area.top, area.right, area.bottom, corner, corner);
  SelectObject(dc, old_brush);
  SelectObject(dc, old_pen);
  DeleteObject(pen);
}

void DrawPush(const Button& button) {
  const bool default_one = (button.style & BS_TYPEMASK) == BS_DEFPUSHBUTTON;
  const bool down = (button.state & BST_PUSHED) != 0;
  const bool hot = (button.state & (BST_HOT | BST_CHECKED)) != 0;
  const bool focus = ShowsFocus(button.window);
  const Tone ground = down ? Tone::kPressed : hot ? Tone::kHot : Tone::kButton;
  FillRect(button.dc, &button.area, BrushOf(Tone::kFace));
  DrawRounded(button.dc, button.area, Scale(kCorner, button.dpi), ground,
              default_one || focus ? Tone::kAccent : Tone::kEdge);
  DrawWords(button.dc, button.text, button.area, TextTone(button),
            DT_CENTER | DT_VCENTER | DT_SINGLELINE | KeyFormat(button));
  if (!focus) return;
  RECT inner = button.area;
  InflateRect(&inner, -3, -3);
  DrawFocusRect(button.dc, &inner);
}

void DrawBoxTick(const Button& button, const RECT& box) {
  const int side = box.right - box.left;
  const HPEN pen = CreatePen(PS_SOLID, std::max(side / 6, 1), ColourOf(Tone::kWindow));
  const HGDIOBJ previous = SelectObject(button.dc, pen);
  const POINT points[] = {{box.left + side / 4, box.top + side / 2},
                          {box.left + side * 7 / 16, box.bottom - side * 5 / 16},
                          {box.right - side / 5, box.top + side / 4}};
  Polyline(button.dc, points, 3);
  SelectObject(button.dc, previous);
  DeleteObject(pen);
}

void DrawDisc(HDC dc, const RECT& area, Tone ground, Tone edge) {
  const HPEN pen = CreatePen(PS_SOLID, 1, ColourOf(edge));
  const HGDIOBJ old_pen = SelectObject(dc, pen);
  const HGDIOBJ old_brush = SelectObject(dc, BrushOf(ground));
  Ellipse(dc, area.left, area.top, area.right, area.bottom);
  SelectObject(dc, old_brush);
  SelectObject(dc, old_pen);
  DeleteObject(pen);
}

// The mark in a tick's box or a radio button's disc.
void DrawMark(const Button& button, const RECT& box, bool round) {
  const bool usable = IsWindowEnabled(button.window) != FALSE;
  const bool set = (button.state & (BST_CHECKED | BST_INDETERMINATE)) != 0;
  const bool lively = (button.state & (BST_HOT | BST_PUSHED)) != 0;
  const Tone strong = usable ? Tone::kAccent : Tone::kFaint;
  const Tone ground = set ? strong : lively ? Tone::kHot : Tone::kWindow;
  const Tone edge = set ? strong : Tone::kFaint;
  if (!round) {
    DrawField(button.dc, box, ground, edge);
    if (set) DrawBoxTick(button, box);
    return;
  }
  DrawDisc(button.dc, box, ground, edge);
  if (!set) return;
  RECT dot = box;
  const int inset = (box.right - box.left) * 5 / 16;
  InflateRect(&dot, -inset, -inset);
  DrawDisc(button.dc, dot, Tone::kWindow, Tone::kWindow);
}

// Several lines where the style says so; the box is beside the first, or in the middle.
void DrawBoxed(const Button& button, bool round) {
  FillRect(button.dc, &button.area, BrushOf(Tone::kFace));
  const int side = Scale(kBoxSide, button.dpi);
  const bool lines = (button.style & BS_MULTILINE) != 0;
  const bool at_top = (button.style & BS_VCENTER) == BS_TOP;
  RECT text = button.area;
  text.left += side + Scale(kBoxGap, button.dpi);
  const UINT format = KeyFormat(button) | (lines ? DT_WORDBREAK : DT_SINGLELINE);
  RECT measured = text;
  DrawTextW(button.dc, button.text.c_str(), static_cast<int>(button.text.size()), &measured,
            format | DT_CALCRECT);
  const int height = measured.bottom - measured.top;
  const int room = text.bottom - text.top;
  if (!at_top) text.top += (room - height) / 2;
  const int top = at_top ? button.area.top + 1 : (button.area.top + button.area.bottom - side) / 2;
  DrawMark(button, {button.area.left, top, button.area.left + side, top + side}, round);
  DrawWords(button.dc, button.text, text, TextTone(button), format);
  if (!ShowsFocus(button.window) || button.text.empty()) return;
  const RECT focus{text.left - 1, text.top, std::min(measured.right + 1, button.area.right),
                   std::min<LONG>(text.top + height, button.area.bottom)};
  SetTextColor(button.dc, ColourOf(Tone::kFaceText));
  SetBkColor(button.dc, ColourOf(Tone::kFace));
  DrawFocusRect(button.dc, &focus);
}

void DrawButton(const Button& button, ButtonForm form) {
  if (form == ButtonForm::kPush) return DrawPush(button);
  DrawBoxed(button, form == ButtonForm::kRadio);
}

// Only the line and the title: what is grouped lies inside.
void PaintGroup(HWND window) {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(window, &paint);
  RECT area;
  GetClientRect(window, &area);
  const HFONT font = FontOfControl(window);
  const HGDIOBJ previous = SelectObject(dc, font);
  const std::wstring text = TextOfControl(window);
  const SIZE size = TextSize(font, text);
  RECT line = area;
  line.top += size.cy / 2;
  FrameRect(dc, &line, BrushOf(Tone::kEdge));
  if (!text.empty()) {
    const int indent = Scale(kGroupIndent, DpiOfWindow(window));
    RECT title{area.left + indent, area.top, area.right - indent, area.top + size.cy};
    const RECT gap{title.left - 2, title.top, std::min(title.left + size.cx + 2, title.right),
                   title.bottom};
    FillRect(dc, &gap, BrushOf(Tone::kFace));
    SetBkMode(dc, TRANSPARENT);
    const bool usable = IsWindowEnabled(window) != FALSE;
    DrawWords(dc, text, title, usable ? Tone::kFaceText : Tone::kFaint,
              DT_SINGLELINE | (ShowsKeys(window) ? 0 : DT_HIDEPREFIX));
  }
  SelectObject(dc, previous);
  EndPaint(window, &paint);
}

void PaintButton(HWND window, ButtonForm form) {
  if (form == ButtonForm::kGroup) return PaintGroup(window);
  PaintWindow(window, [window, form](HDC dc, const RECT& area) {
    DrawButton({.window = window,
                .dc = dc,
                .area = area,
                .state = SendMessageW(window, BM_GETSTATE, 0, 0),
                .style = GetWindowLongPtrW(window, GWL_STYLE),
                .dpi = DpiOfWindow(window),
                .text = TextOfControl(window)},
               form);
  });
}

// After these a button draws itself at once, without being asked to paint.
bool ButtonRedraws(UINT message) {
  switch (message) {
    case BM_SETSTATE:
    case BM_SETCHECK:
    case BM_SETSTYLE:
    case WM_ENABLE:
    case WM_SETTEXT:
    case WM_SETFONT:
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_MOUSELEAVE:
    case WM_KEYDOWN:
    case WM_KEYUP:
    case WM_UPDATEUISTATE:
      return true;
    default:
      return false;
  }
}

// --- labels --------------------------------------------------------------------------------------

bool IsTextLabel(LONG_PTR style) {
  const LONG_PTR form = style & SS_TYPEMASK;
  return form == SS_LEFT || form == SS_CENTER || form == SS_RIGHT || form == SS_LEFTNOWORDWRAP ||
         form == SS_SIMPLE;
}

// A disabled text, which the system would draw in colours of the light scheme.
void PaintLabel(HWND window, LONG_PTR style) {
  const LONG_PTR form = style & SS_TYPEMASK;
  UINT format = form == SS_CENTER ? DT_CENTER : form == SS_RIGHT ? DT_RIGHT : DT_LEFT;
  format |= form == SS_LEFTNOWORDWRAP || form == SS_SIMPLE ? DT_SINGLELINE : DT_WORDBREAK;
  if ((style & SS_NOPREFIX) != 0) format |= DT_NOPREFIX;
  if (!ShowsKeys(window)) format |= DT_HIDEPREFIX;
  PaintWindow(window, [window, format](HDC dc, const RECT& area) {
    FillRect(dc, &area, BrushOf(Tone::kFace));
    DrawWords(dc, TextOfControl(window), area, Tone::kFaint, format);
  });
}

}  // namespace

bool RouteButton(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer) {
  const ButtonForm form = FormOf(window);
  if (form == ButtonForm::kOther) return false;
  if (message == WM_ERASEBKGND) return answer = 1, true;
  if (message == WM_PAINT) return PaintButton(window, form), true;
  // The pointer that comes changes how a button looks; while it moves over it nothing changes, and
  // drawing anew for each move would flicker.
  const bool moved = message == WM_MOUSEMOVE;
  if (!moved && !ButtonRedraws(message)) return false;
  const LRESULT before = moved ? SendMessageW(window, BM_GETSTATE, 0, 0) : 0;
  answer = Undressed(window, message, first, second);
  // A click may have been the end of the window.
  if (IsWindow(window) == FALSE) return true;
  if (moved && SendMessageW(window, BM_GETSTATE, 0, 0) == before) return true;
  InvalidateRect(window, nullptr, FALSE);
  return true;
}

bool RouteLabel(HWND window, UINT message, WPARAM, LPARAM, LRESULT& answer) {
  const LONG_PTR style = GetWindowLongPtrW(window, GWL_STYLE);
  if (message != WM_PAINT || IsWindowEnabled(window) != FALSE || !IsTextLabel(style)) return false;
  PaintLabel(window, style);
  answer = 0;
  return true;
}

}  // namespace hivequarry
