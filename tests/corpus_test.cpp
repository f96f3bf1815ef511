// The product over real hive files, held against FACTS.tsv (what independent readers say of them)
// and against the plain reader of these tests.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <unordered_set>

#include "app/list_words.h"
#include "app/opening_words.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/host.h"
#include "records/cell.h"
#include "recovery/freed_records.h"
#include "recovery/image_tree.h"
#include "reports/file_pieces.h"
#include "reports/hive_lists.h"
#include "reports/registry_script.h"
#include "reports/search_sieve.h"
#include "reports/structure_reports.h"
#include "security/security_lists.h"
#include "tests/support/plain_reader.h"
#include "tests/support/texts.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

using testing::Bytes;
using testing::GetU32;
using testing::PlainKey;
using testing::PlainValue;
using Facts = std::map<std::string, std::string>;  // by column

std::filesystem::path CorpusFolder() {
  const char* named = std::getenv("HIVEQUARRY_CORPUS");
  if (named != nullptr && *named != '\0') return named;
  return std::filesystem::path(HIVEQUARRY_SOURCE_DIR) / ".." / "shared" / "hives";
}

std::vector<std::string> SplitTabs(const std::string& line) {
  std::vector<std::string> parts;
  std::istringstream stream(line);
  for (std::string part; std::getline(stream, part, '\t');) parts.push_back(part);
  return parts;
}

class Corpus : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(CorpusFolder() / "FACTS.tsv")) {
      GTEST_SKIP() << "real hives are not tested: no FACTS.tsv in " << CorpusFolder()
                   << " (HIVEQUARRY_CORPUS names another folder)";
    }
  }
  void TearDown() override { ResetHiveTable(); }

  // The files with a base block of their own.
  static std::vector<Facts> WholeHives() {
    std::ifstream stream(CorpusFolder() / "FACTS.tsv");
    std::vector<Facts> rows;
    std::string line;
    std::getline(stream, line);
    const std::vector<std::string> columns = SplitTabs(line);
    while (std::getline(stream, line)) {
      const std::vector<std::string> cells = SplitTabs(line);
      Facts row;
      for (size_t i = 0; i < cells.size(); ++i) row[columns[i]] = cells[i];
      if (!row["keys"].empty()) rows.push_back(row);
    }
    return rows;
  }

  static Bytes ReadFile(const std::string& name) {
    return testing::ContentOf<Bytes>((CorpusFolder() / name).string());
  }
};

struct Opened {
  HiveImage* hive = nullptr;
  KeyTree tree;
  ImageSummary summary;
};

Opened Open(const std::string& name, uint32_t start = 0, uint32_t end = 0) {
  ResetHiveTable();
  TheHiveTable().start_offset = start;
  TheHiveTable().end_offset = end;
  TheHiveTable().logs.mode = LogMode::kNone;  // the figures are those of the files alone
  Opened opened;
  const int slot = OpenHiveAndTell((CorpusFolder() / name).string());
  opened.hive = &TheHiveTable().slots[static_cast<size_t>(std::max(slot, 0))];
  if (slot > 0) opened.summary = BuildImageTree(*opened.hive, BuildOptions(), opened.tree);
  return opened;
}

std::vector<uint32_t> ValuesOf(const HiveImage& hive, uint32_t key) {
  const KeyNode node = ReadKeyNode(hive, key, KeyRead::kFields);
  std::vector<uint32_t> values;
  uint32_t budget = hive.length / 4;
  if (node.value_count != 0) {
    ReadValueList(hive, node.value_count, node.value_list, budget, values);
  }
  return values;
}

void ExpectSameValue(const HiveImage& hive, const PlainValue& plain) {
  Bytes data;
  const ValueKey value = ReadValueKey(hive, plain.position, ValueRead::kData, kMaxValueData, &data);
  SCOPED_TRACE(::testing::Message() << "value at " << plain.position);
  EXPECT_EQ(value.status == ValueStatus::kRead, plain.readable);
  EXPECT_EQ(value.type, plain.type);
  EXPECT_EQ(value.name, TextOfWide(plain.name));
  EXPECT_TRUE(data == plain.data);
}

