// Text that shows all that it holds. Names and data come from files that somebody else wrote: a
// control character among them could move a terminal's cursor, colour, hide or turn around what is
// beside it, a line end could make a line that the program never wrote, a zero would end a name
// early, and surrogates without their other halves all look alike.
//
// Such a character is shown as "\u{1B}", its number in hexadecimal. So that each "\u{" begins one,
// the backslash of a "\u{" that was there before is shown as "\u{5C}". Nothing else is changed.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace hivequarry {

// The places, as top bits, where bytes of the word are that are no printable ASCII characters or
// are one of the others named. The lowest is right; a borrow may set more after it.
template <typename... Others>
inline uint64_t OddBytes(uint64_t word, Others... others) {
  constexpr uint64_t kOnes = 0x0101010101010101;
  const auto below = [](uint64_t in, uint64_t limit) { return (in - kOnes * limit) & ~in; };
  [[maybe_unused]] const auto all = [](char character) {
    return kOnes * static_cast<uint8_t>(character);
  };
  const uint64_t found = (uint64_t{0} | ... | below(word ^ all(others), 1));
  return (found | word | (word + kOnes) | below(word, 0x20)) & (kOnes << 7);
}

// Where, from `at` on, the first byte is that is no printable ASCII character or one of the others
// named. Most texts have none: eight bytes are looked at together.
template <typename... Others>
inline size_t PlainEnd(std::string_view text, size_t at, Others... others) {
  static_assert(std::endian::native == std::endian::little);  // the first byte is the lowest
  const auto load = [&text]<typename Word>(size_t from, Word word) {
    std::memcpy(&word, text.data() + from, sizeof word);
    return word;
  };
  for (; text.size() - at >= 8; at += 8) {
    const uint64_t marks = OddBytes(load(at, uint64_t{}), others...);
    if (marks != 0) return at + static_cast<size_t>(std::countr_zero(marks)) / 8;
  }
  // What is left is looked at together too, with some of what was looked at before.
  const size_t size = text.size();
  if (size >= 8 && OddBytes(load(size - 8, uint64_t{}), others...) == 0) return size;
  if (size >= 4 && size < 8) {
    const uint64_t ends = uint64_t{load(size - 4, uint32_t{})} << 32 | load(0, uint32_t{});
    if (OddBytes(ends, others...) == 0) return size;
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
// The same as a text of its own.
std::string ShownKeyName(std::string_view name);
// That of a value.
std::string ShownValueName(std::string_view name);

// A message as one line: its line ends are blanks, and its text has escapes.
std::string VisibleLine(std::string_view text);
// Lines, each with escapes; the line ends, LF or CR LF, and tabs stay.
std::string VisibleLines(std::string_view text);

}  // namespace hivequarry
