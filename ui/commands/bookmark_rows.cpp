#include "ui/commands/bookmark_rows.h"

#include <algorithm>
#include <utility>

#include "hive/timestamp.h"
#include "host/number_text.h"
#include "ui/commands/bookmark_file.h"
#include "ui/draw/text_size.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"
#include "words/value_text.h"

namespace hivequarry {
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

constexpr int kIconRoom = 18;  // at 96 dpi

const Bookmark& BookmarkAt(const BookmarkPane& pane, int row) {
  return pane.rows->bookmarks.lines[pane.rows->lines[static_cast<size_t>(row)]].bookmark;
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

// Empty while no hive is open: there is nothing to hold the bookmark against.
std::string RemarksOf(const OpenHives& open, const Bookmark& bookmark) {
  if (open.looks.empty()) return {};
  const BookmarkedHive& in = open.looks[HiveOfBookmark(open.looks, open.shown, bookmark)];
  const std::string remarks = BookmarkRemarks(in, FindBookmark(in, bookmark), bookmark);
  return remarks.empty() ? "as it was" : remarks;
}

// Looked up once, when it is drawn.
const std::string& RemarksAt(MainWindow& window, int row) {
  const BookmarkPane& pane = window.bookmarks;
  const OpenHives open = HivesNow(window);
  ForgetOldRemarks(*pane.rows, open);
  // Kept by row: the control asks for the text again with each drawing, and to find the key of a
  // bookmark may take a walk through the tree.
  std::optional<std::string>& known = pane.rows->remarks[static_cast<size_t>(row)];
  if (!known) known = RemarksOf(open, BookmarkAt(pane, row));
  return *known;
}

const char* KindText(BookmarkKind kind) {
  if (kind == BookmarkKind::kValue) return "value";
  return kind == BookmarkKind::kRow ? "row" : "key";
}

std::string CellText(MainWindow& window, int row, int column) {
  const Bookmark& bookmark = BookmarkAt(window.bookmarks, row);
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

void SelectOnly(const BookmarkPane& pane, int row) {
  ListView_SetItemState(pane.list, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  if (row < 0) return;
  ListView_SetItemState(pane.list, row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
  ListView_EnsureVisible(pane.list, row, FALSE);
}

}  // namespace

int SelectedBookmarkRow(const BookmarkPane& pane) {
  return ListView_GetNextItem(pane.list, -1, LVNI_SELECTED);
}

std::optional<Bookmark> SelectedBookmark(const BookmarkPane& pane) {
  const int row = SelectedBookmarkRow(pane);
  if (row < 0 || static_cast<size_t>(row) >= pane.rows->lines.size()) return std::nullopt;
  return BookmarkAt(pane, row);
}

std::vector<Bookmark> BookmarksInRows(const BookmarkPane& pane) {
  std::vector<Bookmark> bookmarks;
  for (const size_t line : pane.rows->lines) {
    bookmarks.push_back(pane.rows->bookmarks.lines[line].bookmark);
  }
  return bookmarks;
}

void ShowBookmarkRows(BookmarkPane& pane, const std::optional<Bookmark>& wanted) {
  const int before = SelectedBookmarkRow(pane);
  pane.rows->lines = BookmarksWith(pane.rows->bookmarks, Utf8Name(TextOfControl(pane.words)));
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

// Rows may have become fewer since the control asked.
void ShowBookmarkCell(MainWindow& window, LVITEMW& item) {
  const BookmarkPane& pane = window.bookmarks;
  const bool there = item.iItem >= 0 && static_cast<size_t>(item.iItem) < pane.rows->lines.size();
  if (!there) return;
  if ((item.mask & LVIF_IMAGE) != 0) item.iImage = IconOf(BookmarkAt(pane, item.iItem).kind);
  if ((item.mask & LVIF_TEXT) == 0) return;
  std::wstring text = WindowText(CellText(window, item.iItem, item.iSubItem));
  if (item.iSubItem == kThing) text = EndThatFits(pane.list, kThing, std::move(text), kIconRoom);
  GiveText(item, text.c_str());
}

}  // namespace hivequarry
