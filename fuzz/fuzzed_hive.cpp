#include "fuzz/fuzzed_hive.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "hive/opening.h"
#include "records/base_block.h"
#include "records/bin_header.h"

// libFuzzer's own mutation, also after a custom one.
extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size);

namespace hivequarry::fuzzing {
namespace {

// A file in memory that is written anew for each input.
struct MemoryFile {
  int descriptor = memfd_create("hive", 0);
  std::string name = "/proc/self/fd/" + std::to_string(descriptor);
};

int OpenInput(const uint8_t* data, size_t size) {
  static const MemoryFile file;
  Require(file.descriptor >= 0 && ftruncate(file.descriptor, 0) == 0);
  Require(pwrite(file.descriptor, data, size, 0) == static_cast<ssize_t>(size));
  const int slot = OpenHive(file.name);
  Require(slot > 0);
  return slot;
}

uint32_t LoadWord(const uint8_t* data) {
  uint32_t word = 0;
  std::memcpy(&word, data, sizeof(word));
  return word;
}

// The positions of a few cells, by walking sizes from a random place.
uint32_t SomeCell(const uint8_t* data, size_t size, uint32_t seed) {
  uint32_t at = static_cast<uint32_t>((seed * 8) % size) / 8 * 8;
  for (size_t steps = 0; steps < 4096 && at + 8 <= size; ++steps, at += 8) {
    if (LoadWord(data + at) > 0x80000000 && LoadWord(data + at) % 8 == 0) return at;
  }
  return 4128;
}

// What damages a file as a whole: bytes lost or put in, the front cut off, a stretch overwritten by
// another. Mostly in steps that keep cells on their 8-byte places, for other steps end all of them.
size_t MoveStretch(uint8_t* data, size_t size, size_t max_size, uint32_t seed) {
  const size_t step = seed % 8 == 0 ? 1 : seed % 8 < 4 ? 8 : 4096;
  const size_t amount = std::min(((seed >> 3) % 16 + 1) * step, size / 2);
  const size_t at = (seed >> 9) % (size - amount);
  switch ((seed >> 7) % 4) {
    case 0:
      if (size + amount > max_size) return size;
      std::memmove(data + at + amount, data + at, size - at);
      return size + amount;
    case 1:
      std::memmove(data + at, data + at + amount, size - at - amount);
      return size - amount;
    case 2:
      std::memmove(data, data + amount, size - amount);
      return size - amount;
    default: {
      const size_t from = at / 4096 * 4096;
      const size_t to = size_t{seed} * 7 % (size - amount) / 4096 * 4096;
      std::memmove(data + to, data + from, amount);
      return size;
    }
  }
}

// What systems keep in order: each bin's own offset and its size up to the next one, the length of
// all, the checksum. A damaged record in a hive that is whole otherwise gets further than one that
// the sums give away.
void KeepWhole(uint8_t* data, size_t size) {
  const size_t end = size / kBaseBlockSize * kBaseBlockSize;
  const auto store = [data](size_t at, size_t word) {
    const auto stored = static_cast<uint32_t>(word);
    std::memcpy(data + at, &stored, sizeof stored);
  };
  size_t bin = 0;  // the one whose end is not known yet
  for (size_t at = kBaseBlockSize; at <= end; at += kBaseBlockSize) {
    if (at < end && LoadWord(data + at) != kBinSignature) continue;
    if (bin != 0) store(bin + kBinSize, at - bin);
    if (at < end) store(at + kBinOwnOffset, at - kBaseBlockSize);
    bin = at;
  }
  store(kBaseLength, end - kBaseBlockSize);
  store(kBaseChecksum, BaseBlockChecksum({data, size}));
}

}  // namespace

void Require(bool holds) {
  if (!holds) std::abort();
}

FuzzedHive::FuzzedHive(const uint8_t* data, size_t size, const BuildOptions& options)
    : slot_(OpenInput(data, size)), hive(HiveOfSlot(slot_)) {
  summary = BuildImageTree(hive, options, tree);
}

FuzzedHive::~FuzzedHive() { FreeHiveSlot(slot_); }

}  // namespace hivequarry::fuzzing

namespace {

using namespace hivequarry;
using namespace hivequarry::fuzzing;

// Most of the time one field of one cell is set to something that fields hold: another cell's
// offset, a number at an edge, another record's signature. Blind mutation seldom hits those.
size_t Mutate(uint8_t* data, size_t size, size_t max_size, unsigned int seed) {
  constexpr uint32_t kEdges[] = {0,          1,          2,          8,         0xFFFF,
                                 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x500000,  0xFFFFFFF8,
                                 0x80000004, 0x10000,    0x1000,     0xFFFFF000};
  constexpr char kSignatures[] = "nkvksklflhliridblk";
  if (size < 4200 || seed % 3 == 0) return LLVMFuzzerMutate(data, size, max_size);
  if (seed % 7 == 6) return MoveStretch(data, size, max_size, seed / 7);
  const uint32_t cell = SomeCell(data, size, seed / 3);
  const uint32_t field = cell + (seed >> 7) % 24 * 4;
  if (field + 4 > size) return LLVMFuzzerMutate(data, size, max_size);
  uint32_t word = kEdges[(seed >> 12) % std::size(kEdges)];
  if (seed % 3 == 1) word = SomeCell(data, size, seed >> 5) - 4096;
  if (seed % 16 == 5) {
    std::memcpy(data + cell + 4, kSignatures + 2 * ((seed >> 9) % 9), 2);
  } else if (seed % 16 == 6) {
    data[field + (seed >> 4) % 4] = static_cast<uint8_t>(seed >> 16);
  } else {
    std::memcpy(data + field, &word, sizeof(word));
  }
  return size;
}

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size,
                                          unsigned int seed) {
  const size_t mutated = Mutate(data, size, max_size, seed);
  const bool hive = mutated >= 2 * kBaseBlockSize && LoadWord(data) == kHiveSignature;
  if (hive && (seed >> 5) % 2 == 0) KeepWhole(data, mutated);
  return mutated;
}
