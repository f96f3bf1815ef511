// The value pane: a virtual list over the rows of the selected tree item. Texts are made when they
// are drawn.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "ui/draw/win.h"
#include "view/value_rows.h"

namespace hivequarry {

inline constexpr int kValueColumns = 4;
// About what a screen shows: rows in view seldom take each other's place in the cache.
inline constexpr size_t kCachedRows = 128;

// A row as it was drawn last.
struct CachedRow {
  int row = -1;  // -1: none is kept here
  std::array<std::wstring, kValueColumns> texts;
  int icon = 0;
};

// A virtual list: the control asks for each row's texts when it draws it.
struct ValuePane {
  HWND window = nullptr;
  ValueRows rows;
  std::array<CachedRow, kCachedRows> cache;  // a row has one place, by its number
  bool columns_touched = false;              // the user's widths stay as they are
};

// The parent places it; null when it can't be had.
HWND MakeValuePane(HWND parent, int identifier, uint32_t dpi);
// Replaces the rows, of which none is selected then. What the rows look at (the hive, what was
// deleted) must stay until the next call.
void ShowValues(ValuePane& pane, ValueRows rows);
void ClearValues(ValuePane& pane);
// The row selected and in focus, else the first selected one, -1 for none.
int SelectedRow(const ValuePane& pane);

// Info rows too, as everything that the pane shows can be copied.
void SelectAllRows(const ValuePane& pane);
void InvertRows(const ValuePane& pane);
// The texts of the selected rows, a line each, columns separated by tabs.
std::wstring SelectedText(ValuePane& pane);

// LVN_GETDISPINFO and LVN_ODFINDITEM (type to find).
void OnValueDisplay(ValuePane& pane, NMLVDISPINFOW& notice);
int OnValueFind(const ValuePane& pane, const NMLVFINDITEMW& notice);

// Widths for the view shown: the value column takes the room that the others leave. Once the user
// chose widths they stay.
void FitValueColumns(const ValuePane& pane, uint32_t dpi);

}  // namespace hivequarry
