// The steps of a load, each on hives of 1/16, 1/4 and the whole of a million keys: time per key
// must not grow with the number of keys by more than a logarithm.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <map>
#include <string>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/opening.h"
#include "recovery/disconnected_values.h"
#include "recovery/hang_keys.h"
#include "recovery/image_tree.h"
#include "recovery/scan.h"
#include "reports/hive_lists.h"
#include "tests/support/hive_builder.h"
#include "tests/support/sample_hives.h"

namespace hivequarry {
namespace {

// Hives are made once per size and kept for the run.
const std::string& HiveFile(int64_t keys) {
  static std::map<int64_t, testing::TempFile> files;
  auto at = files.find(keys);
  if (at == files.end()) {
    at = files.try_emplace(keys, testing::HiveOfKeys(static_cast<uint32_t>(keys))).first;
  }
  return at->second.name();
}

HiveImage& Open(int64_t keys) {
  ResetHiveTable();
  const int slot = OpenHive(HiveFile(keys));
  if (slot < 0) std::abort();
  return HiveOfSlot(slot);
}

void CountKeys(benchmark::State& state) {
  state.counters["keys/s"] = benchmark::Counter(static_cast<double>(state.range(0)),
                                                benchmark::Counter::kIsIterationInvariantRate);
}

void BM_Open(benchmark::State& state) {
  HiveFile(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(Open(state.range(0)).length);
  CountKeys(state);
}

void BM_Scan(benchmark::State& state) {
  HiveImage& hive = Open(state.range(0));
  ScanTables tables;
  for (auto _ : state) {
    ResetTables(hive, tables);
    ScanImage(hive, ScanPass::kCollect, ScanOptions(), tables);
  }
  CountKeys(state);
}

void BM_DisconnectedValues(benchmark::State& state) {
  HiveImage& hive = Open(state.range(0));
  ScanTables tables;
  ResetTables(hive, tables);
  ScanImage(hive, ScanPass::kCollect, ScanOptions(), tables);
  for (auto _ : state) benchmark::DoNotOptimize(FindDisconnectedValues(hive, tables));
  CountKeys(state);
}

void BM_BuildTree(benchmark::State& state) {
  HiveImage& hive = Open(state.range(0));
  KeyTree tree;
  for (auto _ : state) BuildImageTree(hive, BuildOptions(), tree);
  CountKeys(state);
}

void BM_ListTree(benchmark::State& state) {
  HiveImage& hive = Open(state.range(0));
  KeyTree tree;
  BuildImageTree(hive, BuildOptions(), tree);
  for (auto _ : state) benchmark::DoNotOptimize(RowCount(*ListKeyTree(hive, tree, 0)));
  CountKeys(state);
}

void BM_ListValues(benchmark::State& state) {
  HiveImage& hive = Open(state.range(0));
  KeyTree tree;
  BuildImageTree(hive, BuildOptions(), tree);
  for (auto _ : state) {
    benchmark::DoNotOptimize(RowCount(*ListKeyValues(hive, tree, kNoItem, ValueListOptions())));
  }
  CountKeys(state);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  for (const int keys : {62500, 250000, 1000000}) benchmark->Arg(keys);
  benchmark->Unit(benchmark::kMillisecond)->MinTime(0.2);
}

BENCHMARK(BM_Open)->Apply(Sizes);
BENCHMARK(BM_Scan)->Apply(Sizes);
BENCHMARK(BM_DisconnectedValues)->Apply(Sizes);
BENCHMARK(BM_BuildTree)->Apply(Sizes);
BENCHMARK(BM_ListTree)->Apply(Sizes);
BENCHMARK(BM_ListValues)->Apply(Sizes);

}  // namespace
}  // namespace hivequarry

BENCHMARK_MAIN();
