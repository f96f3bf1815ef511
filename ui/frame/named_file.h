// A file to be opened in a main window, or a part of one.
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"
#include "replay/replay_plan.h"

namespace hivequarry {

struct NamedFile {
  std::string name;          // UTF-8; empty: nothing that can be opened
  uint32_t start = 0;        // of the part; 0 and 0 for all of it
  uint32_t end = 0;          // after it
  uint32_t key = kNoOffset;  // image position of a key to go to after the load; none
  LogChoice logs = {};       // for a hive; a new copy of the program looks for them by itself
};

}  // namespace hivequarry
