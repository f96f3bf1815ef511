// The report of bookmarks as a file.
#pragma once

#include <vector>

#include "app/bookmarks.h"

namespace hivequarry {

struct MainWindow;

// Asks for an HTML file, by kinds or by tags, and writes the report of these bookmarks to it, as
// far as they are of the hives that are open, on a worker. The file is kept only when all was
// written.
void SaveBookmarkReport(MainWindow& window, std::vector<Bookmark> bookmarks);

}  // namespace hivequarry
