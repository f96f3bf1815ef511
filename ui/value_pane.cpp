#include "ui/value_pane.h"

#include <algorithm>

#include "hive/value_key.h"
#include "hive/value_text.h"
#include "ui/dimmed_selection.h"
#include "ui/dpi.h"
#include "ui/list_view.h"
#include "ui/text.h"

namespace hivequarry {
namespace {

constexpr ListColumn kColumns[kValueColumns] = {
    {L"Name", 220, false}, {L"Type", 130, false}, {L"Value", 360, false}, {L"Position", 96, false}};
constexpr int kValueColumn = 2;
constexpr int kLeastValueWidth = 160;
constexpr int kTechnicalNameWidth = 320;  // the name stands behind three numbers there

ValueRow MakeRow(const ValuePane& pane, int row) {
  const auto index = static_cast<size_t>(row);
  const size_t info_rows = pane.values.info_rows.size();
  if (index < info_rows) return pane.values.info_rows[index];
  return MakeValueRow(*pane.hive, pane.values.value_positions[index - info_rows], pane.options);
}

const CachedRow& RowTexts(ValuePane& pane, int row) {
  CachedRow& cached = pane.cache[static_cast<size_t>(row) % kCachedRows];
  if (cached.row == row) return cached;
  const ValueRow made = MakeRow(pane, row);
  cached.row = row;
  cached.texts = {WindowText(made.name), WindowText(made.type), WindowText(made.data),
                  WindowText(made.position)};
  cached.icon = made.icon;
  return cached;
}

void ForgetRows(ValuePane& pane) {
  for (CachedRow& cached : pane.cache) cached.row = -1;
}

bool StartsWith(const std::wstring& text, const std::wstring& start) {
  const auto length = static_cast<int>(start.size());
  return text.size() >= start.size() &&
         CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, text.c_str(), length, start.c_str(),
                        length) == CSTR_EQUAL;
}

std::wstring NameOfRow(const ValuePane& pane, int row) {
  const uint32_t position = ValueOfRow(pane, row);
  if (position == kNoOffset) return WindowText(MakeRow(pane, row).name);
  return WindowText(
      ValueDisplayName(ReadValueKey(*pane.hive, position, ValueRead::kName, 0, nullptr)));
}

}  // namespace

HWND MakeValuePane(HWND parent, int identifier, uint32_t dpi) {
  return MakeVirtualList(parent, identifier, kColumns, dpi);
}

void ClearValues(ValuePane& pane) {
  ListView_SetItemCount(pane.window, 0);
  pane.values = ItemValues();
  pane.hive = nullptr;
  ForgetRows(pane);
}

void ShowValues(ValuePane& pane, const HiveImage& hive, ItemValues values,
                const ValueViewOptions& options) {
  ClearValues(pane);
  pane.hive = &hive;
  pane.values = std::move(values);
  pane.options = options;
  ListView_SetItemState(pane.window, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  ListView_SetItemCountEx(pane.window, ValueRowCount(pane), 0);
  if (ValueRowCount(pane) > 0) ListView_EnsureVisible(pane.window, 0, FALSE);
}

int ValueRowCount(const ValuePane& pane) {
  return static_cast<int>(pane.values.info_rows.size() + pane.values.value_positions.size());
}

uint32_t ValueOfRow(const ValuePane& pane, int row) {
  const auto info_rows = static_cast<int>(pane.values.info_rows.size());
  if (row < info_rows || row >= ValueRowCount(pane)) return kNoOffset;
  return pane.values.value_positions[static_cast<size_t>(row - info_rows)];
}

int SelectedRow(const ValuePane& pane) {
  const int focused = ListView_GetNextItem(pane.window, -1, LVNI_FOCUSED | LVNI_SELECTED);
  return focused >= 0 ? focused : ListView_GetNextItem(pane.window, -1, LVNI_SELECTED);
}

void OnValueDisplay(ValuePane& pane, NMLVDISPINFOW& notice) {
  LVITEMW& item = notice.item;
  if (item.iItem < 0 || item.iItem >= ValueRowCount(pane)) return;
  const CachedRow& row = RowTexts(pane, item.iItem);
  if ((item.mask & LVIF_IMAGE) != 0) item.iImage = row.icon;
  if ((item.mask & LVIF_TEXT) != 0 && item.iSubItem >= 0 && item.iSubItem < kValueColumns) {
    GiveText(item, row.texts[static_cast<size_t>(item.iSubItem)].c_str());
  }
}

LRESULT OnValueDraw(const ValuePane& pane, NMLVCUSTOMDRAW& notice) {
  if (notice.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  if (notice.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return CDRF_DODEFAULT;
  // A list reports every row as selected, and paints selected ones in its own colours only.
  const auto row = static_cast<int>(notice.nmcd.dwItemSpec);
  if (ListView_GetItemState(pane.window, row, LVIS_SELECTED) == 0) return CDRF_DODEFAULT;
  if (!IsDimmedSelection(notice.nmcd)) return CDRF_DODEFAULT;
  notice.nmcd.uItemState &= ~static_cast<UINT>(CDIS_SELECTED);
  SetDimmedColours(notice.clrText, notice.clrTextBk);
  return CDRF_DODEFAULT;
}

int OnValueFind(const ValuePane& pane, const NMLVFINDITEMW& notice) {
  if ((notice.lvfi.flags & (LVFI_STRING | LVFI_PARTIAL)) == 0) return -1;
  const std::wstring start = notice.lvfi.psz;
  const int count = ValueRowCount(pane);
  for (int step = 0; step < count; ++step) {
    const int row = (notice.iStart + step) % count;
    if (StartsWith(NameOfRow(pane, row), start)) return row;
  }
  return -1;
}

void FitValueColumns(const ValuePane& pane, uint32_t dpi) {
  if (pane.columns_touched) return;
  const int name = pane.options.technical ? kTechnicalNameWidth : kColumns[0].width;
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
