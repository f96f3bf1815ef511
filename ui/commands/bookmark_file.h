// Bookmarks of the main window: setting them, keeping them in their file, and going to them. What
// shows them is told of each change.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/bookmarks.h"
#include "ui/draw/win.h"
#include "view/bookmark_places.h"

namespace hivequarry {

struct ListPlace;
struct MainWindow;

// What is in the file now, after a message when that is not all of it.
Bookmarks ReadBookmarks();
// Changes the file as other copies of the program left it, and shows the window's pane anew. False
// after a message.
bool ChangeBookmarks(MainWindow& window, const std::function<BookmarkChange(Bookmarks&)>& change);
// Gives that bookmark another note and other tags; nothing when it is gone meanwhile.
bool ChangeBookmarkWords(MainWindow& window, const Bookmark& bookmark, const std::string& note,
                         const std::string& tags);
// Also true where it was gone already.
bool RemoveBookmark(MainWindow& window, const Bookmark& bookmark);

// The hives that are open, in the order of the tree; what is looked at stays as long as this and
// the hives do.
struct OpenHives {
  std::vector<BookmarkedHive> looks;
  std::vector<uint32_t> numbers;  // of the window's hives
  size_t shown = 0;               // which of them is
  std::vector<std::shared_ptr<const FreedTree>> freed;
  std::vector<std::shared_ptr<const HiveHashes>> hashes;
};
// As they are at this moment: for work that is begun now.
OpenHives HivesNow(const MainWindow& window);

// What fits a column of a path, whose end tells more than its beginning. `icon`: room that a
// picture takes there, at 96 dpi.
std::wstring EndThatFits(HWND list, int column, std::wstring path, int icon);

// Goes to the thing in the hive that it is of (HiveOfBookmark), and says what is not as it was.
// False, after a message, when there is nothing.
bool GoToBookmark(MainWindow& window, const Bookmark& bookmark);

// At the selected key, deleted or not; at the selected value; at whichever of the two has the
// focus.
void OnAddToBookmarks(MainWindow& window);
void OnBookmarkValue(MainWindow& window);
void OnBookmarkHere(MainWindow& window);
// At the row in focus of a list.
void OnBookmarkRow(ListPlace& place);

}  // namespace hivequarry
