// Logs of hives: which entries are applied, what comes out, and what is said of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include "app/opening_words.h"
#include "bytes/sha256.h"
#include "hive/key_tree.h"
#include "host/evidence.h"
#include "lists/list_writers.h"
#include "reports/freed_lists.h"
#include "reports/hive_lists.h"
#include "reports/hive_state.h"
#include "reports/log_lists.h"
#include "reports/log_records.h"
#include "reports/removed_state.h"
#include "tests/support/logged_hive.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"
#include "view/hive_status.h"
#include "words/item_values.h"

namespace hivequarry {
namespace {

using testing::Bytes;
using testing::EntryBetween;
using testing::LoggedFiles;
using testing::LoggedHive;
using testing::LogStory;
using testing::MakeLogStory;
using testing::NewLog;

// --- real hives ----------------------------------------------------------------------------------

std::filesystem::path CorpusFolder() {
  const char* named = std::getenv("HIVEQUARRY_CORPUS");
  if (named != nullptr && *named != '\0') return named;
  return std::filesystem::path(HIVEQUARRY_SOURCE_DIR) / ".." / "shared" / "hives";
}

class RealLogs : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(CorpusFolder() / "NewDirtyHive.LOG1")) {
      GTEST_SKIP() << "real logs are not tested: none in " << CorpusFolder()
                   << " (HIVEQUARRY_CORPUS names another folder)";
    }
  }
  void TearDown() override { ResetHiveTable(); }

  static Bytes ReadFile(const std::string& name) {
    return testing::ContentOf<Bytes>((CorpusFolder() / name).string());
  }
  static LoggedFiles Files(const std::string& name) {
    LoggedFiles files;
    files.hive = ReadFile(name);
    for (const char* ending : {".LOG1", ".LOG2"}) {
      if (std::filesystem::exists(CorpusFolder() / (name + ending))) {
        files[ending] = ReadFile(name + ending);
      }
    }
    return files;
  }
};

struct Outcome {
  const char* applied;
  uint32_t keys;  // connected ones
  uint32_t values;
  const char* bins;  // start of their hash
};

void ExpectOutcome(LoggedHive& hive, const Outcome& wanted) {
  ASSERT_TRUE(hive.opened());
  EXPECT_EQ(hive.Applied(), wanted.applied);
  EXPECT_EQ(hive.summary().connected_keys, wanted.keys);
  EXPECT_EQ(hive.summary().values, wanted.values);
  EXPECT_TRUE(Sha256Text(hive.Bins()).starts_with(wanted.bins)) << Sha256Text(hive.Bins());
  const PlanInput after = PlanInputOf(ImageBytes(hive.hive()));
  EXPECT_EQ(after.dirty(), hive.logs().steps.empty() && hive.logs().hive.dirty());
}

TEST_F(RealLogs, WholeRuns) {
  struct Case {
    const char* name;
    Outcome before;
    Outcome after;
  };
  const Case cases[] = {
      {"NewDirtyHive",
       {"", 5, 2, "76f0aa2acd899851"},
       {"LOG1 2; LOG2 3..5", 5, 1,
        "d762fa532cd95f274afb9277ca269d9a4f711b34a3734898b060382d5bea9237"}},
      {"UsrClass.dat",
       {"", 6205, 12369, ""},
       {"LOG1 287..290; LOG2 291..300", 6238, 12531,
        "ecc04a58aa3d2467871e80e393eb8469a5fdd425f37fc88f55308efc2f384930"}},
      {"OldDirtyHive",
       {"", 5003, 0, ""},
       {"LOG1 5", 5003, 1, "23c97d7cc7947d32b5b7dc7a3761bc1191e6d5b84797a53dea08084d4cb2b56f"}}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    LoggedHive hive(Files(each.name));
    ExpectOutcome(hive, each.after);
    hive.Reopen({LogMode::kNone, {}});
    ExpectOutcome(hive, each.before);
    EXPECT_EQ(hive.logs().state, ReplayState::kNotAsked);
  }
}

TEST_F(RealLogs, StatesInBetween) {
  LoggedHive hive(Files("NewDirtyHive"));
  const Outcome wanted[] = {{"LOG1 2", 5, 2, "76f0aa2acd899851"},
                            {"LOG1 2; LOG2 3", 8, 2, "c43b8943cbfcbaeb"},
                            {"LOG1 2; LOG2 3..4", 4, 1, "1be9f46c42c70544"},
                            {"LOG1 2; LOG2 3..5", 5, 1, "d762fa532cd95f27"}};
  for (uint32_t entry = 2; entry <= 5; ++entry) {
    SCOPED_TRACE(entry);
    hive.Reopen(testing::Until(entry));
    ExpectOutcome(hive, wanted[entry - 2]);
  }
  hive.Reopen(testing::Until(1));
  ExpectOutcome(hive, {"", 5, 2, "76f0aa2acd899851"});
  EXPECT_EQ(hive.logs().state, ReplayState::kUntil);
}

