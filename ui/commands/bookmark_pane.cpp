#include "ui/commands/bookmark_pane.h"

#include <algorithm>
#include <optional>

#include "ui/commands/bookmark_acts.h"
#include "ui/commands/bookmark_rows.h"
#include "ui/draw/text_size.h"
#include "ui/frame/child_place.h"
#include "ui/frame/list_view.h"
#include "ui/frame/splitter.h"
#include "ui/frame/system_facts.h"
#include "ui/main/main_window.h"
#include "ui/main/toolbar.h"

namespace hivequarry {
namespace {

// At 96 dpi.
constexpr int kMargin = 4;
constexpr int kLeast = 90;         // of the pane
constexpr int kLeastOthers = 140;  // of what is beside it
constexpr wchar_t kLabel[] = L"Bookmarks with:";

// The label and the box of words in one line, the list below; `area` in the main window's client
// area.
void PlaceChildren(const MainWindow& window, const RECT& area) {
  const BookmarkPane& pane = window.bookmarks;
  const int margin = Scale(kMargin, window.dpi);
  const int line = LineHeight(window.look.fonts.text) + 2 * margin;
  const LONG edge = area.left + margin + TextSize(window.look.fonts.text, kLabel).cx + margin;
  const LONG top = area.top + margin;
  PlaceChild(pane.label, {area.left + margin, top + margin, edge, top + line});
  PlaceChild(pane.words, {edge, top, area.right - margin, top + line});
  PlaceChild(pane.list, {area.left, top + line + margin, area.right, area.bottom});
}

// As large as it is to be, as far as the others keep some room.
int SizeWithin(const MainWindow& window, int wanted, int whole) {
  const int least = Scale(kLeast, window.dpi);
  const int most = std::max(least, whole - Scale(kLeastOthers, window.dpi));
  return std::clamp(Scale(wanted, window.dpi), std::min(least, most), most);
}

}  // namespace

bool MakeBookmarkPane(MainWindow& window) {
  BookmarkPane& pane = window.bookmarks;
  pane.rows = std::make_shared<BookmarkRows>();
  const auto identifier = [](int id) { return reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)); };
  pane.splitter = MakeSplitter(window.handle, kBookmarkSplitterId, false, L"Edge of the bookmarks");
  pane.label = CreateWindowExW(0, WC_STATICW, kLabel, WS_CHILD | SS_NOPREFIX, 0, 0, 0, 0,
                               window.handle, nullptr, window.instance, nullptr);
  pane.words =
      CreateWindowExW(0, WC_EDITW, L"", WS_CHILD | WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL, 0, 0, 0,
                      0, window.handle, identifier(kBookmarkWordsId), window.instance, nullptr);
  pane.list = MakeVirtualList(window.handle, kBookmarkListId, kBookmarkColumns, window.dpi);
  if (pane.splitter == nullptr || pane.label == nullptr || pane.words == nullptr ||
      pane.list == nullptr) {
    return false;
  }
  const LONG style = GetWindowLongW(pane.list, GWL_STYLE);
  SetWindowLongW(pane.list, GWL_STYLE, style | LVS_SINGLESEL | LVS_NOSORTHEADER);
  SetWindowTextW(pane.list, L"Bookmarks");  // what a screen reader calls it
  SendMessageW(pane.words, EM_SETCUEBANNER, TRUE, reinterpret_cast<LPARAM>(L"words, tag:name"));
  return true;
}

RECT PlaceBookmarkPane(MainWindow& window, const RECT& area) {
  BookmarkPane& pane = window.bookmarks;
  if (!pane.shown) return area;
  const int bar = Scale(kSplitterWidth, window.dpi);
  RECT left = area;
  RECT own = area;
  if (pane.below) {
    own.top = area.bottom - SizeWithin(window, pane.height, area.bottom - area.top);
    left.bottom = own.top - bar;
    PlaceChild(pane.splitter, {area.left, left.bottom, area.right, own.top});
  } else {
    own.left = area.right - SizeWithin(window, pane.width, area.right - area.left);
    left.right = own.left - bar;
    PlaceChild(pane.splitter, {left.right, area.top, own.left, area.bottom});
  }
  SetSplitterVertical(pane.splitter, !pane.below);
  PlaceChildren(window, own);
  return left;
}

