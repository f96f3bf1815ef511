#include "host/folder_names.h"

#ifndef _WIN32

#include <filesystem>
#include <system_error>

#include "host/files.h"

namespace hivequarry {

std::vector<std::string> NamesInFolder(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator at(folder.empty() ? "." : FilePath(folder), error);
       !error && at != end(at); at.increment(error)) {
    names.push_back(LeafOf(at->path()));
  }
  return names;
}

}  // namespace hivequarry

#endif
