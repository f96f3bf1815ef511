// Every long operation, stopped at random moments while another thread reads the rows that it has
// made by then: it ends soon, what it made is the beginning of what it makes when left alone, and
// nothing that it leaves behind disturbs the next one.
//
// HIVEQUARRY_STOP_HIVE names a larger hive than the test's own, HIVEQUARRY_STOP_ROUNDS how often
// each operation is stopped on it; then the longest time to the end is printed for each.
#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <numeric>
#include <random>
#include <thread>

#include "app/list_words.h"
#include "hive/opening.h"
#include "host/long_operation.h"
#include "lists/list_order.h"
#include "lists/list_report.h"
#include "reports/file_pieces.h"
#include "reports/freed_lists.h"
#include "reports/hive_lists.h"
#include "reports/key_dates.h"
#include "reports/registry_script.h"
#include "reports/search_sieve.h"
#include "reports/structure_reports.h"
#include "security/security_lists.h"
#include "tests/support/host_recorder.h"
#include "tests/support/opened_hive.h"
#include "tests/support/sample_hives.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using testing::Bytes;
using testing::HostRecorder;
using testing::TempFile;
using Clock = std::chrono::steady_clock;

#if defined(HIVEQUARRY_ADDRESS_SANITIZER) || defined(HIVEQUARRY_THREAD_SANITIZER)
constexpr double kLimit = 2;
#else
constexpr double kLimit = 0.1;
#endif

// For an operation to end, or a thread to go on: far more than either takes.
constexpr std::chrono::seconds kMostWait{600};

const char* LargeHive() { return std::getenv("HIVEQUARRY_STOP_HIVE"); }

double Seconds(clockid_t clock) {
  timespec time = {};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// What all operations work on, made once.
struct Place {
  HostRecorder host;
  TempFile made{LargeHive() != nullptr ? Bytes() : testing::HiveOfKeys(8000)};
  std::string file = LargeHive() != nullptr ? LargeHive() : made.name();
  int slot = OpenHive(file);
  HiveImage& hive = HiveOfSlot(slot);
  KeyTree tree;
  OutputListPtr rows = MakeOutputList(kListKeyDates);
  TempFile report{Bytes(), "rows.rpt"};

  Place() {
    BuildOptions options;
    options.root_path = "HKLM\\STOP";
    BuildImageTree(hive, options, tree);
    ListKeyDates(hive, tree, 0, {}, *rows);
    std::FILE* stream = std::fopen(report.name().c_str(), "wb");
    WriteReport(*rows, {}, {}, [stream](std::string_view piece) {
      return std::fwrite(piece.data(), 1, piece.size(), stream) == piece.size();
    });
    std::fclose(stream);
  }
  ~Place() { ResetHiveTable(); }
};

// Each fills `list`, or a list of its own that it returns.
struct Operation {
  const char* what;
  int kind;  // of the list
  std::function<OutputListPtr(Place&, OutputList&)> run;
  bool ordered = true;  // rows come in their final order
};
void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.what; }

OutputListPtr Searched(Place& at, OutputList& list, SearchWay way) {
  SearchSettings asked;
  asked.text = "a";
  asked.key_names = asked.value_names = asked.value_data = asked.wide = true;
  if (way == SearchWay::kSieved) asked.text = "software";
  SearchPattern pattern;
  CompilePattern(asked, pattern);
  SearchBranchBy(way, at.hive, at.tree, 0, pattern, list);
  return nullptr;
}

// The whole way from the file to the tree, in a slot of its own.
OutputListPtr Loaded(Place& at, OutputList&) {
  const int slot = OpenHive(at.file);
  if (slot < 0) return nullptr;
  KeyTree tree;
  HiveImage& hive = HiveOfSlot(slot);
  BuildImageTree(hive, {}, tree);
  EXPECT_GE(tree.items.size(), 3u);
  EXPECT_EQ(tree.items[0].end, tree.items.size());
  FreeHiveSlot(slot);
  return nullptr;
}

OutputListPtr Sorted(Place& at, SortMode mode, int column) {
  std::vector<uint32_t> rows(RowCount(*at.rows));
  std::iota(rows.begin(), rows.end(), 0);
  std::vector<bool> met(rows.size());
  for (const uint32_t row : SortRows(*at.rows, rows, {column, mode, true}, StopRequested)) {
    met[row] = true;
  }
  EXPECT_EQ(std::ranges::count(met, false), 0);
  return nullptr;
}

