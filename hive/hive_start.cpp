#include "hive/hive_start.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "host/host.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

constexpr uint32_t kRootName = 80;  // from the start of the root cell

int CountMatches(const uint8_t* bytes, const char* expected, int count) {
  int matches = 0;
  for (int i = 0; i < count; ++i) matches += bytes[i] == static_cast<uint8_t>(expected[i]);
  return matches;
}

bool IsRootFlagsByte(uint8_t flags) {
  return flags == 0x2C || flags == 0xA0 || flags == 0xAC || flags == 0x60;
}

// The first eight bytes of a root key node: size, "nk", flags.
// What is expected there: a cell of 88 to 96 bytes in use (size -96 or -88: bytes A0 or A8, FF, FF,
// FF), "nk", flags 0x002C. Five of the eight bytes are enough, or the two letters with flags that a
// root is known to have.
bool LooksLikeRootCell(const uint8_t (&cell)[8]) {
  const bool n = cell[4] == 'n';
  const bool k = cell[5] == 'k';
  const bool flags = cell[6] == 0x2C;
  const int score = (cell[0] == 0xA0 || cell[0] == 0xA8) + (cell[1] == 0xFF) + (cell[2] == 0xFF) +
                    (cell[3] == 0xFF) + n + k + flags + (cell[7] == 0);
  if (score >= 5) return true;
  return n && k && IsRootFlagsByte(cell[6]);
}

// The names that the system gives to root keys of fresh hives; a letter or two may be lost.
bool LooksLikeRootName(const uint8_t (&name)[12]) {
  return CountMatches(name, "$$$PROTO.HIV", 12) >= 10 ||
         CountMatches(name, "CMI-CreateHive", 12) >= 11;
}

// What an "hbin" at a file offset says of the hive's start.
bool StartFromBin(std::FILE* stream, uint32_t position, const uint8_t* header, uint32_t& start) {
  const uint32_t own_offset = LoadU32(header + 4);
  const uint32_t size = LoadU32(header + 8);
  const uint64_t from_zero = uint64_t{own_offset} + kBaseBlockSize;
  if (own_offset % kPageSize == 0 && position == from_zero) {
    start = 0;
    return true;
  }
  if (size != 0 && size % kPageSize == 0 && position >= from_zero) {
    start = position - static_cast<uint32_t>(from_zero);
    return true;
  }
  // A sound header that names a place further in belongs to the middle of a hive.
  if (own_offset != 0 && own_offset % kPageSize == 0 && size != 0 && size % kPageSize == 0)
    return false;
  HiveProbe probe;
  ProbeHiveStart(stream, position - kBaseBlockSize, probe);
  start = position - kBaseBlockSize;
  return probe.header_valid && probe.root_valid;
}

}  // namespace

HiveStart FindHiveStart(std::FILE* stream, uint64_t file_size, UnreadBytes& unread) {
  constexpr uint64_t kProgressSize = 2201000;
  constexpr size_t kBlock = 64 * 1024;
  constexpr size_t kHeader = 12;  // bytes looked at from an "h" on
  HiveStart result;
  if (file_size < kBaseBlockSize) return result;
  const Host& host = CurrentHost();
  // Smaller files are searched before a bar could be seen.
  const bool show_progress = file_size >= kProgressSize;
  if (show_progress) {
    ShowStatus("Reading File ...");
    host.progress_range(host.context, 100);
  }
  std::vector<uint8_t> block(kBlock);
  const uint64_t end = std::min<uint64_t>(file_size - kBaseBlockSize + 1, UINT32_MAX);
  for (uint64_t at = kBaseBlockSize; at < end && !result.found;) {
    result.stopped = StopRequested();
    const size_t got = ReadFileBytes(stream, at, block.data(), block.size(), &unread);
    if (result.stopped || got <= kHeader) break;
    // Headers that begin in the last bytes of the block are met again at the start of the next.
    const size_t usable = got - kHeader;
    const uint8_t* const stop = block.data() + std::min<uint64_t>(usable, end - at);
    const uint8_t* h = block.data();
    while (h < stop && !result.found) {
      h = static_cast<const uint8_t*>(std::memchr(h, 'h', static_cast<size_t>(stop - h)));
      if (h == nullptr) break;
      const auto position = static_cast<uint32_t>(at + static_cast<uint64_t>(h - block.data()));
      if (LoadU32(h) == kBinSignature) {
        result.found = StartFromBin(stream, position, h, result.start);
      }
      ++h;
    }
    at += usable;
    if (show_progress) {
      host.progress_position(host.context, static_cast<uint32_t>(at * 100 / file_size));
    }
  }
  if (show_progress) host.progress_range(host.context, 0);
  if (!result.found) result.start = 0;
  return result;
}

void ProbeHiveStart(std::FILE* stream, uint32_t candidate, HiveProbe& probe) {
  uint8_t signature[4] = {};
  ReadFileBytes(stream, candidate, signature, sizeof(signature));
  if (IsBaseBlockSignature(signature)) probe.header_valid = true;
  uint8_t cell[8] = {};
  uint8_t name[12] = {};
  const uint64_t root = uint64_t{candidate} + kFirstCellPosition;
  ReadFileBytes(stream, root, cell, sizeof(cell));
  ReadFileBytes(stream, root + kRootName, name, sizeof(name));
  if (LooksLikeRootCell(cell) || LooksLikeRootName(name)) {
    probe.header_valid = probe.root_valid = true;
  }
}

HiveProbe ProbeImage(const HiveImage& hive) {
  uint8_t cell[8] = {};
  uint8_t name[12] = {};
  ReadBytes(hive, kFirstCellPosition, cell, sizeof(cell));
  ReadBytes(hive, kFirstCellPosition + kRootName, name, sizeof(name));
  HiveProbe probe;
  probe.root_valid = LooksLikeRootCell(cell) || LooksLikeRootName(name);
  probe.header_valid = probe.root_valid || BeginsAsBaseBlock(hive);
  return probe;
}

bool BeginsAsBaseBlock(const HiveImage& hive) {
  uint8_t signature[4] = {};
  ReadBytes(hive, 0, signature, sizeof(signature));
  return IsBaseBlockSignature(signature);
}

}  // namespace hivequarry
