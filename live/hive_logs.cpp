#include "live/hive_logs.h"

#include <cstdio>
#include <filesystem>
#include <string_view>

#include "hive/image.h"
#include "hive/root_path.h"
#include "host/files.h"
#include "host/log_files.h"
#include "host/output_file.h"
#include "live/file_protection.h"
#include "live/live_hives.h"

namespace hivequarry {
namespace {

namespace fs = std::filesystem;

void RemoveFiles(const std::vector<std::string>& files) {
  std::error_code error;
  for (const std::string& file : files) fs::remove(FilePath(file), error);
}

}  // namespace

// Two numbers, which a write makes different at its beginning and equal at its end.
bool IsSettled(const std::string& hive) {
  int error = 0;
  std::FILE* const opened = OpenFile(hive, "rb", error);
  if (opened == nullptr) return false;
  uint8_t numbers[8] = {};
  const bool read = ReadFileBytes(opened, 4, numbers, sizeof numbers) == sizeof numbers;
  std::fclose(opened);
  return read && LoadU32(numbers) == LoadU32(numbers + 4);
}

// The hive comes to its place last: where it is, its logs are too. Empty when all went well, else
// why not, for the user.
std::string CopyHiveWithLogs(const std::string& hive, const std::string& place) {
  std::error_code ignored;
  if (fs::equivalent(FilePath(FullName(hive)).parent_path(),
                     FilePath(FullName(place)).parent_path(), ignored)) {
    return "The folder of " + hive + " stays as it is: choose another one for the copy !";
  }
  const std::vector<std::string> other = LogsOf(place);
  if (!other.empty()) return "Log file " + other[0] + " of another hive is there !";
  const std::string failure = "Could Not Open or Create File " + place;
  int error = 0;
  const std::string made = NameBeside(place, error);
  if (made.empty()) return failure;
  std::vector<std::string> logs;
  bool copied = CopyProtected(hive, made);
  // A log that is copied under the copy's name is what a system will replay into it.
  for (const std::string& log : LogsOf(hive)) {
    logs.push_back(place + std::string(LogEnding(log, hive)));
    copied = copied && CopyProtected(log, logs.back());
  }
  if (PutInPlace(made, place, copied)) return {};
  RemoveFiles(logs);
  return failure;
}

std::string NameForCopy(const std::string& hive, const std::string& folder) {
  // Bounds the look at a folder; nobody makes as many copies.
  constexpr int kMaxTries = 999;
  const std::string base = NameInFolder(folder, LeafOf(FilePath(hive)));
  for (int number = 1; number <= kMaxTries && IsExistingFolder(folder); ++number) {
    std::string name = base + ".copy" + (number == 1 ? "" : std::to_string(number));
    if (!IsNameTaken(name) && LogsOf(name).empty()) return name;
  }
  return {};
}

}  // namespace hivequarry
