#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "ui/frame/text.h"
#include "ui/hex/hex_window.h"

namespace hivequarry {
namespace {

// --- clipboard -----------------------------------------------------------------------------------

constexpr wchar_t kClipboardBusy[] = L"Another program holds the clipboard.";

// Hands the memory to the clipboard.
bool GiveClipboard(HGLOBAL memory) {
  // This makes the window that opened the clipboard its owner.
  EmptyClipboard();
  return SetClipboardData(CF_UNICODETEXT, memory) != nullptr;
}

bool CopyText(HWND owner, const std::u16string& text) {
  const size_t size = (text.size() + 1) * sizeof(char16_t);
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, size);
  if (memory == nullptr) return false;
  std::memcpy(GlobalLock(memory), text.c_str(), size);
  GlobalUnlock(memory);
  if (OpenClipboard(owner) != FALSE) {
    const bool given = GiveClipboard(memory);
    CloseClipboard();
    if (given) return true;
  }
  GlobalFree(memory);
  return false;
}

// Its text, which ends at a zero or with the memory.
std::u16string TextIn(HGLOBAL memory) {
  const auto* units = static_cast<const char16_t*>(GlobalLock(memory));
  if (units == nullptr) return std::u16string();
  const std::u16string_view all(units, GlobalSize(memory) / sizeof(char16_t));
  std::u16string text(all.substr(0, all.find(u'\0')));
  GlobalUnlock(memory);
  return text;
}

std::optional<std::u16string> ClipboardText(HWND owner) {
  if (OpenClipboard(owner) == FALSE) return std::nullopt;
  const HANDLE memory = GetClipboardData(CF_UNICODETEXT);
  std::u16string text = memory != nullptr ? TextIn(memory) : std::u16string();
  CloseClipboard();
  return text;
}

// False for no selection, and when another program holds the clipboard, which is told.
bool CopySelection(HexWindow& window) {
  const std::u16string text = CopiedText(window.view);
  if (text.empty()) return false;
  const bool copied = CopyText(window.handle, text);
  if (!copied) RefuseHex(window, kClipboardBusy);
  return copied;
}

void CopyAs(HexWindow& window, CopyForm form) {
  const auto text = CopiedText(window.view, form, window.file_position);
  if (!text) return RefuseHex(window, L"Too long for the clipboard: save it to a file.");
  if (!CopyText(window.handle, *text)) RefuseHex(window, kClipboardBusy);
}

void Cut(HexWindow& window) {
  if (CopySelection(window)) AfterHex(window, RunOnBytes(window.view, HexCommand::kDelete));
}

void Paste(HexWindow& window) {
  const auto text = ClipboardText(window.handle);
  if (!text) return RefuseHex(window, kClipboardBusy);
  AfterHex(window, PutText(window.view, *text));
}

// --- commands ------------------------------------------------------------------------------------

// Asks first when nothing was looked for yet.
void FindAgain(HexWindow& window, HexCommand command) {
  const bool ask = !SequenceOf(window.view.find);
  if (ask) return RunHexCommand(window, HexCommand::kFind);
  AfterHex(window, RunOnBytes(window.view, command));
}

void Find(HexWindow& window) {
  if (!AskHexFind(window.handle, window.view.find)) return;
  FindAgain(window, window.view.find.forward ? HexCommand::kFindNext : HexCommand::kFindPrevious);
}

void Run(HexWindow& window, HexCommand command) {
  switch (command) {
    case HexCommand::kCut:
      return Cut(window);
    case HexCommand::kCopy:
      CopySelection(window);
      return;
    case HexCommand::kPaste:
      return Paste(window);
    case HexCommand::kFind:
      return Find(window);
    case HexCommand::kFindNext:
    case HexCommand::kFindPrevious:
      return FindAgain(window, command);
    case HexCommand::kSave:
      return NotifyHexParent(window, kHexSave);
    default:
      return AfterHex(window, RunOnBytes(window.view, command));
  }
}

bool CanRun(const HexWindow& window, const HexCommandRow& row) {
  return IsAvailable(row, window.view, IsClipboardFormatAvailable(CF_UNICODETEXT) != FALSE);
}

void RunRow(HexWindow& window, const HexCommandRow& row) {
  if (CanRun(window, row)) Run(window, row.command);
}

// Identifiers of a menu's items; 0 says that nothing was chosen.
UINT MenuIdOf(const HexCommandRow& row) { return static_cast<UINT>(row.command) + 1; }

void AddMenuItem(HMENU menu, const HexWindow& window, const HexCommandRow& row) {
  const UINT state = CanRun(window, row) ? MF_ENABLED : MF_GRAYED;
  const bool ticked = row.command == HexCommand::kOverwrite && window.view.model.overwrite;
  AppendMenuW(menu, MF_STRING | state | (ticked ? MF_CHECKED : MF_UNCHECKED), MenuIdOf(row),
              AsWide(row.text));
  if (row.ends_group) AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
}

// Above the identifiers of rows.
constexpr UINT kFirstForm = 100;

// Numbered from kFirstForm in the order of CopyForm.
void AddCopyForms(HMENU menu, const HexWindow& window) {
  const HMENU forms = CreatePopupMenu();
  for (size_t i = 0; i < kCopyForms; ++i) {
    AppendMenuW(forms, MF_STRING, kFirstForm + i, AsWide(CopyFormName(static_cast<CopyForm>(i))));
  }
  const UINT state = ByteCount(window.view.model) != 0 ? MF_ENABLED : MF_GRAYED;
  AppendMenuW(menu, MF_POPUP | state, reinterpret_cast<UINT_PTR>(forms), L"Cop&y as");
}

bool IsDown(int key) { return GetKeyState(key) < 0; }

}  // namespace

