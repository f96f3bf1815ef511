#include <algorithm>
#include <array>

#include "host/number_text.h"
#include "ui/draw/dimmed_selection.h"
#include "ui/draw/tones.h"
#include "ui/hex/hex_window.h"
#include "view/hex_text.h"

namespace hivequarry {
namespace {

constexpr size_t kLongestRun = 256;  // characters drawn at once

struct Colours {
  COLORREF text;
  COLORREF background;
};

// For one message: what is drawn on, and with what.
struct Painter {
  HDC dc = nullptr;
  const HexWindow& window;
  bool focused = false;
  // Every character as wide as a cell, also those that another font has to lend.
  std::array<INT, kLongestRun> advances{};
};

Colours ColoursOf(Tone text, Tone background) { return {ColourOf(text), ColourOf(background)}; }

// Each character in a cell of its own width, whatever the font would give it.
void DrawRun(const Painter& painter, int column, int top, const std::wstring& text,
             Colours colours) {
  const HexLayout& layout = painter.window.view.layout;
  const auto length = static_cast<int>(std::min(text.size(), kLongestRun));
  const int left = ColumnLeft(layout, column);
  const RECT area{left, top, left + length * layout.cell_width, top + layout.line_height};
  SetTextColor(painter.dc, colours.text);
  SetBkColor(painter.dc, colours.background);
  // One pixel down: the gap between lines is half above and half below the text at 96 dpi.
  ExtTextOutW(painter.dc, left, top + 1, ETO_OPAQUE | ETO_CLIPPED, &area, text.c_str(),
              static_cast<UINT>(length), painter.advances.data());
}

// Letters that are joined, or run to the left, keep their cells only one by one.
bool AreApart(const std::wstring& text) {
  return std::none_of(text.begin(), text.end(),
                      [](wchar_t unit) { return unit >= 0x0590 && unit < 0x2000; });
}

// Text that the system might join or turn is drawn character by character.
void DrawCharacters(const Painter& painter, uint32_t index, int top, const std::wstring& text,
                    Colours colours) {
  const int column = TextColumn(painter.window.view.layout, index);
  if (AreApart(text)) return DrawRun(painter, column, top, text, colours);
  for (size_t i = 0; i < text.size(); ++i) {
    DrawRun(painter, column + static_cast<int>(i), top, text.substr(i, 1), colours);
  }
}

std::wstring PositionText(uint32_t position) {
  const Digits digits = Hex(position, 8);
  const std::string_view text = digits;
  return {text.begin(), text.end()};
}

// --- one line ------------------------------------------------------------------------------------

// A line's digits with the gaps between them as blanks, padded to the length of a whole line.
std::wstring DigitsOf(const HexLayout& layout, const uint8_t* bytes, uint32_t count) {
  const int start = HexColumn(layout, 0);
  std::wstring text(static_cast<size_t>(HexColumn(layout, layout.per_line) - start), L' ');
  for (uint32_t i = 0; i < count; ++i) {
    const auto at = static_cast<size_t>(HexColumn(layout, i) - start);
    text[at] = static_cast<wchar_t>(kUpperDigits[bytes[i] >> 4]);
    text[at + 1] = static_cast<wchar_t>(kUpperDigits[bytes[i] & 0x0F]);
  }
  return text;
}

std::wstring CharactersOf(const uint8_t* bytes, uint32_t count) {
  std::wstring text;
  for (uint32_t i = 0; i < count; ++i) text += static_cast<wchar_t>(ShownCharacter(bytes[i]));
  return text;
}

// The side without the caret shows the same bytes dimmed.
Colours SelectionColours(const Painter& painter, HexSide side) {
  if (painter.focused && side == painter.window.view.side) {
    return ColoursOf(Tone::kSelectionText, Tone::kSelection);
  }
  Colours colours{};
  SetDimmedColours(colours.text, colours.background);
  return colours;
}

// The part of the selection within a line, drawn again in its own colours.
void DrawSelection(const Painter& painter, int top, HexRange part, const std::wstring& digits,
                   const std::wstring& characters) {
  const HexLayout& layout = painter.window.view.layout;
  const int from = HexColumn(layout, part.start);
  const int length = HexColumn(layout, part.end - 1) + 2 - from;
  const auto skipped = static_cast<size_t>(from - HexColumn(layout, 0));
  DrawRun(painter, from, top, digits.substr(skipped, static_cast<size_t>(length)),
          SelectionColours(painter, HexSide::kHex));
  DrawRun(painter, TextColumn(layout, part.start), top, characters.substr(part.start, Length(part)),
          SelectionColours(painter, HexSide::kText));
}

// Frames the byte at the caret on the side where no caret blinks.
void DrawMark(const Painter& painter, HexSide side, int top, uint32_t index) {
  if (painter.focused && side == painter.window.view.side) return;
  const HexLayout& layout = painter.window.view.layout;
  const bool hex = side == HexSide::kHex;
  const int left = ColumnLeft(layout, hex ? HexColumn(layout, index) : TextColumn(layout, index));
  const int width = (hex ? 2 : 1) * layout.cell_width;
  const RECT area{left - 1, top, left + width + 1, top + layout.line_height};
  FrameRect(painter.dc, &area, BrushOf(Tone::kFaint));
}

// The place in the file is left out where the file has no such byte.
void DrawPositions(const Painter& painter, uint32_t offset, int top) {
  const HexWindow& window = painter.window;
  const Colours colours = ColoursOf(Tone::kFaceText, Tone::kFace);
  DrawRun(painter, 0, top, PositionText(offset), colours);
  const auto position = HexFilePosition(window.handle, offset);
  if (position)
    DrawRun(painter, FileColumn(window.view.layout), top, PositionText(*position), colours);
}

// All of a line, then the selection over it, then the mark of the byte at the caret where nothing
// is selected.
void DrawHexLine(const Painter& painter, uint32_t line, int top) {
  const HexWindow& window = painter.window;
  const HexLayout& layout = window.view.layout;
  const uint32_t offset = line * layout.per_line;
  const uint32_t count = std::min(layout.per_line, ByteCount(window.view.model) - offset);
  const uint8_t* bytes = window.view.model.bytes.data() + offset;
  const std::wstring digits = DigitsOf(layout, bytes, count);
  const std::wstring characters = CharactersOf(bytes, count);
  const Colours colours = ColoursOf(Tone::kText, Tone::kWindow);
  DrawPositions(painter, offset, top);
  DrawRun(painter, HexColumn(layout, 0), top, digits, colours);
  DrawCharacters(painter, 0, top, characters, colours);
  const HexRange selection = SelectionOf(window.view.model);
  const HexRange part{std::max(selection.start, offset), std::min(selection.end, offset + count)};
  if (part.start < part.end) {
    DrawSelection(painter, top, {part.start - offset, part.end - offset}, digits, characters);
  }
  const uint32_t caret = window.view.model.caret.position;
  if (Length(selection) != 0 || caret < offset || caret >= offset + layout.per_line) return;
  DrawMark(painter, HexSide::kHex, top, caret - offset);
  DrawMark(painter, HexSide::kText, top, caret - offset);
}

// --- all of it -----------------------------------------------------------------------------------

std::wstring ByteNumbers(const HexLayout& layout) {
  std::array<uint8_t, 64> numbers{};
  for (size_t i = 0; i < numbers.size(); ++i) numbers[i] = static_cast<uint8_t>(i);
  return DigitsOf(layout, numbers.data(), layout.per_line);
}

void DrawTitles(const Painter& painter) {
  const HexLayout& layout = painter.window.view.layout;
  const Colours colours = ColoursOf(Tone::kFaceText, Tone::kFace);
  const RECT area{0, 0, layout.width, layout.line_height};
  FillRect(painter.dc, &area, BrushOf(Tone::kFace));
  DrawRun(painter, 0, 0, L"Offset", colours);
  if (layout.file_positions) DrawRun(painter, FileColumn(layout), 0, L"In file", colours);
  DrawRun(painter, HexColumn(layout, 0), 0, ByteNumbers(layout), colours);
  DrawRun(painter, TextColumn(layout, 0), 0, L"Text", colours);
}

void DrawAll(Painter& painter) {
  const HexWindow& window = painter.window;
  const HexLayout& layout = window.view.layout;
  painter.advances.fill(layout.cell_width);
  const RECT area{0, 0, layout.width, layout.height};
  FillRect(painter.dc, &area, BrushOf(Tone::kWindow));
  const RECT positions{0, 0, ColumnLeft(layout, HexColumn(layout, 0) - 1), layout.height};
  FillRect(painter.dc, &positions, BrushOf(Tone::kFace));
  const HGDIOBJ old_font = SelectObject(painter.dc, window.font);
  // The last line may be seen in part.
  const uint32_t end = std::min(LineCount(layout, ByteCount(window.view.model)),
                                window.view.top_line + LinesInView(layout) + 1);
  for (uint32_t line = window.view.top_line; line < end; ++line) {
    DrawHexLine(painter, line, LineTop(layout, line, window.view.top_line));
  }
  DrawTitles(painter);
  SelectObject(painter.dc, old_font);
}

}  // namespace

void PaintHex(const HexWindow& window) {
  PAINTSTRUCT paint;
  const HDC screen = BeginPaint(window.handle, &paint);
  const RECT area{0, 0, window.view.layout.width, window.view.layout.height};
  HDC dc = nullptr;
  const HPAINTBUFFER buffer =
      BeginBufferedPaint(screen, &area, BPBF_COMPATIBLEBITMAP, nullptr, &dc);
  Painter painter{buffer != nullptr ? dc : screen, window, GetFocus() == window.handle};
  DrawAll(painter);
  if (buffer != nullptr) EndBufferedPaint(buffer, TRUE);
  EndPaint(window.handle, &paint);
}

}  // namespace hivequarry
