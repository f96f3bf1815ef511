#include "hive/root_path.h"

#include <gtest/gtest.h>

#include "hive/opening.h"
#include "hive/root_evidence.h"
#include "recovery/image_tree.h"
#include "tests/support/hive_builder.h"

namespace hivequarry {
namespace {

class RootPath : public ::testing::Test {
 protected:
  ~RootPath() override { ResetHiveTable(); }

  static HiveImage& TakeSlot(const char* label = "") {
    HiveImage& hive = HiveOfSlot(AllocateHiveSlot());
    hive.root.label = label;
    return hive;
  }
  // A hive whose root key has this name.
  static HiveImage& OpenRoot(std::string_view root_name) {
    const testing::TempFile file(testing::HiveBuilder(root_name).Build().bytes);
    return HiveOfSlot(OpenHive(file.name()));
  }
};

TEST_F(RootPath, ByKind) {
  const struct {
    int kind;
    const char* prefix;
    const char* label;
  } cases[] = {
      {1, "HKEY_USERS\\", "HKU"},
      {2, "HKEY_CURRENT_USER\\", "HKCU"},
      {3, "HKEY_LOCAL_MACHINE\\SYSTEM\\", "HKLM\\SYSTEM"},
      {4, "HKEY_CLASSES_ROOT\\", "HKCR"},
      {5, "HKEY_LOCAL_MACHINE\\SOFTWARE\\", "HKLM\\SOFTWARE"},
      {6, "HKEY_LOCAL_MACHINE\\SAM\\", "HKLM\\SAM"},
      {7, "HKEY_LOCAL_MACHINE\\SECURITY\\", "HKLM\\SECURITY"},
      {8, "HKEY_LOCAL_MACHINE\\", "HKLM"},
      {10, "HKEY_LOCAL_MACHINE\\Components\\", "HKLM\\Components"},
      {11, "HKEY_LOCAL_MACHINE\\BCD00000000\\", "HKLM\\BCD00000000"},
  };
  HiveImage& hive = TakeSlot();
  for (const auto& c : cases) {
    EXPECT_TRUE(SetRootKind(c.kind, hive));
    EXPECT_EQ(hive.root.long_prefix, c.prefix);
    EXPECT_EQ(hive.root.label, c.label);
    EXPECT_EQ(hive.root.label_length, hive.root.label.size());
    EXPECT_EQ(hive.root.kind, c.kind);
    EXPECT_EQ(hive.root.sam, c.kind == 6);
  }
  for (const int kind : {-1, 0, 9, 12}) EXPECT_FALSE(SetRootKind(kind, hive)) << kind;
  EXPECT_EQ(hive.root.label, "HKLM\\BCD00000000");
}

TEST_F(RootPath, FromTheRootKeysName) {
  const struct {
    const char* name;
    const char* label;  // null: the name says nothing
    const char* prefix;
  } cases[] = {
      {"SOFTWARE", "HKLM\\SOFTWARE", "HKEY_LOCAL_MACHINE\\SOFTWARE\\"},
      {"System", "HKLM\\SYSTEM", "HKEY_LOCAL_MACHINE\\SYSTEM\\"},
      {"security", "HKLM\\SECURITY", "HKEY_LOCAL_MACHINE\\SECURITY\\"},
      {"SAM", "HKLM\\SAM", "HKEY_LOCAL_MACHINE\\SAM\\"},
      {"ControlSet001", "HKLM\\SYSTEM\\ControlSet001",
       "HKEY_LOCAL_MACHINE\\SYSTEM\\ControlSet001\\"},
      {"S-1-5-21-1-2-3-1001_CLASSES", "HKU\\S-1-5-21-1-2-3-1001\\SOFTWARE\\Classes",
       "HKEY_USERS\\S-1-5-21-1-2-3-1001\\SOFTWARE\\Classes\\"},
      {"_Classes", "_Classes", "_Classes\\"},
      {"NewStoreRoot", "HKLM\\BCD00000000", "HKEY_LOCAL_MACHINE\\BCD00000000\\"},
      {"s-1-5-18", "HKU\\s-1-5-18", "HKEY_USERS\\s-1-5-18\\"},
      {"S-1-x", "S-1-x", "S-1-x\\"},
      {".Default", "HKU\\.DEFAULT", "HKEY_USERS\\.DEFAULT\\"},
      {"{1f2e}", "{1f2e}", "{1f2e}\\"},
      {"$$$P", nullptr, ""},
      {"$$$PROTO.HIV", nullptr, ""},
      {"$$$", "$$$", "$$$\\"},
      {"CMI-CreateHive", nullptr, ""},
      {"CMI-CreateHive{6A1C}", nullptr, ""},
      {"CMI-CreateHiv", "CMI-CreateHiv", "CMI-CreateHiv\\"},
      {"", nullptr, ""},
  };
  for (const auto& c : cases) {
    HiveImage& hive = OpenRoot(c.name);
    EXPECT_EQ(RootPathFromRootKey(hive, kFirstCellPosition), c.label != nullptr) << c.name;
    EXPECT_EQ(hive.root.label, c.label != nullptr ? c.label : "") << c.name;
    EXPECT_EQ(hive.root.long_prefix, c.prefix) << c.name;
    EXPECT_EQ(DisplayedRoot(hive), c.label != nullptr ? c.label : "ROOT");
    ResetHiveTable();
  }
}

TEST_F(RootPath, FromTheFilesName) {
  const struct {
    const char* stored;  // in the base block
    const char* file;
    const char* label;  // null: neither says anything
  } cases[] = {
      {"emRoot\\System32\\Config\\SOFTWARE", "COPY", "HKLM\\SOFTWARE"},
      {"\\??\\C:\\Users\\a\\ntuser.dat", "SYSTEM", "HKCU"},
      {"\\??\\C:\\x\\SAMPLE", "system.bak", "HKLM\\SYSTEM"},
      {"", "UsrClass.dat", "HKCU\\SOFTWARE\\Classes"},
      {"", "User.dat", "HKCU"},
      {"", "UserClasses.dat", "HKCU\\SOFTWARE\\Classes"},
      {"", "Registry.dat", "Registry.dat"},
      {"", "default", "HKU\\.DEFAULT"},
      {"", "COPY", nullptr},
  };
  for (const auto& c : cases) {
    testing::HiveBuilder builder("CMI-CreateHive{1}");
    builder.FileName(c.stored);
    const testing::TempFile file(builder.Build().bytes, c.file);
    HiveImage& hive = HiveOfSlot(OpenHive(file.name()));
    EXPECT_EQ(ChooseRootPath(hive, false), c.label != nullptr) << c.stored << c.file;
    EXPECT_EQ(hive.root.label, c.label != nullptr ? c.label : "") << c.stored << c.file;
    ResetHiveTable();
  }
}

// Root key names and file names that lead elsewhere than where a system loads such a hive.
TEST_F(RootPath, IsDoubtedUnlessTheHiveItselfOrTheUserNamesAPlaceOfHives) {
  constexpr const char* kNone = "CMI-CreateHive{1}";
  const struct {
    const char* root_key;
    const char* stored;  // in the base block
    const char* file;
    const char* doubt;  // how it begins; empty: none
  } cases[] = {
      {"SOFTWARE", "", "x", ""},
      {"ControlSet001", "", "x", ""},
      {"S-1-5-21-1-2-3-1001_Classes", "", "x", ""},
      {"HKEY_USERS\\.DEFAULT", "", "x", ""},
      {"hklm\\software", "", "x", ""},
      {kNone, "emRoot\\System32\\Config\\SOFTWARE", "x", ""},
      {kNone, "\\config\\DEFAULT", "x", ""},
      {"{1f2e}", "", "x", ""},  // leads nowhere
      {kNone, "", "x", ""},     // no path at all
      {kNone, "", "SYSTEM",
       "The name of the file alone says that the hive belongs to "
       "HKEY_LOCAL_MACHINE\\SYSTEM."},
      {kNone, "", "_HKLM.SNP", "The name of the file alone"},
      {kNone, "", "ntuser.dat", "The hive is some user's, and HKEY_CURRENT_USER is"},
      {kNone, "\\??\\C:\\Users\\a\\ntuser.dat", "x", "The hive is some user's"},
      {kNone, "", "UsrClass.dat", "The hive is some user's, and HKEY_CURRENT_USER\\SOFTWARE"},
      {"HKCU", "", "x", "The hive is some user's"},
      {"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run", "", "x",
       "The root key's name leads to HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows"},
      {"HKLM", "", "x", "The root key's name leads to HKEY_LOCAL_MACHINE, where"},
      {" \t HKLM\\a\x1B[m", "", "x", "The root key's name leads to HKEY_LOCAL_MACHINE\\a [m,"},
      {"ControlSet001\\Services\\a", "", "x", "The root key's name"},
      {"S-1-5-21\\Software\\a_Classes", "", "x", "The root key's name"},
      {"HKU\\S-1-5-21\\Software\\Classes\\a", "", "x", "The root key's name"},
      {"HKCR\\a", "", "x", "The root key's name"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.root_key) + " " + c.stored + " " + c.file);
    testing::HiveBuilder builder(c.root_key);
    builder.FileName(c.stored);
    const testing::TempFile file(builder.Build().bytes, c.file);
    HiveImage& hive = HiveOfSlot(OpenHive(file.name()));
    KeyTree tree;
    BuildImageTree(hive, {}, tree);
    const std::string doubt = RootDoubt(hive);
    EXPECT_EQ(doubt.substr(0, std::string_view(c.doubt).size()), c.doubt);
    EXPECT_EQ(doubt.empty(), *c.doubt == 0) << doubt;
    BuildOptions named;
    named.root_path = "HKCU";
    BuildImageTree(hive, named, tree);
    EXPECT_EQ(RootDoubt(hive), "");
    ResetHiveTable();
  }
}

TEST_F(RootPath, LabelsAreUnique) {
  HiveImage& first = TakeSlot();
  HiveImage& second = TakeSlot();
  SetRootKind(5, first);
  SetRootKind(5, first);  // its own label is no obstacle
  EXPECT_EQ(first.root.label, "HKLM\\SOFTWARE");
  SetRootKind(5, second);
  EXPECT_EQ(second.root.label, "HKLM\\SOFTWARE(1)");
  EXPECT_EQ(second.root.label_length, 13u);
  EXPECT_EQ(second.root.long_prefix, "HKEY_LOCAL_MACHINE\\SOFTWARE\\");
  HiveImage& third = TakeSlot();
  SetRootPath(third, "hkey_local_machine\\Software\\");
  EXPECT_EQ(third.root.label, "HKLM\\Software(2)");
  EXPECT_EQ(third.root.kind, 5);
  SetRootPath(third, "X:\\odd");
  EXPECT_EQ(third.root.label, "X:\\odd");
  EXPECT_EQ(third.root.long_prefix, "X:\\odd\\");
}

TEST_F(RootPath, FindsHiveByEitherFormOfItsRoot) {
  TakeSlot("HKEY_LOCAL_MACHINE");
  const int second = TakeSlot("HKCU\\Software").slot;
  const int bare = TakeSlot("").slot;
  EXPECT_EQ(FindHiveByRoot("HKLM"), 1);
  EXPECT_EQ(FindHiveByRoot("hkey_local_machine"), 1);
  EXPECT_EQ(FindHiveByRoot("HKEY_CURRENT_USER\\SOFTWARE"), second);
  EXPECT_EQ(FindHiveByRoot("HKCU"), -1);
  EXPECT_EQ(FindHiveByRoot("HKLM", 1), -1);
  EXPECT_EQ(FindHiveByRoot(""), -1) << "slot " << bare << " has no root path";
  FreeHiveSlot(1);
  EXPECT_EQ(FindHiveByRoot("HKLM"), -1);
}

TEST_F(RootPath, DefaultByFileName) {
  const struct {
    const char* file;
    const char* root;
  } cases[] = {{"D:\\old\\ntuser.dat", "HKEY_USERS"},
               {"D:\\old\\SYSTEM", "HKEY_LOCAL_MACHINE"},
               {"D:\\my files\\ntuser.dat", "HKEY_LOCAL_MACHINE"}};
  for (const auto& c : cases) {
    SetDefaultRoot(c.file);
    EXPECT_EQ(TheHiveTable().default_long_root, c.root);
  }
  EXPECT_EQ(TheHiveTable().default_short_root, "HKLM");
  EXPECT_EQ(TheHiveTable().default_root_handle, 0x80000002u);
}

TEST_F(RootPath, SplitAndForms) {
  const struct {
    const char* path;
    bool known;
    const char* long_name;
    const char* rest;
    const char* short_name;
    uint32_t handle;
    const char* short_form;
    const char* long_form;
  } cases[] = {
      {"hkcu\\Software\\A", true, "HKEY_CURRENT_USER", "Software\\A", "HKCU", 0x80000001,
       "HKCU\\Software\\A", "HKEY_CURRENT_USER\\Software\\A"},
      {"HKEY_DYN_DATA", true, "HKEY_DYN_DATA", "", "HKDD", 0x80000006, "HKDD", "HKEY_DYN_DATA"},
      {"HKU\\", true, "HKEY_USERS", "", "HKU", 0x80000003, "HKU\\", "HKEY_USERS\\"},
      {"HKLMX\\A", false, "HKLMX\\A", "", "", 0, "", ""},
      {"\\HKLM", false, "\\HKLM", "", "", 0, "", ""},
      {"", false, "", "", "", 0, "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    RootSplit split;
    split.rest = "left over";
    EXPECT_EQ(SplitRootPath(c.path, split), c.known);
    EXPECT_EQ(split.long_name, c.long_name);
    EXPECT_EQ(split.rest, c.rest);
    EXPECT_EQ(split.short_name, c.short_name);
    EXPECT_EQ(split.handle, c.handle);
    EXPECT_EQ(ShortRootPath(c.path), c.short_form);
    EXPECT_EQ(LongRootPath(c.path), c.long_form);
  }
}

TEST_F(RootPath, Wow64Paths) {
  const struct {
    const char* path;
    bool wow64;
  } cases[] = {{"Software\\Wow6432Node", true},
               {"Software\\WOW6432NODE\\Classes", true},
               {"Wow6432NodeX", true},
               {"Wow6432Nod", true},
               {"Wow6432No", false},
               {"Software\\MyWow6432Node", false},
               {"Software\\Wow6432NodeX", false},
               {"Software\\Wow6432NodeX\\Wow6432Node", true},
               {"Software", false},
               {"", false}};
  for (const auto& c : cases) EXPECT_EQ(IsWow64Path(c.path), c.wow64) << c.path;
}

}  // namespace
}  // namespace hivequarry
