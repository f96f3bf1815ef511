#include "ui/live/snapshot_commands.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/key_paths.h"
#include "hive/root_path.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "live/live_hives.h"
#include "live/snapshot.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/folder_choice.h"
#include "ui/frame/help.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/list_window.h"
#include "ui/main/main_window.h"
#include "ui/main/work.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

constexpr const wchar_t* kSnapshotFiles =
    L"Registry Snapshots (*.snp)\0*.snp\0All files (*.*)\0*.*\0";
// The current user, and the two hives that hold most of the settings.
constexpr uint32_t kFirstRoots = 1 << 1 | 1 << 3 | 1 << 4;

// Lives as long as its dialog.
struct SnapshotDialog {
  HWND dialog = nullptr;
  bool whole_roots = false;
  std::string key;    // UTF-8
  std::string place;  // UTF-8: the file, or the folder for those of whole roots
  uint32_t roots = kFirstRoots;
};

// `roots` has a bit for each row of WholeRoots, whose boxes are numbered in that order.
INT_PTR OnStart(SnapshotDialog& state) {
  SetDlgItemTextW(state.dialog, kSnapshotFile, WideName(state.place).c_str());
  if (!state.whole_roots) {
    SetDlgItemTextW(state.dialog, kSnapshotKey, WideName(state.key).c_str());
    return TRUE;
  }
  int control = kSnapshotRoot;
  for (const WholeRoot& root : WholeRoots()) {
    const int place = control - kSnapshotRoot;
    SetDlgItemTextW(state.dialog, control, WideName(LongRootPath(root.path)).c_str());
    CheckDlgButton(state.dialog, control,
                   (state.roots >> place & 1) != 0 ? BST_CHECKED : BST_UNCHECKED);
    ++control;
  }
  return TRUE;
}

std::string ChooseFileOf(const SnapshotDialog& state) {
  FileRequest request;
  request.title = L"Registry Key Snapshot";
  request.filter = kSnapshotFiles;
  request.extension = L"snp";
  return ChooseFile(state.dialog, true, kFolderHives, request);
}

void Browse(const SnapshotDialog& state) {
  const std::string now = ControlFileName(state.dialog, kSnapshotFile);
  const std::string chosen =
      state.whole_roots ? TheFolderChooser()(state.dialog, now) : ChooseFileOf(state);
  if (!chosen.empty()) SetDlgItemTextW(state.dialog, kSnapshotFile, WideName(chosen).c_str());
}

uint32_t TickedRoots(HWND dialog) {
  uint32_t roots = 0;
  for (size_t i = 0; i < WholeRoots().size(); ++i) {
    if (IsTicked(dialog, kSnapshotRoot + static_cast<int>(i))) roots |= 1U << i;
  }
  return roots;
}

// The chosen roots without those whose files are to stay.
uint32_t RootsToWrite(const SnapshotDialog& state) {
  uint32_t roots = state.roots;
  for (size_t i = 0; i < WholeRoots().size(); ++i) {
    const std::string file = NameInFolder(state.place, WholeRoots()[i].file_name);
    if ((roots >> i & 1) == 0 || !FileExists(file)) continue;
    if (!TheListDialogs().replace(state.dialog, file)) roots &= ~(1U << i);
  }
  return roots;
}

// What is there already is replaced only after a question, for each root by itself (RootsToWrite).
void OnOk(SnapshotDialog& state) {
  state.place = ControlFileName(state.dialog, kSnapshotFile);
  state.key = state.whole_roots ? std::string() : ControlText(state.dialog, kSnapshotKey);
  if (state.place.empty()) return;
  if (state.whole_roots) {
    if (!IsExistingFolder(state.place)) {
      ShowMessage("Invalid directory !", kProgramName, Icon::kExclamation);
      return;
    }
    state.roots = TickedRoots(state.dialog);
    // Where the user keeps all files that are there, nothing is left and the dialog stays.
    state.roots = RootsToWrite(state);
    if (state.roots == 0) return;
  } else if (state.key.empty() ||
             (FileExists(state.place) && !TheListDialogs().replace(state.dialog, state.place))) {
    return;
  }
  EndDialog(state.dialog, IDOK);
}

