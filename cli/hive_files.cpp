#include "cli/hive_files.h"

#include <filesystem>
#include <iostream>
#include <system_error>

#include "cli/commands.h"
#include "cli/print_list.h"
#include "host/files.h"

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

// UTF-8, as arguments are; lines that are empty name nothing. A list may have been made on Windows,
// where a line ends in two characters.
void AddNamesOfInput(std::vector<std::string>& files) {
  for (std::string line; std::getline(std::cin, line);) {
    std::error_code ignored;
    const bool end = line.ends_with('\r') && !std::filesystem::exists(FilePath(line), ignored);
    if (end) line.pop_back();
    if (!line.empty()) files.push_back(line);
  }
}

}  // namespace hivequarry
