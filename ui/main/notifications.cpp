#include "ui/main/notifications.h"

#include <algorithm>

#include "host/long_operation.h"
#include "ui/commands/bookmark_acts.h"
#include "ui/draw/tones.h"
#include "ui/frame/list_view.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_notify.h"
#include "ui/main/expanding.h"
#include "ui/main/main_window.h"
#include "ui/main/removed.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"

namespace hivequarry {
namespace {

// A branch of the hive is being filled.
bool IsFilled(const WindowHive& hive) {
  return !hive.pane.fills.empty() || !hive.removed_pane.fills.empty() ||
         !hive.freed_pane.fills.empty();
}

// The next slice of one of them; true while there is more.
bool FillSlices(WindowHive& hive) {
  return FillSlice(hive.pane) || FillSlice(hive.removed_pane) || FillSlice(hive.freed_pane);
}

bool IsControlKey(WORD pressed, WORD key) { return pressed == key && GetKeyState(VK_CONTROL) < 0; }

// TRUE keeps the branch closed: what is in it is worked out first.
LRESULT OnExpanding(MainWindow& window, const NMTREEVIEWW& notice) {
  if (OnRemovedExpanding(window, notice)) return TRUE;
  OnTreeExpanding(PaneOfItem(window, notice.itemNew.lParam), notice);
  KeepFilling(window);
  return FALSE;
}

// Several trees are in the control: the lParam of an item says whose it is.
LRESULT OnTreeNotify(MainWindow& window, const NMHDR& notice) {
  switch (notice.code) {
    case TVN_ITEMEXPANDINGW:
      return OnExpanding(window, reinterpret_cast<const NMTREEVIEWW&>(notice));
    case TVN_GETDISPINFOW: {
      auto& item = const_cast<NMTVDISPINFOW&>(reinterpret_cast<const NMTVDISPINFOW&>(notice));
      OnTreeDisplay(PaneOfItem(window, item.item.lParam), item);
      return 0;
    }
    case TVN_GETINFOTIPW: {
      const auto& item = reinterpret_cast<const NMTVGETINFOTIPW&>(notice);
      OnTreeTip(PaneOfItem(window, item.lParam), item);
      return 0;
    }
    case NM_CUSTOMDRAW: {
      auto& item = const_cast<NMTVCUSTOMDRAW&>(reinterpret_cast<const NMTVCUSTOMDRAW&>(notice));
      return OnTreeDraw(PaneOfItem(window, item.nmcd.lItemlParam), item);
    }
    case TVN_SELCHANGEDW:
      FollowSelection(window, reinterpret_cast<const NMTREEVIEWW&>(notice).itemNew.lParam);
      return 0;
    case TVN_KEYDOWN:
      if (IsControlKey(reinterpret_cast<const NMTVKEYDOWN&>(notice).wVKey, 'C')) {
        RunCommand(window, kCommandCopyKeyName);
      }
      return 0;
    default:
      return 0;
  }
}

// A row of the Workspace leads to its hive, one of a value to its details.
void OnRowActivated(MainWindow& window) {
  if (IsWorkspaceSelected(window.viewed->pane)) {
    WindowHive* const hive = HiveOfWorkspaceRow(window, SelectedRow(window.values));
    return SelectItem(hive == nullptr ? window.viewed->pane : hive->pane, 0);
  }
  RunCommand(window, kCommandValueDetails);
}

void OnValuesKey(MainWindow& window, WORD key) {
  if (IsControlKey(key, 'A')) RunCommand(window, kCommandSelectAllValues);
  if (IsControlKey(key, 'C')) RunCommand(window, kCommandCopyValues);
}

// A deleted value is pale and has a line through it.
LRESULT DrawValueRow(const MainWindow& window, NMLVCUSTOMDRAW& notice) {
  const bool row = notice.nmcd.dwDrawStage == CDDS_ITEMPREPAINT;
  return row && IsDeletedRow(window.values.rows, static_cast<int>(notice.nmcd.dwItemSpec))
             ? DrawDeletedRow(notice, window.look.fonts.struck)
             : DrawListRow(notice);
}

LRESULT OnValuesNotify(MainWindow& window, const NMHDR& notice) {
  switch (notice.code) {
    case LVN_GETDISPINFOW:
      OnValueDisplay(window.values,
                     const_cast<NMLVDISPINFOW&>(reinterpret_cast<const NMLVDISPINFOW&>(notice)));
      return 0;
    case NM_CUSTOMDRAW:
      return DrawValueRow(
          window, const_cast<NMLVCUSTOMDRAW&>(reinterpret_cast<const NMLVCUSTOMDRAW&>(notice)));
    case LVN_ODFINDITEMW:
      return OnValueFind(window.values, reinterpret_cast<const NMLVFINDITEMW&>(notice));
    case LVN_ITEMCHANGED:
    // A virtual list tells of a range of rows with one of these.
    case LVN_ODSTATECHANGED:
      OnRowSelected(window);
      return 0;
    case LVN_ITEMACTIVATE:
      OnRowActivated(window);
      return 0;
    case LVN_KEYDOWN:
      OnValuesKey(window, reinterpret_cast<const NMLVKEYDOWN&>(notice).wVKey);
      return 0;
    default:
      return 0;
  }
}

LRESULT OnBandNotify(MainWindow& window, const NMHDR& notice) {
  if (notice.code == TBN_GETINFOTIPW) {
    OnBandTip(window.band,
              const_cast<NMTBGETINFOTIPW&>(reinterpret_cast<const NMTBGETINFOTIPW&>(notice)));
  }
  if (notice.code != NM_CUSTOMDRAW) return 0;
  return OnBandDraw(window.band,
                    const_cast<NMTBCUSTOMDRAW&>(reinterpret_cast<const NMTBCUSTOMDRAW&>(notice)));
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
  if (child == window.controls.tree) {
    const HTREEITEM item = TreeView_GetSelection(child);
    known = item != nullptr && TreeView_GetItemRect(child, item, &area, TRUE) != FALSE;
  } else if (child == window.values.window) {
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
  const HWND from = notice.hwndFrom;
  if (from == window.controls.tree) return OnTreeNotify(window, notice);
  if (from == window.values.window) return OnValuesNotify(window, notice);
  // A list hands on what its header says, which is the sender then.
  if (from == window.output.list || GetParent(from) == window.output.list) {
    return OnListNotify(window.output, notice);
  }
  if (from == window.bookmarks.list) return OnBookmarkNotify(window, notice);
  if (from == window.controls.status && notice.code == NM_CLICK) {
    const auto part = reinterpret_cast<const NMMOUSE&>(notice).dwItemSpec;
    if (part == kStatusState) RunCommand(window, kCommandHiveState);
    return TRUE;
  }
  if (from == window.band.window) return OnBandNotify(window, notice);
  if (notice.code == TTN_GETDISPINFOW) {
    OnToolTip(window, const_cast<NMTTDISPINFOW&>(reinterpret_cast<const NMTTDISPINFOW&>(notice)));
  }
  if (GetParent(from) == window.bookmarks.list) return 0;
  // Of all headers that of the values alone is left by now.
  if (notice.code == HDN_ENDTRACKW || notice.code == HDN_DIVIDERDBLCLICKW) {
    window.values.columns_touched = true;
  }
  return 0;
}

void OnContextMenu(MainWindow& window, HWND child, POINT where) {
  if (OnListContextMenu(window.output, child, where)) return;
  if (child == window.bookmarks.list) return TrackBookmarkMenu(window, where);
  const bool tree = child == window.controls.tree;
  if (!tree && child != window.values.window && child != window.controls.path) return;
  const bool by_key = where.x == -1 && where.y == -1;
  if (by_key) {
    where = SelectedPoint(window, child);
  } else if (tree) {
    SelectUnder(child, where);
  }
  if (tree) {
    const bool workspace = IsWorkspaceSelected(window.viewed->pane);
    return TrackContextMenu(
        window, workspace ? CommandPlace::kWorkspaceMenu : CommandPlace::kTreeMenu, where);
  }
  TrackContextMenu(
      window, child == window.controls.path ? CommandPlace::kPathMenu : CommandPlace::kValueMenu,
      where);
}

void ShowPassingText(const MainWindow& window, const char* text) {
  ShowStatus(text);
  SetTimer(window.handle, kPassingTimer, kPassingTime, nullptr);
}

// Each part of the work takes some tens of milliseconds, so that messages in between are answered;
// a timer with nothing left ends itself.
void OnTimer(MainWindow& window, UINT_PTR timer) {
  bool more = false;
  if (timer == kExpandTimer) return ExpandOn(window);
  if (timer == kDetailTimer) more = AddDetailSlice(window.viewer.detail);
  if (timer == kFillTimer) {
    for (const auto& hive : window.hives) more = more || FillSlices(*hive);
  }
  // While a long operation runs, the text that is there is its own.
  if (timer == kPassingTimer && TheLongOperation().running == 0) ShowStatus("");
  if (!more) KillTimer(window.handle, timer);
}

void KeepFilling(const MainWindow& window) {
  const bool fills = std::any_of(window.hives.begin(), window.hives.end(),
                                 [](const auto& hive) { return IsFilled(*hive); });
  if (fills) SetTimer(window.handle, kFillTimer, kTimerPause, nullptr);
}

}  // namespace hivequarry
