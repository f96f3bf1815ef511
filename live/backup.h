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
// the end of it; the next free letter is after the date, where that name is taken. Empty when none
// is left. Nothing is made.
std::string BackupFolderName(const std::string& base, bool automatic, const CalendarTime& today);
// By this machine's zone: names of folders and the record of the last backup are its user's.
CalendarTime LocalNow();

// Tells the run when the process may not save hives.
bool HasBackupPrivilege(const HiveRun& run);
// Makes the folder, or the last two of its path; false, after a notice, when there is none then.
bool EnsureFolder(const HiveRun& run);
// The whole backup, with the two questions above. A hive that fails never stops the others, and
// nothing half-written ever is under a file's name. The files are for administrators and the
// system alone; where that can't be, it is said. The file of an earlier backup is deleted
// (after a question) before its hive is saved. A backup of at least one hive that was not stopped
// is recorded in the settings file, where one is named.
HiveRunResult RunBackup(const HiveRun& run, const std::string& settings_file = {});

// What is said of a key that was not saved: "(Access denied)".
std::string SaveErrorText(int32_t error);

enum class BackupPeriod : uint8_t { kWeek, kMonth };
// `last` is as RecordBackup writes it; a backup is due with any other text.
bool IsBackupDue(std::string_view last, BackupPeriod period, const CalendarTime& now);
// Empty without a settings file, or when no backup was recorded there.
std::string ReadLastBackup(const std::string& settings_file);
// "2026-11-22, 20:13"; nothing without a settings file.
void RecordBackup(const std::string& settings_file, const CalendarTime& now);

}  // namespace hivequarry
