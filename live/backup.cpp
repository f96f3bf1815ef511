#include "live/backup.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "host/files.h"
#include "host/host.h"
#include "host/number_text.h"
#include "host/output_file.h"
#include "host/profile.h"
#include "lists/list_report.h"
#include "live/file_protection.h"
#include "live/live_keys.h"

namespace hivequarry {
namespace {

constexpr uint64_t kUnitsPerSecond = 10'000'000;
constexpr const char* kErrorLog = "err";
constexpr const char* kSuccessLog = "ok";
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
  constexpr size_t kShortest = 9;
  const size_t start = base.find_last_of("\\/:") + 1;  // 0 without a separator
  const std::string_view name = std::string_view(base).substr(start);
  const bool dated = base.size() >= kShortest && name.size() > 6 && name[0] == letter &&
                     name[3] == '-' && name[6] == '-';
  if (dated) base.resize(start);
  return base;
}

// --- messages ------------------------------------------------------------------------------------

void Tell(const Backup& backup, const std::string& text, Icon icon = Icon::kExclamation,
          const char* title = kProgramName) {
  if (backup.automatic) return AppendLog(backup.log_folder, kErrorLog, text);
  ShowMessage(text.c_str(), title, icon);
}

// Nobody is asked about a file in an automatic backup: that it is there is an error.
bool MayOverwrite(const Backup& backup, const std::string& file, const char* question) {
  const std::string found = "File " + file + " already exists !";
  if (backup.automatic) {
    AppendLog(backup.log_folder, kErrorLog, found);
    return false;
  }
  return ShowMessage((found + question).c_str(), kProgramName, Icon::kQuestion, Buttons::kYesNo) ==
         Answer::kYes;
}

struct Place {
  std::string file;
  bool replaces = false;  // the file of that name, as the user agreed
};

// A backup and what it has met so far.
struct Saving {
  const Backup& backup;
  bool unprotected = false;  // a file may be read by whoever may read the folder
};

// --- one key -------------------------------------------------------------------------------------

// What is in the way of the kernel's own call just as well: rights, and the place of the file.
// Anything else may be the way that leads to it, through names and files of the Win32 layer.
bool IsFinal(int32_t error) {
  constexpr int32_t kWriteProtected = 19, kDiskFull = 112, kFileExists = 80, kPathNotFound = 3;
  constexpr int32_t kErrors[] = {
      kRegistryDone, kPathNotFound, kRegistryDenied,     kRegistryBadHandle,  kWriteProtected,
      kFileExists,   kDiskFull,     kRegistryFileExists, kRegistryKeyDeleted, kPrivilegeNotHeld};
  return std::ranges::find(kErrors, error) != std::end(kErrors);
}

// Saves into a new file; empty when that is done, else what is said of it.
std::string SaveInto(RegistryKey key, const std::string& file) {
  const std::u16string name = WideOfText(file);
  const uint8_t* const descriptor = AdministratorsAlone().data();
  const int32_t error = CurrentRegistry().save(key, name.c_str(), descriptor);
  if (error == kRegistryDone) return {};
  if (IsFinal(error)) return SaveErrorText(error);
  DeleteNamedFile(file);
  const int32_t native = CurrentRegistry().save_natively(key, name.c_str(), descriptor);
  return native == kRegistryDone ? std::string() : "(Error " + std::to_string(native) + ")";
}

// Saves beside the file, which is replaced by a whole hive or not at all. What has come to the
// place since the user was asked about it stays.
std::string SaveAs(Saving& saving, RegistryKey key, const Place& place) {
  const std::string& file = place.file;
  int ignored = 0;
  const std::string beside = NameBeside(file, ignored);
  if (beside.empty()) return SaveErrorText(kRegistryDenied);
  const std::string trouble = SaveInto(key, beside);
  // Not every system heeds the descriptor in the call itself.
  if (trouble.empty() && !ProtectFile(beside)) saving.unprotected = true;
  const bool keep = trouble.empty() && (place.replaces || !IsNameTaken(file));
  const bool in_place = PutInPlace(beside, file, keep);
  if (in_place || !trouble.empty()) return trouble;
  return SaveErrorText(keep ? kRegistryDenied : kRegistryFileExists);
}

// False after a message. `path` is for that alone.
bool SaveKey(Saving& saving, RegistryKey root, const char16_t* sub_key, const std::string& path,
             const Place& place) {
  const OpenedKey key = OpenForReading(root, sub_key, kRegistryRead, kRegistryForBackup);
  if (key.error() != kRegistryDone) {
    Tell(saving.backup, "Can not open Registry key " + path + " !");
    return false;
  }
  const std::string trouble = SaveAs(saving, key.key(), place);
  if (!trouble.empty()) Tell(saving.backup, "Can not backup Registry key " + path + " !" + trouble);
  return trouble.empty();
}

// --- hives ---------------------------------------------------------------------------------------

// True when nothing is under the name any more.
bool MakeRoom(const Backup& backup, const std::string& file) {
  if (!IsNameTaken(file)) return true;
  if (!MayOverwrite(backup, file, "  Overwrite file ?")) return false;
  if (DeleteNamedFile(file)) return true;
  Tell(backup, "Cannot delete file !");
  return false;
}

bool SaveUsers(Saving& saving) {
  const Backup& backup = saving.backup;
  const std::vector<UserHive> hives = UserHivesIn(backup.run.folder);
  if (hives.empty()) Tell(backup, "Can not open Registry key HKEY_USERS !");
  bool whole = !hives.empty();
  for (const UserHive& hive : hives) {
    const Place place = {hive.file, IsNameTaken(hive.file)};
    const bool allowed = !place.replaces || MayOverwrite(backup, hive.file, " Overwrite file ?");
    whole &= allowed && SaveKey(saving, kUsers, hive.name.c_str(), hive.path, place);
  }
  return whole;
}

bool SaveHive(Saving& saving, int number) {
  const Backup& backup = saving.backup;
  const LiveHive& hive = LiveHiveTable()[static_cast<size_t>(number)];
  const bool users = hive.file == nullptr;
  const std::string file = users ? std::string() : NameInFolder(backup.run.folder, hive.file);
  if (!users && !MakeRoom(backup, file)) return false;
  TellState(backup.run, number, HiveState::kRunning);
  return users ? SaveUsers(saving) : SaveKey(saving, hive.root, hive.sub_key, hive.path, {file});
}

void TellDone(const Backup& backup) {
  constexpr const char* kDone = "Backup done.";
  if (!backup.automatic) {
    ShowMessage(kDone, kProgramName, Icon::kInformation);
    return;
  }
  AppendLog(backup.log_folder, kSuccessLog, kDone);
  RecordBackup(backup.settings_file, LocalNow());
}

// --- dates ---------------------------------------------------------------------------------------

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

bool HasBackupPrivilege(const Backup& backup) {
  const EnabledPrivilege privilege(Privilege::kBackup);
  if (!privilege.held()) Tell(backup, "No Backup Privilege !", Icon::kExclamation, "Error");
  return privilege.held();
}

bool EnsureFolder(const Backup& backup) {
  constexpr size_t kShortest = 4;
  const std::string folder = WithoutEndSeparators(backup.run.folder);
  if (IsExistingFolder(folder)) return true;
  const auto make = [](const std::string& name) {
    std::error_code error;
    return std::filesystem::create_directory(FilePath(name), error);
  };
  if (folder.size() >= kShortest && !make(folder)) {
    make(FolderOf(folder));
    if (!make(folder)) {
      Tell(backup, "Can not create/open directory\r\n" + folder + " !", Icon::kExclamation,
           "Error");
    }
  }
  if (IsExistingFolder(folder)) return true;
  Tell(backup, "Invalid directory !");
  return false;
}

HiveRunResult RunBackup(const Backup& backup) {
  for (int hive = 0; hive < kLiveHives; ++hive) TellState(backup.run, hive, HiveState::kNeutral);
  if (!HasBackupPrivilege(backup) || !EnsureFolder(backup)) return {};
  const EnabledPrivilege privilege(Privilege::kBackup);
  Saving saving{backup};
  const HiveRunResult result =
      ForEachHive(backup.run, [&](int hive) { return SaveHive(saving, hive); });
  if (saving.unprotected) Tell(backup, UnprotectedText(backup.run.folder));
  if (result.done > 0 && !result.stopped) TellDone(backup);
  return result;
}

std::string SaveErrorText(int32_t error) {
  if (error == kRegistryDenied) return "(Access denied)";
  if (error == kPrivilegeNotHeld) return "(Privilege not held)";
  const std::string text = CurrentRegistry().error_text(error);
  return '(' + (text.empty() ? "Error " + std::to_string(error) : text) + ')';
}

void AppendLog(const std::string& folder, const char* extension, const std::string& text) {
  int error = 0;
  const std::string file = NameInFolder(folder, std::string("hivequarry.") + extension);
  OutputFile log;
  if (!OpenOutput(file, OutputMode::kAppend, log, error)) return;
  WriteOutput(log, "\r\n" + ReportTimeNow() + "\r\n" + text + "\r\n---------");
  CloseOutput(log, true);
}

bool IsBackupDue(std::string_view last, BackupPeriod period, const CalendarTime& now) {
  constexpr size_t kShortest = 16;
  constexpr uint64_t kWeek = 604'800 * kUnitsPerSecond;
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
