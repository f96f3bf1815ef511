// Bookmarks: the dialog that lists them, and setting one at the selected key.
#pragma once

namespace hivequarry {

struct MainWindow;

// Shows the dialog "BMDLG"; each change is in the file at once. Goes to the key that the user
// chooses there.
void OnBookmarks(MainWindow& window);
// Sets a bookmark at the selected key.
void OnAddToBookmarks(MainWindow& window);

}  // namespace hivequarry
