#include <algorithm>

#include "ui/hex/hex_text.h"
#include "ui/hex/hex_window.h"

namespace hivequarry {
namespace {

constexpr wchar_t kFirstPrintable = L' ';

// How a key moves the caret; modifiers are in the record.
struct Move {
  HexWindow& window;
  bool extend;  // Shift
  bool whole;   // Ctrl
};

void MoveTo(const Move& move, int64_t position, bool low = false) {
  HexBytes& model = move.window.model;
  const int64_t last = ByteCount(model);
  MoveCaret(model, static_cast<uint32_t>(std::clamp<int64_t>(position, 0, last)), low, move.extend);
}

bool HasSelection(const Move& move) { return Length(SelectionOf(move.window.model)) != 0; }

// Digit by digit on the hex side, byte by byte on the other and while selecting.
void MoveLeft(const Move& move) {
  const HexCaret caret = move.window.model.caret;
  const bool by_digit = move.window.side == HexSide::kHex && !move.extend;
  if (!move.extend && HasSelection(move)) {
    MoveTo(move, SelectionOf(move.window.model).start);
  } else if (caret.low) {
    MoveTo(move, caret.position);
  } else if (caret.position > 0) {
    MoveTo(move, caret.position - 1, by_digit);
  }
}

void MoveRight(const Move& move) {
  const HexCaret caret = move.window.model.caret;
  const bool by_digit = move.window.side == HexSide::kHex && !move.extend;
  if (!move.extend && HasSelection(move)) {
    MoveTo(move, SelectionOf(move.window.model).end);
  } else if (by_digit && !caret.low && caret.position < ByteCount(move.window.model)) {
    MoveTo(move, caret.position, true);
  } else {
    MoveTo(move, caret.position + 1);
  }
}

// By lines; at the first and last line the column is kept, so nothing moves there.
void MoveLines(const Move& move, int64_t lines) {
  const HexCaret caret = move.window.model.caret;
  const int64_t per_line = move.window.layout.per_line;
  const int64_t last = LineCount(move.window.layout, ByteCount(move.window.model)) - 1;
  const int64_t line = caret.position / per_line;
  const int64_t target = std::clamp<int64_t>(line + lines, 0, last);
  if (target != line) MoveTo(move, target * per_line + caret.position % per_line, caret.low);
}

void MoveHome(const Move& move) {
  const uint32_t position = move.window.model.caret.position;
  MoveTo(move, move.whole ? 0 : position - position % move.window.layout.per_line);
}

// To the last byte of the line; selecting, after it.
void MoveEnd(const Move& move) {
  const uint32_t count = ByteCount(move.window.model);
  const uint32_t per_line = move.window.layout.per_line;
  const uint32_t position = move.window.model.caret.position;
  const uint32_t next_line = position - position % per_line + per_line;
  MoveTo(move, move.whole ? count : move.extend || next_line > count ? next_line : next_line - 1);
}

int64_t PageLines(const Move& move) { return LinesInView(move.window.layout); }

void MovePage(const Move& move, int64_t direction) {
  // The page goes along, so that the caret keeps its place on it.
  const int64_t lines = direction * PageLines(move);
  ScrollHexTo(move.window, move.window.top_line + lines);
  MoveLines(move, lines);
}

struct KeyMove {
  WPARAM key;
  void (*move)(const Move& move);
};
constexpr KeyMove kMoves[] = {
    {VK_LEFT, MoveLeft},
    {VK_RIGHT, MoveRight},
    {VK_UP, [](const Move& move) { MoveLines(move, -1); }},
    {VK_DOWN, [](const Move& move) { MoveLines(move, 1); }},
    {VK_PRIOR, [](const Move& move) { MovePage(move, -1); }},
    {VK_NEXT, [](const Move& move) { MovePage(move, 1); }},
    {VK_HOME, MoveHome},
    {VK_END, MoveEnd},
};

bool IsDown(int key) { return GetKeyState(key) < 0; }

}  // namespace

void SwitchHexSide(HexWindow& window, HexSide side) {
  window.side = side;
  // The text side has no place within a byte.
  if (window.model.caret.low) MoveCaret(window.model, window.model.caret.position, false, false);
  AfterHexMove(window);
}

bool OnHexKey(HexWindow& window, WPARAM key) {
  const bool shift = IsDown(VK_SHIFT);
  // With Alt it is the key for a third character.
  const bool control = IsDown(VK_CONTROL) && !IsDown(VK_MENU);
  for (const KeyMove& row : kMoves) {
    if (row.key != key) continue;
    row.move({window, shift, control});
    AfterHexMove(window);
    return true;
  }
  switch (key) {
    case VK_TAB:
      SwitchHexSide(window, window.side == HexSide::kHex ? HexSide::kText : HexSide::kHex);
      return true;
    case VK_BACK:
      AfterHexChange(window, EraseBack(window.model));
      return true;
    default:
      return RunHexKeyCommand(window, key, control, shift);
  }
}

void OnHexCharacter(HexWindow& window, wchar_t character) {
  // What is below comes from keys that were dealt with as keys.
  if (character < kFirstPrintable || character == 0x7F) return;
  const auto unit = static_cast<char16_t>(character);
  if (window.side == HexSide::kHex) {
    const auto digit = HexDigitOf(unit);
    if (digit) AfterHexInput(window, TypeDigit(window.model, *digit));
    if (!digit && unit != u' ') RefuseHex(window, L"Only the digits 0-9 and A-F make bytes.");
    return;
  }
  const auto byte = ByteOfCharacter(unit);
  if (byte) AfterHexInput(window, TypeByte(window.model, *byte));
  if (!byte) RefuseHex(window, L"The code page has no such character.");
}

}  // namespace hivequarry
