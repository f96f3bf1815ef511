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

HWND MakeToolbarControl(HWND parent, int identifier, DWORD style,
                        std::span<const TBBUTTON> buttons) {
  const HWND toolbar = CreateWindowExW(
      0, TOOLBARCLASSNAMEW, L"Toolbar",
      WS_CHILD | WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_TOOLTIPS | CCS_NODIVIDER | CCS_NORESIZE |
          CCS_NOPARENTALIGN | style,
      0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)),
      reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(parent, GWLP_HINSTANCE)), nullptr);
  if (toolbar == nullptr) return nullptr;
  SendMessageW(toolbar, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
  SendMessageW(toolbar, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_DOUBLEBUFFER);
  SendMessageW(toolbar, TB_ADDBUTTONSW, buttons.size(), reinterpret_cast<LPARAM>(buttons.data()));
  return toolbar;
}

void EnableToolButton(HWND toolbar, CommandNumber number, bool on) {
  SendMessageW(toolbar, TB_ENABLEBUTTON, number, MAKELPARAM(on ? TRUE : FALSE, 0));
}

}  // namespace hivequarry
