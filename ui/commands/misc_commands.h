// Commands about the program itself.
#pragma once

#include "app/settings.h"
#include "replay/replay_plan.h"

namespace hivequarry {

struct MainWindow;

// At the topic of the main window.
void OnHelp(MainWindow& window);
// The help at what the pictures and colours mean.
void OnLegend(MainWindow& window);
// Asks for the zone in which dates are shown; lists, panes and windows that show some follow.
void OnTimeZone(MainWindow& window);
void OnEvidenceMode(MainWindow& window);
// Shows the options and puts what was changed into effect; where that needs a load, the user is
// asked whether the hive is to be loaded again.
void OnOptions(MainWindow& window);
// Shows or hides the toolbar.
void OnToolbar(MainWindow& window);
// `kChoice` is put into effect in all windows at once.
template <ColourChoice kChoice>
void OnColours(MainWindow& window);
extern template void OnColours<ColourChoice::kSystem>(MainWindow& window);
extern template void OnColours<ColourChoice::kLight>(MainWindow& window);
extern template void OnColours<ColourChoice::kDark>(MainWindow& window);

// Loads the hive that is shown again, with the options of now and the logs chosen, and selects the
// same key. What was edited or taken out of its tree is back as the file has it. Only while no
// operation runs.
void ReloadHive(MainWindow& window, const LogChoice& logs);

}  // namespace hivequarry
