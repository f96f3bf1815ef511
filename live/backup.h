// Saving the hives of the running system as files, on the user's word or unattended. Texts and file
// names are UTF-8.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hive/timestamp.h"
#include "live/live_hives.h"

namespace hivequarry {

// The folder for a backup of that day: named by the date, in `base` or in place of such a name at
// the end of it; the next free letter is after the date. Empty when none is left.
std::string BackupFolderName(const std::string& base, bool automatic, const CalendarTime& today);
CalendarTime LocalNow();

struct Backup {
  HiveRun run;
  bool automatic = false;     // every question is answered "No", messages go to the log files
  std::string log_folder;     // of an automatic one
  std::string settings_file;  // where an automatic one is recorded; empty: nowhere
};
// Says so when the process may not save hives.
bool HasBackupPrivilege(const Backup& backup);
// Makes the folder, or the last two of its path; false, after a message, when there is none then.
bool EnsureFolder(const Backup& backup);
// The whole backup, with the two questions above. A hive that fails never stops the others, and
// nothing half-written ever is under a file's name. The files are for administrators and the
// system alone; where that can't be, it is said. The file of an earlier backup is deleted
// (after a question) before its hive is saved.
HiveRunResult RunBackup(const Backup& backup);

// What is said of a key that was not saved: "(Access denied)".
std::string SaveErrorText(int32_t error);

// Appends an entry to "hivequarry.err" or "hivequarry.ok"; lost when the file can't be opened.
void AppendLog(const std::string& folder, const char* extension, const std::string& text);

enum class BackupPeriod : uint8_t { kWeek, kMonth };
// `last` is as RecordBackup writes it; a backup is due with any other text.
bool IsBackupDue(std::string_view last, BackupPeriod period, const CalendarTime& now);
std::string ReadLastBackup(const std::string& settings_file);
void RecordBackup(const std::string& settings_file, const CalendarTime& now);

}  // namespace hivequarry
