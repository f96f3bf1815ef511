// Any bytes as a hive and a log of it: the first four say how many of the rest are the hive. What
// makes a log sure, which no mutation finds, is made right first: the base blocks' checksums and
// the hashes of entries. Then the hive is opened with the log, and all that is told of both is
// listed.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/fuzzed_hive.h"
#include "hive/opening.h"
#include "hive/replaying.h"
#include "records/log_entry.h"
#include "replay/log_words.h"
#include "reports/freed_lists.h"
#include "reports/hive_state.h"
#include "reports/log_lists.h"
#include "reports/log_records.h"

namespace {

using namespace hivequarry;
using fuzzing::Require;

constexpr uint32_t kMostBinsHere = 0xFF000;  // of an entry: growing is bounded elsewhere
constexpr size_t kMostSteps = 8;             // whose changes are listed

void PutU32(uint8_t* at, uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(value >> 8 * i);
}

void PutU64(uint8_t* at, uint64_t value) {
  PutU32(at, static_cast<uint32_t>(value));
  PutU32(at + 4, static_cast<uint32_t>(value >> 32));
}

void FixChecksum(std::vector<uint8_t>& file) {
  if (file.size() >= kBaseUsed) PutU32(&file[kBaseChecksum], BaseBlockChecksum(file));
}

void FixLog(std::vector<uint8_t>& log) {
  if (log.size() < kBaseUsed) return;
  PutU32(&log[kBaseSequence2], ReadU32(log, kBaseSequence1));
  if (ReadU32(log, kBaseLength) > kMostBinsHere) PutU32(&log[kBaseLength], kMostBinsHere);
  FixChecksum(log);
  uint32_t at = kLogUnit;
  while (IsInside(log, at, kLogEntryHeader) && ReadU32(log, at) == kLogEntrySignature) {
    const uint32_t size = ReadU32(log, at + 4);
    if (ReadU32(log, at + 16) > kMostBinsHere) PutU32(&log[at + 16], kMostBinsHere);
    if (size >= kLogUnit && IsInside(log, at, size)) {
      PutU64(&log[at + 24], LogHash(PartOf(log, at + kLogEntryHeader, size - kLogEntryHeader)));
    }
    PutU64(&log[at + 32], LogHash(PartOf(log, at, 32)));
    if (size < kLogUnit || size > log.size() - at) break;
    at += size;
  }
}

// A file in memory that is written anew for each input.
struct MemoryFile {
  explicit MemoryFile(const char* title) : descriptor(memfd_create(title, 0)) {}
  void Write(const std::vector<uint8_t>& bytes) const {
    Require(descriptor >= 0 && ftruncate(descriptor, 0) == 0);
    Require(pwrite(descriptor, bytes.data(), bytes.size(), 0) ==
            static_cast<ssize_t>(bytes.size()));
  }
  int descriptor;
  std::string name = "/proc/self/fd/" + std::to_string(descriptor);
};

// The table of origins is in order, and each of its bytes is where it says.
void CheckOrigins(const HiveImage& hive) {
  if (!IsReplayed(hive) || !hive.places.undone.empty()) return;
  const HiveLogs& logs = *hive.logs;
  uint32_t end = 0;
  for (const LoggedRange& range : logs.changed) {
    Require(range.position >= end && range.end > range.position && range.end <= hive.length);
    end = range.end;
    const ByteView log = LogOf(logs, logs.steps[range.step]).bytes();
    const uint32_t size = range.end - range.position;
    const ByteView from = PartOf(log, range.log_position, size);
    Require(from.size() == size);
    Require(std::equal(from.begin(), from.end(), hive.buffer.get() + range.position));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) return 0;
  const ByteView rest(data + 4, size - 4);
  const size_t length = rest.empty() ? 0 : LoadU32(data) % (rest.size() + 1);
  std::vector<uint8_t> hive_bytes = CopyOf(rest.first(length));
  std::vector<uint8_t> log_bytes = CopyOf(rest.subspan(length));
  if (hive_bytes.size() % 2 == 0) FixChecksum(hive_bytes);
  FixLog(log_bytes);
  static const MemoryFile hive_file("hive");
  static const MemoryFile log_file("log");
  hive_file.Write(hive_bytes);
  log_file.Write(log_bytes);
  TheHiveTable().logs.mode = LogMode::kChosen;
  TheHiveTable().logs.files = {log_file.name};
  const int slot = OpenHive(hive_file.name);
  Require(slot > 0);
  HiveImage& hive = HiveOfSlot(slot);
  CheckOrigins(hive);
  if (hive.logs != nullptr) ReplayWords(*hive.logs);
  StateTextsOf(hive, false);
  ListLogs(hive);
  KeyTree tree;
  BuildImageTree(hive, BuildOptions(), tree);
  ListKeyTree(hive, tree, 0);
  ListKeyValues(hive, tree, kNoItem, ValueListOptions());
  if (hive.logs != nullptr && hive.logs->steps.size() <= kMostSteps) ListLogChanges(hive);
  ListLogRecords(hive, tree);
  ListRemovedKeys(hive, tree);
  ListRemovedValues(hive, tree, ValueListOptions());
  ListFreedKeys(hive, tree);
  ListFreedValues(hive, tree, ValueListOptions());
  FreeHiveSlot(slot);
  return 0;
}
