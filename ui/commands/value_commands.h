// Commands of the value pane.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace hivequarry {

struct MainWindow;

// Of the value pane's rows: which are selected, and what is done with those that are.
void OnSelectAllValues(MainWindow& window);
void OnInvertValues(MainWindow& window);
void OnCopyValues(MainWindow& window);
// Asks for a file and writes bytes of the hive shown to it; `name` of what they are of is proposed.
void SaveBytes(MainWindow& window, std::span<const uint8_t> bytes, const std::string& name);
// Of the value that is selected in the pane.
std::string SelectedValueName(const MainWindow& window);
void OnSaveValue(MainWindow& window);

}  // namespace hivequarry
