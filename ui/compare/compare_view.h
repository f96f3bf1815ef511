// The two lists of a window that compares: what they show of the compared keys and values.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ui/compare/compare_dialog.h"
#include "ui/compare/compare_window.h"
#include "ui/frame/list_view.h"
#include "ui/main/main_window.h"

namespace hivequarry {

inline constexpr int kFirstValuesHeight = 200;  // at 96 dpi

// Goes with its window.
struct CompareWindow {
  MainWindow* owner = nullptr;
  uint32_t hive = 0;  // A
  HWND handle = nullptr;
  HWND last_focus = nullptr;
  HWND keys = nullptr;
  HWND values = nullptr;
  HWND splitter = nullptr;
  HWND status = nullptr;
  // What A and B are, above the keys.
  HWND heads[2] = {};
  Fonts fonts;
  IconLists icons;
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  int values_height = kFirstValuesHeight;  // at 96 dpi
  // Shared with a worker that lists or writes what is in it.
  std::shared_ptr<ComparedHives> hives;
  uint32_t selected = kNoItem;  // number of the key whose values are shown
  std::vector<ComparedValueRow> rows;
  bool filling = false;  // rows come and go, and what is selected with them
};
inline CompareTree& TreeOf(CompareWindow& window) { return window.hives->tree; }

// The number of the key in a row of the keys; kNoItem for no row.
uint32_t KeyOfRow(const CompareWindow& window, int row);
// The row of the keys that has the focus; -1 for none.
int FocusedKeyRow(const CompareWindow& window);
// One row alone is selected, and in view.
void FocusKeyRow(CompareWindow& window, size_t row);

// LVN_GETDISPINFO of both lists. Deep keys are indented no further than some levels, so that their
// names stay in view.
void OnKeyDisplay(const CompareWindow& window, LVITEMW& item);
void OnValueDisplay(const CompareWindow& window, LVITEMW& item);
// NM_CUSTOMDRAW of both: a selected row keeps the colours of selections.
LRESULT DrawComparedRow(const CompareWindow& window, NMLVCUSTOMDRAW& notice);

// The rows of the values, of the key that is selected.
void FillValues(CompareWindow& window);
// The values of the key in focus, and its path in the status bar.
void ShowValues(CompareWindow& window);
// The rows of the keys are others now; the key stays selected, or the nearest one above it that is
// still in view.
void ShowRows(CompareWindow& window, uint32_t key);

}  // namespace hivequarry
