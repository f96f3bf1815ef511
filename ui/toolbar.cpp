#include <vector>

#include "ui/main_window.h"
#include "ui/text.h"

namespace hivequarry {
namespace {

std::vector<TBBUTTON> ToolButtons() {
  std::vector<TBBUTTON> buttons;
  for (const Command& command : Commands()) {
    if ((command.places & kInToolbar) == 0) continue;
    TBBUTTON button{};
    if ((command.places & kGroupStart) != 0 && !buttons.empty()) {
      button.fsStyle = BTNS_SEP;
      buttons.push_back(button);
    }
    button.iBitmap = static_cast<int>(command.icon);
    button.idCommand = command.number;
    button.fsState = TBSTATE_ENABLED;
    button.fsStyle = command.checked != nullptr ? BTNS_CHECK : BTNS_BUTTON;
    buttons.push_back(button);
  }
  return buttons;
}

void SetState(HWND toolbar, UINT message, const Command& command, bool on) {
  SendMessageW(toolbar, message, command.number, MAKELPARAM(on ? TRUE : FALSE, 0));
}

}  // namespace

HWND MakeToolbar(MainWindow& window) {
  const HWND toolbar = CreateWindowExW(0, TOOLBARCLASSNAMEW, L"Toolbar",
                                       WS_CHILD | WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_TOOLTIPS |
                                           CCS_NODIVIDER | CCS_NORESIZE | CCS_NOPARENTALIGN,
                                       0, 0, 0, 0, window.handle,
                                       reinterpret_cast<HMENU>(static_cast<INT_PTR>(kToolbarId)),
                                       window.instance, nullptr);
  if (toolbar == nullptr) return nullptr;
  SendMessageW(toolbar, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
  SendMessageW(toolbar, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_DOUBLEBUFFER);
  const std::vector<TBBUTTON> buttons = ToolButtons();
  SendMessageW(toolbar, TB_ADDBUTTONSW, buttons.size(), reinterpret_cast<LPARAM>(buttons.data()));
  return toolbar;
}

void SetToolbarIcons(MainWindow& window) {
  const HWND toolbar = window.toolbar;
  SendMessageW(toolbar, TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(window.icons.tools));
  SendMessageW(toolbar, TB_SETDISABLEDIMAGELIST, 0,
               reinterpret_cast<LPARAM>(window.icons.faded_tools));
  const int side = Scale(30, window.dpi);
  SendMessageW(toolbar, TB_SETBUTTONSIZE, 0, MAKELPARAM(side, side));
}

void UpdateToolbar(MainWindow& window) {
  const CommandFacts facts = FactsNow(window);
  for (const Command& command : Commands()) {
    if ((command.places & kInToolbar) == 0) continue;
    SetState(window.toolbar, TB_ENABLEBUTTON, command, IsAvailable(command, facts));
    if (command.checked != nullptr) {
      SetState(window.toolbar, TB_CHECKBUTTON, command, IsChecked(command, facts));
    }
  }
}

void OnToolTip(NMTTDISPINFOW& notice) {
  const Command* command = FindCommand(Commands(), static_cast<uint32_t>(notice.hdr.idFrom));
  if (command == nullptr || command->tooltip == nullptr) return;
  lstrcpynW(notice.szText, WideName(command->tooltip).c_str(), 80);
}

}  // namespace hivequarry
