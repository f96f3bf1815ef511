#include "reports/structure_reports.h"

#include <gtest/gtest.h>

#include "hive/value_edits.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "reports/report_run.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

using namespace testing;

using TextRows = std::vector<std::vector<std::string>>;

TextRows RowsOf(const OutputList& list) {
  TextRows rows;
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    auto& texts = rows.emplace_back();
    for (int i = 0; i < ColumnCount(list); ++i) texts.emplace_back(CellText(list, row, i));
  }
  return rows;
}

// The report's rows, paths without the root's own name; from the chosen key.
TextRows Reported(OpenedHive& opened, Report report, std::string_view chosen = "") {
  const OutputListPtr list = MakeOutputList(InfoOf(report).kind);
  const uint32_t item = chosen.empty() ? 0 : opened.Item(chosen);
  RunReportOnHive(report, opened.hive, opened.tree, item, !chosen.empty(), *list);
  const std::string root = ItemName(opened.hive, opened.tree, 0) + "\\";
  TextRows rows = RowsOf(*list);
  for (auto& row : rows) {
    for (std::string& text : row) {
      if (text.starts_with(root)) text.erase(0, root.size());
    }
  }
  return rows;
}

TextRows Columns(const TextRows& rows, std::initializer_list<size_t> columns) {
  TextRows chosen;
  for (const auto& row : rows) {
    auto& texts = chosen.emplace_back();
    for (const size_t column : columns) texts.push_back(row[column]);
  }
  return chosen;
}

constexpr const char* kDate = "2021/03/04, 00:00:00";

TEST(StructureReports, Services) {
  HiveBuilder builder;
  KeyRef services = builder.Key("ControlSet001\\Services");
  services.Key("A")
      .Dword("START", 5)
      .Dword("Type", 0x110)
      .Sz("ImagePath", "a.sys")
      .Sz("XImagePathY", "b.sys")
      .Sz("Group", "G")
      .Sz("DisplayName", std::string(600, 'n'))
      .Sz("Description", "one\r\ntwo");
  services.Key("B").Dword("Start", 2).Dword("Type", 32).Sz("ImagePath", "c.exe");
  services.Key("B").Sz("YImagePath", "");
  services.Key("B\\Parameters").Sz("ImagePath", "no service");
  services.Key("C").Time(FileTime(1980, 1, 2, 3, 4, 5));
  builder.Key("ControlSet001\\Profile\\CurrentControlSet\\Services\\D");
  OpenedHive opened(builder.Build());
  const std::string path = "ControlSet001\\Services\\";
  const TextRows expected = {
      {path + "A", "5", std::string(519, 'n'), "b.sys", "G", "272", "one  two", kDate, "unknown"},
      {path + "B", "Auto Start", "", "c.exe", "", "shared process", "", kDate, "unknown"},
      {path + "C", "", "", "", "", "", "", "1980/01/02, 03:04:05", "unknown"}};
  EXPECT_EQ(Reported(opened, Report::kServices), expected);
  EXPECT_EQ(Reported(opened, Report::kServices, "ControlSet001\\Services"), expected);
}

// All sets are read, and each row says what its set is. What hangs nowhere near "Select" is of no
// set, and a recovered "Select" says nothing.
TEST(StructureReports, ControlSets) {
  HiveBuilder builder;
  for (const char* set : {"ControlSet001", "ControlSet002", "ControlSet003", "ControlSet004"}) {
    builder.Key(std::string(set) + "\\Services\\S").Sz("Group", set);
  }
  builder.Key("ControlSet01A\\Services\\S").Sz("Group", "no number");
  builder.Key("Other\\Services\\S").Sz("Group", "no set");
  builder.Key("Select").Dword("Current", 2).Dword("Default", 2).Dword("Failed", 4);
  builder.Key("Select").Dword("LASTKNOWNGOOD", 1);
  BuiltHive built = builder.Build();
  const auto words = [&built] {
    OpenedHive opened(built);
    TextRows rows = Columns(Reported(opened, Report::kServices), {4, 8});
    const TextRows named = Columns(Reported(opened, Report::kServices, "Other\\Services"), {4, 8});
    rows.insert(rows.end(), named.begin(), named.end());
    return rows;
  };
  EXPECT_EQ(words(), (TextRows{{"ControlSet001", "last known good"},
                               {"ControlSet002", "current"},
                               {"ControlSet003", ""},
                               {"ControlSet004", "failed"},
                               {"no number", ""},
                               {"no set", ""}}));
  built.Unlink("Select");
  const TextRows unknown = words();
  EXPECT_EQ(unknown[0][1], "unknown");
  EXPECT_EQ(unknown[1][1], "unknown");
  EXPECT_EQ(unknown.back()[1], "");
}

