#include "ui/frame/tool_buttons.h"

namespace hivequarry {

TBBUTTON ToolButton(ToolIcon icon, CommandNumber number, BYTE style) {
  TBBUTTON button{};
  button.iBitmap = static_cast<int>(icon);
  button.idCommand = number;
  button.fsState = TBSTATE_ENABLED;
  button.fsStyle = style;
  return button;
}

TBBUTTON ToolGap() {
  TBBUTTON button{};
  button.fsStyle = BTNS_SEP;
  return button;
}

namespace {

LRESULT Ask(HWND toolbar, UINT message, int index) {
  return SendMessageW(toolbar, message, static_cast<WPARAM>(index), 0);
}

// One that can be pressed just now: no gap, and not grey.
bool IsButton(HWND toolbar, int index) {
  TBBUTTON button{};
  SendMessageW(toolbar, TB_GETBUTTON, static_cast<WPARAM>(index),
               reinterpret_cast<LPARAM>(&button));
  return (button.fsStyle & BTNS_SEP) == 0 && (button.fsState & TBSTATE_ENABLED) != 0;
}

// The next button that can be pressed, round the ends; -1 when there is none.
int NextButton(HWND toolbar, int from, int step) {
  const int count = static_cast<int>(SendMessageW(toolbar, TB_BUTTONCOUNT, 0, 0));
  for (int tried = 0; tried < count; ++tried) {
    from = (from + step + count) % count;
    if (IsButton(toolbar, from)) return from;
  }
  return -1;
}

int HotButton(HWND toolbar) {
  const int hot = static_cast<int>(SendMessageW(toolbar, TB_GETHOTITEM, 0, 0));
  return hot >= 0 && IsButton(toolbar, hot) ? hot : NextButton(toolbar, -1, 1);
}

// As a click: WM_COMMAND to the parent; nothing while no button has the focus.
void Press(HWND toolbar) {
  TBBUTTON button{};
  const int hot = HotButton(toolbar);
  if (hot < 0) return;
  SendMessageW(toolbar, TB_GETBUTTON, static_cast<WPARAM>(hot), reinterpret_cast<LPARAM>(&button));
  SendMessageW(GetParent(toolbar), WM_COMMAND, MAKEWPARAM(button.idCommand, 0),
               reinterpret_cast<LPARAM>(toolbar));
}

// Arrows, Home, End, Enter and the blank; false for any other key.
bool OnToolKey(HWND toolbar, WPARAM key) {
  switch (key) {
    case VK_LEFT:
    case VK_UP:
      Ask(toolbar, TB_SETHOTITEM, NextButton(toolbar, HotButton(toolbar), -1));
      return true;
    case VK_RIGHT:
    case VK_DOWN:
      Ask(toolbar, TB_SETHOTITEM, NextButton(toolbar, HotButton(toolbar), 1));
      return true;
    case VK_HOME:
      Ask(toolbar, TB_SETHOTITEM, NextButton(toolbar, -1, 1));
      return true;
    case VK_END:
      Ask(toolbar, TB_SETHOTITEM, NextButton(toolbar, 0, -1));
      return true;
    case VK_RETURN:
    case VK_SPACE:
      Press(toolbar);
      return true;
    default:
      return false;
  }
}

// The button that the keyboard is on is the "hot" one, as under the pointer.
LRESULT CALLBACK ToolbarProc(HWND toolbar, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                             DWORD_PTR) {
  if (message == WM_KEYDOWN && OnToolKey(toolbar, first)) return 0;
  if (message == WM_SETFOCUS) Ask(toolbar, TB_SETHOTITEM, HotButton(toolbar));
  if (message == WM_KILLFOCUS) Ask(toolbar, TB_SETHOTITEM, -1);
  return DefSubclassProc(toolbar, message, first, second);
}

}  // namespace

HWND MakeToolbarControl(HWND parent, int identifier, DWORD style,
                        std::span<const TBBUTTON> buttons) {
  // The parent places it; by itself a toolbar takes the upper edge of the window.
  const HWND toolbar = CreateWindowExW(
      0, TOOLBARCLASSNAMEW, L"Toolbar",
      WS_CHILD | WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_TOOLTIPS | CCS_NODIVIDER | CCS_NORESIZE |
          CCS_NOPARENTALIGN | style,
      0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)),
      reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(parent, GWLP_HINSTANCE)), nullptr);
  if (toolbar == nullptr) return nullptr;
  // Before any button: by it the control knows which version of the record it is given.
  SendMessageW(toolbar, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
  SendMessageW(toolbar, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_DOUBLEBUFFER);
  SetWindowSubclass(toolbar, ToolbarProc, 0, 0);
  SendMessageW(toolbar, TB_ADDBUTTONSW, buttons.size(), reinterpret_cast<LPARAM>(buttons.data()));
  return toolbar;
}

void EnableToolButton(HWND toolbar, CommandNumber number, bool on) {
  SendMessageW(toolbar, TB_ENABLEBUTTON, number, MAKELPARAM(on ? TRUE : FALSE, 0));
}

}  // namespace hivequarry
