// The logs of a hive and what was done with them: found, examined, and applied to the image in
// memory. All of it is beside the image. The files are opened for reading alone.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bytes/byte_view.h"
#include "bytes/image_memory.h"
#include "records/base_block.h"
#include "replay/hive_log.h"
#include "replay/replay_plan.h"

namespace hivequarry {

// What an opening did about a hive's logs. All but the first two leave the hive as its file has it.
enum class ReplayState : uint8_t {
  kClean,     // the hive needs none
  kReplayed,  // the image is what the hive becomes
  kNotAsked,  // dirty, and the user wants it as it is
  kNoLogs,    // dirty, and there is no log file
  kUnusable,  // dirty, and no entry of its logs can be applied
  kUntil,     // dirty, and the user stops before the first entry
  kPart,      // dirty, and a part of a file, a fragment or a copy as text: never replayed
  kMoved,     // dirty, and its bytes have moved in the file
  kNoMemory,  // dirty, and no room for another image
};

// Bytes [position, end) of the image are those at log_position of a log, put there by its entry;
// the file has others.
// Positions count in the image, log_position from the start of the log file.
struct LoggedRange {
  uint32_t position = 0;
  uint32_t end = 0;
  uint32_t log_position = 0;
  uint32_t step = 0;  // number in HiveLogs::steps
};

// Made while opening and not changed after that: any thread may read it.
struct HiveLogs {
  PlanInput hive;  // as its file has it
  LogChoice choice;
  ReplayState state = ReplayState::kClean;
  std::vector<HiveLog> logs;
  std::vector<std::string> transactions;  // logs of transactions beside the hive; not read
  std::vector<ReplayStep> steps;          // applied, in order
  ImageMemory before;                // the image without them, with slack; null when unreplayed
  uint32_t before_length = 0;        // bytes
  std::vector<LoggedRange> changed;  // ascending, apart from each other
  uint32_t cut = 0;  // bytes that the file has after the bins that were made smaller

  // Empty for a hive that was not replayed: its image is what the file has.
  ByteView before_bytes() const { return {before.get(), before_length}; }
};

// The log and the entry that a step of the replay comes from; valid as long as `logs`. Steps are
// only made of entries that are there.
inline const HiveLog& LogOf(const HiveLogs& logs, const ReplayStep& step) {
  return logs.logs[step.log];
}
inline const LogEntry& EntryOf(const HiveLogs& logs, const ReplayStep& step) {
  return logs.logs[step.log].entries[step.entry];
}

// What a hive's first bytes say of it.
// Any bytes will do: the checksum of what is no base block is wrong, so that it counts as dirty.
PlanInput PlanInputOf(ByteView image);

// The logs beside the hive or those chosen, read and planned; nothing is applied yet. `may_replay`
// is false for an image that is not a whole hive: then no file is looked for unless it was chosen.
// Never null. Reads every log file whole, but for what LogBounds leaves on the medium.
std::shared_ptr<HiveLogs> FindHiveLogs(const std::string& hive_file, ByteView image,
                                       const LogChoice& choice, bool may_replay);

// The first `steps` of the plan applied to a copy of the image that the file gives.
struct ReplayedImage {
  ImageMemory buffer;                // with zeroed slack; null: no memory
  uint32_t length = 0;               // bytes, without the slack
  uint32_t cut = 0;                  // as in HiveLogs
  std::vector<LoggedRange> changed;  // as in HiveLogs
};
// Reads the entries' pages; bytes that can no longer be read are noted as a shortfall, and the
// pages before them stay applied. A stop leaves out the entries after it. `steps` is at most the
// plan's number; 0 gives the copy alone.
ReplayedImage ApplySteps(const HiveLogs& logs, ByteView before, size_t steps);

// The range that a position lies in, or the first one after it; null for none.
// Points into `logs`. Logarithmic in the ranges.
const LoggedRange* RangeFrom(const HiveLogs& logs, uint32_t position);

}  // namespace hivequarry
