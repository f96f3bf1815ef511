// Which entry of a hive's logs brought a key or a value, or changed it.
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"
#include "hive/values.h"

namespace hivequarry {

// "new: SYSTEM.LOG1 at 0x00001234 (4660), entry 5", or "changed: ..." for a record that the hive's
// file has at that position too; the position is that in the log of the first byte that it changed
// last. UTF-8. Empty for what is in the file as it is, and for a hive that is not replayed.
// A look-up in the ranges that the logs changed; `position` is that of the key's cell.
std::string KeyOriginText(const HiveImage& hive, uint32_t position);
// Its data count too; not those of a value in several segments.
std::string ValueOriginText(const HiveImage& hive, const ValueKey& value);

}  // namespace hivequarry
