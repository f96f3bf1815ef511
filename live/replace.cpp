#include "live/replace.h"

#include <algorithm>
#include <filesystem>

#include "hive/root_path.h"
#include "host/files.h"
#include "host/host.h"
#include "host/output_file.h"

namespace hivequarry {
namespace {

void Warn(const std::string& text, const char* title = kProgramName) {
  ShowMessage(text.c_str(), title, Icon::kExclamation);
}

bool HasUserFile(const std::string& folder) {
  for (const UserHive& hive : UserHivesIn(folder)) {
    if (IsNameTaken(hive.file)) return true;
  }
  return false;
}

// What is said behind the key that was not replaced.
std::string TroubleOf(int32_t error, const std::string& file) {
  switch (error) {
    case kRegistryNotFound:
      return "\rFile " + file + " not found !";
    case kRegistryDenied:
      return " (Access denied)!";
    case kRegistryOtherDrive:
      return "\r" + file + " can not be moved to a different disk drive !";
    case kPrivilegeNotHeld:
      return " (Privilege not held)";
    default:
      return {};
  }
}

// True when the hive that is in use now can be kept under that name.
bool MakeRoomForOld(const std::string& old) {
  if (IsExistingFolder(old)) {
    Warn("Invalid file name " + old + " for backup !");
    return false;
  }
  if (!IsNameTaken(old)) return true;
  const std::string question = "Backup file " + old + " already exists ! Overwrite file ?";
  return ShowMessage(question.c_str(), kProgramName, Icon::kQuestion, Buttons::kYesNo) ==
             Answer::kYes &&
         DeleteNamedFile(old);
}

bool ReplaceKey(RegistryKey root, const char16_t* sub_key, const std::string& path,
                const std::string& file) {
  const std::string old = file + ".bak";
  if (!MakeRoomForOld(old)) return false;
  const int32_t error = CurrentRegistry().replace(root, sub_key, WideFromUtf8(file).c_str(),
                                                  WideFromUtf8(old).c_str());
  if (error != kRegistryDone) Warn("Can not replace " + path + " !" + TroubleOf(error, file));
  return error == kRegistryDone;
}

bool ReplaceUsers(const std::string& folder) {
  int replaced = 0;
  bool whole = true;
  for (const UserHive& hive : UserHivesIn(folder)) {
    if (!IsNameTaken(hive.file)) continue;
    const bool done = ReplaceKey(kUsers, hive.name.c_str(), hive.path, hive.file);
    replaced += done ? 1 : 0;
    whole &= done;
  }
  return whole && replaced > 0;
}

bool CopyInto(const std::string& from, const std::string& to) {
  return ChangeFile(to, [&from](const std::string& copy) {
    std::error_code error;
    constexpr auto kOver = std::filesystem::copy_options::overwrite_existing;
    return std::filesystem::copy_file(FilePath(from), FilePath(copy), kOver, error);
  });
}

// The boot hive is on the boot drive, and its new file has to be there too. Empty when the copy
// failed.
std::string OnBootDrive(const std::string& file, const SystemPlaces& places) {
  if (LiesOn(file, places.boot_drive) || !IsExistingFolder(places.boot_folder)) return file;
  const std::string folder = NameInFolder(places.boot_folder, "hivequarry");
  std::error_code error;
  std::filesystem::create_directory(FilePath(folder), error);
  const std::string copy = NameInFolder(folder, "bcd");
  return CopyInto(file, copy) ? copy : std::string();
}

bool ReplaceHive(const HiveRun& run, int number, const SystemPlaces& places) {
  TellState(run, number, HiveState::kRunning);
  const LiveHive& hive = LiveHiveTable()[static_cast<size_t>(number)];
  if (hive.file == nullptr) return ReplaceUsers(run.folder);
  std::string file = NameInFolder(run.folder, hive.file);
  if (!IsNameTaken(file)) return false;
  if (number == kBootHive) file = OnBootDrive(file, places);
  return !file.empty() && ReplaceKey(hive.root, hive.sub_key, hive.path, file);
}

}  // namespace

bool LiesOn(std::string_view path, std::string_view drive) {
  const std::string_view rest = path.substr(std::min(path.size(), drive.size()));
  return EqualIgnoringCase(path.substr(0, drive.size()), drive) &&
         (rest.empty() || rest[0] == '\\' || rest[0] == '/');
}

uint32_t MatchingHives(const std::string& folder) {
  uint32_t hives = 0;
  for (int number = 0; number < kLiveHives; ++number) {
    const LiveHive& hive = LiveHiveTable()[static_cast<size_t>(number)];
    const bool matches =
        hive.file == nullptr ? HasUserFile(folder) : IsNameTaken(NameInFolder(folder, hive.file));
    if (matches) hives |= HiveBit(number);
  }
  return hives;
}

bool MayReplace(const std::string& folder, const SystemPlaces& places) {
  if (!LiesOn(folder, places.drive)) {
    Warn("Directory must be located on " + places.drive + " !");
    return false;
  }
  const std::string question =
      "Replace Registry Hive(s) with files from\r" + folder + " ?\r(Needs system restart !)";
  return ShowMessage(question.c_str(), kProgramName, Icon::kExclamation,
                     Buttons::kYesNoDefaultNo) == Answer::kYes;
}

HiveRunResult ReplaceHives(const HiveRun& run, const SystemPlaces& places) {
  for (int hive = 0; hive < kLiveHives; ++hive) TellState(run, hive, HiveState::kNeutral);
  if (!IsExistingFolder(run.folder)) {
    Warn("Invalid directory !");
    return {};
  }
  const EnabledPrivilege privilege(Privilege::kRestore);
  if (!privilege.held()) {
    Warn("No Restore Privilege !", "Error");
    return {};
  }
  const HiveRunResult result =
      ForEachHive(run, [&](int hive) { return ReplaceHive(run, hive, places); });
  if (result.done > 0) {
    ShowMessage("Replacing Hive(s) done. Changes will take effect after system restart !",
                kProgramName, Icon::kInformation);
  }
  return result;
}

}  // namespace hivequarry
