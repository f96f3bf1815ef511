#include "tests/support/log_writer.h"

#include <algorithm>
#include <bit>

namespace hivequarry::testing {
namespace {

constexpr uint32_t kPage = 4096;
constexpr uint32_t kUnit = 512;
constexpr uint32_t kHeader = 40;
constexpr uint32_t kBaseType = 28;

uint32_t RoundedUp(size_t size, uint32_t step) {
  return static_cast<uint32_t>((size + step - 1) / step * step);
}

// Of whole words; written apart from the program's own, which it is held against.
uint64_t HashOf(const Bytes& bytes, size_t from, size_t end) {
  uint32_t a = 0x7A4E55C5;
  uint32_t b = 0x82EF4D88;
  for (size_t at = from; at < end + 8; at += 4) {
    uint32_t word = at == end ? 0x80 : 0;
    if (at < end) word = GetU32(bytes, static_cast<uint32_t>(at));
    a += word;
    b ^= a;
    a = std::rotl(a, 20) + b;
    b = std::rotl(b, 9) ^ a;
    a = std::rotl(a, 27) + b;
    b = std::rotl(b, 19);
  }
  return uint64_t{b} << 32 | a;
}

bool Differ(const Bytes& before, const Bytes& after, uint32_t at) {
  const auto end = std::min<size_t>(after.size(), at + kPage);
  return before.size() < end ||
         !std::equal(after.begin() + at, after.begin() + static_cast<int64_t>(end),
                     before.begin() + at);
}

}  // namespace

Bytes LogEntryBytes(const LogEntrySpec& entry) {
  Bytes bytes(kHeader);
  for (const LogPageSpec& page : entry.pages) {
    const auto at = static_cast<uint32_t>(bytes.size());
    bytes.resize(at + 8);
    PutU32(bytes, at, page.offset);
    PutU32(bytes, at + 4, page.claimed.value_or(static_cast<uint32_t>(page.bytes.size())));
  }
  for (const LogPageSpec& page : entry.pages) {
    bytes.insert(bytes.end(), page.bytes.begin(), page.bytes.end());
  }
  bytes.resize(RoundedUp(bytes.size(), kUnit));
  PutBytes(bytes, 0, Bytes{'H', 'v', 'L', 'E'});
  PutU32(bytes, 4, entry.size.value_or(static_cast<uint32_t>(bytes.size())));
  PutU32(bytes, 8, entry.flags);
  PutU32(bytes, 12, entry.sequence);
  PutU32(bytes, 16, entry.bins_size);
  PutU32(bytes, 20, entry.page_count.value_or(static_cast<uint32_t>(entry.pages.size())));
  PutU64(bytes, 24, HashOf(bytes, kHeader, bytes.size()));
  PutU64(bytes, 32, HashOf(bytes, 0, 32));
  return bytes;
}

void FixBaseChecksum(Bytes& file) {
  uint32_t sum = 0;
  for (uint32_t at = 0; at < field::kBaseChecksum; at += 4) sum ^= GetU32(file, at);
  PutU32(file, field::kBaseChecksum, sum == 0 ? 1 : sum == 0xFFFFFFFF ? 0xFFFFFFFE : sum);
}

void SetNumbers(Bytes& hive, uint32_t primary, uint32_t secondary) {
  PutU32(hive, 4, primary);
  PutU32(hive, 8, secondary);
  FixBaseChecksum(hive);
}

Bytes LogBase(const Bytes& hive, uint32_t type, uint32_t sequence) {
  Bytes base(hive.begin(), hive.begin() + kUnit);
  PutU32(base, kBaseType, type);
  SetNumbers(base, sequence, sequence);
  return base;
}

Bytes NewLog(const Bytes& hive, const std::vector<LogEntrySpec>& entries) {
  Bytes log = LogBase(hive, 6, entries.empty() ? 1 : entries[0].sequence);
  for (const LogEntrySpec& entry : entries) {
    const Bytes bytes = LogEntryBytes(entry);
    log.insert(log.end(), bytes.begin(), bytes.end());
  }
  return log;
}

LogEntrySpec EntryBetween(const Bytes& before, const Bytes& after, uint32_t sequence) {
  LogEntrySpec entry;
  entry.sequence = sequence;
  entry.bins_size = static_cast<uint32_t>(after.size()) - kPage;
  for (uint32_t at = kPage; at < after.size(); at += kPage) {
    if (!Differ(before, after, at)) continue;
    entry.pages.push_back({at - kPage, Bytes(after.begin() + at, after.begin() + at + kPage), {}});
  }
  return entry;
}

Bytes OldLog(const Bytes& before, const Bytes& after) {
  Bytes log = LogBase(after, 1, GetU32(before, 4));
  const auto bins = static_cast<uint32_t>(after.size()) - kPage;
  log.insert(log.end(), {'D', 'I', 'R', 'T'});
  Bytes units;
  for (uint32_t at = kPage; at < after.size(); at += kPage) {
    const bool differ = Differ(before, after, at);
    log.push_back(differ ? 0xFF : 0);
    if (differ) units.insert(units.end(), after.begin() + at, after.begin() + at + kPage);
  }
  log.resize(RoundedUp(kUnit + 4 + bins / kPage, kUnit));
  log.insert(log.end(), units.begin(), units.end());
  return log;
}

}  // namespace hivequarry::testing
