// Reports on hives that are made to cost time: each takes as long as the file is large, no longer.
#include <gtest/gtest.h>

#include "host/shortfalls.h"
#include "reports/structure_reports.h"
#include "tests/support/deadline.h"
#include "tests/support/hostile_hives.h"
#include "tests/support/opened_hive.h"
#include "tests/support/plain_cells.h"
#include "tests/support/report_hives.h"
#include "words/value_text.h"

namespace hivequarry::testing {
namespace {

double Allowed(const Bytes& bytes) {
  return kSeconds * (0.5 + 0.2 * static_cast<double>(bytes.size()) / 1e6);
}

uint32_t RowsOfReport(const OpenedHive& opened, Report report, uint32_t item) {
  const OutputListPtr list = MakeOutputList(InfoOf(report).kind);
  RunReportOnHive(report, opened.hive, opened.tree, item, true, *list);
  return RowCount(*list);
}

void RunEach(const Bytes& bytes) {
  const OpenedHive opened{std::span<const uint8_t>(bytes)};
  for (int i = 0; i < static_cast<int>(Report::kCount); ++i) {
    const auto report = static_cast<Report>(i);
    SCOPED_TRACE(InfoOf(report).name);
    const Deadline deadline(Allowed(bytes));
    RowsOfReport(opened, report, 0);
  }
}

constexpr int kHiveSize = 6000 / kSizeShare;  // keys or values of a hive

// What the keys are called that reports begin at, look for or go by.
constexpr const char* kNames[] = {"Services", "Uninstall", "UserAssist", "Count",
                                  "CLSID",    "Classes",   ".txt",       "OpenWithList",
                                  "BagMRU",   "StreamMRU", "ProgID",     "OpenSaveMRU"};

// A value of every kind that some report reads.
std::vector<uint32_t> SomeValues(PlainCells& cells) {
  return {cells.Value("", kRegSz, Utf16Z("a\\b.exe")),
          cells.Value("0", kRegBinary,
                      Bytes{18, 0, 0x31, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 'f', 0, 0, 0, 0, 0}),
          cells.Value("NodeSlot", kRegDword, Bytes{1, 0, 0, 0}),
          cells.Value("MRUListEx", kRegBinary, Bytes{0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF})};
}

TEST(ReportCosts, NestedKeys) {
  for (const char* name : kNames) {
    SCOPED_TRACE(name);
    PlainCells cells("HKCU_Classes");
    uint32_t key = cells.root;
    for (int level = 0; level < kHiveSize; ++level) {
      const uint32_t child = cells.Key(key, name);
      cells.SetValues(child, SomeValues(cells));
      cells.List(key, std::span(&child, 1));
      key = child;
    }
    RunEach(cells.Finish());
  }
}

TEST(ReportCosts, WideKeys) {
  for (const char* name : kNames) {
    SCOPED_TRACE(name);
    PlainCells cells("HKCU_Classes");
    const uint32_t parent = cells.Key(cells.root, name);
    std::vector<uint32_t> children;
    for (int i = 0; i < kHiveSize; ++i) {
      children.push_back(cells.Key(parent, i % 2 == 0 ? name : std::to_string(i % 100)));
      cells.SetValues(children.back(), SomeValues(cells));
    }
    cells.List(parent, children);
    cells.List(cells.root, std::span(&parent, 1));
    RunEach(cells.Finish());
  }
}

TEST(ReportCosts, ManyValuesOfOneKey) {
  for (const char* name : kNames) {
    SCOPED_TRACE(name);
    PlainCells cells("HKCU_Classes");
    const uint32_t key = cells.Key(cells.root, name);
    std::vector<uint32_t> values;
    for (int i = 0; i < kHiveSize; ++i) {
      for (const uint32_t value : SomeValues(cells)) values.push_back(value);
    }
    cells.SetValues(key, values);
    cells.List(cells.root, std::span(&key, 1));
    RunEach(cells.Finish());
  }
}

class HostileReports : public ::testing::TestWithParam<Bytes (*)(double)> {};

TEST_P(HostileReports, TakeLinearTime) { RunEach(GetParam()(3)); }

INSTANTIATE_TEST_SUITE_P(Cases, HostileReports,
                         ::testing::Values(TypesApart, StreamsApart, NestedFolders, TextsOfBlanks,
                                           TextsOfPaths));

// The folders of a deep tree go on from the last ones above, though the paths of their keys are
// shortened there.
TEST(ReportCosts, FoldersOfADeepTree) {
  const OpenedHive opened{std::span<const uint8_t>(NestedFolders(2))};
  const OutputListPtr list = MakeOutputList(InfoOf(Report::kStreamMru).kind);
  RunReportOnHive(Report::kStreamMru, opened.hive, opened.tree, 0, false, *list);
  const uint32_t rows = RowCount(*list);
  ASSERT_GT(rows, 5000u);
  EXPECT_EQ(CellText(*list, 1, 0), "f\\f");
  for (uint32_t row = 400; row < rows; row += 100) {
    const std::string_view path = CellText(*list, row, 0);
    EXPECT_TRUE(path.starts_with("...\\f\\") && path.size() < 540) << path;
  }
}

// A text with more paths than rows are made of says how many are missing.
TEST(ReportCosts, PathsLeftOutAreCounted) {
  HiveBuilder builder;
  std::string text;
  for (int i = 0; i < 70; ++i) text += "C:\\a;";
  builder.Key("K").Sz("v", text);
  const OpenedHive opened(builder.Build());
  ForgetShortfalls();
  EXPECT_EQ(RowsOfReport(opened, Report::kFiles, 0), 64u);
  EXPECT_EQ(ShortfallCount(Shortfall::kRows), 6u);
  ForgetShortfalls();
}

}  // namespace
}  // namespace hivequarry::testing
