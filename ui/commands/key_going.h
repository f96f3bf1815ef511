// Going to keys by the paths that are kept of them (app/key_paths.h).
#pragma once

#include <string>

namespace hivequarry {

struct MainWindow;

// Selects the key at a path in the hive shown and shows the tree. Where there is but an ancestor of
// it, that is selected and the user told. False, after a message, when there is nothing.
bool GoToKeyPath(MainWindow& window, const std::string& path);

}  // namespace hivequarry
