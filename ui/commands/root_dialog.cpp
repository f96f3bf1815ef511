#include "ui/commands/root_dialog.h"

#include <windowsx.h>

#include <string>

#include "hive/hive_table.h"
#include "hive/root_path.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/main/findings.h"
#include "ui/main/loading.h"
#include "ui/main/main_window.h"
#include "ui/resources/resource.h"
#include "view/workspace.h"

namespace hivequarry {
namespace {

struct RootDialog {
  HWND dialog = nullptr;
  std::string path;
  std::string doubt = {};  // why the path is asked for; empty when the user came by himself
  std::string from = {};   // what the path was taken from
};

INT_PTR OnStart(RootDialog& state) {
  constexpr int kLongestPath = 260;
  const HWND box = GetDlgItem(state.dialog, kRootPathText);
  ComboBox_LimitText(box, kLongestPath);
  for (int kind = 1; kind <= kLastRootKind; ++kind) {
    const char* label = RootKindLabel(kind);
    if (label != nullptr) ComboBox_AddString(box, WideName(label).c_str());
  }
  SetWindowTextW(box, WindowText(state.path).c_str());
  if (!state.doubt.empty()) {
    const std::string note = state.doubt + " Whose keys are to be written ?";
    SetDlgItemTextW(state.dialog, kRootPathNote, WindowText(note).c_str());
  } else if (!state.from.empty()) {
    const std::string note =
        "From " + state.from + ". Shown, exported, compared and merged under it.";
    SetDlgItemTextW(state.dialog, kRootPathNote, WindowText(note).c_str());
  }
  EnableWindow(GetDlgItem(state.dialog, IDOK), !state.path.empty());
  return TRUE;
}

INT_PTR Route(RootDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message != WM_COMMAND) return FALSE;
  const int control = LOWORD(first);
  if (control == kRootPathText) {
    const bool chosen = HIWORD(first) == CBN_SELCHANGE;  // the text follows only later
    EnableWindow(GetDlgItem(state.dialog, IDOK),
                 chosen || !ControlText(state.dialog, kRootPathText).empty());
  }
  if (control == IDOK) state.path = ControlText(state.dialog, kRootPathText);
  if (control == IDOK || control == IDCANCEL) EndDialog(state.dialog, control);
  return TRUE;
}

constexpr DLGPROC kRootProcedure = RecordDialogProc<RootDialog, OnStart, Route>;

bool AskRootPath(const MainWindow& window, RootDialog& state) {
  const ModalTurn turn(window.handle);
  return ShowDialogBox(window.instance, L"ROOTDLG", window.handle, kRootProcedure,
                       reinterpret_cast<LPARAM>(&state)) == IDOK &&
         !state.path.empty();
}

bool ChangeRoot(MainWindow& window, const std::string& doubt) {
  HiveImage& hive = HiveOfSlot(window.shown->slot);
  RootDialog state{nullptr, hive.root.label.substr(0, hive.root.label_length), doubt,
                   RootWords(hive, window.shown->survey.root)};
  // The profile of whoever sits here is never one key press away.
  RootSplit split;
  const bool own = SplitRootPath(state.path, split) && split.short_name == "HKCU";
  if (own && !doubt.empty()) state.path.clear();
  if (!AskRootPath(window, state)) return false;
  // Paths are made of the root on other threads too.
  LetReadersEnd(window);
  // So that a load of the same file begins with this root.
  window.shown->origin.root_path = state.path;
  SetRootPath(hive, state.path);
  window.shown->tree->root_text = DisplayedRoot(hive);
  RenameRoot(window.shown->pane);
  RenewBand(window);
  RefreshItem(window);
  StartFindings(window);
  return true;
}

}  // namespace

void OnHiveRoot(MainWindow& window) { ChangeRoot(window, {}); }

bool EnsureRoot(MainWindow& window) {
  const std::string doubt = RootDoubt(ShownHive(window));
  return doubt.empty() || ChangeRoot(window, doubt);
}

}  // namespace hivequarry
