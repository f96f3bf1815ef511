// Decoders over real hives: what independent readers found there.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "app/opening_words.h"
#include "evidence/decoders.h"
#include "hive/hive_table.h"
#include "recovery/image_tree.h"
#include "tests/support/host_recorder.h"

namespace hivequarry {
namespace {

using Row = std::map<std::string, std::string>;

std::filesystem::path CorpusFolder() {
  const char* named = std::getenv("HIVEQUARRY_CORPUS");
  if (named != nullptr && *named != '\0') return named;
  return std::filesystem::path(HIVEQUARRY_SOURCE_DIR) / ".." / "shared" / "hives";
}

class EvidenceCorpus : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(CorpusFolder() / "FACTS.tsv")) {
      GTEST_SKIP() << "real hives are not tested: no FACTS.tsv in " << CorpusFolder();
    }
  }
  void TearDown() override { ResetHiveTable(); }

  // The rows of a hive without its logs.
  std::vector<Row> Decoded(const char* hive_name, const char* name) {
    ResetHiveTable();
    TheHiveTable().logs.mode = LogMode::kNone;
    const int slot = OpenHiveAndTell((CorpusFolder() / hive_name).string());
    if (slot <= 0) return {};
    HiveImage& hive = TheHiveTable().slots[static_cast<size_t>(slot)];
    KeyTree tree;
    BuildImageTree(hive, BuildOptions(), tree);
    const DecoderInfo* decoder = FindDecoder(name);
    const OutputListPtr list = MakeOutputList(decoder->kind);
    RunDecoder(*decoder, hive, tree, 0, *list);
    std::vector<Row> rows;
    for (uint32_t row = 0; row < RowCount(*list); ++row) {
      Row& cells = rows.emplace_back();
      for (int i = 0; i < ColumnCount(*list); ++i) {
        cells[ColumnTitle(*list, i)] = CellText(*list, row, i);
      }
    }
    return rows;
  }
  testing::HostRecorder host_;
};

// How many rows have a cell that holds the text.
size_t CountOf(const std::vector<Row>& rows, const std::string& column, std::string_view part) {
  return static_cast<size_t>(std::ranges::count_if(
      rows, [&](const Row& row) { return row.at(column).find(part) != std::string::npos; }));
}
// The first such row; an empty one for none.
Row FirstOf(const std::vector<Row>& rows, const std::string& column, std::string_view part) {
  for (const Row& row : rows) {
    if (row.at(column).find(part) != std::string::npos) return row;
  }
  return {};
}
std::string JoinedOf(const std::vector<Row>& rows, const std::string& column) {
  std::string text;
  for (const Row& row : rows) text += (text.empty() ? "" : " ") + row.at(column);
  return text;
}
std::vector<Row> Where(std::vector<Row> rows, const std::string& column, std::string_view is) {
  std::erase_if(rows, [&](const Row& row) { return row.at(column) != is; });
  return rows;
}

TEST_F(EvidenceCorpus, UserAssist) {
  const auto rows = Decoded("NTUSER.DAT", "user-assist");
  ASSERT_EQ(rows.size(), 33U);
  EXPECT_EQ(JoinedOf(rows, "Runs").substr(0, 6), "14  13");
  EXPECT_EQ(FirstOf(rows, "Runs", "14")["Last Run"].substr(0, 26), "2012/04/03, 22:06:58.12428");
  const auto more = Decoded("win7_ntuser.dat", "user-assist");
  EXPECT_EQ(CountOf(more, "Counter", "{F4E57C4B"), 88U);
  EXPECT_EQ(CountOf(more, "Counter", "{CEBFF5CD"), 250U);
}

TEST_F(EvidenceCorpus, ShimCache) {
  const auto rows = Decoded("SYSTEM", "shim-cache");
  EXPECT_EQ(CountOf(rows, "Control Set", "ControlSet001 (current)"), 330U);
  EXPECT_EQ(CountOf(rows, "Control Set", "ControlSet002"), 330U);
  ASSERT_FALSE(rows.empty());
  Row first = rows[0];
  EXPECT_EQ(first["Program"], "\\??\\C:\\Program Files\\McAfee\\VirusScan Enterprise\\mfeann.exe");
  EXPECT_EQ(first["Modified"], "2011/01/12, 12:08:00");
  EXPECT_EQ(first["Was Run"], "yes");
}

TEST_F(EvidenceCorpus, ShellBags) {
  EXPECT_EQ(CountOf(Decoded("win7_ntuser.dat", "shell-bags"), "Key", "BagMRU"), 69U);
  const auto rows = Decoded("UsrClass.dat", "shell-bags");
  ASSERT_EQ(rows.size(), 29U);
  Row desktop = FirstOf(rows, "Folder", "C:\\Users\\jcloudy\\Desktop");
  EXPECT_EQ(desktop["Created"], "2018/03/27, 09:19:00");
  EXPECT_EQ(desktop["Modified"], "2018/03/30, 02:24:24");
  const auto deleted = Decoded("UsrClass_deleted_bags.dat", "shell-bags");
  EXPECT_EQ(CountOf(deleted, "State", "live"), 4U);
  EXPECT_EQ(JoinedOf(Where(deleted, "State", "freed"), "Folder"),
            "Control Panel\\System and Security "
            "Control Panel\\System and Security\\Windows Update "
            "Control Panel\\System and Security\\Windows Update\\Select updates to install");
}

