// Bookmarks: the dialog that lists them.
#pragma once

namespace hivequarry {

struct MainWindow;

// Shows the dialog "BMDLG"; each change is in the file at once. Goes to the key that the user
// chooses there.
void OnBookmarks(MainWindow& window);

}  // namespace hivequarry
