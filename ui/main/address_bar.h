// The path line above the panes: shows where the selected key is, and leads to a key that is typed.
#pragma once

namespace hivequarry {

struct MainWindow;

// Puts the cursor there, all text selected.
void OnAddressBar(MainWindow& window);
// Goes to the key whose path was typed: with the root in short or long form, or without it. Where
// there is none the user is told, and the nearest key above it is selected.
void GoToTypedPath(MainWindow& window);
// The path of the selected key again.
// And the focus goes to the tree; nothing without a hive.
void LeaveAddressBar(MainWindow& window);

}  // namespace hivequarry