TEST_F(RealLogs, KeysOfTheNewestState) {
  LoggedHive user(Files("UsrClass.dat"));
  const std::string path = "Local Settings\\Software\\Microsoft\\Windows\\Shell\\BagMRU\\10\\0\\0";
  const uint32_t item = FindItemByPath(user.hive(), user.tree(), path);
  ASSERT_NE(item, kNoItem);
  EXPECT_EQ(user.tree().items[item].position, 0x1B6200U);
  LoggedHive old(Files("OldDirtyHive"));
  const auto has = [&](const char* key) {
    return FindItemByPath(old.hive(), old.tree(), std::string("key_with_many_subkeys\\") + key) !=
           kNoItem;
  };
  EXPECT_TRUE(has("5000\\find_me_in_log"));
  EXPECT_FALSE(has("1"));
}

void Renumber(Bytes& file, uint32_t less) {
  for (const uint32_t at : {4U, 8U}) testing::PutU32(file, at, testing::GetU32(file, at) - less);
  testing::FixBaseChecksum(file);
}

// The hashes of the entry's header and pages made right.
void FixEntry(Bytes& log, uint32_t at) {
  const uint32_t size = testing::GetU32(log, at + 4);
  testing::PutU64(log, at + 24, LogHash(PartOf(log, at + kLogEntryHeader, size - kLogEntryHeader)));
  testing::PutU64(log, at + 32, LogHash(PartOf(log, at, 32)));
}

uint32_t EntryAt(const Bytes& log, int number) {
  uint32_t at = kLogUnit;
  for (; number > 0; --number) at += testing::GetU32(log, at + 4);
  return at;
}

TEST_F(RealLogs, Variants) {
  constexpr Outcome kAll = {"LOG1 2; LOG2 3..5", 5, 1, "d762fa532cd95f27"};
  constexpr Outcome kToThree = {"LOG1 2; LOG2 3", 8, 2, "c43b8943cbfcbaeb"};
  constexpr Outcome kFirstLog = {"LOG1 2", 5, 2, "76f0aa2acd899851"};
  constexpr Outcome kSecondLog = {"LOG2 3..5", 5, 1, "d762fa532cd95f27"};
  constexpr Outcome kNothing = {"", 5, 2, "76f0aa2acd899851"};
  struct Case {
    const char* name;
    void (*change)(LoggedFiles& files);
    Outcome wanted;
  };
  const Case cases[] = {
      {"names swapped",
       [](LoggedFiles& f) { std::swap(f[".LOG1"], f[".LOG2"]); },
       {"LOG2 2; LOG1 3..5", 5, 1, "d762fa532cd95f27"}},
      {"other case",
       [](LoggedFiles& f) { f.beside[0].first = ".log1"; },
       {"log1 2; LOG2 3..5", 5, 1, "d762fa532cd95f27"}},
      {"cut in entry 5",
       [](LoggedFiles& f) { f[".LOG2"].resize(40448); },
       {"LOG1 2; LOG2 3..4", 4, 1, "1be9f46c42c70544"}},
      {"cut in entry 4", [](LoggedFiles& f) { f[".LOG2"].resize(20000); }, kToThree},
      {"bit in entry 4's pages", [](LoggedFiles& f) { f[".LOG2"][20000] ^= 1; }, kToThree},
      {"bit in entry 4's header", [](LoggedFiles& f) { f[".LOG2"][8204] ^= 1; }, kToThree},
      {"entry 4 has number 6",
       [](LoggedFiles& f) {
         const uint32_t at = EntryAt(f[".LOG2"], 1);
         testing::PutU32(f[".LOG2"], at + 12, 6);
         FixEntry(f[".LOG2"], at);
       },
       kToThree},
      {"entry 4 has another bins size",
       [](LoggedFiles& f) {
         const uint32_t at = EntryAt(f[".LOG2"], 1);
         testing::PutU32(f[".LOG2"], at + 16, 20481);
         FixEntry(f[".LOG2"], at);
       },
       kToThree},
      {"bit in entry 3", [](LoggedFiles& f) { f[".LOG2"][600] ^= 1; }, kFirstLog},
      {"LOG2 empty", [](LoggedFiles& f) { f[".LOG2"].clear(); }, kFirstLog},
      {"LOG2 missing", [](LoggedFiles& f) { f.Remove(".LOG2"); }, kFirstLog},
      {"LOG2 checksum", [](LoggedFiles& f) { f[".LOG2"][12] ^= 1; }, kFirstLog},
      {"LOG1 empty", [](LoggedFiles& f) { f[".LOG1"].clear(); }, kSecondLog},
      {"LOG1 missing", [](LoggedFiles& f) { f.Remove(".LOG1"); }, kSecondLog},
      {"LOG1 numbers differ", [](LoggedFiles& f) { testing::SetNumbers(f[".LOG1"], 2, 1); },
       kSecondLog},
      {"hive's checksum", [](LoggedFiles& f) { f.hive[12] ^= 1; }, kSecondLog},
      {"clean", [](LoggedFiles& f) { testing::SetNumbers(f.hive, 3, 3); }, kNothing},
      {"logs too old", [](LoggedFiles& f) { testing::SetNumbers(f.hive, 9, 8); }, kNothing},
      {"numbers go round",
       [](LoggedFiles& f) {
         for (Bytes* file : {&f.hive, &f[".LOG1"], &f[".LOG2"]}) Renumber(*file, 4);
         for (auto& [name, log] : f.beside) {
           const int entries = name == ".LOG1" ? 1 : 3;
           for (int i = 0; i < entries; ++i) {
             const uint32_t at = EntryAt(log, i);
             testing::PutU32(log, at + 12, testing::GetU32(log, at + 12) - 4);
             FixEntry(log, at);
           }
         }
       },
       {"LOG1 4294967294; LOG2 4294967295..1", 5, 1, "d762fa532cd95f27"}},
      {"hive cut to its bins", [](LoggedFiles& f) { f.hive.resize(24576); }, kAll},
      {"hive cut to one block", [](LoggedFiles& f) { f.hive.resize(8192); }, kAll},
      {"a dummy log beside the pair",
       [](LoggedFiles& f) {
         f.beside.push_back({".LOG", f.beside[0].second});
       },
       kAll},
  };
  const LoggedFiles sound = Files("NewDirtyHive");
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    LoggedFiles files = sound;
    each.change(files);
    LoggedHive hive(files);
    ExpectOutcome(hive, each.wanted);
  }
}

