// What the virtual lists of the program share.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "ui/draw/win.h"

namespace hivequarry {

// Titles are constants.
struct ListColumn {
  const wchar_t* title;
  int width;  // at 96 dpi
  bool right_aligned;
};

// A report list over a model, with its columns; null when it can't be had. Rows are shown once
// their count is set, and asked for with LVN_GETDISPINFO.
HWND MakeVirtualList(HWND parent, int identifier, std::span<const ListColumn> columns,
                     uint32_t dpi);
// Copies a text into what LVN_GETDISPINFO offers for it, as much as there is room for.
void GiveText(LVITEMW& item, const wchar_t* text);
// Makes each column as wide as its title and the rows in view need, the widest at most
// three quarters of the list.
void FitColumns(HWND list, uint32_t dpi);
// Keeps the columns' widths in proportion when the resolution changes.
void ScaleColumns(HWND list, uint32_t old_dpi, uint32_t new_dpi);
int ColumnCount(HWND list);
// The answer to NM_CUSTOMDRAW: what is selected has the colours of dimmed_selection.h.
LRESULT DrawListRow(NMLVCUSTOMDRAW& notice);
// The same of a row about what was deleted: pale unless it is selected, in the font given.
LRESULT DrawDeletedRow(NMLVCUSTOMDRAW& notice, HFONT struck);
// Capital and small letters alike, as typing to find wants it.
bool StartsWith(const std::wstring& text, const std::wstring& start);

}  // namespace hivequarry
