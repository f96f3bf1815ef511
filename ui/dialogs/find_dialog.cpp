#include "ui/dialogs/find_dialog.h"

#include "app/settings.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

void Tick(HWND dialog, int control, bool on) {
  CheckDlgButton(dialog, control, on ? BST_CHECKED : BST_UNCHECKED);
}

void StartFind(HWND dialog, FindChoice& choice) {
  SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(&choice));
  SetWindowTextW(dialog, choice.title);
  FillTextBox(dialog, kFindText, choice.text);
  Tick(dialog, kFindAdd, choice.add_to_selection);
  Tick(dialog, kFindWrap, choice.wrap);
  if (!choice.can_add) ShowWindow(GetDlgItem(dialog, kFindAdd), SW_HIDE);
  // Enter goes the way that was gone last.
  SendMessageW(dialog, DM_SETDEFID, choice.down ? kFindDown : kFindUp, 0);
}

// Without a text the dialog stays.
void EndFind(HWND dialog, FindChoice& choice, bool down) {
  const std::string text = ControlText(dialog, kFindText);
  if (text.empty()) return;
  choice.text = text;
  choice.down = down;
  choice.wrap = IsTicked(dialog, kFindWrap);
  choice.add_to_selection = choice.can_add && IsTicked(dialog, kFindAdd);
  EndDialog(dialog, IDOK);
}

INT_PTR CALLBACK FindProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_INITDIALOG) {
    StartFind(dialog, *reinterpret_cast<FindChoice*>(second));
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  auto& choice = *reinterpret_cast<FindChoice*>(GetWindowLongPtrW(dialog, DWLP_USER));
  const int control = LOWORD(first);
  if (control == kFindDown || control == kFindUp) EndFind(dialog, choice, control == kFindDown);
  if (control == IDCANCEL) EndDialog(dialog, IDCANCEL);
  return TRUE;
}

}  // namespace

bool AskFind(HWND owner, FindChoice& choice) {
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"SEARCHDLG", owner, FindProc,
                    reinterpret_cast<LPARAM>(&choice)) != IDOK) {
    return false;
  }
  AddToHistory(TheSettings().histories.list_finds, choice.text);
  return true;
}

}  // namespace hivequarry
