// Where a hex edit control shows what: a line of titles, then lines of offset, position in the
// file, bytes as digits and bytes as characters. Columns count characters of the fixed font.
#pragma once

#include <cstdint>

namespace hivequarry {

// Which of the two columns has the caret.
enum class HexSide { kHex, kText };

// Sizes of the view, pixels where nothing else is said.
struct HexLayout {
  int cell_width = 8;  // of a character, pixels
  int line_height = 16;
  int margin = 4;  // left of the first column
  int width = 0;   // of the client area
  int height = 0;
  bool file_positions = false;  // a second column says where in the file each line is
  uint32_t per_line = 16;       // bytes of a line
  uint32_t widest = 64;         // bytes a line at most; the eye loses longer ones
};

// As many bytes a line as fit, in steps of 8; at least 8.
void FitBytesPerLine(HexLayout& layout);

// What a line of so many bytes takes, pixels.
int WidthOfLine(const HexLayout& layout, uint32_t per_line);

inline constexpr int kHexPositionDigits = 8;
// Columns are counted in characters from the first one; ColumnLeft and LineTop give pixels in the
// client area. The first line is below the titles.
int FileColumn(const HexLayout& layout);
// Of a byte's first digit, and of its character. `index` counts the bytes of a line.
int HexColumn(const HexLayout& layout, uint32_t index);
int TextColumn(const HexLayout& layout, uint32_t index);
inline int ColumnLeft(const HexLayout& layout, int column) {
  return layout.margin + column * layout.cell_width;
}
inline int LineTop(const HexLayout& layout, uint32_t line, uint32_t top_line) {
  return (static_cast<int>(line - top_line) + 1) * layout.line_height;
}

// Lines for `count` bytes and the place after the last one.
inline uint32_t LineCount(const HexLayout& layout, uint32_t count) {
  return count / layout.per_line + 1;
}
// Lines that are seen whole; at least 1.
uint32_t LinesInView(const HexLayout& layout);

// The place under a point of the client area.
struct HexPlace {
  HexSide side = HexSide::kHex;
  uint32_t position = 0;  // at most `count`
  bool low = false;       // the second digit was hit
  uint32_t boundary = 0;  // the gap between bytes that is nearest
};
// `captured`: the side on which a drag began keeps the pointer. Points above and below the lines
// belong to the lines nearest in view.
HexPlace PlaceAt(const HexLayout& layout, int x, int y, uint32_t top_line, uint32_t count,
                 const HexSide* captured);

}  // namespace hivequarry
