#include "ui/commands/bookmark_acts.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "app/bookmarks.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "ui/commands/bookmark_dialog.h"
#include "ui/commands/bookmark_file.h"
#include "ui/commands/bookmark_report.h"
#include "ui/commands/bookmark_rows.h"
#include "ui/dress/dress.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// Identifiers of the menu.
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

// A longer menu would not fit the screen; the words "tag:name" choose any tag.
constexpr size_t kMostTagItems = 40;

void EditSelected(MainWindow& window) {
  const std::optional<Bookmark> bookmark = SelectedBookmark(window.bookmarks);
  if (!bookmark) return;
  BookmarkWords words{BookmarkTitle(*bookmark), bookmark->note, TagWords(bookmark->tags)};
  if (AskBookmarkWords(window.handle, words)) {
    ChangeBookmarkWords(window, *bookmark, words.note, words.tags);
  }
}

void DeleteSelected(MainWindow& window) {
  const std::optional<Bookmark> bookmark = SelectedBookmark(window.bookmarks);
  if (bookmark) RemoveBookmark(window, *bookmark);
}

void CopySelected(MainWindow& window) {
  const std::optional<Bookmark> bookmark = SelectedBookmark(window.bookmarks);
  if (bookmark) CopyText(window.handle, WideName(BookmarkTitle(*bookmark)));
}

void ShowWords(const BookmarkPane& pane, const std::string& words) {
  SetWindowTextW(pane.words, WideName(words).c_str());
}

// For the menu by keyboard: below the selected row, or in the upper half of the list; screen
// coordinates.
POINT MenuPoint(const BookmarkPane& pane) {
  RECT area{};
  const int row = SelectedBookmarkRow(pane);
  if (row < 0 || ListView_GetItemRect(pane.list, row, &area, LVIR_LABEL) == FALSE) {
    GetClientRect(pane.list, &area);
    area.bottom /= 2;
  }
  POINT point{area.left, area.bottom};
  ClientToScreen(pane.list, &point);
  return point;
}

// "&" in a tag is doubled, since a menu would underline what follows it. The caller destroys the
// menu, or the one that it becomes a part of.
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

// For the caller to destroy. Its items are numbered for Carry alone: they are no commands.
HMENU MakePaneMenu(const MainWindow& window, const std::vector<std::string>& tags) {
  const BookmarkPane& pane = window.bookmarks;
  const bool selected = SelectedBookmarkRow(pane) >= 0;
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

// The item that TrackPopupMenu returned, 0 for none. `tags` are those that the menu was made with.
void Carry(MainWindow& window, int item, const std::vector<std::string>& tags) {
  if (item >= kFirstTag) {
    return ShowWords(window.bookmarks,
                     Concat({"tag:\"", tags[static_cast<size_t>(item - kFirstTag)], "\""}));
  }
  switch (item) {
    case kGo:
      return GoToSelectedBookmark(window);
    case kEdit:
      return EditSelected(window);
    case kCopy:
      return CopySelected(window);
    case kDelete:
      return DeleteSelected(window);
    case kReport:
      return SaveBookmarkReport(window, BookmarksInRows(window.bookmarks));
    case kShowAll:
      return ShowWords(window.bookmarks, {});
    case kBelow:
      return OnBookmarksBelow(window);
    case kClose:
      return OnBookmarkPane(window);
    default:
      return;
  }
}

}  // namespace

void GoToSelectedBookmark(MainWindow& window) {
  const std::optional<Bookmark> bookmark = SelectedBookmark(window.bookmarks);
  if (bookmark && TheLongOperation().running == 0) GoToBookmark(window, *bookmark);
}

void OnBookmarkListKey(MainWindow& window, WORD key) {
  if (key == VK_DELETE) DeleteSelected(window);
  if (key == VK_F2) EditSelected(window);
  if (key == 'C' && GetKeyState(VK_CONTROL) < 0) CopySelected(window);
}

void TrackBookmarkMenu(MainWindow& window, POINT where) {
  if (where.x == -1 && where.y == -1) where = MenuPoint(window.bookmarks);
  const std::vector<std::string> tags = AllTags(window.bookmarks.rows->bookmarks);
  const HMENU menu = MakePaneMenu(window, tags);
  const int chosen = ChooseFromMenu(menu, window.handle, where);
  Carry(window, chosen, tags);
}

}  // namespace hivequarry
