// Logs whose names do not say whose they are, as after a collection that renamed files: paired with
// hives by what both hold.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "replay/replay_plan.h"

namespace hivequarry {

// Logs that belong to hives by what they hold, where their names do not say so.
struct PairedLogs {
  std::map<std::string, std::vector<std::string>> of_hive;  // by the hive's file; UTF-8
  std::vector<std::string>
      told;  // lines for the user: what was paired, and what fits several hives
};
// Only a dirty hive without a log of its own name is given one: a log that no hive of the set has
// by name, whose copy of the base block has the same stored name, root, version and identifiers,
// and which goes on where the hive ends. What fits two hives, or a third log for one, belongs to
// none. Ends early when the user stops.
PairedLogs PairLogs(const std::vector<std::string>& hives, const std::vector<std::string>& logs);
// With which logs a hive is to be opened: those paired with it, else as `choice` has it.
LogChoice LogsOfHive(const PairedLogs& paired, const std::string& hive, const LogChoice& choice);

}  // namespace hivequarry
