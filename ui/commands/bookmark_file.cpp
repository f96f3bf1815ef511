#include "ui/commands/bookmark_file.h"

#include "app/key_paths.h"
#include "hive/hive_table.h"
#include "host/host.h"
#include "ui/commands/bookmark_pane.h"
#include "ui/frame/system_facts.h"
#include "ui/lists/list_place.h"
#include "ui/lists/list_work.h"
#include "ui/lists/raw_view.h"
#include "ui/main/freed.h"
#include "ui/main/main_window.h"
#include "ui/main/notifications.h"

namespace hivequarry {
namespace {

void Complain(const std::string& text) {
  ShowMessage(text.c_str(), kProgramName, Icon::kExclamation);
}

void Tell(const char* what, const Bookmark& bookmark) {
  const std::string text = what + BookmarkTitle(bookmark);
  ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
}

const std::string& FileOfBookmarks() { return TheProgram().bookmark_file; }

BookmarkedHive LookAt(const WindowHive& hive) {
  return {&HiveOfSlot(hive.slot), hive.tree.get(), hive.findings.freed.get(), &hive.hashing.hashes};
}

const char* Added(BookmarkChange change) {
  return change == BookmarkChange::kMoved ? "The bookmark was there; it is the first now."
                                          : "Bookmark added.";
}

// The words for the status line; null after a message.
const char* Add(MainWindow& window, const Bookmark& bookmark) {
  BookmarkChange change = BookmarkChange::kDone;
  const bool kept = ChangeBookmarks(
      window, [&](Bookmarks& bookmarks) { return change = AddBookmark(bookmarks, bookmark); });
  return kept ? Added(change) : nullptr;
}

void AddAndTell(MainWindow& window, const Bookmark& bookmark) {
  const char* words = Add(window, bookmark);
  if (words != nullptr) ShowPassingText(window, words);
}

// The record itself where the tree shows it; the bytes of one that is in no key of the tree; else
// the key, which is in another arrangement of the panes than the list.
bool Select(MainWindow& window, const FoundBookmark& found) {
  if (found.position != kNoOffset && GoToPosition(window, found.position)) return true;
  const bool bytes = found.item == kNoItem && found.position != kNoOffset;
  if (bytes) return OpenRawView(window, found.position) != nullptr;
  if (found.item == kNoItem) return false;
  if (window.layout.arrangement == kOutputArrangement) ShowArrangement(window, kKeysArrangement);
  SelectItem(window.shown->pane, found.item);
  SetFocus(window.controls.tree);
  return true;
}

uint32_t ListedKeyOfRow(const ListPlace& place, uint32_t row) {
  return row < place.keys.size() ? place.keys[row] : kNoOffset;
}

}  // namespace

Bookmarks ReadBookmarks() {
  Bookmarks bookmarks;
  if (!LoadBookmarks(FileOfBookmarks(), bookmarks)) {
    Complain("Can not read bookmark file !\r\n(" + FileOfBookmarks() + ")");
  }
  return bookmarks;
}

bool ChangeBookmarks(MainWindow& window, const std::function<BookmarkChange(Bookmarks&)>& change) {
  Bookmarks bookmarks = ReadBookmarks();
  if (!bookmarks.whole) return false;
  switch (change(bookmarks)) {
    case BookmarkChange::kBadPath:
      Complain("The path of the key is too long for a bookmark !");
      return false;
    case BookmarkChange::kFull:
      Complain("There is no more room for this in the bookmark file !");
      return false;
    default:
      break;
  }
  const bool saved = SaveBookmarks(FileOfBookmarks(), bookmarks);
  if (!saved) Complain("Can not write bookmark file !\r\n(" + FileOfBookmarks() + ")");
  RenewBookmarkPane(window);
  return saved;
}

bool ChangeBookmarkWords(MainWindow& window, const Bookmark& bookmark, const std::string& note,
                         const std::string& tags) {
  return ChangeBookmarks(window, [&](Bookmarks& bookmarks) {
    // The file is read anew for each change, so the bookmark may be gone: then there is nothing to
    // change.
    const size_t line = FindBookmarkLine(bookmarks, bookmark);
    if (line == bookmarks.lines.size()) return BookmarkChange::kDone;
    const BookmarkChange noted = SetBookmarkNote(bookmarks, line, note);
    return noted == BookmarkChange::kDone ? SetBookmarkTags(bookmarks, line, tags) : noted;
  });
}

bool RemoveBookmark(MainWindow& window, const Bookmark& bookmark) {
  return ChangeBookmarks(window, [&bookmark](Bookmarks& bookmarks) {
    DeleteBookmark(bookmarks, bookmark);
    return BookmarkChange::kDone;
  });
}

OpenHives HivesNow(const MainWindow& window) {
  OpenHives open;
  for (const auto& hive : window.hives) {
    if (hive->slot < 0) continue;
    // Its place among those that are loaded, which it gets below.
    if (hive.get() == window.shown) open.shown = open.looks.size();
    open.freed.push_back(hive->findings.freed);
    open.hashes.push_back(std::make_shared<HiveHashes>(hive->hashing.hashes));
    open.looks.push_back({&HiveOfSlot(hive->slot), hive->tree.get(), open.freed.back().get(),
                          open.hashes.back().get()});
    open.numbers.push_back(hive->number);
  }
  return open;
}

std::wstring EndThatFits(HWND list, int column, std::wstring path, int icon) {
  constexpr int kTextMargin = 6;  // of a list's cell, at 96 dpi
  const int room = ListView_GetColumnWidth(list, column) -
                   Scale(2 * kTextMargin + icon, DpiOfWindow(GetParent(list)));
  std::wstring shown = path;
  while (ListView_GetStringWidth(list, shown.c_str()) > room) {
    const size_t name = path.find(L'\\', 1);
    if (name == std::wstring::npos) break;
    path.erase(0, name);
    shown = L"..." + path;
  }
  return shown;
}

bool GoToBookmark(MainWindow& window, const Bookmark& bookmark) {
  const OpenHives open = HivesNow(window);
  if (open.looks.empty()) return false;
  const size_t index = HiveOfBookmark(open.looks, open.shown, bookmark);
  const HiveTurn turn(window, open.numbers[index]);
  const FoundBookmark found = FindBookmark(open.looks[index], bookmark);
  if (!Select(window, found)) {
    Tell("This hive does not hold the key !\r\n", bookmark);
    return false;
  }
  const std::string remarks = BookmarkRemarks(open.looks[index], found, bookmark);
  if (found.state == BookmarkState::kAncestor) {
    Tell("Key not found ! The nearest key above it is shown.\r\n", bookmark);
  } else if (found.state == BookmarkState::kValueGone) {
    Tell("Value not found ! Its key is shown.\r\n", bookmark);
  } else if (!remarks.empty()) {
    ShowPassingText(window, remarks.c_str());
  }
  return true;
}

void OnAddToBookmarks(MainWindow& window) {
  const BookmarkedHive look = LookAt(*window.shown);
  const uint32_t deleted = SelectedFreedKey(window);
  const uint32_t item = SelectedItem(window.shown->pane);
  if (deleted == kNoOffset && item == kNoItem) return;
  AddAndTell(window, deleted != kNoOffset ? BookmarkOfDeletedKey(look, deleted)
                                          : BookmarkOfKey(look, item));
}

void OnBookmarkValue(MainWindow& window) {
  const uint32_t value = window.selection.value;
  if (value == kNoOffset) return;
  AddAndTell(window, BookmarkOfValue(LookAt(*window.shown), window.selection.item, value));
}

void OnBookmarkHere(MainWindow& window) {
  const bool in_values = GetFocus() == window.values.window;
  const bool value = in_values && FactsNow(window).value_record;
  value ? OnBookmarkValue(window) : OnAddToBookmarks(window);
}

void OnBookmarkRow(ListPlace& place) {
  MainWindow& window = *place.owner;
  const int focused = FocusedRow(place);
  if (focused < 0 || window.shown->slot < 0) return;
  const uint32_t row = ModelRow(place, static_cast<uint32_t>(focused));
  if (row < place.files.size()) {
    return ShowPassingStatus(place, "The row is about a file: there is no key to come back to.");
  }
  const char* words = Add(
      window, BookmarkOfRow(LookAt(*window.shown), *place.model, row, ListedKeyOfRow(place, row)));
  if (words != nullptr) ShowPassingStatus(place, words);
}

}  // namespace hivequarry
