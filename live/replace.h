// Putting hive files in the place of the running system's hives, at its next start.
#pragma once

#include <string>
#include <string_view>

#include "live/backup.h"

namespace hivequarry {

// Where the system has its own files.
struct SystemPlaces {
  std::string drive = "C:";       // of the system
  std::string boot_drive = "C:";  // of the files that it starts from
  std::string boot_folder = "C:\\Boot";
};
// `drive` is "C:"; whatever the case.
bool LiesOn(std::string_view path, std::string_view drive);

// The hives that the folder has files for, as bits (HiveBit); whether the files are hives nobody
// has looked.
uint32_t MatchingHives(const std::string& folder);
// Puts the folder's files in the hives' places. The folder is on the system's drive. What the
// system used until now becomes "FILE.bak" beside the new file; one of that name that is there is
// deleted, after a question. A key that the system does not list as a hive's root is refused, as is
// a file that is kept as evidence; a hive that has two names is replaced once, by the file that
// comes first. A hive that fails never stops the others.
HiveRunResult ReplaceHives(const HiveRun& run, const SystemPlaces& places);

}  // namespace hivequarry
