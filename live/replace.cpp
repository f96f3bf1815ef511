#include "live/replace.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <vector>

#include "hive/root_path.h"
#include "host/evidence.h"
#include "host/files.h"
#include "host/host.h"
#include "host/output_file.h"
#include "live/file_protection.h"
#include "live/mounted_hives.h"

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

// The words of an error row, after those that name the key that was not replaced.
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
  if (ShowMessage(question.c_str(), kProgramName, Icon::kQuestion, Buttons::kYesNo) !=
      Answer::kYes) {
    return false;
  }
  return DeleteNamedFile(old) || (Warn("Cannot delete file !"), false);
}

// A run and what it has done so far.
struct Replacing {
  const HiveRun& run;
  const SystemPlaces& places;
  MountedHives mounted = ReadMountedHives();
  std::map<std::u16string, std::string> replaced =
      {};                                     // by kernel name: the path that was asked for
  std::vector<std::string> other_names = {};  // of these, left out
};

// What a replacement asks for.
struct Place {
  RegistryKey root;
  const char16_t* sub_key;
  std::string path;  // as the user knows it
  std::u16string kernel_name = KernelNameOf(root, sub_key);
};

bool Refuse(const Place& place, const std::string& why) {
  Warn("Can not replace " + place.path + " !\r" + why);
  return false;
}

// The system's call would take any key, and replace the hive that holds it.
bool IsWholeHive(const Replacing& state, const Place& place) {
  if (!state.mounted.listed)
    return Refuse(place, "The system's list of its hives can not be read.");
  if (IsHiveRoot(state.mounted, place.kernel_name)) return true;
  return Refuse(place, "It is no hive of its own: the one that holds it would be replaced.");
}

// One hive has several names: the current user's is one of HKEY_USERS as well.
bool IsReplaced(Replacing& state, const Place& place) {
  const auto found = state.replaced.find(place.kernel_name);
  if (found == state.replaced.end()) return false;
  state.other_names.push_back(place.path + " (" + found->second + ")");
  return true;
}

// True also for a hive that this run has replaced under another name.
bool ReplaceKey(Replacing& state, const Place& place, const std::string& file) {
  if (!IsWholeHive(state, place)) return false;
  if (IsReplaced(state, place)) return true;
  if (IsEvidence(file)) {
    return Refuse(place, file + " is open in this program and stays as it is.");
  }
  const std::string old = file + ".bak";
  if (!MakeRoomForOld(old)) return false;
  const int32_t error = CurrentRegistry().replace(
      place.root, place.sub_key, WideOfText(file).c_str(), WideOfText(old).c_str());
  if (error != kRegistryDone) {
    Warn("Can not replace " + place.path + " !" + TroubleOf(error, file));
    return false;
  }
  state.replaced[place.kernel_name] = place.path;
  return true;
}

bool ReplaceUsers(Replacing& state) {
  int replaced = 0;
  bool whole = true;
  for (const UserHive& hive : UserHivesIn(state.run.folder)) {
    if (!IsNameTaken(hive.file)) continue;
    const bool done = ReplaceKey(state, {kUsers, hive.name.c_str(), hive.path}, hive.file);
    replaced += done ? 1 : 0;
    whole &= done;
  }
  return whole && replaced > 0;
}

bool CopyInto(const std::string& from, const std::string& to) {
  int error = 0;
  const std::string copy = NameBeside(to, error);
  return !copy.empty() && PutInPlace(copy, to, CopyProtected(from, copy));
}

// The boot hive is on the boot drive, and its new file has to be there too. Empty when there is no
// copy: one of before is only replaced after a question.
std::string OnBootDrive(const std::string& file, const SystemPlaces& places) {
  if (LiesOn(file, places.boot_drive) || !IsExistingFolder(places.boot_folder)) return file;
  const std::string folder = NameInFolder(places.boot_folder, "hivequarry");
  std::error_code error;
  std::filesystem::create_directory(FilePath(folder), error);
  const std::string copy = NameInFolder(folder, "bcd");
  const std::string question = "File " + copy + " already exists !  Overwrite file ?";
  if (IsNameTaken(copy) && ShowMessage(question.c_str(), kProgramName, Icon::kQuestion,
                                       Buttons::kYesNo) != Answer::kYes) {
    return {};
  }
  return CopyInto(file, copy) ? copy : std::string();
}

bool ReplaceHive(Replacing& state, int number) {
  TellState(state.run, number, HiveState::kRunning);
  const LiveHive& hive = LiveHiveTable()[static_cast<size_t>(number)];
  if (hive.file == nullptr) return ReplaceUsers(state);
  std::string file = NameInFolder(state.run.folder, hive.file);
  if (!IsNameTaken(file)) return false;
  const Place place = {hive.root, hive.sub_key, hive.path};
  if (number == kBootHive) {
    if (!IsWholeHive(state, place)) return false;
    file = OnBootDrive(file, state.places);
  }
  return !file.empty() && ReplaceKey(state, place, file);
}

void TellOtherNames(const Replacing& state) {
  if (state.other_names.empty()) return;
  std::string text = "Left out, as the same hive was replaced under another name :";
  for (const std::string& name : state.other_names) text += '\r' + name;
  ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
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
  // Some hives let nobody open their keys but a backup.
  const EnabledPrivilege backup(Privilege::kBackup);
  Replacing state{run, places};
  const HiveRunResult result = ForEachHive(run, [&](int hive) { return ReplaceHive(state, hive); });
  TellOtherNames(state);
  if (result.done > 0) {
    ShowMessage("Replacing Hive(s) done. Changes will take effect after system restart !",
                kProgramName, Icon::kInformation);
  }
  return result;
}

}  // namespace hivequarry
