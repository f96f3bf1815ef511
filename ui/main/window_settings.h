// What the main window remembers from one run to the next.
#pragma once

#include <cstdint>
#include <string>

namespace hivequarry {

struct MainWindow;

// Gives a window whose children were just made the sizes and switches of the settings.
void ApplySettings(MainWindow& window);
// Puts the window where it was, as far as a screen shows that place; false when the settings know
// none.
bool RestorePlace(MainWindow& window);
// Takes sizes, switches and place of the window into the settings, while its panes are there.
void GatherSettings(const MainWindow& window);
// Writes the settings to the program's file, if it has one.
void WriteProgramSettings();

// A hive was opened here: its file, folder and range (0 and 0 for none) are remembered.
void RememberHive(const std::string& file, uint32_t start, uint32_t end);
// And by the system, among the recent documents; not in evidence mode.
void RememberInSystem(const MainWindow& window, const std::string& file);

}  // namespace hivequarry