template <typename Fill>
auto Fills(const Fill& fill) {
  return [fill](Place& at, OutputList& list) {
    fill(at, list);
    return OutputListPtr();
  };
}

template <typename Write>
auto Writes(const Write& write) {
  return Fills([write](Place& at, OutputList&) {
    write(at, [](std::string_view piece) { return !piece.empty(); });
  });
}

void Split(Place& at) {
  const std::string folder = at.report.name() + ".pieces";
  const OutputListPtr list = ListBlockRunsAndTell(at.file);
  std::filesystem::create_directory(folder);
  SplitFileAndTell(*list, folder);
  std::filesystem::remove_all(folder);
}

// A security list's function as an operation's.
template <auto kList>
OutputListPtr Secured(Place& at, OutputList& list) {
  kList(at.hive, at.tree, 0, {}, list);
  return nullptr;
}

SecurityQuery OwnerQuery() {
  SecurityQuery query;
  query.mode = SecurityMode::kOwner;
  query.sid = "S-1-5-32-544";
  return query;
}

std::vector<Operation> Operations() {
  std::vector<Operation> all = {
      {"load", 1, Loaded},
      {"search, plain", kListSearch,
       [](Place& at, OutputList& list) { return Searched(at, list, SearchWay::kPlain); }},
      {"search, sieved", kListSearch,
       [](Place& at, OutputList& list) { return Searched(at, list, SearchWay::kSieved); }},
      {"dates", kListKeyDates,
       Fills([](Place& at, OutputList& list) { ListKeyDates(at.hive, at.tree, 0, {}, list); })},
      {"tree", 1, [](Place& at, OutputList&) { return ListKeyTree(at.hive, at.tree, 0); }},
      {"values", 1,
       [](Place& at, OutputList&) { return ListKeyValues(at.hive, at.tree, kNoItem, {}); }},
      {"disconnected values", 1,
       [](Place& at, OutputList&) { return ListDisconnectedValues(at.hive, at.tree, {}); }},
      {"freed values", 1,
       [](Place& at, OutputList&) { return ListFreedValues(at.hive, at.tree, {}); }},
      {"blocks", 1, [](Place& at, OutputList&) { return ListBlocks(ListHiveBins(at.hive)); }},
      {"root keys", 1, [](Place& at, OutputList&) { return ListRootKeys(at.hive, at.tree); }},
      {"block runs", 1, [](Place& at, OutputList&) { return ListBlockRunsAndTell(at.file); },
       false},
      {"split", 1, Fills([](Place& at, OutputList&) { Split(at); })},
      {"security cells", kListSecurityScan,
       Fills([](Place& at, OutputList& list) { ScanSecurityCells(at.hive, {}, list); })},
      {"aces", kListAces, Fills([](Place& at, OutputList& list) { ListAces(at.hive, {}, list); })},
      {"keys by owner", kListSecurityKeys, Fills([](Place& at, OutputList& list) {
         FindKeysBySecurity(at.hive, at.tree, 0, OwnerQuery(), {}, list);
       })},
      // Their counts come at the end.
      {"used records", kListUsedRecords, Secured<ListUsedRecords>, false},
      {"owners", kListKeyOwners, Secured<ListKeyOwners>},
      {"records of keys", kListRecordKeys, Secured<ListRecordKeys>},
      {"export", 1,
       Writes([](Place& at, const TextSink& sink) { ExportBranch(at.hive, at.tree, 0, sink); })},
      {"sort by text", 1, [](Place& at, OutputList&) { return Sorted(at, SortMode::kText, 1); }},
      {"sort by date", 1, [](Place& at, OutputList&) { return Sorted(at, SortMode::kDate, 0); }},
      {"sort by level", 1, [](Place& at, OutputList&) { return Sorted(at, SortMode::kLevel, 1); }},
      {"write text", 1,
       Writes([](Place& at, const TextSink& sink) { WriteListText(*at.rows, sink); })},
      {"write csv", 1,
       Writes([](Place& at, const TextSink& sink) { WriteListCsv(*at.rows, sink); })},
      {"write json", 1,
       Writes([](Place& at, const TextSink& sink) { WriteListJsonLines(*at.rows, sink); })},
      {"write report", 1,
       Writes([](Place& at, const TextSink& sink) { WriteReport(*at.rows, {}, {}, sink); })},
      {"read report", kListKeyDates,
       Fills([](Place& at, OutputList& list) { ReadReportRowsAndTell(at.report.name(), list); })}};
  for (size_t i = 0; i < static_cast<size_t>(Report::kCount); ++i) {
    const ReportInfo& info = InfoOf(static_cast<Report>(i));
    all.push_back({info.name, info.kind, Fills([&info](Place& at, OutputList& list) {
                     RunReportOnHive(info.report, at.hive, at.tree, 0, true, list);
                   }),
                   info.report != Report::kFiles});
  }
  return all;
}

