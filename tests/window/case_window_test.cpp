// Files made of hives and hives found in other files, through the real dialogs: a repaired hive,
// carving, and what their lists open.
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "hive/hive_table.h"
#include "tests/support/logged_hive.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/folder_choice.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/lists/list_selection.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

namespace fs = std::filesystem;

class CaseWindowTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    OpenBytes(Sample().bytes);
    made_ = hive_file_->folder() + "/NEW";
    TheListDialogs().save = [this](const FileRequest& request) {
      proposed_ = request.folder;
      return FileChoice{made_};
    };
  }
  static BuiltHive Sample() {
    HiveBuilder builder;
    builder.Key("A\\B").Sz("v", "1");
    builder.Key("A\\Lost").Sz("w", "2");
    builder.Key("A\\Odd").Time(0);
    BuiltHive built = builder.Build();
    built.Unlink("A\\Lost");
    return built;
  }
  void RunToEnd(uint32_t command) {
    Run(command);
    EXPECT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  }
  static ListPlace* ListCalled(const wchar_t* title) {
    const HWND list = FindWindowW(L"HivequarryList", title);
    return list == nullptr ? nullptr : FindListPlace(list);
  }
  static int SlotsTaken() {
    int taken = 0;
    for (const HiveImage& hive : TheHiveTable().slots) taken += hive.state == SlotState::kTaken;
    return taken;
  }

  std::string made_;
  std::string proposed_;  // the folder that the dialog began with
};

TEST_F(CaseWindowTest, ARepairedHiveIsVerifiedAndItsChangesAreListed) {
  const int current = TheHiveTable().current;
  InNextDialog([](HWND dialog) {
    EXPECT_TRUE(Ticked(dialog, kRepairRebuilt));
    Click(dialog, kRepairReplayed);
    EXPECT_FALSE(IsOn(dialog, kRepairFreed));
    Click(dialog, kRepairRebuilt);
    Click(dialog, kRepairRecovered);
    Click(dialog, IDOK);
  });
  TheSettings().folders[kFolderHives] = hive_file_->folder();
  RunToEnd(kCommandSaveRepaired);
  EXPECT_EQ(proposed_, TheProgram().facts.documents);
  EXPECT_TRUE(fs::exists(made_));
  const Texts boxes = TakeBoxes();
  ASSERT_EQ(boxes.size(), 1U);
  EXPECT_NE(boxes[0].find("5 keys, 2 keys made to lead to them, 2 values"), std::string::npos)
      << boxes[0];
  EXPECT_NE(boxes[0].find("read back and verified"), std::string::npos);
  ListPlace* const list = ListCalled(L"Left out or changed by a repair");
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(Column(*list, 2), Texts{"time set to that of the key above: its own is none"});
  FocusRow(*list, 0, false);
  RunList(*list, kCommandGoToTree);
  EXPECT_EQ(ItemText(TreeView_GetSelection(window_->controls.tree)), "Odd");
  EXPECT_EQ(SlotsTaken(), 1);
  EXPECT_EQ(TheHiveTable().current, current);
}

TEST_F(CaseWindowTest, ARepairedHiveReplacesNoFileAndNoEvidence) {
  for (const std::string& name : {hive_file_->name(), hive_file_->name() + ".LOG1"}) {
    made_ = name;
    InNextDialog(Clicks({kRepairReplayed, IDOK}));
    RunToEnd(kCommandSaveRepaired);
    const Texts boxes = TakeBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_NE(boxes[0].find("nothing is written there"), std::string::npos) << boxes[0];
  }
  EXPECT_EQ(ContentOf<Bytes>(hive_file_->name()), Sample().bytes);
}

