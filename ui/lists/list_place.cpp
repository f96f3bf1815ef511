#include "ui/lists/list_place.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "hive/hive_table.h"
#include "host/number_text.h"
#include "host/text.h"
#include "lists/list_columns.h"
#include "ui/frame/list_view.h"
#include "ui/frame/text.h"
#include "ui/lists/column_choice.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// At 96 dpi.
constexpr int kGenericWidth = 160;
constexpr int kIconRoom = 20;    // before the first column's text
constexpr int kCellMargin = 14;  // of both sides of a cell's text
constexpr int kArrowRoom = 14;   // after a title, for the arrow of the order

std::vector<std::string> GenericTitles() {
  std::vector<std::string> titles;
  for (int column = 0; column < kMaxColumns; ++column) {
    titles.push_back(Concat({"Col", Decimal(column, 2)}));
  }
  return titles;
}

// --- columns and their widths --------------------------------------------------------------------

int TextWidth(HDC dc, const wchar_t* text) {
  SIZE size{};
  GetTextExtentPoint32W(dc, text, lstrlenW(text), &size);
  return size.cx;
}

// The scroll bar's room is counted even while there is none, so that widths don't depend on rows.
WidthUnits MeasureUnits(HWND list) {
  const HDC dc = GetDC(list);
  const auto font = reinterpret_cast<HFONT>(SendMessageW(list, WM_GETFONT, 0, 0));
  const HGDIOBJ previous =
      SelectObject(dc, font != nullptr ? font : GetStockObject(DEFAULT_GUI_FONT));
  WidthUnits units;
  units.text = TextWidth(dc, L"ABCDEFGHIJ");
  const int margin = Scale(kCellMargin, DpiOfWindow(list));
  units.date = TextWidth(dc, L"0000/00/00, 00:00:00") + margin;
  units.type = TextWidth(dc, L"REG_EXPAND_SZ") + margin;
  SelectObject(dc, previous);
  ReleaseDC(list, dc);
  RECT area;
  GetWindowRect(list, &area);
  units.client = area.right - area.left;
  units.scroll_bar = GetSystemMetrics(SM_CXVSCROLL);
  return units;
}

// What titles and texts need. `icons`: the room before a text of the first column.
// Of each column the longest texts alone are measured (LongTextsOf): to measure all of them takes
// seconds for a long list.
std::vector<int> NeededWidths(const ListPlace& place, int icons) {
  constexpr size_t kLongestText = 300;  // bytes; wider than any column becomes
  const uint32_t dpi = DpiOfPlace(place);
  const std::vector<LongTexts> texts = LongTextsOf(*place.model, place.rows);
  const HDC dc = GetDC(place.list);
  const auto font = reinterpret_cast<HFONT>(SendMessageW(place.list, WM_GETFONT, 0, 0));
  const HGDIOBJ previous =
      SelectObject(dc, font != nullptr ? font : GetStockObject(DEFAULT_GUI_FONT));
  std::vector<int> needed;
  for (size_t column = 0; column < texts.size(); ++column) {
    const std::string& title = ColumnTitle(*place.model, static_cast<int>(column));
    int width = TextWidth(dc, WindowText(title).c_str()) + Scale(kArrowRoom, dpi);
    for (const std::string_view text : texts[column]) {
      const std::wstring start = WindowText(FirstUnits(text, kLongestText));
      width = std::max(width, TextWidth(dc, start.c_str()));
    }
    needed.push_back(width + Scale(kCellMargin, dpi) + (column == 0 ? icons : 0));
  }
  SelectObject(dc, previous);
  ReleaseDC(place.list, dc);
  return needed;
}

