// Hives with the logs that a system keeps beside them. Names are UTF-8.
#pragma once

#include <string>

namespace hivequarry {

// All that the system wrote to the hive is in its file: the numbers of the last write's beginning
// and of its end, at 4 and at 8 of the base block, are the same. Else a part may be in the logs
// alone.
bool IsSettled(const std::string& hive);

// Copies a hive with its logs, for a system to load and to write to: for administrators alone, not
// write-protected, and never into the hive's own folder. `place` is replaced; logs that lie beside
// it are not, they would be taken for the copy's. Empty when that is done, else what to tell the
// user, and nothing is left of the copy.
std::string CopyHiveWithLogs(const std::string& hive, const std::string& place);

// A name for such a copy in a folder, with nothing of the kind there yet; empty for an odd folder.
std::string NameForCopy(const std::string& hive, const std::string& folder);

}  // namespace hivequarry
