// Logs of hives, and entries of such, at any place of a file.

#include <algorithm>
#include <bit>

#include "cases/carving.h"
#include "host/number_text.h"
#include "host/text.h"
#include "records/base_block.h"

namespace hivequarry {
namespace {

// A part of the file as a log.
// A log counts in 32 bits, so of a longer rest only the first 4 GiB less 8 KiB are its own: no
// offset with a header or page added passes 32 bits.
class LogAt final : public LogSource {
 public:
  LogAt(CarveSource& source, uint64_t start)
      : source_(source),
        start_(start),
        length_(static_cast<uint32_t>(std::min<uint64_t>(
            source.size() - std::min(start, source.size()), UINT32_MAX - 8191))) {}
  ByteView At(uint32_t at, uint32_t size) override { return source_.At(start_ + at, size); }
  uint32_t length() const override { return length_; }

 private:
  CarveSource& source_;
  uint64_t start_;
  uint32_t length_;
};

// A run of entries that hold, from the position asked for on.
struct EntriesFound {
  uint32_t end = 0;  // after the last that holds
  uint32_t count = 0;
  uint32_t first = 0;  // numbers
  uint32_t last = 0;
};

// Entries that follow each other from `at` on. Those of an earlier use of the file may come after
// those of its last one, and are entries too.
EntriesFound FollowEntries(LogAt& log, uint32_t at) {
  EntriesFound found = {at};
  for (;;) {
    LogEntryHeader header;
    if (CheckLogEntry(log, found.end, header) != LogEntryFault::kNone) return found;
    if (found.count++ == 0) found.first = header.sequence;
    found.last = header.sequence;
    found.end += header.size;
  }
}

// Bytes of a log of the old form; 0 where it is none.
// Layout, from the start of its base block's copy:
//
//    0      512 bytes, the base block
//    512    4 bytes, the letters of the bitmap
//    516    a bit for each 512 bytes of the hive's bins, lowest bit of each byte first
//           zeros up to the next multiple of 512
//           512 bytes for each bit that is set, in the order of the bits
uint32_t OldLogEnd(LogAt& log, const BaseBlockAt& base) {
  constexpr uint32_t kBitmap = kLogUnit + 4;
  const uint32_t size = base.length / kBaseBlockSize;  // a bit for each 512 bytes
  if (base.length % kBaseBlockSize != 0 || base.length > kMostBins) return 0;
  if (ReadU32(log.At(kLogUnit, 4), 0) != kLogBitmapSignature) return 0;
  const ByteView bitmap = log.At(kBitmap, size);
  uint64_t units = 0;
  for (const uint8_t byte : bitmap) units += static_cast<uint64_t>(std::popcount(byte));
  const uint64_t start = (uint64_t{kBitmap} + size + kLogUnit - 1) / kLogUnit * kLogUnit;
  const uint64_t end = start + units * kLogUnit;
  return bitmap.size() < size || units == 0 || end > log.length() ? 0 : static_cast<uint32_t>(end);
}

std::string EntriesWords(const EntriesFound& found) {
  return Concat({std::to_string(found.count), found.count == 1 ? " entry, " : " entries, ",
                 std::to_string(found.first), found.count == 1 ? "" : "..",
                 found.count == 1 ? "" : std::to_string(found.last), ", each with its hashes"});
}

}  // namespace

void ExamineLogAt(CarveSource& source, const BaseBlockAt& base, std::vector<Carved>& found) {
  LogAt log(source, base.position);
  const ByteView bytes = log.At(0, kBaseUsed);
  const BaseBlock copy = ReadBaseBlock(bytes);
  const bool checksum = copy.checksum == BaseBlockChecksum(bytes);
  Carved carved;
  carved.kind = CarvedKind::kLog;
  carved.stored_name = TextOfWide(copy.file_name);
  carved.last_write = copy.last_write;
  // Type 6 is a log of entries, each with hashes of its own, so that they alone make it certain. An
  // older one is a bitmap and pages, for which nothing but the base block's checksum vouches.
  if (base.type == 6) {
    const EntriesFound entries = FollowEntries(log, kLogUnit);
    carved.length = entries.end;
    carved.sure = entries.count != 0 ? Sureness::kCertain : Sureness::kPossible;
    carved.why = entries.count == 0 ? "no entry" : EntriesWords(entries);
    if (entries.count == 0 && !checksum) return;
  } else {
    carved.length = OldLogEnd(log, base);
    if (carved.length == 0) return;
    carved.sure = checksum ? Sureness::kLikely : Sureness::kPossible;
    carved.why = "bitmap of pages";
  }
  carved.why += checksum ? "; checksum right" : "; checksum wrong";
  carved.parts = {{base.position, carved.length}};
  found.push_back(std::move(carved));
}

void ExamineEntries(CarveSource& source, const FileRange& run, std::vector<Carved>& found) {
  for (uint64_t at = run.position; at < run.position + run.size;) {
    LogAt log(source, at);
    const EntriesFound entries = FollowEntries(log, 0);
    if (entries.count != 0) {
      Carved carved;
      carved.kind = CarvedKind::kLogEntries;
      carved.sure = Sureness::kCertain;
      carved.length = entries.end;
      carved.parts = {{at, carved.length}};
      carved.why = EntriesWords(entries);
      found.push_back(std::move(carved));
    }
    at += entries.end;
    LogEntryHeader header;
    if (at >= run.position + run.size) return;
    // A header that holds without its data is passed.
    header = ReadLogEntryHeader(source.At(at, kLogEntryHeader), 0);
    at += std::max(header.size, kLogUnit);
  }
}

}  // namespace hivequarry
