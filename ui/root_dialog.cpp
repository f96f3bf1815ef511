#include "ui/root_dialog.h"

#include <string>

#include "hive/root_path.h"
#include "hive/value_text.h"
#include "host/host.h"
#include "ui/main_window.h"
#include "ui/modal.h"
#include "ui/resource.h"
#include "ui/text.h"

namespace hivequarry {
namespace {

constexpr int kLongestPath = 260;

std::wstring TypedPath(HWND dialog) {
  wchar_t text[kLongestPath + 1] = L"";
  GetDlgItemTextW(dialog, kRootPathText, text, static_cast<int>(std::size(text)));
  return text;
}

void OnStart(HWND dialog, std::wstring& path) {
  const HWND box = GetDlgItem(dialog, kRootPathText);
  SendMessageW(box, CB_LIMITTEXT, kLongestPath, 0);
  for (int kind = 1; kind <= kLastRootKind; ++kind) {
    const char* label = RootKindLabel(kind);
    if (label == nullptr) continue;
    SendMessageW(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(WideName(label).c_str()));
  }
  SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(&path));
  SetWindowTextW(box, path.c_str());
  EnableWindow(GetDlgItem(dialog, IDOK), !path.empty());
}

INT_PTR CALLBACK RootProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_INITDIALOG) {
    OnStart(dialog, *reinterpret_cast<std::wstring*>(second));
    return TRUE;
  }
  auto* path = reinterpret_cast<std::wstring*>(GetWindowLongPtrW(dialog, DWLP_USER));
  if (message != WM_COMMAND || path == nullptr) return FALSE;
  const int control = LOWORD(first);
  if (control == kRootPathText) {
    const bool chosen = HIWORD(first) == CBN_SELCHANGE;  // the text follows only later
    EnableWindow(GetDlgItem(dialog, IDOK), chosen || !TypedPath(dialog).empty());
  }
  if (control == IDOK) *path = TypedPath(dialog);
  if (control == IDOK || control == IDCANCEL) EndDialog(dialog, control);
  return TRUE;
}

bool AskRootPath(HWND owner, std::wstring& path) {
  const ModalTurn turn(owner);
  return DialogBoxParamW(GetModuleHandleW(nullptr), L"ROOTDLG", owner, RootProc,
                         reinterpret_cast<LPARAM>(&path)) == IDOK &&
         !path.empty();
}

std::string NarrowPath(const std::wstring& path) {
  return NarrowText(std::u16string(path.begin(), path.end()));
}

}  // namespace

void OnHiveRoot(MainWindow& window) {
  HiveImage& hive = TheHiveTable().slots[static_cast<size_t>(window.slot)];
  std::wstring path = WindowText(hive.root_label.substr(0, hive.root_label_length));
  if (!AskRootPath(window.handle, path)) return;
  SetRootPath(hive, NarrowPath(path));
  window.key_tree->root_text = DisplayedRoot(hive);
  RenameRoot(window.tree);
  RefreshItem(window);
}

}  // namespace hivequarry
