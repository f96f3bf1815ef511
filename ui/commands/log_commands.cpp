#include "ui/commands/log_commands.h"

#include <string>
#include <utility>

#include "app/settings.h"
#include "hive/replaying.h"
#include "host/files.h"
#include "host/host.h"
#include "replay/log_words.h"
#include "ui/commands/misc_commands.h"
#include "ui/dialogs/hive_state_dialog.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/dialogs/until_dialog.h"
#include "ui/frame/text.h"
#include "ui/lists/list_saving.h"
#include "ui/main/main_window.h"
#include "view/hive_status.h"
#include "view/list_commands.h"

namespace hivequarry {
namespace {

constexpr const char* kEditsQuestion =
    "The hive is loaded again. What was edited in memory is lost. Go on ?";

// Where an entry was asked for already, that one; else the last one applied.
uint32_t FirstProposal(const LogChoice& choice, const HiveLogs& logs) {
  if (choice.bounded) return choice.until;
  if (!logs.steps.empty()) return EntryOf(logs, logs.steps.back()).sequence;
  // Nothing was applied: the last entry that any of the logs has, else the number in the hive
  // itself.
  uint32_t entry = logs.hive.base.sequence1;
  for (const HiveLog& log : logs.logs) {
    if (!log.entries.empty()) entry = log.entries.back().sequence;
  }
  return entry;
}

}  // namespace

void OnHiveState(MainWindow& window) {
  ShowHiveStateDialog(window.handle, WideText(HiveStateNow(window)));
}

void ShowWithLogs(MainWindow& window, const LogChoice& choice) {
  const bool sure =
      !ShownHive(window).edits.any ||
      ShowMessage(kEditsQuestion, kProgramName, Icon::kQuestion, Buttons::kYesNo) == Answer::kYes;
  if (sure) ReloadHive(window, choice);
}

void OnLogsNone(MainWindow& window) {
  LogChoice choice;
  choice.mode = LogMode::kNone;
  ShowWithLogs(window, choice);
}

void OnLogsAuto(MainWindow& window) { ShowWithLogs(window, LogChoice()); }

void OnLogsChosen(MainWindow& window) {
  FileRequest request;
  request.title = L"Logs of the hive";
  request.filter = L"Logs (*.LOG, *.LOG1, *.LOG2)\0*.LOG;*.LOG1;*.LOG2\0All files (*.*)\0*.*\0";
  request.owner = window.handle;
  request.many = true;
  request.folder = FolderOf(FullName(ShownHive(window).file_name));
  FileChoice files = TheListDialogs().open(request);
  if (files.error != 0) ShowMessage("Too many files !", "Error", Icon::kStop);
  if (files.name.empty()) return;
  LogChoice choice;
  choice.mode = LogMode::kChosen;
  choice.files = std::move(files.names);
  if (choice.files.empty()) choice.files.push_back(files.name);
  ShowWithLogs(window, choice);
}

void OnLogsUntil(MainWindow& window) {
  const HiveLogs& logs = *ShownHive(window).logs;
  LogChoice choice = window.shown->origin.logs;
  if (choice.mode == LogMode::kNone) choice = LogChoice();
  uint32_t entry = FirstProposal(choice, logs);
  if (!AskUntilEntry(window.handle, WideText(EntriesOfLogs(logs)), entry)) return;
  choice.bounded = true;
  choice.until = entry;
  ShowWithLogs(window, choice);
}

// A clean hive's logs are applied only when they were chosen.
void OnShowAsOf(ListPlace& place) {
  MainWindow& window = *place.owner;
  const HiveLogs& logs = *ShownHive(window).logs;
  LogChoice choice = window.shown->origin.logs;
  if (choice.mode == LogMode::kNone) choice = LogChoice();
  if (choice.mode == LogMode::kAuto && !logs.hive.dirty()) {
    choice.mode = LogMode::kChosen;
    for (const HiveLog& log : logs.logs) choice.files.push_back(log.name);
  }
  choice.bounded = EntryOfRow(
      *place.model, ModelRow(place, static_cast<uint32_t>(FocusedRow(place))), choice.until);
  if (!choice.bounded) return;
  ShowWithLogs(window, choice);
  SetForegroundWindow(window.handle);
}

}  // namespace hivequarry
