#include "ui/commands/recent_keys_dialog.h"

#include <algorithm>
#include <string>

#include "app/key_paths.h"
#include "app/recent_keys.h"
#include "ui/commands/key_going.h"
#include "ui/draw/text_size.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

void AddSelectedKey(const MainWindow& window) {
  const uint32_t item = window.shown->slot >= 0 ? SelectedItem(window.shown->pane) : kNoItem;
  if (item == kNoItem || !IsKeyOrCopy(*window.shown->tree, item)) return;
  AddRecentKey(TheRecentKeys(), KeyPathOf(ShownHive(window), *window.shown->tree, item));
}

// Each new selection starts the timer anew, so what is selected now has been for its whole time.
void CALLBACK OnRecentTimer(HWND handle, UINT, UINT_PTR timer, DWORD) {
  KillTimer(handle, timer);
  const MainWindow* window = FindMainWindow(handle);
  if (window != nullptr) AddSelectedKey(*window);
}

// --- the dialog ----------------------------------------------------------------------------------

// Lives as long as its dialog.
struct RecentDialog {
  HWND dialog = nullptr;
  RecentKeys keys;     // as they were when it came up
  std::string chosen;  // path of the key to go to
  DialogLayout layout;
};

constexpr DialogAnchor kRecentKeysAnchors[] = {
    {.control = kRecentList, .grow_x = true, .grow_y = true},
    {.control = IDOK, .move_x = true, .move_y = true},
    {.control = IDCANCEL, .move_x = true, .move_y = true},
};

HWND ListOf(const RecentDialog& state) { return GetDlgItem(state.dialog, kRecentList); }

// Long paths can be scrolled to their end.
void FitExtent(const RecentDialog& state) {
  const HWND list = ListOf(state);
  const HFONT font = FontOfControl(list);
  LONG widest = 0;
  for (const std::string& key : state.keys) {
    const std::wstring text = WideName(ShownKeyPath(key)) + L"  ";
    widest = std::max(widest, TextSize(font, text).cx);
  }
  ListBox_SetHorizontalExtent(list, widest);
}

INT_PTR OnStart(RecentDialog& state) {
  state.layout = MakeResizable(state.dialog, kRecentKeysAnchors);
  for (const std::string& key : state.keys) {
    ListBox_AddString(ListOf(state), WideName(ShownKeyPath(key)).c_str());
  }
  ListBox_SetCurSel(ListOf(state), 0);
  EnableWindow(GetDlgItem(state.dialog, IDOK), !state.keys.empty());
  FitExtent(state);
  return TRUE;
}

// The keys keep their order while the dialog is open, so rows are their numbers.
void GoToSelected(RecentDialog& state) {
  const int row = ListBox_GetCurSel(ListOf(state));
  if (row < 0) return;
  state.chosen = state.keys[static_cast<size_t>(row)];
  EndDialog(state.dialog, IDOK);
}

void OnCommand(RecentDialog& state, int control, WORD notice) {
  if (control == IDCANCEL) EndDialog(state.dialog, IDCANCEL);
  if (control == IDOK || (control == kRecentList && notice == LBN_DBLCLK)) GoToSelected(state);
}

INT_PTR Route(RecentDialog& state, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_COMMAND) {
    OnCommand(state, LOWORD(first), HIWORD(first));
    return TRUE;
  }
  const INT_PTR laid_out = RouteLayout(state.dialog, state.layout, message, second);
  if (message == kDialogFontChanged) FitExtent(state);
  return laid_out;
}

constexpr DLGPROC kRecentKeysProcedure = RecordDialogProc<RecentDialog, OnStart, Route>;

}  // namespace

void NoteKeyShown(const MainWindow& window) {
  SetTimer(window.handle, kRecentTimer, kRecentTime, OnRecentTimer);
}

void NoteKeyUsed(const MainWindow& window) {
  // Else the same key would be noted once more when its second is over.
  KillTimer(window.handle, kRecentTimer);
  AddSelectedKey(window);
}

void OnRecentKeys(MainWindow& window) {
  RecentDialog state;
  state.keys = TheRecentKeys();
  INT_PTR answer = IDCANCEL;
  {
    const ModalTurn turn(window.handle);
    answer = ShowDialogBox(window.instance, L"RECENTDLG", window.handle, kRecentKeysProcedure,
                           reinterpret_cast<LPARAM>(&state));
  }
  if (answer == IDOK) GoToKeyPath(window, state.chosen);
}

}  // namespace hivequarry
