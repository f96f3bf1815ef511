#include "ui/commands/bookmark_pane.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/bookmarks.h"
#include "hive/timestamp.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "ui/commands/bookmark_dialog.h"
#include "ui/commands/bookmark_file.h"
#include "ui/commands/bookmark_report.h"
#include "ui/frame/list_view.h"
#include "ui/frame/splitter.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"
#include "ui/main/toolbar.h"
#include "words/value_text.h"

namespace hivequarry {

struct BookmarkRows {
  Bookmarks bookmarks;
  std::vector<size_t> lines;                        // of them: those shown
  std::vector<std::optional<std::string>> remarks;  // of each, once it was drawn
  std::vector<uint32_t> known;                      // of the hives that these were made of
};

namespace {

enum Column : int {
  kThing,
  kKind,
  kNote,
  kTags,
  kState,
  kPlace,
  kSet,
  kHive,
};
constexpr ListColumn kColumns[] = {{L"Bookmark", 330, false}, {L"Of", 50, false},
                                   {L"Note", 170, false},     {L"Tags", 110, false},
                                   {L"State", 170, false},    {L"Position", 84, false},
                                   {L"Set", 140, false},      {L"Hive file", 200, false}};
// At 96 dpi.
constexpr int kMargin = 4;
constexpr int kIconRoom = 18;
constexpr int kLeast = 90;         // of the pane
constexpr int kLeastOthers = 140;  // of what is beside it
constexpr size_t kMostTagItems = 40;

// Identifiers of the pane's menu.
enum MenuItem : int {
  kGo = 1,
  kEdit,
  kCopy,
  kDelete,
  kReport,
  kShowAll,
  kBelow,
  kClose,
  kFirstTag = 100,
};

BookmarkPane& PaneOf(MainWindow& window) { return window.bookmarks; }

int SelectedLine(const BookmarkPane& pane) {
  return ListView_GetNextItem(pane.list, -1, LVNI_SELECTED);
}

const Bookmark& BookmarkAt(const BookmarkPane& pane, int row) {
  return pane.rows->bookmarks.lines[pane.rows->lines[static_cast<size_t>(row)]].bookmark;
}

std::string WordsIn(const BookmarkPane& pane) {
  std::wstring text(static_cast<size_t>(GetWindowTextLengthW(pane.words)) + 1, L'\0');
  text.resize(
      static_cast<size_t>(GetWindowTextW(pane.words, text.data(), static_cast<int>(text.size()))));
  return Utf8Name(text);
}

// What was found out is forgotten when other hives are open, or more is known of them.
void ForgetOldRemarks(BookmarkRows& pane, const OpenHives& open) {
  std::vector<uint32_t> known = {static_cast<uint32_t>(open.shown)};
  for (size_t i = 0; i < open.looks.size(); ++i) {
    known.push_back(open.numbers[i]);
    known.push_back(open.hashes[i]->hive.empty() ? 0 : 1);
    known.push_back(open.freed[i] == nullptr ? 0 : 1);
  }
  if (pane.known == known) return;
  pane.known = std::move(known);
  std::ranges::fill(pane.remarks, std::nullopt);
}

std::string RemarksOf(const OpenHives& open, const Bookmark& bookmark) {
  if (open.looks.empty()) return {};
  const BookmarkedHive& in = open.looks[HiveOfBookmark(open.looks, open.shown, bookmark)];
  const std::string remarks = BookmarkRemarks(in, FindBookmark(in, bookmark), bookmark);
  return remarks.empty() ? "as it was" : remarks;
}

// Looked up once, when it is drawn.
const std::string& RemarksAt(MainWindow& window, int row) {
  BookmarkPane& pane = PaneOf(window);
  const OpenHives open = HivesNow(window);
  ForgetOldRemarks(*pane.rows, open);
  std::optional<std::string>& known = pane.rows->remarks[static_cast<size_t>(row)];
  if (!known) known = RemarksOf(open, BookmarkAt(pane, row));
  return *known;
}

const char* KindText(BookmarkKind kind) {
  if (kind == BookmarkKind::kValue) return "value";
  return kind == BookmarkKind::kRow ? "row" : "key";
}

std::string CellText(MainWindow& window, int row, int column) {
  const Bookmark& bookmark = BookmarkAt(PaneOf(window), row);
  switch (column) {
    case kThing:
      return BookmarkTitle(bookmark);
    case kKind:
      return KindText(bookmark.kind);
    case kNote:
      return bookmark.note;
    case kTags:
      return TagWords(bookmark.tags);
    case kState:
      return RemarksAt(window, row);
    case kPlace:
      return bookmark.position == kNoOffset ? std::string() : HexNumber(bookmark.position);
    case kSet:
      return bookmark.time == 0 ? std::string() : FormatTimestamp(bookmark.time, true);
    default:
      return bookmark.hive;
  }
}

int IconOf(BookmarkKind kind) {
  if (kind == BookmarkKind::kRow) return I_IMAGENONE;
  return static_cast<int>(kind == BookmarkKind::kKey ? ValueIcon::kFolder : ValueIcon::kString);
}

void OnDisplay(MainWindow& window, LVITEMW& item) {
  const BookmarkPane& pane = PaneOf(window);
  const bool there = item.iItem >= 0 && static_cast<size_t>(item.iItem) < pane.rows->lines.size();
  if (!there) return;
  if ((item.mask & LVIF_IMAGE) != 0) item.iImage = IconOf(BookmarkAt(pane, item.iItem).kind);
  if ((item.mask & LVIF_TEXT) == 0) return;
  std::wstring text = WindowText(CellText(window, item.iItem, item.iSubItem));
  if (item.iSubItem == kThing) text = EndThatFits(pane.list, kThing, std::move(text), kIconRoom);
  GiveText(item, text.c_str());
}

void SelectOnly(const BookmarkPane& pane, int row) {
  ListView_SetItemState(pane.list, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  if (row < 0) return;
  ListView_SetItemState(pane.list, row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
  ListView_EnsureVisible(pane.list, row, FALSE);
}

// Those that the words choose; `wanted` is selected if it is among them, else the row of before.
void ShowRows(MainWindow& window, const std::optional<Bookmark>& wanted) {
  BookmarkPane& pane = PaneOf(window);
  const int before = SelectedLine(pane);
  pane.rows->lines = BookmarksWith(pane.rows->bookmarks, WordsIn(pane));
  pane.rows->remarks.assign(pane.rows->lines.size(), std::nullopt);
  const auto count = static_cast<int>(pane.rows->lines.size());
  ListView_SetItemCountEx(pane.list, count, 0);
  InvalidateRect(pane.list, nullptr, TRUE);
  int row = std::min(before, count - 1);
  for (int at = 0; at < count && wanted; ++at) {
    if (SameBookmark(BookmarkAt(pane, at), *wanted)) row = at;
  }
  if (row < 0 && count != 0) row = 0;
  SelectOnly(pane, row);
}

std::optional<Bookmark> SelectedMark(const BookmarkPane& pane) {
  const int row = SelectedLine(pane);
  if (row < 0 || static_cast<size_t>(row) >= pane.rows->lines.size()) return std::nullopt;
  return BookmarkAt(pane, row);
}

void EditSelected(MainWindow& window) {
  const std::optional<Bookmark> bookmark = SelectedMark(PaneOf(window));
  if (!bookmark) return;
  BookmarkWords words{BookmarkTitle(*bookmark), bookmark->note, TagWords(bookmark->tags)};
  if (AskBookmarkWords(window.handle, words)) {
    ChangeBookmarkWords(window, *bookmark, words.note, words.tags);
  }
}

void DeleteSelected(MainWindow& window) {
  const std::optional<Bookmark> bookmark = SelectedMark(PaneOf(window));
  if (bookmark) RemoveBookmark(window, *bookmark);
}

void GoToSelected(MainWindow& window) {
  const std::optional<Bookmark> bookmark = SelectedMark(PaneOf(window));
  if (bookmark && TheLongOperation().running == 0) GoToBookmark(window, *bookmark);
}

void CopySelected(MainWindow& window) {
  const std::optional<Bookmark> bookmark = SelectedMark(PaneOf(window));
  if (bookmark) CopyText(window.handle, WideName(BookmarkTitle(*bookmark)));
}

void ReportShown(MainWindow& window) {
  const BookmarkPane& pane = PaneOf(window);
  std::vector<Bookmark> bookmarks;
  for (const size_t line : pane.rows->lines)
    bookmarks.push_back(pane.rows->bookmarks.lines[line].bookmark);
  SaveBookmarkReport(window, std::move(bookmarks));
}

void ShowWords(const BookmarkPane& pane, const std::string& words) {
  SetWindowTextW(pane.words, WideName(words).c_str());
}

void OnKey(MainWindow& window, WORD key) {
  if (key == VK_DELETE) DeleteSelected(window);
  if (key == VK_F2) EditSelected(window);
  if (key == 'C' && GetKeyState(VK_CONTROL) < 0) CopySelected(window);
}

POINT MenuPoint(const BookmarkPane& pane) {
  RECT area{};
  const int row = SelectedLine(pane);
  if (row < 0 || ListView_GetItemRect(pane.list, row, &area, LVIR_LABEL) == FALSE) {
    GetClientRect(pane.list, &area);
    area.bottom /= 2;
  }
  POINT point{area.left, area.bottom};
  ClientToScreen(pane.list, &point);
  return point;
}

HMENU MakeTagMenu(const std::vector<std::string>& tags) {
  const HMENU menu = CreatePopupMenu();
  for (size_t i = 0; i < std::min(tags.size(), kMostTagItems); ++i) {
    std::wstring text = WindowText(tags[i]);
    for (size_t at = 0; (at = text.find(L'&', at)) != std::wstring::npos; at += 2) {
      text.insert(at, 1, L'&');
    }
    AppendMenuW(menu, MF_STRING, kFirstTag + i, text.c_str());
  }
  return menu;
}

HMENU MakePaneMenu(MainWindow& window, const std::vector<std::string>& tags) {
  const BookmarkPane& pane = PaneOf(window);
  const bool selected = SelectedLine(pane) >= 0;
  const UINT of_row = selected ? MF_ENABLED : MF_GRAYED;
  const bool hives = LoadedHives(window) != 0;
  const HMENU menu = CreatePopupMenu();
  AppendMenuW(menu, selected && hives ? MF_ENABLED : MF_GRAYED, kGo, L"&Go to\tEnter");
  AppendMenuW(menu, of_row, kEdit, L"&Note and tags...\tF2");
  AppendMenuW(menu, of_row, kCopy, L"&Copy\tCtrl+C");
  AppendMenuW(menu, of_row, kDelete, L"&Delete from Bookmarks\tDel");
  AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(menu, MF_POPUP | (tags.empty() ? MF_GRAYED : MF_ENABLED),
              reinterpret_cast<UINT_PTR>(MakeTagMenu(tags)), L"With &tag");
  AppendMenuW(menu, MF_STRING, kShowAll, L"Show &all");
  AppendMenuW(menu, hives && !pane.rows->lines.empty() ? MF_ENABLED : MF_GRAYED, kReport,
              L"&Report...");
  AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(menu, pane.below ? MF_CHECKED : MF_UNCHECKED, kBelow, L"&Below the other panes");
  AppendMenuW(menu, MF_STRING, kClose, L"C&lose pane");
  return menu;
}

void Carry(MainWindow& window, int item, const std::vector<std::string>& tags) {
  if (item >= kFirstTag) {
    return ShowWords(PaneOf(window),
                     Concat({"tag:\"", tags[static_cast<size_t>(item - kFirstTag)], "\""}));
  }
  switch (item) {
    case kGo:
      return GoToSelected(window);
    case kEdit:
      return EditSelected(window);
    case kCopy:
      return CopySelected(window);
    case kDelete:
      return DeleteSelected(window);
    case kReport:
      return ReportShown(window);
    case kShowAll:
      return ShowWords(PaneOf(window), {});
    case kBelow:
      return OnBookmarksBelow(window);
    case kClose:
      return OnBookmarkPane(window);
    default:
      return;
  }
}

int HeightOfText(const MainWindow& window) {
  const HDC dc = GetDC(window.handle);
  const HGDIOBJ previous = SelectObject(dc, window.look.fonts.text);
  TEXTMETRICW metrics{};
  GetTextMetricsW(dc, &metrics);
  SelectObject(dc, previous);
  ReleaseDC(window.handle, dc);
  return metrics.tmHeight;
}

int WidthOfLabel(const MainWindow& window) {
  const HDC dc = GetDC(window.handle);
  const HGDIOBJ previous = SelectObject(dc, window.look.fonts.text);
  SIZE size{};
  constexpr wchar_t kText[] = L"Bookmarks with:";
  GetTextExtentPoint32W(dc, kText, static_cast<int>(std::size(kText)) - 1, &size);
  SelectObject(dc, previous);
  ReleaseDC(window.handle, dc);
  return size.cx;
}

void Place(HWND child, const RECT& area) {
  SetWindowPos(child, nullptr, area.left, area.top, std::max<LONG>(area.right - area.left, 0),
               std::max<LONG>(area.bottom - area.top, 0),
               SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
}

void PlaceChildren(const MainWindow& window, const RECT& area) {
  const BookmarkPane& pane = window.bookmarks;
  const int margin = Scale(kMargin, window.dpi);
  const int line = HeightOfText(window) + 2 * margin;
  const LONG edge = area.left + margin + WidthOfLabel(window) + margin;
  const LONG top = area.top + margin;
  Place(pane.label, {area.left + margin, top + margin, edge, top + line});
  Place(pane.words, {edge, top, area.right - margin, top + line});
  Place(pane.list, {area.left, top + line + margin, area.right, area.bottom});
}

// As large as it is to be, as far as the others keep some room.
int SizeWithin(const MainWindow& window, int wanted, int whole) {
  const int least = Scale(kLeast, window.dpi);
  const int most = std::max(least, whole - Scale(kLeastOthers, window.dpi));
  return std::clamp(Scale(wanted, window.dpi), std::min(least, most), most);
}

}  // namespace

bool MakeBookmarkPane(MainWindow& window) {
  BookmarkPane& pane = PaneOf(window);
  pane.rows = std::make_shared<BookmarkRows>();
  const auto identifier = [](int id) { return reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)); };
  pane.splitter = MakeSplitter(window.handle, kBookmarkSplitterId, false, L"Edge of the bookmarks");
  pane.label = CreateWindowExW(0, WC_STATICW, L"Bookmarks with:", WS_CHILD | SS_NOPREFIX, 0, 0, 0,
                               0, window.handle, nullptr, window.instance, nullptr);
  pane.words =
      CreateWindowExW(0, WC_EDITW, L"", WS_CHILD | WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL, 0, 0, 0,
                      0, window.handle, identifier(kBookmarkWordsId), window.instance, nullptr);
  pane.list = MakeVirtualList(window.handle, kBookmarkListId, kColumns, window.dpi);
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
  BookmarkPane& pane = PaneOf(window);
  if (!pane.shown) return area;
  const int bar = Scale(kSplitterWidth, window.dpi);
  RECT left = area;
  RECT own = area;
  if (pane.below) {
    own.top = area.bottom - SizeWithin(window, pane.height, area.bottom - area.top);
    left.bottom = own.top - bar;
    Place(pane.splitter, {area.left, left.bottom, area.right, own.top});
  } else {
    own.left = area.right - SizeWithin(window, pane.width, area.right - area.left);
    left.right = own.left - bar;
    Place(pane.splitter, {left.right, area.top, own.left, area.bottom});
  }
  SetSplitterVertical(pane.splitter, !pane.below);
  PlaceChildren(window, own);
  return left;
}

void ShowBookmarkPane(MainWindow& window) {
  const BookmarkPane& pane = PaneOf(window);
  for (const HWND child : {pane.splitter, pane.label, pane.words, pane.list}) {
    ShowWindow(child, pane.shown ? SW_SHOWNA : SW_HIDE);
  }
}

void RenewBookmarkPane(MainWindow& window) {
  BookmarkPane& pane = PaneOf(window);
  if (!pane.shown) return;
  const std::optional<Bookmark> selected = SelectedMark(pane);
  LoadBookmarks(TheProgram().bookmark_file, pane.rows->bookmarks);
  ShowRows(window, selected);
}

void MoveBookmarkSplitter(MainWindow& window, int distance) {
  BookmarkPane& pane = PaneOf(window);
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

void OnBookmarkWords(MainWindow& window) { ShowRows(window, SelectedMark(PaneOf(window))); }

LRESULT OnBookmarkNotify(MainWindow& window, const NMHDR& notice) {
  switch (notice.code) {
    case LVN_GETDISPINFOW:
      OnDisplay(window,
                const_cast<NMLVDISPINFOW&>(reinterpret_cast<const NMLVDISPINFOW&>(notice)).item);
      return 0;
    case NM_CUSTOMDRAW:
      return DrawListRow(
          const_cast<NMLVCUSTOMDRAW&>(reinterpret_cast<const NMLVCUSTOMDRAW&>(notice)));
    case LVN_ITEMACTIVATE:
      GoToSelected(window);
      return 0;
    case LVN_KEYDOWN:
      OnKey(window, reinterpret_cast<const NMLVKEYDOWN&>(notice).wVKey);
      return 0;
    default:
      return 0;
  }
}

void TrackBookmarkMenu(MainWindow& window, POINT where) {
  if (where.x == -1 && where.y == -1) where = MenuPoint(PaneOf(window));
  const std::vector<std::string> tags = AllTags(PaneOf(window).rows->bookmarks);
  const HMENU menu = MakePaneMenu(window, tags);
  const int chosen = TrackPopupMenu(menu, TPM_RIGHTBUTTON | TPM_RETURNCMD | TPM_NONOTIFY, where.x,
                                    where.y, 0, window.handle, nullptr);
  DestroyMenu(menu);
  Carry(window, chosen, tags);
}

bool TakeBookmarkKey(MainWindow& window, const MSG& message) {
  BookmarkPane& pane = PaneOf(window);
  if (message.message != WM_KEYDOWN || message.hwnd != pane.words) return false;
  if (message.wParam == VK_ESCAPE) ShowWords(pane, {});
  if (message.wParam == VK_RETURN || message.wParam == VK_DOWN) SetFocus(pane.list);
  return message.wParam == VK_ESCAPE || message.wParam == VK_RETURN || message.wParam == VK_DOWN;
}

void OnBookmarkPane(MainWindow& window) {
  BookmarkPane& pane = PaneOf(window);
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
  BookmarkPane& pane = PaneOf(window);
  pane.below = !pane.below;
  LayOut(window);
  InvalidateRect(window.handle, nullptr, TRUE);
}

}  // namespace hivequarry
