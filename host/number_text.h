// Numbers as texts, and digits as numbers. The same in every locale, and without a format string:
// rows of lists and lines of scripts are made of these by the million.
#pragma once

#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace hivequarry {

inline constexpr char kUpperDigits[] = "0123456789ABCDEF";
inline constexpr char kLowerDigits[] = "0123456789abcdef";

// The digits of one number. Takes no memory; valid as text as long as itself.
struct Digits {
  std::array<char, 24> room;   // a sign and the 19 digits of the longest, or 16 of the widest
  size_t start = sizeof room;  // in `room`, of the first character

  operator std::string_view() const { return {room.data() + start, room.size() - start}; }
  operator std::string() const { return std::string(std::string_view(*this)); }
};

// `width` counts characters, the sign among them, and is at most 20; what is shorter is filled up
// in front, after the sign where the fill is a zero.
inline Digits Decimal(int64_t number, size_t width = 1, char fill = '0') {
  Digits digits;
  // Negated as unsigned, so that the lowest number has its digits too.
  uint64_t rest = static_cast<uint64_t>(number);
  if (number < 0) rest = 0 - rest;
  const auto add = [&digits](char c) { digits.room[--digits.start] = c; };
  const auto length = [&digits] { return digits.room.size() - digits.start; };
  do {
    add(static_cast<char>('0' + rest % 10));
    rest /= 10;
  } while (rest != 0);
  const bool sign = number < 0;
  while (fill == '0' && length() + (sign ? 1 : 0) < width) add(fill);
  if (sign) add('-');
  while (length() < width) add(fill);
  return digits;
}

// In base 16, of at least `width` digits, at most 16.
inline Digits HexWith(const char (&table)[17], uint64_t number, size_t width) {
  Digits digits;
  do {
    digits.room[--digits.start] = table[number & 15];
    number >>= 4;
  } while (number != 0 || digits.room.size() - digits.start < width);
  return digits;
}
// Capitals, as positions and codes are shown.
inline Digits Hex(uint64_t number, size_t width = 1) {
  return HexWith(kUpperDigits, number, width);
}
// Small letters, where a format has them so.
inline Digits SmallHex(uint64_t number, size_t width = 1) {
  return HexWith(kLowerDigits, number, width);
}
// The eight of a number in base 16, in capitals, made together: each in a byte of its own.
inline std::array<char, 8> EightDigits(uint32_t number) {
  static_assert(std::endian::native == std::endian::little);
  constexpr uint64_t kOnes = 0x0101010101010101;
  uint64_t digits = number;
  digits = (digits | digits << 16) & 0x0000FFFF0000FFFF;
  digits = (digits | digits << 8) & 0x00FF00FF00FF00FF;
  digits = (digits | digits << 4) & 0x0F0F0F0F0F0F0F0F;
  const uint64_t letters = (digits + 6 * kOnes) >> 4 & kOnes;  // 1 for A to F
  digits += '0' * kOnes + ('A' - '9' - 1) * letters;
  return std::bit_cast<std::array<char, 8>>(__builtin_bswap64(digits));
}
// "0x%08X": positions in lists.
inline std::string HexNumber(uint32_t number) {
  const std::array<char, 8> digits = EightDigits(number);
  return std::string("0x").append(digits.data(), digits.size());
}

// Of nine digits at most, with an exponent where it is shorter so: "0.1", "1e+20".
inline std::string RealText(double number) {
  std::array<char, 32> room{};
  const auto end =
      std::to_chars(room.data(), room.data() + room.size(), number, std::chars_format::general, 9);
  return {room.data(), end.ptr};
}

// Texts and digits, one after the other.
inline std::string Concat(std::initializer_list<std::string_view> parts) {
  size_t length = 0;
  for (const std::string_view part : parts) length += part.size();
  std::string text;
  text.reserve(length);
  for (const std::string_view part : parts) text += part;
  return text;
}

// "1,234,567".
inline std::string Thousands(uint64_t number) {
  std::string text = std::to_string(number);
  for (size_t at = text.size(); at > 3;) text.insert(at -= 3, 1, ',');
  return text;
}

// A position or a size as it is shown: "0x%08X (%u)", wider where it needs to be. The second form
// adds it to the end of `out`.
inline std::string HexAndDecimal(uint64_t number) {
  return Concat({"0x", Hex(number, 8), " (", std::to_string(number), ")"});
}
inline void AppendHexAndDecimal(uint32_t number, std::string& out) {
  const std::array<char, 8> hex = EightDigits(number);
  const Digits decimal = Decimal(number);
  out.append("0x").append(hex.data(), hex.size()).append(" (");
  out.append(std::string_view(decimal)).append(")");
}

// What a character is worth as a digit in base 16, in capitals or small letters; 16 for no digit.
constexpr uint32_t DigitOf(char32_t unit) {
  if (unit >= U'0' && unit <= U'9') return unit - U'0';
  if (unit >= U'a' && unit <= U'f') return unit - U'a' + 10;
  return unit >= U'A' && unit <= U'F' ? unit - U'A' + 10 : 16;
}

}  // namespace hivequarry
