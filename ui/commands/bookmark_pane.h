// The pane of bookmarks in the main window: below the other panes, or at their right. Everything
// here is for the interface thread.
#pragma once

#include <memory>

#include "ui/draw/win.h"

namespace hivequarry {

struct BookmarkRows;
struct MainWindow;

// Windows are children of the main window and go with it. Sizes are kept also while the pane is
// hidden.
struct BookmarkPane {
  HWND label = nullptr;
  HWND words = nullptr;  // those that choose what is shown
  HWND list = nullptr;
  HWND splitter = nullptr;
  bool shown = false;
  bool below = true;                   // else at the right
  int height = 180;                    // at 96 dpi, below
  int width = 360;                     // at the right
  std::shared_ptr<BookmarkRows> rows;  // what the list shows; never null once it is made
};

// Makes the children, hidden; false when one can't be had.
bool MakeBookmarkPane(MainWindow& window);
// Takes its part of the area where panes are and places the children; what is left.
RECT PlaceBookmarkPane(MainWindow& window, const RECT& area);
// Shows or hides the children as the pane is on or off.
void ShowBookmarkPane(MainWindow& window);
// Reads the file again, if the pane is on; what is selected stays so.
void RenewBookmarkPane(MainWindow& window);
// The splitter was moved by so many pixels.
void MoveBookmarkSplitter(MainWindow& window, int distance);
// The words in the box were changed (WM_COMMAND).
void OnBookmarkWords(MainWindow& window);
LRESULT OnBookmarkNotify(MainWindow& window, const NMHDR& notice);
// Enter and Esc in the box; false for any other key.
bool TakeBookmarkKey(MainWindow& window, const MSG& message);

// The pane on and off; the focus goes to it. Below the others, or at their right.
void OnBookmarkPane(MainWindow& window);
void OnBookmarksBelow(MainWindow& window);

}  // namespace hivequarry
