// Values that were freed: their data may lie in a free cell as well.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/value_key.h"

namespace hivequarry {

// As ReadValueWithin of what the file has, but data in cells that are free by now are read too, as
// long as the cell's size has room for them. Whether somebody else's data stand there by now the
// bytes don't tell.
ValueKey ReadFreedValue(const HiveImage& hive, uint32_t position, DataBudget& budget,
                        std::vector<uint8_t>& data);

}  // namespace hivequarry
