// Loading hives into the registry and snapshots of its keys, over a registry kept in memory that
// reads and writes real hive files.
#include "live/snapshot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "hive/root_path.h"
#include "host/evidence.h"
#include "host/files.h"
#include "host/log_files.h"
#include "host/long_operation.h"
#include "live/empty_hive.h"
#include "live/hive_logs.h"
#include "live/hive_mounts.h"
#include "tests/support/hive_builder.h"
#include "tests/support/memory_hives.h"
#include "tests/support/memory_registry.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

// Everything of a branch in lines, whatever its own name.
void Describe(const MemoryKey& key, const std::string& path, Texts& lines) {
  lines.push_back(path + " class " + TextOfWide(key.class_name) + (key.is_link ? " link" : "") +
                  " " + std::string(key.security.begin(), key.security.end()));
  for (const MemoryValue& value : key.values) {
    lines.push_back(path + ": " + TextOfWide(value.name) + " " + std::to_string(value.type) + " " +
                    std::string(value.data.begin(), value.data.end()));
  }
  for (const auto& each : key.keys) Describe(*each, path + "\\" + TextOfWide(each->name), lines);
}

Texts Described(const MemoryKey& key) {
  Texts lines;
  Describe(key, "", lines);
  std::ranges::sort(lines);
  return lines;
}

class SnapshotTest : public ::testing::Test {
 protected:
  SnapshotTest() : folder_("", "other") {
    registry_.privileges = {u"SeTakeOwnershipPrivilege", u"SeSecurityPrivilege",
                            u"SeBackupPrivilege", u"SeRestorePrivilege"};
    MemoryKey& key = registry_.At(u"HKLM\\SOFTWARE\\Tools");
    key.SetText(u"", u"default");
    key.Set(u"Big", 3, Bytes(50'000, 7));
    key.Set(u"\u03A9", 0x1234, {1});
    MemoryKey& below = registry_.At(u"HKLM\\SOFTWARE\\Tools\\\u4E2D\\Below");
    below.class_name = u"Shell";
    below.security =
        SecurityDescriptor("S-1-5-21-1-2-3-1001", "S-1-5-18", {{}}, {{2, 0, 1, "S-1-1-0"}});
    MemoryKey& link = registry_.At(u"HKLM\\SOFTWARE\\Tools\\Link");
    link.link = u"HKLM\\SOFTWARE";
    link.is_link = true;
    link.Set(u"SymbolicLinkValue", 6, Utf16("\\Registry\\Machine\\Software"));
  }
  // Nothing is left of the making but the file, and only when it was made.
  void ExpectClean(bool made) {
    EXPECT_EQ(registry_.open_keys(), 0U);
    EXPECT_TRUE(registry_.enabled.empty());
    EXPECT_TRUE(registry_.At(u"HKU").keys.empty());
    Texts files;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.folder())) {
      files.push_back(entry.path().filename().string());
    }
    std::ranges::sort(files);
    EXPECT_EQ(files, made ? (Texts{"a.snp", "other"}) : Texts{"other"});
  }
  SnapshotStep Make(const std::string& path = "HKLM\\SOFTWARE\\Tools") {
    const SnapshotResult result = MakeKeySnapshot(path, file_, *errors_);
    message_ = SnapshotMessage(result);
    return result.step;
  }

  HostRecorder host_;
  MemoryRegistry registry_;
  TempFile folder_;
  std::string file_ = folder_.folder() + "/a.snp";
  OutputListPtr errors_ = MakeOutputList(kListErrors);
  std::string message_;
};

TEST(HiveLogs, AreKnownByTheirNames) {
  constexpr struct {
    const char *hive, *name, *ending;
  } kCases[] = {
      {"SYSTEM", "SYSTEM.LOG", ".LOG"},
      {"NTUSER.DAT", "ntuser.dat.log2", ".log2"},
      {"NTUSER.DAT", "NTUSER.DAT{53b39e88}.TM.blf", "{53b39e88}.TM.blf"},
      {"a{b", "A{B{1}.TMContainer01.regtrans-ms", "{1}.TMContainer01.regtrans-ms"},
      {"\u00FCber", "\u00DCBER.LOG1", ".LOG1"},
      {"\u2C65", "\u023A.LOG1", ".LOG1"},  // three bytes, and two
      {"SYSTEM", "SYSTEM2.LOG", ""},
      {"SYSTEM", "SYSTEM.LOG3", ""},
      {"SYSTEM", "SYSTEM.blf", ""},
      {"SYSTEM", "SYSTEM", ""},
      {"", "SYSTEM.LOG", ""},
  };
  for (const auto& c : kCases) EXPECT_EQ(LogEnding(c.name, c.hive), c.ending) << c.name;
}

