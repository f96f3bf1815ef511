#include "view/hive_run_words.h"

#include "host/host.h"
#include "host/output_file.h"
#include "lists/list_report.h"
#include "live/backup.h"
#include "live/file_protection.h"

namespace hivequarry {
namespace {

// --- words ---------------------------------------------------------------------------------------

// Follows the words that name the key that was not replaced.
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

std::string NotReplaced(const HiveNotice& notice, const std::string& why) {
  return "Can not replace " + notice.name + " !\r" + why;
}

std::string NotSaved(const HiveNotice& notice) {
  const std::string why = notice.native_error ? "(Error " + std::to_string(notice.error) + ")"
                                              : SaveErrorText(notice.error);
  return "Can not backup Registry key " + notice.name + " !" + why;
}

std::string OtherNames(const HiveNotice& notice) {
  std::string text = "Left out, as the same hive was replaced under another name :";
  for (const std::string& name : notice.names) text += '\r' + name;
  return text;
}

std::string WordsOf(const HiveNotice& notice) {
  switch (notice.event) {
    case HiveEvent::kNoBackupPrivilege:
      return "No Backup Privilege !";
    case HiveEvent::kNoRestorePrivilege:
      return "No Restore Privilege !";
    case HiveEvent::kFolderNotMade:
      return "Can not create/open directory\r\n" + notice.name + " !";
    case HiveEvent::kNoFolder:
      return "Invalid directory !";
    case HiveEvent::kNotDeleted:
      return "Cannot delete file !";
    case HiveEvent::kKeyNotOpened:
      return "Can not open Registry key " + notice.name + " !";
    case HiveEvent::kKeyNotSaved:
      return NotSaved(notice);
    case HiveEvent::kUnprotected:
      return UnprotectedText(notice.name);
    case HiveEvent::kSaved:
      return "Backup done.";
    case HiveEvent::kBadOldName:
      return "Invalid file name " + notice.name + " for backup !";
    case HiveEvent::kHiveListUnreadable:
      return NotReplaced(notice, "The system's list of its hives can not be read.");
    case HiveEvent::kNoHiveRoot:
      return NotReplaced(notice,
                         "It is no hive of its own: the one that holds it would be replaced.");
    case HiveEvent::kIsEvidence:
      return NotReplaced(notice, notice.file + " is open in this program and stays as it is.");
    case HiveEvent::kNotReplaced:
      return "Can not replace " + notice.name + " !" + TroubleOf(notice.error, notice.file);
    case HiveEvent::kOtherNames:
      return OtherNames(notice);
    case HiveEvent::kReplaced:
      return "Replacing Hive(s) done. Changes will take effect after system restart !";
  }
  return {};
}

std::string FoundFile(const std::string& file) { return "File " + file + " already exists !"; }

// Texts as the program has always asked them, differences in blanks too.
std::string WordsOf(HiveQuestion question, const std::string& file) {
  switch (question) {
    case HiveQuestion::kOverwrite:
      return FoundFile(file) + "  Overwrite file ?";
    case HiveQuestion::kOverwriteUsers:
      return FoundFile(file) + " Overwrite file ?";
    case HiveQuestion::kOverwriteOld:
      return "Backup file " + file + " already exists ! Overwrite file ?";
  }
  return {};
}

// --- messages ------------------------------------------------------------------------------------

const char* TitleOf(HiveEvent event) {
  const bool error = event == HiveEvent::kNoBackupPrivilege ||
                     event == HiveEvent::kNoRestorePrivilege || event == HiveEvent::kFolderNotMade;
  return error ? "Error" : kProgramName;
}

Icon IconOf(HiveEvent event) {
  const bool good = event == HiveEvent::kSaved || event == HiveEvent::kReplaced ||
                    event == HiveEvent::kOtherNames;
  return good ? Icon::kInformation : Icon::kExclamation;
}

// A log that cannot be written is not told of: what it would have said was shown.
void AppendLog(const std::string& folder, const char* extension, const std::string& text) {
  int error = 0;
  const std::string file = NameInFolder(folder, std::string("hivequarry.") + extension);
  OutputFile log;
  if (!OpenOutput(file, OutputMode::kAppend, log, error)) return;
  WriteOutput(log, "\r\n" + ReportTimeNow() + "\r\n" + text + "\r\n---------");
  CloseOutput(log, true);
}

}  // namespace

void SpeakInMessages(HiveRun& run) {
  run.tell = [](const HiveNotice& notice) {
    ShowMessage(WordsOf(notice).c_str(), TitleOf(notice.event), IconOf(notice.event));
  };
  run.ask = [](HiveQuestion question, const std::string& file) {
    return ShowMessage(WordsOf(question, file).c_str(), kProgramName, Icon::kQuestion,
                       Buttons::kYesNo) == Answer::kYes;
  };
}

void SpeakInLogs(HiveRun& run, const std::string& folder) {
  run.tell = [folder](const HiveNotice& notice) {
    AppendLog(folder, notice.event == HiveEvent::kSaved ? "ok" : "err", WordsOf(notice));
  };
  run.ask = [folder](HiveQuestion, const std::string& file) {
    AppendLog(folder, "err", FoundFile(file));
    return false;
  };
}

bool MayReplace(const std::string& folder, const SystemPlaces& places) {
  if (!LiesOn(folder, places.drive)) {
    const std::string text = "Directory must be located on " + places.drive + " !";
    ShowMessage(text.c_str(), kProgramName, Icon::kExclamation);
    return false;
  }
  const std::string question =
      "Replace Registry Hive(s) with files from\r" + folder + " ?\r(Needs system restart !)";
  return ShowMessage(question.c_str(), kProgramName, Icon::kExclamation,
                     Buttons::kYesNoDefaultNo) == Answer::kYes;
}

}  // namespace hivequarry
