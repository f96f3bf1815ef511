// What the files of the hex edit control share.
#pragma once

#include <string>

#include "ui/hex/hex_edit.h"
#include "ui/hex/hex_find.h"

namespace hivequarry {

// The left button is down and the pointer selects.
struct HexDrag {
  bool on = false;
  bool selects = false;  // the pointer has left the gap between bytes where it began
  uint32_t start = 0;    // that gap
};

// Goes with its window, on whose thread everything here is called.
struct HexWindow {
  HWND handle = nullptr;
  HexView view;
  FilePosition file_position;
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  HFONT font = nullptr;  // of the record
  HexDrag drag;
  int wheel_rest = 0;  // what was turned and is less than a line
  const wchar_t* refusal = L"";
};

// hex_paint.cpp
void PaintHex(const HexWindow& window);

// hex_mouse.cpp
void OnHexButtonDown(HexWindow& window, POINT point, bool extend);
void OnHexPointerMove(HexWindow& window, POINT point);
void OnHexDragTimer(HexWindow& window);
void EndHexDrag(HexWindow& window);
void OnHexWheel(HexWindow& window, int turned);
void OnHexScroll(HexWindow& window, WORD request);

// hex_commands.cpp. Keys: false when the key means nothing here.
bool OnHexKey(HexWindow& window, WPARAM key);
void OnHexCharacter(HexWindow& window, wchar_t character);
void RunHexCommand(HexWindow& window, HexCommand command);
// `at`: screen coordinates.
void ShowHexMenu(HexWindow& window, POINT at);

// hex_edit.cpp. What follows an action: scroll bar, caret, painting and the word to the parent.
void AfterHex(HexWindow& window, const HexOutcome& outcome);
// The caret moved. Without `show` a caret out of view stays there.
void AfterHexMove(HexWindow& window, bool show = true);
void NotifyHexParent(const HexWindow& window, WORD code);
void RefuseHex(HexWindow& window, const wchar_t* reason);
// Makes a line the first one, as far as there are lines for a page; the caret stays.
void ScrollHexTo(HexWindow& window, int64_t line);

}  // namespace hivequarry
