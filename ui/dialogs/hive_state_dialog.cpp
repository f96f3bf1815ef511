#include "ui/dialogs/hive_state_dialog.h"

#include "ui/frame/dialog_layout.h"
#include "ui/frame/host_window.h"
#include "ui/frame/modal.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// Of one box, whose parameter it is.
struct StateDialog {
  HWND dialog = nullptr;
  std::wstring text;
  DialogLayout layout = {};
};

// The one that is open; there is one main window, which waits for it.
struct OpenDialog {
  StateDialog* state = nullptr;
};
OpenDialog& TheOpenDialog() {
  static OpenDialog open;
  return open;
}

constexpr DialogAnchor kAnchors[] = {
    {.control = kHiveStateText, .grow_x = true, .grow_y = true},
    {.control = kHiveStateCopy, .move_y = true},
    {.control = IDCANCEL, .move_x = true, .move_y = true},
};

// From here on RenewHiveStateDialog finds the dialog.
INT_PTR OnStart(StateDialog& state) {
  state.layout = MakeResizable(state.dialog, kAnchors);
  SetDlgItemTextW(state.dialog, kHiveStateText, state.text.c_str());
  TheOpenDialog().state = &state;
  SetFocus(GetDlgItem(state.dialog, IDCANCEL));
  return FALSE;
}

INT_PTR Route(StateDialog& state, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_COMMAND) {
    if (LOWORD(first) == kHiveStateCopy) CopyText(state.dialog, state.text);
    if (LOWORD(first) == IDCANCEL || LOWORD(first) == IDOK) EndDialog(state.dialog, IDCANCEL);
    return TRUE;
  }
  return RouteLayout(state.dialog, state.layout, message, second);
}

constexpr DLGPROC kHiveStateProcedure = RecordDialogProc<StateDialog, OnStart, Route>;

}  // namespace

void ShowHiveStateDialog(HWND owner, const std::wstring& text) {
  StateDialog state{nullptr, text};
  const ModalTurn turn(owner);
  ShowDialogBox(GetModuleHandleW(nullptr), L"HIVESTATEDLG", owner, kHiveStateProcedure,
                reinterpret_cast<LPARAM>(&state));
  TheOpenDialog().state = nullptr;
}

void RenewHiveStateDialog(const std::wstring& text) {
  StateDialog* state = TheOpenDialog().state;
  if (state == nullptr) return;
  state->text = text;
  SetDlgItemTextW(state->dialog, kHiveStateText, text.c_str());
}

}  // namespace hivequarry
