// What the user does in a window that compares.
#pragma once

#include "ui/compare/compare_view.h"

namespace hivequarry {

// Opens or closes the branch of a row; nothing for a key without anything below it that is shown.
void ToggleRow(CompareWindow& window, int row);
// As in a tree: to the right into a key, to the left out of it.
void GoSideways(CompareWindow& window, bool right);
// Marks the filter in force in the menu.
void CheckFilter(const CompareWindow& window);
// Closing is posted: the menu or key that asked for it still uses the window.
void RunAct(CompareWindow& window, CompareAct act);
// The list of a comparison is given to a window of its own, once.
void OpenDifferences(MainWindow& window, ComparedHives& hives);

}  // namespace hivequarry
