// Report Lists: saving a list as one, and loading one into a list. The commands are called when
// guard and needs allow it.
#pragma once

#include <string>

namespace hivequarry {

struct ListPlace;

// Commands of a list; called when guard and needs allow it.
//
// They ask for a file. What is loaded takes the place of what the list shows.
void OnSaveReport(ListPlace& place);
void OnSaveSelectedReport(ListPlace& place);
void OnLoadReport(ListPlace& place);

// Loads a Report List (UTF-8 name) into the place, on a worker. Ignored while one is at work.
void LoadReport(ListPlace& place, const std::string& file);

}  // namespace hivequarry
