// What is in a folder, by name.
#pragma once

#include <string>
#include <vector>

namespace hivequarry {

// The names (UTF-8) of all that is in a folder, in no order; none where it can't be read. An empty
// name means the current folder. However long its path is.
std::vector<std::string> NamesInFolder(const std::string& folder);

}  // namespace hivequarry
