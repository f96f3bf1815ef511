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

#include "host/host.h"

namespace hivequarry {

// The capital form of a UTF-16 unit as the system has it, one unit for one; any other unit is its
// own.
char16_t CapitalOf(char16_t unit);

// Texts of the code page in force, and UTF-16, without regard to case.
bool EqualIgnoringCase(std::string_view a, std::string_view b);
bool EqualIgnoringCase(std::u16string_view a, std::u16string_view b);
bool StartsIgnoringCase(std::string_view text, std::string_view start);
bool EndsIgnoringCase(std::string_view text, std::string_view end);
// UTF-8, as names of files are.
bool EqualUtf8IgnoringCase(std::string_view a, std::string_view b);

// The capital form of each byte; a byte whose capital the code page lacks is its own.
using CaseTable = std::array<uint8_t, 256>;
CaseTable CapitalsOf(const CodePage& page);
// Those of the code page in force.
CaseTable CurrentCapitals();
// The text with each byte as the table has it.
std::string Capitals(const CaseTable& capitals, std::string_view text);

// A to Z as small letters; any other byte is its own.
constexpr char SmallLetter(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
bool EqualPlainLetters(std::string_view a, std::string_view b);

}  // namespace hivequarry
