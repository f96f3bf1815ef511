#include "tests/window/dialog_fixture.h"

#include <utility>

namespace hivequarry::testing {

void InNextDialog(Use use) { InDialog(nullptr, std::move(use)); }

void InDialog(const wchar_t* title, Use use) {
  static Use next;
  static const wchar_t* awaited;
  next = std::move(use);
  awaited = title;
  SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR timer, DWORD) {
    const HWND dialog = FindWindowW(L"#32770", awaited);
    if (dialog == nullptr || IsWindowVisible(dialog) == FALSE) return;
    KillTimer(nullptr, timer);
    next(dialog);
  });
}

void Click(HWND dialog, int control) { SendDlgItemMessageW(dialog, control, BM_CLICK, 0, 0); }

Use Clicks(std::vector<int> controls) {
  return [controls = std::move(controls)](HWND dialog) {
    for (const int control : controls) Click(dialog, control);
  };
}

bool IsOn(HWND dialog, int control) {
  return IsWindowEnabled(GetDlgItem(dialog, control)) != FALSE;
}

bool IsShown(HWND dialog, int control) {
  return IsWindowVisible(GetDlgItem(dialog, control)) != FALSE;
}

bool Ticked(HWND dialog, int control) { return IsDlgButtonChecked(dialog, control) == BST_CHECKED; }

void Type(HWND dialog, int control, const wchar_t* text) {
  COMBOBOXINFO box{};
  box.cbSize = sizeof box;
  HWND edit = GetDlgItem(dialog, control);
  if (GetComboBoxInfo(edit, &box) != FALSE) edit = box.hwndItem;
  SendMessageW(edit, EM_SETSEL, 0, -1);
  SendMessageW(edit, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text));
}

}  // namespace hivequarry::testing
