// The folder "Removed by the logs" of the tree pane: a tree of its own in the same control.
#pragma once

#include <cstdint>

#include "ui/draw/win.h"

namespace hivequarry {

struct MainWindow;
struct TreePane;
struct WindowHive;

// Puts the folder after the hive's root where logs were applied; what is in it is worked out when
// the user opens it. After ShowTree, which empties the control.
void ShowRemovedFolder(MainWindow& window);
// Takes the folder out.
void ForgetRemoved(MainWindow& window);

// The one of a hive's trees that an item of the control is of, by its lParam.
TreePane& PaneOfSide(WindowHive& hive, LPARAM item);
// The same of the hive that the item belongs to.
TreePane& PaneOfItem(MainWindow& window, LPARAM item);
// The folder itself, or something in it.
bool IsRemovedSelected(const MainWindow& window);
// True when the folder's content is to be worked out before it opens.
bool OnRemovedExpanding(MainWindow& window, const NMTREEVIEWW& notice);
// The folder or something in it was selected.
void OnRemovedSelected(MainWindow& window);

}  // namespace hivequarry
