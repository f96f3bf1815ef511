#include "records/name_hash.h"

#include <algorithm>

#include "host/case.h"

namespace hivequarry {
namespace {

template <typename Name>
uint32_t HashOf(const Name& name) {
  uint32_t hash = 0;
  for (const char16_t unit : name) hash = hash * 37 + CapitalOf(unit);
  return hash;
}

// The low bytes of the first four characters, the first one lowest; zeros for a shorter name.
template <typename Name>
uint32_t HintOf(const Name& name) {
  uint32_t hint = 0;
  for (size_t i = 0; i < std::min<size_t>(name.size(), 4); ++i) {
    hint |= static_cast<uint32_t>(name[i] & 0xFF) << (8 * i);
  }
  return hint;
}

}  // namespace

uint32_t NameHash(std::u16string_view name) { return HashOf(name); }
uint32_t NameHash(ByteView name) { return HashOf(name); }
uint32_t NameHint(std::u16string_view name) { return HintOf(name); }
uint32_t NameHint(ByteView name) { return HintOf(name); }

}  // namespace hivequarry
