// Commands of the value pane.
#pragma once

#include <cstdint>
#include <span>

namespace hivequarry {

struct MainWindow;

// Of the value pane's rows: which are selected, and what is done with those that are.
void OnSelectAllValues(MainWindow& window);
void OnInvertValues(MainWindow& window);
void OnCopyValues(MainWindow& window);
// Asks for a file and writes bytes of the value that is shown to it.
void SaveBytes(MainWindow& window, std::span<const uint8_t> bytes);
void OnSaveValue(MainWindow& window);

}  // namespace hivequarry
