// The dialog of backups and replacements, over a registry kept in memory.
#include <atomic>
#include <thread>

#include "app/settings.h"
#include "host/long_operation.h"
#include "live/backup.h"
#include "tests/support/memory_registry.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/window_fixture.h"
#include "ui/frame/folder_choice.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/live/backup_dialog.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

using Texts = std::vector<std::string>;

class BackupWindowTest : public WindowTest {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    for (const char16_t* key : {u"HKLM\\Software", u"HKLM\\System", u"HKU\\S-1"}) registry_.At(key);
    registry_.ListHives({u"\\REGISTRY\\MACHINE\\SYSTEM"});
    registry_.privileges = {u"SeBackupPrivilege", u"SeRestorePrivilege"};
    TheProgram().facts.flags.vista = true;
    TheProgram().facts.windows = drive_ + "\\windows";
    TheSettings().folders[kFolderBackups] = folder_;
  }
  void TearDown() override {
    TheFolderChooser() = chooser_;
    WindowTest::TearDown();
  }

  static std::string Text(HWND dialog, int control) { return TextOf(GetDlgItem(dialog, control)); }
  // What the icons say of three hives, and which of all are ticked.
  static std::string Icons(HWND dialog) {
    return Text(dialog, kBackupIcon) + "," + Text(dialog, kBackupIcon + 3) + "," +
           Text(dialog, kBackupIcon + 6);
  }
  static uint32_t Ticks(HWND dialog) {
    uint32_t hives = 0;
    for (int hive = 0; hive < kLiveHives; ++hive) {
      if (Ticked(dialog, kBackupHive + hive)) hives |= HiveBit(hive);
    }
    return hives;
  }
  void RunToEnd(HWND dialog) {
    Click(dialog, IDOK);
    EXPECT_FALSE(IsOn(dialog, IDOK) || IsOn(dialog, IDCANCEL) || IsOn(dialog, kBackupHive));
    EXPECT_TRUE(PumpUntil([&] { return IsOn(dialog, IDCANCEL); }));
  }
  MemoryRegistry registry_;
  const TempFile temp_{"hive", "SYSTEM"};
  const std::string& folder_ = temp_.folder();
  const std::string drive_ = folder_.substr(0, 2);
  const FolderChooser chooser_ = TheFolderChooser();
};

TEST_F(BackupWindowTest, SavesTheTickedHivesAndShowsHowEachEnded) {
  const std::string dated = BackupFolderName(folder_, false, LocalNow());
  registry_.At(u"HKLM\\System").save_error = kRegistryDenied;
  InNextDialog([&](HWND dialog) {
    EXPECT_EQ(Text(dialog, kBackupLabel),
              "Backup to following directory (should reside in " + drive_ + ") :");
    EXPECT_EQ(Text(dialog, kBackupFolder), dated);
    EXPECT_EQ(Ticks(dialog), HiveBit(0) | HiveBit(1) | HiveBit(3) | HiveBit(6));
    EXPECT_FALSE(IsShown(dialog, kBackupCheck));
    Click(dialog, kBackupHive + 1);
    SetDlgItemTextW(dialog, kBackupFolder, WideName('"' + dated + "\\new\\\"").c_str());
    RunToEnd(dialog);
    EXPECT_EQ(Icons(dialog), "Done,Failed,Done");
    Click(dialog, IDCANCEL);
  });
  Run(kCommandBackupRegistry);
  EXPECT_EQ(TakeBoxes().back(), "Hivequarry: Backup done.");
  EXPECT_TRUE(IsNameTaken(dated + "\\new\\HKU_S-1.dat"));
  EXPECT_FALSE(IsNameTaken(dated + "\\new\\ntuser.dat"));
  EXPECT_EQ(TheSettings().folders[kFolderBackups], dated + "\\new");
  EXPECT_TRUE(registry_.enabled.empty());
}

