// make-hive KIND [COUNT] FILE: writes a hive made by rule.
// make-hive KIND MEGABYTES FILE: likewise, one that is made to hurt; "make-hive hostile" names
// them.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/support/hostile_hives.h"
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

int NameHostile() {
  for (const HostileHive& hostile : HostileHives()) std::printf("%s\n", hostile.name);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "hostile") == 0) return NameHostile();
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