TEST(StructureReports, ServiceNumbers) {
  const struct {
    uint32_t number;
    const char* start;
    const char* type;
  } cases[] = {{0, "Boot Start", "0"}, {1, "System Start", "Device Driver"},
               {3, "By Demand", "3"},  {4, "Disabled", "Adapter"},
               {11, "11", "Driver"},   {16, "16", "own process"},
               {48, "48", "Win32"},    {256, "256", "interactive"},
               {319, "319", "All"},    {2, "Auto Start", "File System Driver"},
               {8, "8", "Recognizer"}, {0xFFFFFFFF, "-1", "-1"}};
  for (const auto& c : cases) {
    HiveBuilder builder;
    builder.Key("ControlSet002\\services\\S").Dword("Start", c.number).Dword("Type", c.number);
    OpenedHive opened(builder.Build());
    const TextRows expected = {{c.start, c.type}};
    EXPECT_EQ(Columns(Reported(opened, Report::kServices), {1, 5}), expected);
  }
}

TEST(StructureReports, Uninstall) {
  HiveBuilder builder;
  for (const char* branch : {"Microsoft", "Wow6432Node\\Microsoft"}) {
    KeyRef at = builder.Key(std::string(branch) + "\\Windows\\CurrentVersion\\Uninstall");
    at.Key("Both").Sz("QuietDisplayName", "q").Sz("DisplayName", "n");
    at.Key("Both").Sz("UninstallString", "u").Sz("QuietUninstallString", "qu");
    at.Key("None");
    at.Key("Quiet").Sz("DisplayName", "").Sz("QUIETDISPLAYNAME", "q");
    at.Key("Quiet").Sz("QuietUninstallString", "qu");
    at.Key("Quiet\\Below").Sz("DisplayName", "no entry");
  }
  OpenedHive opened(builder.Build());
  TextRows expected;
  for (const char* branch : {"Microsoft", "Wow6432Node\\Microsoft"}) {
    const std::string path = std::string(branch) + "\\Windows\\CurrentVersion\\Uninstall\\";
    expected.push_back({kDate, path + "Both", "n", "u"});
    expected.push_back({kDate, path + "Quiet", "q", "qu"});
  }
  EXPECT_EQ(Reported(opened, Report::kUninstall), expected);
}

TEST(StructureReports, CountKeys) {
  const auto data = [](size_t size, std::initializer_list<std::pair<uint32_t, uint64_t>> fields) {
    Bytes bytes(std::max<size_t>(size, 72), 0x05);
    for (const auto& [at, number] : fields) {
      at == 8 || at == 60 ? PutU64(bytes, at, number)
                          : PutU32(bytes, at, static_cast<uint32_t>(number));
    }
    bytes.resize(size);
    return bytes;
  };
  constexpr uint64_t kLow = 0xFFFFFFFF;
  constexpr uint64_t kHighBit = kDefaultTime | 0x80000000;  // of the low half
  const struct {
    const char* name;
    Bytes data;
    std::vector<std::string> counted;  // time, runs, focus count, focus time
  } cases[] = {
      {"HRZR_az", data(16, {{4, 7}, {8, kDefaultTime}}), {kDate, "7", "", ""}},
      {"low half 0",
       data(16, {{8, 0x01D70000ull << 32}}),
       {"2021/02/10, 22:56:43", "84215045", "", ""}},
      {"low half's top bit",
       data(16, {{8, kHighBit}}),
       {"2021/03/04, 00:03:34", "84215045", "", ""}},
      {"low half alone", data(16, {{8, kDefaultTime & kLow}}), {"", "84215045", "", ""}},
      {"no time that was", data(16, {{8, kDefaultTime | 1ull << 63}}), {"", "84215045", "", ""}},
      {"none", data(16, {{4, 0}, {8, 0}}), {"", "0", "", ""}},
      {"short", data(15, {{8, kDefaultTime}}), {"", "", "", ""}},
      {"statistics", data(1612, {{8, kDefaultTime}, {60, kDefaultTime}}), {"", "", "", ""}},
      // What would be the time of the short form are the focus counters.
      {"long",
       data(72, {{8, 3 | 0x01D70000ull << 32}, {4, 2}, {60, kHighBit}}),
       {"2021/03/04, 00:03:34", "2", "3", "30867456"}},
      {"never run",
       data(72, {{8, kDefaultTime}, {4, 0}, {60, 0}}),
       {"", "0", std::to_string(kDefaultTime & kLow), std::to_string(kDefaultTime >> 32)}},
  };
  HiveBuilder builder;
  KeyRef counts = builder.Key("Explorer\\UserAssist\\{GUID}").Dword("Version", 3).Key("Count");
  for (const auto& c : cases) counts.Value(c.name, kRegBinary, c.data);
  const BuiltHive built = builder.Build();
  OpenedHive opened(built);
  const TextRows rows = Reported(opened, Report::kCountKeys);
  ASSERT_EQ(rows.size(), std::size(cases));
  EXPECT_EQ(rows[0][0], "Explorer\\UserAssist\\{GUID}\\Count");
  EXPECT_EQ(rows[0][1], "HRZR_az");
  EXPECT_EQ(rows[0][2], "UEME_nm");
  EXPECT_EQ(rows[0][3].substr(0, 6), "05 05 ");
  EXPECT_EQ(rows[0][5],
            Formatted("0x%08X", built.PositionOf("Explorer\\UserAssist\\{GUID}\\Count")));
  const TextRows counted = Columns(rows, {4, 6, 7, 8});
  for (size_t i = 0; i < std::size(cases); ++i)
    EXPECT_EQ(counted[i], cases[i].counted) << cases[i].name;
}

