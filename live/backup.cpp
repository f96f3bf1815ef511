#include "live/backup.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "hive/timestamp.h"
#include "host/files.h"
#include "host/number_text.h"
#include "host/output_file.h"
#include "host/profile.h"
#include "host/text.h"
#include "live/file_protection.h"
#include "live/live_keys.h"

namespace hivequarry {
namespace {

constexpr const char* kRecordSection = "KDATES";
constexpr const char* kRecordKey = "LastBackup";

// --- names by date -------------------------------------------------------------------------------

// "B26-11-22" of an automatic backup, "S26-11-22" of any other.
std::string DateName(bool automatic, const CalendarTime& day) {
  return Concat({automatic ? "B" : "S", Decimal(day.year % 100, 2), "-", Decimal(day.month, 2), "-",
                 Decimal(day.day, 2)});
}

// The path without a last component that is named by a date, and its separators.
std::string WithoutDate(std::string base, char letter) {
  // "B26-11-22"; a letter may follow.
  constexpr size_t kShortest = 9;
  const size_t start = base.find_last_of("\\/:") + 1;  // 0 without a separator
  const std::string_view name = std::string_view(base).substr(start);
  const bool dated = base.size() >= kShortest && name.size() > 6 && name[0] == letter &&
                     name[3] == '-' && name[6] == '-';
  if (dated) base.resize(start);
  return base;
}

// --- one key -------------------------------------------------------------------------------------

// Where a saved key goes.
struct BackupFile {
  std::string file;
  bool replaces = false;  // the file of that name, as the user agreed
};

// A backup and what it has met so far.
struct Saving {
  const HiveRun& run;
  bool unprotected = false;  // a file may be read by whoever may read the folder
};

// Why a hive was not saved.
struct SaveTrouble {
  int32_t error = kRegistryDone;
  bool native = false;  // the error is a status of the kernel's
};

// What is in the way of the kernel's own call just as well: rights, and the place of the file.
// Anything else may be the way that leads to it, through names and files of the Win32 layer.
bool IsFinal(int32_t error) {
  // Error codes of the platform.
  constexpr int32_t kWriteProtected = 19, kDiskFull = 112, kFileExists = 80, kPathNotFound = 3;
  constexpr int32_t kErrors[] = {
      kRegistryDone, kPathNotFound, kRegistryDenied,     kRegistryBadHandle,  kWriteProtected,
      kFileExists,   kDiskFull,     kRegistryFileExists, kRegistryKeyDeleted, kPrivilegeNotHeld};
  return std::ranges::find(kErrors, error) != std::end(kErrors);
}

// Saves into a new file.
SaveTrouble SaveInto(RegistryKey key, const std::string& file) {
  const std::u16string name = WideOfText(file);
  const uint8_t* const descriptor = AdministratorsAlone().data();
  const int32_t error = CurrentRegistry().save(key, name.c_str(), descriptor);
  if (IsFinal(error)) return {error};
  DeleteNamedFile(file);
  return {CurrentRegistry().save_natively(key, name.c_str(), descriptor), true};
}

// Saves beside the file, which is replaced by a whole hive or not at all. What has come to the
// place since the user was asked about it stays.
SaveTrouble SaveAs(Saving& saving, RegistryKey key, const BackupFile& place) {
  const std::string& file = place.file;
  int ignored = 0;
  const std::string beside = NameBeside(file, ignored);
  if (beside.empty()) return {kRegistryDenied};
  // The call makes the file, so nothing may be under its name.
  const SaveTrouble trouble = SaveInto(key, beside);
  // Not every system heeds the descriptor in the call itself.
  const bool saved = trouble.error == kRegistryDone;
  if (saved && !ProtectFile(beside)) saving.unprotected = true;
  const bool keep = saved && (place.replaces || !IsNameTaken(file));
  const bool in_place = PutInPlace(beside, file, keep);
  if (in_place || !saved) return trouble;
  return {keep ? kRegistryDenied : kRegistryFileExists};
}

// False after a notice. `path` is for that alone.
bool SaveKey(Saving& saving, RegistryKey root, const char16_t* sub_key, const std::string& path,
             const BackupFile& place) {
  const OpenedKey key = OpenForReading(root, sub_key, kRegistryRead, kRegistryForBackup);
  if (key.error() != kRegistryDone) {
    TellOf(saving.run, {HiveEvent::kKeyNotOpened, path});
    return false;
  }
  const SaveTrouble trouble = SaveAs(saving, key.key(), place);
  if (trouble.error == kRegistryDone) return true;
  TellOf(saving.run, {.event = HiveEvent::kKeyNotSaved,
                      .name = path,
                      .error = trouble.error,
                      .native_error = trouble.native});
  return false;
}

// --- hives ---------------------------------------------------------------------------------------

// True when nothing is under the name any more.
bool MakeRoom(const HiveRun& run, const std::string& file) {
  if (!IsNameTaken(file)) return true;
  if (!Ask(run, HiveQuestion::kOverwrite, file)) return false;
  if (DeleteNamedFile(file)) return true;
  TellOf(run, {HiveEvent::kNotDeleted});
  return false;
}

// Each user's hive on its own: one that cannot be saved leaves the others. True when all were.
bool SaveUsers(Saving& saving) {
  const std::vector<UserHive> hives = UserHivesIn(saving.run.folder);
  if (hives.empty()) TellOf(saving.run, {HiveEvent::kKeyNotOpened, "HKEY_USERS"});
  bool whole = !hives.empty();
  for (const UserHive& hive : hives) {
    const BackupFile place = {hive.file, IsNameTaken(hive.file)};
    const bool allowed =
        !place.replaces || Ask(saving.run, HiveQuestion::kOverwriteUsers, hive.file);
    whole &= allowed && SaveKey(saving, kUsersRoot, hive.name.c_str(), hive.path, place);
  }
  return whole;
}

// `number` is that of the row in LiveHiveTable; the row without a file stands for all users.
bool SaveHive(Saving& saving, int number) {
  const HiveRun& run = saving.run;
  const LiveHive& hive = LiveHiveTable()[static_cast<size_t>(number)];
  const bool users = hive.file == nullptr;
  const std::string file = users ? std::string() : NameInFolder(run.folder, hive.file);
  if (!users && !MakeRoom(run, file)) return false;
  TellState(run, number, HiveState::kRunning);
  return users ? SaveUsers(saving) : SaveKey(saving, hive.root, hive.sub_key, hive.path, {file});
}

// --- dates ---------------------------------------------------------------------------------------

// Of a date in a name; up to the first character that is no digit, 0 for none.
int NumberAt(std::string_view text, size_t at, size_t digits) {
  int number = 0;
  for (const char c : text.substr(std::min(at, text.size()), digits)) {
    if (c < '0' || c > '9') break;
    number = number * 10 + (c - '0');
  }
  return number;
}

bool IsTime(const CalendarTime& time) {
  const bool ranges = time.year > 1600 && time.month >= 1 && time.month <= 12 && time.day >= 1 &&
                      time.day <= 31 && time.hour < 24 && time.minute < 60;
  return ranges && CalendarOfFileTime(FileTimeOfCalendar(time)).day == time.day;
}

// The same day and time one month later, or the last day of a month that is too short.
// `time` is one that IsTime holds for; then so is what is returned.
CalendarTime MonthAfter(CalendarTime time) {
  time.year += time.month / 12;
  time.month = time.month % 12 + 1;
  while (!IsTime(time)) --time.day;
  return time;
}

}  // namespace

std::string BackupFolderName(const std::string& base, bool automatic, const CalendarTime& today) {
  const std::string name = DateName(automatic, today);
  const std::string path = NameInFolder(WithoutDate(WithoutEndSeparators(base), name[0]), name);
  if (!IsNameTaken(path)) return path;
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    if (!IsNameTaken(path + letter)) return path + letter;
  }
  return {};
}

