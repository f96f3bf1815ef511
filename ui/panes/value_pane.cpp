#include "ui/panes/value_pane.h"

#include <algorithm>
#include <utility>

#include "ui/draw/dpi.h"
#include "ui/frame/list_view.h"
#include "ui/frame/text.h"

namespace hivequarry {
namespace {

constexpr ListColumn kColumns[kValueColumns] = {
    {L"Name", 220, false}, {L"Type", 130, false}, {L"Value", 360, false}, {L"Position", 96, false}};
constexpr int kValueColumn = 2;
constexpr int kLeastValueWidth = 160;
constexpr int kTechnicalNameWidth = 320;  // the name is after three numbers there

// The reference holds until a row is asked for that has the same place in the cache.
const CachedRow& RowTexts(ValuePane& pane, int row) {
  CachedRow& cached = pane.cache[static_cast<size_t>(row) % kCachedRows];
  if (cached.row == row) return cached;
  const ValueRow made = RowAt(pane.rows, row);
  cached.row = row;
  cached.texts = {WindowText(made.name), WindowText(made.type), WindowText(made.data),
                  WindowText(made.position)};
  cached.icon = made.icon;
  return cached;
}

void ForgetRows(ValuePane& pane) {
  for (CachedRow& cached : pane.cache) cached.row = -1;
}

}  // namespace

HWND MakeValuePane(HWND parent, int identifier, uint32_t dpi) {
  const HWND list = MakeVirtualList(parent, identifier, kColumns, dpi);
  SetWindowTextW(list, L"Values");  // what a screen reader calls it
  return list;
}

void ClearValues(ValuePane& pane) {
  ListView_SetItemCount(pane.window, 0);
  pane.rows = ValueRows();
  ForgetRows(pane);
}

void ShowValues(ValuePane& pane, ValueRows rows) {
  ClearValues(pane);
  pane.rows = std::move(rows);
  ListView_SetItemState(pane.window, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  ListView_SetItemCountEx(pane.window, RowCount(pane.rows), 0);
  if (RowCount(pane.rows) > 0) ListView_EnsureVisible(pane.window, 0, FALSE);
}

int SelectedRow(const ValuePane& pane) {
  const int focused = ListView_GetNextItem(pane.window, -1, LVNI_FOCUSED | LVNI_SELECTED);
  return focused >= 0 ? focused : ListView_GetNextItem(pane.window, -1, LVNI_SELECTED);
}

void SelectAllRows(const ValuePane& pane) {
  ListView_SetItemState(pane.window, -1, LVIS_SELECTED, LVIS_SELECTED);
}

void InvertRows(const ValuePane& pane) {
  // Each change of a row's state would be drawn at once.
  SendMessageW(pane.window, WM_SETREDRAW, FALSE, 0);
  for (int row = 0; row < RowCount(pane.rows); ++row) {
    const UINT state = ListView_GetItemState(pane.window, row, LVIS_SELECTED);
    ListView_SetItemState(pane.window, row, state ^ LVIS_SELECTED, LVIS_SELECTED);
  }
  SendMessageW(pane.window, WM_SETREDRAW, TRUE, 0);
}

std::wstring SelectedText(ValuePane& pane) {
  std::wstring text;
  int row = -1;
  while ((row = ListView_GetNextItem(pane.window, row, LVNI_SELECTED)) >= 0) {
    const CachedRow& cached = RowTexts(pane, row);
    for (size_t column = 0; column < cached.texts.size(); ++column) {
      text += cached.texts[column];
      text += column + 1 < cached.texts.size() ? L"\t" : L"\r\n";
    }
  }
  return text;
}

void OnValueDisplay(ValuePane& pane, NMLVDISPINFOW& notice) {
  LVITEMW& item = notice.item;
  if (item.iItem < 0 || item.iItem >= RowCount(pane.rows)) return;
  const CachedRow& row = RowTexts(pane, item.iItem);
  if ((item.mask & LVIF_IMAGE) != 0) item.iImage = row.icon;
  if ((item.mask & LVIF_TEXT) != 0 && item.iSubItem >= 0 && item.iSubItem < kValueColumns) {
    GiveText(item, row.texts[static_cast<size_t>(item.iSubItem)].c_str());
  }
}

int OnValueFind(const ValuePane& pane, const NMLVFINDITEMW& notice) {
  if ((notice.lvfi.flags & (LVFI_STRING | LVFI_PARTIAL)) == 0) return -1;
  const std::wstring start = notice.lvfi.psz;
  const int count = RowCount(pane.rows);
  for (int step = 0; step < count; ++step) {
    // Round the end, up to where the search began.
    const int row = (notice.iStart + step) % count;
    if (StartsWith(WindowText(NameOfRow(pane.rows, row)), start)) return row;
  }
  return -1;
}

void FitValueColumns(const ValuePane& pane, uint32_t dpi) {
  if (pane.columns_touched) return;
  const int name = pane.rows.options.technical ? kTechnicalNameWidth : kColumns[0].width;
  ListView_SetColumnWidth(pane.window, 0, Scale(name, dpi));
  RECT area;
  GetClientRect(pane.window, &area);
  int room = area.right;
  for (int column = 0; column < kValueColumns; ++column) {
    if (column != kValueColumn) room -= ListView_GetColumnWidth(pane.window, column);
  }
  ListView_SetColumnWidth(pane.window, kValueColumn, std::max(room, Scale(kLeastValueWidth, dpi)));
}

}  // namespace hivequarry