class Stop : public ::testing::TestWithParam<Operation> {
 protected:
  static void SetUpTestSuite() { place_ = new Place; }
  static void TearDownTestSuite() {
    delete place_;
    place_ = nullptr;
  }

  struct Run {
    OutputListPtr list;
    double seconds = 0;  // of the worker's own time, from the stop on
  };

  // Stopped after so long; negative: left alone.
  Run RunFor(double delay) {
    Run run;
    run.list = MakeOutputList(GetParam().kind);
    double ended = 0;
    EXPECT_TRUE(BeginOperation(kOperationLoad));
    std::thread worker([&] {
      OutputListPtr own = GetParam().run(*place_, *run.list);
      ended = Seconds(CLOCK_THREAD_CPUTIME_ID);
      made_ = std::move(own);
      done_ = true;
      // Its clock must be there to be read.
      const Clock::time_point end = Clock::now() + kMostWait;
      while (!read_ && Clock::now() < end) std::this_thread::yield();
    });
    clockid_t clock = 0;
    pthread_getcpuclockid(worker.native_handle(), &clock);
    ReadRowsFor(*run.list, delay);
    const double asked = Seconds(clock);
    RequestStop();
    read_ = true;
    worker.join();
    EndOperation();
    done_ = read_ = false;
    if (made_ != nullptr) run.list = std::move(made_);
    run.seconds = ended - asked;
    return run;
  }

  void ReadRowsFor(const OutputList& list, double delay) {
    const Clock::time_point start = Clock::now();
    while (!done_) {
      const std::chrono::duration<double> passed = Clock::now() - start;
      if (delay >= 0 && passed.count() >= delay) break;
      if (passed >= kMostWait) {
        ADD_FAILURE() << "it does not end";
        break;
      }
      const uint32_t rows = RowCount(list);
      if (rows != 0)
        read_characters_ +=
            testing::RowText(list, rows - 1).size() + testing::RowText(list, rows / 2).size();
      std::this_thread::yield();
    }
  }

  static Place* place_;

 private:
  std::atomic<bool> done_{false};
  std::atomic<bool> read_{false};
  size_t read_characters_ = 0;  // so that none of the reading is left out
  OutputListPtr made_;
};
Place* Stop::place_ = nullptr;

TEST_P(Stop, EndsItSoonAndLeavesNothingBehind) {
  const Clock::time_point start = Clock::now();
  const OutputListPtr whole = RunFor(-1).list;
  const double length = std::chrono::duration<double>(Clock::now() - start).count();
  const char* asked = std::getenv("HIVEQUARRY_STOP_ROUNDS");
  const int rounds = asked == nullptr ? 3 : std::atoi(asked);
  const char* named = std::getenv("HIVEQUARRY_SEED");
  const uint32_t seed = named == nullptr ? std::random_device{}()
                                         : static_cast<uint32_t>(std::strtoul(named, nullptr, 10));
  SCOPED_TRACE("HIVEQUARRY_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  double longest = 0;
  for (int round = 0; round < rounds; ++round) {
    const Run run = RunFor(std::uniform_real_distribution<double>(0, length)(random));
    longest = std::max(longest, run.seconds);
    const uint32_t rows = RowCount(*run.list);
    ASSERT_LE(rows, RowCount(*whole));
    for (uint32_t row = 0; row < rows && GetParam().ordered; ++row) {
      ASSERT_EQ(testing::RowText(*run.list, row), testing::RowText(*whole, row)) << row;
    }
  }
  EXPECT_LT(longest, kLimit);
  EXPECT_EQ(RowCount(*RunFor(-1).list), RowCount(*whole));
  EXPECT_EQ(place_->host.waiting, 0);
  EXPECT_TRUE(place_->host.messages.empty()) << place_->host.messages[0].text;
  if (LargeHive() == nullptr) return;
  std::printf("%s: %u rows, %.0f ms; stopped within %.1f ms\n", GetParam().what, RowCount(*whole),
              length * 1e3, longest * 1e3);
}

INSTANTIATE_TEST_SUITE_P(Operations, Stop, ::testing::ValuesIn(Operations()));

}  // namespace
}  // namespace hivequarry