CalendarTime LocalNow() { return CalendarOfFileTime(LocalFileTimeNow()); }

bool HasBackupPrivilege(const HiveRun& run) {
  const EnabledPrivilege privilege(Privilege::kBackup);
  if (!privilege.held()) TellOf(run, {HiveEvent::kNoBackupPrivilege});
  return privilege.held();
}

// Makes the folder, and one above it, but no longer path: what is missing beyond that is a wrong
// name rather.
bool EnsureFolder(const HiveRun& run) {
  constexpr size_t kShortest = 4;
  const std::string folder = WithoutEndSeparators(run.folder);
  if (IsExistingFolder(folder)) return true;
  const auto make = [](const std::string& name) {
    std::error_code error;
    return std::filesystem::create_directory(FilePath(name), error);
  };
  if (folder.size() >= kShortest && !make(folder)) {
    make(FolderOf(folder));
    if (!make(folder)) TellOf(run, {HiveEvent::kFolderNotMade, folder});
  }
  if (IsExistingFolder(folder)) return true;
  TellOf(run, {HiveEvent::kNoFolder});
  return false;
}

HiveRunResult RunBackup(const HiveRun& run, const std::string& settings_file) {
  for (int hive = 0; hive < kLiveHives; ++hive) TellState(run, hive, HiveState::kNeutral);
  if (!HasBackupPrivilege(run) || !EnsureFolder(run)) return {};
  // Held for all of the hives; asking for it above was for the notice alone.
  const EnabledPrivilege privilege(Privilege::kBackup);
  Saving saving{run};
  const HiveRunResult result = ForEachHive(run, [&](int hive) { return SaveHive(saving, hive); });
  if (saving.unprotected) TellOf(run, {HiveEvent::kUnprotected, run.folder});
  if (result.done == 0 || result.stopped) return result;
  TellOf(run, {HiveEvent::kSaved});
  RecordBackup(settings_file, LocalNow());
  return result;
}

