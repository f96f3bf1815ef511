#include "host/visible_text.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "host/host.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

constexpr std::string_view kEscape = "\\u{";

// What may have to be escaped, by the first byte; nearly no byte of most texts.
constexpr std::array<bool, 256> MakeSuspects() {
  std::array<bool, 256> suspects{};
  for (size_t byte = 0; byte < 0x20; ++byte) suspects[byte] = true;
  for (const int byte : {0x7F, 0xC2, 0xD8, 0xE2, static_cast<int>('{')}) {
    suspects[static_cast<size_t>(byte)] = true;
  }
  return suspects;
}
constexpr std::array<bool, 256> kSuspects = MakeSuspects();
bool IsSuspect(char byte) { return kSuspects[static_cast<uint8_t>(byte)]; }

// Bytes of the character that begins with this byte.
size_t LengthOf(char first) {
  const auto byte = static_cast<uint8_t>(first);
  return byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

// The UTF-16 unit of a character of one to three bytes that all are there.
char16_t UnitAt(std::string_view utf8, size_t at, size_t length) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(utf8[at + i]); };
  if (length == 1) return byte(0);
  if (length == 2) return static_cast<char16_t>((byte(0) & 0x1F) << 6 | (byte(1) & 0x3F));
  return static_cast<char16_t>((byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F));
}

void AppendEscape(char16_t unit, std::string& out) { out += Concat({"\\u{", Hex(unit), "}"}); }

// The UTF-8 bytes of one character at the start of a text; 0 where they are none.
size_t SoundLength(std::string_view text) {
  const size_t length = LengthOf(text[0]);
  const auto first = static_cast<uint8_t>(text[0]);
  if (length > text.size() || (first >= 0x80 && first < 0xC2) || first > 0xF4) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((static_cast<uint8_t>(text[i]) & 0xC0) != 0x80) return 0;
  }
  return length;
}

// Code-page text in which UTF-8 names are, as UTF-8.
std::string MixedAsUtf8(std::string_view text) {
  std::string utf8;
  for (size_t at = 0; at < text.size();) {
    const size_t length = SoundLength(text.substr(at));
    if (length == 0) {
      utf8 += Utf8FromNarrow(text.substr(at, 1));
    } else {
      utf8 += text.substr(at, length);
    }
    at += std::max<size_t>(length, 1);
  }
  return utf8;
}

}  // namespace

bool IsControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x061C || unit == 0x200E ||
         unit == 0x200F || (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

size_t ControlAt(std::string_view utf8, size_t at, char16_t& unit) {
  if (!IsSuspect(utf8[at])) return 0;
  const size_t length = LengthOf(utf8[at]);
  if (length > utf8.size() - at) return 0;
  unit = UnitAt(utf8, at, length);
  return IsControl(unit) ? length : 0;
}

void AppendVisible(std::string_view utf8, std::string& out) {
  for (size_t from = 0; from < utf8.size();) {
    size_t at = from;
    do {
      at = PlainEnd(utf8, at, '{', '{');
      while (at < utf8.size() && (utf8[at] & 0x80) != 0 && !IsSuspect(utf8[at])) ++at;
    } while (at < utf8.size() && !IsSuspect(utf8[at]));
    out.append(utf8, from, at - from);
    if (at == utf8.size()) return;
    char16_t unit = 0;
    const size_t length = ControlAt(utf8, at, unit);
    if (length != 0) {
      AppendEscape(unit, out);
    } else if (at >= 2 && utf8.substr(at - 2, 3) == kEscape) {
      out.resize(out.size() - 2);
      AppendEscape(u'\\', out);
      out += "u{";
    } else {
      out += utf8[at];
    }
    from = at + std::max<size_t>(length, 1);
  }
}

std::string VisibleLine(std::string_view text) {
  std::string line;
  for (size_t at = 0; at < text.size(); ++at) {
    if (text.substr(at, 2) == "\r\n") continue;
    line += text[at] == '\n' ? ' ' : text[at];
  }
  std::string visible;
  AppendVisible(MixedAsUtf8(line), visible);
  return visible;
}

std::string VisibleLines(std::string_view text) {
  const std::string utf8 = MixedAsUtf8(text);
  std::string visible;
  for (size_t at = 0; at < utf8.size();) {
    size_t end = std::min(utf8.find_first_of("\r\n\t", at), utf8.size());
    const bool lone = end < utf8.size() && utf8[end] == '\r' && utf8.substr(end, 2) != "\r\n";
    if (lone) ++end;  // a line's own
    AppendVisible(std::string_view(utf8).substr(at, end - at), visible);
    if (end < utf8.size() && !lone) visible += utf8[end++];
    if (visible.ends_with('\r')) visible += utf8[end++];
    at = end;
  }
  return visible;
}

}  // namespace hivequarry