// --- hives made here -----------------------------------------------------------------------------

bool HasKey(LoggedHive& hive, const char* path) {
  return FindItemByPath(hive.hive(), hive.tree(), std::string(path)) != kNoItem;
}

TEST(Replay, BringsWhatTheLogsHold) {
  const LogStory story = MakeLogStory();
  LoggedHive hive(story.files);
  EXPECT_EQ(hive.Applied(), "LOG1 10; LOG2 11");
  EXPECT_TRUE(HasKey(hive, "Comes\\Later"));
  EXPECT_FALSE(HasKey(hive, "Goes"));
  const ByteView bins = hive.Bins();
  EXPECT_TRUE(std::equal(bins.begin(), bins.end(), story.states[2].begin() + 4096));
  EXPECT_EQ(LogsWords(hive.hive()),
            "Dirty hive (sequence numbers 10 and 9 differ): shown as its logs make it, in memory "
            "alone. Applied: HIVE.LOG1, entry 10; HIVE.LOG2, entry 11");
  EXPECT_FALSE(LacksLogs(hive.hive()));
  const PlanInput after = PlanInputOf(ImageBytes(hive.hive()));
  EXPECT_EQ(after.base.sequence1, 11U);
  EXPECT_EQ(testing::ContentOf<Bytes>(hive.name()), story.files.hive) << "the file was changed";
  hive.Reopen(testing::Until(10));
  EXPECT_TRUE(HasKey(hive, "Comes"));
  EXPECT_TRUE(HasKey(hive, "Goes"));
}

// Every byte that differs from the file came from a log, from where the table says.
TEST(Replay, OriginsOfBytes) {
  const LogStory story = MakeLogStory();
  LoggedHive hive(story.files);
  const ByteView image = ImageBytes(hive.hive());
  const HiveLogs& logs = hive.logs();
  for (uint32_t at = 4096; at < image.size(); ++at) {
    const LogOrigin origin = OriginOf(hive.hive(), at, 1);
    const bool same = at < story.files.hive.size() && story.files.hive[at] == image[at];
    ASSERT_TRUE(same || origin.found) << at;
    if (!origin.found) continue;
    const HiveLog& log = LogOf(logs, logs.steps[origin.step]);
    ASSERT_EQ(log.bytes()[origin.log_position], image[at]) << at;
  }
  ASSERT_FALSE(logs.changed.empty());
  const std::string words = OriginWords(logs, 1, 0x1234);
  EXPECT_EQ(words, "HIVE.LOG2 at 0x00001234 (4660), entry 11");
}

// Bounds under which no log is held and notes of changes are made short all the time.
struct SmallBounds {
  SmallBounds() { TheLogBounds() = {600, 1000, 1000, 2}; }
  ~SmallBounds() { TheLogBounds() = LogBounds(); }
};

// All that came of a hive's logs.
std::string ResultOf(const LoggedFiles& files) {
  LoggedHive hive(files);
  std::string text = hive.Applied() + " " + Sha256Text(ImageBytes(hive.hive()));
  const auto add = [&text](uint32_t number) { text += " " + std::to_string(number); };
  for (const HiveLog& log : hive.logs().logs) {
    for (const auto& entries : {log.entries, log.leftovers}) {
      for (const LogEntry& entry : entries) add(entry.position), add(entry.size), add(entry.pages);
    }
    add(log.stop_at), add(static_cast<uint32_t>(log.stop)), add(static_cast<uint32_t>(log.fault));
  }
  for (const LoggedRange& range : hive.logs().changed) {
    add(range.position), add(range.end), add(range.log_position), add(range.step);
  }
  WriteListCsv(*ListLogRecords(hive.hive(), hive.tree()), [&text](std::string_view piece) {
    text += piece;
    return true;
  });
  return text;
}

void ExpectSameWithoutHolding(const LoggedFiles& files) {
  const std::string held = ResultOf(files);
  const SmallBounds small;
  EXPECT_EQ(ResultOf(files), held);
}

TEST(Replay, ALogThatIsNotHeldGivesTheSame) {
  LogStory story = MakeLogStory();
  ExpectSameWithoutHolding(story.files);
  story.files[".LOG1"].back() ^= 1;
  ExpectSameWithoutHolding(story.files);
  story.files.Remove(".LOG2");
  story.files[".LOG1"] = testing::OldLog(story.states[0], story.states[2]);
  ExpectSameWithoutHolding(story.files);
}

