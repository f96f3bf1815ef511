#include "ui/live/mount_dialogs.h"

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "host/evidence.h"
#include "host/files.h"
#include "host/host.h"
#include "live/hive_logs.h"
#include "live/hive_mounts.h"
#include "live/live_hives.h"
#include "reports/search.h"
#include "ui/commands/search_commands.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/help.h"
#include "ui/frame/modal.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/lists/list_saving.h"
#include "ui/main/main_window.h"
#include "ui/main/work.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

constexpr int kControls[] = {kMountFile, kMountKey, kMountBrowse, kMountHelp, IDOK, IDCANCEL};

// The subkey that was loaded last, UTF-8.
std::string& LastMount() {
  static std::string name;
  return name;
}

// Lives as long as its dialog, which does not end while the registry is at work.
struct MountDialog {
  explicit MountDialog(MainWindow& owner, bool loads) : window(owner), load(loads) {}

  MainWindow& window;
  bool load;
  HWND dialog = nullptr;
  bool busy = false;
  std::string trouble;  // of the worker's copying
};

// The hive shown is proposed; unloading proposes the key that was loaded last.
INT_PTR OnStart(MountDialog& state) {
  SendDlgItemMessageW(state.dialog, kMountKey, EM_SETLIMITTEXT, 255, 0);
  if (!state.load) {
    SetDlgItemTextW(state.dialog, kMountKey, WideName(LastMount()).c_str());
    return TRUE;
  }
  const MainWindow& window = state.window;
  const std::string file = window.shown->slot < 0 ? std::string() : ShownHive(window).file_name;
  if (file.find('\\') == std::string::npos) return TRUE;
  SetDlgItemTextW(state.dialog, kMountFile, WideName(file).c_str());
  SetFocus(GetDlgItem(state.dialog, kMountKey));
  return FALSE;
}

void Browse(const MountDialog& state) {
  FileRequest request;
  request.title = L"Load File into Registry";
  request.filter = L"All files (*.*)\0*.*\0";
  const std::string file = ChooseFile(state.dialog, false, kFolderHives, request);
  if (!file.empty()) SetDlgItemTextW(state.dialog, kMountFile, WideName(file).c_str());
}

// While the registry is at work the dialog takes no input, and can not be closed.
void SetBusy(MountDialog& state, bool busy) {
  state.busy = busy;
  for (const int control : kControls) {
    const HWND field = GetDlgItem(state.dialog, control);
    if (field != nullptr) EnableWindow(field, busy ? FALSE : TRUE);
  }
  if (!busy) SetFocus(GetDlgItem(state.dialog, kMountKey));
}

// A copy that could not be loaded stays, and is what the user tries again with.
void FinishMount(MountDialog& state, const std::string& file, int32_t error) {
  SetBusy(state, false);
  if (!state.trouble.empty()) {
    ShowMessage(state.trouble.c_str(), kProgramName, Icon::kStop);
    return;
  }
  if (state.load) SetDlgItemTextW(state.dialog, kMountFile, WideName(file).c_str());
  if (error == kRegistryDone) {
    EndDialog(state.dialog, IDOK);
    return;
  }
  const std::string code = " (Error " + std::to_string(error) + ") !";
  const char* const failure =
      state.load ? "Could not map File into Registry" : "Could not unload File from Registry";
  ShowMessage((failure + code).c_str(), kProgramName, Icon::kStop);
}

// Where to put a copy: not beside the hive, whose folder is evidence as well.
std::string ProposedCopy(const std::string& hive) {
  std::error_code error;
  const std::filesystem::path temporary = std::filesystem::temp_directory_path(error);
  const bool same =
      std::filesystem::equivalent(temporary, FilePath(FullName(hive)).parent_path(), error);
  const std::u8string text = temporary.u8string();
  const std::string folder(text.begin(), text.end());
  return NameForCopy(hive, same ? TheProgram().facts.documents : WithoutEndSeparators(folder));
}

// The file that the user wants a copy of an open hive to be; empty for none.
std::string AskForCopy(const MountDialog& state, const std::string& hive) {
  const std::string question = hive +
                               " is open in this program, and the system would write to it.\r\n"
                               "Load a copy ?";
  if (ShowMessage(question.c_str(), kProgramName, Icon::kQuestion, Buttons::kYesNo) !=
      Answer::kYes) {
    return {};
  }
  FileRequest request;
  request.owner = state.dialog;
  request.title = L"Copy of the hive, to be loaded";
  request.filter = L"All files (*.*)\0*.*\0";
  request.name = ProposedCopy(hive);
  const std::string place = TheListDialogs().save(request).name;
  const bool wanted = !FileExists(place) || TheListDialogs().replace(state.dialog, place);
  return wanted ? place : std::string();
}

// A large hive takes the registry seconds to read or to write. `original` is copied first; empty:
// nothing is.
void StartMounting(MountDialog& state, const std::string& name, const std::string& file,
                   const std::string& original) {
  const auto error = std::make_shared<int32_t>(kRegistryDone);
  const bool started = StartWork(
      state.window, kOperationMount,
      [&state, error, name = WideOfText(name), file, original] {
        state.trouble = original.empty() ? std::string() : CopyHiveWithLogs(original, file);
        if (!state.trouble.empty()) return;
        *error = file.empty() ? UnloadHiveFromRegistry(name) : LoadHiveIntoRegistry(name, file);
      },
      [&state, error, file] { FinishMount(state, file, *error); });
  // The worker's end comes as a posted message, so it is not before this.
  if (started) SetBusy(state, true);
}

// A file that is open here is never loaded itself: the system would write to it. A copy is, where
// the user names a place for one.
void OnOk(MountDialog& state) {
  const std::string name = ControlText(state.dialog, kMountKey);
  std::string file = state.load ? ControlFileName(state.dialog, kMountFile) : std::string();
  if (name.empty() || (state.load && file.empty())) return;
  std::string original;
  if (IsEvidence(file)) {
    original = std::exchange(file, AskForCopy(state, file));
    if (file.empty()) return;
  }
  if (state.load) LastMount() = name;
  StartMounting(state, name, file, original);
}

INT_PTR Route(MountDialog& state, UINT message, WPARAM first, LPARAM) {
  const int control = message == WM_COMMAND ? LOWORD(first) : 0;
  if (message == WM_HELP || control == kMountHelp) {
    ShowHelp(state.dialog, kHelpLoadingHives);
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  if (state.busy) return TRUE;
  if (control == kMountBrowse) Browse(state);
  if (control == IDOK) OnOk(state);
  if (control == IDCANCEL) EndDialog(state.dialog, IDCANCEL);
  return TRUE;
}

constexpr DLGPROC kProcedure = RecordDialogProc<MountDialog, OnStart, Route>;

bool AskMount(MainWindow& window, bool load) {
  MountDialog state(window, load);
  const ModalTurn turn(window.handle);
  const wchar_t* const name = load ? L"MAPREGDLG" : L"UNLOADREGDLG";
  return ShowDialogBox(GetModuleHandleW(nullptr), name, window.handle, kProcedure,
                       reinterpret_cast<LPARAM>(&state)) == IDOK;
}

}  // namespace

void OnLoadHive(MainWindow& window) {
  if (!AskMount(window, true)) return;
  const std::string path = "HKEY_USERS\\" + LastMount();
  FillListWindow(window, MakeOutputList(kListLiveSearch),
                 [path](OutputList& list) { ListKeyAndSubkeys(path, list); });
  ShowStatus("Done.");
}

void OnUnloadHive(MainWindow& window) {
  if (AskMount(window, false)) ShowStatus("Done.");
}

}  // namespace hivequarry
