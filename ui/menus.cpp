#include <string>
#include <string_view>
#include <vector>

#include "ui/main_window.h"
#include "ui/text.h"

namespace hivequarry {
namespace {

// The sub menu of that title, appended where there is none.
HMENU SubMenu(HMENU menu, const std::wstring& title) {
  for (int i = 0; i < GetMenuItemCount(menu); ++i) {
    wchar_t text[128] = L"";
    GetMenuStringW(menu, static_cast<UINT>(i), text, 128, MF_BYPOSITION);
    if (title == text) return GetSubMenu(menu, i);
  }
  const HMENU sub = CreatePopupMenu();
  AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(sub), title.c_str());
  return sub;
}

HMENU MenuOfPath(HMENU menu, std::string_view path) {
  while (!path.empty()) {
    const size_t end = path.find('>');
    menu = SubMenu(menu, WideName(path.substr(0, end)));
    path = end == std::string_view::npos ? std::string_view() : path.substr(end + 1);
  }
  return menu;
}

void AppendCommand(HMENU menu, const Command& command, const char* text) {
  if ((command.places & kGroupStart) != 0 && GetMenuItemCount(menu) > 0) {
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  }
  AppendMenuW(menu, MF_STRING, command.number, WideName(text).c_str());
}

BYTE AcceleratorFlags(uint8_t modifiers) {
  BYTE flags = FVIRTKEY;
  if ((modifiers & kWithControl) != 0) flags |= FCONTROL;
  if ((modifiers & kWithShift) != 0) flags |= FSHIFT;
  if ((modifiers & kWithAlt) != 0) flags |= FALT;
  return flags;
}

}  // namespace

HMENU MakeMainMenu() {
  const HMENU menu = CreateMenu();
  for (const Command& command : Commands()) {
    if (command.menu == nullptr) continue;
    AppendCommand(MenuOfPath(menu, command.menu), command, command.text);
  }
  return menu;
}

HACCEL MakeAccelerators() {
  std::vector<ACCEL> keys;
  for (const Command& command : Commands()) {
    const Accelerator& accelerator = command.accelerator;
    if (accelerator.key == 0) continue;
    keys.push_back({AcceleratorFlags(accelerator.modifiers), accelerator.key, command.number});
  }
  return CreateAcceleratorTableW(keys.data(), static_cast<int>(keys.size()));
}

void UpdateMenu(HMENU menu, const CommandFacts& facts) {
  for (int i = 0; i < GetMenuItemCount(menu); ++i) {
    const Command* command = FindCommand(Commands(), GetMenuItemID(menu, i));
    if (command == nullptr) continue;
    const UINT enabled = IsAvailable(*command, facts) ? MF_ENABLED : MF_GRAYED;
    const UINT checked = IsChecked(*command, facts) ? MF_CHECKED : MF_UNCHECKED;
    EnableMenuItem(menu, static_cast<UINT>(i), MF_BYPOSITION | enabled);
    CheckMenuItem(menu, static_cast<UINT>(i), MF_BYPOSITION | checked);
  }
}

void TrackContextMenu(MainWindow& window, uint8_t place, POINT where) {
  const HMENU menu = CreatePopupMenu();
  for (const Command& command : Commands()) {
    if ((command.places & place) != 0) AppendCommand(menu, command, ContextText(command));
  }
  UpdateMenu(menu, FactsNow(window));
  TrackPopupMenu(menu, TPM_RIGHTBUTTON, where.x, where.y, 0, window.handle, nullptr);
  DestroyMenu(menu);
}

}  // namespace hivequarry
