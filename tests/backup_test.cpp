// Backups of the registry's hives and their way back, over a registry kept in memory.
#include "live/backup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "app/stop_command.h"
#include "host/evidence.h"
#include "host/long_operation.h"
#include "tests/support/hive_builder.h"
#include "tests/support/host_recorder.h"
#include "tests/support/memory_registry.h"
#include "tests/support/texts.h"
#include "view/hive_run_words.h"

namespace hivequarry::testing {
namespace {

namespace fs = std::filesystem;

constexpr int kSoftware = 0, kClasses = 2, kSystem = 3, kSam = 4, kUserKeys = 6;

class BackupTest : public ::testing::Test {
 protected:
  BackupTest() {
    SpeakInMessages(run_);
    run_.folder = folder_;
    run_.hives = HiveBit(kSoftware) | HiveBit(kSystem);
    run_.on_state = [this](int hive, HiveState state) {
      if (state != HiveState::kNeutral) states_ += "?.+-"[static_cast<int>(state)];
      if (on_state_) on_state_(hive, state);
    };
    for (const char16_t* key : {u"HKLM\\Software", u"HKLM\\System", u"HKLM\\SAM",
                                u"HKLM\\BCD00000000", u"HKU\\S-1", u"HKU\\a:b"}) {
      registry_.At(key).SetText(u"v", key);
    }
    registry_.ListHives({u"\\REGISTRY\\MACHINE\\SOFTWARE", u"\\REGISTRY\\MACHINE\\SYSTEM",
                         u"\\Registry\\Machine\\SAM", u"\\REGISTRY\\MACHINE\\BCD00000000",
                         u"\\REGISTRY\\USER\\S-1", u"\\REGISTRY\\USER\\S-1-5-21-7",
                         u"\\REGISTRY\\USER\\S-1-5-21-7_Classes", u"\\REGISTRY\\USER\\.DEFAULT"});
    registry_.privileges = {u"SeBackupPrivilege", u"SeRestorePrivilege"};
    fs::create_directory(folder_);
  }
  ~BackupTest() override {
    EXPECT_EQ(registry_.open_keys(), 0U);
    EXPECT_TRUE(registry_.enabled.empty());
    EXPECT_FALSE(TheLongOperation().backup);
  }

  std::string In(const std::string& name) const { return folder_ + "/" + name; }
  static void Write(const std::string& file) { std::ofstream(file) << "old"; }
  bool IsHive(const std::string& name) const { return ContentOf(In(name)).starts_with("regf"); }
  Texts Files() const {
    Texts names;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      names.push_back(entry.path().filename().string());
    }
    std::ranges::sort(names);
    return names;
  }
  // "icon: text" of what was shown since the last call.
  Texts Shown() {
    Texts texts;
    for (const ShownMessage& message : host_.messages) {
      texts.push_back(std::string(1, "-ixqs"[static_cast<int>(message.icon)]) + ": " +
                      message.text);
    }
    host_.messages.clear();
    return texts;
  }
  Texts Run() {
    states_.clear();
    RunBackup(run_, settings_file_);
    return Shown();
  }
  Texts RunReplace() {
    states_.clear();
    ReplaceHives(run_, places_);
    return Shown();
  }

