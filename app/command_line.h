// The desktop program's command line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hive/image.h"

namespace hivequarry {

// Offsets count from the start of the file.
struct CommandLine {
  std::string file;           // hive (or Report List) to open, without quotes; empty for none
  bool evidence = false;      // evidence mode: nothing that writes is offered
  bool has_range = false;     // then both offsets are set
  uint32_t start_offset = 0;  // partial range
  uint32_t end_offset = 0;    // excluded
  uint32_t key_position = kNoOffset;  // image position of a key to select, with a range only
  int open_mode = 0;                  // 2 or 3 by the switch letter; 0 for any other, or none
  char switch_letter = 0;             // as given after "/"
  // An unattended backup: hive selectors in upper case, and the folder. Both set, or none.
  std::vector<std::string> backup_hives;
  std::string backup_folder;  // UTF-8
  bool backup_weekly = false;
  bool backup_monthly = false;
};

// Parses the text after the program's own name: "--evidence" first, if it is there. A line of 520
// characters or more is ignored.
CommandLine ParseCommandLine(std::string_view line);

}  // namespace hivequarry
