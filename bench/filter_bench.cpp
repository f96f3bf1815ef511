// filter_bench [ROWS]: what choosing rows by typed words takes; a table row a filter, seconds of
// one processor, the best of five. The rows are like those of a list of values.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "host/number_text.h"
#include "lists/row_filter.h"

namespace hivequarry {
namespace {

OutputListPtr MakeRows(uint32_t rows) {
  OutputListPtr list = MakeOutputList(kListValues);
  for (uint32_t row = 0; row < rows; ++row) {
    const uint32_t key = row / 4;
    const std::string path = Concat({"HKLM\\Software\\Classes\\CLSID\\{", Hex(key * 2654435761U, 8),
                                     "-1234-5678-9ABC-", Decimal(key, 12), "}\\InprocServer32"});
    const std::string value = Concat({"ThreadingModel", Decimal(row % 7)});
    const std::string data = Concat({"C:\\Windows\\System32\\module", Decimal(row % 5000), ".dll"});
    const std::string place = Concat({"0x", Hex(row * 96, 8)});
    const Cell cells[] = {path, value, "REG_SZ", data, place, place, "Connected"};
    NewRow added;
    added.cells = cells;
    AddRow(*list, added);
  }
  return list;
}

void Measure(const OutputList& list, const FilterWords& words) {
  double best = 1e9;
  size_t passing = 0;
  for (int run = 0; run < 5; ++run) {
    const auto start = std::chrono::steady_clock::now();
    RowFilter filter;
    std::string fault;
    if (!MakeRowFilter(list, words, filter, fault)) std::exit(1);
    const std::atomic<bool> stop{false};
    const std::vector<bool> rows = PassingRows(filter, list, 0, RowCount(list), stop);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    best = std::min(best, took.count());
    passing = static_cast<size_t>(std::count(rows.begin(), rows.end(), true));
  }
  std::printf("| %s | %zu | %.3f |\n", FilterLine(words).c_str(), passing, best);
}

}  // namespace
}  // namespace hivequarry

int main(int argc, char** argv) {
  using namespace hivequarry;
  const OutputListPtr list =
      MakeRows(argc > 1 ? static_cast<uint32_t>(std::atoi(argv[1])) : 1'000'000);
  std::printf("| filter | rows | s |\n|:---|---:|---:|\n");
  const PatternForm words = {.whole_words = true};
  const PatternForm regular = {.regular = true};
  for (const char* text : {"e", "module42", "inproc", "zzz", "\xD0\x96", "module -dll9",
                           "data:module42", "key:abc value:model3"}) {
    Measure(*list, {text, {}});
  }
  Measure(*list, {"module42", words});
  for (const char* text : {"module\\d+7\\.dll$", "(clsid|zzz).*[0-9]{3}", "^z", "(x+x+)+y"}) {
    Measure(*list, {text, regular});
  }
}
