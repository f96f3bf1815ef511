#include <algorithm>
#include <vector>

#include "ui/list_window.h"
#include "ui/main_window.h"
#include "ui/text.h"

namespace hivequarry {
namespace {

constexpr int kButtonSide = 30;  // at 96 dpi

TBBUTTON ButtonOf(const Command* command) {
  TBBUTTON button{};
  if (command == nullptr) {
    button.fsStyle = BTNS_SEP;
    return button;
  }
  button.iBitmap = static_cast<int>(command->icon);
  button.idCommand = command->number;
  button.fsState = TBSTATE_ENABLED;
  button.fsStyle = command->checked != nullptr ? BTNS_CHECK : BTNS_BUTTON;
  return button;
}

std::vector<TBBUTTON> ToolButtons() {
  std::vector<TBBUTTON> buttons;
  for (const uint16_t number : CommandsIn(CommandPlace::kToolbar)) {
    buttons.push_back(ButtonOf(FindCommand(Commands(), number)));
  }
  return buttons;
}

void SetState(HWND toolbar, UINT message, const Command& command, bool on) {
  SendMessageW(toolbar, message, command.number, MAKELPARAM(on ? TRUE : FALSE, 0));
}

}  // namespace

HWND MakeToolbar(MainWindow& window) {
  const HWND toolbar = CreateWindowExW(
      0, TOOLBARCLASSNAMEW, L"Toolbar",
      WS_CHILD | WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_TOOLTIPS | TBSTYLE_WRAPABLE | CCS_NODIVIDER |
          CCS_NORESIZE | CCS_NOPARENTALIGN,
      0, 0, 0, 0, window.handle, reinterpret_cast<HMENU>(static_cast<INT_PTR>(kToolbarId)),
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
  const int side = Scale(kButtonSide, window.dpi);
  SendMessageW(toolbar, TB_SETBUTTONSIZE, 0, MAKELPARAM(side, side));
}

int WrapToolbar(const MainWindow& window, int width) {
  SetWindowPos(window.toolbar, nullptr, 0, 0, std::max(width, 1), Scale(kButtonSide, window.dpi),
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  SendMessageW(window.toolbar, TB_AUTOSIZE, 0, 0);
  RECT last{};
  const LRESULT count = SendMessageW(window.toolbar, TB_BUTTONCOUNT, 0, 0);
  SendMessageW(window.toolbar, TB_GETITEMRECT, static_cast<WPARAM>(count - 1),
               reinterpret_cast<LPARAM>(&last));
  return last.bottom;
}

void UpdateToolbar(MainWindow& window) {
  const CommandFacts facts = FactsNow(window);
  for (const uint16_t number : CommandsIn(CommandPlace::kToolbar)) {
    const Command* command = FindCommand(Commands(), number);
    if (command == nullptr) continue;
    SetState(window.toolbar, TB_ENABLEBUTTON, *command, IsAvailable(*command, facts));
    if (command->checked != nullptr) {
      SetState(window.toolbar, TB_CHECKBUTTON, *command, IsChecked(*command, facts));
    }
  }
}

void UpdateToolbars(MainWindow& window) {
  UpdateToolbar(window);
  RefreshListWindows();
}

void OnToolTip(const MainWindow& window, NMTTDISPINFOW& notice) {
  const Command* command = FindCommand(Commands(), static_cast<uint32_t>(notice.hdr.idFrom));
  if (command == nullptr || command->tooltip == nullptr) return;
  lstrcpynW(notice.szText, WideName(TooltipOf(*command, FactsNow(window))).c_str(), 80);
}

}  // namespace hivequarry
