#include "view/hex_text.h"

#include <algorithm>

#include "hive/value_input.h"
#include "host/host.h"
#include "host/number_text.h"
#include "view/shown_text.h"

namespace hivequarry {
namespace {

constexpr char16_t kNoCharacter = 0xFFFD;
bool IsControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

// The unit of a byte on the clipboard.
char16_t CopiedUnit(uint8_t byte) {
  if (byte == 0) return kZeroSymbol;
  const char16_t unit = CurrentHost().code_page->wide_of_byte[byte];
  return unit != 0 ? unit : kNoCharacter;
}

}  // namespace

std::optional<uint8_t> HexDigitOf(char16_t unit) {
  const uint32_t digit = DigitOf(unit);
  if (digit > 15) return std::nullopt;
  return static_cast<uint8_t>(digit);
}

std::optional<std::vector<uint8_t>> BytesOfHexText(std::u16string text) {
  std::replace(text.begin(), text.end(), u'\\', u' ');
  InputError error;
  return BytesOfInput(text, error);
}

char16_t ShownCharacter(uint8_t byte) {
  const char16_t unit = CurrentHost().code_page->wide_of_byte[byte];
  return IsControl(unit) ? u'.' : unit;
}

std::u16string TextOfBytes(std::span<const uint8_t> bytes) {
  std::u16string text;
  text.reserve(bytes.size());
  for (const uint8_t byte : bytes) text += CopiedUnit(byte);
  return text;
}

std::optional<uint8_t> ByteOfCharacter(char16_t unit) {
  if (unit == 0 || unit == kZeroSymbol) return uint8_t{0};
  // 0 stands for "none" there; the zero itself was dealt with above.
  const uint8_t byte = CurrentHost().code_page->byte_of_wide[unit];
  return byte != 0 ? std::optional(byte) : std::nullopt;
}

std::optional<std::vector<uint8_t>> BytesOfText(std::u16string_view text) {
  std::vector<uint8_t> bytes;
  bytes.reserve(text.size());
  for (const char16_t unit : text) {
    const auto byte = ByteOfCharacter(unit);
    if (!byte) return std::nullopt;
    bytes.push_back(*byte);
  }
  return bytes;
}

}  // namespace hivequarry
