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

void AddHivesOfFolder(const std::string& folder, HivesOfFolder& all) {
  const HivesOfFolder found = FindHivesOfFolder(folder);
  const auto add = [](const auto& from, auto& to) {
    to.insert(to.end(), from.begin(), from.end());
  };
  add(found.hives, all.hives);
  add(found.logs, all.logs);
  add(found.unread, all.unread);
}

// UTF-8, as arguments are; lines that are empty name nothing.
void AddNamesOfInput(std::vector<std::string>& files) {
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty()) files.push_back(line);
  }
}

}  // namespace hivequarry
