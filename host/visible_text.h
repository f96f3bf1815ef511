// Text that shows all that it holds. Names and data come from files that somebody else wrote: a
// control character among them could move a terminal's cursor, colour, hide or turn around what is
// beside it, a line end could make a line that the program never wrote, a zero would end a name
// early, and surrogates without their other halves all look alike.
//
// Such a character is shown as "\u{1B}", its number in hexadecimal. So that each "\u{" begins one,
// the backslash of a "\u{" that was there before is shown as "\u{5C}". Nothing else is changed.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace hivequarry {

// Which of sixteen bytes are no printable ASCII characters or are one of the others named: all bits
// of these are set. As signed numbers the bytes that are no ASCII are below the printable ones too.
using SixteenBytes [[gnu::vector_size(16)]] = signed char;
template <typename... Others>
inline std::array<uint64_t, 2> OddBytes(SixteenBytes bytes, Others... others) {
  const auto odd =
      (((bytes < 0x20) | (bytes == 0x7F)) | ... | (bytes == static_cast<signed char>(others)));
  return std::bit_cast<std::array<uint64_t, 2>>(odd);
}

template <typename Word>
inline Word WordAt(const char* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}
// The last sixteen bytes of a text of at least four, or all of them, some twice.
inline SixteenBytes LastSixteen(std::string_view text) {
  const char* const end = text.data() + text.size();
  if (text.size() >= 16) return WordAt<SixteenBytes>(end - 16);
  using Halves = std::array<uint64_t, 2>;
  if (text.size() >= 8) {
    return std::bit_cast<SixteenBytes>(
        Halves{WordAt<uint64_t>(text.data()), WordAt<uint64_t>(end - 8)});
  }
  const uint64_t all = WordAt<uint32_t>(text.data()) | uint64_t{WordAt<uint32_t>(end - 4)} << 32;
  return std::bit_cast<SixteenBytes>(Halves{all, all});
}

// Where, from `at` on, the first byte is that is no printable ASCII character or one of the others
// named. Most texts have none: sixteen bytes are looked at together.
template <typename... Others>
inline size_t PlainEnd(std::string_view text, size_t at, Others... others) {
  static_assert(std::endian::native == std::endian::little);  // the first byte is the lowest
  const size_t size = text.size();
  for (; size - at >= 16; at += 16) {
    const auto [low, high] = OddBytes(WordAt<SixteenBytes>(text.data() + at), others...);
    if (low != 0) return at + static_cast<size_t>(std::countr_zero(low)) / 8;
    if (high != 0) return at + 8 + static_cast<size_t>(std::countr_zero(high)) / 8;
  }
  // What is left is looked at together too, with some of what was looked at before.
  if (at < size && size >= 4) {
    const auto [low, high] = OddBytes(LastSixteen(text), others...);
    if ((low | high) == 0) return size;
  }
  const auto is_plain = [&](char c) { return c >= 0x20 && c < 0x7F && ((c != others) && ...); };
  while (at < size && is_plain(text[at])) ++at;
  return at;
}

// C0 and C1 controls, DEL, line and paragraph separators, and what turns the direction of writing.
bool IsControl(char16_t unit);

// Bytes of the control character or lone surrogate at a place of a text, with its unit; 0 where
// there is none.
size_t ControlAt(std::string_view text, size_t at, char16_t& unit);
// Appends a text, with escapes.
void AppendVisible(std::string_view text, std::string& out);
// The same of a text that has its escapes already: what it says stays as it is.
void AppendVisibleOnce(std::string_view shown, std::string& out);
// A text whose zeros and lone surrogates alone are shown so, and the backslash of each "\u{": for
// files of text that somebody else's program reads.
void AppendSayable(std::string_view text, std::string& out);

// The name of a key as part of a path: a backslash, which there parts two keys, is shown as
// "\u{5C}" too, and a "u" that would make an escape of the backslash before the name as "\u{75}".
// So keys that differ in place or name differ in their paths.
// With escapes it has kEscapeStart in it, else nowhere.
inline constexpr std::string_view kEscapeStart = "\\u{";
void AppendShownKeyName(std::string_view name, std::string& out);
// True for the name of a key that is shown as it is.
inline bool IsShownAsIs(std::string_view name) {
  return PlainEnd(name, 0, '\\') == name.size() && !name.starts_with("u{");
}
// True for printable ASCII with neither escapes, nor what looks like one, nor one of the others
// named: the same in every form. A "{" alone is mostly that of a GUID.
template <typename... Others>
inline bool IsPlain(std::string_view text, Others... others) {
  for (size_t at = 0; (at = PlainEnd(text, at, '{', others...)) < text.size(); ++at) {
    if (text[at] != '{' || text.substr(0, at + 1).ends_with(kEscapeStart)) return false;
  }
  return true;
}
// The same as a text of its own.
std::string ShownKeyName(std::string_view name);
// That of a value.
std::string ShownValueName(std::string_view name);

// A message as one line: its line ends are blanks, and its text has escapes.
std::string VisibleLine(std::string_view text);
// Lines, each with escapes; the line ends, LF or CR LF, and tabs stay.
std::string VisibleLines(std::string_view text);

}  // namespace hivequarry
