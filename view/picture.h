// Pictures made of boxes and texts: a window draws them, and they are written as SVG and PNG.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace hivequarry {

// Pixels from the upper left corner; right and bottom excluded. Colours are 0xRRGGBB.
struct PictureBox {
  int left;
  int top;
  int right;
  int bottom;
  uint32_t colour;
};
enum class TextAlign : uint8_t { kLeft, kCentre, kRight };
struct PictureText {
  int x;  // what `align` says of the text
  int y;  // of its line's top
  TextAlign align;
  uint32_t colour;
  std::string text;  // UTF-8
};
struct Picture {
  int width = 0;
  int height = 0;
  int line_height = 0;  // of its texts
  uint32_t paper = 0xFFFFFF;
  std::vector<PictureBox> boxes;  // later ones cover earlier ones
  std::vector<PictureText> texts;
};

// A document of its own, UTF-8.
std::string SvgOf(const Picture& picture);
// A PNG file of `width` * `height` pixels 0x00RRGGBB, the top row first. Its bytes are not
// compressed. Empty where the pixels are not as many.
std::string PngOf(int width, int height, std::span<const uint32_t> pixels);

}  // namespace hivequarry
