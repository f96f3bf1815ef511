// What was found out about a hive's logs, in words. UTF-8: file names are in them.
#pragma once

#include <span>
#include <string>

#include "replay/hive_logs.h"

namespace hivequarry {

// "HIVE.LOG1": the log's own name, without its folder.
// As it is on the medium, not made visible: who shows it to a terminal escapes it.
std::string NameOfLog(const HiveLog& log);
// "3..5", "5", empty for no entries.
std::string EntriesText(std::span<const LogEntry> entries);
// "entries 3..5", "entry 5".
std::string EntriesWords(std::span<const LogEntry> entries);
// Why a hive is dirty: "sequence numbers 3 and 2 differ"; empty for a clean one.
std::string DirtyWords(const PlanInput& hive);
// Why a log can't be used; empty where it can.
std::string FaultWords(const HiveLog& log);
// Where and why the reading of its entries ended: "at 0x00005000 (20480): no entry".
std::string StopWords(const HiveLog& log);
// "applied: 3..5", or the reason why not.
std::string UseWords(const HiveLogs& logs, const HiveLog& log);
// All of a log in a line: name, form, numbers, entries, pages, where reading stopped, use,
// leftovers.
std::string LogLine(const HiveLogs& logs, const HiveLog& log);

// What the user must be told of the opening, a sentence or more; empty where there is nothing:
// a clean hive without later entries.
// Sentences are parted by ". ", without a full stop at the end.
std::string ReplayWords(const HiveLogs& logs);
// True for a dirty hive that is shown as its file has it although the user did not ask for that.
bool IsLeftDirty(const HiveLogs& logs);

// "NewDirtyHive.LOG2 at 0x00001234 (4660), entry 5": the file's own name without its folder.
// `step` must be one of logs.steps.
std::string OriginWords(const HiveLogs& logs, uint32_t step, uint32_t log_position);

}  // namespace hivequarry
