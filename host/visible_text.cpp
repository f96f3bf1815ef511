#include "host/visible_text.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "host/number_text.h"
#include "host/text.h"

namespace hivequarry {
namespace {

// What may have to be escaped, by the first byte; nearly no byte of most texts.
constexpr std::array<bool, 256> MakeSuspects() {
  std::array<bool, 256> suspects{};
  for (size_t byte = 0; byte < 0x20; ++byte) suspects[byte] = true;
  for (const int byte : {0x7F, 0xC2, 0xD8, 0xE2, 0xED, static_cast<int>('{')}) {
    suspects[static_cast<size_t>(byte)] = true;
  }
  return suspects;
}
constexpr std::array<bool, 256> kSuspects = MakeSuspects();
bool IsSuspect(char byte) { return kSuspects[static_cast<uint8_t>(byte)]; }

// Names may be nothing but these: put together without a text of their own.
void AppendEscape(char16_t unit, std::string& out) {
  out += "\\u{";
  out += std::string_view(Hex(unit));
  out += '}';
}

// Which characters are escaped.
enum class Escaped : uint8_t { kAll, kOnce, kUnsayable };

bool IsEscaped(char16_t unit, Escaped escaped) {
  return escaped != Escaped::kUnsayable || unit == 0 || IsSurrogate(unit);
}

// Where, from `at` on, the first byte is that may have to be escaped.
size_t SuspectAt(std::string_view text, size_t at) {
  do {
    at = PlainEnd(text, at, '{');
    while (at < text.size() && (text[at] & 0x80) != 0 && !IsSuspect(text[at])) ++at;
  } while (at < text.size() && !IsSuspect(text[at]));
  return at;
}

void AppendEscaped(std::string_view text, Escaped escaped, std::string& out) {
  for (size_t from = 0; from < text.size();) {
    const size_t at = SuspectAt(text, from);
    out.append(text, from, at - from);
    if (at == text.size()) return;
    char16_t unit = 0;
    const size_t length = ControlAt(text, at, unit);
    if (length != 0 && IsEscaped(unit, escaped)) {
      AppendEscape(unit, out);
    } else if (length == 0 && escaped != Escaped::kOnce && at >= 2 &&
               text.substr(at - 2, 3) == kEscapeStart) {
      out.resize(out.size() - 2);
      AppendEscape(u'\\', out);
      out += "u{";
    } else {
      out.append(text, at, std::max<size_t>(length, 1));
    }
    from = at + std::max<size_t>(length, 1);
  }
}

}  // namespace

bool IsControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x061C || unit == 0x200E ||
         unit == 0x200F || (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

size_t ControlAt(std::string_view text, size_t at, char16_t& unit) {
  if (!IsSuspect(text[at])) return 0;
  const Character character = CharacterAt(text, at);
  if (character.code > 0xFFFF) return 0;
  unit = static_cast<char16_t>(character.code);
  return IsControl(unit) || IsSurrogate(unit) ? character.length : 0;
}

void AppendVisible(std::string_view text, std::string& out) {
  AppendEscaped(text, Escaped::kAll, out);
}
void AppendVisibleOnce(std::string_view shown, std::string& out) {
  AppendEscaped(shown, Escaped::kOnce, out);
}
void AppendSayable(std::string_view text, std::string& out) {
  AppendEscaped(text, Escaped::kUnsayable, out);
}

void AppendShownKeyName(std::string_view name, std::string& out) {
  if (IsShownAsIs(name)) {
    out += name;
    return;
  }
  size_t at = 0;
  if (name.starts_with("u{")) {
    AppendEscape(name[at++], out);
  }
  while (at < name.size()) {
    const size_t end = std::min(name.find('\\', at), name.size());
    AppendEscaped(name.substr(at, end - at), Escaped::kAll, out);
    if (end < name.size()) AppendEscape(u'\\', out);
    at = end + 1;
  }
}

std::string ShownKeyName(std::string_view name) {
  std::string shown;
  AppendShownKeyName(name, shown);
  return shown;
}

std::string ShownValueName(std::string_view name) {
  if (PlainEnd(name, 0, '{') == name.size()) return std::string(name);
  std::string shown;
  AppendVisible(name, shown);
  return shown;
}

std::string VisibleLine(std::string_view text) {
  std::string line;
  for (size_t at = 0; at < text.size(); ++at) {
    if (text.substr(at, 2) == "\r\n") continue;
    line += text[at] == '\n' ? ' ' : text[at];
  }
  std::string visible;
  AppendVisibleOnce(TextOfEither(line), visible);
  return visible;
}

std::string VisibleLines(std::string_view text) {
  std::string visible;
  for (size_t at = 0; at < text.size();) {
    size_t end = std::min(text.find_first_of("\r\n\t", at), text.size());
    const bool lone = end < text.size() && text[end] == '\r' && text.substr(end, 2) != "\r\n";
    if (lone) ++end;  // a line's own
    AppendVisibleOnce(text.substr(at, end - at), visible);
    if (end < text.size() && !lone) visible += text[end++];
    if (visible.ends_with('\r')) visible += text[end++];
    at = end;
  }
  return visible;
}

}  // namespace hivequarry