TEST_F(SnapshotTest, TemplateIsAHiveThatASystemLoads) {
  const Bytes hive(EmptyHive().begin(), EmptyHive().end());
  EXPECT_EQ(CheckLoadable(hive), kRegistryDone);
  OpenedHive opened{std::span(hive)};
  EXPECT_TRUE(opened.hive.header_valid && opened.hive.root_valid);
  EXPECT_EQ(opened.tree.root_text, "sys.dat");
  EXPECT_EQ(opened.summary.security_records, 1U);
  EXPECT_EQ(opened.Paths(), (Texts{"Disconnected Keys", "Disconnected Values"}));
}

TEST_F(SnapshotTest, LoadsAndUnloadsWithThePrivilegeForThatTimeAlone) {
  HiveBuilder hive("old name");
  hive.Key("A\\B").Sz("v", "text");
  const TempFile file(hive.Build().bytes);
  EXPECT_EQ(LoadHiveIntoRegistry(u"Mine", file.name()), kRegistryDone);
  EXPECT_NE(registry_.Find(u"HKU\\Mine\\A\\B"), nullptr);
  registry_.At(u"HKU\\Mine\\A\\New");
  EXPECT_EQ(UnloadHiveFromRegistry(u"Mine"), kRegistryDone);
  EXPECT_TRUE(OpenedHive(ContentOf<Bytes>(file.name())).Has("A\\New"));
  EXPECT_EQ(UnloadHiveFromRegistry(u"Mine"), kRegistryNotFound);
  EXPECT_EQ(LoadHiveIntoRegistry(u"Mine", file.folder() + "/none"), kRegistryNotFound);
  EXPECT_TRUE(registry_.enabled.empty());
  registry_.privileges.clear();
  EXPECT_EQ(LoadHiveIntoRegistry(u"Mine", file.name()), kPrivilegeNotHeld);
}

TEST_F(SnapshotTest, AnOpenHiveIsNotLoadedAndItsCopyLiesElsewhereWithItsLogs) {
  const fs::path folder = FilePath(folder_.folder());
  const std::string hive = folder_.folder() + "/Ntuser.dat";
  std::ofstream(hive) << "hive";
  std::ofstream(folder / "ntuser.dat.LOG1") << "log";
  std::ofstream(folder / "Ntuser.dat.log1.old") << "no log of it";
  fs::permissions(FilePath(hive), fs::perms::owner_read);
  KeepEvidence(hive);
  EXPECT_EQ(LoadHiveIntoRegistry(u"Mine", hive), kRegistryDenied);
  EXPECT_TRUE(registry_.At(u"HKU").keys.empty());
  ReleaseEvidence(hive);

  fs::create_directory(folder / "copies");
  const std::string copies = folder_.folder() + "/copies";
  EXPECT_EQ(NameForCopy(hive, folder_.folder() + "/none"), "");
  const std::string copy = NameForCopy(hive, copies);
  EXPECT_EQ(copy, copies + "/Ntuser.dat.copy");
  EXPECT_EQ(CopyHiveWithLogs(hive, copy), "");
  EXPECT_EQ(ContentOf(copy) + ContentOf(copy + ".LOG1"), "hivelog");
  EXPECT_EQ(registry_.protected_files.size(), 2U);
  std::ofstream(copy) << "changed";
  EXPECT_EQ(ContentOf(copy), "changed") << "the copy may be written";
  // Logs that are there belong to another hive.
  EXPECT_EQ(CopyHiveWithLogs(hive, copy), "Log file " + copy + ".LOG1 of another hive is there !");
  fs::remove(FilePath(copy));
  EXPECT_EQ(NameForCopy(hive, copies), copy + "2");
  EXPECT_EQ(CopyHiveWithLogs(hive, folder_.folder() + "/copies/../x"),
            "The folder of " + hive + " stays as it is: choose another one for the copy !");
  EXPECT_EQ(CopyHiveWithLogs(hive, folder_.folder() + "/none/x"),
            "Could Not Open or Create File " + folder_.folder() + "/none/x");
  EXPECT_EQ(CopyHiveWithLogs(folder_.folder() + "/none", copies + "/y"),
            "Could Not Open or Create File " + copies + "/y");
  EXPECT_FALSE(fs::exists(FilePath(copies + "/y")) || fs::exists(FilePath(copies + "/y.tmp~1")));
}

