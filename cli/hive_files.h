// Hives among the files of folders.
#pragma once

#include <string>
#include <vector>

namespace hivequarry {

// True for a file that begins as a hive does, or whose base block is lost and blocks begin: its
// content says so, whatever its name is. Logs are none.
bool BeginsAsHiveFile(const std::string& file);
// Adds the hives in a folder and those below it, in the order of their names; links are not
// followed. What can't be read is told. `logs` (may be null) gets the logs, wherever they belong.
void AddHivesOfFolder(const std::string& folder, std::vector<std::string>& files,
                      std::vector<std::string>* logs = nullptr);
// Adds the names that the standard input has, one a line.
void AddNamesOfInput(std::vector<std::string>& files);

}  // namespace hivequarry