TEST_F(RealLogs, ALogThatIsNotHeldGivesTheSame) {
  for (const char* name : {"NewDirtyHive", "UsrClass.dat", "OldDirtyHive"}) {
    SCOPED_TRACE(name);
    ExpectSameWithoutHolding(Files(name));
  }
}

// Bins that grow and shrink with every entry cost what is put into them.
TEST(Replay, WhatShrankIsZeroWhenItGrowsAgain) {
  const LogStory story = MakeLogStory();
  const Bytes& hive = story.files.hive;
  const auto bins = static_cast<uint32_t>(hive.size() - 4096);
  std::vector<testing::LogEntrySpec> entries;
  for (uint32_t i = 0; i < 4; ++i) {
    testing::LogEntrySpec& entry = entries.emplace_back();
    entry.sequence = 10 + i;
    entry.bins_size = i % 2 == 0 ? bins + 0x20000 : bins;
    const uint32_t offset = i % 2 == 0 ? bins + 0x10000 + i * 512 : bins - 512;
    entry.pages.push_back({offset, Bytes(512, static_cast<uint8_t>(0x40 + i)), {}});
  }
  entries.push_back({14, bins + 0x20000, 0, {{bins - 512, Bytes(512, 0x50), {}}}, {}, {}});
  LoggedFiles files;
  files.hive = hive;
  files[".LOG1"] = NewLog(hive, entries);
  LoggedHive opened(files);
  ASSERT_EQ(opened.Applied(), "LOG1 10..14");
  const ByteView image = ImageBytes(opened.hive());
  ASSERT_EQ(image.size(), hive.size() + 0x20000);
  for (size_t at = hive.size(); at < image.size(); ++at) ASSERT_EQ(image[at], 0) << at;
  EXPECT_EQ(image[hive.size() - 1], 0x50);
}

TEST(Replay, StatesOfOneHive) {
  const LogStory story = MakeLogStory();
  LoggedHive hive(story.files);
  for (size_t steps = 0; steps <= 2; ++steps) {
    const HiveImage image = ImageAfter(hive.hive(), steps);
    ASSERT_EQ(image.length, story.states[steps].size()) << steps;
    EXPECT_TRUE(std::equal(story.states[steps].begin() + 4096, story.states[steps].end(),
                           image.buffer.get() + 4096))
        << steps;
  }
}

