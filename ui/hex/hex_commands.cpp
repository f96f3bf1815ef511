#include <cstring>
#include <iterator>
#include <utility>

#include "hive/value_input.h"
#include "ui/hex/hex_text.h"
#include "ui/hex/hex_window.h"

namespace hivequarry {
namespace {

// --- clipboard -----------------------------------------------------------------------------------

constexpr wchar_t kClipboardBusy[] = L"Another program holds the clipboard.";

// Hands the memory to the clipboard.
bool GiveClipboard(HGLOBAL memory) {
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

bool CopySelection(HexWindow& window) {
  const std::vector<uint8_t> bytes = SelectedBytes(window.model);
  if (bytes.empty()) return false;
  const bool hex = window.side == HexSide::kHex;
  const bool copied = CopyText(window.handle, hex ? InputOfBytes(bytes) : TextOfBytes(bytes));
  if (!copied) RefuseHex(window, kClipboardBusy);
  return copied;
}

void Copy(HexWindow& window) { CopySelection(window); }

void Cut(HexWindow& window) {
  if (CopySelection(window)) AfterHexChange(window, EraseForward(window.model));
}

void Paste(HexWindow& window) {
  const auto text = ClipboardText(window.handle);
  if (!text) return RefuseHex(window, kClipboardBusy);
  const bool hex = window.side == HexSide::kHex;
  const auto bytes = hex ? BytesOfHexText(*text) : BytesOfText(*text);
  if (!bytes) {
    return RefuseHex(window, hex ? L"The clipboard's text is no sequence of bytes like 0A FF 10."
                                 : L"The clipboard's text has characters outside the code page.");
  }
  if (!bytes->empty()) AfterHexInput(window, PutBytes(window.model, *bytes));
}

// --- other commands ------------------------------------------------------------------------------

void SelectAll(HexWindow& window) {
  SelectBytes(window.model, {0, ByteCount(window.model)});
  AfterHexMove(window);
}

void FindAgain(HexWindow& window, bool forward) {
  const auto sequence = SequenceOf(window.find);
  if (!sequence) return RunHexCommand(window, HexCommand::kFind);
  window.find.forward = forward;
  if (!FindBytes(window.model, *sequence, forward)) return RefuseHex(window, L"Not found.");
  AfterHexMove(window);
}

void Find(HexWindow& window) {
  if (AskHexFind(window.handle, window.find)) FindAgain(window, window.find.forward);
}

void SwitchOverwrite(HexWindow& window) {
  window.model.overwrite = !window.model.overwrite;
  UpdateHexCaret(window);
  NotifyHexParent(window, kHexModeChanged);
}

bool HasSelection(const HexWindow& window) { return Length(SelectionOf(window.model)) != 0; }
bool HasBytes(const HexWindow& window) { return ByteCount(window.model) != 0; }
bool Always(const HexWindow&) { return true; }

struct CommandRow {
  HexCommand command;
  const wchar_t* text;  // in the menu; null: not there
  WPARAM key;
  bool control;
  bool shift;
  bool (*can)(const HexWindow& window);
  void (*run)(HexWindow& window);
  bool ends_group = false;
};
// Further keys of the same commands are in rows without a text.
constexpr CommandRow kCommands[] = {
    {HexCommand::kUndo, L"&Undo\tCtrl+Z", 'Z', true, false,
     [](const HexWindow& window) { return !window.model.history.done.empty(); },
     [](HexWindow& window) { AfterHexChange(window, Undo(window.model)); }},
    {HexCommand::kRedo, L"&Redo\tCtrl+Y", 'Y', true, false,
     [](const HexWindow& window) { return !window.model.history.undone.empty(); },
     [](HexWindow& window) { AfterHexChange(window, Redo(window.model)); }, true},
    {HexCommand::kCut, L"Cu&t\tCtrl+X", 'X', true, false, HasSelection, Cut},
    {HexCommand::kCopy, L"&Copy\tCtrl+C", 'C', true, false, HasSelection, Copy},
    {HexCommand::kPaste, L"&Paste\tCtrl+V", 'V', true, false,
     [](const HexWindow&) { return IsClipboardFormatAvailable(CF_UNICODETEXT) != FALSE; }, Paste},
    {HexCommand::kDelete, L"&Delete\tDel", VK_DELETE, false, false, HasBytes,
     [](HexWindow& window) { AfterHexChange(window, EraseForward(window.model)); }, true},
    {HexCommand::kSelectAll, L"Select &all\tCtrl+A", 'A', true, false, HasBytes, SelectAll, true},
    {HexCommand::kFind, L"&Find\tCtrl+F", 'F', true, false, HasBytes, Find},
    {HexCommand::kFindNext, L"Find &next\tF3", VK_F3, false, false, HasBytes,
     [](HexWindow& window) { FindAgain(window, true); }},
    {HexCommand::kFindPrevious, L"Find pre&vious\tF4", VK_F4, false, false, HasBytes,
     [](HexWindow& window) { FindAgain(window, false); }, true},
    {HexCommand::kOverwrite, L"&Overwrite\tIns", VK_INSERT, false, false, Always, SwitchOverwrite},
    {HexCommand::kFindPrevious, nullptr, VK_F3, false, true, HasBytes,
     [](HexWindow& window) { FindAgain(window, false); }},
    {HexCommand::kCopy, nullptr, VK_INSERT, true, false, HasSelection, Copy},
    {HexCommand::kPaste, nullptr, VK_INSERT, false, true, Always, Paste},
    {HexCommand::kCut, nullptr, VK_DELETE, false, true, HasSelection, Cut},
};

// Identifiers of a menu's items; 0 says that nothing was chosen.
UINT MenuIdOf(const CommandRow& row) { return static_cast<UINT>(row.command) + 1; }

void AddMenuItem(HMENU menu, const HexWindow& window, const CommandRow& row) {
  const UINT state = row.can(window) ? MF_ENABLED : MF_GRAYED;
  const bool ticked = row.command == HexCommand::kOverwrite && window.model.overwrite;
  AppendMenuW(menu, MF_STRING | state | (ticked ? MF_CHECKED : MF_UNCHECKED), MenuIdOf(row),
              row.text);
  if (row.ends_group) AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
}

void RunRow(HexWindow& window, const CommandRow& row) {
  if (row.can(window)) row.run(window);
}

}  // namespace

void RunHexCommand(HexWindow& window, HexCommand command) {
  for (const CommandRow& row : kCommands) {
    if (row.command == command) return RunRow(window, row);
  }
}

bool RunHexKeyCommand(HexWindow& window, WPARAM key, bool control, bool shift) {
  for (const CommandRow& row : kCommands) {
    if (row.key != key || row.control != control || row.shift != shift) continue;
    RunRow(window, row);
    return true;
  }
  return false;
}

void ShowHexMenu(HexWindow& window, POINT at) {
  const HMENU menu = CreatePopupMenu();
  for (const CommandRow& row : kCommands) {
    if (row.text != nullptr) AddMenuItem(menu, window, row);
  }
  const BOOL chosen =
      TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, at.x, at.y, 0, window.handle, nullptr);
  DestroyMenu(menu);
  if (chosen != 0) RunHexCommand(window, static_cast<HexCommand>(chosen - 1));
}

}  // namespace hivequarry
