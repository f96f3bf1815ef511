// Carving of any bytes: nothing that they claim leads outside, and no work grows beyond them.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "cases/carve.h"
#include "cases/lznt1.h"
#include "host/shortfalls.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace hivequarry;
  std::vector<uint8_t> out;
  DecodeLznt1({data, size}, 16 * kLznt1Chunk, out);
  if (out.size() > 16 * kLznt1Chunk) __builtin_trap();
  out.clear();
  DecodePlainLz77({data, size}, kLznt1Chunk, out);
  if (out.size() > kLznt1Chunk) __builtin_trap();
  static const int descriptor = memfd_create("image", 0);
  static const std::string name = "/proc/self/fd/" + std::to_string(descriptor);
  const bool written = ftruncate(descriptor, 0) == 0 &&
                       pwrite(descriptor, data, size, 0) == static_cast<ssize_t>(size);
  if (!written) __builtin_trap();
  ForgetShortfalls();
  const CarvedFile carved = CarveFile(name, {true});
  for (const Carved& each : carved.found) {
    for (const FileRange& part : each.parts) {
      if (part.position + part.size > size) __builtin_trap();
    }
  }
  ListCarved(carved);
  return 0;
}