  HostRecorder host_;
  MemoryRegistry registry_;
  const TempFile temp_{""};
  const std::string folder_ = temp_.folder() + "/backup";
  SystemPlaces places_{temp_.folder(), temp_.folder() + "/c", temp_.folder() + "/c/Boot"};
  HiveRun run_;
  std::string settings_file_;
  std::string states_;  // '.' running, '+' done, '-' failed
  std::function<void(int, HiveState)> on_state_;
};

TEST_F(BackupTest, FolderNames) {
  const CalendarTime today{.year = 2026, .month = 11, .day = 5};
  EXPECT_EQ(BackupFolderName(folder_, false, today), In("S26-11-05"));
  EXPECT_EQ(BackupFolderName(folder_ + "/", true, today), In("B26-11-05"));
  EXPECT_EQ(BackupFolderName(In("S25-01-31b"), false, today), In("S26-11-05"));
  EXPECT_EQ(BackupFolderName(In("S25-01-31"), true, today), In("S25-01-31/B26-11-05"));
  EXPECT_EQ(BackupFolderName("S25-01-1", false, today), "S25-01-1/S26-11-05");
  fs::create_directory(In("S26-11-05"));
  EXPECT_EQ(BackupFolderName(folder_, false, today), In("S26-11-05a"));
  fs::create_directory(In("S26-11-05a"));
  EXPECT_EQ(BackupFolderName(In("S26-11-05a"), false, today), In("S26-11-05b"));
  for (char c = 'b'; c <= 'z'; ++c) fs::create_directory(In(std::string("S26-11-05") + c));
  EXPECT_EQ(BackupFolderName(folder_, false, today), "");
}

TEST(BackupDueTest, WeekAndMonth) {
  using enum BackupPeriod;
  const struct {
    const char* last;
    BackupPeriod period;
    CalendarTime now;
    bool due;
  } cases[] = {{"", kWeek, {2026, 1, 1}, true},
               {"2026-11-15, 13:", kWeek, {2026, 11, 15}, true},
               {"2026-11-15, 13:4", kWeek, {2026, 11, 22, 13, 3}, false},
               {"2026-11-15, 13:45", kWeek, {2026, 11, 22, 13, 44}, false},
               {"2026-11-15, 13:45", kWeek, {2026, 11, 22, 13, 45}, true},
               {"2026-02-30, 13:45", kWeek, {2026, 3, 1}, true},
               {"2026-11-15, 24:00", kMonth, {2026, 11, 15}, true},
               {"2026-13-15, 13:45", kMonth, {2026, 11, 15}, true},
               {"2026-11-15, 13:45", kMonth, {2026, 12, 15, 13, 44}, false},
               {"2026-11-15, 13:45", kMonth, {2026, 12, 15, 13, 45}, true},
               {"2026-12-15, 13:45", kMonth, {2027, 1, 15, 13, 44}, false},
               {"2026-12-15, 13:45", kMonth, {2027, 1, 15, 13, 45}, true},
               {"2027-01-31, 00:10", kMonth, {2027, 2, 28, 0, 9}, false},
               {"2027-01-31, 00:10", kMonth, {2027, 2, 28, 0, 10}, true}};
  for (const auto& c : cases) {
    EXPECT_EQ(IsBackupDue(c.last, c.period, c.now), c.due) << c.last << " " << c.now.day;
  }
}

TEST_F(BackupTest, SavesEachHiveAndEachUsersKey) {
  run_.hives |= HiveBit(kUserKeys);
  EXPECT_EQ(Run(), Texts{"i: Backup done."});
  EXPECT_EQ(states_, ".+.+.+");
  EXPECT_EQ(Files(), (Texts{"HKU_S-1.dat", "HKU_a_b.dat", "SOFTWARE", "SYSTEM"}));
  EXPECT_TRUE(IsHive("SOFTWARE") && IsHive("HKU_S-1.dat"));
}

TEST_F(BackupTest, SavedHivesAreForAdministratorsAndTheSystemAlone) {
  constexpr uint16_t kProtected = 0x1000, kDaclPresent = 4;
  run_.hives |= HiveBit(kSam);
  registry_.At(u"HKLM\\SAM").save_error = kRegistryDone;
  EXPECT_EQ(Run(), Texts{"i: Backup done."});
  EXPECT_EQ(registry_.protected_files.size(), 3U);
  for (const auto& [file, descriptor] : registry_.protected_files) {
    SCOPED_TRACE(file);
    ASSERT_EQ(descriptor.size(), 72U);
    EXPECT_EQ(GetU16(descriptor, 2) & (kProtected | kDaclPresent), kProtected | kDaclPresent);
    const Bytes same = SecurityDescriptor(
        "S-1-5-18", "S-1-5-18", {{0, 0, 0x1F01FF, "S-1-5-18"}, {0, 0, 0x1F01FF, "S-1-5-32-544"}});
    EXPECT_EQ(Bytes(descriptor.begin() + 20, descriptor.end()),
              Bytes(same.begin() + 20, same.begin() + 72));
  }
  for (const bool natively : {false, true}) {
    for (const char* name : {"SAM", "SOFTWARE", "SYSTEM"}) fs::remove(In(name));
    if (natively) registry_.errors["save"] = 123;
    registry_.errors["protect"] = 50;
    EXPECT_EQ(Run(), (Texts{"x: Whoever may read " + folder_ +
                                " can read the saved hives: their files could not be kept to "
                                "administrators !",
                            "i: Backup done."}));
  }
}

TEST_F(BackupTest, AFailingHiveNeverStopsTheOthersAndLeavesNoFile) {
  const std::string key = "HKEY_LOCAL_MACHINE\\Software !";
  const struct {
    int32_t open, save;
    const char* said;
  } cases[] = {{1450, 0, "x: Can not open Registry key "},
               {0, kRegistryDenied, "(Access denied)"},
               {0, kPrivilegeNotHeld, "(Privilege not held)"},
               {0, 112, "(error 112)"}};
  MemoryKey& software = registry_.At(u"HKLM\\Software");
  for (const auto& c : cases) {
    software.open_error = c.open;
    software.save_error = c.save;
    const std::string said =
        c.open != 0 ? c.said + key : "x: Can not backup Registry key " + key + c.said;
    EXPECT_EQ(Run(), (Texts{said, "i: Backup done."}));
    EXPECT_EQ(states_, ".-.+");
    EXPECT_EQ(Files(), Texts{"SYSTEM"});
    fs::remove(In("SYSTEM"));
  }
}

TEST_F(BackupTest, TheKernelsCallIsTheSecondWay) {
  registry_.errors["save"] = 123;
  EXPECT_EQ(Run(), Texts{"i: Backup done."});
  EXPECT_TRUE(IsHive("SOFTWARE"));
  fs::remove(In("SOFTWARE"));
  registry_.errors["save_natively"] = 1016;
  run_.hives = HiveBit(kSoftware);
  EXPECT_EQ(Run(), Texts{"x: Can not backup Registry key HKEY_LOCAL_MACHINE\\Software !"
                         "(Error 1016)"});
  EXPECT_EQ(Files(), Texts{"SYSTEM"});
}

TEST_F(BackupTest, ExistingFiles) {
  const std::string question = " already exists !  Overwrite file ?";
  Write(In("SOFTWARE"));
  EXPECT_EQ(Run(), (Texts{"q: File " + In("SOFTWARE") + question, "i: Backup done."}));
  EXPECT_EQ(states_, "-.+");
  EXPECT_EQ(ContentOf(In("SOFTWARE")), "old");
  host_.answer = Answer::kYes;
  fs::remove(In("SYSTEM"));
  fs::create_directory(In("SYSTEM"));
  EXPECT_EQ(Run(),
            (Texts{"q: File " + In("SOFTWARE") + question, "q: File " + In("SYSTEM") + question,
                   "x: Cannot delete file !", "i: Backup done."}));
  EXPECT_EQ(states_, ".+-");
  EXPECT_TRUE(IsHive("SOFTWARE"));
  // A user's file is only replaced by a whole one.
  run_.hives = HiveBit(kUserKeys);
  Write(In("HKU_S-1.dat"));
  registry_.At(u"HKU\\S-1").save_error = kRegistryDenied;
  EXPECT_EQ(Run(), (Texts{"q: File " + In("HKU_S-1.dat") + " already exists ! Overwrite file ?",
                          "x: Can not backup Registry key HKEY_USERS\\S-1 !(Access denied)"}));
  EXPECT_EQ(states_, ".-");
  EXPECT_EQ(ContentOf(In("HKU_S-1.dat")), "old");
  EXPECT_TRUE(IsHive("HKU_a_b.dat"));
  registry_.At(u"HKU\\S-1").save_error = kRegistryDone;
  Run();
  EXPECT_TRUE(IsHive("HKU_S-1.dat"));
}

// Whatever the user answers.
TEST_F(BackupTest, OpenFilesAndWhatNobodyWasAskedAboutAreNotWrittenOver) {
  host_.answer = Answer::kYes;
  run_.hives |= HiveBit(kUserKeys);
  const Texts kept = {"HKU_S-1.dat", "SOFTWARE", "SYSTEM"};
  for (const std::string& name : {kept[0], kept[1]}) {
    Write(In(name));
    KeepEvidence(In(name));
  }
  on_state_ = [&](int hive, HiveState state) {  // after the question
    if (hive == kSystem && state == HiveState::kRunning) Write(In("SYSTEM"));
  };
  Run();
  for (const std::string& name : kept) EXPECT_TRUE(ContentOf(In(name)) == "old") << name;
  EXPECT_EQ(Files(), (Texts{"HKU_S-1.dat", "HKU_a_b.dat", "SOFTWARE", "SYSTEM"}));
  EXPECT_EQ(states_, "-.-.-");
  for (const std::string& name : {kept[0], kept[1]}) ReleaseEvidence(In(name));
}

TEST_F(BackupTest, WithoutThePrivilegeNothingIsMade) {
  registry_.privileges.clear();
  run_.folder = In("new");
  RunBackup(run_, settings_file_);
  EXPECT_EQ(host_.messages,
            (std::vector<ShownMessage>{{"No Backup Privilege !", "Error", Icon::kExclamation}}));
  EXPECT_TRUE(Files().empty());
}

TEST_F(BackupTest, MakesTheLastTwoFolders) {
  run_.folder = In("a/b");
  EXPECT_TRUE(EnsureFolder(run_));
  EXPECT_TRUE(IsExistingFolder(In("a/b")));
  run_.folder = In("c/d/e");
  EXPECT_EQ(Run(), (Texts{"x: Can not create/open directory\r\n" + In("c/d/e") + " !",
                          "x: Invalid directory !"}));
  run_.folder = "/?/";
  EXPECT_EQ(Run(), Texts{"x: Invalid directory !"});
}

TEST_F(BackupTest, AnAutomaticOneAsksNothingAndWritesLogs) {
  SpeakInLogs(run_, folder_);
  settings_file_ = In("s.ini");
  Write(In("SOFTWARE"));
  host_.answer = Answer::kYes;
  registry_.At(u"HKLM\\SAM").save_error = kRegistryDenied;
  run_.hives |= HiveBit(kSam);
  EXPECT_EQ(Run(), Texts{});
  EXPECT_EQ(states_, "-.+.-");
  EXPECT_EQ(ContentOf(In("SOFTWARE")), "old");
  const std::string log = ContentOf(In("hivequarry.err"));
  const std::string first = "\r\nFile " + In("SOFTWARE") + " already exists !\r\n---------\r\n";
  EXPECT_EQ(log.find(first), 26U) << log;
  EXPECT_TRUE(
      log.ends_with("\r\nCan not backup Registry key HKEY_LOCAL_MACHINE\\SAM !"
                    "(Access denied)\r\n---------"));
  EXPECT_EQ(ContentOf(In("hivequarry.ok")).substr(26), "\r\nBackup done.\r\n---------");
  EXPECT_FALSE(IsBackupDue(ReadLastBackup(In("s.ini")), BackupPeriod::kWeek, LocalNow()));
  EXPECT_EQ(ReadLastBackup(In("s.ini")).size(), 17U);
  // With nothing saved nothing is recorded.
  run_.hives = HiveBit(kSoftware) | HiveBit(kClasses);
  settings_file_ = In("other.ini");
  Run();
  EXPECT_EQ(ReadLastBackup(In("other.ini")), "");
  EXPECT_EQ(ContentOf(In("hivequarry.ok")).size(), 26U + 25);
}

TEST_F(BackupTest, AStopEndsItBetweenTwoHives) {
  host_.answer = Answer::kYes;
  on_state_ = [](int, HiveState state) {
    if (state != HiveState::kRunning) return;
    EXPECT_FALSE(StopCommand());
    TheLongOperation().backup_progress = 200;
    EXPECT_TRUE(StopCommand());
  };
  EXPECT_EQ(Run(), Texts{"q: Stop current Process ?"});
  EXPECT_EQ(Files(), Texts{"SOFTWARE"});
}

TEST_F(BackupTest, MatchingFiles) {
  EXPECT_EQ(MatchingHives(folder_), 0U);
  for (const char* name : {"SAM", "usrClass.dat", "HKU_S-2.dat"}) Write(In(name));
  EXPECT_EQ(MatchingHives(folder_), HiveBit(kSam) | HiveBit(kClasses));
  Write(In("HKU_S-1.dat"));
  EXPECT_EQ(MatchingHives(folder_), HiveBit(kSam) | HiveBit(kClasses) | HiveBit(kUserKeys));
}

TEST_F(BackupTest, ReplacingIsAskedForOnTheSystemsDriveAlone) {
  EXPECT_FALSE(MayReplace("D:\\x", {}));
  EXPECT_FALSE(MayReplace("C:x", {}));
  EXPECT_EQ(Shown(), (Texts{"x: Directory must be located on C: !",
                            "x: Directory must be located on C: !"}));
  EXPECT_FALSE(MayReplace("c:\\x", {}));
  EXPECT_EQ(host_.messages[0].buttons, Buttons::kYesNoDefaultNo);
  EXPECT_EQ(Shown(), Texts{"x: Replace Registry Hive(s) with files from\rc:\\x ?\r"
                           "(Needs system restart !)"});
  host_.answer = Answer::kYes;
  EXPECT_TRUE(MayReplace("C:\\x", {}));
}

constexpr const char* kReplaced =
    "i: Replacing Hive(s) done. Changes will take effect after system restart !";

TEST_F(BackupTest, Replaces) {
  run_.hives = ~0U;
  for (const char* name : {"SAM", "BCD", "HKU_S-1.dat", "SYSTEM", "SYSTEM.bak"}) Write(In(name));
  const std::string question =
      "q: Backup file " + In("SYSTEM") + ".bak already exists ! Overwrite file ?";
  EXPECT_EQ(RunReplace(), (Texts{question, kReplaced}));
  EXPECT_EQ(states_, ".-.-.-.-.+.-.+.+.-");
  EXPECT_EQ(registry_.replaced,
            (std::vector<ReplacedHive>{{u"HKLM\\SAM", In("SAM"), In("SAM.bak")},
                                       {u"HKU\\S-1", In("HKU_S-1.dat"), In("HKU_S-1.dat.bak")},
                                       {u"HKLM\\BCD00000000", In("BCD"), In("BCD.bak")}}));
  EXPECT_EQ(ContentOf(In("SYSTEM.bak")), "old");
  host_.answer = Answer::kYes;
  run_.hives = HiveBit(kSystem);
  EXPECT_EQ(RunReplace(), (Texts{question, kReplaced}));
  EXPECT_FALSE(IsNameTaken(In("SYSTEM.bak")));
}

TEST_F(BackupTest, TheBootHivesFileComesToTheBootDrive) {
  run_.hives = HiveBit(kBootHive);
  Write(In("BCD"));
  const std::string copy = places_.boot_folder + "/hivequarry/bcd";
  fs::create_directories(places_.boot_folder);
  EXPECT_EQ(RunReplace(), Texts{kReplaced});
  EXPECT_EQ(registry_.replaced,
            (std::vector<ReplacedHive>{{u"HKLM\\BCD00000000", copy, copy + ".bak"}}));
  EXPECT_EQ(ContentOf(copy), "old");
  std::ofstream(In("BCD")) << "newer";
  EXPECT_EQ(RunReplace(), Texts{"q: File " + copy + " already exists !  Overwrite file ?"});
  EXPECT_EQ(ContentOf(copy), "old");
  host_.answer = Answer::kYes;
  RunReplace();
  EXPECT_EQ(ContentOf(copy), "newer");
  fs::remove(copy);
  fs::create_directory(copy);
  RunReplace();  // the copy fails
  EXPECT_EQ(registry_.replaced.size(), 2U);
  Shown();
  places_.boot_drive = temp_.folder();
  EXPECT_EQ(RunReplace(), Texts{kReplaced});
  EXPECT_EQ(registry_.replaced.back().new_file, In("BCD"));
}

TEST_F(BackupTest, AKeyThatIsNoHivesRootIsNotReplacedForTheHiveThatHoldsIt) {
  run_.hives = HiveBit(kBootHive) | HiveBit(kUserKeys);
  for (const char* name : {"BCD", "HKU_a_b.dat"}) Write(In(name));
  fs::create_directories(places_.boot_folder);
  MemoryKey& list = registry_.At(u"HKLM\\SYSTEM\\CurrentControlSet\\Control\\hivelist");
  std::erase_if(list.values, [](const MemoryValue& value) { return value.name.ends_with(u'0'); });
  const std::string why = " !\rIt is no hive of its own: the one that holds it would be replaced.";
  EXPECT_EQ(RunReplace(), (Texts{"x: Can not replace HKEY_USERS\\a:b" + why,
                                 "x: Can not replace HKEY_LOCAL_MACHINE\\BCD00000000" + why}));
  EXPECT_FALSE(IsExistingFolder(places_.boot_folder + "/hivequarry"));
  list.values.clear();
  EXPECT_EQ(Texts(1, RunReplace()[0]),
            Texts{"x: Can not replace HKEY_USERS\\a:b !\rThe system's list of its hives can not be "
                  "read."});
  EXPECT_TRUE(registry_.replaced.empty());
  EXPECT_EQ(states_, ".-.-");
}

TEST_F(BackupTest, AHiveOfTwoNamesIsReplacedOnce) {
  const std::u16string user = u"HKU\\S-1-5-21-7";
  for (const char16_t* key : {u"", u"_Classes"}) registry_.At(user + key);
  registry_.At(u"HKU\\.DEFAULT");
  registry_.At(u"HKU\\S-1-5-18").link = u"HKU\\.DEFAULT";
  registry_.At(u"HKCU\\Software\\Classes").link = user + u"_Classes";
  for (const char* name : {"ntuser.dat", "usrClass.dat", "HKU_S-1-5-21-7.dat",
                           "HKU_S-1-5-21-7_Classes.dat", "HKU_.DEFAULT.dat", "HKU_S-1-5-18.dat"}) {
    Write(In(name));
  }
  run_.hives = HiveBit(1) | HiveBit(kClasses) | HiveBit(kUserKeys);
  EXPECT_EQ(RunReplace(),
            (Texts{"i: Left out, as the same hive was replaced under another name :"
                   "\rHKEY_USERS\\S-1-5-21-7 (HKEY_CURRENT_USER)"
                   "\rHKEY_USERS\\S-1-5-21-7_Classes (HKEY_CURRENT_USER\\Software\\Classes)"
                   "\rHKEY_USERS\\S-1-5-18 (HKEY_USERS\\.DEFAULT)",
                   kReplaced}));
  EXPECT_EQ(states_, ".+.+.+");
  ASSERT_EQ(registry_.replaced.size(), 3U);
  EXPECT_EQ(registry_.replaced[0].new_file, In("ntuser.dat"));
  EXPECT_EQ(registry_.replaced[1].new_file, In("usrClass.dat"));
  EXPECT_EQ(registry_.replaced[2].new_file, In("HKU_.DEFAULT.dat"));
}

TEST_F(BackupTest, AnOpenFileNeverBecomesTheSystems) {
  run_.hives = HiveBit(kSystem);
  Write(In("SYSTEM"));
  KeepEvidence(In("SYSTEM"));
  EXPECT_EQ(RunReplace(), Texts{"x: Can not replace HKEY_LOCAL_MACHINE\\System !\r" + In("SYSTEM") +
                                " is open in this program and stays as it is."});
  EXPECT_TRUE(registry_.replaced.empty());
  ReleaseEvidence(In("SYSTEM"));
}

TEST_F(BackupTest, WhyAHiveWasNotReplaced) {
  run_.hives = HiveBit(kSystem);
  Write(In("SYSTEM"));
  const struct {
    int32_t error;
    std::string said;
  } cases[] = {{2, "\rFile " + In("SYSTEM") + " not found !"},
               {5, " (Access denied)!"},
               {17, "\r" + In("SYSTEM") + " can not be moved to a different disk drive !"},
               {1314, " (Privilege not held)"},
               {1016, ""}};
  for (const auto& c : cases) {
    registry_.errors["replace"] = c.error;
    EXPECT_EQ(RunReplace(), Texts{"x: Can not replace HKEY_LOCAL_MACHINE\\System !" + c.said});
  }
  fs::create_directory(In("SYSTEM.bak"));
  EXPECT_EQ(RunReplace(), Texts{"x: Invalid file name " + In("SYSTEM.bak") + " for backup !"});
  registry_.privileges.clear();
  EXPECT_EQ(RunReplace(), Texts{"x: No Restore Privilege !"});
  run_.folder = In("none");
  EXPECT_EQ(RunReplace(), Texts{"x: Invalid directory !"});
}

}  // namespace
}  // namespace hivequarry::testing
