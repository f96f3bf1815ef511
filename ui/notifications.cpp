#include "ui/main_window.h"

namespace hivequarry {
namespace {

LRESULT OnTreeNotify(MainWindow& window, const NMHDR& notice) {
  switch (notice.code) {
    case TVN_ITEMEXPANDINGW:
      OnTreeExpanding(window.tree, reinterpret_cast<const NMTREEVIEWW&>(notice));
      KeepFilling(window);
      return FALSE;
    case TVN_GETDISPINFOW:
      OnTreeDisplay(window.tree,
                    const_cast<NMTVDISPINFOW&>(reinterpret_cast<const NMTVDISPINFOW&>(notice)));
      return 0;
    case TVN_GETINFOTIPW:
      OnTreeTip(window.tree, reinterpret_cast<const NMTVGETINFOTIPW&>(notice));
      return 0;
    case NM_CUSTOMDRAW:
      return OnTreeDraw(
          const_cast<NMTVCUSTOMDRAW&>(reinterpret_cast<const NMTVCUSTOMDRAW&>(notice)));
    case TVN_SELCHANGEDW:
      OnItemSelected(window, SelectedItem(window.tree));
      return 0;
    default:
      return 0;
  }
}

LRESULT OnValuesNotify(MainWindow& window, const NMHDR& notice) {
  switch (notice.code) {
    case LVN_GETDISPINFOW:
      OnValueDisplay(window.values,
                     const_cast<NMLVDISPINFOW&>(reinterpret_cast<const NMLVDISPINFOW&>(notice)));
      return 0;
    case NM_CUSTOMDRAW:
      return OnValueDraw(window.values, const_cast<NMLVCUSTOMDRAW&>(
                                            reinterpret_cast<const NMLVCUSTOMDRAW&>(notice)));
    case LVN_ODFINDITEMW:
      return OnValueFind(window.values, reinterpret_cast<const NMLVFINDITEMW&>(notice));
    case LVN_ITEMCHANGED:
    case LVN_ODSTATECHANGED:
      OnRowSelected(window);
      return 0;
    case LVN_ITEMACTIVATE:
      RunCommand(window, kCommandValueDetails);
      return 0;
    default:
      return 0;
  }
}

POINT CentreOf(HWND child) {
  RECT area;
  GetWindowRect(child, &area);
  return {(area.left + area.right) / 2, (area.top + area.bottom) / 2};
}

// Where the context menu key puts the menu: below the selected item or row.
POINT SelectedPoint(const MainWindow& window, HWND child) {
  RECT area{};
  bool known = false;
  if (child == window.tree.window) {
    const HTREEITEM item = TreeView_GetSelection(child);
    known = item != nullptr && TreeView_GetItemRect(child, item, &area, TRUE) != FALSE;
  } else {
    const int row = SelectedRow(window.values);
    known = row >= 0 && ListView_GetItemRect(child, row, &area, LVIR_LABEL) != FALSE;
  }
  if (!known) return CentreOf(child);
  POINT point{area.left, area.bottom};
  ClientToScreen(child, &point);
  return point;
}

// A right click selects the item under it: the menu is about that one.
void SelectUnder(HWND tree, POINT screen) {
  TVHITTESTINFO hit{};
  hit.pt = screen;
  ScreenToClient(tree, &hit.pt);
  const HTREEITEM item = TreeView_HitTest(tree, &hit);
  if (item != nullptr) TreeView_SelectItem(tree, item);
}

}  // namespace

LRESULT OnNotify(MainWindow& window, const NMHDR& notice) {
  if (notice.hwndFrom == window.tree.window) return OnTreeNotify(window, notice);
  if (notice.hwndFrom == window.values.window) return OnValuesNotify(window, notice);
  if (notice.code == TTN_GETDISPINFOW) {
    OnToolTip(const_cast<NMTTDISPINFOW&>(reinterpret_cast<const NMTTDISPINFOW&>(notice)));
  }
  if (notice.code == HDN_ENDTRACKW || notice.code == HDN_DIVIDERDBLCLICKW) {
    window.values.columns_touched = true;
  }
  return 0;
}

void OnContextMenu(MainWindow& window, HWND child, POINT where) {
  const bool tree = child == window.tree.window;
  if (!tree && child != window.values.window) return;
  const bool by_key = where.x == -1 && where.y == -1;
  if (by_key) {
    where = SelectedPoint(window, child);
  } else if (tree) {
    SelectUnder(child, where);
  }
  TrackContextMenu(window, tree ? kInTreeMenu : kInValueMenu, where);
}

void OnTimer(MainWindow& window, UINT_PTR timer) {
  bool more = false;
  if (timer == kExpandTimer) more = ExpandSlice(window.tree);
  if (timer == kDetailTimer) more = AddDetailSlice(window.detail);
  if (timer == kFillTimer) more = FillSlice(window.tree);
  if (!more) KillTimer(window.handle, timer);
  if (timer == kExpandTimer) KeepFilling(window);
}

void KeepFilling(const MainWindow& window) {
  if (window.tree.fills.empty()) return;
  SetTimer(window.handle, kFillTimer, kTimerPause, nullptr);
}

}  // namespace hivequarry