TEST_F(BackupWindowTest, AHangingRunCanBeStopped) {
  static std::atomic<bool> hanging;
  hanging = true;
  Registry table = CurrentRegistry();
  table.save = [](RegistryKey, const char16_t*, const uint8_t*) -> int32_t {
    while (hanging) std::this_thread::yield();
    return kRegistryDenied;
  };
  SetRegistry(table);
  surroundings_.answer = Answer::kYes;
  InNextDialog([&](HWND dialog) {
    Click(dialog, IDOK);
    EXPECT_TRUE(PumpUntil([] { return TheLongOperation().backup_progress > 0; }));
    EXPECT_EQ(Icons(dialog), "Working,,");
    PostMessageW(dialog, WM_CLOSE, 0, 0);
    TheLongOperation().backup_progress = kBackupStoppable - 1;
    EXPECT_TRUE(PumpUntil([&] { return IsOn(dialog, IDCANCEL); }));
    EXPECT_EQ(TakeBoxes(), Texts{});
    Click(dialog, IDCANCEL);
    hanging = false;
    EXPECT_TRUE(PumpUntil([&] { return IsOn(dialog, IDOK); }));
    EXPECT_EQ(Icons(dialog), "Failed,,");
    Click(dialog, IDCANCEL);
  });
  Run(kCommandBackupRegistry);
  EXPECT_EQ(TakeBoxes()[0], "Hivequarry: Stop current Process ?");
}

TEST_F(BackupWindowTest, ReplacesOnlyFromTheSystemsDrive) {
  TheSettings().folders[kFolderBackups] = "Q:\\b";
  TheFolderChooser() = [&](HWND, const std::string&) { return folder_; };
  InNextDialog([&](HWND dialog) {
    EXPECT_EQ(TextOf(dialog), "Replace Registry Hives");
    EXPECT_EQ(Text(dialog, kBackupLabel),
              "Restore from directory (must reside in " + drive_ + ") :");
    EXPECT_EQ(Text(dialog, kBackupFolder), drive_ + "\\");
    Click(dialog, kBackupBrowse);
    EXPECT_EQ(Text(dialog, kBackupFolder), folder_);
    Click(dialog, kBackupCheck);
    EXPECT_EQ(Ticks(dialog), HiveBit(3));
    Click(dialog, IDOK);  // answered with No
    EXPECT_TRUE(registry_.replaced.empty());
    surroundings_.answer = Answer::kYes;
    RunToEnd(dialog);
    EXPECT_EQ(Icons(dialog), ",Done,");
    EXPECT_FALSE(IsOn(dialog, IDOK));
    Click(dialog, IDCANCEL);
  });
  Run(kCommandReplaceHives);
  EXPECT_EQ(registry_.replaced.size(), 1U);
}

TEST_F(BackupWindowTest, OldSystemsHaveSevenHives) {
  TheProgram().facts.flags.vista = false;
  InNextDialog([](HWND dialog) {
    EXPECT_TRUE(GetDlgItem(dialog, kBackupHive + 6) != nullptr &&
                GetDlgItem(dialog, kBackupHive + 7) == nullptr);
    Click(dialog, IDCANCEL);
  });
  Run(kCommandBackupRegistry);
  registry_.privileges.clear();
  Run(kCommandBackupRegistry);  // no dialog
  EXPECT_EQ(TakeBoxes(), Texts{"Error: No Backup Privilege !"});
}

TEST_F(BackupWindowTest, AnUnattendedRunClosesAll) {
  TheSettings().options.backup_folder_by_date = false;
  EXPECT_FALSE(RunUnattendedBackup(*window_, ParseCommandLine("-SYSTEM -HKU " + folder_)));
  EXPECT_TRUE(IsNameTaken(folder_ + "\\HKU_S-1.dat"));
  EXPECT_TRUE(IsNameTaken(folder_ + "\\hivequarry.err"));  // there was a SYSTEM
  EXPECT_TRUE(PumpUntil([&] { return FindMainWindow(handle_) == nullptr; }));
  EXPECT_EQ(TakeBoxes(), Texts{});
}

}  // namespace
}  // namespace hivequarry::testing
