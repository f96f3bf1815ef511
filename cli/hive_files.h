// Hives among the files of folders.
#pragma once

#include <string>
#include <vector>

namespace hivequarry {

// A folder or file of which nobody knows what it holds.
struct UnreadPlace {
  std::string name;
  int error = 0;  // errno value
};
// "name (why)".
std::string UnreadPlaceText(const UnreadPlace& unread);
// Tells of each of them; `status`, or kExitFailed where it was better than that.
int TellUnread(const std::vector<UnreadPlace>& unread, int status);

struct FolderFiles {
  std::vector<std::string> hives;  // in the order of their names, as are the others
  std::vector<std::string> logs;
  std::vector<UnreadPlace> unread;
};
// The hives and logs in a folder and those below it, by their content: a hive begins as one, or has
// lost its base block and begins with blocks. Links are not followed. What can't be read stops
// nothing. Ends early when the user stops.
FolderFiles FindInFolder(const std::string& folder);
// Adds the names that the standard input has, one a line.
void AddNamesOfInput(std::vector<std::string>& files);

}  // namespace hivequarry
