#include "host/case.h"

namespace hivequarry {
namespace {

// Small letters whose capitals lie `distance` below them. Where every other letter is a small one,
// `step` is 2.
struct CaseRange {
  char16_t first;
  char16_t last;
  int step;
  int distance;
};

constexpr CaseRange kRanges[] = {
    {u'a', u'z', 1, 32},       {0x00E0, 0x00F6, 1, 32}, {0x00F8, 0x00FE, 1, 32},
    {0x00FF, 0x00FF, 1, -121}, {0x0101, 0x012F, 2, 1},  {0x0131, 0x0131, 1, 0x131 - u'I'},
    {0x0133, 0x0137, 2, 1},    {0x013A, 0x0148, 2, 1},  {0x014B, 0x0177, 2, 1},
    {0x017A, 0x017E, 2, 1},    {0x01A1, 0x01A1, 1, 1},  {0x01B0, 0x01B0, 1, 1},
    {0x03AC, 0x03AC, 1, 38},   {0x03AD, 0x03AF, 1, 37}, {0x03B1, 0x03C1, 1, 32},
    {0x03C2, 0x03C2, 1, 31},   {0x03C3, 0x03CB, 1, 32}, {0x03CC, 0x03CC, 1, 64},
    {0x03CD, 0x03CE, 1, 63},   {0x0430, 0x044F, 1, 32}, {0x0450, 0x045F, 1, 80},
    {0x0491, 0x0491, 1, 1},
};

}  // namespace

char16_t CapitalOf(char16_t unit) {
  for (const CaseRange& range : kRanges) {
    if (unit >= range.first && unit <= range.last && (unit - range.first) % range.step == 0) {
      return static_cast<char16_t>(unit - range.distance);
    }
  }
  return unit;
}

CaseTable CapitalsOf(const CodePage& page) {
  CaseTable table{};
  for (size_t byte = 0; byte < table.size(); ++byte) {
    const char16_t unit = page.wide_of_byte[byte];
    const char16_t capital = CapitalOf(unit);
    const uint8_t found = capital == unit ? 0 : page.byte_of_wide[capital];
    table[byte] = found == 0 ? static_cast<uint8_t>(byte) : found;
  }
  return table;
}

CaseTable CurrentCapitals() { return CapitalsOf(*CurrentHost().code_page); }

std::string Capitals(const CaseTable& capitals, std::string_view text) {
  std::string result(text);
  for (char& c : result) c = static_cast<char>(capitals[static_cast<uint8_t>(c)]);
  return result;
}

}  // namespace hivequarry
