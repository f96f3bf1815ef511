#include "replay/log_words.h"

#include <algorithm>
#include <cstring>

#include "host/files.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

std::string Number(uint64_t number) { return std::to_string(number); }

std::string Pages(uint64_t count) { return Number(count) + (count == 1 ? " page" : " pages"); }

std::string Range(uint32_t first, uint32_t last) {
  return first == last ? Number(first) : Number(first) + ".." + Number(last);
}

const char* StopWord(LogEntryFault stop) {
  switch (stop) {
    case LogEntryFault::kEndOfFile:
      return "end of the file";
    case LogEntryFault::kSignature:
      return "no entry";
    case LogEntryFault::kHeaderHash:
      return "header does not match its hash";
    case LogEntryFault::kSize:
      return "no size of an entry";
    case LogEntryFault::kPastEnd:
      return "entry longer than the file";
    case LogEntryFault::kDataHash:
      return "pages do not match their hash";
    case LogEntryFault::kBinsSize:
      return "no size that the hive could have";
    case LogEntryFault::kPages:
      return "pages without room in the entry";
    case LogEntryFault::kPagePlace:
      return "page outside the hive";
    case LogEntryFault::kFirstBlock:
      return "first page is no block of a hive";
    case LogEntryFault::kSequence:
      return "entry of an earlier run";
    default:
      return "";
  }
}

uint32_t PagesIn(const HiveLog& log) {
  uint32_t pages = 0;
  for (const LogEntry& entry : log.entries) pages += entry.pages;
  return pages;
}

// The entries that are later than a clean hive, in words; empty for none.
std::string LaterEntries(const HiveLogs& logs, const HiveLog& log) {
  if (log.form == LogForm::kOld) return {};
  const auto is_later = [&logs](const LogEntry& entry) {
    return IsNumberBefore(logs.hive.base.sequence1, entry.sequence);
  };
  // Their numbers follow each other.
  const auto first = std::ranges::find_if(log.entries, is_later);
  const auto end = std::find_if_not(first, log.entries.end(), is_later);
  const std::span<const LogEntry> later(first, end);
  return later.empty() ? std::string() : EntriesWords(later);
}

std::string AppliedWords(const HiveLog& log) {
  const auto applied = std::span(log.entries).first(log.applied);
  if (log.form == LogForm::kOld) return Pages(applied[0].pages);
  return EntriesWords(applied);
}

// Each log is named once, in the order in which they were applied: steps of one log follow one
// another.
std::string ReplayedWords(const HiveLogs& logs) {
  std::string words = logs.hive.dirty() ? "Dirty hive (" + DirtyWords(logs.hive) + ")"
                                        : std::string("Clean hive, logs as chosen");
  words += ": shown as its logs make it, in memory alone. Applied:";
  const HiveLog* last = nullptr;
  for (const ReplayStep& step : logs.steps) {
    const HiveLog& log = LogOf(logs, step);
    if (&log == last) continue;
    words += std::string(last == nullptr ? " " : "; ") + NameOfLog(log) + ", " + AppliedWords(log);
    last = &log;
  }
  if (logs.cut != 0) words += "; " + Number(logs.cut) + " bytes of the file are after its end now";
  return words;
}

// What may be wrong though the logs were applied. Each note begins with ". ".
std::string NotesOn(const HiveLogs& logs) {
  std::string words;
  for (const HiveLog& log : logs.logs) {
    const bool used = log.use == LogUse::kApplied;
    if (used && log.other_file) {
      words += ". " + NameOfLog(log) + " names another file in its base block than the hive does";
    }
    const bool later = used && log.form == LogForm::kOld && logs.hive.checksum_right &&
                       log.base.last_write > logs.hive.base.last_write;
    if (later) words += ". " + NameOfLog(log) + " is of a later time than the hive";
    if (log.unread.count != 0) {
      words +=
          ". " + Number(log.unread.count) + " bytes of " + NameOfLog(log) + " could not be read";
    }
  }
  if (!logs.transactions.empty() && (logs.hive.base.flags & 1) != 0) {
    words += ". Logs of transactions are beside it, which are not read";
  }
  return words;
}

// Empty where no log has entries later than the hive: the usual case, of which nothing is said.
std::string CleanWords(const HiveLogs& logs) {
  std::string words;
  for (const HiveLog& log : logs.logs) {
    const std::string later = LaterEntries(logs, log);
    if (later.empty()) continue;
    if (!words.empty()) words += ". ";
    words += "Clean hive: " + NameOfLog(log) + " holds " + later + " that the system would ignore";
  }
  return words;
}

const char* LeftWords(const HiveLogs& logs) {
  switch (logs.state) {
    case ReplayState::kNotAsked:
      return "its logs are left out, as asked";
    case ReplayState::kNoLogs:
      return "there is no log beside it: its last changes may be missing";
    case ReplayState::kUntil:
      return "every entry of its logs is later than asked";
    case ReplayState::kPart:
      return "a part of a file is shown without its logs";
    case ReplayState::kMoved:
      return "bytes of it have moved in the file, so its logs are not applied";
    case ReplayState::kNoMemory:
      return "there is no memory to apply its logs";
    default:
      return "no entry of its logs can be applied: its last changes may be missing";
  }
}

}  // namespace

