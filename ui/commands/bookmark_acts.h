// What is done with the bookmarks of the pane: by keys, and by the menu of a row. Within the pane.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

struct MainWindow;

// To the selected one; not while an operation is under way.
void GoToSelectedBookmark(MainWindow& window);
// Del, F2 and Ctrl+C in the list.
void OnBookmarkListKey(MainWindow& window, WORD key);
// `where` on the screen, -1 and -1 for the keyboard.
void TrackBookmarkMenu(MainWindow& window, POINT where);

}  // namespace hivequarry
