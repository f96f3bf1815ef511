// Decoders of evidence over hives made here: each form of each entry, and damaged ones.
#include <gtest/gtest.h>

#include <map>

#include "evidence/decoders.h"
#include "hive/shown_zone.h"
#include "hive/timestamp.h"
#include "tests/support/log_writer.h"
#include "tests/support/logged_hive.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using namespace testing;

using Row = std::map<std::string, std::string>;

std::vector<Row> Decoded(const HiveImage& hive, const KeyTree& tree, std::string_view name,
                         uint32_t item) {
  const DecoderInfo* decoder = FindDecoder(name);
  if (decoder == nullptr) return {};
  const OutputListPtr list = MakeOutputList(decoder->kind);
  RunDecoder(*decoder, hive, tree, item, *list);
  std::vector<Row> rows;
  for (uint32_t row = 0; row < RowCount(*list); ++row) {
    Row& cells = rows.emplace_back();
    for (int i = 0; i < ColumnCount(*list); ++i) {
      cells[ColumnTitle(*list, i)] = CellText(*list, row, i);
    }
  }
  return rows;
}
std::vector<Row> Decoded(OpenedHive& opened, std::string_view name, std::string_view branch = "") {
  return Decoded(opened.hive, opened.tree, name, branch.empty() ? 0 : opened.Item(branch));
}
std::vector<Row> Decoded(const HiveBuilder& builder, std::string_view name) {
  OpenedHive opened(builder.Build());
  return Decoded(opened, name);
}

// The cells of some columns, joined with "|", row by row.
std::vector<std::string> Cells(const std::vector<Row>& rows,
                               std::initializer_list<const char*> columns) {
  std::vector<std::string> texts;
  for (const Row& row : rows) {
    std::string& text = texts.emplace_back();
    const char* between = "";
    for (const char* column : columns) text += between + row.at(column), between = "|";
  }
  return texts;
}
using Texts = std::vector<std::string>;

Bytes Wide(std::string_view text, bool end = true) {
  Bytes bytes;
  for (const char c : text) bytes.insert(bytes.end(), {static_cast<uint8_t>(c), 0});
  if (end) bytes.insert(bytes.end(), {0, 0});
  return bytes;
}
Bytes Times(uint64_t time) {
  Bytes bytes(8);
  for (size_t i = 0; i < 8; ++i) bytes[i] = static_cast<uint8_t>(time >> 8 * i);
  return bytes;
}
Bytes Numbers(std::initializer_list<uint32_t> numbers) {
  Bytes bytes(4 * numbers.size());
  size_t at = 0;
  for (const uint32_t number : numbers) PutU32(bytes, static_cast<uint32_t>(at++ * 4), number);
  return bytes;
}
const uint64_t kFebruary2020 = FileTime(2020, 2, 3, 4, 5, 6);
constexpr const char* kTimeText = "2020/02/03, 04:05:06";

// --- programs run -------------------------------------------------------------------------------

constexpr const char* kUserAssist =
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\UserAssist\\";
constexpr const char* kCounter = "{75048700-EF1F-11D0-9888-006097DEACF9}";

Bytes NewCounts(uint32_t runs) {
  Bytes data(72);
  PutU32(data, 0, 3);
  PutU32(data, 4, runs);
  PutU32(data, 8, 7);
  PutU32(data, 12, 900);
  const Bytes time = Times(kFebruary2020);
  std::ranges::copy(time, data.begin() + 60);
  return data;
}

TEST(Evidence, UserAssistReadsEveryForm) {
  HiveBuilder builder;
  KeyRef count = builder.Key(std::string(kUserAssist) + kCounter + "\\Count");
  count.Value("HRZR_EHACNGU:P:\\n.rkr", 3, Joined({Numbers({2, 7}), Times(kFebruary2020)}));
  count.Value("HRZR_PGYFRFFVBA", 3, Numbers({9, 1}));
  count.Value("{1NP14R77-02R7-4R5Q-O744-2RO1NR5198O7}\\pzq.rkr", 3, NewCounts(12));
  count.Value("UEME_RUNPIDL:x", 3, NewCounts(0));
  count.Value("C:\\plain.exe", 3, NewCounts(1));
  count.Value("n", 3, Bytes(1612));
  count.Value("o", 3, Bytes(20));
  count.Value("p", 3, Joined({Numbers({1, 3}), Times(0)}));
  const Texts expected = {"UEME_RUNPATH:C:\\a.exe|2||" + std::string(kTimeText) + "|7|2|",
                          "UEME_CTLSESSION|||||9|session, no program",
                          "System32\\cmd.exe|12|7|" + std::string(kTimeText) + "|12|3|",
                          "UEME_RUNPIDL:x|0|7|" + std::string(kTimeText) + "|0|3|",
                          "C:\\plain.exe|1|7|" + std::string(kTimeText) + "|1|3|",
                          "a|||||0|statistics of the session, no program",
                          "b||||||unknown form of 20 bytes",
                          "c|3|||3|1|count below where counting begins"};
  auto rows = Decoded(builder, "user-assist");
  auto cells = Cells(
      rows, {"Program", "Runs", "Focus Count", "Last Run", "Stored Count", "Session", "Note"});
  std::ranges::sort(cells);
  Texts sorted = expected;
  sorted[5].replace(sorted[5].find("|0|"), 3, "||");
  std::ranges::sort(sorted);
  EXPECT_EQ(cells, sorted);
  ASSERT_FALSE(rows.empty());
  EXPECT_EQ(rows[0].at("Counter"), kCounter);
  EXPECT_EQ(rows[0].at("State"), "live");
}