TEST(StructureReports, Classes) {
  HiveBuilder builder;
  builder.Key("Classes\\CLSID\\{A}").Sz("", "Class A");
  builder.Key("Classes\\CLSID\\{A}\\InProcServer32").Sz("", "a.dll").Sz("ThreadingModel", "Both");
  builder.Key("Classes\\CLSID\\{A}\\InprocServer").Sz("", "a16.dll");
  builder.Key("Classes\\CLSID\\{A}\\ProgID").Sz("", "A.File");
  builder.Key("Classes\\CLSID\\{B}\\Deep\\InprocServer32").Sz("", "not the class's");
  builder.Key("Classes\\.a").Sz("", "A.File").Sz("Content Type", "text");
  builder.Key("Classes\\A.File").Time(FileTime(2020, 1, 2)).Key("CLSID").Sz("", "{A}");
  builder.Key("FileExts\\.a\\UserChoice").Sz("Progid", "Elsewhere");
  OpenedHive opened(builder.Build());
  const TextRows classes = {{"Classes\\CLSID\\{A}", "Class A", "a.dll", "a16.dll", kDate},
                            {"Classes\\CLSID\\{B}", "", "", "", kDate}};
  EXPECT_EQ(Reported(opened, Report::kClasses), classes);
  const char* date = "2020/01/02, 00:00:00";
  const TextRows prog_ids = {
      {"Classes\\.a", "(Default value)", "A.File", "REG_SZ", date},
      {"Classes\\CLSID\\{A}\\ProgID", "(Default value)", "A.File", "REG_SZ", date},
      {"FileExts\\.a\\UserChoice", "Progid", "Elsewhere", "REG_SZ", ""}};
  EXPECT_EQ(Reported(opened, Report::kProgIds), prog_ids);
}

TEST(StructureReports, OpenWith) {
  HiveBuilder builder;
  builder.Key("FileExts\\.a\\OpenWithList").Sz("a", "1.exe").Sz("b", "2.exe").Sz("c", "3.exe");
  builder.Key("FileExts\\.a\\OpenWithList").Sz("MRUList", "cab");
  builder.Key("FileExts\\.a\\OpenWithProgids").Value("P.1", 0, {}).Value("P.2", 0, {});
  builder.Key("FileExts\\.b\\OpenWithList");
  builder.Key("Classes\\.a\\OpenWithList\\x.exe");
  builder.Key("Classes\\.a\\OpenWithList\\y.exe");
  builder.Key("Classes\\T\\shell\\open\\command").Sz("", "\"t.exe\" %1");
  OpenedHive opened(builder.Build());
  const TextRows expected = {{"Classes\\.a\\OpenWithList", "x.exe, y.exe", kDate},
                             {"Classes\\T\\shell\\open\\command", "\"t.exe\" %1", kDate},
                             {"FileExts\\.a\\OpenWithList", "3.exe, 1.exe, 2.exe", kDate},
                             {"FileExts\\.a\\OpenWithProgids", "P.1, P.2", kDate}};
  EXPECT_EQ(Reported(opened, Report::kOpenWith), expected);
}

