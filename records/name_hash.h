// Name hashes as subkey lists store them.
#pragma once

#include <cstdint>
#include <string_view>

#include "bytes/byte_view.h"

namespace hivequarry {

// The hash of an "lh" entry: for each upper-cased character, h = h * 37 + character, from 0 and
// modulo 2^32. The system upper-cases the whole of Unicode, so that the code page has no say here.
// Characters are UTF-16 units: the halves of a surrogate pair count one by one. Lists of this form
// are written for hives of minor version 5 and up.
uint32_t NameHash(std::u16string_view name);
// The same of a name stored as the low bytes of its characters.
uint32_t NameHash(ByteView name);
// The hint of an "lf" entry: the first four characters as bytes, zero-padded, first one lowest. As
// the key has them, capitals and small letters; of a wider character the low byte. It
// proves less than a hash: keys of the same first four letters share it.
uint32_t NameHint(std::u16string_view name);
uint32_t NameHint(ByteView name);

}  // namespace hivequarry
