#include "ui/dialogs/about_dialog.h"

#include "ui/draw/dpi.h"
#include "ui/frame/modal.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// The picture goes with the dialog, at the size of its resolution.
void SetPicture(HWND dialog) {
  const int size = Scale(48, DpiOfWindow(dialog));
  const HINSTANCE instance = GetModuleHandleW(nullptr);
  const HANDLE icon =
      LoadImageW(instance, MAKEINTRESOURCEW(kIconProgram), IMAGE_ICON, size, size, LR_DEFAULTCOLOR);
  SendDlgItemMessageW(dialog, kAboutPicture, STM_SETIMAGE, IMAGE_ICON,
                      reinterpret_cast<LPARAM>(icon));
}

void FreePicture(HWND dialog) {
  const LRESULT icon = SendDlgItemMessageW(dialog, kAboutPicture, STM_SETIMAGE, IMAGE_ICON, 0);
  DestroyIcon(reinterpret_cast<HICON>(icon));
}

INT_PTR CALLBACK AboutProc(HWND dialog, UINT message, WPARAM first, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      SetPicture(dialog);
      return TRUE;
    case WM_COMMAND:
      if (LOWORD(first) == IDOK || LOWORD(first) == IDCANCEL) EndDialog(dialog, 0);
      return TRUE;
    case WM_DESTROY:
      FreePicture(dialog);
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace

void ShowAboutDialog(HINSTANCE instance, HWND owner) {
  const ModalTurn turn(owner);
  ShowDialogBox(instance, L"BDLG", owner, AboutProc, 0);
}

}  // namespace hivequarry