// A key that the lists reach: shown, connected, under the right parent, with everything it has.
void ExpectSameKey(const Opened& opened, const std::vector<PlainKey>& keys, const PlainKey& plain) {
  const HiveImage& hive = *opened.hive;
  const KeyTree& tree = opened.tree;
  SCOPED_TRACE(::testing::Message() << "key at " << plain.position);
  const uint32_t item = ItemOfPosition(tree, plain.position);
  ASSERT_NE(item, kNoItem);
  EXPECT_TRUE(tree.items[item].connected);
  if (plain.parent != testing::kNone) {
    ASSERT_NE(tree.items[item].parent, kNoItem);
    EXPECT_EQ(tree.items[tree.items[item].parent].position, keys[plain.parent].position);
  }
  const KeyNode node = ReadKeyNode(hive, plain.position, KeyRead::kFields);
  EXPECT_EQ(node.last_write, plain.time);
  EXPECT_EQ(ReadKeyName(hive, plain.position), TextOfWide(plain.name));
  std::vector<uint32_t> values = ValuesOf(hive, plain.position);
  std::erase_if(values, [&](uint32_t value) {
    return value == kNoOffset || ReadU16(hive, value + 4) != kSignatureVk;
  });
  std::vector<uint32_t> expected;
  for (const PlainValue& value : plain.values) expected.push_back(value.position);
  ASSERT_EQ(values, expected);
  for (const PlainValue& value : plain.values) ExpectSameValue(hive, value);
}

// True for an item with a key cell that was read, not one that a repair made up.
bool IsRealKey(const KeyTree& tree, uint32_t item) {
  constexpr uint16_t kMadeUp = kMarkSibling | kMarkParent | kMarkChild;
  return IsKeyItem(tree, item) && (tree.items[item].marks & kMadeUp) == 0;
}

// Figures of the keys that the tree shows as connected.
Facts FiguresOf(const Opened& opened) {
  const HiveImage& hive = *opened.hive;
  uint32_t keys = 0;
  size_t values = 0;
  uint64_t latest = 0;
  int deepest = 0;
  std::vector<int> levels(opened.tree.items.size());
  for (uint32_t item = 0; item < opened.tree.items.size(); ++item) {
    const KeyItem& key = opened.tree.items[item];
    if (item != 0) levels[item] = levels[key.parent] + 1;
    if (!key.connected || !IsRealKey(opened.tree, item)) continue;
    ++keys;
    for (const uint32_t value : ValuesOf(hive, key.position)) {
      values += value != kNoOffset && ReadU16(hive, value + 4) == kSignatureVk;
    }
    latest = std::max(latest, ReadKeyNode(hive, key.position, KeyRead::kFields).last_write);
    deepest = std::max(deepest, levels[item]);
  }
  return {{"keys", std::to_string(keys)},
          {"values", std::to_string(values)},
          {"deepest", std::to_string(deepest)},
          {"latest_write", FormatIso8601(latest)}};
}

TEST_F(Corpus, ReachableTreeIsWhatAPlainReaderSees) {
  for (Facts& facts : WholeHives()) {
    SCOPED_TRACE(facts["file"]);
    const Bytes bytes = ReadFile(facts["file"]);
    const std::vector<PlainKey> keys = testing::ReadPlainTree(bytes);
    ASSERT_EQ(std::to_string(keys.size()), facts["keys"]);
    const Opened opened = Open(facts["file"]);
    ASSERT_EQ(opened.hive->length, bytes.size());
    for (const auto& [column, figure] : FiguresOf(opened)) {
      EXPECT_EQ(figure, facts[column]) << column;
    }
    for (const PlainKey& key : keys) {
      ExpectSameKey(opened, keys, key);
      if (HasFailure()) break;  // the first difference tells enough
    }
  }
}

TEST_F(Corpus, FreedRecordsComeBack) {
  for (Facts& facts : WholeHives()) {
    SCOPED_TRACE(facts["file"]);
    const Opened opened = Open(facts["file"]);
    const FreedRecords freed = FindFreedRecords(*opened.hive, opened.tree);
    const size_t false_hits = facts["file"] == "BCD" ? 1 : 0;
    EXPECT_GE(freed.keys.size() + false_hits, std::stoul(facts["freed_keys"]));
    EXPECT_GE(freed.values.size(), std::stoul(facts["freed_values"]));
  }
}

std::vector<uint32_t> RealKeys(const Opened& opened) {
  std::vector<uint32_t> positions;
  for (uint32_t item = 0; item < opened.tree.items.size(); ++item) {
    if (IsRealKey(opened.tree, item)) positions.push_back(opened.tree.items[item].position);
  }
  std::ranges::sort(positions);
  return positions;
}