TEST(StructureReports, Files) {
  HiveBuilder builder;
  builder.Key("K").Sz("v", "D:\\b.exe /x").MultiSz("m", {"c:\\A", "none"}).Dword("C:\\name", 1);
  builder.Key("K").Sz("none", "text");
  OpenedHive opened(builder.Build());
  const TextRows by_key = {{"K", "v", "D:\\b.exe /x", "D:\\b.exe", "REG_SZ", kDate, ""},
                           {"K", "m", "c:\\A none ", "c:\\A", "REG_MULTI_SZ", kDate, ""},
                           {"K", "C:\\name", "0x00000001 (1)", "C:\\name", "REG_DWORD", kDate, ""}};
  EXPECT_EQ(Reported(opened, Report::kKeyFiles, "K"), by_key);
  const TextRows by_file = {{"c:\\A"}, {"C:\\name"}, {"D:\\b.exe"}};
  EXPECT_EQ(Columns(Reported(opened, Report::kFiles), {0}), by_file);
}

TEST(StructureReports, FilesSayTheirControlSet) {
  HiveBuilder builder;
  builder.Key("ControlSet001\\A\\B").Sz("v", "C:\\1.exe");
  builder.Key("ControlSet002").Sz("v", "C:\\2.exe");
  builder.Key("Other").Sz("v", "C:\\3.exe");
  builder.Key("Select").Dword("Current", 2).Dword("LastKnownGood", 1);
  OpenedHive opened(builder.Build());
  const TextRows expected = {
      {"C:\\1.exe", "last known good"}, {"C:\\2.exe", "current"}, {"C:\\3.exe", ""}};
  EXPECT_EQ(Columns(Reported(opened, Report::kFiles), {0, 6}), expected);
  EXPECT_EQ(Columns(Reported(opened, Report::kKeyFiles), {3, 6}), expected);
}

Bytes Folder(std::string_view name) {
  const size_t length = 14 + name.size() + 1;
  Bytes item(length + 2);
  PutU16(item, 0, static_cast<uint16_t>(length));
  item[2] = 0x31;
  std::copy(name.begin(), name.end(), item.begin() + 14);
  return item;
}

Bytes Numbers(std::initializer_list<uint32_t> numbers) {
  Bytes bytes(4 * numbers.size());
  uint32_t at = 0;
  for (const uint32_t number : numbers) PutU32(bytes, at++ * 4, number);
  return bytes;
}

TEST(StructureReports, OpenSaveMru) {
  HiveBuilder builder;
  builder.Key("OpenSaveMRU\\txt").Sz("a", "C:\\1").Sz("b", "C:\\2").Sz("MRUList", "ba");
  builder.Key("OpenSavePidlMRU\\*").Value("0", kRegBinary, Folder("x"));
  builder.Key("OpenSavePidlMRU\\*").Value("7", kRegBinary, Folder("y"));
  builder.Key("OpenSavePidlMRU\\*").Value("9", kRegBinary, Folder("not listed"));
  builder.Key("OpenSavePidlMRU\\*").Value("MRUListEx", kRegBinary, Numbers({7, 0, UINT32_MAX, 9}));
  OpenedHive opened(builder.Build());
  const TextRows expected = {{"C:\\2", "txt", "b"},
                             {"C:\\1", "txt", "a"},
                             {"y", "*", "7"},
                             {"x", "*", "0"},
                             {"not listed", "*", "9"}};
  EXPECT_EQ(Columns(Reported(opened, Report::kOpenSaveMru), {0, 1, 3}), expected);
}

