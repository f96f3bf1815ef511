#include "ui/frame/modal.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "ui/draw/dpi.h"

namespace hivequarry {
namespace {

BOOL CALLBACK DisableOther(HWND window, LPARAM turn) {
  auto& modal = *reinterpret_cast<ModalTurn*>(turn);
  // The owner is disabled by the dialog itself. EnableWindow tells whether a window was disabled
  // before, as by a turn around this one: such a window is not ours to enable.
  if (window == modal.owner || IsWindowVisible(window) == FALSE) return TRUE;
  if (EnableWindow(window, FALSE) == FALSE) modal.disabled.push_back(window);  // it was enabled
  return TRUE;
}

// A dialog's template as the resources have it, in words, for it begins at a multiple of four
// bytes.
using Template = std::vector<uint32_t>;

// A copy, as resources cannot be written to; in 32-bit units, since a template wants that
// alignment. Empty where there is none.
Template ReadTemplate(HINSTANCE instance, const wchar_t* name) {
  const HRSRC found = FindResourceW(instance, name, RT_DIALOG);
  const HGLOBAL loaded = found == nullptr ? nullptr : LoadResource(instance, found);
  const void* bytes = loaded == nullptr ? nullptr : LockResource(loaded);
  if (bytes == nullptr) return {};
  const DWORD size = SizeofResource(instance, found);
  Template copy((size + 3) / 4);
  std::memcpy(copy.data(), bytes, size);
  return copy;
}

// After a text, or what is in place of one: 0 for none, 0xFFFF and a number.
size_t AfterText(std::span<const uint16_t> units, size_t at) {
  if (at < units.size() && units[at] == 0xFFFF) return at + 2;
  while (at < units.size() && units[at] != 0) ++at;
  return at + 1;
}

// Places in an extended template, in 16 bits.
constexpr size_t kWidth = 11;
constexpr size_t kHeight = 12;
constexpr size_t kMenu = 13;  // the menu's name

// As much of the user's choice as the screen of the owner has room for. A character takes about 7
// by 16 pixels at 96 dpi, which are 4 by 8 units.
uint32_t PercentWithin(std::span<const uint16_t> units, HWND owner) {
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromWindow(owner, MONITOR_DEFAULTTOPRIMARY), &monitor);
  const RECT& work = monitor.rcWork;
  const uint32_t dpi = DpiOfWindow(owner);
  const int width = std::max(Scale(units[kWidth] * 7 / 4, dpi), 1);
  const int height = std::max(Scale(units[kHeight] * 2, dpi), 1);
  const LONG most =
      std::min((work.right - work.left) * 100 / width, (work.bottom - work.top) * 100 / height);
  return std::min(TextPercent(), std::max<uint32_t>(static_cast<uint32_t>(most), 100));
}

// Sizes in a template are in units of its font, so the dialog grows with it.
Template ScaledTemplate(HINSTANCE instance, const wchar_t* name, HWND owner) {
  Template dialog = ReadTemplate(instance, name);
  const std::span<uint16_t> units(reinterpret_cast<uint16_t*>(dialog.data()), dialog.size() * 2);
  // An extended template begins with 1 and 0xFFFF. Any other form is shown as it is.
  if (units.size() <= kMenu || units[0] != 1 || units[1] != 0xFFFF) return dialog;
  size_t at = kMenu;
  for (int text = 0; text < 3; ++text) at = AfterText(units, at);  // menu, class, title
  if (at >= units.size()) return dialog;
  // The size of the font, in points: all of the program's dialogs name a font, so it is there.
  units[at] = static_cast<uint16_t>(units[at] * PercentWithin(units, owner) / 100);
  return dialog;
}

const DLGTEMPLATE* AsTemplate(const Template& dialog) {
  return reinterpret_cast<const DLGTEMPLATE*>(dialog.data());
}

}  // namespace

ModalTurn::ModalTurn(HWND owner_window) : owner(owner_window), focus(GetFocus()) {
  EnumThreadWindows(GetCurrentThreadId(), DisableOther, reinterpret_cast<LPARAM>(this));
}

ModalTurn::~ModalTurn() {
  // Before the focus goes back: a window that is disabled does not take it.
  for (const HWND window : disabled) EnableWindow(window, TRUE);
  if (focus != nullptr && IsWindow(focus) != FALSE) SetFocus(focus);
}

INT_PTR ShowDialogBox(HINSTANCE instance, const wchar_t* name, HWND owner, DLGPROC procedure,
                      LPARAM argument) {
  const Template dialog = ScaledTemplate(instance, name, owner);
  return DialogBoxIndirectParamW(instance, AsTemplate(dialog), owner, procedure, argument);
}

HWND MakeDialogBox(HINSTANCE instance, const wchar_t* name, HWND owner, DLGPROC procedure,
                   LPARAM argument) {
  const Template dialog = ScaledTemplate(instance, name, owner);
  return CreateDialogIndirectParamW(instance, AsTemplate(dialog), owner, procedure, argument);
}

}  // namespace hivequarry
