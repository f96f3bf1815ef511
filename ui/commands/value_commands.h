// Commands of the value pane.
#pragma once

namespace hivequarry {

struct MainWindow;

// Of the value pane's rows: which are selected, and what is done with those that are.
void OnSelectAllValues(MainWindow& window);
void OnInvertValues(MainWindow& window);
void OnCopyValues(MainWindow& window);
void OnSaveValue(MainWindow& window);

}  // namespace hivequarry