TEST(Replay, OldForm) {
  LogStory story = MakeLogStory();
  struct Case {
    const char* name;
    void (*change)(Bytes& hive, Bytes& log);
    ReplayState state;
    const char* use;
  };
  const Case cases[] = {
      {"same time", [](Bytes&, Bytes&) {}, ReplayState::kReplayed, "applied: "},
      {"log later",
       [](Bytes&, Bytes& log) {
         testing::PutU64(log, 12, testing::kDefaultTime + 1);
         testing::FixBaseChecksum(log);
       },
       ReplayState::kReplayed, "applied: "},
      {"log earlier",
       [](Bytes&, Bytes& log) {
         testing::PutU64(log, 12, testing::kDefaultTime - 1);
         testing::FixBaseChecksum(log);
       },
       ReplayState::kUnusable, "of a time before the hive's"},
      {"hive's checksum wrong",
       [](Bytes& hive, Bytes& log) {
         hive[16] ^= 1;
         testing::PutU64(hive, 4096 + 20, testing::GetU32(log, 12));
       },
       ReplayState::kReplayed, "applied: "},
      {"cut short", [](Bytes&, Bytes& log) { log.resize(log.size() - 512); },
       ReplayState::kUnusable, "unusable: log cut short"},
      {"no bitmap", [](Bytes&, Bytes& log) { log[512] = 'd'; }, ReplayState::kUnusable,
       "unusable: no bitmap"},
      {"bins beyond offsets",
       [](Bytes&, Bytes& log) {
         testing::PutU32(log, 40, 0xFFFFF000);
         testing::FixBaseChecksum(log);
       },
       ReplayState::kUnusable, "unusable: no size of a hive"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    LoggedFiles files;
    files.hive = story.states[0];
    Bytes log = testing::OldLog(story.states[0], story.states[2]);
    each.change(files.hive, log);
    files[".LOG"] = log;
    LoggedHive hive(files);
    EXPECT_EQ(hive.logs().state, each.state);
    EXPECT_TRUE(UseWords(hive.logs(), hive.logs().logs[0]).starts_with(each.use))
        << UseWords(hive.logs(), hive.logs().logs[0]);
    EXPECT_EQ(HasKey(hive, "Comes\\Later"), each.state == ReplayState::kReplayed);
  }
}

TEST(Replay, WhatIsSaidOfOtherOpenings) {
  LogStory story = MakeLogStory();
  LoggedFiles bare;
  bare.hive = story.files.hive;
  LoggedHive alone(bare);
  EXPECT_EQ(LogsWords(alone.hive()),
            "Dirty hive (sequence numbers 10 and 9 differ), shown as its file has it: there is no "
            "log beside it: its last changes may be missing");
  EXPECT_TRUE(LacksLogs(alone.hive()));
  LoggedFiles clean = story.files;
  testing::SetNumbers(clean.hive, 10, 10);
  LoggedHive later(clean);
  EXPECT_EQ(LogsWords(later.hive()),
            "Clean hive: HIVE.LOG2 holds entry 11 that the system would ignore");
  EXPECT_FALSE(HasKey(later, "Comes"));
  EXPECT_FALSE(LacksLogs(later.hive()));
  LoggedHive part(story.files, {}, 0, static_cast<uint32_t>(story.files.hive.size()) - 1);
  EXPECT_EQ(part.logs().state, ReplayState::kPart);
  EXPECT_FALSE(HasKey(part, "Comes"));
  LoggedFiles fragment = story.files;
  fragment.hive.erase(fragment.hive.begin(), fragment.hive.begin() + 4096);
  LoggedHive piece(fragment);
  EXPECT_EQ(piece.hive().logs, nullptr);
}

TEST(Replay, LogsChosenByHand) {
  LogStory story = MakeLogStory();
  LoggedFiles files = story.files;
  const Bytes second = files[".LOG2"];
  files["x"] = second;
  LoggedHive hive(files);
  const std::string chosen = hive.name() + "x";
  hive.Reopen({LogMode::kChosen, {chosen}});
  EXPECT_EQ(hive.logs().steps.size(), 1U);
  EXPECT_TRUE(IsProtected(chosen));
  EXPECT_TRUE(IsEvidence(chosen));
  hive.Reopen({LogMode::kNone, {}});
  EXPECT_FALSE(IsEvidence(chosen));
  // A clean hive shows them too, when they are named.
  testing::SetNumbers(files.hive, 10, 10);
  LoggedHive clean(files);
  EXPECT_EQ(clean.logs().state, ReplayState::kClean);
  clean.Reopen({LogMode::kChosen, {clean.name() + "x"}});
  EXPECT_EQ(LogsWords(clean.hive()),
            "Clean hive, logs as chosen: shown as its logs make it, in memory alone. Applied: "
            "HIVEx, entry 11");
}

Bytes LoggedKeyHive(bool freed) {
  testing::HiveBuilder builder;
  builder.Key("Stays").Dword("Count", freed ? 2 : 1);
  builder.Key("Goes").Sz("Old", "to be removed");
  testing::BuiltHive built = builder.Build();
  if (freed) {
    const uint32_t key = built.PositionOf("Goes");
    built.Unlink("Goes").Free(key);
  }
  testing::SetNumbers(built.bytes, 10, 9);
  return built.bytes;
}

// Lists of what the logs did.
TEST(Replay, ListsOfChanges) {
  const Bytes before = LoggedKeyHive(false);
  const Bytes after = LoggedKeyHive(true);
  LoggedFiles files;
  files.hive = before;
  files[".LOG1"] = NewLog(before, {EntryBetween(before, after, 10)});
  LoggedHive hive(files);
  const auto cells = [](const OutputList& list, std::initializer_list<int> columns) {
    std::string text;
    for (uint32_t row = 0; row < RowCount(list); ++row) {
      for (const int column : columns) text += std::string(CellText(list, row, column)) + "|";
      text += "\n";
    }
    return text;
  };
  EXPECT_EQ(cells(*ListLogs(hive.hive()), {0, 1, 2, 6}), "HIVE.LOG1|10|1|applied|\n");
  const std::string root = hive.tree().root_text;
  EXPECT_EQ(cells(*ListLogChanges(hive.hive()), {1, 2, 3, 4}),
            "10|key removed|" + root + "\\Goes||\n10|value removed|" + root + "\\Goes|Old|\n" +
                "10|value changed|" + root + "\\Stays|Count|\n");
  EXPECT_EQ(cells(*ListRemovedKeys(hive.hive(), hive.tree()), {0, 4}),
            root + "\\Goes|removed by the logs|\n");
  EXPECT_EQ(cells(*ListRemovedValues(hive.hive(), hive.tree(), {}), {1, 3}),
            "Old|to be removed|\n");
  EXPECT_EQ(cells(*ListFreedKeys(hive.hive(), hive.tree()), {0, 7}),
            root + "\\Goes|after the logs|\n");
  const OutputListPtr values = ListKeyValues(hive.hive(), hive.tree(), kNoItem, {});
  ASSERT_EQ(RowCount(*values), 1U);
  const std::string origin(FactsOfRow(*values, 0).from_log);
  EXPECT_TRUE(origin.starts_with("changed: HIVE.LOG1 at 0x")) << origin;
  EXPECT_TRUE(origin.ends_with(", entry 10")) << origin;
}

// Each removed row names the entry that did it, found without looking at every state.
TEST(Replay, RemovedNamesItsEntry) {
  // Entry 10 + i takes the key "Gone i" out of its parent's list; a value goes with the fourth.
  std::vector<Bytes> states;
  for (int state = 0; state <= 5; ++state) {
    testing::HiveBuilder builder;
    builder.Key("Stays").Sz("Text", "the same");
    if (state < 4) builder.Key("Stays").Dword("Lost", 4);
    for (int key = 0; key < 5; ++key) {
      builder.Key("Gone " + std::to_string(key)).Sz("Old", "v").Binary("Fill", 3000);
    }
    testing::BuiltHive built = builder.Build();
    for (int key = 0; key < state; ++key) built.Unlink("Gone " + std::to_string(key));
    testing::SetNumbers(built.bytes, 10, 9);
    states.push_back(built.bytes);
  }
  LoggedFiles files;
  files.hive = states[0];
  std::vector<testing::LogEntrySpec> entries;
  for (uint32_t entry = 0; entry < 5; ++entry) {
    entries.push_back(EntryBetween(states[entry], states[entry + 1], 10 + entry));
  }
  files[".LOG1"] = NewLog(states[0], entries);
  LoggedHive hive(files);
  RemovedState removed;
  ASSERT_TRUE(FindRemoved(hive.hive(), hive.tree(), removed));
  ASSERT_EQ(removed.keys.size(), 5U);
  for (uint32_t key = 0; key < 5; ++key) {
    EXPECT_TRUE(removed.keys[key].path.ends_with("Gone " + std::to_string(key)));
    EXPECT_EQ(removed.keys[key].by.first, key);
    EXPECT_EQ(removed.keys[key].by.last, key);
  }
  const auto lost = std::ranges::find_if(
      removed.values, [](const RemovedValue& value) { return value.path.ends_with("Stays"); });
  ASSERT_NE(lost, removed.values.end());
  EXPECT_EQ(lost->by.first, 3U);
  EXPECT_EQ(removed.marks[lost->item], RemovedMark::kWay);
  const OutputListPtr rows = ListRemovedKeys(hive.hive(), hive.tree());
  ASSERT_EQ(RowCount(*rows), 5U);
  EXPECT_EQ(ColumnTitle(*rows, 7), "Removed By");
  EXPECT_TRUE(CellText(*rows, 2, 7).starts_with("HIVE.LOG1 at 0x"));
  EXPECT_TRUE(CellText(*rows, 2, 7).ends_with(", entry 12")) << CellText(*rows, 2, 7);
  // Taken out of view: what stays, but for the way to what does not.
  HideWhatStays(removed);
  const KeyTree& before = removed.before.tree;
  size_t shown = 0;
  for (uint32_t item = 0; item < before.items.size(); ++item) {
    shown += before.items[item].hidden ? 0 : 1;
  }
  EXPECT_EQ(shown, 7U);  // root, "Stays" and the five
}

// The words of a state: dirty or not, and what became of the logs.
TEST(Replay, StateInAFewWords) {
  const LogStory story = MakeLogStory();
  LogChoice none;
  none.mode = LogMode::kNone;
  LoggedHive hive(story.files);
  EXPECT_EQ(StateWords(hive.hive()), "Dirty, logs applied");
  const std::vector<std::string> lines = HiveHeadLines(hive.hive(), {"ab", {"", "cd"}});
  ASSERT_EQ(lines.size(), 6U);
  EXPECT_EQ(lines[0], "File: " + hive.name());
  EXPECT_TRUE(lines[2].starts_with("Logs: Dirty hive (sequence numbers 10 and 9 differ)"));
  EXPECT_EQ(lines[3], "Checksum: right");
  EXPECT_EQ(lines[4], "SHA-256: ab");
  EXPECT_EQ(lines[5], "SHA-256: cd HIVE.LOG2");
  const struct {
    LogChoice choice;
    const char* words;
  } choices[] = {{none, "Dirty, logs left out"},
                 {testing::Until(10), "Dirty, logs applied until entry 10"},
                 {testing::Until(11), "Dirty, logs applied until entry 11"},
                 {testing::Until(9), "Dirty, no entry so early"}};
  for (const auto& each : choices) {
    hive.Reopen(each.choice);
    EXPECT_EQ(StateWords(hive.hive()), each.words);
  }
  LoggedFiles files = story.files;
  testing::SetNumbers(files.hive, 10, 10);
  EXPECT_EQ(StateWords(LoggedHive(files).hive()), "Clean, a log has later entries");
  files = story.files;
  files.hive[12] ^= 1;
  EXPECT_EQ(StateWords(LoggedHive(files).hive()), "Dirty, logs applied, checksum wrong");
  files.beside.clear();
  EXPECT_EQ(StateWords(LoggedHive(files).hive()), "Dirty, no log beside it, checksum wrong");
}

// A file that is shorter than its base block says; where the checksum is wrong nobody knows.
TEST(Replay, FilesThatEndEarlySaySo) {
  const LogStory story = MakeLogStory();
  LoggedFiles clean = story.files;
  clean.beside.clear();
  testing::SetNumbers(clean.hive, 10, 10);
  const struct {
    size_t cut;
    const char* state;
    std::string sentence;
  } cuts[] = {
      {0, "Clean", ""},
      {1, "Clean, 1 byte missing at its end",
       "The file ends 1 byte before its hive does: what was there is missing"},
      {5000, "Clean, 5,000 bytes missing at its end",
       "The file ends 5,000 bytes before its hive does: what was there is missing"},
  };
  for (const auto& each : cuts) {
    LoggedFiles files = clean;
    files.hive.resize(files.hive.size() - each.cut);
    LoggedHive hive(files);
    EXPECT_EQ(StateWords(hive.hive()), each.state);
    EXPECT_EQ(MissingWords(hive.hive()), each.sentence);
    EXPECT_EQ(MissingAtEnd(hive.hive()), each.cut);
    EXPECT_EQ(MarkOf(hive.hive()), each.cut == 0 ? HiveMark::kClean : HiveMark::kLacking);
  }
  LoggedFiles files = clean;
  files.hive.resize(files.hive.size() - 1);
  files.hive[12] ^= 1;
  EXPECT_EQ(MissingAtEnd(LoggedHive(files).hive()), 0U);
  // Logs are applied, and what neither has is zeros: the file is what is told of.
  files = story.files;
  files.hive.resize(files.hive.size() - 4096);
  EXPECT_EQ(StateWords(LoggedHive(files).hive()),
            "Dirty, logs applied, 4,096 bytes missing at its end");
}

// Freed records of both states: what both have is told once.
TEST(Replay, FreedRecordsOfBothStates) {
  Bytes before = LoggedKeyHive(true);
  Bytes after = before;
  LoggedFiles files;
  files.hive = before;
  after[after.size() - 1] ^= 1;  // somewhere in free space
  files[".LOG1"] = NewLog(before, {EntryBetween(before, after, 10)});
  LoggedHive same(files);
  const auto states = [](LoggedHive& hive) {
    const OutputListPtr list = ListFreedKeys(hive.hive(), hive.tree());
    std::string text;
    for (uint32_t row = 0; row < RowCount(*list); ++row) {
      text += std::string(CellText(*list, row, 7)) + "|";
    }
    return text;
  };
  EXPECT_EQ(states(same), "both|");
  for (size_t at = 4096; at + 80 < after.size(); at += 8) {
    if (after[at + 4] != 'n' || (after[at + 3] & 0x80) != 0) continue;
    std::fill_n(after.begin() + static_cast<ptrdiff_t>(at) + 4, 76, uint8_t{0});
  }
  files[".LOG1"] = NewLog(before, {EntryBetween(before, after, 10)});
  LoggedHive wiped(files);
  EXPECT_EQ(states(wiped), "before the logs|");
}

TEST(Replay, AccessBitsOfKeys) {
  testing::HiveBuilder builder;
  builder.Key("Opened");
  testing::BuiltHive built = builder.Build();
  built.SetU8(built.PositionOf("Opened"), 16, 3);
  testing::OpenedHive opened(built);
  KeyListOptions options;
  options.details = options.by_access = true;
  options.access = 3;
  const OutputListPtr list = ListKeyTree(opened.hive, opened.tree, 0, options);
  ASSERT_EQ(RowCount(*list), 1U);
  EXPECT_EQ(CellText(*list, 0, 7), "3");
  std::string json;
  WriteListJsonLines(*list, [&json](std::string_view text) { return json += text, true; });
  EXPECT_NE(json.find(",\"Access\":3,"), std::string::npos) << json;
  const std::string detail = KeyDetailAt(opened.hive, opened.tree, built.PositionOf("Opened"));
  EXPECT_NE(detail.find("Access bits: 0x03: opened before boot initialisation, "
                        "opened after boot initialisation\r\n"),
            std::string::npos)
      << detail;
}

// What an earlier run left is found, and nothing of it is applied.
TEST(Replay, EntriesOfEarlierRuns) {
  LogStory story = MakeLogStory();
  const testing::LogEntrySpec first = EntryBetween(story.states[0], story.states[1], 10);
  testing::LogEntrySpec old = EntryBetween(story.states[1], story.states[2], 4);
  LoggedFiles files;
  files.hive = story.files.hive;
  files[".LOG1"] = NewLog(story.states[1], {first, old});
  LoggedHive hive(files);
  EXPECT_EQ(hive.Applied(), "LOG1 10");
  const OutputListPtr records = ListLogRecords(hive.hive(), hive.tree());
  std::string names;
  for (uint32_t row = 0; row < RowCount(*records); ++row) {
    names += std::string(CellText(*records, row, 1)) + std::string(CellText(*records, row, 2)) +
             "=" + std::string(CellText(*records, row, 4)) + "|";
    EXPECT_EQ(CellText(*records, row, 8), "4");
    EXPECT_EQ(CellText(*records, row, 10), "left over from an earlier run");
  }
  EXPECT_NE(names.find("\\Later=|"), std::string::npos) << names;
  EXPECT_NE(names.find("Added=by the second log|"), std::string::npos) << names;
  EXPECT_NE(names.find("Count=0x00000007 (7)|"), std::string::npos) << names;
  const HiveLog& log = hive.logs().logs[0];
  ASSERT_EQ(log.leftovers.size(), 1U);
  EXPECT_EQ(log.leftovers[0].sequence, 4U);
  EXPECT_EQ(log.stop, LogEntryFault::kSequence);
}

// As in the tree: a link may have its name in UTF-16.
TEST(Replay, NamesOfLinksInEntriesOfEarlierRuns) {
  LogStory story = MakeLogStory();
  testing::HiveBuilder builder;
  builder.Key("Verweis\u65E5");
  testing::BuiltHive built = builder.Build();
  built.SetU16(built.PositionOf("Verweis\u65E5"), 6, 0x10);
  LoggedFiles files;
  files.hive = story.files.hive;
  built.bytes.resize(std::max(built.bytes.size(), story.states[1].size()));
  files[".LOG1"] = NewLog(story.states[1], {EntryBetween(story.states[0], story.states[1], 10),
                                            EntryBetween(story.states[1], built.bytes, 4)});
  LoggedHive hive(files);
  const OutputListPtr records = ListLogRecords(hive.hive(), hive.tree());
  std::string paths;
  for (uint32_t row = 0; row < RowCount(*records); ++row) paths += CellText(*records, row, 1);
  EXPECT_NE(paths.find("\\Verweis\u65E5"), std::string::npos) << paths;
}

// Bins that get smaller, and grow again: what was there is gone.
TEST(Replay, BinsThatShrinkAndGrow) {
  LogStory story = MakeLogStory();
  testing::LogEntrySpec shrink = EntryBetween(story.states[0], story.states[1], 10);
  shrink.bins_size = 4096;
  std::erase_if(shrink.pages, [](const testing::LogPageSpec& page) { return page.offset != 0; });
  testing::LogEntrySpec grow = shrink;
  grow.sequence = 11;
  grow.bins_size = 3 * 4096;
  LoggedFiles files;
  files.hive = story.states[2];
  testing::SetNumbers(files.hive, 10, 9);
  files[".LOG1"] = NewLog(files.hive, {shrink, grow});
  LoggedHive hive(files, testing::Until(10));
  EXPECT_EQ(hive.hive().length, 8192U);
  EXPECT_EQ(hive.logs().cut, files.hive.size() - 8192);
  hive.Reopen({});
  ASSERT_EQ(hive.hive().length, 4U * 4096);
  const ByteView rest = PartOf(ImageBytes(hive.hive()), 8192, 8192);
  EXPECT_TRUE(std::ranges::all_of(rest, [](uint8_t byte) { return byte == 0; }));
}

// An entry of a few bytes that makes the hive one of 2 GiB.
TEST(Replay, SenselessGrowthIsRefused) {
  const LogStory story = MakeLogStory();
  testing::LogEntrySpec entry = EntryBetween(story.states[0], story.states[1], 10);
  entry.bins_size = kMostBins;
  LoggedFiles files;
  files.hive = story.files.hive;
  files[".LOG1"] = NewLog(story.files.hive, {entry});
  LoggedHive hive(files);
  EXPECT_EQ(hive.logs().state, ReplayState::kUnusable);
  EXPECT_EQ(hive.logs().logs[0].stop, LogEntryFault::kBinsSize);
  EXPECT_EQ(hive.hive().length, files.hive.size());
}

// A log in which every step begins an entry whose header holds and whose pages don't, and one whose
// entry is nothing but places of pages.
TEST(Replay, HostileLogsCostLittle) {
  LogStory story = MakeLogStory();
  constexpr uint32_t kSize = 8 * 1024 * 1024;
  testing::LogEntrySpec whole;
  whole.sequence = 99;
  whole.size = kSize;
  whole.pages.push_back({4096, Bytes(400, 1), {}});
  Bytes entry = testing::LogEntryBytes(whole);
  Bytes log = testing::LogBase(story.files.hive, 6, 10);
  while (log.size() < kSize) log.insert(log.end(), entry.begin(), entry.end());
  for (uint32_t at = kLogUnit; at + kLogUnit < log.size(); at += kLogUnit) {
    testing::PutU32(log, at + 4, static_cast<uint32_t>(log.size()) - at);
    testing::PutU64(log, at + 32, LogHash(PartOf(log, at, 32)));
  }
  testing::LogEntrySpec places;
  places.sequence = 10;
  places.pages.resize(100000);
  LoggedFiles files;
  files.hive = story.files.hive;
  files[".LOG1"] = log;
  files[".LOG2"] = NewLog(story.files.hive, {places});
  LoggedHive hive(files);
  EXPECT_EQ(hive.Applied(), "LOG2 10");
  EXPECT_TRUE(hive.logs().logs[0].leftovers.empty());
}

// A dirty hive whose bytes were moved in its file: pages would go to the wrong places.
TEST(Replay, MovedBytesStayAsTheyAre) {
  testing::HiveBuilder builder;
  for (int i = 0; i < 300; ++i) builder.Key("Key" + std::to_string(i)).Dword("Number", 1);
  Bytes before = builder.Build().bytes;
  testing::SetNumbers(before, 10, 9);
  builder.Key("Comes");
  const Bytes after = builder.Build().bytes;
  testing::LogEntrySpec entry = EntryBetween(before, after, 10);
  entry.pages.resize(1);
  LoggedFiles files;
  files[".LOG1"] = NewLog(before, {entry});
  before.insert(before.begin() + 5 * 4096 + 100, 24, 0xEE);
  files.hive = before;
  LoggedHive hive(files);
  EXPECT_EQ(hive.logs().state, ReplayState::kMoved);
  EXPECT_EQ(hive.logs().logs[0].use, LogUse::kMoved);
  EXPECT_FALSE(hive.hive().places.undone.empty());
}

}  // namespace
}  // namespace hivequarry