TEST_F(SnapshotTest, TakesTheFirstTemporaryKeyThatIsFree) {
  EXPECT_EQ(FindFreeTempKey(kUsersRoot), u"Temp01");
  registry_.At(u"HKU\\Temp01");
  registry_.At(u"HKU\\temp02");
  EXPECT_EQ(FindFreeTempKey(kUsersRoot), u"Temp03");
  registry_.At(u"HKU\\Temp04");
  for (const char* name : {"HKU", "HKU\\Temp04"}) {  // the mount is no part of the users' keys
    ASSERT_EQ(Make(name), SnapshotStep::kDone) << message_;
  }
  EXPECT_EQ(registry_.At(u"HKU").keys.size(), 3U);
  EXPECT_TRUE(RowTexts(*errors_, 4).empty());
}

TEST_F(SnapshotTest, HoldsTheBranchAsItWas) {
  ASSERT_EQ(Make(), SnapshotStep::kDone) << message_;
  ExpectClean(true);
  const Bytes bytes = ContentOf<Bytes>(file_);
  EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "snap");
  MemoryKey copy;
  MemoryKey& source = registry_.At(u"HKLM\\SOFTWARE\\Tools");
  EXPECT_EQ(BranchFromHive(bytes, copy), u"HKLM\\SOFTWARE\\Tools");
  for (const char16_t* plain : {u"", u"\u4E2D", u"Link"}) {  // of the key above
    MemoryKey* key = *plain == 0 ? &copy : copy.Find(plain);
    ASSERT_NE(key, nullptr);
    key->security.clear();
  }
  EXPECT_EQ(Described(copy), Described(source));

  const OpenedHive opened{std::span(bytes)};
  EXPECT_TRUE(opened.hive.header_valid && opened.hive.root_valid);
  EXPECT_EQ(opened.tree.root_text, "HKLM\\SOFTWARE\\Tools");
  EXPECT_EQ(opened.hive.root.long_prefix, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Tools\\");
  EXPECT_TRUE(opened.Has("\u4E2D\\Below"));
}

TEST_F(SnapshotTest, ListsWhatCannotBeReadOrCopied) {
  const std::u16string path = u"HKLM\\SOFTWARE\\Tools\\";
  registry_.At(path + u"Odd\\Lost").open_error = 1450;
  registry_.At(path + u"Odd\\Denied").open_error = kRegistryDenied;  // not to a backup
  registry_.At(path + u"Odd").Set(u"Huge", 3, Bytes(0x500001));
  registry_.At(path + u"Odd").Set(u"a\0b"s, 3, {1});
  ASSERT_EQ(Make(), SnapshotStep::kDone) << message_;
  const std::string odd = "HKEY_LOCAL_MACHINE|SOFTWARE\\Tools\\Odd";
  EXPECT_EQ(RowTexts(*errors_, 4), (Texts{odd + "|Huge|Error 234|", odd + "|a\0b|Error 123|"s,
                                          odd + "\\Lost||Error 1450|"}));
  EXPECT_TRUE(OpenedHive(ContentOf<Bytes>(file_)).Has("Odd\\Denied"));
}

