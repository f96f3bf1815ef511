#include "replay/replay_plan.h"

#include <algorithm>

#include "host/case.h"

namespace hivequarry {
namespace {

bool IsUsable(const HiveLog& log) { return log.use == LogUse::kNone; }

// "NAME.LOG" beside logs in pairs is a dummy, and so are empty pairs beside it: the pair counts
// where one of it has a base block that holds.
void PreferPair(std::vector<HiveLog>& logs) {
  const auto single = [](const HiveLog& log) {
    return log.name.size() >= 4 && EqualPlainLetters(log.name.substr(log.name.size() - 4), ".LOG");
  };
  const bool pair = std::ranges::any_of(logs, [&](const HiveLog& log) {
    return !single(log) && (log.fault == LogFault::kNone || log.fault == LogFault::kNumbers);
  });
  if (!pair) return;
  for (HiveLog& log : logs) {
    if (IsUsable(log) && single(log)) log.use = LogUse::kOtherLogs;
  }
}

// Those of the new form where there are any.
void PreferNewForm(std::vector<HiveLog>& logs) {
  const bool any = std::ranges::any_of(
      logs, [](const HiveLog& log) { return IsUsable(log) && log.form == LogForm::kNew; });
  for (HiveLog& log : logs) {
    if (any && IsUsable(log) && log.form == LogForm::kOld) log.use = LogUse::kOtherLogs;
  }
}

// Numbers of the logs, ascending.
std::vector<uint32_t> UsableLogs(const std::vector<HiveLog>& logs) {
  std::vector<uint32_t> usable;
  for (uint32_t i = 0; i < logs.size(); ++i) {
    if (IsUsable(logs[i])) usable.push_back(i);
  }
  return usable;
}

// What is planned so far.
struct Plan {
  const LogChoice& choice;
  std::vector<HiveLog>& logs;
  std::vector<ReplayStep> steps;
  uint32_t last = 0;     // number applied last, where there are steps
  bool stopped = false;  // an entry after the last one asked for was met

  bool IsAfterEnd(uint32_t number) const {
    return choice.bounded && IsNumberBefore(choice.until, number);
  }
};

// The whole log, up to the entry that was asked for as the last.
void AddEntriesOf(Plan& plan, uint32_t number) {
  HiveLog& log = plan.logs[number];
  for (uint32_t i = 0; i < log.entries.size() && !plan.stopped; ++i) {
    plan.stopped = plan.IsAfterEnd(log.entries[i].sequence);
    if (plan.stopped) break;
    plan.steps.push_back({number, i});
    plan.last = log.entries[i].sequence;
    ++log.applied;
  }
  log.use = log.applied != 0 ? LogUse::kApplied : LogUse::kNoEntries;
  if (log.applied == 0 && plan.stopped) log.use = LogUse::kUntil;
}

// In the order of their numbers: the first log is the one that goes on from the hive's second
// number, and each further one must go on from the last entry applied. Without a right checksum the
// hive's numbers mean nothing, and the latest log is taken alone.
void PlanNew(const PlanInput& hive, Plan& plan) {
  std::vector<uint32_t> order = UsableLogs(plan.logs);
  if (order.empty()) return;
  const auto number_of = [&](uint32_t i) { return plan.logs[i].base.sequence1; };
  // Distances from one number are in order where numbers go round.
  const uint32_t from = hive.checksum_right ? hive.base.sequence2 : number_of(order[0]);
  std::ranges::stable_sort(order, {},
                           [&](uint32_t i) { return static_cast<int32_t>(number_of(i) - from); });
  for (const uint32_t i : order) {
    HiveLog& log = plan.logs[i];
    if (!hive.checksum_right && i != order.back()) {
      log.use = LogUse::kNotLatest;
    } else if (hive.checksum_right && IsNumberBefore(number_of(i), hive.base.sequence2)) {
      log.use = LogUse::kTooOld;
    } else if (plan.stopped) {
      log.use = LogUse::kUntil;
    } else if (!plan.steps.empty() && number_of(i) != plan.last + 1) {
      log.use = LogUse::kNotNext;
    } else {
      AddEntriesOf(plan, i);
    }
  }
}

// A log of a later time than the hive is applied: the system wrote it last and did not come to
// write the hive. One of an earlier time would undo what the hive has.
void PlanOld(const PlanInput& hive, Plan& plan) {
  std::vector<uint32_t> order = UsableLogs(plan.logs);
  const uint64_t time = hive.checksum_right ? hive.base.last_write : hive.block_time;
  const auto time_of = [&](uint32_t i) { return plan.logs[i].base.last_write; };
  // Stable: of two logs of one time the one that was found first is taken.
  std::ranges::stable_sort(order, std::ranges::greater(), time_of);
  for (const uint32_t i : order) {
    if (time_of(i) < time) {
      plan.logs[i].use = LogUse::kTimeBefore;
    } else if (i != order.front()) {
      plan.logs[i].use = LogUse::kNotLatest;
    } else {
      AddEntriesOf(plan, i);
    }
  }
}

}  // namespace

std::vector<ReplayStep> PlanReplay(const PlanInput& hive, const LogChoice& choice,
                                   std::vector<HiveLog>& logs) {
  for (HiveLog& log : logs) {
    log.use = log.fault == LogFault::kNone ? LogUse::kNone : LogUse::kUnusable;
    log.applied = 0;
    // Base blocks hold the end of their hive's path. It is no proof, as paths change when hives are
    // moved: that they differ is said of the log, and no reason against it.
    const bool names = !log.base.file_name.empty() && !hive.base.file_name.empty();
    log.other_file = log.use == LogUse::kNone && hive.checksum_right && names &&
                     !EqualIgnoringCase(log.base.file_name, hive.base.file_name);
  }
  if (choice.mode == LogMode::kNone) return {};
  if (choice.mode == LogMode::kAuto) PreferPair(logs);
  PreferNewForm(logs);
  const std::vector<uint32_t> usable = UsableLogs(logs);
  // A clean hive has all that its logs hold; applying them could only bring back older pages.
  if (!hive.dirty() && choice.mode == LogMode::kAuto) {
    for (const uint32_t i : usable) logs[i].use = LogUse::kHiveClean;
    return {};
  }
  Plan plan{choice, logs, {}};
  const bool old = !usable.empty() && logs[usable[0]].form == LogForm::kOld;
  old ? PlanOld(hive, plan) : PlanNew(hive, plan);
  return plan.steps;
}

}  // namespace hivequarry