std::string NameOfLog(const HiveLog& log) { return LeafOf(FilePath(log.name)); }

std::string EntriesWords(std::span<const LogEntry> entries) {
  return (entries.size() == 1 ? "entry " : "entries ") + EntriesText(entries);
}

std::string EntriesText(std::span<const LogEntry> entries) {
  return entries.empty() ? std::string() : Range(entries.front().sequence, entries.back().sequence);
}

std::string DirtyWords(const PlanInput& hive) {
  std::string words;
  if (!hive.checksum_right) words = "checksum of the base block is wrong";
  if (hive.base.sequence1 == hive.base.sequence2) return words;
  if (!words.empty()) words += ", ";
  return words + "sequence numbers " + Number(hive.base.sequence1) + " and " +
         Number(hive.base.sequence2) + " differ";
}

std::string FaultWords(const HiveLog& log) {
  switch (log.fault) {
    case LogFault::kNone:
      return {};
    case LogFault::kUnreadable:
      return std::string("can't be read: ") + std::strerror(log.error);
    case LogFault::kNoMemory:
      return "no memory for it";
    case LogFault::kEmpty:
      return "empty file";
    case LogFault::kSignature:
      return "does not begin as a base block";
    case LogFault::kChecksum:
      return "checksum of its base block is wrong";
    case LogFault::kNumbers:
      return "sequence numbers " + Number(log.base.sequence1) + " and " +
             Number(log.base.sequence2) + " differ";
    case LogFault::kForm:
      return "file type " + Number(log.base.type) + " is no log's";
    case LogFault::kBins:
      return "no size of a hive in its base block";
    case LogFault::kBitmap:
      return "no bitmap after its base block";
    case LogFault::kCutShort:
      return "log cut short";
  }
  return {};
}

std::string StopWords(const HiveLog& log) {
  if (log.fault != LogFault::kNone || log.stop == LogEntryFault::kNone) return {};
  return "at " + HexAndDecimal(log.stop_at) + ": " + StopWord(log.stop);
}

std::string UseWords(const HiveLogs& logs, const HiveLog& log) {
  switch (log.use) {
    case LogUse::kApplied:
      return "applied: " + AppliedWords(log);
    case LogUse::kUnusable:
      return "unusable: " + FaultWords(log);
    case LogUse::kTooOld:
      return "too old: its numbers are before the hive's";
    case LogUse::kNoEntries:
      return "no entry of it holds";
    case LogUse::kNotNext:
      return "does not go on where the log before it ends";
    case LogUse::kNotLatest:
      return "another log is taken instead";
    case LogUse::kOtherLogs:
      return "logs of the other kind are used";
    case LogUse::kHiveClean: {
      const std::string later = LaterEntries(logs, log);
      return later.empty() ? "the hive is clean" : "the hive is clean; later than it: " + later;
    }
    case LogUse::kUntil:
      return "later than asked";
    case LogUse::kTimeBefore:
      return "of a time before the hive's";
    case LogUse::kMoved:
      return "bytes of the hive have moved";
    case LogUse::kNone:
      break;
  }
  return "left out";
}

std::string LogLine(const HiveLogs& logs, const HiveLog& log) {
  std::string line = NameOfLog(log);
  const auto add = [&line](const std::string& words) {
    if (!words.empty()) line += ", " + words;
  };
  if (log.form == LogForm::kNew) add("new form");
  if (log.form == LogForm::kOld) add("old form");
  const bool copy = log.fault == LogFault::kNone || log.fault > LogFault::kSignature;
  if (copy) add("numbers " + Number(log.base.sequence1) + "/" + Number(log.base.sequence2));
  if (!log.entries.empty()) {
    add(EntriesWords(log.entries));
    add(Pages(PagesIn(log)));
  }
  const std::string stop = StopWords(log);
  if (!stop.empty()) add("ends " + stop);
  add(UseWords(logs, log));
  if (!log.leftovers.empty()) add(Number(log.leftovers.size()) + " entries of earlier runs");
  return line;
}

std::string ReplayWords(const HiveLogs& logs) {
  switch (logs.state) {
    case ReplayState::kClean: {
      std::string words = CleanWords(logs) + NotesOn(logs);
      if (words.starts_with(". ")) words.erase(0, 2);
      return words;
    }
    case ReplayState::kReplayed:
      return ReplayedWords(logs) + NotesOn(logs);
    default:
      return "Dirty hive (" + DirtyWords(logs.hive) +
             "), shown as its file has it: " + LeftWords(logs) + NotesOn(logs);
  }
}

bool IsLeftDirty(const HiveLogs& logs) {
  const bool as_it_is = logs.state != ReplayState::kClean && logs.state != ReplayState::kReplayed;
  return as_it_is && logs.state != ReplayState::kNotAsked && logs.state != ReplayState::kUntil;
}

std::string OriginWords(const HiveLogs& logs, uint32_t step, uint32_t log_position) {
  const ReplayStep& by = logs.steps[step];
  return NameOfLog(LogOf(logs, by)) + " at " + HexAndDecimal(log_position) + ", entry " +
         Number(EntryOf(logs, by).sequence);
}

}  // namespace hivequarry