// Value cells that no key cell's list names.
std::vector<uint32_t> UnnamedValues(const Bytes& bytes, const testing::PlainWalk& cells) {
  std::unordered_set<uint32_t> named;
  for (const uint32_t key : cells.keys) {
    for (const PlainValue& value : testing::ReadPlainKey(bytes, key).values) {
      named.insert(value.position);
    }
  }
  std::vector<uint32_t> unnamed;
  std::ranges::copy_if(cells.values, std::back_inserter(unnamed),
                       [&](uint32_t value) { return !named.contains(value); });
  return unnamed;
}

TEST_F(Corpus, ScanMeetsEveryAllocatedRecord) {
  for (Facts& facts : WholeHives()) {
    SCOPED_TRACE(facts["file"]);
    const Bytes bytes = ReadFile(facts["file"]);
    const testing::PlainWalk cells = testing::WalkPlainCells(bytes, 4096);
    const Opened opened = Open(facts["file"]);
    const ImageSummary& summary = opened.summary;
    EXPECT_EQ(summary.bins, cells.blocks);
    EXPECT_EQ(summary.keys, summary.connected_keys + summary.disconnected_keys);
    EXPECT_EQ(RealKeys(opened), cells.keys);
    const KeyListOptions disconnected{.disconnected = true};
    EXPECT_EQ(RowCount(*ListKeyTree(*opened.hive, opened.tree, 0, disconnected)),
              summary.disconnected_keys);
    const std::vector<uint32_t> unnamed = UnnamedValues(bytes, cells);
    const std::vector<uint32_t>& shown = opened.tree.disconnected_value_positions;
    if (facts["file"] == "SYSTEM_holes") {
      // One block holds a broken cell; the scan finds its way again after it, a plain walk not.
      EXPECT_EQ(summary.values, cells.values.size() + 1);
      EXPECT_EQ(summary.security_records, cells.security_records.size() + 10);
    } else {
      EXPECT_EQ(summary.values, cells.values.size());
      EXPECT_EQ(summary.security_records, cells.security_records.size());
    }
    // Repair finds owners for some: keys of foreign blocks for theirs, keys whose list was found
    // again, free keys that a list still names. What is left had no owner before either.
    EXPECT_TRUE(std::ranges::includes(unnamed, shown) || facts["file"] == "SYSTEM_holes");
    const bool repaired = facts["file"].starts_with("NTUSER") || facts["kind"] == "damaged";
    if (!repaired) {
      EXPECT_EQ(shown, unnamed);
    }
  }
}

// The keys under "Disconnected Keys" that were read from a cell.
std::vector<uint32_t> DisconnectedKeys(const Opened& opened) {
  std::vector<uint32_t> items;
  for (uint32_t item = 0; item < opened.tree.items.size(); ++item) {
    if (IsRealKey(opened.tree, item) && !opened.tree.items[item].connected) items.push_back(item);
  }
  return items;
}

TEST_F(Corpus, DisconnectedKeyCounts) {
  const std::map<std::string, size_t> expected = {
      {"BadListHive", 1},           {"BadSubkeyHive", 1}, {"HealedHive", 1},
      {"NTUSER.DAT", 103},  // of another hive, in blocks after this one's
      {"NTUSER_modified.DAT", 104}, {"NewDirtyHive", 4},  {"TruncatedHive", 83},
      {"SYSTEM_holes", 334}};
  for (Facts& facts : WholeHives()) {
    const Opened opened = Open(facts["file"]);
    const auto found = expected.find(facts["file"]);
    EXPECT_EQ(DisconnectedKeys(opened).size(), found == expected.end() ? 0 : found->second)
        << facts["file"];
  }
}