INT_PTR Route(SnapshotDialog& state, UINT message, WPARAM first, LPARAM) {
  const int control = message == WM_COMMAND ? LOWORD(first) : 0;
  if (message == WM_HELP || control == kSnapshotHelp) {
    ShowHelp(state.dialog, kHelpSnapshots);
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  if (control == kSnapshotBrowse) Browse(state);
  if (control == IDOK) OnOk(state);
  if (control == IDCANCEL) EndDialog(state.dialog, IDCANCEL);
  return TRUE;
}

constexpr DLGPROC kSnapshotProcedure = RecordDialogProc<SnapshotDialog, OnStart, Route>;

bool AskSnapshot(MainWindow& window, SnapshotDialog& state) {
  const ModalTurn turn(window.handle);
  const wchar_t* const name = state.whole_roots ? L"ROOTSNAPSHOTDLG" : L"KEYSNAPSHOTDLG";
  return ShowDialogBox(GetModuleHandleW(nullptr), name, window.handle, kSnapshotProcedure,
                       reinterpret_cast<LPARAM>(&state)) == IDOK;
}

// Filled by the worker; the interface thread reads it when that has ended.
struct SnapshotJob {
  OutputListPtr errors = MakeOutputList(kListErrors);
  std::vector<std::string> messages;
  size_t made = 0;
};

void AddResult(SnapshotJob& job, const SnapshotResult& result) {
  if (result.step == SnapshotStep::kDone) ++job.made;
  std::string message = SnapshotMessage(result);
  if (!message.empty()) job.messages.push_back(std::move(message));
}

// On the interface thread: one box for all of them, then the list of what could not be read.
void ReportSnapshots(MainWindow& window, SnapshotJob& job) {
  ShowStatus(job.made != 0 ? "Done." : "");
  std::string text;
  for (const std::string& message : job.messages) text += (text.empty() ? "" : "\r\n") + message;
  if (!text.empty()) ShowMessage(text.c_str(), kProgramName, Icon::kStop);
  if (RowCount(*job.errors) != 0) OpenListWindow(window, std::move(job.errors));
}

template <typename Make>
void StartSnapshots(MainWindow& window, Make make) {
  const auto job = std::make_shared<SnapshotJob>();
  StartWork(
      window, kOperationSnapshot, [job, make] { make(*job); },
      [&window, job] { ReportSnapshots(window, *job); });
}

std::string SelectedRegistryPath(const MainWindow& window) {
  const uint32_t item = window.shown->slot < 0 ? kNoItem : SelectedItem(window.shown->pane);
  if (item == kNoItem) return {};
  return ShownKeyPath(KeyPathOf(ShownHive(window), *window.shown->tree, item));
}

}  // namespace

void OnKeySnapshot(MainWindow& window) {
  SnapshotDialog state;
  state.key = SelectedRegistryPath(window);
  if (!AskSnapshot(window, state)) return;
  StartSnapshots(window, [path = state.key, file = state.place](SnapshotJob& job) {
    AddResult(job, MakeKeySnapshot(path, file, *job.errors));
  });
}

void OnRootSnapshots(MainWindow& window) {
  SnapshotDialog state;
  state.whole_roots = true;
  state.place = TheSettings().folders[kFolderHives];
  if (!AskSnapshot(window, state)) return;
  // The folder was chosen with a dialog of its own, which remembers none.
  TheSettings().folders[kFolderHives] = state.place;
  StartSnapshots(window, [roots = state.roots, folder = state.place](SnapshotJob& job) {
    for (size_t i = 0; i < WholeRoots().size() && !StopRequested(); ++i) {
      if ((roots >> i & 1) == 0) continue;
      AddResult(job, MakeRootSnapshot(WholeRoots()[i], folder, *job.errors));
    }
  });
}

void OnOpenSnapshot(MainWindow& window) {
  FileRequest request;
  request.title = L"Open Registry Snapshot";
  request.filter = kSnapshotFiles;
  OpenNamedFile(window, {ChooseListFile(window.output, false, kFolderHives, request)});
}

}  // namespace hivequarry
