#include "ui/main/menus.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "app/settings.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"
#include "view/list_commands.h"
#include "view/recent_text.h"

namespace hivequarry {
namespace {

// Null where there is none of that title.
HMENU FindSubMenu(HMENU menu, const std::wstring& title) {
  for (int i = 0; i < GetMenuItemCount(menu); ++i) {
    wchar_t text[128] = L"";
    GetMenuStringW(menu, static_cast<UINT>(i), text, 128, MF_BYPOSITION);
    if (title == text) return GetSubMenu(menu, i);
  }
  return nullptr;
}

// The sub menu of that title, appended where there is none.
HMENU SubMenu(HMENU menu, const std::wstring& title) {
  if (const HMENU found = FindSubMenu(menu, title); found != nullptr) return found;
  const HMENU sub = CreatePopupMenu();
  AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(sub), title.c_str());
  return sub;
}

// "&Reports>&Devices": titles from the top down, made where they are missing.
HMENU MenuOfPath(HMENU menu, std::string_view path) {
  while (!path.empty()) {
    const size_t end = path.find('>');
    menu = SubMenu(menu, WideName(path.substr(0, end)));
    path = end == std::string_view::npos ? std::string_view() : path.substr(end + 1);
  }
  return menu;
}

void StartGroup(HMENU menu) {
  if (GetMenuItemCount(menu) > 0) AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
}

void AppendItem(HMENU menu, uint32_t number, const std::wstring& text) {
  AppendMenuW(menu, MF_STRING, number, text.c_str());
}

// The group of a sub menu's first command starts with the sub menu itself.
void AppendToMenu(HMENU main_menu, const Command& command) {
  const std::string_view path = command.menu;
  const std::string_view top = path.substr(0, path.find('>'));
  const HMENU parent = MenuOfPath(main_menu, top);
  const bool first =
      top != path && FindSubMenu(parent, WideName(path.substr(top.size() + 1))) == nullptr;
  if (command.group_start) StartGroup(first ? parent : MenuOfPath(main_menu, path));
  AppendItem(MenuOfPath(main_menu, path), command.number, WideName(command.text));
}

BYTE AcceleratorFlags(uint8_t modifiers) {
  BYTE flags = FVIRTKEY;
  if ((modifiers & kWithControl) != 0) flags |= FCONTROL;
  if ((modifiers & kWithShift) != 0) flags |= FSHIFT;
  if ((modifiers & kWithAlt) != 0) flags |= FALT;
  return flags;
}

void AddKey(const Accelerator& accelerator, CommandNumber number, std::vector<ACCEL>& keys) {
  if (accelerator.key == 0) return;
  keys.push_back({AcceleratorFlags(accelerator.modifiers), accelerator.key, number});
}

HACCEL MakeTable(std::vector<ACCEL>& keys) {
  return CreateAcceleratorTableW(keys.data(), static_cast<int>(keys.size()));
}

}  // namespace

HMENU MakeMainMenu(bool evidence) {
  const HMENU menu = CreateMenu();
  for (const Command& command : Commands()) {
    if (command.menu != nullptr && IsOffered(command, evidence)) AppendToMenu(menu, command);
  }
  return menu;
}

HACCEL MakeAccelerators() {
  std::vector<ACCEL> keys;
  for (const Command& command : Commands()) {
    AddKey(command.accelerator, command.number, keys);
    AddKey(command.second_accelerator, command.number, keys);
  }
  return MakeTable(keys);
}

HACCEL MakeListAccelerators() {
  std::vector<ACCEL> keys;
  for (const ListCommand& command : ListCommands()) {
    if (command.number == kCommandExit) continue;
    AddKey(command.accelerator, command.number, keys);
    AddKey(command.second_accelerator, command.number, keys);
  }
  return MakeTable(keys);
}

void UpdateMenu(HMENU menu, const CommandFacts& facts) {
  for (int i = 0; i < GetMenuItemCount(menu); ++i) {
    // Null for separators and sub menus.
    const Command* command = FindCommand(Commands(), GetMenuItemID(menu, i));
    if (command == nullptr) continue;
    const UINT enabled = IsAvailable(*command, facts) ? MF_ENABLED : MF_GRAYED;
    const UINT checked = IsChecked(*command, facts) ? MF_CHECKED : MF_UNCHECKED;
    EnableMenuItem(menu, static_cast<UINT>(i), MF_BYPOSITION | enabled);
    CheckMenuItem(menu, static_cast<UINT>(i), MF_BYPOSITION | checked);
  }
}

HMENU FindRecentMenu(HMENU main_menu) {
  return MenuOfPath(main_menu, FindCommand(Commands(), kCommandRecentHive)->menu);
}

void FillRecentMenu(HMENU menu) {
  while (DeleteMenu(menu, 0, MF_BYPOSITION) != FALSE) {
  }
  const History& recent = TheSettings().histories.recent_files;
  for (size_t index = 0; index < std::min<size_t>(recent.size(), kRecentHives); ++index) {
    const auto number = kCommandRecentHive + static_cast<uint32_t>(index);
    AppendItem(menu, number, WideText(RecentHiveText(index, recent[index])));
  }
  if (recent.empty()) AppendItem(menu, kCommandRecentHive, L"(none)");
}

HMENU MakeContextMenu(MainWindow& window, CommandPlace place) {
  const HMENU menu = CreatePopupMenu();
  for (const CommandNumber number : CommandsIn(place)) {
    const Command* command = FindCommand(Commands(), number);
    if (command == nullptr) {
      StartGroup(menu);
    } else if (IsOffered(*command, window.host.evidence)) {
      AppendItem(menu, number, WideName(ContextText(*command)));
    }
  }
  UpdateMenu(menu, FactsNow(window));
  return menu;
}

void TrackContextMenu(MainWindow& window, CommandPlace place, POINT where) {
  const HMENU menu = MakeContextMenu(window, place);
  // What is chosen comes as WM_COMMAND to the window, as from the main menu.
  TrackPopupMenu(menu, TPM_RIGHTBUTTON, where.x, where.y, 0, window.handle, nullptr);
  DestroyMenu(menu);
}

}  // namespace hivequarry