TEST_F(SnapshotTest, LeavesNothingBehindWhenAStepFails) {
  const auto expect = [&](SnapshotStep step, const std::string& message) {
    EXPECT_EQ(Make(), step);
    EXPECT_EQ(message_, message);
    ExpectClean(false);
  };
  registry_.errors["load"] = 1017;
  expect(SnapshotStep::kLoad, "Could not map File into Registry (Error 1017) !");
  registry_.errors.clear();
  registry_.privileges.erase(u"SeRestorePrivilege");
  expect(SnapshotStep::kLoad, "Could not map File into Registry (Error 1314) !");
  registry_.privileges.insert(u"SeRestorePrivilege");
  EXPECT_EQ(Make("HKLM\\Missing\\"), SnapshotStep::kOpen);
  EXPECT_EQ(message_, "Can not open Registry key HKLM\\Missing !");
  ExpectClean(false);
  for (int i = 0; i < 300; ++i) registry_.At(u"HKLM\\SOFTWARE\\Tools").Add(u"k");
  ASSERT_TRUE(BeginOperation(kOperationQuietA));
  host_.on_status = [](const char*) { RequestStop(); };
  expect(SnapshotStep::kStopped, "");
  EndOperation();
  std::filesystem::create_directory(file_);
  EXPECT_EQ(Make(), SnapshotStep::kFile);
  EXPECT_EQ(message_, "Can not create file " + file_);
  std::filesystem::remove(file_);
  ExpectClean(false);
  static int refusals = 2;
  static const Registry whole = CurrentRegistry();
  Registry table = whole;
  table.unload = [](RegistryKey root, const char16_t* key) {
    return refusals-- > 0 ? 5 : whole.unload(root, key);
  };
  SetRegistry(table);
  EXPECT_EQ(Make(), SnapshotStep::kDone) << message_;
  std::filesystem::remove(file_);
  refusals = 1000;
  EXPECT_EQ(Make(), SnapshotStep::kUnload);
  EXPECT_EQ(
      message_,
      "Could not unload File from Registry (Error 5) !\r\nHKEY_USERS\\Temp01 stays until it is "
      "unloaded or the system restarts. Then " +
          file_ + ".tmp~1 can be deleted.");
  EXPECT_FALSE(std::filesystem::exists(file_));
}

TEST_F(SnapshotTest, LogsThatTheHiveStillNeedsStayBesideIt) {
  registry_.unloads_unsettled = true;
  std::ofstream(file_ + ".tmp~1.LOG") << "mine";  // of what is gone: nobody's to remove
  ASSERT_EQ(Make(), SnapshotStep::kDone);
  EXPECT_EQ(message_, "The system has not written everything into " + file_ +
                          ". The rest is in log files beside it, which stay :\r\n" + file_ +
                          ".LOG");
  EXPECT_EQ(ContentOf(file_ + ".LOG").size(), 512U);
  EXPECT_EQ(ContentOf(file_ + ".tmp~1.LOG"), "mine");
  std::ofstream(file_ + ".LOG") << "mine";
  ASSERT_EQ(Make(), SnapshotStep::kDone);
  EXPECT_TRUE(message_.ends_with(file_ + ".tmp~2.LOG")) << message_;
  EXPECT_EQ(ContentOf(file_ + ".LOG"), "mine");
  registry_.unloads_unsettled = false;
  ASSERT_EQ(Make(), SnapshotStep::kDone);
  EXPECT_EQ(message_, "");
  EXPECT_EQ(ContentOf(file_ + ".LOG"), "mine");
  EXPECT_FALSE(std::filesystem::exists(file_ + ".tmp~3.LOG"));
}

TEST_F(SnapshotTest, ReplacesEarlierSnapshotsButNoHive) {
  ASSERT_EQ(Make(), SnapshotStep::kDone);
  KeepEvidence(file_);
  EXPECT_EQ(Make(), SnapshotStep::kFile);
  ReleaseEvidence(file_);
  EXPECT_EQ(Make(), SnapshotStep::kDone);
  Bytes hive = ContentOf<Bytes>(file_);
  std::copy_n("regf", 4, hive.begin());
  std::ofstream(file_, std::ios::binary).write(reinterpret_cast<char*>(hive.data()), 4200);
  EXPECT_EQ(Make(), SnapshotStep::kFile);
  EXPECT_EQ(message_, "Can not create file " + file_);
  EXPECT_EQ(ContentOf(file_).size(), 4200U);
  ExpectClean(true);
}

