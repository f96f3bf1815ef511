// The order of letters where no platform has one to ask.
#pragma once

#include <string>
#include <string_view>

namespace hivequarry {

// A sort key for text in WesternCodePage(): signs before digits before letters. Letters sort by
// themselves first, then by their accents, then small before capital.
std::string WesternSortKey(std::string_view text);

}  // namespace hivequarry
