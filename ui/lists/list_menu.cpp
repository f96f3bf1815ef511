#include "ui/lists/list_menu.h"

#include <string>
#include <utility>
#include <vector>

#include "host/long_operation.h"
#include "ui/dress/dress.h"
#include "ui/frame/text.h"
#include "ui/lists/activity_pane.h"
#include "ui/lists/column_choice.h"
#include "ui/lists/list_command_handlers.h"
#include "ui/lists/list_place.h"
#include "ui/lists/list_work.h"
#include "ui/live/compare_commands.h"
#include "ui/main/main_window.h"
#include "view/list_commands.h"

namespace hivequarry {
namespace {

bool HasPosition(const ListPlace& place) {
  const int focused = FocusedRow(place);
  if (focused < 0) return false;
  const uint32_t row = ModelRow(place, static_cast<uint32_t>(focused));
  // A row about a file leads to that, whatever hive is shown.
  // Of a list of files the rows' positions are those of other hives.
  if (!place.files.empty()) return row < place.files.size();
  return place.owner->shown->slot >= 0 && RowHasDatum(*place.model, row);
}

bool IsOfClosedHive(const ListPlace& place) {
  const uint32_t hive = HiveInFocus(place);
  return hive < kOfNoHive && FocusedRow(place) >= 0 && FindHive(*place.owner, hive) == nullptr;
}

// A row of a loaded report leads to a key of a hive that is open by the path alone.
bool HasPath(const ListPlace& place) {
  const int focused = FocusedRow(place);
  if (focused < 0 || !place.loaded || place.owner->shown->slot < 0) return false;
  const uint32_t row = ModelRow(place, static_cast<uint32_t>(focused));
  return IsOfHive(ListKindOf(*place.model)) && !KeyPathOfRow(*place.model, row).empty();
}

// Of the file shown, and with logs that can be applied to it.
bool HasEntry(const ListPlace& place) {
  const int focused = FocusedRow(place);
  const MainWindow& owner = *place.owner;
  uint32_t entry = 0;
  return focused >= 0 && owner.shown->slot >= 0 && FactsNow(owner).logs &&
         ListSource(*place.model) == ShownHive(owner).file_name &&
         EntryOfRow(*place.model, ModelRow(place, static_cast<uint32_t>(focused)), entry);
}

bool NeedsPosition(ListNeeds needs) {
  return needs == ListNeeds::kFocus || needs == ListNeeds::kKeyOfRow ||
         needs == ListNeeds::kRoots || needs == ListNeeds::kEntry;
}

// A worker's result that was not taken yet counts as its work. Without `with_position` that fact is
// left out: where no row is in focus, the control looks through all of very many for it.
ListFacts FactsOfPlace(const ListPlace& place, bool with_position) {
  const LongOperation& operation = TheLongOperation();
  const bool selecting = IsSelecting(place);
  ListFacts facts;
  facts.busy = operation.running != 0 || place.working || selecting;
  facts.backup = operation.backup;
  facts.stoppable = operation.running != 0 || facts.backup || selecting;
  facts.hive = place.owner->shown->slot >= 0;
  facts.rows = ShownRowCount(place) != 0;
  facts.row_selected = facts.rows && HasSelection(place);
  facts.position = with_position && facts.rows && HasPosition(place);
  facts.path = with_position && facts.rows && HasPath(place);
  facts.entry = with_position && facts.rows && HasEntry(place);
  facts.source = !ListSource(*place.model).empty();
  facts.evidence = place.owner->host.evidence;
  facts.again = place.again != nullptr && facts.hive;
  facts.filtered = place.rows.filtered || HasFilterWords(place);
  facts.times = HasActivity(place);
  facts.picture = ShowsActivity(place);
  facts.kind = ListKindOf(*place.model);
  return facts;
}

bool IsOn(const ListPlace& place, ListSwitch what) {
  switch (what) {
    case ListSwitch::kNone:
      return false;
    case ListSwitch::kOnlyMissing:
      return ListsOnlyMissing();
    case ListSwitch::kOnlyDifferent:
      return ListsOnlyDifferent();
    case ListSwitch::kActivity:
      return ShowsActivity(place);
  }
  return false;
}

bool IsAvailable(const ListCommand& command, const ListPlace& place) {
  return IsAvailable(command, FactsOfPlace(place, NeedsPosition(command.needs)));
}

// The menu that holds a command, with the separator that is before its group.
struct MenuBuilder {
  HMENU menu;
  std::vector<std::pair<std::string, HMENU>> submenus;
};

void StartGroup(HMENU menu) {
  if (GetMenuItemCount(menu) > 0) AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
}

// Made when its first command comes; belongs to the menu.
HMENU SubMenuOf(MenuBuilder& builder, const ListCommand& command) {
  for (const auto& [title, menu] : builder.submenus) {
    if (title == command.submenu) return menu;
  }
  if (command.group_start) StartGroup(builder.menu);
  const HMENU menu = CreatePopupMenu();
  AppendMenuW(builder.menu, MF_POPUP, reinterpret_cast<UINT_PTR>(menu),
              WideName(command.submenu).c_str());
  builder.submenus.emplace_back(command.submenu, menu);
  return menu;
}

void AppendCommand(MenuBuilder& builder, const ListPlace& place, const ListCommand& command,
                   bool available) {
  const HMENU menu = command.submenu == nullptr ? builder.menu : SubMenuOf(builder, command);
  // Within a sub menu too, where it is not the first item.
  if (command.group_start) StartGroup(menu);
  const bool checked = IsOn(place, command.checked);
  AppendMenuW(
      menu,
      MF_STRING | (available ? MF_ENABLED : MF_GRAYED) | (checked ? MF_CHECKED : MF_UNCHECKED),
      command.number, WideName(command.text).c_str());
}

// Below the row in focus.
POINT FocusPoint(const ListPlace& place) {
  RECT area{};
  const int row = FocusedRow(place);
  if (row < 0 || ListView_GetItemRect(place.list, row, &area, LVIR_LABEL) == FALSE) {
    GetClientRect(place.list, &area);
    area.bottom /= 2;
  }
  POINT point{area.left, area.bottom};
  ClientToScreen(place.list, &point);
  return point;
}

}  // namespace

bool IsListCommandAvailable(const ListPlace& place, uint32_t number) {
  const ListCommand* command = FindListCommand(number);
  const HiveTurn turn(*place.owner, HiveInFocus(place));
  return command != nullptr && IsAvailable(*command, place);
}

void RunListCommand(ListPlace& place, uint32_t number) {
  const ListCommand* command = FindListCommand(number);
  const HiveTurn turn(*place.owner, HiveInFocus(place));
  if (command != nullptr && IsAvailable(*command, place)) {
    ListHandlerOf(command->number)(place);
  } else if (number == kCommandGoToTree && IsOfClosedHive(place)) {
    ShowPassingStatus(place, " The hive of this row is no longer open.");
  } else if (number == kCommandGoToTree && place.loaded && LoadedHives(*place.owner) == 0) {
    ShowPassingStatus(place, " No hive is open that rows could lead to.");
  }
}

HMENU MakeListMenu(const ListPlace& place) {
  const HiveTurn turn(*place.owner, HiveInFocus(place));
  const ListFacts facts = FactsOfPlace(place, true);
  MenuBuilder builder{CreatePopupMenu(), {}};
  for (const ListCommand& command : ListCommands()) {
    if (command.text == nullptr || !IsOffered(command, facts)) continue;
    AppendCommand(builder, place, command, IsAvailable(command, facts));
  }
  return builder.menu;
}

void TrackListMenu(ListPlace& place, POINT where) {
  if (where.x == -1 && where.y == -1) where = FocusPoint(place);
  const int chosen = ChooseFromMenu(MakeListMenu(place), place.window, where);
  RunListCommand(place, static_cast<uint32_t>(chosen));
}

bool OnListContextMenu(ListPlace& place, HWND from, POINT where) {
  if (from == ListView_GetHeader(place.list)) {
    TrackColumnMenu(place, where);
    return true;
  }
  if (from != place.list) return false;
  // The list passes on what its header was asked.
  // WM_CONTEXTMENU names the list then.
  POINT point = where;
  ScreenToClient(place.list, &point);
  RECT header{};
  GetClientRect(ListView_GetHeader(place.list), &header);
  const bool by_mouse = where.x != -1 || where.y != -1;
  if (by_mouse && point.y >= 0 && point.y < header.bottom) {
    TrackColumnMenu(place, where);
  } else {
    TrackListMenu(place, where);
  }
  return true;
}

}  // namespace hivequarry
