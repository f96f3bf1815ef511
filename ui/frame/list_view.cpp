#include "ui/frame/list_view.h"

#include <algorithm>
#include <array>

#include "ui/draw/dimmed_selection.h"
#include "ui/draw/dpi.h"
#include "ui/draw/tones.h"
#include "ui/draw/win.h"

namespace hivequarry {
namespace {

// Characters of a cell or a title that are measured.
constexpr int kMaxCell = 512;
// At 96 dpi: what a cell takes beside its text, and the picture in the first column.
constexpr int kCellMargin = 14;
constexpr int kIconRoom = 22;

// Pixels, of the rows [first, last).
int WidestText(HWND list, int column, int first, int last) {
  std::array<wchar_t, kMaxCell> text{};
  int widest = 0;
  for (int row = first; row < last; ++row) {
    text[0] = L'\0';
    ListView_GetItemText(list, row, column, text.data(), kMaxCell);
    widest = std::max(widest, ListView_GetStringWidth(list, text.data()));
  }
  return widest;
}

int TitleWidth(HWND list, int column) {
  std::array<wchar_t, kMaxCell> text{};
  LVCOLUMNW info{};
  info.mask = LVCF_TEXT;
  info.pszText = text.data();
  info.cchTextMax = kMaxCell;
  ListView_GetColumn(list, column, &info);
  return ListView_GetStringWidth(list, text.data());
}

}  // namespace

HWND MakeVirtualList(HWND parent, int identifier, std::span<const ListColumn> columns,
                     uint32_t dpi) {
  const HWND list = CreateWindowExW(
      0, WC_LISTVIEWW, L"",
      WS_CHILD | WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS | LVS_SHAREIMAGELISTS,
      0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)), nullptr,
      nullptr);
  if (list == nullptr) return nullptr;
  const DWORD style =
      LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP | LVS_EX_HEADERDRAGDROP;
  ListView_SetExtendedListViewStyleEx(list, style, style);
  SetWindowTheme(list, ListTheme(), nullptr);
  int index = 0;
  for (const ListColumn& column : columns) {
    LVCOLUMNW info{};
    info.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
    info.fmt = column.right_aligned ? LVCFMT_RIGHT : LVCFMT_LEFT;
    info.cx = Scale(column.width, dpi);
    info.pszText = const_cast<wchar_t*>(column.title);
    ListView_InsertColumn(list, index++, &info);
  }
  return list;
}

void GiveText(LVITEMW& item, const wchar_t* text) {
  if (item.cchTextMax > 0) lstrcpynW(item.pszText, text, item.cchTextMax);
}

int ColumnCount(HWND list) { return Header_GetItemCount(ListView_GetHeader(list)); }

// Of the rows in sight alone: a list may have millions, and each text would have to be made first.
void FitColumns(HWND list, uint32_t dpi) {
  RECT area;
  GetClientRect(list, &area);
  const int first = ListView_GetTopIndex(list);
  const int last =
      std::min(ListView_GetItemCount(list), first + ListView_GetCountPerPage(list) + 1);
  for (int column = 0; column < ColumnCount(list); ++column) {
    const int text = std::max(TitleWidth(list, column), WidestText(list, column, first, last));
    const int icon = column == 0 ? Scale(kIconRoom, dpi) : 0;
    const int width = std::min<int>(text + icon + Scale(kCellMargin, dpi), area.right * 3 / 4);
    ListView_SetColumnWidth(list, column, width);
  }
}

LRESULT DrawListRow(NMLVCUSTOMDRAW& notice) {
  if (notice.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  if (notice.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return CDRF_DODEFAULT;
  // A list reports every row as selected, and paints selected ones in its own colours only.
  const auto row = static_cast<int>(notice.nmcd.dwItemSpec);
  const HWND list = notice.nmcd.hdr.hwndFrom;
  if (ListView_GetItemState(list, row, LVIS_SELECTED) == 0) return CDRF_DODEFAULT;
  if (!HasOwnSelection(notice.nmcd)) return CDRF_DODEFAULT;
  notice.nmcd.uItemState &= ~static_cast<UINT>(CDIS_SELECTED);
  SetSelectionColours(notice.nmcd, notice.clrText, notice.clrTextBk);
  return CDRF_DODEFAULT;
}

LRESULT DrawDeletedRow(NMLVCUSTOMDRAW& notice, HFONT struck) {
  const LRESULT drawn = DrawListRow(notice);
  if (notice.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return drawn;
  const auto row = static_cast<int>(notice.nmcd.dwItemSpec);
  const UINT selected = ListView_GetItemState(notice.nmcd.hdr.hwndFrom, row, LVIS_SELECTED);
  if (selected == 0) notice.clrText = ColourOf(Tone::kPale);
  SelectObject(notice.nmcd.hdc, struck);
  return CDRF_NEWFONT;
}

bool StartsWith(const std::wstring& text, const std::wstring& start) {
  const auto length = static_cast<int>(start.size());
  return text.size() >= start.size() &&
         CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, text.c_str(), length, start.c_str(),
                        length) == CSTR_EQUAL;
}

void ScaleColumns(HWND list, uint32_t old_dpi, uint32_t new_dpi) {
  for (int column = 0; column < ColumnCount(list); ++column) {
    const int width = ListView_GetColumnWidth(list, column);
    ListView_SetColumnWidth(list, column,
                            MulDiv(width, static_cast<int>(new_dpi), static_cast<int>(old_dpi)));
  }
}

}  // namespace hivequarry
