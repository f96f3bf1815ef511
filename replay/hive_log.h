// A log file of a hive, examined. What it is its content says, not its name. One that is longer
// than any system makes them is never in memory as a whole: its bytes are read as they are needed.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bytes/byte_view.h"
#include "bytes/image_memory.h"
#include "host/file_reading.h"
#include "host/files.h"
#include "records/base_block.h"
#include "records/log_entry.h"

namespace hivequarry {

// Old: systems up to Windows 8 and those of before; new: from Windows 8.1 on. By the type in the
// copy of the base block, not by the file's name.
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
// Held against its hashes once, when the log was examined; its pages are read anew when they are
// applied.
struct LogEntry {
  uint32_t position = 0;   // in the log file
  uint32_t size = 0;       // bytes
  uint32_t sequence = 0;   // the entry's number
  uint32_t flags = 0;      // as in the base block: bit 0 goes into it
  uint32_t bins_size = 0;  // after it
  uint32_t pages = 0;      // how many
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

// How much of logs is in memory, bytes. The tests have less of everything.
struct LogBounds {
  uint32_t held = 64U << 20;   // a log up to this length is held whole; no system makes longer ones
  uint32_t start = 1U << 20;   // of a longer one: the base block's copy and the largest bitmap
  uint32_t window = 1U << 20;  // that is read of it at a time
  size_t runs =
      size_t{1} << 18;  // notes of changes, until those that were written over are dropped
};
// Set by tests alone, before any log is read.
LogBounds& TheLogBounds();

// All that is known of one log file. Moved, never copied, as it owns its bytes.
struct HiveLog {
  std::string name;      // as given, UTF-8
  bool by_hand = false;  // the user named it
  int error = 0;         // errno value
  ImageMemory buffer;
  uint32_t length = 0;  // of the file
  uint32_t held = 0;    // bytes of it in memory, from its start on; 0: all
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
  uint32_t applied = 0;     // entries, with LogUse::kApplied
  bool other_file = false;  // its base block names another file than the hive's

  // Those in memory: the base block's copy and the old form's bitmap are among them.
  ByteView bytes() const { return {buffer.get(), held != 0 ? held : length}; }
};

// Reads a log that was examined, or is being examined. Used by one thread.
// Keeps a reference to the log, which must outlive it. Opens the file only for bytes that are not
// in memory, and closes it when it goes.
class LogReader final : public LogSource {
 public:
  // `unread`: what the medium did not give; null: nobody asks.
  explicit LogReader(const HiveLog& log, UnreadBytes* unread = nullptr);

  // Valid until the next call or the reader's end. `at` counts from the start of the log file.
  ByteView At(uint32_t at, uint32_t size) override;
  uint32_t length() const override { return log_.length; }
  const HiveLog& log() const { return log_; }

 private:
  const HiveLog& log_;
  UnreadBytes* unread_;
  FileStream stream_;
  std::vector<uint8_t> window_;  // bytes of a log that is not held whole
  uint32_t start_ = 0;           // of the window in the log
};

// Reads and examines the file. Never fails loudly: `fault` says what is wrong.
// `name` is UTF-8. Linear in the length of the file: every byte of a run is hashed once, and what
// is after it a few times at most.
HiveLog ReadHiveLog(const std::string& name);
// The same of bytes in memory.
// `buffer` and `length` are set already, `held` is 0.
void ExamineLog(HiveLog& log);

// True when `a` is before `b`: numbers go round.
// Of two numbers the earlier is the one from which the other is reached in less than half the
// circle.
inline bool IsNumberBefore(uint32_t a, uint32_t b) { return a != b && b - a <= 0x7FFFFFFF; }

// A page of an entry: bytes [log_position, log_position + size) of the log belong at `offset` in
// the bins.
struct LogPage {
  uint32_t offset = 0;
  uint32_t size = 0;
  uint32_t log_position = 0;
};
// Calls `use` with each page of an entry that holds, in the order in which they are put in their
// places; none is outside the bins or the entry, nor without bytes. False when the user stops, and
// when the places can't be read again.
// `use` may read on with the same reader.
bool ForEachPage(LogReader& reader, const LogEntry& entry,
                 const std::function<void(const LogPage&)>& use);

}  // namespace hivequarry