// The hive as it was before its logs, or after them: they remove one counter, and give two values
// of the other new records, one of them with the same data.
Bytes CountsOfState(bool after) {
  HiveBuilder builder;
  const std::string path = std::string(kUserAssist) + kCounter + "\\Count";
  builder.Key(std::string(kUserAssist) + "{0}\\Count").Value("q", 3, NewCounts(1));
  KeyRef counts = builder.Key(path);
  if (after) counts.Value("k", 3, NewCounts(9));
  counts.Value("n", 3, NewCounts(after ? 3 : 2)).Value("o", 3, NewCounts(4));
  if (!after) counts.Value("k", 3, NewCounts(9));
  BuiltHive built = builder.Build();
  if (after) built.Unlink(std::string(kUserAssist) + "{0}");
  SetNumbers(built.bytes, 10, after ? 10 : 9);
  return built.bytes;
}

TEST(Evidence, WhatLogsRemovedOrChangedIsDecodedToo) {
  const Bytes before = CountsOfState(false);
  const Bytes after = CountsOfState(true);
  ASSERT_EQ(before.size(), after.size());
  LoggedFiles files;
  files.hive = before;
  files[".LOG1"] = NewLog(before, {EntryBetween(before, after, 10)});
  LoggedHive logged(files);
  Texts cells =
      Cells(Decoded(logged.hive(), logged.tree(), "user-assist", 0), {"Program", "Runs", "State"});
  std::erase_if(cells, [](const std::string& row) { return row.ends_with("|recovered"); });
  EXPECT_EQ(cells, (Texts{"x|9|live", "a|3|live", "b|4|live", "d|1|removed by the logs",
                          "a|2|changed by the logs"}));
}

TEST(Evidence, UserAssistNamesOfTestVersionsAreReadWhenTheyProveIt) {
  // "UEME_CTLSESSION" moved by the key's letters, "_" using up one of them or not; and a name that
  // no cipher makes sense of.
  HiveBuilder builder;
  KeyRef count = builder.Key(std::string(kUserAssist) + kCounter + "\\Count");
  count.Value("VATU_PDEWDQXAZZ", 3, NewCounts(1));
  count.Value("VATU_MMPRCXKTAE", 3, NewCounts(2));
  count.Value("VATU_XYZ", 3, NewCounts(3));
  const std::string note = "name ciphered as test versions of 7 did";
  EXPECT_EQ(Cells(Decoded(builder, "user-assist"), {"Program", "Runs", "Note"}),
            (Texts{"UEME_CTLSESSION|1|" + note, "UEME_CTLSESSION|2|" + note, "INGH_KLM|3|"}));
}

TEST(Evidence, UserAssistNamesMayBeStoredPlain) {
  HiveBuilder builder;
  builder.Key(std::string(kUserAssist) + "Settings").Dword("NoEncrypt", 1);
  builder.Key(std::string(kUserAssist) + kCounter + "\\Count").Value("Tool", 3, NewCounts(1));
  EXPECT_EQ(Cells(Decoded(builder, "user-assist"), {"Program"}), Texts{"Tool"});
}

// --- the cache of compatibility -----------------------------------------------------------------

void Append(Bytes& to, const Bytes& from) { to.insert(to.end(), from.begin(), from.end()); }
Bytes Short(uint32_t number) {
  return {static_cast<uint8_t>(number), static_cast<uint8_t>(number >> 8)};
}

// One entry of path "C:\a", in the form of entries side by side.
Bytes TableCache(uint32_t magic, uint32_t header, bool wide, uint32_t last) {
  Bytes data = Numbers({magic, 1});
  data.resize(header);
  const size_t entry = (wide ? 32U : 24U) + (header == 8 ? 0U : 8U + (wide ? 8U : 0U));
  const auto path = static_cast<uint32_t>(header + entry);
  Append(data, Short(8));
  Append(data, Short(10));
  if (wide) Append(data, Numbers({0}));
  Append(data, Numbers({path}));
  if (wide) Append(data, Numbers({0}));
  Append(data, Times(kFebruary2020));
  Append(data, Numbers({last}));
  data.resize(path);
  Append(data, Wide("C:\\a"));
  return data;
}
Bytes XpCache() {
  Bytes data = Numbers({0xDEADBEEF, 2, 2});
  data.resize(0x190);
  Append(data, Wide("C:\\a"));
  data.resize(0x190 + 528);
  Append(data, Joined({Times(kFebruary2020), Numbers({11, 0}), Times(kFebruary2020)}));
  return data;
}
// An entry of one after the other.
Bytes ChainEntry(const char* magic, bool package, bool flags) {
  Bytes body = Short(8);
  Append(body, Wide("C:\\a", false));
  if (package) Append(body, Joined({Short(2), Wide("p", false)}));
  if (flags) Append(body, Numbers({2, 0}));
  Append(body, Joined({Times(kFebruary2020), Numbers({3}), Bytes(3)}));
  Bytes entry(magic, magic + 4);
  Append(entry, Numbers({0, static_cast<uint32_t>(body.size())}));
  Append(entry, body);
  return entry;
}
Bytes ChainCache(uint32_t header, const Bytes& entry) {
  Bytes data = Numbers({header});
  data.resize(header);
  Append(data, entry);
  return data;
}