std::string SaveErrorText(int32_t error) {
  if (error == kRegistryDenied) return "(Access denied)";
  if (error == kPrivilegeNotHeld) return "(Privilege not held)";
  const std::string text = CurrentRegistry().error_text(error);
  return '(' + (text.empty() ? "Error " + std::to_string(error) : text) + ')';
}

// `last` is as RecordBackup writes it, in local time; what is no time makes one due.
bool IsBackupDue(std::string_view last, BackupPeriod period, const CalendarTime& now) {
  constexpr size_t kShortest = 16;
  constexpr uint64_t kWeek = 604'800 * kFileTimeSecond;
  if (last.size() < kShortest) return true;
  const CalendarTime then{.year = NumberAt(last, 0, 4),
                          .month = NumberAt(last, 5, 2),
                          .day = NumberAt(last, 8, 2),
                          .hour = NumberAt(last, 12, 2),
                          .minute = NumberAt(last, 15, 2)};
  if (!IsTime(then)) return true;
  const uint64_t next = period == BackupPeriod::kMonth ? FileTimeOfCalendar(MonthAfter(then))
                                                       : FileTimeOfCalendar(then) + kWeek;
  return FileTimeOfCalendar(now) >= next;
}

std::string ReadLastBackup(const std::string& settings_file) {
  constexpr size_t kLongest = 23;
  if (settings_file.empty()) return {};
  return ReadProfile(settings_file, kRecordSection, kRecordKey, "", kLongest);
}

void RecordBackup(const std::string& settings_file, const CalendarTime& now) {
  if (settings_file.empty()) return;
  const std::string text =
      Concat({Decimal(now.year, 4), "-", Decimal(now.month, 2), "-", Decimal(now.day, 2), ", ",
              Decimal(now.hour, 2), ":", Decimal(now.minute, 2)});
  WriteProfile(settings_file, kRecordSection, kRecordKey, text);
}

}  // namespace hivequarry
