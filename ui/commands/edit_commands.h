// Editing values in memory.
#pragma once

namespace hivequarry {

struct MainWindow;

// Asks for another type or other data of the selected value.
void OnEditValue(MainWindow& window);
// The selected value, or every value, is again what the file has.
void OnTakeBackEdit(MainWindow& window);
void OnTakeBackAllEdits(MainWindow& window);
// A list window with the values edited so far.
void OnListEdits(MainWindow& window);

}  // namespace hivequarry