TEST(Evidence, ShimCacheReadsEveryGeneration) {
  const Bytes ten = ChainEntry("10ts", false, false);
  Bytes beyond = TableCache(0xBADC0FEE, 0x80, false, 2);
  PutU32(beyond, 0x84, 0x00FFFFFF);
  const struct {
    Bytes data;
    std::string cells;
  } cases[] = {
      {XpCache(), "C:\\a||11||XP|"},
      {TableCache(0xBADC0FFE, 8, false, 900), "C:\\a||900||2003|"},
      {TableCache(0xBADC0FFE, 8, true, 900), "C:\\a||900||2003|"},
      {TableCache(0xBADC0FFE, 8, false, 2), "C:\\a|yes|||Vista|"},
      {TableCache(0xBADC0FEE, 0x80, false, 2), "C:\\a|yes|||7|"},
      {TableCache(0xBADC0FEE, 0x80, true, 1), "C:\\a|no|||7|"},
      {ChainCache(0x80, ChainEntry("00ts", false, true)), "C:\\a|yes|||8|"},
      {ChainCache(0x80, ChainEntry("10ts", true, true)), "C:\\a|yes||p|8.1|"},
      {ChainCache(0x30, ten), "C:\\a||||10|"},
      {ChainCache(0x34, ten), "C:\\a||||10|"},
      {beyond, "|yes|||7|the path lies beyond the data"},
      {ChainCache(0x34, Bytes(ten.begin(), ten.end() - 2)), "C:\\a||||10|the entry is cut off"},
  };
  for (const auto& c : cases) {
    HiveBuilder builder;
    builder.Key("ControlSet002\\Control\\Session Manager\\AppCompatCache")
        .Value("AppCompatCache", 3, c.data);
    builder.Key("Select").Dword("Current", 2);
    const auto rows = Decoded(builder, "shim-cache");
    ASSERT_FALSE(rows.empty()) << c.cells;
    EXPECT_EQ(Cells({rows[0]}, {"Program", "Was Run", "Size", "Package", "Form", "Note"}),
              Texts{c.cells});
    EXPECT_EQ(rows[0].at("Control Set"), "ControlSet002 (current)");
    const bool cut = c.cells.find("cut") != std::string::npos;
    EXPECT_EQ(rows[0].at("Modified"), cut ? "" : kTimeText);
  }
}

TEST(Evidence, ShimCacheSaysWhatIsMissing) {
  Bytes short_of = XpCache();  // two are counted, one is there
  HiveBuilder builder;
  builder.Key("ControlSet001\\Control\\Session Manager\\AppCompatibility")
      .Value("AppCompatCache", 3, short_of);
  builder.Key("ControlSet001\\Control\\Session Manager\\AppCompatCache")
      .Value("AppCompatCache", 3, Bytes(64, 7));
  EXPECT_EQ(Cells(Decoded(builder, "shim-cache"), {"Program", "Note"}),
            (Texts{"|no known form of this cache", "C:\\a|", "|the header counts 2 entries"}));
}

TEST(Evidence, ActivityModeratorsInBothPlaces) {
  const Bytes data = Numbers({0x1FCBD366, 0x01D88655, 0, 0, 0, 2});
  HiveBuilder builder;
  KeyRef services = builder.Key("ControlSet001\\Services");
  services.Key("bam\\UserSettings\\S-1-5-18").Value("old.exe", 3, data).Dword("Version", 1);
  services.Key("bam\\State\\UserSettings\\S-1-5-18")
      .Value("new.exe", 3, data)
      .Value("short", 3, {1, 2});
  services.Key("dam\\UserSettings\\S-1-5-19").Value("d", 3, data);
  const std::string time = "2022/06/22, 16:28:37.1223398";
  EXPECT_EQ(Cells(Decoded(builder, "activity"),
                  {"Program", "Last Run", "User", "Kind", "Moderator", "Note"}),
            (Texts{"old.exe|" + time + "|S-1-5-18|desktop|bam|",
                   "new.exe|" + time + "|S-1-5-18|desktop|bam|",
                   "short||S-1-5-18||bam|data too short: 2 bytes",
                   "d|" + time + "|S-1-5-19|desktop|dam|"}));
}

TEST(Evidence, AmCacheReadsBothForms) {
  const std::string hash = "0000" + std::string(40, 'a');
  HiveBuilder builder("{11517B7C-E79D-4e20-961B-75A811715ADD}");
  builder.Key("Root\\File\\{v}\\1000")
      .Sz("15", "C:\\x\\a.exe")
      .Sz("101", hash)
      .Dword("6", 5)
      .Qword("11", kFebruary2020)
      .Dword("f", 1000000000);
  builder.Key("Root\\InventoryApplicationFile\\b|1")
      .Sz("Name", "b.exe")
      .Sz("FileId", "12")
      .Qword("Size", 6)
      .Sz("LinkDate", "12/16/2019 20:45:45");
  builder.Key("Root\\InventoryApplicationFile\\c|1")
      .Sz("Name", "c.exe")
      .Sz("LinkDate", "02/30/2019 00:00:00");
  EXPECT_EQ(
      Cells(Decoded(builder, "am-cache"),
            {"Kind", "Item", "SHA-1", "Size", "Linked", "Modified", "Note"}),
      (Texts{"file|a.exe|" + std::string(40, 'a') + "|5|2001/09/09, 01:46:40|" + kTimeText + "|",
             "file|b.exe|12|6|2019/12/16, 20:45:45||no SHA-1 of the usual form",
             "file|c.exe|||02/30/2019 00:00:00||"}));
}