TEST_F(SnapshotTest, IsForAdministratorsAndTheSystemAlone) {
  ASSERT_EQ(Make(), SnapshotStep::kDone);
  const SnapshotResult saved = MakeRootSnapshot(WholeRoots()[3], folder_.folder(), *errors_);
  ASSERT_EQ(saved.step, SnapshotStep::kDone);
  EXPECT_EQ(SnapshotMessage(saved), "");
  EXPECT_EQ(registry_.protected_files.size(), 2U);
  registry_.errors["protect"] = 50;
  ASSERT_EQ(Make(), SnapshotStep::kDone);
  EXPECT_TRUE(message_.starts_with("Whoever may read " + folder_.folder())) << message_;
}

TEST_F(SnapshotTest, PathBecomesTheRootsNameWhereItHasRoom) {
  const std::span<const uint8_t> empty = EmptyHive();
  HiveBuilder small("ROOT");
  small.Key("A");
  const BuiltHive built = small.Build();
  struct Case {
    std::span<const uint8_t> hive;
    size_t length;
    bool keep_signature;
    bool named;
  };
  for (const Case& c :
       {Case{empty, 246, false, true}, Case{empty, 247, false, false}, Case{empty, 10, true, true},
        Case{built.bytes, 4, false, true}, Case{built.bytes, 40, false, false}}) {
    SCOPED_TRACE(c.length);
    const TempFile file(c.hive);
    const std::string path(c.length, 'p');
    EXPECT_TRUE(MarkSnapshot(file.name(), path, c.keep_signature));
    const Bytes bytes = ContentOf<Bytes>(file.name());
    EXPECT_EQ(bytes[0], c.keep_signature ? 'r' : 's');
    OpenedHive opened{std::span(bytes)};
    EXPECT_EQ(opened.tree.root_text == path, c.named) << opened.tree.root_text;
    MemoryKey branch;
    EXPECT_EQ(BranchFromHive(bytes, branch).size() == c.length, c.named);
    EXPECT_EQ(branch.keys.size(), c.hive.data() == empty.data() ? 0U : 1U);
  }
  const auto repeated = [](const char* character, size_t times) {
    std::string path;
    while (times-- > 0) path += character;
    return path;
  };
  const struct {
    std::string path;
    bool named;
  } paths[] = {{"HKCU\\Software\\B\u00E4r", true},
               {repeated("\u00E4", 246), true},
               {repeated("\u00E4", 247), false},
               {"HKCU\\Software\\\u0416", false},
               {"HKCU\\\U0001F511", false}};
  for (const auto& c : paths) {
    const TempFile file(empty);
    EXPECT_TRUE(MarkSnapshot(file.name(), c.path, false));
    const Bytes bytes = ContentOf<Bytes>(file.name());
    OpenedHive opened{std::span(bytes)};
    EXPECT_EQ(opened.tree.root_text, c.named ? c.path : "sys.dat");
  }
  const TempFile text("no hive at all", "x");
  EXPECT_FALSE(MarkSnapshot(text.name(), "HKLM", false));
}

TEST_F(SnapshotTest, WholeRootsAreKnownByTheirFiles) {
  registry_.At(u"HKLM\\SYSTEM\\Select").SetText(u"a", u"b");
  registry_.At(u"HKCU\\Console");
  for (const WholeRoot& root : WholeRoots()) {
    SCOPED_TRACE(root.file_name);
    const SnapshotResult result = MakeRootSnapshot(root, folder_.folder(), *errors_);
    const bool there = registry_.Find(WideOfText(root.path)) != nullptr;
    EXPECT_EQ(result.step, there ? SnapshotStep::kDone : SnapshotStep::kOpen);
    if (!there) continue;
    const Bytes bytes = ContentOf<Bytes>(result.file);
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "snap");
    OpenedImage image(bytes, root.file_name);
    EXPECT_TRUE(RootPathFromSnapshotName(image.hive()));
    EXPECT_EQ(image.hive().root.label, root.path);
  }
  EXPECT_TRUE(RowTexts(*errors_, 4).empty());
  EXPECT_TRUE(registry_.enabled.empty());
  registry_.errors["save"] = 1314;
  EXPECT_EQ(SnapshotMessage(MakeRootSnapshot(WholeRoots()[3], folder_.folder(), *errors_)),
            "Can not backup Registry key HKLM\\SOFTWARE !(Privilege not held)");
}

}  // namespace
}  // namespace hivequarry::testing
