#include "replay/hive_logs.h"

#include <algorithm>

#include "host/case.h"
#include "host/log_files.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

// Logs of pages are read; files of transactions are noted by name, as nothing of them is applied.
void ReadBeside(const std::string& hive_file, HiveLogs& found) {
  for (const std::string& name : LogsOf(hive_file)) {
    if (IsPageLog(name)) {
      found.logs.push_back(ReadHiveLog(name));
    } else {
      found.transactions.push_back(name);
    }
  }
}

// In the order in which they were named.
void ReadChosen(HiveLogs& found) {
  for (const std::string& name : found.choice.files) {
    found.logs.push_back(ReadHiveLog(name));
    found.logs.back().by_hand = true;
  }
}

// What a hive grows by is in its logs; of one that was cut short the rest is zeros. So sizes far
// beyond what file and logs hold are no growth: they would cost more than they could show.
void CutSenselessGrowth(HiveLogs& found, size_t image_size) {
  uint64_t bytes = image_size;
  for (const HiveLog& log : found.logs) bytes += log.length;
  const uint64_t most = (uint64_t{256} << 20) + 16 * bytes;
  for (HiveLog& log : found.logs) {
    const auto too_large = [most](const LogEntry& entry) { return entry.bins_size > most; };
    const auto first = std::ranges::find_if(log.entries, too_large);
    if (first == log.entries.end()) continue;
    log.stop = LogEntryFault::kBinsSize;
    log.stop_at = first->position;
    log.entries.erase(first, log.entries.end());
  }
}

ReplayState StateOf(const HiveLogs& found) {
  if (!found.steps.empty()) return ReplayState::kReplayed;
  if (!found.hive.dirty()) return ReplayState::kClean;
  if (found.choice.mode == LogMode::kNone) return ReplayState::kNotAsked;
  const bool none = std::ranges::all_of(
      found.logs, [](const HiveLog& log) { return log.fault == LogFault::kEmpty; });
  if (none) return ReplayState::kNoLogs;
  const bool until =
      std::ranges::any_of(found.logs, [](const HiveLog& log) { return log.use == LogUse::kUntil; });
  return until ? ReplayState::kUntil : ReplayState::kUnusable;
}

}  // namespace

PlanInput PlanInputOf(ByteView image) {
  PlanInput hive;
  hive.base = ReadBaseBlock(image);
  hive.checksum_right = image.size() >= kBaseUsed && hive.base.checksum == BaseBlockChecksum(image);
  if (ReadU32(image, kBaseBlockSize) == kBinSignature) {
    hive.block_time = ReadU64(image, kBaseBlockSize + kBinTime);
  }
  return hive;
}

std::shared_ptr<HiveLogs> FindHiveLogs(const std::string& hive_file, ByteView image,
                                       const LogChoice& choice, bool may_replay) {
  auto found = std::make_shared<HiveLogs>();
  found->hive = PlanInputOf(image);
  found->choice = choice;
  if (choice.mode == LogMode::kChosen) ReadChosen(*found);
  if (choice.mode != LogMode::kChosen && may_replay) ReadBeside(hive_file, *found);
  CutSenselessGrowth(*found, image.size());
  found->steps = PlanReplay(found->hive, choice, found->logs);
  found->state = StateOf(*found);
  return found;
}

const LoggedRange* RangeFrom(const HiveLogs& logs, uint32_t position) {
  const auto at = std::ranges::upper_bound(logs.changed, position, {}, &LoggedRange::end);
  return at == logs.changed.end() ? nullptr : &*at;
}

}  // namespace hivequarry