// --- where decoders begin -----------------------------------------------------------------------

TEST(Evidence, PlacesAreFoundWhateverTheHiveIsCalled) {
  const std::string below = std::string(kUserAssist) + kCounter + "\\Count";
  const struct {
    const char* root;
    std::string path;
    size_t rows;
  } cases[] = {{"ROOT", below, 1},
               {"CMI-CreateHive{00000000}", below, 1},
               {"ROOT", "sOFTWARE" + below.substr(8), 1},
               {"ROOT", "S-1-5-21-1\\" + below, 1},
               {"UserAssist", std::string(kCounter) + "\\Count", 1},
               {"Explorer", "UserAssist\\" + std::string(kCounter) + "\\Count", 1},
               {"ROOT", "Other\\" + below, 0},
               {"ROOT", "UserAssist\\" + std::string(kCounter) + "\\Count", 0},
               {"Count", "x", 0}};
  for (const auto& c : cases) {
    HiveBuilder builder(c.root);
    builder.Key(c.path).Value("n", 3, NewCounts(1));
    EXPECT_EQ(Decoded(builder, "user-assist").size(), c.rows) << c.root << " " << c.path;
  }
}

TEST(Evidence, TornOffKeysAreRecoveredEvidence) {
  HiveBuilder builder;
  builder.Key(std::string(kUserAssist) + kCounter + "\\Count").Value("n", 3, NewCounts(1));
  BuiltHive built = builder.Build();
  built.Unlink("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\UserAssist");
  OpenedHive opened(built);
  EXPECT_EQ(Cells(Decoded(opened, "user-assist"), {"Program", "State"}), Texts{"a|recovered"});
}

TEST(Evidence, ControlSetsOfWhichNothingTellsWhatIsAboveAreSearched) {
  HiveBuilder builder;
  builder.Key("ControlSet001\\Services\\bam\\UserSettings\\S-1-5-18")
      .Value("p.exe", 3, Numbers({0, 0, 0, 0, 0, 0}));
  builder.Key("Select").Dword("Current", 1);
  BuiltHive built = builder.Build();
  // The set is torn off, and the offset of its parent leads nowhere.
  const uint32_t set = built.PositionOf("ControlSet001");
  built.Unlink("ControlSet001").SetU32(set, 4 + 16, 0x00FFFFF0);
  OpenedHive opened(built);
  EXPECT_EQ(Cells(Decoded(opened, "activity"), {"Program", "User", "Control Set", "State"}),
            Texts{"p.exe|S-1-5-18|ControlSet001|recovered"});
}

TEST(Evidence, FreedValuesAreDecodedAndABranchLimitsTheRows) {
  const std::string path = std::string(kUserAssist) + kCounter + "\\Count";
  HiveBuilder builder;
  builder.Key(path).Value("n", 3, NewCounts(1)).Value("o", 3, NewCounts(2));
  builder.Key(std::string(kUserAssist) + "{0}\\Count").Value("p", 3, NewCounts(3));
  BuiltHive built = builder.Build();
  // The second value is deleted: the key counts one, its list's entry is left.
  const uint32_t key = built.PositionOf(path);
  built.SetU32(key, 4 + 36, 1);
  built.Free(built.ValuePosition(path, "o"));
  built.Free(built.DataPosition(path, "o"));
  OpenedHive opened(built);
  EXPECT_EQ(Cells(Decoded(opened, "user-assist", path), {"Program", "Runs", "State"}),
            (Texts{"a|1|live", "b|2|freed"}));
  EXPECT_EQ(Decoded(opened, "user-assist").size(), 3U);
}

// --- folders and files --------------------------------------------------------------------------

// A folder's item with an extension of version 9: times, file reference, long name.
Bytes FolderItem(std::string_view short_name, std::string_view long_name) {
  Bytes item(14);
  item[2] = 0x31;
  PutU32(item, 8, 0x20C650A2);
  item.insert(item.end(), short_name.begin(), short_name.end());
  item.resize((item.size() + 2) & ~size_t{1});
  const size_t block = item.size();
  item.resize(block + 46);
  PutU16(item, static_cast<uint32_t>(block + 2), 9);
  PutU32(item, static_cast<uint32_t>(block + 4), 0xBEEF0004);
  PutU32(item, static_cast<uint32_t>(block + 8), 0x20C65043);
  PutU32(item, static_cast<uint32_t>(block + 20), 77);
  PutU16(item, static_cast<uint32_t>(block + 26), 5);
  const Bytes name = Wide(long_name);
  item.insert(item.end(), name.begin(), name.end());
  item.resize(item.size() + 2);
  PutU16(item, static_cast<uint32_t>(block), static_cast<uint16_t>(item.size() - block));
  PutU16(item, 0, static_cast<uint16_t>(item.size()));
  item.resize(item.size() + 2);
  return item;
}

