// The hives of a machine in a folder: what they are, and what they say together. For a worker.
#pragma once

#include <string>
#include <vector>

#include "app/log_pairing.h"
#include "lists/output_list.h"

namespace hivequarry {

// What was read of a folder: the hives themselves are closed again.
struct MachineFolder {
  std::string fault;                // why there is nothing to show, or what could not be read
  OutputListPtr overview;           // kListMachine; null where there is no hive
  OutputListPtr files;              // a row each hive, then each log
  std::vector<std::string> opened;  // by row of `files`: the hive's file, empty for what opens none
  std::vector<std::string> told;    // by row of `overview`: the file that says so; may be empty
  PairedLogs paired;                // with which hives were read: LogsOfHive
  uint32_t hives = 0;               // files found, those that could not be opened among them
  uint32_t logs = 0;
  uint32_t failed = 0;   // hives that could not be opened
  bool stopped = false;  // by the user: the lists are of what was read by then
};
// Opens one hive after the other beside the one shown, with its logs applied in memory. No other
// hive may be opened meanwhile. Ends early when the user stops.
MachineFolder ReadMachineFolder(const std::string& folder);

}  // namespace hivequarry