TEST(StructureReports, StreamMru) {
  HiveBuilder builder;
  builder.Key("Explorer\\StreamMRU").Value("3", kRegBinary, Folder("Old"));
  builder.Key("Explorer\\Streams\\3").Time(FileTime(2001, 2, 3));
  KeyRef bags = builder.Key("Shell\\BagMRU");
  bags.Value("0", kRegBinary, Folder("Late")).Value("1", kRegBinary, Folder("First"));
  bags.Value("MRUListEx", kRegBinary, Numbers({1, 0, UINT32_MAX})).Dword("NodeSlot", 1);
  bags.Key("1").Value("0", kRegBinary, Folder("Below")).Dword("NodeSlot", 12);
  bags.Key("1\\0").Dword("NodeSlot", 99);
  builder.Key("Shell\\Bags\\12").Time(FileTime(2010, 1, 2));
  OpenedHive opened(builder.Build());
  const TextRows expected = {{"Old", "3", "2001/02/03, 00:00:00"},
                             {"First", "1", "2010/01/02, 00:00:00"},
                             {"Late", "0", ""},
                             {"First\\Below", "0", ""}};
  EXPECT_EQ(Columns(Reported(opened, Report::kStreamMru), {0, 1, 5}), expected);
  EXPECT_EQ(Reported(opened, Report::kStreamMru, "Shell\\BagMRU\\1")[0][0], "...\\Below");
}

TEST(StructureReports, WhereTheyBegin) {
  HiveBuilder builder;
  builder.Key("ControlSet001\\Services\\S");
  builder.Key("ControlSet002\\Services\\Lost");
  builder.Key("Other\\Services");
  BuiltHive built = builder.Build();
  built.Unlink("ControlSet002\\Services");
  // Its parent field is gone too: it hangs under "Disconnected Keys" itself.
  built.SetU32(built.PositionOf("ControlSet002\\Services"), field::kKeyParent, 0x7FFFFFF0);
  OpenedHive opened(built);
  const auto begin = [&](Report report, std::string_view path) {
    std::vector<std::string> names;
    const uint32_t item = path.empty() ? 0 : opened.Item(path);
    for (const ReportStart& at :
         FindReportKeys(opened.hive, opened.tree, report, item, !path.empty())) {
      names.push_back(ItemPath(opened.hive, opened.tree, at.item).substr(5));
    }
    return names;
  };
  using Names = std::vector<std::string>;
  const std::string inside = "ControlSet001\\Services";
  EXPECT_EQ(begin(Report::kServices, ""), (Names{inside, "Disconnected Keys\\Services"}));
  EXPECT_EQ(begin(Report::kServices, "ControlSet001"), Names{inside});
  EXPECT_EQ(begin(Report::kServices, inside + "\\S"), Names{inside + "\\S"});
  EXPECT_EQ(begin(Report::kServices, "Other"), Names{"Other"});
  EXPECT_EQ(begin(Report::kOpenSaveMru, "Other"), Names{});
  HideBranch(opened.tree, opened.Item(inside));
  EXPECT_EQ(begin(Report::kServices, ""), Names{"Disconnected Keys\\Services"});
}

// Keys of any hive have subkeys and values; only a key that the user names is taken for more.
TEST(StructureReports, WithoutTheStructure) {
  HiveBuilder builder;
  builder.Root().Binary("HRZR_az", 16);
  builder.Key("Some\\Key").Dword("Start", 1).Sz("ImagePath", "a.sys").Sz("DisplayName", "d");
  builder.Key("Some").Binary("HRZR_az", 16);
  OpenedHive opened(builder.Build());
  const std::pair<Report, size_t> cases[] = {{Report::kServices, 1},    {Report::kUninstall, 2},
                                             {Report::kCountKeys, 1},   {Report::kClasses, 0},
                                             {Report::kProgIds, 0},     {Report::kOpenWith, 0},
                                             {Report::kOpenSaveMru, 0}, {Report::kStreamMru, 0}};
  for (const auto& [report, named] : cases) {
    SCOPED_TRACE(InfoOf(report).name);
    EXPECT_EQ(Reported(opened, report), TextRows());
    EXPECT_EQ(opened.host.statuses.back(), kNothingToReport);
    EXPECT_EQ(Reported(opened, report, "Some").size(), named);
  }
}

// What lies in a service or an uninstall entry is none.
TEST(StructureReports, FromInsideAnEntry) {
  HiveBuilder builder;
  builder.Key("ControlSet001\\Services\\S\\Parameters\\Inner").Dword("Start", 1);
  builder.Key("CurrentVersion\\Uninstall\\U\\Part\\Inner").Sz("DisplayName", "p");
  builder.Key("CurrentVersion\\Uninstall\\U").Sz("DisplayName", "u");
  OpenedHive opened(builder.Build());
  for (const std::string below : {"", "\\Parameters", "\\Parameters\\Inner"}) {
    const std::string service = "ControlSet001\\Services\\S";
    EXPECT_EQ(Columns(Reported(opened, Report::kServices, service + below), {0}),
              TextRows{{service}});
  }
  for (const std::string below : {"", "\\Part", "\\Part\\Inner"}) {
    const std::string entry = "CurrentVersion\\Uninstall\\U";
    EXPECT_EQ(Columns(Reported(opened, Report::kUninstall, entry + below), {1, 2}),
              (TextRows{{entry, "u"}}));
  }
}