TEST(Evidence, ShellBagsHavePathsOrderAndSlots) {
  HiveBuilder builder;
  KeyRef bags = builder.Key("Local Settings\\Software\\Microsoft\\Windows\\Shell\\BagMRU");
  Bytes drive = {0x19, 0, 0x2F, 'C', ':', '\\'};
  drive.resize(0x19 + 2);
  bags.Value("0", 3, FolderItem("OTHER", "Other folder")).Value("1", 3, drive);
  bags.Value("2", 3, {9, 0, 1})
      .Value("MRUListEx", 3, Numbers({1, 0, 0xFFFFFFFF}))
      .Time(kFebruary2020);
  KeyRef below = bags.Key("1");
  below.Dword("NodeSlot", 8).Value("0", 3, FolderItem("LONGNA~1", "Long name"));
  bags.Key("7").Value("0", 3, FolderItem("LOST", "Lost"));
  const auto rows = Decoded(builder, "shell-bags");
  const std::string time = kTimeText;
  EXPECT_EQ(Cells(rows, {"Folder", "Kind", "Order", "Last Used", "Slot", "Dos Name",
                         "File Reference", "Note"}),
            (Texts{"C:\\|volume|1|" + time + "|8|||", "Other folder|folder|2|||OTHER|77-5|",
                   "|unknown||||||an item leads beyond the data",
                   "C:\\Long name|folder||||LONGNA~1|77-5|", "...\\Lost|folder||||LOST|77-5|"}));
  ASSERT_EQ(rows.size(), 5U);
  EXPECT_EQ(rows[1].at("Created"), FormatDosTimestamp(0x20C65043));
}

TEST(Evidence, DialogsGiveFilesProgramsAndFolders) {
  const std::string path = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32\\";
  HiveBuilder builder;
  const Bytes item = FolderItem("A", "A folder");
  builder.Key(path + "OpenSavePidlMRU\\txt").Value("0", 3, item).Value("1", 3, {0, 0});
  builder.Key(path + "OpenSaveMRU\\doc").Sz("a", "C:\\x.doc").Sz("MRUList", "a");
  builder.Key(path + "LastVisitedPidlMRU").Value("0", 3, Joined({Wide("p.exe"), item}));
  builder.Key(path + "LastVisitedMRU").Value("a", 3, Joined({Wide("q.exe"), Wide("D:\\dir")}));
  builder.Key(path + "CIDSizeMRU").Value("0", 3, Joined({Wide("r.exe"), Bytes(32, 7)}));
  builder.Key(path + "FirstFolder").Value("0", 3, Wide("s.exe", false));
  EXPECT_EQ(Cells(Decoded(builder, "dialog-files"),
                  {"List", "Program", "File or Folder", "Ending", "Order", "Note"}),
            (Texts{"file||A folder|txt||", "file|||txt||empty list: the desktop",
                   "file||C:\\x.doc|doc|1|", "last folder|p.exe|A folder|||",
                   "last folder|q.exe|D:\\dir|||",
                   "first folder|s.exe||||the program's name has no end", "program|r.exe||||"}));
}

TEST(Evidence, DocumentsAndTypedTextsInTheirOrder) {
  const std::string path = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\";
  HiveBuilder builder;
  const Bytes link = FolderItem("A~1.LNK", "a.lnk");
  KeyRef docs = builder.Key(path + "RecentDocs");
  docs.Value("0", 3, Joined({Wide("a.txt"), link})).Value("3", 3, Joined({Wide("b.txt"), link}));
  docs.Value("MRUListEx", 3, Numbers({3, 0, 0xFFFFFFFF})).Time(kFebruary2020);
  docs.Key(".txt").Value("0", 3, {});
  const std::string time = kTimeText;
  EXPECT_EQ(Cells(Decoded(builder, "recent-docs"),
                  {"Document", "Link", "Ending", "Order", "Last Used", "Note"}),
            (Texts{"b.txt|a.lnk||1|" + time + "|", "a.txt|a.lnk||2||",
                   "||.txt|||data too short: 0 bytes"}));
  builder.Key(path + "RunMRU")
      .Sz("a", "cmd\\1")
      .Sz("b", "calc\\1")
      .Sz("MRUList", "ba")
      .Time(kFebruary2020);
  builder.Key(path + "WordWheelQuery")
      .Value("0", 3, Wide("word"))
      .Value("MRUListEx", 3, Numbers({0}));
  builder.Key("Software\\Microsoft\\Internet Explorer\\TypedURLs")
      .Sz("url2", "http://two")
      .Sz("url1", "http://one");
  builder.Key("Software\\Microsoft\\Internet Explorer\\TypedURLsTime")
      .Value("url2", 3, Times(kFebruary2020));
  builder.Key("Software\\Microsoft\\Search Assistant\\ACMru\\5603").Sz("000", "old word");
  const auto rows = Decoded(builder, "typed-texts");
  EXPECT_EQ(Cells(rows, {"List", "Text", "Order", "Time"}),
            (Texts{"command|calc|1|", "command|cmd|2|", "word|word|1|", "word|old word|1|",
                   "address|http://one|1|", "address|http://two|2|" + time}));
}

TEST(Evidence, AppSettingsHaveTheirOwnTimes) {
  HiveBuilder builder;
  const Bytes time = Times(kFebruary2020);
  KeyRef local = builder.Key("LocalState");
  local.Value("zoom", 0x5F5E105, Joined({Numbers({125}), time})).Sz("plain", "of the registry");
  local.Key("Deep\\Deeper").Value("user", 0x5F5E10C, Joined({Wide("bob"), time}));
  builder.Key("RoamingState").Value("cut", 0x5F5E10C, {1, 2});
  builder.Key("Other").Value("elsewhere", 0x5F5E10B, Joined({Bytes{1}, time}));
  const std::string text = kTimeText;
  EXPECT_EQ(Cells(Decoded(builder, "app-settings"),
                  {"Value", "Setting Type", "Setting", "Written", "Note"}),
            (Texts{"zoom|uint32|125|" + text + "|", "user|text|bob|" + text + "|",
                   "cut|text|||the data end before their time"}));
}

