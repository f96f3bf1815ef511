// Which entries of which logs a system would apply to a hive, and in which order.
//
// A hive is dirty when its base block's checksum is wrong or its two numbers differ. Logs of the
// new form are taken by the number of their base block, the earlier first; one that is numbered
// before the hive's second number is passed over; the next one must go on where the last one
// ended. Where the checksum is wrong nothing says where the hive was, and only the later log
// counts. Logs of the old form go by their time: the hive's own, or that of its first block.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "replay/hive_log.h"

namespace hivequarry {

// kAuto: the logs beside a dirty hive, as a system takes them; kNone: the hive as its file has it;
// kChosen: these files, also for a clean hive.
enum class LogMode : uint8_t { kAuto, kNone, kChosen };
// What the next opening is asked for.
struct LogChoice {
  LogMode mode = LogMode::kAuto;
  std::vector<std::string> files;  // with kChosen, UTF-8
  bool bounded = false;
  uint32_t until = 0;  // with `bounded`: no entry after this number
};

// An entry to apply: numbers of the log and of its entry.
struct ReplayStep {
  uint32_t log = 0;
  uint32_t entry = 0;  // in the log's `entries`
};

// What is known of the hive.
// As the file has it, before anything is applied.
struct PlanInput {
  BaseBlock base;
  bool checksum_right = false;
  uint64_t block_time = 0;  // of the first block's header, FILETIME
  // A system that crashed leaves either: numbers that differ, or a block that was half written.
  bool dirty() const { return !checksum_right || base.sequence1 != base.sequence2; }
};

// Sets each log's `use` and `applied`; the entries to apply, in order. `until` as in LogChoice. A
// clean hive is taken as it is unless its logs were chosen.
// Reads no file: the logs were examined before. Every log gets a `use`, so that each can be
// explained to the user, whether it counts or not.
std::vector<ReplayStep> PlanReplay(const PlanInput& hive, const LogChoice& choice,
                                   std::vector<HiveLog>& logs);

}  // namespace hivequarry