TEST(StructureReports, EditedAndHidden) {
  HiveBuilder builder;
  builder.Key("Services\\A").Dword("Start", 0);
  builder.Key("Services\\B").Dword("Start", 1);
  const BuiltHive built = builder.Build();
  OpenedHive opened(built);
  HideBranch(opened.tree, opened.Item("Services\\B"));
  ASSERT_TRUE(SetValueEdit(opened.hive, built.ValuePosition("Services\\A", "Start"), kRegDword,
                           Numbers({4})));
  const TextRows expected = {{"Services\\A", "Disabled"}};
  EXPECT_EQ(Columns(Reported(opened, Report::kServices, "Services"), {0, 1}), expected);
}

TEST(StructureReports, JoinedCells) {
  const struct {
    std::string cell, text, joined;
  } cases[] = {{"", "a", "a"},
               {"a", "", "a"},
               {"a", "b", "a, b"},
               {std::string(500, 'x'), std::string(10, 'y'),
                std::string(500, 'x') + ", " + std::string(10, 'y')},
               {std::string(500, 'x'), std::string(11, 'y'), std::string(500, 'x') + ", ..."},
               {"x, ...", std::string(600, 'y'), "x, ..."}};
  for (const auto& c : cases) {
    std::string cell = c.cell;
    JoinText(cell, c.text);
    EXPECT_EQ(cell, c.joined);
  }
  // What the cell itself does not say is noted.
  const struct {
    std::string cell, text;
    uint64_t noted;
  } cuts[] = {{"x, ...", std::string(600, 'y'), 0},
              {std::string(500, 'x'), std::string(11, 'y'), 0},
              {std::string(499, 'x') + ".", std::string(11, 'y'), 1},
              {"", std::string(511, 'y'), 1}};
  for (const auto& c : cuts) {
    ForgetShortfalls();
    std::string cell = c.cell;
    JoinText(cell, c.text);
    EXPECT_EQ(ShortfallCount(Shortfall::kCellTexts), c.noted) << c.cell;
  }
  ForgetShortfalls();
}

TEST(StructureReports, NamesAndProgress) {
  EXPECT_EQ(FindReport("nothing"), nullptr);
  for (int i = 0; i < static_cast<int>(Report::kCount); ++i) {
    const ReportInfo& info = InfoOf(static_cast<Report>(i));
    EXPECT_EQ(FindReport(info.name), &info);
    EXPECT_EQ(info.live_kind != 0, info.live_root != nullptr) << info.name;
    EXPECT_FALSE(FindListKind(info.kind).columns.empty());
  }
  HiveBuilder builder;
  for (int i = 0; i < 300; ++i) builder.Key("Services\\S" + std::to_string(i));
  OpenedHive opened(builder.Build());
  EXPECT_EQ(Reported(opened, Report::kServices, "Services").size(), 300u);
  EXPECT_TRUE(opened.host.Showed("256/254"));
  opened.host.on_status = [](const char*) { RequestStop(); };
  ASSERT_TRUE(BeginOperation(1));
  EXPECT_EQ(Reported(opened, Report::kServices, "Services").size(), 255u);
  EndOperation();
}

TEST(StructureReports, StoppedFilesAreShownAsFarAsThereIsTime) {
  HiveBuilder builder;
  for (int i = 0; i < 11000; ++i)
    builder.Key("A").Sz(std::to_string(i), "C:\\" + std::to_string(i));
  for (int i = 0; i < 300; ++i) builder.Key("B\\" + std::to_string(i));
  OpenedHive opened(builder.Build());
  EXPECT_EQ(Reported(opened, Report::kFiles).size(), 11000u);
  opened.host.on_status = [](const char*) { RequestStop(); };
  ASSERT_TRUE(BeginOperation(kOperationLoad));
  const TextRows rows = Reported(opened, Report::kFiles);
  EndOperation();
  EXPECT_EQ(rows.size(), 10000u);
  EXPECT_TRUE(std::ranges::is_sorted(rows));
}

}  // namespace
}  // namespace hivequarry