// --- devices, networks, accounts ----------------------------------------------------------------

TEST(Evidence, UsbDevicesHaveTimesOfBothFormsAndTheirVolumes) {
  const std::string times = "\\Properties\\{83da6326-97a6-4088-9453-a1923f573b29}\\";
  HiveBuilder builder;
  KeyRef store = builder.Key("ControlSet001\\Enum\\USBSTOR\\Disk&Ven_V&Prod_P&Rev_1");
  store.Key("S1&0").Sz("FriendlyName", "Stick");
  store.Key("S1&0" + times + "00000064\\00000000").Value("Data", 0xFFFF0010, Times(kFebruary2020));
  store.Key("6&made&0").Sz("ParentIdPrefix", "7&pre&0");
  store.Key("6&made&0" + times + "0067").Value("", 0xFFFF0010, Times(kFebruary2020));
  builder.Key("MountedDevices")
      .Value("\\DosDevices\\E:", 3, Wide("_??_USBSTOR#Disk&Ven_V#S1&0#{53f56307}", false))
      .Value("\\DosDevices\\F:", 3, Wide("\\??\\STORAGE#RemovableMedia#7&pre&0&RM#{5}", false))
      .Value("\\DosDevices\\C:", 3, Numbers({0x5CBEA03E, 0x100000, 0}))
      .Value("\\??\\Volume{1}", 3, Numbers({0x5CBEA03E, 0x100000, 0}));
  const std::string time = kTimeText;
  OpenedHive opened(builder.Build());
  EXPECT_EQ(Cells(Decoded(opened, "usb-devices"), {"Device", "Vendor", "Product", "Serial",
                                                   "Installed", "Last Removal", "Volumes", "Note"}),
            (Texts{"|V|P|6&made&0||" + time + "|F:|no serial of the device: made by the system",
                   "Stick|V|P|S1&0|" + time + "||E:|"}));
  EXPECT_EQ(Cells(Decoded(opened, "volumes"), {"Volume", "Kind", "Disk Signature", "Start",
                                               "Serial", "Device Name", "Names Together"}),
            (Texts{"E:|device|||S1&0|Stick|", "F:|device|||7&pre&0||",
                   "C:|MBR partition|0x5CBEA03E|1048576|||C:, {1}",
                   "{1}|MBR partition|0x5CBEA03E|1048576|||C:, {1}"}));
}

TEST(Evidence, AutostartSaysWhatIsApproved) {
  HiveBuilder builder;
  const std::string version = "Microsoft\\Windows\\CurrentVersion\\";
  builder.Key(version + "Run").Sz("On", "on.exe").Sz("Off", "off.exe");
  builder.Key("Wow6432Node\\" + version + "Run").Sz("Off", "32.exe").Sz("Off32", "33.exe");
  builder.Key("Wow6432Node\\" + version + "RunOnce").Sz("Off32", "once.exe");
  builder.Key(version + "Explorer\\StartupApproved\\Run")
      .Value("Off", 3, Joined({Numbers({3}), Times(kFebruary2020)}));
  builder.Key(version + "Explorer\\StartupApproved\\Run32")
      .Value("Off32", 3, Joined({Numbers({3}), Times(kFebruary2020)}));
  builder.Key("Microsoft\\Windows NT\\CurrentVersion\\Winlogon")
      .Sz("Shell", "explorer.exe")
      .Sz("Other", "x");
  builder.Key("Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options\\sethc.exe")
      .Sz("Debugger", "cmd.exe");
  const std::string time = kTimeText;
  EXPECT_EQ(
      Cells(Decoded(builder, "autostart"),
            {"Place", "Entry", "Command", "Approved", "Switched Off"}),
      (Texts{"StartupApproved Run|Off||no|" + time, "StartupApproved Run32|Off32||no|" + time,
             "Run|On|on.exe||", "Run|Off|off.exe|no|" + time, "Run (32-bit)|Off|32.exe||",
             "Run (32-bit)|Off32|33.exe|no|" + time, "RunOnce (32-bit)|Off32|once.exe||",
             "Winlogon|Shell|explorer.exe||", "Image File Execution Options|sethc.exe|cmd.exe||"}));
}

TEST(Evidence, NetworksAreJoinedWithTheirSignatures) {
  const std::string list = "Microsoft\\Windows NT\\CurrentVersion\\NetworkList\\";
  HiveBuilder builder;
  Bytes local(16);
  PutU16(local, 0, 2020), PutU16(local, 2, 2), PutU16(local, 6, 3), PutU16(local, 8, 4);
  PutU16(local, 10, 5), PutU16(local, 12, 6);
  builder.Key(list + "Profiles\\{A}")
      .Sz("ProfileName", "Home")
      .Dword("NameType", 71)
      .Dword("Category", 1)
      .Value("DateCreated", 3, local)
      .Value("DateLastConnected", 3, Bytes(16));
  builder.Key(list + "Signatures\\Unmanaged\\1")
      .Sz("ProfileGuid", "{A}")
      .Value("DefaultGatewayMac", 3, {1, 2, 3, 4, 5, 0xAB});
  EXPECT_EQ(Cells(Decoded(builder, "networks"),
                  {"List", "Network", "Category", "Kind", "Created (local)", "Gateway", "Note"}),
            (Texts{"profile|Home|private|wireless|" + std::string(kTimeText) +
                       "|01-02-03-04-05-AB|DateLastConnected is no time",
                   "unmanaged|||||01-02-03-04-05-AB|"}));
  ShownZone zone;
  ASSERT_TRUE(ReadZone("+02:00", zone));
  SetShownZone(zone);
  const Texts shown = Cells(Decoded(builder, "networks"), {"Created (local)"});
  SetShownZone({});
  EXPECT_EQ(shown[0], kTimeText) << "nobody knows how far it is from UTC";
}