// A hidden column keeps its width for when it is shown again.
void SetWidths(ListPlace& place, const std::vector<int>& widths) {
  const HWND list = place.list;
  const auto count = std::min(std::ssize(widths), std::ptrdiff_t{ColumnCount(list)});
  // Drawn once for all columns.
  const bool drawn = IsWindowVisible(list) != FALSE;
  if (drawn) SendMessageW(list, WM_SETREDRAW, FALSE, 0);
  for (int column = 0; column < count; ++column) {
    const int width = widths[static_cast<size_t>(column)];
    if (IsColumnHidden(place, column)) {
      if (width > 0) place.hidden_widths[static_cast<size_t>(column)] = width;
      continue;
    }
    if (ListView_GetColumnWidth(list, column) == width) continue;
    ListView_SetColumnWidth(list, column, width);
  }
  if (!drawn) return;
  SendMessageW(list, WM_SETREDRAW, TRUE, 0);
  InvalidateRect(list, nullptr, FALSE);
}

// Columns that are there keep their widths and get other titles.
void SetTitles(HWND list, const OutputList& model) {
  const int wanted = ColumnCount(model);
  while (ColumnCount(list) > wanted) ListView_DeleteColumn(list, ColumnCount(list) - 1);
  for (int column = 0; column < wanted; ++column) {
    std::wstring title = WindowText(ColumnTitle(model, column));
    LVCOLUMNW info{};
    info.mask = LVCF_TEXT;
    info.pszText = title.data();
    if (column < ColumnCount(list)) {
      ListView_SetColumn(list, column, &info);
    } else {
      ListView_InsertColumn(list, column, &info);
    }
  }
}

// No row is left, and none is selected in what comes.
void EmptyControl(ListPlace& place) {
  EndSelecting(place);
  ListView_DeleteAllItems(place.list);
}

// --- order ---------------------------------------------------------------------------------------

// Rows are shown as they were added, all of them.
void ForgetOrder(ListPlace& place) {
  place.rows = RowsShown();
  place.sorted_column = -1;
  place.sort_keys.clear();
  place.descending.fill(false);
  ShowSortArrows(place);
}

// Changes which rows are shown, or their order. The control knows rows by their places.
// So a selection is kept by numbers in the model, and selected again where the rows are then.
// Linear in the model's rows where any is selected.
void ChangeRows(ListPlace& place, const std::function<void(RowsShown& rows)>& change) {
  EndSelecting(place);
  std::vector<uint32_t> selected = SelectedRows(place);
  const int focused = FocusedRow(place);
  const uint32_t focused_row = focused < 0 ? 0 : ModelRow(place, static_cast<uint32_t>(focused));
  const uint32_t before = ShownRowCount(place);
  change(place.rows);
  if (ShownRowCount(place) != before) {
    ListView_DeleteAllItems(place.list);
    ListView_SetItemCountEx(place.list, static_cast<int>(ShownRowCount(place)), 0);
  }
  if (!selected.empty()) {
    const std::vector<uint32_t> places = PlacesOfRows(place.rows, RowCount(*place.model));
    for (uint32_t& row : selected) row = places[row];
    std::erase(selected, kNoPlace);
    std::sort(selected.begin(), selected.end());
    SelectShown(place, std::move(selected), false);
    if (places[focused_row] != kNoPlace) {
      const auto focus = static_cast<int>(places[focused_row]);
      ListView_SetItemState(place.list, focus, LVIS_FOCUSED, LVIS_FOCUSED);
      ListView_EnsureVisible(place.list, focus, FALSE);
    }
  }
  InvalidateRect(place.list, nullptr, FALSE);
}

}  // namespace

uint32_t DpiOfPlace(const ListPlace& place) {
  return place.pane ? place.owner->dpi : DpiOfWindow(place.window);
}

const HiveImage* HiveOfList(const ListPlace& place) {
  const WindowHive* hive = FindHive(*place.owner, place.hive);
  const auto& head = ListHeadOf(*place.model);
  const bool same =
      hive != nullptr && hive->slot >= 0 && head != nullptr && head == hive->hashing.head;
  return same ? &HiveOfSlot(hive->slot) : nullptr;
}

uint32_t HiveOfRow(const ListPlace& place, uint32_t row) {
  const auto after = std::ranges::upper_bound(place.hives, row, {}, &RowsOfHive::first);
  return after == place.hives.begin() ? place.hive : (after - 1)->hive;
}

