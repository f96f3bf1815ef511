// Names as they are stored, compared without making texts of them.
#include <algorithm>
#include <array>

#include "check/checking.h"
#include "host/case.h"
#include "records/key_flags.h"
#include "records/key_node.h"
#include "records/value_key.h"

namespace hivequarry {
namespace {

// `at` is where names begin in the record. Never beyond the cell: what follows is another's.
ByteView NameBytes(const Checking& check, uint32_t position, uint32_t at, uint32_t length) {
  const uint32_t cell = CellLength(LoadU32(check.hive.data() + position));
  return PartOf(check.hive, position + at, std::min(length, cell - at));
}

}  // namespace

char16_t CapitalUnit(char16_t unit) {
  static const std::array<char16_t, 256> near = [] {
    std::array<char16_t, 256> table{};
    for (char16_t each = 0; each < 256; ++each) table[each] = CapitalOf(each);
    return table;
  }();
  return unit < 256 ? near[unit] : CapitalOf(unit);
}

int CompareNames(const StoredName& a, const StoredName& b) {
  const uint32_t both = std::min(a.units(), b.units());
  for (uint32_t at = 0; at < both; ++at) {
    const char16_t one = UnitAt(a, at);
    const char16_t two = UnitAt(b, at);
    if (one == two) continue;
    const int difference = CapitalUnit(one) - CapitalUnit(two);
    if (difference != 0) return difference;
  }
  return a.units() < b.units() ? -1 : a.units() > b.units();
}

bool HasUnit(const StoredName& name, char16_t unit) {
  if (!name.wide && unit < 256) {
    return std::ranges::find(name.bytes, static_cast<uint8_t>(unit)) != name.bytes.end();
  }
  for (uint32_t at = 0; at < name.units(); ++at) {
    if (UnitAt(name, at) == unit) return true;
  }
  return false;
}

StoredName NameOfKey(const Checking& check, uint32_t position) {
  const uint8_t* const key = check.hive.data() + position;
  return {NameBytes(check, position, kKeyName, LoadU16(key + kKeyNameLength)),
          IsWideKeyName(LoadU16(key + kKeyFlags))};
}

StoredName NameOfValue(const Checking& check, uint32_t position) {
  const uint8_t* const value = check.hive.data() + position;
  return {NameBytes(check, position, kValueName, LoadU16(value + kValueNameLength)),
          IsWideValueName(LoadU16(value + kValueFlags))};
}

}  // namespace hivequarry
