// Bytes as a hex edit control shows, copies and takes them. Knows no window.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

// A digit's value, or nothing.
std::optional<uint8_t> HexDigitOf(char16_t unit);

// The bytes of hexadecimal text, the backslash that continues a line of a registry script skipped.
// Nothing when anything else is in the text.
std::optional<std::vector<uint8_t>> BytesOfHexText(std::u16string text);

// The character that stands for a byte on the text side: a dot for what is no character.
char16_t ShownCharacter(uint8_t byte);
// Bytes as characters of the code page for the clipboard, where a zero would end it: it becomes its
// visible symbol.
std::u16string TextOfBytes(std::span<const uint8_t> bytes);
// The reverse. Nothing when a character has no byte in the code page.
std::optional<std::vector<uint8_t>> BytesOfText(std::u16string_view text);
// The byte that a character stands for, or nothing.
std::optional<uint8_t> ByteOfCharacter(char16_t unit);

}  // namespace hivequarry
