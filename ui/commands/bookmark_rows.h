// The rows of the pane of bookmarks: what its list shows of the bookmark file. Within the pane.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/bookmarks.h"
#include "ui/commands/bookmark_pane.h"
#include "ui/draw/win.h"
#include "ui/frame/list_view.h"

namespace hivequarry {

inline constexpr ListColumn kBookmarkColumns[] = {
    {L"Bookmark", 330, false}, {L"Of", 50, false},        {L"Note", 170, false},
    {L"Tags", 110, false},     {L"State", 170, false},    {L"Position", 84, false},
    {L"Set", 140, false},      {L"Hive file", 200, false}};

// What the pane's list shows; lines and remarks go by its rows.
struct BookmarkRows {
  Bookmarks bookmarks;
  std::vector<size_t> lines;                        // of them: those shown
  std::vector<std::optional<std::string>> remarks;  // of each, once it was drawn
  std::vector<uint32_t> known;                      // of the hives that these were made of
};

// Those that the words in the box choose; `wanted` is selected if it is among them, else the row of
// before.
void ShowBookmarkRows(BookmarkPane& pane, const std::optional<Bookmark>& wanted);
// The selected row, -1 for none, and its bookmark.
int SelectedBookmarkRow(const BookmarkPane& pane);
std::optional<Bookmark> SelectedBookmark(const BookmarkPane& pane);
// In the order of the rows.
std::vector<Bookmark> BookmarksInRows(const BookmarkPane& pane);
// Answers LVN_GETDISPINFO. What a bookmark leads to is looked up when it is drawn, once for the
// hives as they are.
void ShowBookmarkCell(MainWindow& window, LVITEMW& item);

}  // namespace hivequarry
