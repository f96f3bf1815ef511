// Hives among the files of folders.
#pragma once

#include <string>
#include <vector>

#include "app/hive_folder.h"

namespace hivequarry {

// Tells of each of them; `status`, or kExitFailed where it was better than that.
int TellUnread(const std::vector<UnreadPlace>& unread, int status);
// Adds what a folder has.
void AddHivesOfFolder(const std::string& folder, HivesOfFolder& all);
// Adds the names that the standard input has, one a line.
void AddNamesOfInput(std::vector<std::string>& files);

}  // namespace hivequarry
