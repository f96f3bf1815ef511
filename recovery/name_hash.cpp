#include "recovery/name_hash.h"

#include <algorithm>

namespace hivequarry {

char16_t UpperUnit(char16_t unit) {
  if (unit >= u'a' && unit <= u'z') return static_cast<char16_t>(unit - 32);
  if (unit >= 0xE0 && unit <= 0xFE && unit != 0xF7) return static_cast<char16_t>(unit - 32);
  return unit == 0xFF ? char16_t{0x178} : unit;
}

uint32_t NameHash(std::u16string_view name) {
  uint32_t hash = 0;
  for (const char16_t unit : name) hash = hash * 37 + UpperUnit(unit);
  return hash;
}

uint32_t NameHint(std::u16string_view name) {
  uint32_t hint = 0;
  for (size_t i = 0; i < std::min<size_t>(name.size(), 4); ++i) {
    hint |= static_cast<uint32_t>(name[i] & 0xFF) << (8 * i);
  }
  return hint;
}

}  // namespace hivequarry
