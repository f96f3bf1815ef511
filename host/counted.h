// Numbers of things, in words.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/number_text.h"

namespace hivequarry {

// "1 key", "1,234 keys".
inline std::string Counted(uint64_t count, std::string_view what) {
  return Concat({Thousands(count), " ", what, count == 1 ? "" : "s"});
}

}  // namespace hivequarry
