#include "ui/main/toolbar.h"

#include <algorithm>
#include <vector>

#include "ui/compare/compare_window.h"
#include "ui/frame/text.h"
#include "ui/frame/tool_buttons.h"
#include "ui/lists/list_window.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

TBBUTTON ButtonOf(const Command* command) {
  if (command == nullptr) return ToolGap();
  const bool check = command->checked != nullptr;
  return ToolButton(command->icon, command->number, check ? BTNS_CHECK : BTNS_BUTTON);
}

std::vector<TBBUTTON> ToolButtons() {
  std::vector<TBBUTTON> buttons;
  for (const CommandNumber number : CommandsIn(CommandPlace::kToolbar)) {
    buttons.push_back(ButtonOf(FindCommand(Commands(), number)));
  }
  return buttons;
}

}  // namespace

HWND MakeToolbar(MainWindow& window) {
  return MakeToolbarControl(window.handle, kToolbarId, TBSTYLE_WRAPABLE | WS_TABSTOP,
                            ToolButtons());
}

void SetToolbarIcons(MainWindow& window) {
  const HWND toolbar = window.controls.toolbar;
  SendMessageW(toolbar, TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(window.look.icons.tools));
  SendMessageW(toolbar, TB_SETDISABLEDIMAGELIST, 0,
               reinterpret_cast<LPARAM>(window.look.icons.faded_tools));
  const int side = Scale(kToolButtonSide, window.dpi);
  SendMessageW(toolbar, TB_SETBUTTONSIZE, 0, MAKELPARAM(side, side));
}

int WrapToolbar(const MainWindow& window, int width) {
  // It breaks its rows for the width that it has when it is asked to fit itself.
  SetWindowPos(window.controls.toolbar, nullptr, 0, 0, std::max(width, 1),
               Scale(kToolButtonSide, window.dpi), SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  SendMessageW(window.controls.toolbar, TB_AUTOSIZE, 0, 0);
  RECT last{};
  const LRESULT count = SendMessageW(window.controls.toolbar, TB_BUTTONCOUNT, 0, 0);
  SendMessageW(window.controls.toolbar, TB_GETITEMRECT, static_cast<WPARAM>(count - 1),
               reinterpret_cast<LPARAM>(&last));
  return last.bottom;
}

void UpdateToolbar(MainWindow& window) {
  const CommandFacts facts = FactsNow(window);
  for (const CommandNumber number : CommandsIn(CommandPlace::kToolbar)) {
    const Command* command = FindCommand(Commands(), number);
    if (command == nullptr) continue;
    EnableToolButton(window.controls.toolbar, command->number, IsAvailable(*command, facts));
    if (command->checked == nullptr) continue;
    SendMessageW(window.controls.toolbar, TB_CHECKBUTTON, command->number,
                 MAKELPARAM(IsChecked(*command, facts) ? TRUE : FALSE, 0));
  }
}

void UpdateToolbars(MainWindow& window) {
  UpdateToolbar(window);
  RefreshListWindows();
  ReleaseComparedHives();
}

void OnToolTip(const MainWindow& window, NMTTDISPINFOW& notice) {
  const Command* command = FindCommand(Commands(), static_cast<uint32_t>(notice.hdr.idFrom));
  if (command == nullptr || command->tooltip == nullptr) return;
  // 80 characters: what the notice has room for.
  lstrcpynW(notice.szText, WideName(TooltipOf(*command, FactsNow(window))).c_str(), 80);
}

}  // namespace hivequarry
