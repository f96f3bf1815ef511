#include "ui/mount_dialogs.h"

#include <memory>
#include <string>
#include <utility>

#include "host/host.h"
#include "live/hive_mounts.h"
#include "reports/search.h"
#include "ui/dialog_layout.h"
#include "ui/help.h"
#include "ui/list_dialogs.h"
#include "ui/list_saving.h"
#include "ui/main_window.h"
#include "ui/modal.h"
#include "ui/resource.h"
#include "ui/search_commands.h"
#include "ui/text.h"
#include "ui/work.h"

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
};

INT_PTR OnStart(MountDialog& state) {
  SendDlgItemMessageW(state.dialog, kMountKey, EM_SETLIMITTEXT, 255, 0);
  if (!state.load) {
    SetDlgItemTextW(state.dialog, kMountKey, WideName(LastMount()).c_str());
    return TRUE;
  }
  const MainWindow& window = state.window;
  const std::string file = window.slot < 0 ? std::string() : ShownHive(window).file_name;
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

void SetBusy(MountDialog& state, bool busy) {
  state.busy = busy;
  for (const int control : kControls) {
    const HWND field = GetDlgItem(state.dialog, control);
    if (field != nullptr) EnableWindow(field, busy ? FALSE : TRUE);
  }
  if (!busy) SetFocus(GetDlgItem(state.dialog, kMountKey));
}

void TakeAnswer(MountDialog& state, int32_t error) {
  SetBusy(state, false);
  if (error == kRegistryDone) {
    EndDialog(state.dialog, IDOK);
    return;
  }
  const std::string code = " (Error " + std::to_string(error) + ") !";
  const char* const failure =
      state.load ? "Could not map File into Registry" : "Could not unload File from Registry";
  ShowMessage((failure + code).c_str(), kProgramName, Icon::kStop);
}

// A large hive takes the registry seconds to read or to write.
void OnOk(MountDialog& state) {
  const std::string name = ControlUtf8(state.dialog, kMountKey);
  const std::string file = state.load ? ControlFileName(state.dialog, kMountFile) : std::string();
  if (name.empty() || (state.load && file.empty())) return;
  if (state.load) LastMount() = name;
  const auto error = std::make_shared<int32_t>(kRegistryDone);
  const bool started = StartWork(
      state.window, kOperationMount,
      [error, name = WideFromUtf8(name), file] {
        *error = file.empty() ? UnloadHiveFromRegistry(name) : LoadHiveIntoRegistry(name, file);
      },
      [&state, error] { TakeAnswer(state, *error); });
  if (started) SetBusy(state, true);
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
  return DialogBoxParamW(GetModuleHandleW(nullptr), name, window.handle, kProcedure,
                         reinterpret_cast<LPARAM>(&state)) == IDOK;
}

}  // namespace

void OnLoadHive(MainWindow& window) {
  if (!AskMount(window, true)) return;
  const std::string path = "HKEY_USERS\\" + NarrowText(WideFromUtf8(LastMount()));
  FillListWindow(window, MakeOutputList(kListLiveSearch),
                 [path](OutputList& list) { ListKeyAndSubkeys(path, list); });
  ShowStatus("Done.");
}

void OnUnloadHive(MainWindow& window) {
  if (AskMount(window, false)) ShowStatus("Done.");
}

}  // namespace hivequarry
