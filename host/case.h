// Capital and small letters of single-byte text.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/host.h"

namespace hivequarry {

// The capital form of a Latin, Greek or Cyrillic letter of any single-byte code page; any other
// unit is its own.
char16_t CapitalOf(char16_t unit);

// The capital form of each byte; a byte whose capital the code page lacks is its own.
using CaseTable = std::array<uint8_t, 256>;
CaseTable CapitalsOf(const CodePage& page);
// Those of the code page in force.
CaseTable CurrentCapitals();
// The text with each byte as the table has it.
std::string Capitals(const CaseTable& capitals, std::string_view text);

}  // namespace hivequarry
