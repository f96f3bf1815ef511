#include "replay/hive_log.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>

#include "host/long_operation.h"

namespace hivequarry {
namespace {

// The bitmap begins after "DIRT": a bit for each 512 bytes of the bins, the lowest bit of the first
// byte being the first of them. Pages begin at the next multiple of 512 after it.
constexpr uint32_t kOldBitmap = kLogUnit + 4;
// Types of the base block's copy: 1 and 2 are the old form, 6 the new one, 0 a hive.
constexpr uint32_t kTypeNew = 6;
static_assert(LogBounds().start > kOldBitmap + kMostBins / kBaseBlockSize);

// A log longer than `held` of the bounds is not kept: only its start is, and the rest is read
// through a window again.
LogFault ReadBytesOf(HiveLog& log) {
  const FileStream stream(OpenFile(log.name, "rb", log.error));
  if (stream == nullptr) return LogFault::kUnreadable;
  const int64_t size = std::clamp<int64_t>(FileSize(stream.get()), 0, kLongestImage);
  if (size == 0) return LogFault::kEmpty;
  const bool whole = size <= TheLogBounds().held;
  const auto wanted = whole ? static_cast<uint32_t>(size) : TheLogBounds().start;
  log.buffer = AllocateImage(wanted);
  if (!log.buffer) return LogFault::kNoMemory;
  const auto got =
      static_cast<uint32_t>(ReadFileBytes(stream.get(), 0, log.buffer.get(), wanted, &log.unread));
  log.length = whole ? got : static_cast<uint32_t>(size);
  log.held = whole ? 0 : got;
  log.error = log.unread.error;
  return got == 0 ? LogFault::kUnreadable : LogFault::kNone;
}

// In this order, so that the reason named is the one that makes all others meaningless.
LogFault CheckCopy(HiveLog& log) {
  if (log.base.signature != kHiveSignature) return LogFault::kSignature;
  if (log.base.checksum != BaseBlockChecksum(log.bytes())) return LogFault::kChecksum;
  if (log.form == LogForm::kUnknown) return LogFault::kForm;
  return log.base.sequence1 == log.base.sequence2 ? LogFault::kNone : LogFault::kNumbers;
}

LogEntry EntryOf(const LogEntryHeader& header, uint32_t position) {
  return {position, header.size, header.sequence, header.flags, header.bins_size, header.pages};
}

// --- new form ------------------------------------------------------------------------------------

// Entries are numbered one by one from the copy's number on. What comes after the last one is
// mostly an older run, so an end is no fault; where it is and why is kept for the user.
void ReadRun(HiveLog& log) {
  uint32_t number = log.base.sequence1;
  LogReader reader(log, &log.unread);
  for (;;) {
    LogEntryHeader header;
    log.stop = CheckLogEntry(reader, log.stop_at, header);
    if (log.stop == LogEntryFault::kNone && header.sequence != number) {
      log.stop = LogEntryFault::kSequence;
    }
    if (log.stop != LogEntryFault::kNone) return;
    log.entries.push_back(EntryOf(header, log.stop_at));
    log.stop_at += header.size;
    ++number;
  }
}

// What an earlier run left, at every step. An entry whose header holds and whose data were written
// over is passed by; a file made of such headers can make no more work than a few passes over it.
void FindLeftovers(HiveLog& log) {
  // Bytes that may be hashed for entries that then prove not to hold.
  uint64_t budget = uint64_t{8} * log.length;
  uint32_t at = log.stop_at;
  LogReader reader(log, &log.unread);
  while (at <= log.length && log.length - at >= kLogEntryHeader && !StopRequested()) {
    LogEntryHeader header;
    const bool entry = ReadU32(reader.At(at, 4), 0) == kLogEntrySignature && budget != 0;
    const bool holds = entry && CheckLogEntry(reader, at, header) == LogEntryFault::kNone;
    if (entry) budget -= std::min<uint64_t>(budget, std::max(header.size, kLogUnit));
    if (holds) log.leftovers.push_back(EntryOf(header, at));
    const uint32_t step = holds ? header.size : kLogUnit;
    if (step > log.length - at) return;
    at += step;
  }
}

// --- old form ------------------------------------------------------------------------------------

// A byte of the bitmap is for 8 units of 512 bytes, so for 4096 bytes of the bins.
uint32_t FirstPageOf(const HiveLog& log) {
  const uint32_t end = kOldBitmap + log.base.length / kBaseBlockSize;
  return (end + kLogUnit - 1) / kLogUnit * kLogUnit;
}

// One entry for all of it. A bitmap without a bit is a log that has nothing to apply.
void ReadBitmap(HiveLog& log) {
  const uint32_t bins = log.base.length;
  if (bins % kBaseBlockSize != 0 || bins > kMostBins) {
    log.fault = LogFault::kBins;
    return;
  }
  if (ReadU32(log.bytes(), kLogUnit) != kLogBitmapSignature) {
    log.fault = LogFault::kBitmap;
    return;
  }
  const uint32_t bytes = bins / kBaseBlockSize;
  const ByteView bitmap = PartOf(log.bytes(), kOldBitmap, bytes);
  uint64_t bits = 0;
  for (const uint8_t byte : bitmap) bits += static_cast<uint64_t>(std::popcount(byte));
  const uint64_t end = FirstPageOf(log) + bits * kLogUnit;
  if (bitmap.size() < bytes || end > log.length) {
    log.fault = LogFault::kCutShort;
    return;
  }
  log.stop_at = static_cast<uint32_t>(end);
  if (bits == 0) return;
  log.entries.push_back({kLogUnit, log.stop_at - kLogUnit, log.base.sequence1, log.base.flags, bins,
                         static_cast<uint32_t>(bits)});
}

// Neighbouring units are joined: they follow each other in the log as in the bins.
std::vector<LogPage> OldPagesOf(const HiveLog& log) {
  std::vector<LogPage> pages;
  uint32_t at = FirstPageOf(log);
  for (uint32_t unit = 0; unit < log.base.length / kLogUnit; ++unit) {
    const uint8_t byte = ReadU8(log.bytes(), kOldBitmap + unit / 8);
    if ((byte >> unit % 8 & 1) == 0) continue;
    const uint32_t offset = unit * kLogUnit;
    const bool goes_on = !pages.empty() && pages.back().offset + pages.back().size == offset;
    if (!goes_on) pages.push_back({offset, 0, at});
    pages.back().size += kLogUnit;
    at += kLogUnit;
  }
  return pages;
}

}  // namespace

LogBounds& TheLogBounds() {
  static LogBounds bounds;
  return bounds;
}

HiveLog ReadHiveLog(const std::string& name) {
  HiveLog log;
  log.name = name;
  log.fault = ReadBytesOf(log);
  if (log.fault == LogFault::kNone) ExamineLog(log);
  return log;
}

void ExamineLog(HiveLog& log) {
  log.base = ReadBaseBlock(log.bytes());
  const uint32_t type = log.base.type;
  log.form = type == kTypeNew ? LogForm::kNew : LogForm::kUnknown;
  if (type == 1 || type == 2) log.form = LogForm::kOld;
  log.stop_at = kLogUnit;
  log.fault = CheckCopy(log);
  if (log.form == LogForm::kOld) {
    if (log.fault == LogFault::kNone) ReadBitmap(log);
    return;
  }
  if (log.fault == LogFault::kNone) ReadRun(log);
  FindLeftovers(log);
}

LogReader::LogReader(const HiveLog& log, UnreadBytes* unread) : log_(log), unread_(unread) {}

// Empty, or shorter than asked, at the log's end and after a stop. Valid until the next call.
ByteView LogReader::At(uint32_t at, uint32_t size) {
  const ByteView held = log_.bytes();
  if (log_.held == 0 || IsInside(held, at, size)) return PartOf(held, at, size);
  if (at >= log_.length || StopRequested()) return {};
  size = std::min(size, log_.length - at);
  const uint64_t end = uint64_t{start_} + window_.size();
  if (at < start_ || at > end || end - at < size) {
    int error = 0;
    if (stream_ == nullptr) stream_.reset(OpenFile(log_.name, "rb", error));
    window_.resize(std::min(std::max(size, TheLogBounds().window), log_.length - at));
    start_ = at;
    const bool open = stream_ != nullptr;
    window_.resize(open ? ReadFileBytes(stream_.get(), at, window_.data(), window_.size(), unread_)
                        : 0);
  }
  const ByteView window(window_);
  return window.subspan(at - start_, std::min<size_t>(size, window_.size() - (at - start_)));
}

namespace {

// The places are read once more, so they are held against the entry once more.
bool ForEachNewPage(LogReader& reader, const LogEntry& entry,
                    const std::function<void(const LogPage&)>& use) {
  LogPlaces places;
  uint64_t data = kLogEntryHeader + uint64_t{entry.pages} * kLogPlaceSize;
  for (uint32_t first = 0; first < entry.pages; first += places.count) {
    if (!ReadLogPlaces(reader, entry.position, first, entry.pages, places)) return false;
    for (uint32_t i = 0; i < places.count; ++i) {
      const uint32_t offset = places.offset(i);
      const uint32_t size = places.size(i);
      const bool inside =
          size <= entry.bins_size && offset <= entry.bins_size - size && data + size <= entry.size;
      if (!inside || StopRequested()) return false;
      if (size != 0) use({offset, size, entry.position + static_cast<uint32_t>(data)});
      data += size;
    }
  }
  return true;
}

}  // namespace

bool ForEachPage(LogReader& reader, const LogEntry& entry,
                 const std::function<void(const LogPage&)>& use) {
  if (reader.log().form != LogForm::kOld) return ForEachNewPage(reader, entry, use);
  for (const LogPage& page : OldPagesOf(reader.log())) {
    if (StopRequested()) return false;
    use(page);
  }
  return true;
}

}  // namespace hivequarry