Bytes UserTexts(std::string_view name) {
  Bytes data(0xCC);
  PutU32(data, 0x10, static_cast<uint32_t>(2 * name.size()));
  PutU32(data, 0x1C, 8);  // a full name beyond the record
  PutU32(data, 0x18, 0x00FFFFFF);
  Append(data, Wide(name, false));
  return data;
}
Bytes UserNumbers(uint32_t number) {
  Bytes data(80);
  const Bytes time = Times(kFebruary2020);
  std::ranges::copy(time, data.begin() + 8);
  PutU32(data, 48, number);
  PutU32(data, 56, 0x215);
  return data;
}

TEST(Evidence, AccountsThatContradictThemselvesSaySo) {
  HiveBuilder builder;
  KeyRef users = builder.Key("SAM\\Domains\\Account\\Users");
  users.Key("000001F4").Value("F", 3, UserNumbers(500)).Value("V", 3, UserTexts("admin"));
  users.Key("000003E9").Value("F", 3, UserNumbers(500)).Value("V", 3, UserTexts("guest"));
  users.Key("000003EA").Value("V", 3, UserTexts("hidden"));
  Bytes over = UserTexts("over");
  PutU32(over, 0xA8, 4), PutU32(over, 0xAC, 4);  // the name's last two letters
  users.Key("000003EB").Value("V", 3, over);
  users.Key("Names\\admin").Value("", 500, {});
  users.Key("Names\\other").Value("", 1001, {});
  users.Key("Names\\gone").Value("", 1005, {});
  const std::string beyond = "a text lies beyond the record";
  const std::string time = kTimeText;
  const auto rows = Decoded(builder, "accounts");
  EXPECT_EQ(
      Cells(rows, {"User", "Number", "Last Logon", "Note"}),
      (Texts{"admin|500|" + time + "|" + beyond,
             "guest|1001|" + time + "|" + beyond +
                 "; the record has the number 500, the key 1001; the key below Names is called "
                 "\"other\"",
             "hidden|1002||" + beyond + "; no record of logons; no key below Names has this number",
             "|1003||a text lies over a password's hash; " + beyond +
                 "; no record of logons; no key below Names has this number",
             "gone|1005||no user has this number"}));
}

// --- services, tasks, the system ----------------------------------------------------------------

TEST(Evidence, ServicesHaveTheirRealFiles) {
  HiveBuilder builder;
  KeyRef services = builder.Key("ControlSet001\\Services");
  services.Key("a")
      .Dword("Type", 0x20)
      .Dword("Start", 2)
      .ExpandSz("ImagePath", "%SystemRoot%\\system32\\svchost.exe -k netsvcs");
  services.Key("a\\Parameters").ExpandSz("ServiceDll", "C:\\real.dll");
  services.Key("b").Dword("Type", 1).Sz("ImagePath", "\\SystemRoot\\x.sys");
  services.Key("c").Dword("Type", 1).Dword("Start", 9);
  services.Key("d").Dword("Type", 0x10).Sz("ImagePath", "\"C:\\A b\\c.exe\" -x");
  services.Key("e").Dword("Type", 0x10).Sz("ImagePath", "C:\\A b\\c.exe -x.dll");
  services.Key("f").Sz("Other", "no service");
  const std::string none = "no path: the place where the system looks then";
  EXPECT_EQ(Cells(Decoded(builder, "service-files"), {"Service", "File", "Start", "Note"}),
            (Texts{"a|C:\\real.dll|automatic|", "b|%SystemRoot%\\x.sys||",
                   "c|%SystemRoot%\\System32\\drivers\\c.sys|9|" + none, "d|C:\\A b\\c.exe||",
                   "e|C:\\A b\\c.exe||"}));
}

TEST(Evidence, TasksThatNoTreeNamesSaySo) {
  const std::string cache = "Microsoft\\Windows NT\\CurrentVersion\\Schedule\\TaskCache\\";
  const Bytes info =
      Joined({Numbers({3}), Times(kFebruary2020), Times(0), Numbers({0, 0}), Times(kFebruary2020)});
  HiveBuilder builder;
  builder.Key(cache + "Tasks\\{A}").Sz("Path", "\\a").Value("DynamicInfo", 3, info);
  builder.Key(cache + "Tasks\\{B}").Value("DynamicInfo", 3, Bytes(info.begin(), info.begin() + 28));
  builder.Key(cache + "Tasks\\{C}").Value("DynamicInfo", 3, {1});
  builder.Key(cache + "Tree\\folder\\a").Sz("Id", "{a}");
  const std::string time = kTimeText;
  const std::string hidden = "no key of the tree of tasks names it";
  EXPECT_EQ(Cells(Decoded(builder, "tasks"),
                  {"Task", "Created", "Last Run", "Completed", "Guid", "Note"}),
            (Texts{"\\a|" + time + "||" + time + "|{A}|", "|" + time + "|||{B}|" + hidden,
                   "||||{C}|data too short: 1 bytes; " + hidden}));
}

Bytes LongWide(std::string_view text) {
  return Joined({Numbers({static_cast<uint32_t>(2 * text.size())}), Wide(text, false)});
}