TEST_F(CaseWindowTest, CarvedRowsOpenWhatTheyAreAbout) {
  Bytes image(8192, 0x5A);
  HiveBuilder builder;
  builder.Key("Inside");
  const Bytes hive = builder.Build().bytes;
  image.insert(image.end(), hive.begin(), hive.end());
  const TempFile file(image);
  const std::string folder = file.folder() + "/OUT";
  TheFolderChooser() = [&folder](HWND, const std::string&) { return folder; };
  const auto carve = [&](bool save) {
    InNextDialog([&, save](HWND dialog) {
      EXPECT_FALSE(IsOn(dialog, IDOK));
      Type(dialog, kCarveFile, WideName(file.name()).c_str());
      EXPECT_TRUE(IsOn(dialog, IDOK));
      if (save) {
        Click(dialog, kCarveSave);
        EXPECT_FALSE(IsOn(dialog, IDOK));
        Click(dialog, kCarveFolderBrowse);
      }
      Click(dialog, IDOK);
    });
    RunToEnd(kCommandCarve);
    return ListCalled(L"Carved");
  };
  ListPlace* list = carve(false);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(Column(*list, 0), Texts{"hive"});
  EXPECT_FALSE(fs::exists(folder));
  FocusRow(*list, 0, false);
  TheSettings().options.window_for_each = true;
  RunList(*list, kCommandGoToTree);
  ASSERT_EQ(surroundings_.launches.size(), 1U) << "the hive shown stays";
  EXPECT_NE(surroundings_.launches[0].find("-soff=8192"), std::string::npos)
      << surroundings_.launches[0];
  DestroyWindow(list->window);
  list = carve(true);
  ASSERT_NE(list, nullptr);
  ASSERT_EQ(list->files.size(), 1U);
  EXPECT_EQ(ContentOf<Bytes>(list->files[0].name), hive);
  EXPECT_EQ(ContentOf<Bytes>(file.name()), image);
}

TEST_F(CaseWindowTest, TheHivesOfAFolderOpenFromTheirRows) {
  const TempFile system(
      [] {
        HiveBuilder builder;
        builder.Key("Select").Dword("Current", 1);
        builder.Key("ControlSet001\\Control\\ComputerName\\ComputerName").Sz("ComputerName", "PC7");
        return builder.Build().bytes;
      }(),
      "ANY");
  std::ofstream(system.folder() + "/NOTES") << "no hive";
  fs::create_directory(system.folder() + "/below");
  fs::copy_file(hive_file_->name(), system.folder() + "/below/two");
  TheFolderChooser() = [&system](HWND, const std::string&) { return system.folder(); };
  RunToEnd(kCommandOpenMachine);
  EXPECT_EQ(TakeBoxes(), Texts());
  ListPlace* const files = ListCalled(L"Hives of a machine");
  ASSERT_NE(files, nullptr);
  EXPECT_EQ(Column(*files, 0), (Texts{"ANY", "below/two"}));
  EXPECT_EQ(Column(*files, 1)[0], "SYSTEM");
  FocusRow(*files, 0, false);
  RunList(*files, kCommandGoToTree);
  ASSERT_TRUE(PumpUntil([&] { return LoadedHives(*window_) == 2 && IsLoaded(); }));
  EXPECT_EQ(ShownHive(*window_).file_name, system.name());
  ListPlace* const overview = ListCalled(L"Machine");
  ASSERT_NE(overview, nullptr);
  const Texts facts = Column(*overview, 1);
  const auto name = std::ranges::find(facts, "PC7");
  ASSERT_NE(name, facts.end());
  EXPECT_EQ(Column(*overview, 3)[static_cast<size_t>(name - facts.begin())], "ANY");
  EXPECT_EQ(SlotsTaken(), 2);
}

TEST_F(CaseWindowTest, AHiveOfAFolderIsShownWithTheLogsThatAreItsByContent) {
  const LogStory story = MakeLogStory();
  const TempFile hive(story.files.hive, "exhibit 1");
  int number = 1;
  for (const auto& [ending, bytes] : story.files.beside) {
    std::ofstream log(hive.folder() + "/exhibit " + std::to_string(++number), std::ios::binary);
    log.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
  }
  TheFolderChooser() = [&hive](HWND, const std::string&) { return hive.folder(); };
  RunToEnd(kCommandOpenMachine);
  ListPlace* const files = ListCalled(L"Hives of a machine");
  ASSERT_NE(files, nullptr);
  FocusRow(*files, 0, false);
  RunList(*files, kCommandGoToTree);
  ASSERT_TRUE(PumpUntil([&] { return LoadedHives(*window_) == 2 && IsLoaded(); }));
  EXPECT_EQ(ShownHive(*window_).file_name, hive.name());
  EXPECT_TRUE(IsReplayed(ShownHive(*window_))) << "no log has the name that the hive's would have";
}

}  // namespace
}  // namespace hivequarry::testing
