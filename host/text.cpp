#include "host/text.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "host/host.h"

namespace hivequarry {
namespace {

constexpr uint32_t kReplacement = 0xFFFD;

struct TextState {
  std::atomic<bool> code_page_only{false};
  static thread_local int whole_readings;
};
thread_local int TextState::whole_readings = 0;

TextState& TheTextState() {
  static TextState state;
  return state;
}

// The 32 bytes in which Windows-1252 differs from Latin-1; 0 where it defines nothing.
constexpr char16_t kWesternHigh[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

CodePage MakeWesternCodePage() {
  CodePage page;
  for (int byte = 0; byte < 256; ++byte) page.wide_of_byte[byte] = static_cast<char16_t>(byte);
  // The five undefined bytes keep their own number, as the platform maps them.
  for (int i = 0; i < 32; ++i) {
    if (kWesternHigh[i] != 0) page.wide_of_byte[0x80 + i] = kWesternHigh[i];
  }
  CompleteCodePage(page);
  return page;
}

bool IsFollower(char byte) { return (static_cast<uint8_t>(byte) & 0xC0) == 0x80; }

// A byte that is no text alone has a code that no character has.
constexpr uint32_t kNoCharacter = UINT32_MAX;

Character Decode(std::string_view text, size_t at) {
  const auto lead = static_cast<uint8_t>(text[at]);
  if (lead < 0x80) return {lead, 1};
  const size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if (lead < 0xC2 || lead > 0xF4 || text.size() - at <= more) return {kNoCharacter, 1};
  uint32_t code = lead & (0x3FU >> more);
  for (size_t i = 1; i <= more; ++i) {
    if (!IsFollower(text[at + i])) return {kNoCharacter, 1};
    code = code << 6 | (static_cast<uint8_t>(text[at + i]) & 0x3F);
  }
  constexpr uint32_t kLowest[4] = {0, 0x80, 0x800, 0x10000};
  if (code < kLowest[more] || code > 0x10FFFF) return {kNoCharacter, 1};
  return {code, more + 1};
}

// ASCII as it is, and what `append` makes of the code of each other character.
template <typename Append>
std::string WithOthers(std::string_view text, const Append& append) {
  std::string out;
  out.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    const size_t end = AsciiEnd(text, at);
    out.append(text, at, end - at);
    if (end == text.size()) break;
    const Character character = CharacterAt(text, end);
    append(character.code, out);
    at = end + character.length;
  }
  return out;
}

}  // namespace

void CompleteCodePage(CodePage& page) {
  for (int byte = 255; byte > 0; --byte) {
    page.byte_of_wide[page.wide_of_byte[byte]] = static_cast<uint8_t>(byte);
  }
  page.byte_of_wide[0] = 0;
}

const CodePage& WesternCodePage() {
  static const CodePage page = MakeWesternCodePage();
  return page;
}

bool ReadsInCodePage() {
  const bool only = TheTextState().code_page_only.load(std::memory_order_relaxed);
  return only && TextState::whole_readings == 0;
}
void ReadInCodePage(bool only) { TheTextState().code_page_only = only; }

WholeReading::WholeReading() { ++TextState::whole_readings; }
WholeReading::~WholeReading() { --TextState::whole_readings; }

Character CharacterAt(std::string_view text, size_t at) {
  const Character character = Decode(text, at);
  return character.code == kNoCharacter ? Character{kReplacement, 1} : character;
}

void AppendCharacter(uint32_t code, std::string& text) {
  if (code < 0x80) {
    text.push_back(static_cast<char>(code));
    return;
  }
  if (code < 0x800) {
    text.push_back(static_cast<char>(0xC0 | code >> 6));
  } else {
    if (code < 0x10000) {
      text.push_back(static_cast<char>(0xE0 | code >> 12));
    } else {
      text.push_back(static_cast<char>(0xF0 | code >> 18));
      text.push_back(static_cast<char>(0x80 | (code >> 12 & 0x3F)));
    }
    text.push_back(static_cast<char>(0x80 | (code >> 6 & 0x3F)));
  }
  text.push_back(static_cast<char>(0x80 | (code & 0x3F)));
}

std::string TextOfWide(std::u16string_view wide) {
  std::string text;
  text.reserve(wide.size());
  for (size_t i = 0; i < wide.size(); ++i) {
    uint32_t code = wide[i];
    if (IsHighSurrogate(code) && i + 1 < wide.size() && IsLowSurrogate(wide[i + 1])) {
      code = 0x10000U + ((code - 0xD800U) << 10) + (wide[++i] - 0xDC00U);
    }
    AppendCharacter(code, text);
  }
  return text;
}

std::u16string WideOfText(std::string_view text) {
  std::u16string wide;
  wide.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    const Character character = CharacterAt(text, at);
    at += character.length;
    if (character.code < 0x10000) {
      wide.push_back(static_cast<char16_t>(character.code));
    } else {
      wide.push_back(static_cast<char16_t>(0xD800 + ((character.code - 0x10000) >> 10)));
      wide.push_back(static_cast<char16_t>(0xDC00 + ((character.code - 0x10000) & 0x3FF)));
    }
  }
  return wide;
}

