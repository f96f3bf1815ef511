#include "records/log_entry.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "host/long_operation.h"
#include "records/base_block.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

// The seed that systems use for logs; the two words are what is kept between words of data.
struct HashState {
  uint32_t low = 0x7A4E55C5;
  uint32_t high = 0x82EF4D88;
};

void Mix(HashState& state, uint32_t word) {
  uint32_t low = state.low + word;
  uint32_t high = state.high ^ low;
  low = std::rotl(low, 20) + high;
  high = std::rotl(high, 9) ^ low;
  low = std::rotl(low, 27) + high;
  state = {low, std::rotl(high, 19)};
}

constexpr uint32_t kHeaderHash = 32;     // of an entry's header: the hash of what is before it
constexpr uint32_t kPiece = 256 * 1024;  // bytes that are hashed at a time; whole words

void MixWords(HashState& state, ByteView bytes) {
  for (size_t at = 0; at + 4 <= bytes.size(); at += 4) Mix(state, LoadU32(bytes.data() + at));
}

// With the bytes after the last whole word.
// A byte 0x80 comes after the last byte, and the word that holds it is mixed in; then a word of
// zeros.
uint64_t EndHash(HashState state, ByteView rest) {
  uint32_t last = 0x80;
  for (size_t i = rest.size(); i > 0; --i) last = last << 8 | rest[i - 1];
  Mix(state, last);
  Mix(state, 0);
  return uint64_t{state.high} << 32 | state.low;
}

// Of an entry's data, whole words.
bool HasHash(LogSource& log, uint32_t at, uint32_t size, uint64_t hash) {
  HashState state;
  for (uint32_t done = 0; done < size;) {
    const uint32_t wanted = std::min(kPiece, size - done);
    const ByteView piece = log.At(at + done, wanted);
    if (piece.size() < wanted || StopRequested()) return false;
    MixWords(state, piece);
    done += wanted;
  }
  return EndHash(state, {}) == hash;
}

bool IsFirstBlock(LogSource& log, uint32_t at) {
  return ReadU32(log.At(at, 4), 0) == kBinSignature;
}

// The places of the pages, and that the pages end in the entry. The header and the size are sure.
LogEntryFault CheckPages(LogSource& log, uint32_t at, const LogEntryHeader& header) {
  const uint32_t room = (header.size - kLogEntryHeader) / kLogPlaceSize;
  if (header.pages == 0 || header.pages > room) return LogEntryFault::kPages;
  uint64_t data = kLogEntryHeader + uint64_t{header.pages} * kLogPlaceSize;
  LogPlaces places;
  for (uint32_t first = 0; first < header.pages; first += places.count) {
    if (!ReadLogPlaces(log, at, first, header.pages, places)) return LogEntryFault::kPages;
    for (uint32_t i = 0; i < places.count; ++i) {
      const uint32_t offset = places.offset(i);
      const uint32_t size = places.size(i);
      if (size > header.bins_size || offset > header.bins_size - size) {
        return LogEntryFault::kPagePlace;
      }
      if (data + size > header.size) return LogEntryFault::kPages;
      const bool first_block = offset == 0 && size >= 4;
      if (first_block && !IsFirstBlock(log, at + static_cast<uint32_t>(data))) {
        return LogEntryFault::kFirstBlock;
      }
      data += size;
    }
  }
  return LogEntryFault::kNone;
}

// A log that is in memory as a whole.
class ViewSource : public LogSource {
 public:
  explicit ViewSource(ByteView bytes) : bytes_(bytes) {}
  ByteView At(uint32_t at, uint32_t size) override { return PartOf(bytes_, at, size); }
  uint32_t length() const override { return static_cast<uint32_t>(bytes_.size()); }

 private:
  ByteView bytes_;
};

}  // namespace

LogEntryHeader ReadLogEntryHeader(ByteView log, uint32_t at) {
  const ByteView bytes = PartOf(log, at, kLogEntryHeader);
  LogEntryHeader header;
  header.signature = ReadU32(bytes, 0);
  header.size = ReadU32(bytes, 4);
  header.flags = ReadU32(bytes, 8);
  header.sequence = ReadU32(bytes, 12);
  header.bins_size = ReadU32(bytes, 16);
  header.pages = ReadU32(bytes, 20);
  header.hash1 = ReadU64(bytes, 24);
  header.hash2 = ReadU64(bytes, kHeaderHash);
  return header;
}

bool ReadLogPlaces(LogSource& log, uint32_t at, uint32_t first, uint32_t pages, LogPlaces& places) {
  places.count = std::min(LogPlaces::kMost, pages - first);
  const uint32_t size = places.count * kLogPlaceSize;
  const ByteView stored = log.At(at + kLogEntryHeader + first * kLogPlaceSize, size);
  if (stored.size() < size) return false;
  std::memcpy(places.bytes, stored.data(), size);
  return true;
}

LogEntryFault CheckLogEntry(LogSource& log, uint32_t at, LogEntryHeader& header) {
  const ByteView start = log.At(at, kLogEntryHeader);
  header = ReadLogEntryHeader(start, 0);
  if (start.size() < kLogEntryHeader) return LogEntryFault::kEndOfFile;
  if (header.signature != kLogEntrySignature) return LogEntryFault::kSignature;
  if (LogHash(start.first(kHeaderHash)) != header.hash2) return LogEntryFault::kHeaderHash;
  if (header.size < kLogUnit || header.size % kLogUnit != 0) return LogEntryFault::kSize;
  if (header.size > log.length() - at) return LogEntryFault::kPastEnd;
  if (!HasHash(log, at + kLogEntryHeader, header.size - kLogEntryHeader, header.hash1)) {
    return LogEntryFault::kDataHash;
  }
  const bool bins = header.bins_size % kBaseBlockSize == 0 && header.bins_size <= kMostBins;
  if (!bins) return LogEntryFault::kBinsSize;
  return CheckPages(log, at, header);
}

LogEntryFault CheckLogEntry(ByteView log, uint32_t at, LogEntryHeader& header) {
  ViewSource source(log);
  return CheckLogEntry(source, at, header);
}

uint64_t LogHash(ByteView bytes) {
  HashState state;
  MixWords(state, bytes);
  return EndHash(state, bytes.subspan(bytes.size() / 4 * 4));
}

}  // namespace hivequarry
