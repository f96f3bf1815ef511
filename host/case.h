// Capital and small letters: the one place for whatever compares, looks up or hashes names.
//
// Two foldings, for two kinds of text. Names of keys, values and files are compared as the system
// compares them, by its table of UTF-16 units. Words that the program or a file's format has chosen
// (settings, endings, columns' titles, what a report looks for) are plain ASCII: there only A to Z
// and a to z are alike, whatever the code page, so that one file reads the same on every machine.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/text.h"

namespace hivequarry {

// The capital form of a UTF-16 unit as the system has it, one unit for one; any other unit is its
// own.
char16_t CapitalOf(char16_t unit);

// Texts, and UTF-16, without regard to case.
bool EqualIgnoringCase(std::string_view a, std::string_view b);
bool EqualIgnoringCase(std::u16string_view a, std::u16string_view b);
bool StartsIgnoringCase(std::string_view text, std::string_view start);
bool EndsIgnoringCase(std::string_view text, std::string_view end);
// The text with each unit in its capital form: texts are equal ignoring case when these are equal.
std::string CapitalsOfText(std::string_view text);
// Below, at or above 0: the order of the capital forms' units, which is the system's order of
// names. Texts that differ in case alone are equal.
int CompareIgnoringCase(std::string_view a, std::string_view b);

// The capital form of each byte of a code page; a byte whose capital it lacks is its own.
using CaseTable = std::array<uint8_t, 256>;
CaseTable CapitalsOf(const CodePage& page);

// a to z as capitals; any other byte is its own.
constexpr char PlainCapital(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
// A to Z as small letters; any other byte is its own.
constexpr char SmallLetter(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
// For words of the program and of formats alone, never for names of keys, values or files.
bool EqualPlainLetters(std::string_view a, std::string_view b);

}  // namespace hivequarry