TEST(Evidence, TasksSayWhatTheyDo) {
  const Bytes id = {1, 0, 0, 0, 2, 0, 3, 0, 4, 4, 5, 5, 5, 5, 5, 5};
  const Bytes program = Joined(
      {Bytes{0x66, 0x66}, LongWide(""), LongWide("a.exe"), LongWide("-x"), LongWide("C:\\in")});
  const Bytes plain =
      Joined({Bytes{0x66, 0x66}, LongWide("n"), LongWide("b.exe"), LongWide(""), LongWide("")});
  const Bytes handler = Joined({Bytes{0x77, 0x77}, LongWide(""), id, LongWide("data")});
  const Bytes author = LongWide("Author");
  const struct {
    Bytes data;
    const char* actions;
    const char* note;
  } cases[] = {
      {Joined({Bytes{3, 0}, author, program, Bytes{0, 0}, handler}),
       "a.exe -x (in C:\\in); {00000001-0002-0003-0404-050505050505} data", ""},
      {Joined({Bytes{1, 0}, plain, program}), "b.exe; a.exe -x (in C:\\in)", ""},
      {Joined({Bytes{3, 0}, author, Bytes{0x88, 0x88}, LongWide("")}), "a mail", ""},
      {Joined({Bytes{3, 0}, author, Bytes{0x99, 0x99}, LongWide(""), LongWide("t"), LongWide("w")}),
       "message: t: w", ""},
      {Joined({Bytes{3, 0}, author, Bytes{0x11, 0x11}}), "", "an action of unknown form"},
      {Joined({Bytes{3, 0}, author, Bytes{0x66, 0x66}, LongWide(""), Numbers({0xFFFFFFFF})}), "",
       "an action leads beyond the data"},
      {Joined({Bytes{3, 0}, author}), "", ""},
      {{3}, "", "data too short: 1 bytes"},
  };
  for (const auto& c : cases) {
    HiveBuilder builder;
    builder.Key("Microsoft\\Windows NT\\CurrentVersion\\Schedule\\TaskCache\\Tasks\\{A}")
        .Value("Actions", 3, c.data);
    EXPECT_EQ(Cells(Decoded(builder, "tasks"), {"Actions", "Note"}),
              Texts{std::string(c.actions) + "|" + c.note});
  }
}

TEST(Evidence, TheSystemSaysWhatItIs) {
  HiveBuilder builder;
  KeyRef zone = builder.Key("ControlSet001\\Control\\TimeZoneInformation");
  zone.Dword("Bias", 0xFFFFFFC4);
  zone.Value("StandardStart", 3, Numbers({0x000B0000, 0x00020001, 0, 0}));
  zone.Value("DaylightStart", 3, Numbers({0x000307E4, 0x00020008, 0, 0}));
  zone.Value("TimeZoneKeyName", 1, Joined({Wide("Zone"), Wide("rest", false)}));
  builder.Key("ControlSet001\\Control\\Windows").Value("ShutdownTime", 3, Times(kFebruary2020));
  builder.Key("Setup\\Source OS (Updated on 1)").Dword("InstallDate", 1000000000);
  builder.Key("Setup\\Other").Dword("InstallDate", 1000000000);
  auto cells = Cells(Decoded(builder, "system-facts"), {"Fact", "Is", "Time", "Note"});
  std::ranges::sort(cells);
  Texts expected = {"Last shutdown||" + std::string(kTimeText) + "|",
                    "Time zone|Zone||8 bytes after the text's end",
                    "Bias|-60 minutes||",
                    "Standard time begins|first Sunday of November, 02:00||",
                    "Daylight time begins|2020/03/08, 02:00||",
                    "Earlier installation: Source OS (Updated on 1)||2001/09/09, 01:46:40|"};
  std::ranges::sort(expected);
  EXPECT_EQ(cells, expected);
}

TEST(Evidence, ProfilesAndPolicies) {
  HiveBuilder builder;
  builder.Key("Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\S-1-5-21-1.bak")
      .ExpandSz("ProfileImagePath", "C:\\Users\\a")
      .Dword("LocalProfileLoadTimeLow", static_cast<uint32_t>(kFebruary2020))
      .Dword("LocalProfileLoadTimeHigh", static_cast<uint32_t>(kFebruary2020 >> 32));
  EXPECT_EQ(
      Cells(Decoded(builder, "profiles"), {"User", "Folder", "Loaded", "Note"}),
      Texts{"S-1-5-21-1.bak|C:\\Users\\a|" + std::string(kTimeText) + "|put aside by the system"});
  HiveBuilder policy;
  Bytes audit = Numbers({0x100, 9, 12 + 2 * 9});
  for (uint32_t i = 0; i < 9; ++i) Append(audit, Short(i % 4));
  for (int i = 0; i < 9; ++i) Append(audit, Short(1));
  policy.Key("Policy\\PolAdtEv").Value("", 0, audit);
  policy.Key("ControlSet001\\Control\\Lsa").MultiSz("Security Packages", {"a", "b"});
  const auto cells = Cells(Decoded(policy, "policies"), {"Setting", "Is"});
  ASSERT_EQ(cells.size(), 10U);
  EXPECT_EQ(cells[0], "Security Packages|a, b");
  EXPECT_EQ(cells[1], "Audit: System|1: none");
  EXPECT_EQ(cells[4], "Audit: Privilege use|1: success and failure");
}

}  // namespace
}  // namespace hivequarry
