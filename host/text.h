// Text inside the program: UTF-8 in which a surrogate without its other half is kept, encoded like
// any other unit (which strict UTF-8 forbids). So whatever UTF-16 can hold is held whole, and comes
// back the same. A zero is a character like others.
//
// The code page of the machine is where a file's format fixes it, and in the reading that a user
// may choose instead of the whole text (ReadInCodePage).
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

// A single-byte code page. Bytes and UTF-16 units map one to one, or not at all.
struct CodePage {
  std::array<char16_t, 256> wide_of_byte{};
  // Indexed by UTF-16 unit; 0 where no byte stands for the unit (unit 0 itself maps to byte 0).
  std::vector<uint8_t> byte_of_wide = std::vector<uint8_t>(0x10000);
};
// Windows-1252, the code page of the front ends that have no system code page to ask.
const CodePage& WesternCodePage();
// Completes `page.byte_of_wide` from `page.wide_of_byte`; the lowest byte wins where two share a
// unit.
void CompleteCodePage(CodePage& page);

// The choice to read names and texts of hives as the code page has them, "?" for what it lacks.
// Of the whole process; holds for what is decoded from then on.
bool ReadsInCodePage();
// Texts that were made before stay as they are: lists and trees have to be made anew.
void ReadInCodePage(bool only);
// While one lives its thread reads whole, whatever the choice: for what goes on to others (scripts,
// bookmarks, the registry) rather than to the eye.
struct WholeReading {
  WholeReading();
  ~WholeReading();
  WholeReading(const WholeReading&) = delete;
  WholeReading& operator=(const WholeReading&) = delete;
};

// --- text and UTF-16 -----------------------------------------------------------------------------

// What comes after a character in a text.
struct Character {
  uint32_t code = 0;  // U+FFFD where the bytes are no character
  size_t length = 0;  // bytes, at least 1
};
// `at` is inside the text.
Character CharacterAt(std::string_view text, size_t at);
// As one to four bytes; any number below 0x110000 is taken, also that of a surrogate.
void AppendCharacter(uint32_t code, std::string& text);

// These two are each other's reverse for all UTF-16.
std::string TextOfWide(std::u16string_view wide);
std::u16string WideOfText(std::string_view text);

// Half of a character of UTF-16; the high half comes first.
inline bool IsSurrogate(uint32_t code) { return code >= 0xD800 && code < 0xE000; }
inline bool IsHighSurrogate(uint32_t code) { return code >= 0xD800 && code < 0xDC00; }
inline bool IsLowSurrogate(uint32_t code) { return code >= 0xDC00 && code < 0xE000; }

// --- properties ----------------------------------------------------------------------------------

// Where the first byte is that is no ASCII, from `at` on.
inline size_t AsciiEnd(std::string_view text, size_t at) {
  constexpr uint64_t kTops = 0x8080808080808080;
  const auto tops = [&text](size_t from) {
    uint64_t eight = 0;
    std::memcpy(&eight, text.data() + from, sizeof eight);
    return eight & kTops;
  };
  while (text.size() - at >= 32 && (tops(at) | tops(at + 8) | tops(at + 16) | tops(at + 24)) == 0) {
    at += 32;
  }
  while (text.size() - at >= 8 && tops(at) == 0) at += 8;
  while (at < text.size() && (text[at] & 0x80) == 0) ++at;
  return at;
}
inline bool IsAscii(std::string_view text) { return AsciiEnd(text, 0) == text.size(); }
// True for bytes that are text: UTF-8, lone surrogates allowed.
bool IsText(std::string_view bytes);
// True for a text that strict UTF-8 and lines can't say: one with a zero or a lone surrogate.
bool IsUnsayable(std::string_view text);
// As strict UTF-8: U+FFFD for each lone surrogate and for what is no text.
std::string StrictUtf8(std::string_view text);

// Characters are counted in UTF-16 units, as the system counts them.
size_t CountUnits(std::string_view text);
// The longest beginning of at most `units` units; no character is cut in two.
std::string_view FirstUnits(std::string_view text, size_t units);
inline constexpr size_t kMostUtf8 = 3;  // bytes that a unit takes at most

// --- the code page in force ----------------------------------------------------------------------

// One byte for each UTF-16 unit, '?' where none fits; `lost` (may be null) counts these.
std::string CodePageOfText(std::string_view text, size_t* lost = nullptr);
// True when CodePageOfText would lose nothing.
bool FitsCodePage(std::string_view text);
// Each byte is one character.
std::string TextOfCodePage(std::string_view bytes);
// Text as it is, or code-page bytes converted: for files that older versions wrote.
std::string TextOfEither(std::string_view bytes);

}  // namespace hivequarry