uint32_t HiveInFocus(const ListPlace& place) {
  const int focused = place.hives.empty() ? -1 : FocusedRow(place);
  return focused < 0 ? place.hive
                     : HiveOfRow(place, ModelRow(place, static_cast<uint32_t>(focused)));
}

HWND MakeListControl(ListPlace& place, int identifier) {
  place.list = MakeVirtualList(place.window, identifier, {}, DpiOfPlace(place));
  if (place.list == nullptr) return nullptr;
  SetWindowTextW(place.list, L"Output List");  // what a screen reader calls it
  SetWindowLongPtrW(place.list, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&place));
  place.model = MakeOutputList(0);
  return place.list;
}

HWND MakeListPane(MainWindow& window, int identifier) {
  ListPlace& place = window.output;
  place.owner = &window;
  place.pane = true;
  place.window = window.handle;
  if (MakeListControl(place, identifier) == nullptr) return nullptr;
  ShowList(place, MakeOutputList(0),
           std::vector<int>(kMaxColumns, Scale(kGenericWidth, window.dpi)));
  return place.list;
}

void ShowList(ListPlace& place, OutputListPtr list, const std::vector<int>& widths) {
  if (ColumnCount(*list) == 0 && RowCount(*list) == 0) SetColumns(*list, GenericTitles());
  // Before the model goes: the control may ask for the rows that it has, by numbers that the next
  // list need not have.
  EmptyControl(place);
  ForgetFilter(place);
  place.model = std::move(list);
  place.dates_in = ShownZoneNow();
  place.zone_due = false;
  place.hive = place.owner->shown->slot < 0 ? kAnyHive : place.owner->shown->number;
  place.hives.clear();
  place.again = nullptr;
  place.asked.clear();
  place.loaded = false;
  place.keys.clear();
  place.files.clear();
  ForgetOrder(place);
  SetTitles(place.list, *place.model);
  ApplyColumnChoice(place);
  place.columns_touched = !widths.empty();
  place.fitted_rows = 0;
  if (widths.empty()) {
    ResizeListColumns(place);
  } else {
    SetWidths(place, widths);
  }
  ListChanged(place);
}

namespace {

// To the first rows of a list that is filled, and to all when there are no more to come.
void FitToRows(ListPlace& place) {
  const uint32_t rows = RowCount(*place.model);
  if (rows == 0 || rows == place.fitted_rows) return;
  if (place.fitted_rows == 0 || !place.filling) FitListColumns(place);
}

}  // namespace

void ListChanged(ListPlace& place) {
  FollowRows(place.rows, RowCount(*place.model), !HasFilterWords(place));
  // Rows that are added while a list is filled neither draw anew what is in sight nor scroll it.
  const DWORD keep = place.filling ? LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL : 0;
  ListView_SetItemCountEx(place.list, static_cast<int>(ShownRowCount(place)), keep);
  FitToRows(place);
  PlaceChanged(place);
  FollowFilter(place);
}

void EmptyList(ListPlace& place) {
  ShowPlaceStatus(place, "Deleting current list ...");
  StopFilter(place);
  EmptyControl(place);
  ForgetOrder(place);
  ClearRows(*place.model);
  ShowPlaceStatus(place, "");
  ListChanged(place);
}

namespace {

// A part of a number or a date says nothing.
bool IsSeenWhole(const OutputList& list, int column) {
  const auto& columns = FindListKind(ListKindOf(list)).columns;
  if (static_cast<size_t>(column) >= columns.size()) return false;
  switch (columns[static_cast<size_t>(column)].holds) {
    case CellHolds::kPosition:
    case CellHolds::kNumber:
    case CellHolds::kCount:
    case CellHolds::kFlag:
    case CellHolds::kDate:
      return true;
    default:
      return false;
  }
}

// Hidden columns take no room; the last one that is seen takes the rest.
void FitSeenColumns(ListPlace& place, std::vector<int> widths, const WidthUnits& units) {
  const std::vector<int> seen = SeenColumns(place);
  std::vector<int> needed;
  std::vector<bool> whole;
  for (const int column : seen) {
    needed.push_back(widths[static_cast<size_t>(column)]);
    whole.push_back(IsSeenWhole(*place.model, column));
  }
  const std::vector<int> fitted = FittedWidths(needed, units, whole);
  for (size_t i = 0; i < seen.size(); ++i) widths[static_cast<size_t>(seen[i])] = fitted[i];
  SetWidths(place, widths);
}

}  // namespace

