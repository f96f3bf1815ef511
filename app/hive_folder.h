// Hives among the files of folders, by their content.
#pragma once

#include <string>
#include <vector>

namespace hivequarry {

// A folder or file of which nobody knows what it holds.
struct UnreadPlace {
  std::string name;  // UTF-8
  int error = 0;     // errno value
};
// "name (why)".
std::string UnreadPlaceText(const UnreadPlace& unread);

// What a folder, with all below it, holds.
struct HivesOfFolder {
  std::vector<std::string> hives;  // UTF-8, in the order of their names, as are the others
  std::vector<std::string> logs;   // wherever they belong
  std::vector<UnreadPlace> unread;
};
// The hives and logs in a folder and those below it: a hive begins as one, or has lost its base
// block and begins with blocks. Links are not followed. What can't be read stops nothing. Ends
// early when the user stops. Opens each file, and reads the logs.
HivesOfFolder FindHivesOfFolder(const std::string& folder);

}  // namespace hivequarry
