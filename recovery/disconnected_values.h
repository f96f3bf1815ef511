// Values that no value list of any accepted key references.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/image.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// Positions of the accepted value cells that no key's value list names, ascending: all that are
// counted, listed, searched and shown as such, be their data readable or not. What is in the
// cells of live records is no value and goes from the tables too. Only an image whose data area can
// be located has value lists to follow; for any other the result is empty.
std::vector<uint32_t> FindDisconnectedValues(const HiveImage& hive, ScanTables& tables);

}  // namespace hivequarry