TEST_F(Corpus, KnownDisconnectedKeys) {
  const struct {
    const char* file;
    uint32_t signature;  // file offset
    const char* name;
    const char* parent;  // the name of the key that its parent field leads to
    const char* last_write;
  } cases[] = {
      {"HealedHive", 4812, "cccc", "{a1c3317d-5e37-4a97-9c38-476347d6668a}",
       "2017-03-19T19:15:17.8620342Z"},
      {"BadListHive", 5324, "subkey", "2", "2017-03-09T12:05:58.5982007Z"},
      {"BadSubkeyHive", 5324, "subkey", "2", "2017-03-09T12:05:58.5982007Z"},
      {"NTUSER_modified.DAT", 381124, "New Key #1", "Microsoft", "2019-02-11T19:45:49.2261791Z"},
      {"NewDirtyHive", 4420,
       "\u041D\u043E\u0432\u044B\u0439 \u0440\u0430\u0437\u0434\u0435\u043B "
       "#1",
       nullptr, "2017-03-04T20:51:42.3623630Z"},
      {"NewDirtyHive", 5404,
       "\u041D\u043E\u0432\u044B\u0439 \u0440\u0430\u0437\u0434\u0435\u043B "
       "#1",
       nullptr, "2017-03-04T20:52:19.7530801Z"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.file << " " << c.signature);
    const Opened opened = Open(c.file);
    const HiveImage& hive = *opened.hive;
    const uint32_t position = c.signature - 4 - hive.base_offset;
    const uint32_t item = ItemOfPosition(opened.tree, position);
    ASSERT_NE(item, kNoItem);
    EXPECT_FALSE(opened.tree.items[item].connected);
    EXPECT_EQ(ReadKeyName(hive, position), c.name);
    const KeyNode node = ReadKeyNode(hive, position, KeyRead::kFields);
    if (c.parent != nullptr) {
      EXPECT_EQ(ReadKeyName(hive, node.parent), c.parent);
    }
    if (c.last_write != nullptr) {
      EXPECT_EQ(FormatIso8601(node.last_write), c.last_write);
    }
  }
}

// Systems before Vista wrote user flags to bits that others leave 0.
TEST_F(Corpus, KeysWithUserFlagsInTheirFlagsAreWhole) {
  const Opened opened = Open("SYSTEM");
  uint32_t flagged = 0;
  for (uint32_t item = 0; item < opened.tree.items.size(); ++item) {
    const KeyItem& it = opened.tree.items[item];
    if (!HasKeyCell(opened.tree, item)) continue;
    if (ReadU16(*opened.hive, it.position + kKeyFlags) != 0x1020) continue;
    ++flagged;
    EXPECT_TRUE(it.connected && it.marks == 0 && it.repairs == 0) << it.position;
  }
  EXPECT_EQ(flagged, 122U);
}

TEST_F(Corpus, KeysOfATruncatedHiveKnowTheirParent) {
  const Opened opened = Open("TruncatedHive");
  for (const uint32_t item : DisconnectedKeys(opened)) {
    const uint32_t position = opened.tree.items[item].position;
    const KeyNode node = ReadKeyNode(*opened.hive, position, KeyRead::kFields);
    EXPECT_EQ(ReadKeyName(*opened.hive, node.parent), "key_with_many_subkeys");
    EXPECT_EQ(node.name.find_first_not_of("0123456789"), std::string::npos) << node.name;
  }
}

TEST_F(Corpus, ParentFieldsLeadToTheRootAcrossHoles) {
  const Opened opened = Open("SYSTEM_holes");
  const HiveImage& hive = *opened.hive;
  int led_home = 0;
  for (const uint32_t item : DisconnectedKeys(opened)) {
    uint32_t position = opened.tree.items[item].position;
    for (int step = 0; step < 512 && position != hive.root_position; ++step) {
      const KeyNode node = ReadKeyNode(hive, position, KeyRead::kFields);
      position = node.state == KeyState::kAllocated ? node.parent : kNoOffset;
    }
    led_home += position == hive.root_position;
    // Shown where its parent field says; where the parent's cell is gone, under a key made for it.
    const uint32_t parent = opened.tree.items[item].parent;
    const uint32_t own = opened.tree.items[item].position;
    EXPECT_EQ(opened.tree.items[parent].position, ReadKeyNode(hive, own, KeyRead::kFields).parent);
    EXPECT_EQ(opened.tree.items[item].marks & ~kMarkByParent, 0);
  }
  EXPECT_EQ(led_home, 144);
}

TEST_F(Corpus, KnownValues) {
  const struct {
    const char* file;
    uint32_t signature;  // file offset
    const char* name;
    const char* text;
    bool disconnected;
  } cases[] = {
      {"HealedHive", 4460, "123", "test", false},  // its key is disconnected, itself not
      {"DeletedDataHiveTruncated", 4420, "v1", "123", false},  // its list is found again
      {"fragment_no_base_block", 1636, "AAA1", "", false},
      {"fragment_no_base_block", 1476, "A2", "AAA2", false},
      {"fragment_no_base_block", 1348, "B2", "BBB2", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.file << " " << c.signature);
    const Opened opened = Open(c.file);
    const uint32_t position = c.signature - 4;
    Bytes data;
    const ValueKey value =
        ReadValueKey(*opened.hive, position, ValueRead::kData, kMaxValueData, &data);
    EXPECT_EQ(value.status, ValueStatus::kRead);
    EXPECT_EQ(value.name, c.name);
    EXPECT_EQ(DataPreview(value.type, data, true), c.text);
    EXPECT_EQ(std::ranges::count(opened.tree.disconnected_value_positions, position),
              c.disconnected ? 1 : 0);
  }
}

