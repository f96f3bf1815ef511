// One dialog for three purposes. The run is a worker's, which posts the state of each hive to the
// dialog and uses its record: it stays open until the worker has ended. An unattended run begins by
// itself; timers end the dialog and then the program.
#include "ui/live/backup_dialog.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "app/settings.h"
#include "app/stop_command.h"
#include "host/long_operation.h"
#include "live/backup.h"
#include "live/replace.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/draw/hive_state_icons.h"
#include "ui/draw/tones.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/folder_choice.h"
#include "ui/frame/help.h"
#include "ui/frame/modal.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"
#include "ui/resources/resource.h"
#include "view/hive_run_words.h"

namespace hivequarry {
namespace {

// Messages of the dialog to itself, posted: a hive and its state; an unattended run begins.
constexpr UINT kHiveChanged = WM_APP + 10;
constexpr UINT kBegin = WM_APP + 11;
// Timers: one for each hive at work, which is also what counts the progress; the end of an
// unattended run, first of the dialog, then of the program.
constexpr UINT_PTR kHiveTimer = 983;
constexpr UINT kHivePause = 1000;  // milliseconds, as are the others
constexpr UINT_PTR kDialogEndTimer = 1001;
constexpr UINT kDialogEnd = 3000;
constexpr UINT_PTR kProgramEndTimer = 1002;
constexpr UINT kProgramEnd = 100;

// What the one dialog is for.
enum class Purpose : uint8_t { kBackup, kReplace, kUnattended };

// Lives as long as its dialog, which can't be closed while a run is under way.
struct BackupDialog {
  HWND dialog = nullptr;
  MainWindow* window = nullptr;
  Purpose purpose = Purpose::kBackup;
  HiveRun run;                // what an unattended one does; else what the dialog asked for last
  std::string settings_file;  // where an unattended backup is recorded
  SystemPlaces places;
  int hives = kLiveHives;  // that this system has
  std::array<HiveState, kLiveHives> states{};
  int frame = 0;
  HIMAGELIST pictures = nullptr;
  int picture_size = 0;
  bool running = false;
  HiveRunResult result;  // of the last run
};

std::string& LastBackupFolder() { return TheSettings().folders[kFolderBackups]; }

// --- what the controls hold ----------------------------------------------------------------------

std::string FolderIn(const BackupDialog& state) {
  return WithoutEndSeparators(ControlFileName(state.dialog, kBackupFolder));
}

void ShowFolder(const BackupDialog& state, const std::string& folder) {
  SetDlgItemTextW(state.dialog, kBackupFolder, WideName(folder).c_str());
}

// A bit for each row of the table of hives (HiveBit).
uint32_t TickedHives(const BackupDialog& state) {
  uint32_t hives = 0;
  for (int hive = 0; hive < state.hives; ++hive) {
    if (IsTicked(state.dialog, kBackupHive + hive)) hives |= HiveBit(hive);
  }
  return hives;
}

void TickHives(const BackupDialog& state, uint32_t hives) {
  for (int hive = 0; hive < state.hives; ++hive) {
    CheckDlgButton(state.dialog, kBackupHive + hive,
                   (hives & HiveBit(hive)) != 0 ? BST_CHECKED : BST_UNCHECKED);
  }
}

void EnableControls(const BackupDialog& state, bool on) {
  for (const int control : {kBackupFolder, kBackupBrowse, kBackupCheck, IDOK, IDCANCEL}) {
    EnableWindow(GetDlgItem(state.dialog, control), on ? TRUE : FALSE);
  }
  for (int hive = 0; hive < state.hives; ++hive) {
    EnableWindow(GetDlgItem(state.dialog, kBackupHive + hive), on ? TRUE : FALSE);
  }
}

// --- folders -------------------------------------------------------------------------------------

// A folder for a backup in `base`: by the date where the user wants that and a name is left.
std::string ProposedFolder(const std::string& base, bool automatic) {
  if (!TheSettings().options.backup_folder_by_date) return base;
  const std::string dated = BackupFolderName(base, automatic, LocalNow());
  return dated.empty() ? base : dated;
}

// What the command line named, else where the last backup was, else the user's documents.
std::string FirstFolder(const BackupDialog& state) {
  if (state.purpose == Purpose::kUnattended) return state.run.folder;
  if (!LastBackupFolder().empty()) return LastBackupFolder();
  const std::string& documents = TheProgram().facts.documents;
  return documents.empty() ? state.places.drive + "\\" : documents;
}

// The folder that is in the dialog when the user comes from `base`.
std::string FolderFor(const BackupDialog& state, const std::string& base) {
  if (state.purpose == Purpose::kBackup) return ProposedFolder(base, false);
  const bool elsewhere = state.purpose == Purpose::kReplace && !LiesOn(base, state.places.drive);
  return elsewhere ? state.places.drive + "\\" : base;
}

void OnBrowse(const BackupDialog& state) {
  std::string start = FolderIn(state);
  if (!IsExistingFolder(start)) start = FirstFolder(state);
  const std::string chosen = TheFolderChooser()(state.dialog, start);
  if (!chosen.empty()) ShowFolder(state, FolderFor(state, chosen));
}

// --- states --------------------------------------------------------------------------------------

// Read by programs that read windows aloud; the control shows a picture.
const wchar_t* StateWord(HiveState state) {
  constexpr const wchar_t* kWords[] = {L"", L"Working", L"Done", L"Failed"};
  return kWords[static_cast<size_t>(state)];
}

// The answer to kHiveChanged, which the worker posts. A timer turns the picture while the hive is
// being worked on. The word beside it is for screen readers.
void OnHiveChanged(BackupDialog& state, int hive, HiveState now) {
  if (hive >= state.hives) return;
  state.states[static_cast<size_t>(hive)] = now;
  const UINT_PTR timer = kHiveTimer + static_cast<UINT_PTR>(hive);
  if (now == HiveState::kRunning) {
    SetTimer(state.dialog, timer, kHivePause, nullptr);
  } else {
    KillTimer(state.dialog, timer);
  }
  SetDlgItemTextW(state.dialog, kBackupIcon + hive, StateWord(now));
  InvalidateRect(GetDlgItem(state.dialog, kBackupIcon + hive), nullptr, FALSE);
}

// Turns the picture, and counts how long the run has been: before kBackupStoppable it is not
// stopped.
void OnHiveTimer(BackupDialog& state, int hive) {
  ++state.frame;
  if (++TheLongOperation().backup_progress >= kBackupStoppable) {
    // From now on Cancel stops the run (OnCommand).
    EnableWindow(GetDlgItem(state.dialog, IDCANCEL), TRUE);
  }
  InvalidateRect(GetDlgItem(state.dialog, kBackupIcon + hive), nullptr, FALSE);
}

// The picture is as large as its control, whatever the resolution is by now.
void DrawState(BackupDialog& state, const DRAWITEMSTRUCT& item) {
  const auto hive = static_cast<size_t>(item.CtlID - kBackupIcon);
  const int size = static_cast<int>(std::min(item.rcItem.right, item.rcItem.bottom));
  if (hive >= state.states.size() || size <= 0) return;
  if (size != state.picture_size) {
    ImageList_Destroy(state.pictures);
    state.pictures = MakeHiveStateIcons(size);
    state.picture_size = size;
  }
  FillRect(item.hDC, &item.rcItem, BrushOf(Tone::kFace));
  ImageList_Draw(state.pictures, HiveStateIcon(state.states[hive], state.frame), item.hDC, 0, 0,
                 ILD_NORMAL);
}

// --- runs ----------------------------------------------------------------------------------------

// On the interface thread. The unattended dialog goes by itself soon; replacing is done once, as
// what was replaced takes effect with the next start alone.
void OnRunDone(BackupDialog& state) {
  state.running = false;
  if (state.purpose == Purpose::kUnattended) {
    SetTimer(state.dialog, kDialogEndTimer, kDialogEnd, nullptr);
    return;
  }
  EnableControls(state, true);
  const bool replaced = state.purpose == Purpose::kReplace && state.result.done > 0;
  if (replaced) EnableWindow(GetDlgItem(state.dialog, IDOK), FALSE);
  if (state.result.done > 0) LastBackupFolder() = state.run.folder;
  // The default button follows the focus only this way.
  SendMessageW(state.dialog, WM_NEXTDLGCTL,
               reinterpret_cast<WPARAM>(GetDlgItem(state.dialog, IDCANCEL)), TRUE);
}

// The dialog and its record stay until the worker has ended: it refers to them.
void StartRun(BackupDialog& state) {
  EnableControls(state, false);
  state.running = true;
  state.result = HiveRunResult();
  state.run.on_state = [dialog = state.dialog](int hive, HiveState now) {
    PostMessageW(dialog, kHiveChanged, static_cast<WPARAM>(hive), static_cast<LPARAM>(now));
  };
  const auto work = [&state] {
    state.result = state.purpose == Purpose::kReplace ? ReplaceHives(state.run, state.places)
                                                      : RunBackup(state.run, state.settings_file);
  };
  // What the worker did not do is shown as an empty result.
  if (!StartWork(*state.window, kOperationBackup, work, [&state] { OnRunDone(state); })) {
    OnRunDone(state);
  }
}

// Without a hive ticked nothing happens.
void OnOk(BackupDialog& state) {
  HiveRun& run = state.run;
  run.folder = FolderIn(state);
  run.hives = TickedHives(state);
  if (run.hives == 0) return;
  if (state.purpose == Purpose::kReplace && !MayReplace(run.folder, state.places)) return;
  StartRun(state);
}

// --- the dialog ----------------------------------------------------------------------------------

void AddToolTip(HWND dialog, int control, const wchar_t* text) {
  const HWND tip = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP, 0, 0, 0, 0,
                                   dialog, nullptr, GetModuleHandleW(nullptr), nullptr);
  TTTOOLINFOW tool{};
  tool.cbSize = sizeof tool;
  // The tooltip sees the control's mouse messages by itself; it goes with the dialog, its owner.
  tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  tool.hwnd = dialog;
  tool.uId = reinterpret_cast<UINT_PTR>(GetDlgItem(dialog, control));
  tool.lpszText = const_cast<wchar_t*>(text);
  SendMessageW(tip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

void ShowForReplacing(const BackupDialog& state) {
  SetWindowTextW(state.dialog, L"Replace Registry Hives");
  SetDlgItemTextW(
      state.dialog, kBackupLabel,
      WideName("Restore from directory (must reside in " + state.places.drive + ") :").c_str());
  ShowWindow(GetDlgItem(state.dialog, kBackupCheck), SW_SHOW);
  AddToolTip(state.dialog, kBackupCheck, L"Check for matching file names in specified directory");
}

void ShowForBackup(const BackupDialog& state) {
  SetDlgItemTextW(
      state.dialog, kBackupLabel,
      WideName("Backup to following directory (should reside in " + state.places.drive + ") :")
          .c_str());
}

// A hive that the system does not hold just now can't be saved; to replace one is dangerous enough
// for the user to choose it.
uint32_t FirstTicks(const BackupDialog& state) {
  if (state.purpose == Purpose::kUnattended) return state.run.hives;
  if (state.purpose == Purpose::kReplace) return 0;
  uint32_t hives = 0;
  for (int hive = 0; hive < state.hives; ++hive) {
    const LiveHive& row = LiveHiveTable()[static_cast<size_t>(hive)];
    const OpenedKey key(row.root, row.sub_key, kRegistryRead);
    if (key.error() != kRegistryNotFound) hives |= HiveBit(hive);
  }
  return hives;
}

// The unattended run begins when the dialog is shown: kBegin is posted.
INT_PTR OnStart(BackupDialog& state) {
  state.purpose == Purpose::kReplace ? ShowForReplacing(state) : ShowForBackup(state);
  SendDlgItemMessageW(state.dialog, kBackupFolder, EM_SETLIMITTEXT, 1000, 0);
  ShowFolder(state, FolderFor(state, FirstFolder(state)));
  TickHives(state, FirstTicks(state));
  if (state.purpose == Purpose::kUnattended) {
    EnableControls(state, false);
    PostMessageW(state.dialog, kBegin, 0, 0);
  }
  return TRUE;
}

void OnCommand(BackupDialog& state, int control) {
  switch (control) {
    case kBackupBrowse:
      return OnBrowse(state);
    case kBackupCheck:
      return TickHives(state, MatchingHives(FolderIn(state)));
    case IDOK:
      return OnOk(state);
    case IDCANCEL:
      if (state.running) {
        StopCommand();
      } else {
        EndDialog(state.dialog, IDCANCEL);
      }
      return;
    default:
      return;
  }
}

// Each hive has a timer of its own, numbered by its row.
void OnTimerOf(BackupDialog& state, UINT_PTR timer) {
  if (timer >= kHiveTimer && timer < kHiveTimer + kLiveHives) {
    return OnHiveTimer(state, static_cast<int>(timer - kHiveTimer));
  }
  if (timer == kDialogEndTimer) EndDialog(state.dialog, IDOK);
}

INT_PTR Route(BackupDialog& state, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_COMMAND:
      OnCommand(state, LOWORD(first));
      return TRUE;
    case WM_DRAWITEM:
      DrawState(state, *reinterpret_cast<const DRAWITEMSTRUCT*>(second));
      return TRUE;
    case WM_TIMER:
      OnTimerOf(state, first);
      return TRUE;
    case WM_HELP:
      ShowHelp(state.dialog, kHelpBackup);
      return TRUE;
    case kHiveChanged:
      OnHiveChanged(state, static_cast<int>(first), static_cast<HiveState>(second));
      return TRUE;
    case kBegin:
      StartRun(state);
      return TRUE;
    default:
      return FALSE;
  }
}

// How many hives there are depends on the system's generation; the dialog has a template for each
// number.
BackupDialog MakeState(MainWindow& window, Purpose purpose) {
  BackupDialog state;
  state.window = &window;
  state.purpose = purpose;
  const SystemFacts& facts = TheProgram().facts;
  if (facts.windows.size() > 1 && facts.windows[1] == ':') {
    state.places.drive = facts.windows.substr(0, 2);
  }
  state.hives = LiveHives(facts.flags);
  SpeakInMessages(state.run);
  return state;
}

// Until it is closed.
void ShowDialog(BackupDialog& state) {
  constexpr DLGPROC kProcedure = RecordDialogProc<BackupDialog, OnStart, Route>;
  const HWND owner = state.window->handle;
  const ModalTurn turn(owner);
  ShowDialogBox(GetModuleHandleW(nullptr),
                state.hives == kLiveHives ? L"BACKUPHVDLG" : L"BACKUPHDLG", owner, kProcedure,
                reinterpret_cast<LPARAM>(&state));
  ImageList_Destroy(state.pictures);
}

void CALLBACK EndProgram(HWND window, UINT, UINT_PTR timer, DWORD) {
  KillTimer(window, timer);
  PostMessageW(window, WM_CLOSE, 0, 0);
}

}  // namespace

void OnBackupRegistry(MainWindow& window) {
  BackupDialog state = MakeState(window, Purpose::kBackup);
  if (HasBackupPrivilege(state.run)) ShowDialog(state);
}

void OnReplaceHives(MainWindow& window) {
  BackupDialog state = MakeState(window, Purpose::kReplace);
  ShowDialog(state);
}

bool IsBackupNotDue(const CommandLine& line) {
  const bool periodic = line.backup_weekly || line.backup_monthly;
  if (line.backup_hives.empty() || !periodic) return false;
  const BackupPeriod period = line.backup_weekly ? BackupPeriod::kWeek : BackupPeriod::kMonth;
  return !IsBackupDue(ReadLastBackup(TheProgram().settings_file), period, LocalNow());
}

bool RunUnattendedBackup(MainWindow& window, const CommandLine& line) {
  if (line.backup_hives.empty()) return true;
  BackupDialog state = MakeState(window, Purpose::kUnattended);
  HiveRun& run = state.run;
  SpeakInLogs(run, line.backup_folder);
  state.settings_file = TheProgram().settings_file;
  run.folder = ProposedFolder(line.backup_folder, true);
  run.hives = HivesOfSelectors(line.backup_hives) & (HiveBit(state.hives) - 1);
  if (HasBackupPrivilege(run)) ShowDialog(state);
  SetTimer(window.handle, kProgramEndTimer, kProgramEnd, EndProgram);
  return state.result.done > 0 && state.result.failed == 0;
}

}  // namespace hivequarry
