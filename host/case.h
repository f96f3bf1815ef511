// Capital and small letters: the one table for whatever compares, looks up or hashes names, as the
// system does.
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

// The capital form of each byte; a byte whose capital the code page lacks is its own.
using CaseTable = std::array<uint8_t, 256>;
CaseTable CapitalsOf(const CodePage& page);
// Those of the code page in force.
CaseTable CurrentCapitals();
// The text with each byte as the table has it.
std::string Capitals(const CaseTable& capitals, std::string_view text);

}  // namespace hivequarry