TEST_F(Corpus, HivesInsideFilesAndFragments) {
  const struct {
    const char* file;
    uint32_t start, end;  // the range asked for, 0 and 0 for none
    uint32_t base, length;
    bool has_base_block;
    const char* key;     // a path below the root that must be there and connected
    uint32_t connected;  // real keys
  } cases[] = {
      {"hive_at_512", 0, 0, 512, 262656, true, nullptr, 3},
      // Up to the root of the fragment after it, and from there to that of the last one.
      {"hive_and_fragments", 0, 0, 512, 147488, true, "key_with_bigdata", 2},
      {"hive_and_fragments", 143872, 262656, 143872, 118304, true, "key_with_bigdata", 2},
      {"hive_and_fragments", 512, 147968, 512, 147456, true, "key_with_bigdata", 2},
      {"fragment_no_base_block", 0, 0, 0, 258048, false, "A1\\B2", 4},
      {"fragment_one_block", 0, 0, 0, 4096, false, nullptr, 1},
      {"fragment_1024_bytes", 0, 0, 0, 1024, false, "key_with_many_subkeys", 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    const Opened opened = Open(c.file, c.start, c.end);
    EXPECT_EQ(opened.hive->base_offset, c.base);
    EXPECT_EQ(opened.hive->length, c.length);
    EXPECT_EQ(opened.hive->header_valid, c.has_base_block);
    EXPECT_EQ(FiguresOf(opened)["keys"], std::to_string(c.connected));
    if (c.key == nullptr) continue;
    const uint32_t item = FindItemByPath(*opened.hive, opened.tree, c.key);
    ASSERT_NE(item, kNoItem);
    EXPECT_TRUE(opened.tree.items[item].connected);
  }
}

TEST_F(Corpus, EmbeddedHiveReadsLikeTheHiveAlone) {
  const struct {
    const char* file;
    const char* alone;
  } cases[] = {{"hive_at_512", "UnicodeHive"}, {"hive_and_fragments", "BigDataHive"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    const std::vector<PlainKey> keys = testing::ReadPlainTree(ReadFile(c.alone));
    const Opened opened = Open(c.file);
    for (const PlainKey& key : keys) ExpectSameKey(opened, keys, key);
  }
}

// What JSON Lines says of a list has as many lines as the list has rows, and no position that no
// file has.
void ExpectWritten(const OutputList& list) {
  ptrdiff_t lines = 0;
  WriteListJsonLines(list, [&lines](std::string_view piece) {
    lines += std::ranges::count(piece, '\n');
    EXPECT_EQ(piece.find("\"0xFFFFFFF0\""), std::string_view::npos);
    return true;
  });
  EXPECT_EQ(lines, static_cast<ptrdiff_t>(RowCount(list)));
}

void ListWhatIsFound(const Opened& opened) {
  const HiveImage& hive = *opened.hive;
  SearchSettings asked;
  asked.text = "ser";
  asked.key_names = asked.value_names = asked.value_data = asked.wide = true;
  SearchPattern pattern;
  ASSERT_TRUE(CompilePattern(asked, pattern));
  const OutputListPtr plain = MakeSearchList(true);
  const OutputListPtr sieved = MakeSearchList(true);
  SearchBranchBy(SearchWay::kPlain, hive, opened.tree, 0, pattern, *plain);
  SearchBranchBy(SearchWay::kSieved, hive, opened.tree, 0, pattern, *sieved);
  EXPECT_EQ(RowCount(*plain), RowCount(*sieved));
  ExpectWritten(*plain);
  for (size_t report = 0; report < static_cast<size_t>(Report::kCount); ++report) {
    const ReportInfo& info = InfoOf(static_cast<Report>(report));
    const OutputListPtr list = MakeOutputList(info.kind);
    RunReportOnHive(info.report, hive, opened.tree, 0, false, *list);
    ExpectWritten(*list);
  }
}

void ListSecurity(const Opened& opened) {
  constexpr std::pair<decltype(&ListUsedRecords), int> kWalks[] = {
      {ListUsedRecords, kListUsedRecords},
      {ListKeyOwners, kListKeyOwners},
      {ListRecordKeys, kListRecordKeys}};
  for (const auto& [walk, kind] : kWalks) {
    const OutputListPtr list = MakeOutputList(kind);
    walk(*opened.hive, opened.tree, 0, {}, *list);
    ExpectWritten(*list);
  }
  const OutputListPtr records = MakeOutputList(kListSecurityScan);
  ScanSecurityCells(*opened.hive, {}, *records);
  EXPECT_LE(RowCount(*records), opened.summary.security_records);
  const OutputListPtr aces = MakeAceList(true);
  ListAces(*opened.hive, {}, *aces);
  ExpectWritten(*aces);
}

// Every count that the plain reader finds has its row, with the time that its bytes hold.
TEST_F(Corpus, CountsOfProgramsAreThoseOfTheBytes) {
  constexpr std::pair<const char*, uint32_t> kHives[] = {{"NTUSER.DAT", 33},
                                                         {"win7_ntuser.dat", 338}};
  for (const auto& [name, rows] : kHives) {
    SCOPED_TRACE(name);
    Opened opened = Open(name);
    const HiveImage& hive = *opened.hive;
    const OutputListPtr list = MakeOutputList(InfoOf(Report::kCountKeys).kind);
    RunReportOnHive(Report::kCountKeys, hive, opened.tree, 0, false, *list);
    ASSERT_EQ(RowCount(*list), rows);
    uint32_t timed = 0;
    for (uint32_t row = 0; row < rows; ++row) {
      Bytes data;
      ReadValueKey(hive, RowDatum(*list, row), ValueRead::kData, kMaxValueData, &data);
      const bool is_long = data.size() == 72;
      if (!is_long && data.size() != 16) {
        EXPECT_EQ(CellText(*list, row, 4), "");
        continue;
      }
      const uint32_t at = is_long ? 60 : 8;
      const uint64_t time = uint64_t{GetU32(data, at + 4)} << 32 | GetU32(data, at);
      EXPECT_EQ(CellText(*list, row, 4), time == 0 ? "" : FormatTimestamp(time, false)) << row;
      EXPECT_EQ(CellText(*list, row, 6), std::to_string(GetU32(data, 4)));
      EXPECT_EQ(CellText(*list, row, 7), is_long ? std::to_string(GetU32(data, 8)) : "");
      EXPECT_EQ(CellText(*list, row, 8), is_long ? std::to_string(GetU32(data, 12)) : "");
      timed += time != 0;
    }
    EXPECT_GT(timed, rows / 3);
  }
}

// For the sanitizers too: all that there is to be listed of each file.
TEST_F(Corpus, EveryListOfEveryFile) {
  for (const auto& entry : std::filesystem::directory_iterator(CorpusFolder())) {
    const std::string name = entry.path().filename().string();
    SCOPED_TRACE(name);
    HiveLog log;
    const bool is_log = IsLogFile(entry.path().string(), log);
    // As part of a file even a log is looked through.
    const auto size = static_cast<uint32_t>(entry.file_size());
    Opened opened = is_log ? Open(name, 0, size) : Open(name);
    ASSERT_FALSE(opened.tree.items.empty());
    ValueListOptions options;
    options.raw = true;
    const OutputListPtr keys = ListKeyTree(*opened.hive, opened.tree, 0);
    EXPECT_EQ(RowCount(*keys), opened.summary.keys);
    ExpectWritten(*keys);
    ExpectWritten(*ListKeyValues(*opened.hive, opened.tree, kNoItem, options));
    EXPECT_EQ(RowCount(*ListDisconnectedValues(*opened.hive, opened.tree, options)),
              opened.summary.disconnected_values);
    ExpectWritten(*ListBlocks(ListHiveBins(*opened.hive)));
    ExpectWritten(*ListRootKeys(*opened.hive, opened.tree));
    ExpectWritten(*ListBlockRunsAndTell(entry.path().string()));
    ListWhatIsFound(opened);
    ListSecurity(opened);
    const ScriptExport written =
        ExportBranch(*opened.hive, opened.tree, 0, [](std::string_view) { return true; });
    EXPECT_EQ(written.keys + written.recovered_left_out, opened.summary.keys);
  }
}

}  // namespace
}  // namespace hivequarry
