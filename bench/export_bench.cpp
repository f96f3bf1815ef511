// export_bench HIVE...: writing the registry script of a whole hive, next to loading it; a table
// row a hive, the best of RUNS (5). The script goes nowhere, so a disk is no part of it.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/opening.h"
#include "recovery/image_tree.h"
#include "reports/registry_script.h"

namespace hivequarry {
namespace {

template <typename Work>
double Seconds(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool Measure(const char* file, int runs) {
  double load = 1e9;
  double written = 1e9;
  size_t bytes = 0;
  for (int run = 0; run < runs; ++run) {
    ResetHiveTable();
    KeyTree tree;
    int slot = -1;
    const double opened = Seconds([&] { slot = OpenHive(file); });
    if (slot < 0) return false;
    HiveImage& hive = HiveOfSlot(slot);
    load = std::min(load, opened + Seconds([&] { BuildImageTree(hive, BuildOptions(), tree); }));
    bytes = 0;
    const TextSink sink = [&bytes](std::string_view text) {
      bytes += text.size();
      return true;
    };
    written = std::min(written, Seconds([&] { ExportBranch(hive, tree, 0, sink); }));
  }
  std::printf("| %s | %.1f | %.2f | %.2f | %.2f |\n", file, static_cast<double>(bytes) / 1e6, load,
              written, written / load);
  return true;
}

}  // namespace
}  // namespace hivequarry

int main(int argc, char** argv) {
  const char* runs = std::getenv("RUNS");
  std::printf("| hive | script MB | load s | export s | export / load |\n");
  std::printf("|:---|---:|---:|---:|---:|\n");
  bool read = true;
  for (int i = 1; i < argc; ++i) {
    read = hivequarry::Measure(argv[i], runs != nullptr ? std::atoi(runs) : 5) && read;
  }
  return read ? 0 : 1;
}
