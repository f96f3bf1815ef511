#include "records/log_entry.h"

#include <bit>

#include "records/bin_header.h"

namespace hivequarry {
namespace {

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

// The places of the pages, and that the pages end in the entry. The header and the size are sure.
LogEntryFault CheckPages(ByteView entry, const LogEntryHeader& header) {
  const uint32_t room = (header.size - kLogEntryHeader) / kLogPlaceSize;
  if (header.pages == 0 || header.pages > room) return LogEntryFault::kPages;
  uint64_t data = kLogEntryHeader + uint64_t{header.pages} * kLogPlaceSize;
  for (uint32_t page = 0; page < header.pages; ++page) {
    const uint32_t place = kLogEntryHeader + page * kLogPlaceSize;
    const uint32_t offset = ReadU32(entry, place);
    const uint32_t size = ReadU32(entry, place + 4);
    if (size > header.bins_size || offset > header.bins_size - size) {
      return LogEntryFault::kPagePlace;
    }
    if (data + size > header.size) return LogEntryFault::kPages;
    const bool first = offset == 0 && size >= 4;
    if (first && ReadU32(entry, static_cast<uint32_t>(data)) != kBinSignature) {
      return LogEntryFault::kFirstBlock;
    }
    data += size;
  }
  return LogEntryFault::kNone;
}

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
  header.hash2 = ReadU64(bytes, 32);
  return header;
}

LogEntryFault CheckLogEntry(ByteView log, uint32_t at, LogEntryHeader& header) {
  header = ReadLogEntryHeader(log, at);
  if (!IsInside(log, at, kLogEntryHeader)) return LogEntryFault::kEndOfFile;
  if (header.signature != kLogEntrySignature) return LogEntryFault::kSignature;
  if (LogHash(PartOf(log, at, 32)) != header.hash2) return LogEntryFault::kHeaderHash;
  if (header.size < kLogUnit || header.size % kLogUnit != 0) return LogEntryFault::kSize;
  if (!IsInside(log, at, header.size)) return LogEntryFault::kPastEnd;
  const ByteView entry = PartOf(log, at, header.size);
  if (LogHash(entry.subspan(kLogEntryHeader)) != header.hash1) return LogEntryFault::kDataHash;
  const bool bins = header.bins_size % 4096 == 0 && header.bins_size <= kMostBins;
  if (!bins) return LogEntryFault::kBinsSize;
  return CheckPages(entry, header);
}

uint64_t LogHash(ByteView bytes) {
  HashState state;
  size_t at = 0;
  for (; at + 4 <= bytes.size(); at += 4) Mix(state, LoadU32(bytes.data() + at));
  uint32_t last = 0x80;
  for (size_t i = bytes.size(); i > at; --i) last = last << 8 | bytes[i - 1];
  Mix(state, last);
  Mix(state, 0);
  return uint64_t{state.high} << 32 | state.low;
}

}  // namespace hivequarry
