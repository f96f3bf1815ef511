#include "live/replace.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <vector>

#include "hive/root_path.h"
#include "host/evidence.h"
#include "host/files.h"
#include "host/output_file.h"
#include "host/text.h"
#include "live/file_protection.h"
#include "live/mounted_hives.h"

namespace hivequarry {
namespace {

bool HasUserFile(const std::string& folder) {
  for (const UserHive& hive : UserHivesIn(folder)) {
    if (IsNameTaken(hive.file)) return true;
  }
  return false;
}

// True when the hive that is in use now can be kept under that name.
// The system refuses to keep it under a name that is taken.
bool MakeRoomForOld(const HiveRun& run, const std::string& old) {
  if (IsExistingFolder(old)) {
    TellOf(run, {HiveEvent::kBadOldName, old});
    return false;
  }
  if (!IsNameTaken(old)) return true;
  if (!Ask(run, HiveQuestion::kOverwriteOld, old)) return false;
  if (DeleteNamedFile(old)) return true;
  TellOf(run, {HiveEvent::kNotDeleted});
  return false;
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
struct ReplacedKey {
  RegistryKey root;
  const char16_t* sub_key;
  std::string path;  // as the user knows it
  std::u16string kernel_name = KernelNameOf(root, sub_key);
};

bool Refuse(const Replacing& state, const HiveNotice& why) {
  TellOf(state.run, why);
  return false;
}

// The system's call would take any key, and replace the hive that holds it.
bool IsWholeHive(const Replacing& state, const ReplacedKey& place) {
  if (!state.mounted.listed) return Refuse(state, {HiveEvent::kHiveListUnreadable, place.path});
  if (IsHiveRoot(state.mounted, place.kernel_name)) return true;
  return Refuse(state, {HiveEvent::kNoHiveRoot, place.path});
}

// One hive has several names: the current user's is one of HKEY_USERS as well.
bool IsReplaced(Replacing& state, const ReplacedKey& place) {
  const auto found = state.replaced.find(place.kernel_name);
  if (found == state.replaced.end()) return false;
  state.other_names.push_back(place.path + " (" + found->second + ")");
  return true;
}

// True also for a hive that this run has replaced under another name. Nothing that is asked or
// deleted comes before the refusals.
bool ReplaceKey(Replacing& state, const ReplacedKey& place, const std::string& file) {
  if (!IsWholeHive(state, place)) return false;
  if (IsReplaced(state, place)) return true;
  if (IsEvidence(file)) return Refuse(state, {HiveEvent::kIsEvidence, place.path, file});
  const std::string old = file + ".bak";
  if (!MakeRoomForOld(state.run, old)) return false;
  const int32_t error = CurrentRegistry().replace(
      place.root, place.sub_key, WideOfText(file).c_str(), WideOfText(old).c_str());
  if (error != kRegistryDone) {
    return Refuse(
        state,
        {.event = HiveEvent::kNotReplaced, .name = place.path, .file = file, .error = error});
  }
  state.replaced[place.kernel_name] = place.path;
  return true;
}

// Users without a file in the folder are passed over; false when none had one.
bool ReplaceUsers(Replacing& state) {
  int replaced = 0;
  bool whole = true;
  for (const UserHive& hive : UserHivesIn(state.run.folder)) {
    if (!IsNameTaken(hive.file)) continue;
    const bool done = ReplaceKey(state, {kUsersRoot, hive.name.c_str(), hive.path}, hive.file);
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
std::string OnBootDrive(const Replacing& state, const std::string& file) {
  const SystemPlaces& places = state.places;
  if (LiesOn(file, places.boot_drive) || !IsExistingFolder(places.boot_folder)) return file;
  const std::string folder = NameInFolder(places.boot_folder, "hivequarry");
  std::error_code error;
  std::filesystem::create_directory(FilePath(folder), error);
  const std::string copy = NameInFolder(folder, "bcd");
  if (IsNameTaken(copy) && !Ask(state.run, HiveQuestion::kOverwrite, copy)) return {};
  return CopyInto(file, copy) ? copy : std::string();
}

// The boot hive is replaced by a copy of the file on the boot drive. False where there is no file
// to replace the hive by.
bool ReplaceHive(Replacing& state, int number) {
  TellState(state.run, number, HiveState::kRunning);
  const LiveHive& hive = LiveHiveTable()[static_cast<size_t>(number)];
  if (hive.file == nullptr) return ReplaceUsers(state);
  std::string file = NameInFolder(state.run.folder, hive.file);
  if (!IsNameTaken(file)) return false;
  const ReplacedKey place = {hive.root, hive.sub_key, hive.path};
  if (number == kBootHive) {
    // Asked here too: no copy is made for a hive that is refused.
    if (!IsWholeHive(state, place)) return false;
    file = OnBootDrive(state, file);
  }
  return !file.empty() && ReplaceKey(state, place, file);
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

HiveRunResult ReplaceHives(const HiveRun& run, const SystemPlaces& places) {
  for (int hive = 0; hive < kLiveHives; ++hive) TellState(run, hive, HiveState::kNeutral);
  if (!IsExistingFolder(run.folder)) {
    TellOf(run, {HiveEvent::kNoFolder});
    return {};
  }
  const EnabledPrivilege privilege(Privilege::kRestore);
  if (!privilege.held()) {
    TellOf(run, {HiveEvent::kNoRestorePrivilege});
    return {};
  }
  // Some hives let nobody open their keys but a backup.
  const EnabledPrivilege backup(Privilege::kBackup);
  Replacing state{run, places};
  const HiveRunResult result = ForEachHive(run, [&](int hive) { return ReplaceHive(state, hive); });
  if (!state.other_names.empty()) {
    TellOf(run, {.event = HiveEvent::kOtherNames, .names = state.other_names});
  }
  if (result.done > 0) TellOf(run, {HiveEvent::kReplaced});
  return result;
}

}  // namespace hivequarry