TEST_F(EvidenceCorpus, DialogsDocumentsAndTypedTexts) {
  const auto dialogs = Decoded("win7_ntuser.dat", "dialog-files");
  EXPECT_EQ(CountOf(dialogs, "Key", "\\LastVisitedPidlMRU"), 24U + 8U);
  const auto files = Where(Where(dialogs, "List", "file"), "Ending", "*");
  EXPECT_EQ(JoinedOf(files, "Value").substr(0, 13), "12 2 18 3 17 ");
  const auto documents = Where(Decoded("NTUSER.DAT", "recent-docs"), "Ending", "");
  EXPECT_EQ(JoinedOf(documents, "Value").substr(0, 8), "9 10 8 7");
  EXPECT_EQ(documents.size(), 11U);
  EXPECT_EQ(Where(Decoded("win7_ntuser.dat", "recent-docs"), "Ending", "").size(), 149U);
  EXPECT_EQ(CountOf(Decoded("NTUSER.DAT", "typed-texts"), "Text", "myron maclain"), 1U);
  const auto typed = Decoded("win7_ntuser.dat", "typed-texts");
  EXPECT_EQ(JoinedOf(Where(typed, "List", "command"), "Value"), "f e d a c b");
  EXPECT_EQ(CountOf(typed, "List", "path"), 24U);
  EXPECT_EQ(CountOf(typed, "List", "address"), 6U);
  EXPECT_EQ(FirstOf(typed, "Value", "url1")["Order"], "1");
  EXPECT_EQ(FirstOf(Where(typed, "List", "address"), "Value", "url1")["Time"].substr(0, 26),
            "2014/12/12, 22:48:12.46903");
}

TEST_F(EvidenceCorpus, DevicesAndVolumes) {
  const auto devices = Where(Decoded("SYSTEM", "usb-devices"), "Bus", "USBSTOR");
  ASSERT_EQ(devices.size(), 2U);  // a control set each
  Row device = devices[0];
  EXPECT_EQ(device["Device Key"], "Disk&Ven_HP&Prod_v100w&Rev_1024");
  EXPECT_EQ(device["Serial"], "AA951D0000007252&0");
  EXPECT_EQ(device["Installed"], "2011/04/01, 04:52:38.6860000");
  EXPECT_NE(device["Volumes"].find("E:"), std::string::npos);
  EXPECT_NE(device["Volumes"].find("{eba74da6-"), std::string::npos);
  const auto volumes = Decoded("SYSTEM", "volumes");
  EXPECT_EQ(volumes.size(), 11U);
  EXPECT_EQ(FirstOf(volumes, "Volume", "E:")["Device Name"], "HP v100w USB Device");
  EXPECT_EQ(FirstOf(Decoded("NTUSER.DAT", "autostart"), "Place", "Run")["Entry"], "Sidebar");
}

TEST_F(EvidenceCorpus, Accounts) {
  const auto rows = Decoded("SAM", "accounts");
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].at("User") + rows[0].at("Number"), "Administrator500");
  EXPECT_TRUE(rows[0].at("Control").starts_with("0x0210 "));
  EXPECT_EQ(rows[1].at("User") + rows[1].at("Number"), "Guest501");
  EXPECT_TRUE(rows[1].at("Control").starts_with("0x0215 "));
  const auto more = Decoded("SAM_duplicate_name", "accounts");
  EXPECT_EQ(more.size(), 15U);
  Row gaffer = FirstOf(more, "User", "thegaffer");
  EXPECT_EQ(gaffer["Logons"], "270");
  EXPECT_EQ(gaffer["Last Logon"], "2007/11/11, 18:38:17.7031250");
  Row harry = FirstOf(more, "User", "harrymsn");
  EXPECT_EQ(harry["Created"], "2007/11/11, 14:30:02.1250000");
  EXPECT_EQ(harry["Wrong Passwords"], "6");
}

TEST_F(EvidenceCorpus, System) {
  const auto rows = Decoded("SYSTEM", "system-facts");
  const auto shutdowns = Where(rows, "Fact", "Last shutdown");
  EXPECT_EQ(JoinedOf(shutdowns, "Time"),
            "2012/04/04, 01:58:40.8392499 2012/04/04, 01:58:40.8392499");
  EXPECT_EQ(Where(rows, "Fact", "Computer name").at(0).at("Is"), "WKS-WIN732BITA");
  EXPECT_EQ(Where(rows, "Fact", "Time zone").at(0).at("Is"), "Eastern Standard Time");
  EXPECT_EQ(Where(rows, "Fact", "Bias").at(0).at("Is"), "300 minutes");
  EXPECT_EQ(Where(rows, "Fact", "Standard time begins").at(0).at("Is"),
            "first Sunday of November, 02:00");
  EXPECT_EQ(Where(rows, "Fact", "Current control set").at(0).at("Is"), "1");
  EXPECT_EQ(Where(rows, "Fact", "Last known good control set").at(0).at("Is"), "2");
}

}  // namespace
}  // namespace hivequarry