bool IsText(std::string_view bytes) {
  for (size_t at = AsciiEnd(bytes, 0); at < bytes.size(); at = AsciiEnd(bytes, at)) {
    const Character character = Decode(bytes, at);
    if (character.code == kNoCharacter) return false;
    at += character.length;
  }
  return true;
}

bool IsUnsayable(std::string_view text) {
  if (text.find('\0') != text.npos) return true;
  for (size_t at = text.find('\xED'); at != text.npos; at = text.find('\xED', at + 1)) {
    if (IsSurrogate(CharacterAt(text, at).code)) return true;
  }
  return false;
}

std::string StrictUtf8(std::string_view text) {
  return WithOthers(text, [](uint32_t code, std::string& out) {
    AppendCharacter(IsSurrogate(code) ? kReplacement : code, out);
  });
}

size_t CountUnits(std::string_view text) {
  // Every character but those of four bytes is one unit.
  size_t units = 0;
  for (const char byte : text) {
    units += !IsFollower(byte);
    units += static_cast<uint8_t>(byte) >= 0xF0;
  }
  return units;
}

std::string_view FirstUnits(std::string_view text, size_t units) {
  if (text.size() <= units) return text;
  size_t at = 0;
  while (at < text.size()) {
    const Character character = CharacterAt(text, at);
    const size_t wanted = character.code < 0x10000 ? 1 : 2;
    if (wanted > units) break;
    units -= wanted;
    at += character.length;
  }
  return text.substr(0, at);
}

std::string CodePageOfText(std::string_view text, size_t* lost) {
  const CodePage& page = *CurrentHost().code_page;
  return WithOthers(text, [&page, lost](uint32_t code, std::string& out) {
    const bool known = code < 0x10000 && page.byte_of_wide[code] != 0;
    const size_t units = code < 0x10000 ? 1 : 2;
    out.append(units, known ? static_cast<char>(page.byte_of_wide[code]) : '?');
    if (!known && lost != nullptr) *lost += units;
  });
}

bool FitsCodePage(std::string_view text) {
  const CodePage& page = *CurrentHost().code_page;
  for (size_t at = AsciiEnd(text, 0); at < text.size(); at = AsciiEnd(text, at)) {
    const Character character = CharacterAt(text, at);
    if (character.code >= 0x10000 || page.byte_of_wide[character.code] == 0) return false;
    at += character.length;
  }
  return true;
}

std::string TextOfCodePage(std::string_view bytes) {
  const size_t plain = AsciiEnd(bytes, 0);
  std::string text(bytes.substr(0, plain));
  const CodePage& page = *CurrentHost().code_page;
  for (const char byte : bytes.substr(plain)) {
    AppendCharacter(page.wide_of_byte[static_cast<uint8_t>(byte)], text);
  }
  return text;
}

std::string TextOfEither(std::string_view bytes) {
  return IsText(bytes) ? std::string(bytes) : TextOfCodePage(bytes);
}

}  // namespace hivequarry
