#include "ui/main/layout.h"

#include <algorithm>
#include <array>
#include <vector>

#include "app/settings.h"
#include "ui/draw/text_size.h"
#include "ui/frame/child_place.h"
#include "ui/frame/list_view.h"
#include "ui/frame/splitter.h"
#include "ui/main/main_window.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"

namespace hivequarry {
namespace {

// At 96 dpi.
constexpr int kMargin = 4;
constexpr int kPathMargin = 4;     // above and below its text
constexpr int kToolbarMargin = 2;  // above and below its rows
constexpr int kLeastPane = 80;
constexpr int kSmallIcon = 16;
constexpr int kToolIcon = 20;
// What window.layout.detail_share is where the details have all of the height.
constexpr int kShareWhole = 10000;

int HeightOf(HWND child) {
  RECT area;
  GetWindowRect(child, &area);
  return area.bottom - area.top;
}

// A size that leaves both sides of a splitter something to show.
int Clamp(const MainWindow& window, int size, int whole) {
  const int least = Scale(kLeastPane, window.dpi);
  return std::clamp(size, least, std::max(least, whole - least));
}

// What lies between the toolbar and the status bar.
RECT PaneArea(MainWindow& window, const RECT& client) {
  RECT area = client;
  area.bottom -= HeightOf(window.controls.status);
  const int side = Scale(kMargin, window.dpi);
  const int margin = Scale(kToolbarMargin, window.dpi);
  ShowChild(window.controls.toolbar, TheSettings().toolbar);
  if (!TheSettings().toolbar) {
    area.top += margin;
    return area;
  }
  const int height = WrapToolbar(window, area.right - 2 * side);
  PlaceChild(window.controls.toolbar, {side, margin, area.right - side, margin + height});
  area.top += height + 2 * margin;
  return area;
}

// Only an edit of several lines can have its text in the middle of its height.
void CentrePathText(const MainWindow& window, int text_height) {
  RECT area;
  GetClientRect(window.controls.path, &area);
  InflateRect(&area, -Scale(kMargin, window.dpi), 0);
  area.top = (area.bottom - text_height) / 2;
  SendMessageW(window.controls.path, EM_SETRECT, 0, reinterpret_cast<LPARAM>(&area));
}

// This and PlaceBand take the area that is left, in the client area, and return what is left of it
// then.
RECT PlacePath(MainWindow& window, RECT area) {
  const int margin = Scale(kMargin, window.dpi);
  const int text = LineHeight(window.look.fonts.text);
  const int height = text + 2 * Scale(kPathMargin, window.dpi);
  PlaceChild(window.controls.path,
             {area.left + margin, area.top, area.right - margin, area.top + height});
  CentrePathText(window, text);
  area.top += height + margin;
  return area;
}

// Without a hive it takes no room.
RECT PlaceBand(MainWindow& window, RECT area) {
  const int margin = Scale(kMargin, window.dpi);
  const int height = FillBand(window, std::max<int>(area.right - area.left - 2 * margin, 1));
  PlaceChild(window.band.window,
             {area.left + margin, area.top, area.right - margin, area.top + height});
  if (height != 0) area.top += height + margin;
  return area;
}

// The share of the details is of the whole height, so it stays when the window grows.
void PlaceRightSide(MainWindow& window, const RECT& area) {
  const int bar = Scale(kSplitterWidth, window.dpi);
  int detail = 0;
  if (window.layout.detail_shown) {
    const int height = area.bottom - area.top;
    detail = Clamp(window, MulDiv(height, window.layout.detail_share, kShareWhole), height);
    const int top = area.bottom - detail;
    PlaceChild(window.controls.detail_splitter, {area.left, top - bar, area.right, top});
    PlaceChild(window.viewer.window, {area.left, top, area.right, area.bottom});
    detail += bar;
  }
  PlaceChild(window.values.window, {area.left, area.top, area.right, area.bottom - detail});
  FitValueColumns(window.values, window.dpi);
}

// The tree has a fixed width at 96 dpi, the right side what is left of the window.
void PlacePanes(MainWindow& window, const RECT& area) {
  if (window.layout.arrangement == kTreeArrangement) return PlaceChild(window.controls.tree, area);
  const int bar = Scale(kSplitterWidth, window.dpi);
  const int width =
      Clamp(window, Scale(window.layout.tree_width, window.dpi), area.right - area.left);
  const int edge = area.left + width;
  PlaceChild(window.controls.tree, {area.left, area.top, edge, area.bottom});
  PlaceChild(window.controls.tree_splitter, {edge, area.top, edge + bar, area.bottom});
  PlaceRightSide(window, {edge + bar, area.top, area.right, area.bottom});
}

void SetFont(HWND child, HFONT font) {
  SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
}

void SetFonts(MainWindow& window) {
  for (const HWND child :
       {window.controls.toolbar, window.controls.path, window.band.window, window.controls.tree,
        window.values.window, window.output.list, window.bookmarks.label, window.bookmarks.words,
        window.bookmarks.list, window.controls.status, window.controls.empty}) {
    SetFont(child, window.look.fonts.text);
  }
  SetFilterFont(window.filter, window.look.fonts.text);
  SetViewerLook(window.viewer, window.look.fonts, window.dpi);
}

// The panes that Tab goes to, one after the other.
std::vector<HWND> FocusOrder(const MainWindow& window) {
  const auto [detail, hex, meaning] = ViewerPanes(window.viewer);
  return {window.controls.path,
          window.band.window,
          window.controls.tree,
          window.controls.tree_splitter,
          window.values.window,
          window.controls.detail_splitter,
          detail,
          hex,
          meaning,
          window.filter.words,
          window.filter.match_case,
          window.filter.whole_words,
          window.filter.regular,
          window.output.list,
          window.bookmarks.splitter,
          window.bookmarks.words,
          window.bookmarks.list,
          window.controls.toolbar};
}

// Where the focus belongs when the pane that had it is no longer shown.
void FocusShownPane(const MainWindow& window) {
  if (GetActiveWindow() != window.handle) return;
  const HWND focus = GetFocus();
  if (focus != window.handle && focus != nullptr && IsWindowVisible(focus) != FALSE) return;
  SetFocus(ShownPane(window));
}

}  // namespace

void LayOut(MainWindow& window) {
  // First: the panes end where the status bar begins.
  LayOutStatus(window);
  RECT client;
  GetClientRect(window.handle, &client);
  const RECT area = PlaceBookmarkPane(window, PaneArea(window, client));
  PlaceChild(window.controls.empty, area);
  RECT list = area;
  list.top += PlaceFilterBox(window.filter, window.dpi, area.left, area.right, area.top);
  PlaceChild(window.output.list, list);
  FitListColumns(window.output);
  PlacePanes(window, PlaceBand(window, PlacePath(window, area)));
}

void MoveSplitter(MainWindow& window, int splitter, int distance) {
  if (splitter == kBookmarkSplitterId) return MoveBookmarkSplitter(window, distance);
  RECT area;
  if (splitter == kTreeSplitterId) {
    GetClientRect(window.handle, &area);
    const int wanted = Scale(window.layout.tree_width, window.dpi) + distance;
    window.layout.tree_width = MulDiv(Clamp(window, wanted, area.right), USER_DEFAULT_SCREEN_DPI,
                                      static_cast<int>(window.dpi));
  } else {
    const int values = HeightOf(window.values.window);
    const int detail = HeightOf(window.viewer.window);
    const int whole = values + detail + Scale(kSplitterWidth, window.dpi);
    window.layout.detail_share =
        MulDiv(Clamp(window, detail - distance, whole), kShareWhole, std::max(whole, 1));
  }
  LayOut(window);
  // Drawn at once: while the bar is dragged, messages of the mouse come before those of drawing.
  UpdateWindow(window.handle);
}

void RefreshLook(MainWindow& window) {
  Fonts old_fonts = window.look.fonts;
  IconLists old_icons = window.look.icons;
  window.look.fonts = MakeFonts(window.dpi);
  window.look.icons = MakeIconLists(Scale(kSmallIcon, window.dpi), Scale(kToolIcon, window.dpi));
  SetFonts(window);
  for (const auto& hive : window.hives) hive->freed_pane.struck = window.look.fonts.struck;
  window.output.struck = window.look.fonts.struck;
  TreeView_SetImageList(window.controls.tree, window.look.icons.tree, TVSIL_NORMAL);
  TreeView_SetItemHeight(window.controls.tree, std::max(LineHeight(window.look.fonts.text),
                                                        Scale(kSmallIcon, window.dpi)) +
                                                   Scale(kMargin, window.dpi));
  TreeView_SetIndent(window.controls.tree, Scale(19, window.dpi));
  ListView_SetImageList(window.values.window, window.look.icons.values, LVSIL_SMALL);
  ListView_SetImageList(window.output.list, window.look.icons.values, LVSIL_SMALL);
  ListView_SetImageList(window.bookmarks.list, window.look.icons.values, LVSIL_SMALL);
  SetToolbarIcons(window);
  ShowHiveState(window);
  // By now no control uses the old ones any more.
  FreeFonts(old_fonts);
  FreeIconLists(old_icons);
}

void ApplyDpi(MainWindow& window, uint32_t dpi) {
  const uint32_t old_dpi = window.dpi;
  if (dpi == old_dpi || dpi == 0) return;
  window.dpi = dpi;
  RefreshLook(window);
  ScaleColumns(window.values.window, old_dpi, dpi);
  ScaleColumns(window.output.list, old_dpi, dpi);
  ScaleColumns(window.bookmarks.list, old_dpi, dpi);
  LayOut(window);
  RedrawWindow(window.handle, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void ShowPanes(MainWindow& window) {
  const bool output = window.layout.arrangement == kOutputArrangement;
  const bool keys = LoadedHives(window) != 0 && !output;
  const bool values = keys && window.layout.arrangement == kKeysArrangement;
  for (const HWND pane : {window.controls.path, window.band.window, window.controls.tree})
    ShowChild(pane, keys);
  for (const HWND pane : {window.controls.tree_splitter, window.values.window})
    ShowChild(pane, values);
  for (const HWND pane : {window.controls.detail_splitter, window.viewer.window}) {
    ShowChild(pane, values && window.layout.detail_shown);
  }
  ShowChild(window.output.list, output);
  ShowBookmarkPane(window);
  for (const HWND child : ChildrenOf(window.filter)) ShowChild(child, output);
  ShowChild(window.controls.empty, !keys && !output);
  InvalidateRect(window.controls.empty, nullptr, FALSE);
}

void ShowArrangement(MainWindow& window, int arrangement) {
  if (arrangement == window.layout.arrangement) return;
  window.layout.arrangement = arrangement;
  std::array<int, 3>& recent = window.layout.recent_arrangements;
  std::rotate(recent.begin(), recent.end() - 1, recent.end());
  recent[0] = arrangement;
  LayOut(window);
  ShowPanes(window);
  FocusShownPane(window);
  ShowCounts(window);
  UpdateToolbar(window);
}

int NextArrangement(int arrangement) {
  if (arrangement == kKeysArrangement) return kOutputArrangement;
  return arrangement == kOutputArrangement ? kTreeArrangement : kKeysArrangement;
}

int LastArrangement(const MainWindow& window) {
  for (const int arrangement : window.layout.recent_arrangements) {
    if (arrangement != 0 && arrangement != kOutputArrangement) return arrangement;
  }
  return kKeysArrangement;
}

void FocusNextPane(MainWindow& window, bool backward) {
  const std::vector<HWND> order = FocusOrder(window);
  const auto count = static_cast<int>(order.size());
  const HWND focus = GetFocus();
  const auto found = std::find(order.begin(), order.end(), focus);
  int at = found == order.end() ? (backward ? 0 : -1) : static_cast<int>(found - order.begin());
  for (int step = 0; step < count; ++step) {
    at = (at + (backward ? count - 1 : 1)) % count;
    const HWND pane = order[static_cast<size_t>(at)];
    if (IsWindowVisible(pane) != FALSE) {
      SetFocus(pane);
      return;
    }
  }
}

}  // namespace hivequarry
