#include "view/picture.h"

#include <algorithm>
#include <array>

#include "host/markup_text.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

// --- SVG -----------------------------------------------------------------------------------------

std::string ColourText(uint32_t colour) { return Concat({"#", Hex(colour & 0xFFFFFF, 6)}); }

// Characters that XML has no place for, control characters, are left out.
std::string XmlText(std::string text) {
  std::erase_if(text, [](char c) { return static_cast<unsigned char>(c) < 0x20; });
  std::string out;
  AppendMarkup(text, out);
  return out;
}

std::string BoxText(const PictureBox& box) {
  return Concat({"<rect x=\"", std::to_string(box.left), "\" y=\"", std::to_string(box.top),
                 "\" width=\"", std::to_string(box.right - box.left), "\" height=\"",
                 std::to_string(box.bottom - box.top), "\" fill=\"", ColourText(box.colour),
                 "\"/>\n"});
}

const char* AnchorOf(TextAlign align) {
  if (align == TextAlign::kLeft) return "start";
  return align == TextAlign::kCentre ? "middle" : "end";
}

// --- PNG -----------------------------------------------------------------------------------------

// The checksum of picture chunks: polynomial 0xEDB88320, lowest bit first.
constexpr std::array<uint32_t, 256> MakeCrcTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t rest = byte;
    for (int bit = 0; bit < 8; ++bit) rest = (rest & 1) != 0 ? 0xEDB88320 ^ rest >> 1 : rest >> 1;
    table[byte] = rest;
  }
  return table;
}
constexpr std::array<uint32_t, 256> kCrcTable = MakeCrcTable();

uint32_t CrcOf(std::string_view bytes) {
  uint32_t crc = 0xFFFFFFFF;
  for (const char c : bytes) crc = kCrcTable[(crc ^ static_cast<uint8_t>(c)) & 0xFF] ^ crc >> 8;
  return ~crc;
}

void AppendBigEndian(uint32_t number, std::string& out) {
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>(number >> shift & 0xFF);
}

// Length, type, data, and the checksum of the latter two; numbers with their highest byte first.
void AppendChunk(const char* type, const std::string& data, std::string& out) {
  AppendBigEndian(static_cast<uint32_t>(data.size()), out);
  const size_t start = out.size();
  out += type;
  out += data;
  AppendBigEndian(CrcOf(std::string_view(out).substr(start)), out);
}

uint32_t AdlerOf(std::string_view bytes) {
  constexpr uint32_t kPrime = 65521;
  constexpr size_t kRun = 5552;  // bytes after which the sums still fit into 32 bits
  uint32_t a = 1;
  uint32_t b = 0;
  for (size_t at = 0; at < bytes.size();) {
    const size_t end = std::min(bytes.size(), at + kRun);
    for (; at < end; ++at) b += a += static_cast<uint8_t>(bytes[at]);
    a %= kPrime;
    b %= kPrime;
  }
  return b << 16 | a;
}

// A zlib stream of stored blocks.
// 0x78 0x01 begins one; each block has a byte (1 for the last), its length, the length's complement
// and the bytes; after the last the checksum of all. Not compressed: a picture of the screen's size
// is some megabytes, once.
std::string StoredStream(std::string_view bytes) {
  constexpr size_t kMostStored = 0xFFFF;
  std::string out = "\x78\x01";
  for (size_t at = 0; at < bytes.size();) {
    const size_t size = std::min(kMostStored, bytes.size() - at);
    out += at + size == bytes.size() ? '\1' : '\0';
    for (const size_t number : {size, ~size}) {
      out += static_cast<char>(number & 0xFF);
      out += static_cast<char>(number >> 8 & 0xFF);
    }
    out += bytes.substr(at, size);
    at += size;
  }
  AppendBigEndian(AdlerOf(bytes), out);
  return out;
}

}  // namespace

std::string SvgOf(const Picture& picture) {
  const std::string width = std::to_string(picture.width);
  const std::string height = std::to_string(picture.height);
  std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  out += Concat({"<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"", width, "\" height=\"",
                 height, "\" viewBox=\"0 0 ", width, " ", height, "\">\n"});
  out += BoxText({0, 0, picture.width, picture.height, picture.paper});
  for (const PictureBox& box : picture.boxes) out += BoxText(box);
  const std::string size = std::to_string(picture.line_height * 3 / 4);
  for (const PictureText& text : picture.texts) {
    // SVG places a text by its base line, not by its top.
    const std::string base = std::to_string(text.y + picture.line_height * 4 / 5);
    out += Concat({"<text x=\"", std::to_string(text.x), "\" y=\"", base,
                   "\" font-family=\"sans-serif\" font-size=\"", size, "\" text-anchor=\"",
                   AnchorOf(text.align), "\" fill=\"", ColourText(text.colour), "\">",
                   XmlText(text.text), "</text>\n"});
  }
  return out + "</svg>\n";
}

// The file is a signature and three chunks: the size and kind of the pixels, the rows, each after
// the number of its filter, and an end.
std::string PngOf(int width, int height, std::span<const uint32_t> pixels) {
  if (width <= 0 || height <= 0) return {};
  const auto columns = static_cast<size_t>(width);
  if (pixels.size() != columns * static_cast<size_t>(height)) return {};
  std::string rows;
  rows.reserve(pixels.size() * 3 + static_cast<size_t>(height));
  for (size_t at = 0; at < pixels.size(); ++at) {
    if (at % columns == 0) rows += '\0';  // no filter
    for (int shift = 16; shift >= 0; shift -= 8) {
      rows += static_cast<char>(pixels[at] >> shift & 0xFF);
    }
  }
  std::string head;
  AppendBigEndian(static_cast<uint32_t>(width), head);
  AppendBigEndian(static_cast<uint32_t>(height), head);
  head += std::string("\x08\x02\x00\x00\x00", 5);  // 8 bits each of red, green and blue
  std::string out = "\x89PNG\r\n\x1A\n";
  AppendChunk("IHDR", head, out);
  AppendChunk("IDAT", StoredStream(rows), out);
  AppendChunk("IEND", {}, out);
  return out;
}

}  // namespace hivequarry
