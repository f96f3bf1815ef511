#include "ui/dialogs/until_dialog.h"

#include <charconv>

#include "ui/frame/dialog_layout.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// Of one box, whose parameter it is; `entry` is what was chosen.
struct UntilDialog {
  HWND dialog = nullptr;
  std::wstring entries;
  uint32_t entry = 0;
};

// The button is there for a number.
void Judge(UntilDialog& state) {
  wchar_t text[32] = L"";
  GetDlgItemTextW(state.dialog, kUntilText, text, static_cast<int>(std::size(text)));
  EnableWindow(GetDlgItem(state.dialog, IDOK), ReadEntryNumber(text, state.entry) ? TRUE : FALSE);
}

INT_PTR OnStart(UntilDialog& state) {
  SendDlgItemMessageW(state.dialog, kUntilText, EM_SETLIMITTEXT, 12, 0);
  SetDlgItemTextW(state.dialog, kUntilText, std::to_wstring(state.entry).c_str());
  SetDlgItemTextW(state.dialog, kUntilEntries, state.entries.c_str());
  Judge(state);
  return TRUE;
}

INT_PTR Route(UntilDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message != WM_COMMAND) return FALSE;
  const int control = LOWORD(first);
  if (control == kUntilText && HIWORD(first) == EN_CHANGE) Judge(state);
  const bool good = IsWindowEnabled(GetDlgItem(state.dialog, IDOK)) != FALSE;
  if ((control == IDOK && good) || control == IDCANCEL) EndDialog(state.dialog, control);
  return TRUE;
}

constexpr DLGPROC kUntilProcedure = RecordDialogProc<UntilDialog, OnStart, Route>;

}  // namespace

bool ReadEntryNumber(std::wstring_view text, uint32_t& entry) {
  const std::string digits = Utf8Name(text);
  uint32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) return false;
  entry = number;
  return true;
}

bool AskUntilEntry(HWND owner, const std::wstring& entries, uint32_t& entry) {
  UntilDialog state{nullptr, entries, entry};
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"UNTILDLG", owner, kUntilProcedure,
                    reinterpret_cast<LPARAM>(&state)) != IDOK) {
    return false;
  }
  entry = state.entry;
  return true;
}

}  // namespace hivequarry
