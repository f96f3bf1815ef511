// Search and key dates on a loaded hive, in seconds.
//
// usage: search_bench HIVE [RUNS]
// One line a figure: what it is, and the median of RUNS (5) runs. The patterns of the searches
// named "none" are nowhere in the generated hives; that of the others in many of their values.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/opening.h"
#include "host/long_operation.h"
#include "recovery/image_tree.h"
#include "reports/key_dates.h"
#include "reports/search.h"
#include "reports/search_sieve.h"

namespace hivequarry {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Opened {
  HiveImage* hive = nullptr;
  KeyTree tree;
};

Opened Load(const char* name) {
  ResetHiveTable();
  Opened opened;
  const int slot = OpenHive(name);
  if (slot < 0) std::exit(1);
  opened.hive = &HiveOfSlot(slot);
  BuildImageTree(*opened.hive, BuildOptions(), opened.tree);
  return opened;
}

SearchPattern PatternOf(const char* text) {
  SearchSettings settings;
  settings.text = text;
  settings.key_names = settings.value_names = settings.value_data = true;
  SearchPattern pattern;
  CompilePattern(settings, pattern);
  return pattern;
}

template <typename Work>
void Report(const char* what, int runs, const Work& work) {
  std::vector<double> seconds;
  for (int i = 0; i < runs; ++i) seconds.push_back(work());
  std::ranges::sort(seconds);
  std::printf("%s\t%.4f\n", what, seconds[seconds.size() / 2]);
}

double TimeSearch(const Opened& opened, SearchWay way, const char* text) {
  const OutputListPtr list = MakeSearchList(false);
  const SearchPattern pattern = PatternOf(text);
  const Clock::time_point start = Clock::now();
  SearchBranchBy(way, *opened.hive, opened.tree, 0, pattern, *list);
  return SecondsSince(start);
}

// Until the first row can be read by another thread.
double TimeFirstRow(const Opened& opened, const char* text) {
  const OutputListPtr list = MakeSearchList(false);
  const SearchPattern pattern = PatternOf(text);
  std::atomic<bool> ended{false};
  BeginOperation(kOperationQuietA);
  const Clock::time_point start = Clock::now();
  std::thread worker([&] {
    SearchBranch(*opened.hive, opened.tree, 0, pattern, *list);
    ended = true;
  });
  while (RowCount(*list) == 0 && !ended) std::this_thread::yield();
  const double seconds = SecondsSince(start);
  RequestStop();
  worker.join();
  EndOperation();
  return seconds;
}

double TimeKeyDates(const Opened& opened) {
  const OutputListPtr list = MakeOutputList(kListKeyDates);
  const Clock::time_point start = Clock::now();
  ListKeyDates(*opened.hive, opened.tree, 0, KeyDateRange(), *list);
  return SecondsSince(start);
}

int Run(const char* name, int runs) {
  Opened opened = Load(name);
  Report("search none", runs, [&] { return TimeSearch(opened, SearchWay::kBest, "zzqqnohit"); });
  Report("search none plain", runs,
         [&] { return TimeSearch(opened, SearchWay::kPlain, "zzqqnohit"); });
  Report("search none, Cyrillic", runs, [&] {
    return TimeSearch(opened, SearchWay::kBest, "\u0441\u0435\u043A\u0440\u0435\u0442");
  });
  Report("search none, Japanese", runs,
         [&] { return TimeSearch(opened, SearchWay::kBest, "\u79D8\u5BC6"); });
  Report("search many", runs, [&] { return TimeSearch(opened, SearchWay::kBest, "publisher"); });
  Report("search first row", runs, [&] { return TimeFirstRow(opened, "publisher"); });
  Report("key dates", runs, [&] { return TimeKeyDates(opened); });
  Report("load", runs, [&] {
    const Clock::time_point start = Clock::now();
    opened = Load(name);
    return SecondsSince(start);
  });
  return 0;
}

}  // namespace
}  // namespace hivequarry

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: search_bench HIVE [RUNS]\n");
    return 2;
  }
  return hivequarry::Run(argv[1], argc > 2 ? std::max(std::atoi(argv[2]), 1) : 5);
}
