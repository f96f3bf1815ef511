// The high-water marks of a key: how long the names of its subkeys, and the names and data of its
// values, have been at most. They grow with each of them and go back to 0 when the last one goes,
// so that a key which still has some cannot have had one beyond its marks in that time.
#pragma once

#include <cstdint>

#include "hive/image.h"

namespace hivequarry {

// What a key's marks of its longest subkey, value name and data say of a record that may have been
// its own.
enum class MarkVerdict : uint8_t {
  kAllowed,   // the marks leave room for it
  kUnproven,  // the key has none left, or keeps no marks
  kRuledOut,  // the key has some, and none was ever as long
};

// Whether the key whose cell is at `parent` may have had the key, or the value, at a position.
// All four are positions of cells; nothing is asked of their signatures. Constant time.
MarkVerdict SubkeyVerdict(const HiveImage& hive, uint32_t parent, uint32_t subkey);
MarkVerdict ValueVerdict(const HiveImage& hive, uint32_t key, uint32_t value);

}  // namespace hivequarry
