// Registry scripts written by the window's commands.
#include "hive/hive_table.h"
#include "hive/root_path.h"
#include "lists/list_rows.h"
#include "reports/freed_find.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

class ExportTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    TheListDialogs().save = [this](const FileRequest& request) {
      folder_ = request.folder;
      return FileChoice{out_.name(), 0};
    };
    TheListDialogs().replace = [this](HWND, const std::string&) { return replace_; };
    HiveBuilder builder("SYSTEM");
    builder.Key("A").Dword("n", 7).Key("Sub");
    builder.Key("B").Dword("bad", 1);
    built_ = builder.Build();
    built_.SetU16(built_.ValuePosition("B", "bad"), 4, 0);
    const TempFile file(built_.bytes);
    Open(file.name());
  }
  void TearDown() override {
    TheListDialogs() = real_;
    ListTest::TearDown();
  }
  // The script that there is when the work has ended.
  std::string Script() {
    EXPECT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
    return ContentOf(out_.name());
  }

  const ListDialogs real_ = TheListDialogs();
  const TempFile out_{"old", "out.reg"};
  BuiltHive built_;
  std::string folder_;
  bool replace_ = false;
};

TEST_F(ExportTest, HiveAndFolder) {
  const std::string root = "[HKEY_LOCAL_MACHINE\\SYSTEM";
  const std::string a = root + "\\A]\r\n\"n\"=dword:00000007\r\n\r\n" + root + "\\A\\Sub]\r\n\r\n";
  Run(kCommandExportHive);
  EXPECT_EQ(Script(), "old");
  replace_ = true;
  SelectPath("A");
  Run(kCommandExportFolder);
  EXPECT_EQ(Script(), "REGEDIT4\r\n\r\n" + a);
  EXPECT_EQ(folder_, out_.folder());
  EXPECT_EQ(FindWindowW(L"HivequarryList", nullptr), nullptr);
  Run(kCommandExportHive);
  EXPECT_EQ(Script(), "REGEDIT4\r\n\r\n" + root + "]\r\n\r\n" + a + root + "\\B]\r\n\r\n");
  EXPECT_EQ(TakeBoxes(),
            (Texts{"Hivequarry: 2 Items exported !", "Hivequarry: 4 Items exported !"}));
  // What could not be written is in a list.
  const ListPlace* gaps = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(gaps, nullptr);
  EXPECT_EQ(Column(*gaps, 0), Texts{"HKLM\\SYSTEM\\B"});
  HiveOfSlot(window_->shown->slot).root.long_prefix.clear();
  Run(kCommandExportHive);
  EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: No valid root key !"});
}

TEST_F(ExportTest, ARootThatIsAGuessIsAskedFor) {
  replace_ = true;
  HiveImage& hive = HiveOfSlot(window_->shown->slot);
  SetRootPath(hive, "HKCU");
  hive.root.source = RootSource::kFileName;
  InNextDialog([](HWND dialog) { Click(dialog, IDCANCEL); });
  Run(kCommandExportHive);
  EXPECT_EQ(Script(), "old");
  InNextDialog([](HWND dialog) {
    EXPECT_EQ(TextOf(GetDlgItem(dialog, kRootPathText)), "");
    EXPECT_FALSE(IsOn(dialog, IDOK));
    EXPECT_TRUE(
        TextOf(GetDlgItem(dialog, kRootPathNote)).starts_with("The hive is some user's, and"));
    SetDlgItemTextW(dialog, kRootPathText, L"HKU\\S-1-5-21-1");
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(kRootPathText, CBN_EDITCHANGE), 0);
    Click(dialog, IDOK);
  });
  Run(kCommandExportHive);
  EXPECT_NE(Script().find("[HKEY_USERS\\S-1-5-21-1\\A]"), std::string::npos);
  Run(kCommandExportHive);  // is known now
  EXPECT_EQ(Script().substr(0, 8), "REGEDIT4");
  // So is it before a merge.
  SetRootPath(hive, "HKLM\\SOFTWARE\\Run");
  hive.root.source = RootSource::kRootKey;
  TakeBoxes();
  InNextDialog([](HWND dialog) {
    EXPECT_TRUE(
        TextOf(GetDlgItem(dialog, kRootPathNote)).starts_with("The root key's name leads to"));
    EXPECT_EQ(TextOf(GetDlgItem(dialog, kRootPathText)), "HKLM\\SOFTWARE\\Run");
    Click(dialog, IDCANCEL);
  });
  Run(kCommandMergeFolder);
  EXPECT_EQ(TakeBoxes(), Texts());
}

TEST_F(ExportTest, KeysOfRows) {
  replace_ = true;
  OutputListPtr list = MakeOutputList(5);
  AddText(*list, "a key", built_.PositionOf("B"));
  AddText(*list, "a value", built_.ValuePosition("A", "n"));
  ListPlace& place = OpenList(std::move(list));
  SelectShown(place, {1}, false);
  RunList(place, kCommandListExport);
  EXPECT_NE(Script().find("SYSTEM\\A]\r\n\"n\"="), std::string::npos);
  EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: 1 Item exported !"});
  // Of deleted records beside others there is a word.
  list = MakeOutputList(kListSearch);
  AddPlaceColumn(*list);
  const std::vector<Cell> live(static_cast<size_t>(ColumnCount(*list)) - 1, "x");
  std::vector<Cell> deleted = live;
  deleted.emplace_back("free cell");
  AddListRow(*list, live, built_.PositionOf("B"));
  AddListRow(*list, deleted, built_.PositionOf("A"));
  ListPlace& both = OpenList(std::move(list));
  SelectShown(both, {0, 1}, false);
  RunList(both, kCommandListExport);
  EXPECT_EQ(TakeBoxes(), (Texts{"Hivequarry: Rows about deleted keys and values are left out. "
                                "Selected alone they are exported.",
                                "Hivequarry: 1 Item exported !"}));
}

}  // namespace
}  // namespace hivequarry::testing
