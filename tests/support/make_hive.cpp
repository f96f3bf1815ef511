// make-hive KIND [COUNT] FILE: writes a hive made by rule.
// make-hive KIND MEGABYTES FILE: likewise, one that is made to hurt; "make-hive hostile" names
// them.
// make-hive long-log MEGABYTES HIVE LOG: a log of so many valid entries for that hive.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/support/hostile_hives.h"
#include "tests/support/log_writer.h"
#include "tests/support/plain_cells.h"
#include "tests/support/sample_hives.h"
#include "tests/support/sample_log.h"

namespace {

using hivequarry::testing::Bytes;
using hivequarry::testing::HostileHive;
using hivequarry::testing::HostileHives;

struct Shape {
  const char* name;
  Bytes (*make)(uint32_t count);
  bool counted;
  const char* what;
};

constexpr Shape kShapes[] = {
    {"sample", [](uint32_t) { return hivequarry::testing::DamagedSample(); }, false,
     "the damaged sample"},
    {"samplelog", [](uint32_t) { return hivequarry::testing::SampleLog(); }, false,
     "the log of the damaged sample"},
    {"dirty", [](uint32_t) { return hivequarry::testing::DirtySample(); }, false,
     "the damaged sample, dirty"},
    {"dirtylog", [](uint32_t) { return hivequarry::testing::DirtyLog(); }, false,
     "the log of that"},
    {"sound", [](uint32_t) { return hivequarry::testing::SoundSample().bytes; }, false,
     "the sample before the damage"},
    {"keys", hivequarry::testing::HiveOfKeys, true, "COUNT keys as in a hive of software"},
    {"flat", hivequarry::testing::FlatHive, true, "COUNT subkeys of one key"},
    {"deep", hivequarry::testing::DeepHive, true, "COUNT nested keys"},
    {"values", hivequarry::testing::HiveOfValues, true, "COUNT values of one key"},
    {"shared", hivequarry::testing::SharedListHive, true, "COUNT keys that share one list"},
    {"nested", [](uint32_t count) { return hivequarry::testing::NestedHive(count, "深い"); }, true,
     "COUNT nested keys with names that no code page has"},
    {"below",
     [](uint32_t count) { return hivequarry::testing::WideBelowNested(100, "深い", count); }, true,
     "COUNT keys below 100 nested ones"}};

int Usage() {
  std::fprintf(stderr, "usage: make-hive KIND [COUNT] FILE\n");
  for (const Shape& shape : kShapes) {
    std::fprintf(stderr, "  %s%s: %s\n", shape.name, shape.counted ? " COUNT" : "", shape.what);
  }
  return 2;
}

bool WriteFile(const char* name, const Bytes& bytes) {
  std::FILE* file = std::fopen(name, "wb");
  if (file == nullptr) return false;
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return std::fclose(file) == 0 && written;
}

int Save(const char* name, const Bytes& bytes) {
  if (WriteFile(name, bytes)) return 0;
  std::perror(name);
  return 1;
}

bool ReadFile(const char* name, Bytes& bytes) {
  std::FILE* file = std::fopen(name, "rb");
  if (file == nullptr) return false;
  uint8_t piece[4096];
  for (size_t got = 0; (got = std::fread(piece, 1, sizeof piece, file)) != 0;) {
    bytes.insert(bytes.end(), piece, piece + got);
  }
  return std::fclose(file) == 0;
}

// The pages of the hive over and over, 256 to an entry; every second time round each is changed in
// every second unit of 8 bytes. The last time round they are the hive's own.
bool WriteLongLog(const Bytes& hive, uint64_t length, std::FILE* file) {
  constexpr uint32_t kPage = 4096;
  constexpr uint32_t kFirstSequence = 100;
  const uint32_t bins = hivequarry::testing::GetU32(hive, 40);
  const uint32_t pages = bins / kPage;
  const auto put = [file](const Bytes& bytes) {
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  };
  if (!put(hivequarry::testing::LogBase(hive, 6, kFirstSequence))) return false;
  hivequarry::testing::LogEntrySpec entry;
  entry.sequence = kFirstSequence;
  entry.bins_size = bins;
  const uint64_t rounds = length / (uint64_t{pages} * kPage) | 1;
  for (uint64_t at = 0; at < rounds * pages; ++at) {
    const auto offset = static_cast<uint32_t>(at % pages * kPage);
    const auto begin = hive.begin() + kPage + offset;
    Bytes page(begin, begin + kPage);
    const bool changed = at / pages % 2 == 1;
    for (uint32_t unit = 32; changed && unit < kPage; unit += 16) {
      for (uint32_t i = 0; i < 8; ++i) page[unit + i] ^= 0xFF;
    }
    entry.pages.push_back({offset, std::move(page), {}});
    const bool last = at + 1 == rounds * pages;
    if (entry.pages.size() < 256 && !last) continue;
    if (!put(hivequarry::testing::LogEntryBytes(entry))) return false;
    entry.pages.clear();
    ++entry.sequence;
  }
  return true;
}

int SaveLongLog(const char* megabytes, const char* hive_name, const char* log_name) {
  Bytes hive;
  if (!ReadFile(hive_name, hive) || hive.size() < 8192) return std::perror(hive_name), 1;
  std::FILE* file = std::fopen(log_name, "wb");
  if (file == nullptr) return std::perror(log_name), 1;
  const bool written = WriteLongLog(hive, std::strtoull(megabytes, nullptr, 10) << 20, file);
  if (std::fclose(file) == 0 && written) return 0;
  return std::perror(log_name), 1;
}

int NameHostile() {
  for (const HostileHive& hostile : HostileHives()) std::printf("%s\n", hostile.name);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "hostile") == 0) return NameHostile();
  if (argc == 5 && std::strcmp(argv[1], "long-log") == 0) {
    return SaveLongLog(argv[2], argv[3], argv[4]);
  }
  if (argc < 3) return Usage();
  for (const HostileHive& hostile : HostileHives()) {
    if (std::strcmp(argv[1], hostile.name) != 0) continue;
    if (argc != 4) return Usage();
    return Save(argv[3], hostile.make(std::strtod(argv[2], nullptr)));
  }
  for (const Shape& shape : kShapes) {
    if (std::strcmp(argv[1], shape.name) != 0) continue;
    if (argc != (shape.counted ? 4 : 3)) return Usage();
    const unsigned long count = shape.counted ? std::strtoul(argv[2], nullptr, 10) : 0;
    const char* name = argv[argc - 1];
    return Save(name, shape.make(static_cast<uint32_t>(count)));
  }
  return Usage();
}
