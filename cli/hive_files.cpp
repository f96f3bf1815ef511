#include "cli/hive_files.h"

#include <iostream>

#include "cli/commands.h"
#include "cli/print_list.h"

namespace hivequarry {

int TellUnread(const std::vector<UnreadPlace>& unread, int status) {
  for (const UnreadPlace& each : unread) Complain("Can not read " + UnreadPlaceText(each));
  const bool well = status == kExitDone || status == kExitDirty;
  return well && !unread.empty() ? kExitFailed : status;
}

void AddNamesOfInput(std::vector<std::string>& files) {
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty()) files.push_back(line);
  }
}

}  // namespace hivequarry
