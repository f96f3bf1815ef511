#include "ui/frame/modal.h"

namespace hivequarry {
namespace {

BOOL CALLBACK DisableOther(HWND window, LPARAM turn) {
  auto& modal = *reinterpret_cast<ModalTurn*>(turn);
  if (window == modal.owner || IsWindowVisible(window) == FALSE) return TRUE;
  if (EnableWindow(window, FALSE) == FALSE) modal.disabled.push_back(window);  // it was enabled
  return TRUE;
}

}  // namespace

ModalTurn::ModalTurn(HWND owner_window) : owner(owner_window), focus(GetFocus()) {
  EnumThreadWindows(GetCurrentThreadId(), DisableOther, reinterpret_cast<LPARAM>(this));
}

ModalTurn::~ModalTurn() {
  for (const HWND window : disabled) EnableWindow(window, TRUE);
  if (focus != nullptr && IsWindow(focus) != FALSE) SetFocus(focus);
}

}  // namespace hivequarry