void ShowBookmarkPane(MainWindow& window) {
  const BookmarkPane& pane = window.bookmarks;
  for (const HWND child : {pane.splitter, pane.label, pane.words, pane.list}) {
    ShowChild(child, pane.shown);
  }
}

void RenewBookmarkPane(MainWindow& window) {
  BookmarkPane& pane = window.bookmarks;
  if (!pane.shown) return;
  const std::optional<Bookmark> selected = SelectedBookmark(pane);
  LoadBookmarks(TheProgram().bookmark_file, pane.rows->bookmarks);
  ShowBookmarkRows(pane, selected);
}

void MoveBookmarkSplitter(MainWindow& window, int distance) {
  BookmarkPane& pane = window.bookmarks;
  RECT area;
  GetClientRect(window.handle, &area);
  int& size = pane.below ? pane.height : pane.width;
  const int whole = pane.below ? area.bottom : area.right;
  const int moved = Scale(size, window.dpi) - distance;
  size = MulDiv(std::clamp(moved, Scale(kLeast, window.dpi), std::max(whole, 1000)),
                USER_DEFAULT_SCREEN_DPI, static_cast<int>(window.dpi));
  LayOut(window);
  UpdateWindow(window.handle);
}

void OnBookmarkWords(MainWindow& window) {
  ShowBookmarkRows(window.bookmarks, SelectedBookmark(window.bookmarks));
}

LRESULT OnBookmarkNotify(MainWindow& window, const NMHDR& notice) {
  switch (notice.code) {
    case LVN_GETDISPINFOW:
      ShowBookmarkCell(
          window, const_cast<NMLVDISPINFOW&>(reinterpret_cast<const NMLVDISPINFOW&>(notice)).item);
      return 0;
    case NM_CUSTOMDRAW:
      return DrawListRow(
          const_cast<NMLVCUSTOMDRAW&>(reinterpret_cast<const NMLVCUSTOMDRAW&>(notice)));
    case LVN_ITEMACTIVATE:
      GoToSelectedBookmark(window);
      return 0;
    case LVN_KEYDOWN:
      OnBookmarkListKey(window, reinterpret_cast<const NMLVKEYDOWN&>(notice).wVKey);
      return 0;
    default:
      return 0;
  }
}

bool TakeBookmarkKey(MainWindow& window, const MSG& message) {
  BookmarkPane& pane = window.bookmarks;
  if (message.message != WM_KEYDOWN || message.hwnd != pane.words) return false;
  if (message.wParam == VK_ESCAPE) SetWindowTextW(pane.words, L"");
  if (message.wParam == VK_RETURN || message.wParam == VK_DOWN) SetFocus(pane.list);
  return message.wParam == VK_ESCAPE || message.wParam == VK_RETURN || message.wParam == VK_DOWN;
}

void OnBookmarkPane(MainWindow& window) {
  BookmarkPane& pane = window.bookmarks;
  const HWND focus = GetFocus();
  const bool inside = focus == pane.list || focus == pane.words || focus == pane.splitter;
  pane.shown = !pane.shown;
  LayOut(window);
  ShowBookmarkPane(window);
  RenewBookmarkPane(window);
  if (pane.shown) SetFocus(pane.list);
  if (!pane.shown && inside) SetFocus(ShownPane(window));
  UpdateToolbar(window);
}

void OnBookmarksBelow(MainWindow& window) {
  BookmarkPane& pane = window.bookmarks;
  pane.below = !pane.below;
  LayOut(window);
  InvalidateRect(window.handle, nullptr, TRUE);
}

}  // namespace hivequarry