void ResizeListColumns(ListPlace& place) {
  const int icon = Scale(kIconRoom, DpiOfPlace(place));
  WidthUnits units = MeasureUnits(place.list);
  place.columns_touched = false;
  place.fitted_rows = RowCount(*place.model);
  if (ShownRowCount(place) != 0) {
    return FitSeenColumns(place, NeededWidths(place, icon), units);
  }
  units.client -= icon;
  std::vector<int> widths = ColumnWidths(*place.model, units);
  if (!widths.empty()) widths.front() += icon;
  SetWidths(place, widths);
}

int RoomOfCell(const ListPlace& place, int column) {
  const uint32_t dpi = DpiOfPlace(place);
  const int icon = column == 0 ? Scale(kIconRoom, dpi) : 0;
  return ListView_GetColumnWidth(place.list, column) - icon - Scale(kCellMargin, dpi);
}

void FitListColumns(ListPlace& place) {
  if (!place.columns_touched) ResizeListColumns(place);
}

uint32_t ShownRowCount(const ListPlace& place) {
  return ShownCount(place.rows, RowCount(*place.model));
}

uint32_t ModelRow(const ListPlace& place, uint32_t shown) { return RowAt(place.rows, shown); }

std::vector<uint32_t> ShownRows(const ListPlace& place) {
  return ShownRows(place.rows, RowCount(*place.model));
}

std::vector<uint32_t> AllRows(const ListPlace& place) {
  return AllRows(place.rows, RowCount(*place.model));
}

void ShowInOrder(ListPlace& place, std::vector<uint32_t> order) {
  if (order.size() != RowCount(*place.model)) return;
  ChangeRows(place, [&order](RowsShown& rows) { PutInOrder(rows, std::move(order)); });
}

void ShowChosenRows(ListPlace& place, std::vector<bool> chosen) {
  if (chosen.size() != RowCount(*place.model)) return;
  ChangeRows(place, [&chosen](RowsShown& rows) { FilterRows(rows, std::move(chosen)); });
  PlaceChanged(place);
}

void ShowAddedRows(ListPlace& place, uint32_t from, const std::vector<bool>& chosen) {
  const auto choose = [&](RowsShown& rows) { ChooseAddedRows(rows, from, chosen); };
  if (place.rows.ordered) {
    ChangeRows(place, choose);
  } else {
    choose(place.rows);
    ListView_SetItemCountEx(place.list, static_cast<int>(ShownRowCount(place)),
                            LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
  }
  PlaceChanged(place);
}

void ShowAllRows(ListPlace& place) {
  ChangeRows(place, UnfilterRows);
  PlaceChanged(place);
}

void ShowSortArrows(const ListPlace& place) {
  const HWND header = ListView_GetHeader(place.list);
  const std::vector<SortRequest>& keys = place.sort_keys;
  const int columns = std::min(ColumnCount(place.list), ColumnCount(*place.model));
  for (int at = 0; at < columns; ++at) {
    const auto key = std::ranges::find_if(keys, [at](const SortRequest& request) {
      return request.column == at && request.mode != SortMode::kIcon;
    });
    std::string title = ColumnTitle(*place.model, at);
    if (key != keys.end() && keys.size() > 1) {
      title += Concat({" (", Decimal(key - keys.begin() + 1), ")"});
    }
    std::wstring text = WindowText(title);
    HDITEMW item{};
    item.mask = HDI_FORMAT;
    // Alignment and the like are in the same word as the arrows.
    Header_GetItem(header, at, &item);
    item.mask |= HDI_TEXT;
    item.pszText = text.data();
    item.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
    if (key != keys.end()) item.fmt |= key->descending ? HDF_SORTDOWN : HDF_SORTUP;
    Header_SetItem(header, at, &item);
  }
}

}  // namespace hivequarry
