// The commands that show a key in the system's registry editor.
#pragma once

namespace hivequarry {

struct ListPlace;
struct MainWindow;

// The selected key, with the selected value when the value pane has the focus.
void OnGoToRegedit(MainWindow& window);
// What a row of a list speaks of: the key, and the value if the list has one.
void OnListRegedit(ListPlace& place);

}  // namespace hivequarry
