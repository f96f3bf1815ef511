// The report of bookmarks as a file.
#pragma once

#include <vector>

#include "app/bookmarks.h"

namespace hivequarry {

struct MainWindow;

// Asks for an HTML file, and writes the report of these bookmarks of the hive shown to it, on a
// worker. The file is kept only when all was written.
void SaveBookmarkReport(MainWindow& window, std::vector<Bookmark> bookmarks);

}  // namespace hivequarry
