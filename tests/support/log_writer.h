// Logs of hives made in memory: sound in every field unless the test says otherwise.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tests/support/cell_writer.h"

namespace hivequarry::testing {

struct LogPageSpec {
  uint32_t offset = 0;  // in the bins
  Bytes bytes;
  std::optional<uint32_t> claimed;  // as its size, instead of that of the bytes
};
struct LogEntrySpec {
  uint32_t sequence = 1;
  uint32_t bins_size = 8192;
  uint32_t flags = 0;
  std::vector<LogPageSpec> pages;
  std::optional<uint32_t> size;  // instead of what the pages need
  std::optional<uint32_t> page_count;
};
// With right hashes, whatever its fields say.
Bytes LogEntryBytes(const LogEntrySpec& entry);

// The first 512 bytes of a log of `hive`, with that type and both numbers.
Bytes LogBase(const Bytes& hive, uint32_t type, uint32_t sequence);
// New form: the log of these entries, whose first has the number of the base block.
Bytes NewLog(const Bytes& hive, const std::vector<LogEntrySpec>& entries);
// The entry that makes `after` of `before`: the 4096-byte pages in which they differ.
LogEntrySpec EntryBetween(const Bytes& before, const Bytes& after, uint32_t sequence);
// Old form: the 512-byte units in which `after` differs from `before`, by whole pages of 4096.
Bytes OldLog(const Bytes& before, const Bytes& after);

// Another pair of numbers in a hive's base block, its checksum right again.
void SetNumbers(Bytes& hive, uint32_t primary, uint32_t secondary);
// The first 512 bytes' checksum, as systems store it.
void FixBaseChecksum(Bytes& file);

}  // namespace hivequarry::testing
