#include "host/log_files.h"

#include <algorithm>

#include "host/case.h"
#include "host/files.h"
#include "host/folder_names.h"

namespace hivequarry {
namespace {

bool EndsAs(std::string_view name, std::string_view ending) {
  return name.size() >= ending.size() &&
         EqualPlainLetters(name.substr(name.size() - ending.size()), ending);
}

bool IsLogEnding(std::string_view ending) {
  if (ending.starts_with('{')) return EndsAs(ending, ".blf") || EndsAs(ending, ".regtrans-ms");
  return ending.rfind('.') == 0 && IsPageLog(ending);
}

}  // namespace

bool IsPageLog(std::string_view name) {
  return EndsAs(name, ".LOG") || EndsAs(name, ".LOG1") || EndsAs(name, ".LOG2");
}

std::string_view LogEnding(std::string_view name, std::string_view hive) {
  // Where the ending begins is not known by the length: a capital may take more bytes than its
  // small letter.
  for (size_t at = name.find_first_of(".{"); at != std::string_view::npos;
       at = name.find_first_of(".{", at + 1)) {
    const std::string_view ending = name.substr(at);
    if (IsLogEnding(ending) && EqualIgnoringCase(name.substr(0, at), hive)) return ending;
  }
  return {};
}

std::vector<std::string> LogsOf(const std::string& hive) {
  const std::string name = LeafOf(FilePath(hive));
  const std::string folder = hive.substr(0, hive.size() - name.size());
  std::vector<std::string> found;
  for (const std::string& each : NamesInFolder(folder)) {
    if (!LogEnding(each, name).empty()) found.push_back(folder + each);
  }
  std::ranges::sort(found);
  return found;
}

}  // namespace hivequarry
