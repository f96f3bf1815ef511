#include "view/hex_layout.h"

#include <algorithm>

namespace hivequarry {
namespace {

constexpr int kGap = 2;         // between columns, characters
constexpr uint32_t kGroup = 8;  // bytes between wider gaps

int HexStart(const HexLayout& layout) {
  return (layout.file_positions ? 2 : 1) * (kHexPositionDigits + kGap);
}

int CharactersFor(HexLayout layout, uint32_t per_line) {
  layout.per_line = per_line;
  return TextColumn(layout, per_line);
}

// A byte of the line, and half characters from its first digit, or its character, to `x`.
struct HalfColumn {
  uint32_t index;
  int halves;
};

// The byte of a line that is at x or left of it, the first one for what is before them all.
// TextHalf is the same on the side of the characters, where a place after the last counts as its
// end.
HalfColumn HexHalf(const HexLayout& layout, int x) {
  uint32_t index = layout.per_line - 1;
  while (index > 0 && x < ColumnLeft(layout, HexColumn(layout, index))) --index;
  const int left = ColumnLeft(layout, HexColumn(layout, index));
  return {index, std::max(0, x - left) * 2 / layout.cell_width};
}

HalfColumn TextHalf(const HexLayout& layout, int x) {
  const int inside = std::max(0, x - ColumnLeft(layout, TextColumn(layout, 0)));
  const auto index = static_cast<uint32_t>(inside / layout.cell_width);
  if (index >= layout.per_line) return {layout.per_line - 1, 2};
  return {index, inside % layout.cell_width * 2 / layout.cell_width};
}

// One line below the view counts too, so that a drag can go on there.
uint32_t LineAt(const HexLayout& layout, int y, uint32_t top_line, uint32_t count) {
  const int row = y / layout.line_height - 1;
  const int last = static_cast<int>(LinesInView(layout));
  const auto line = top_line + static_cast<uint32_t>(std::clamp(row, 0, last));
  return std::min(line, LineCount(layout, count) - 1);
}

}  // namespace

void FitBytesPerLine(HexLayout& layout) {
  const int room = (layout.width - layout.margin) / layout.cell_width;
  uint32_t per_line = kGroup;
  while (per_line < layout.widest && CharactersFor(layout, per_line + kGroup) <= room) {
    per_line += kGroup;
  }
  layout.per_line = per_line;
}

int WidthOfLine(const HexLayout& layout, uint32_t per_line) {
  return ColumnLeft(layout, CharactersFor(layout, per_line));
}

int FileColumn(const HexLayout&) { return kHexPositionDigits + kGap; }

int HexColumn(const HexLayout& layout, uint32_t index) {
  return HexStart(layout) + static_cast<int>(index * 3 + index / kGroup);
}

int TextColumn(const HexLayout& layout, uint32_t index) {
  const int hex_end = HexColumn(layout, layout.per_line - 1) + 2;
  return hex_end + kGap + static_cast<int>(index);
}

uint32_t LinesInView(const HexLayout& layout) {
  return static_cast<uint32_t>(std::max(1, layout.height / layout.line_height - 1));
}

HexPlace PlaceAt(const HexLayout& layout, int x, int y, uint32_t top_line, uint32_t count,
                 const HexSide* captured) {
  HexPlace place;
  // Half of the gap belongs to each side.
  const int text_left = ColumnLeft(layout, TextColumn(layout, 0)) - layout.cell_width;
  place.side = captured != nullptr ? *captured : x >= text_left ? HexSide::kText : HexSide::kHex;
  const bool hex = place.side == HexSide::kHex;
  const HalfColumn at = hex ? HexHalf(layout, x) : TextHalf(layout, x);
  const uint32_t start = LineAt(layout, y, top_line, count) * layout.per_line;
  place.position = std::min(start + at.index, count);
  // The gap after a byte's second digit still belongs to it.
  place.low = hex && at.halves >= 2;
  // After the middle of the second digit, or of the character, the gap after the byte is nearer.
  const bool behind = at.halves >= (hex ? 3 : 1);
  place.boundary = std::min(start + at.index + (behind ? 1U : 0U), count);
  return place;
}

}  // namespace hivequarry
