#include "live/hive_logs.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string_view>

#include "hive/image.h"
#include "hive/root_path.h"
#include "host/files.h"
#include "host/output_file.h"
#include "live/file_protection.h"
#include "live/live_hives.h"

namespace hivequarry {
namespace {

namespace fs = std::filesystem;

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && EqualIgnoringCase(text.substr(text.size() - end.size()), end);
}

// Systems write the hive's name in other letters at times: "ntuser.dat.LOG1" of "NTUSER.DAT".
bool IsLog(std::string_view name, std::string_view hive) {
  if (!EqualIgnoringCase(name.substr(0, hive.size()), hive)) return false;
  const std::string_view rest = name.substr(hive.size());
  for (const std::string_view end : {".LOG", ".LOG1", ".LOG2"}) {
    if (EqualIgnoringCase(rest, end)) return true;
  }
  return rest.starts_with('{') && (EndsWith(rest, ".blf") || EndsWith(rest, ".regtrans-ms"));
}

std::string LastName(const fs::path& path) {
  const std::u8string name = path.filename().u8string();
  return {name.begin(), name.end()};
}

void RemoveFiles(const std::vector<std::string>& files) {
  std::error_code error;
  for (const std::string& file : files) fs::remove(FilePath(file), error);
}

}  // namespace

std::vector<std::string> LogsOf(const std::string& hive) {
  const std::string name = LastName(FilePath(hive));
  const std::string folder = hive.substr(0, hive.size() - name.size());
  std::vector<std::string> found;
  std::error_code error;
  for (fs::directory_iterator at(folder.empty() ? "." : FilePath(folder), error);
       !error && at != end(at); at.increment(error)) {
    const std::string each = LastName(at->path());
    if (IsLog(each, name)) found.push_back(folder + each);
  }
  std::ranges::sort(found);
  return found;
}

bool IsSettled(const std::string& hive) {
  int error = 0;
  std::FILE* const opened = OpenFile(hive, "rb", error);
  if (opened == nullptr) return false;
  uint8_t numbers[8] = {};
  const bool read = ReadFileBytes(opened, 4, numbers, sizeof numbers) == sizeof numbers;
  std::fclose(opened);
  return read && LoadU32(numbers) == LoadU32(numbers + 4);
}

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
  for (const std::string& log : LogsOf(hive)) {
    logs.push_back(place + log.substr(hive.size()));
    copied = copied && CopyProtected(log, logs.back());
  }
  if (TakePlace(made, place, copied)) return {};
  RemoveFiles(logs);
  return failure;
}

std::string NameForCopy(const std::string& hive, const std::string& folder) {
  constexpr int kMaxTries = 999;
  const std::string base = NameInFolder(folder, LastName(FilePath(hive)));
  for (int number = 1; number <= kMaxTries && IsExistingFolder(folder); ++number) {
    std::string name = base + ".copy" + (number == 1 ? "" : std::to_string(number));
    if (!IsNameTaken(name) && LogsOf(name).empty()) return name;
  }
  return {};
}

}  // namespace hivequarry
