#include "ui/lists/column_choice.h"

#include <algorithm>
#include <string>

#include "app/settings.h"
#include "ui/dress/dress.h"
#include "ui/frame/list_view.h"
#include "ui/frame/text.h"
#include "ui/lists/list_place.h"
#include "ui/lists/list_work.h"

namespace hivequarry {
namespace {

// Items of the menu: those of columns begin after these.
enum ColumnItem : int { kAllColumns = 1, kAsBuiltIn, kFirstColumnItem };

int& HiddenWidth(ListPlace& place, int column) {
  return place.hidden_widths[static_cast<size_t>(column)];
}

std::vector<int> OrderOf(const ListPlace& place) {
  std::vector<int> order(static_cast<size_t>(ColumnCount(place.list)));
  if (!order.empty()) {
    ListView_GetColumnOrderArray(place.list, static_cast<int>(order.size()), order.data());
  }
  return order;
}

void SetOrder(const ListPlace& place, std::vector<int> order) {
  if (order.empty()) return;
  ListView_SetColumnOrderArray(place.list, static_cast<int>(order.size()), order.data());
  InvalidateRect(place.list, nullptr, TRUE);
}

// Lists of no kind have columns that mean something else each time.
void KeepChoice(const ListPlace& place, std::vector<int> order) {
  const int kind = ListKindOf(*place.model);
  if (FindListKind(kind).columns.empty()) return;
  ColumnChoice choice;
  choice.order = std::move(order);
  for (int column = 0; column < ColumnCount(place.list); ++column) {
    if (IsColumnHidden(place, column)) choice.hidden.push_back(column);
  }
  if (choice.hidden.empty() && std::ranges::is_sorted(choice.order)) {
    // A kind without an entry has all columns in the built-in order.
    TheSettings().columns.erase(kind);
  } else {
    TheSettings().columns[kind] = std::move(choice);
  }
}

void SetHidden(ListPlace& place, int column, bool hidden) {
  const int width = HiddenWidth(place, column);
  if ((width != 0) == hidden) return;
  if (hidden) {
    // 0 would say that the column is shown.
    HiddenWidth(place, column) = std::max(ListView_GetColumnWidth(place.list, column), 1);
    ListView_SetColumnWidth(place.list, column, 0);
  } else {
    HiddenWidth(place, column) = 0;  // first: a hidden one has no other width
    ListView_SetColumnWidth(place.list, column, width);
  }
}

// A column that was moved to another place among those that are seen and those that are not.
std::vector<int> MovedTo(std::vector<int> order, int column, int to) {
  std::erase(order, column);
  order.insert(order.begin() + std::clamp(to, 0, static_cast<int>(order.size())), column);
  return order;
}

// By a timer, as the header sets widths after it has reported them.
void CALLBACK HideAgain(HWND list, UINT, UINT_PTR timer, DWORD) {
  KillTimer(list, timer);
  const ListPlace& place = PlaceOfControl(list);
  for (int column = 0; column < ColumnCount(list); ++column) {
    if (IsColumnHidden(place, column)) ListView_SetColumnWidth(list, column, 0);
  }
}

}  // namespace

bool IsColumnHidden(const ListPlace& place, int column) {
  const auto at = static_cast<size_t>(column);
  return at < place.hidden_widths.size() && place.hidden_widths[at] != 0;
}

void ApplyColumnChoice(ListPlace& place) {
  const int count = ColumnCount(place.list);
  const auto& choices = TheSettings().columns;
  const auto found = choices.find(ListKindOf(*place.model));
  const ColumnChoice choice =
      ColumnsFor(found == choices.end() ? ColumnChoice() : found->second, count);
  // Of the list before: the control has kept its columns, with a width of 0 where they were hidden.
  for (int column = 0; column < std::ssize(place.hidden_widths) && column < count; ++column) {
    SetHidden(place, column, false);
  }
  place.hidden_widths.assign(static_cast<size_t>(count), 0);
  for (const int column : choice.hidden) SetHidden(place, column, true);
  SetOrder(place, choice.order);
}

// The first column, which has the pictures, is always shown.
void ShowColumn(ListPlace& place, int column, bool shown) {
  if (column <= 0 || column >= std::ssize(place.hidden_widths)) return;
  SetHidden(place, column, !shown);
  KeepChoice(place, OrderOf(place));
  FitListColumns(place);
}

void ResetColumnChoice(ListPlace& place) {
  TheSettings().columns.erase(ListKindOf(*place.model));
  ApplyColumnChoice(place);
  FitListColumns(place);
}

std::vector<int> SeenColumns(const ListPlace& place) {
  std::vector<int> columns = OrderOf(place);
  std::erase_if(columns, [&place](int column) { return IsColumnHidden(place, column); });
  return columns;
}

std::vector<int> WidthsOfColumns(const ListPlace& place) {
  std::vector<int> widths;
  for (int column = 0; column < ColumnCount(place.list); ++column) {
    widths.push_back(IsColumnHidden(place, column)
                         ? place.hidden_widths[static_cast<size_t>(column)]
                         : ListView_GetColumnWidth(place.list, column));
  }
  return widths;
}

LRESULT OnColumnsNotify(ListPlace& place, const NMHEADERW& notice) {
  if (notice.hdr.code == HDN_ENDDRAG) {
    // The header moves it after this.
    const bool moved = notice.pitem != nullptr && (notice.pitem->mask & HDI_ORDER) != 0 &&
                       notice.pitem->iOrder >= 0;
    if (moved) KeepChoice(place, MovedTo(OrderOf(place), notice.iItem, notice.pitem->iOrder));
    return FALSE;
  }
  if (!IsColumnHidden(place, notice.iItem)) return FALSE;
  if (notice.hdr.code == HDN_BEGINTRACKW) return TRUE;
  // The control fits a column to its texts without asking: it is hidden again afterwards.
  if (notice.hdr.code == HDN_DIVIDERDBLCLICKW) SetTimer(place.list, kColumnTimer, 0, HideAgain);
  return FALSE;
}

HMENU MakeColumnMenu(const ListPlace& place) {
  const HMENU menu = CreatePopupMenu();
  for (int column = 0; column < ColumnCount(place.list); ++column) {
    const UINT state = (IsColumnHidden(place, column) ? MF_UNCHECKED : MF_CHECKED) |
                       (column == 0 ? MF_GRAYED : MF_ENABLED);
    std::string title = ColumnTitle(*place.model, column);
    for (size_t at = 0; (at = title.find('&', at)) != title.npos; at += 2) title.insert(at, 1, '&');
    AppendMenuW(menu, MF_STRING | state, static_cast<UINT_PTR>(kFirstColumnItem + column),
                WindowText(title).c_str());
  }
  AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(menu, MF_STRING, kAllColumns, L"&All columns");
  AppendMenuW(menu, MF_STRING, kAsBuiltIn, L"&Built-in columns and order");
  return menu;
}

void RunColumnMenu(ListPlace& place, int chosen) {
  if (chosen >= kFirstColumnItem) {
    const int column = chosen - kFirstColumnItem;
    return ShowColumn(place, column, IsColumnHidden(place, column));
  }
  if (chosen == kAsBuiltIn) return ResetColumnChoice(place);
  for (int column = 0; chosen == kAllColumns && column < ColumnCount(place.list); ++column) {
    ShowColumn(place, column, true);
  }
}

void TrackColumnMenu(ListPlace& place, POINT where) {
  RunColumnMenu(place, ChooseFromMenu(MakeColumnMenu(place), place.window, where));
}

void OnColumns(ListPlace& place) {
  RECT area{};
  GetWindowRect(ListView_GetHeader(place.list), &area);
  TrackColumnMenu(place, {area.left, area.bottom});
}

}  // namespace hivequarry