void RunHexCommand(HexWindow& window, HexCommand command) {
  for (const HexCommandRow& row : HexCommands()) {
    if (row.command == command) return RunRow(window, row);
  }
}

bool OnHexKey(HexWindow& window, WPARAM key) {
  const auto code = static_cast<uint32_t>(key);
  const bool shift = IsDown(VK_SHIFT);
  // With Alt it is the key for a third character.
  const bool control = IsDown(VK_CONTROL) && !IsDown(VK_MENU);
  if (key == VK_TAB) {
    SwitchSide(window.view, window.view.side == HexSide::kHex ? HexSide::kText : HexSide::kHex);
    AfterHexMove(window);
  } else if (MoveByKey(window.view, code, shift, control)) {
    AfterHexMove(window);
  } else if (key == VK_BACK) {
    AfterHex(window, EraseBefore(window.view));
  } else if (const HexCommandRow* row = HexCommandOfKey(code, control, shift); row != nullptr) {
    RunRow(window, *row);
  } else {
    return false;
  }
  return true;
}

void OnHexCharacter(HexWindow& window, wchar_t character) {
  AfterHex(window, TypeCharacter(window.view, static_cast<char16_t>(character)));
}

void ShowHexMenu(HexWindow& window, POINT at) {
  const HMENU menu = CreatePopupMenu();
  for (const HexCommandRow& row : HexCommands()) {
    if (row.text == nullptr || !IsOffered(row, window.view)) continue;
    AddMenuItem(menu, window, row);
    if (row.command == HexCommand::kCopy) AddCopyForms(menu, window);
  }
  // Where the last group has nothing to offer.
  const int last = GetMenuItemCount(menu) - 1;
  if ((GetMenuState(menu, static_cast<UINT>(last), MF_BYPOSITION) & MF_SEPARATOR) != 0) {
    DeleteMenu(menu, static_cast<UINT>(last), MF_BYPOSITION);
  }
  const BOOL chosen =
      TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, at.x, at.y, 0, window.handle, nullptr);
  DestroyMenu(menu);
  if (chosen >= static_cast<BOOL>(kFirstForm)) {
    return CopyAs(window, static_cast<CopyForm>(chosen - static_cast<BOOL>(kFirstForm)));
  }
  if (chosen != 0) RunHexCommand(window, static_cast<HexCommand>(chosen - 1));
}

}  // namespace hivequarry
