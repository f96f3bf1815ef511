// A log file of a hive, read into memory and examined. What it is its content says, not its name.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bytes/byte_view.h"
#include "bytes/image_memory.h"
#include "host/file_reading.h"
#include "records/base_block.h"
#include "records/log_entry.h"

namespace hivequarry {

enum class LogForm : uint8_t { kUnknown, kOld, kNew };

// Why a log can't be used.
enum class LogFault : uint8_t {
  kNone,
  kUnreadable,  // `error` says why
  kNoMemory,
  kEmpty,      // a file without bytes is no log
  kSignature,  // of the base block's copy
  kChecksum,   // likewise
  kNumbers,    // the copy's two numbers differ: it was being written
  kForm,       // of neither form
  kBins,       // old form: a size of the bins that can't be
  kBitmap,     // old form: no "DIRT"
  kCutShort,   // old form: fewer pages than bits
};

// An entry that holds. Of the old form all that the log has is one.
struct LogEntry {
  uint32_t position = 0;  // in the log file
  uint32_t size = 0;      // bytes
  uint32_t sequence = 0;
  uint32_t flags = 0;
  uint32_t bins_size = 0;  // after it
  uint32_t pages = 0;
};

// What became of a log.
enum class LogUse : uint8_t {
  kNone,       // no replay was asked for
  kApplied,    // `applied` of its entries
  kUnusable,   // its fault says why
  kTooOld,     // numbered before the hive
  kNoEntries,  // its first entry does not hold
  kNotNext,    // does not go on where the log before it ended
  kNotLatest,  // another log is later, and only one can be used
  kOtherLogs,  // those of the other kind are used
  kHiveClean,
  kUntil,       // all of it is after the entry at which the user stops
  kTimeBefore,  // old form: of a time before the hive's
  kMoved,       // bytes of the hive have moved: pages can't be put in their places
};

struct HiveLog {
  std::string name;      // as given, UTF-8
  bool by_hand = false;  // the user named it
  int error = 0;         // errno value
  ImageMemory buffer;
  uint32_t length = 0;
  UnreadBytes unread;
  LogFault fault = LogFault::kNone;
  LogForm form = LogForm::kUnknown;
  BaseBlock base;  // the copy
  std::vector<LogEntry>
      entries;           // the run that begins after the copy, numbered from base.sequence1
  uint32_t stop_at = 0;  // where it ends, and why
  LogEntryFault stop = LogEntryFault::kNone;
  std::vector<LogEntry> leftovers;  // entries of earlier runs after that, by position
  LogUse use = LogUse::kNone;
  uint32_t applied = 0;
  bool other_file = false;  // its base block names another file than the hive's

  ByteView bytes() const { return {buffer.get(), length}; }
};

// Reads and examines the file. Never fails loudly: `fault` says what is wrong.
HiveLog ReadHiveLog(const std::string& name);
// The same of bytes in memory.
void ExamineLog(HiveLog& log);

// True when `a` is before `b`: numbers go round.
inline bool IsNumberBefore(uint32_t a, uint32_t b) { return a != b && b - a <= 0x7FFFFFFF; }

// A page of an entry: bytes [log_position, log_position + size) of the log belong at `offset` in
// the bins.
struct LogPage {
  uint32_t offset = 0;
  uint32_t size = 0;
  uint32_t log_position = 0;
};
// In the order in which they are put in their places.
std::vector<LogPage> PagesOf(const HiveLog& log, const LogEntry& entry);

}  // namespace hivequarry
