// What the files of the hex edit control share.
#pragma once

#include <string>

#include "ui/hex/hex_edit.h"
#include "ui/hex/hex_find.h"

namespace hivequarry {

// Goes with its window.
struct HexWindow {
  HWND handle = nullptr;
  HexBytes model;
  HexLayout layout;
  HexSide side = HexSide::kHex;
  FilePosition file_position;
  uint32_t top_line = 0;
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  HFONT font = nullptr;
  bool dragging = false;
  bool drag_selects = false;  // the pointer has left the gap between bytes where it began
  uint32_t drag_start = 0;    // that gap
  int wheel_rest = 0;         // what was turned and is less than a line
  HexFind find;
  const wchar_t* refusal = L"";
};

enum class HexCommand {
  kUndo,
  kRedo,
  kCut,
  kCopy,
  kPaste,
  kDelete,
  kSelectAll,
  kFind,
  kFindNext,
  kFindPrevious,
  kOverwrite,
};

// hex_paint.cpp
void PaintHex(const HexWindow& window);

// hex_keys.cpp. False when the key means nothing here.
bool OnHexKey(HexWindow& window, WPARAM key);
void OnHexCharacter(HexWindow& window, wchar_t character);
void SwitchHexSide(HexWindow& window, HexSide side);

// hex_mouse.cpp
void OnHexButtonDown(HexWindow& window, POINT point, bool extend);
void OnHexPointerMove(HexWindow& window, POINT point);
void OnHexDragTimer(HexWindow& window);
void EndHexDrag(HexWindow& window);
void OnHexWheel(HexWindow& window, int turned);
void OnHexScroll(HexWindow& window, WORD request);

// hex_commands.cpp
void RunHexCommand(HexWindow& window, HexCommand command);
// The command that a key stands for; false when there is none.
bool RunHexKeyCommand(HexWindow& window, WPARAM key, bool control, bool shift);
// `at`: screen coordinates.
void ShowHexMenu(HexWindow& window, POINT at);

// hex_edit.cpp. What follows an action: scroll bar, caret, painting and the word to the parent.
// Without `show` a caret out of view stays there.
void AfterHexMove(HexWindow& window, bool show = true);
// `done`: what the model answered.
void AfterHexChange(HexWindow& window, bool done);
// The same where the model refuses only what would become too long; the user is told so.
void AfterHexInput(HexWindow& window, bool done);
void RefuseHex(HexWindow& window, const wchar_t* reason);
void NotifyHexParent(const HexWindow& window, WORD code);
// Makes a line the first one, as far as there are lines for a page; the caret stays.
void ScrollHexTo(HexWindow& window, int64_t line);
void UpdateHexCaret(HexWindow& window);

}  // namespace hivequarry
