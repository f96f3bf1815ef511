// Name hashes as subkey lists store them.
#pragma once

#include <cstdint>
#include <string_view>

#include "bytes/byte_view.h"

namespace hivequarry {

// The hash of an "lh" entry: for each upper-cased character, h = h * 37 + character.
uint32_t NameHash(std::u16string_view name);
// The same of a name stored as the low bytes of its characters.
uint32_t NameHash(ByteView name);
// The hint of an "lf" entry: the first four characters as bytes, zero-padded, first one lowest.
uint32_t NameHint(std::u16string_view name);
uint32_t NameHint(ByteView name);

}  // namespace hivequarry
