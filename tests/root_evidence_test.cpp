// Which hive a file is, by its base block, its keys and its name.
#include "hive/root_evidence.h"

#include <gtest/gtest.h>

#include "hive/hive_table.h"
#include "hive/opening.h"
#include "hive/profile_owner.h"
#include "hive/root_path.h"
#include "recovery/image_tree.h"
#include "reports/hive_lists.h"
#include "tests/support/hive_builder.h"
#include "tests/support/opened_hive.h"

namespace hivequarry {
namespace {

using testing::Ace;
using testing::BuiltHive;
using testing::Bytes;
using testing::HiveBuilder;
using testing::OpenedHive;
using testing::SecurityDescriptor;

constexpr const char* kNothing = "CsiTool-CreateHive-{00000000-0000-0000-0000-000000000000}";
constexpr const char* kUser = "S-1-5-21-1-2-3-1001";

std::vector<Ace> ProfileAccess(const char* account) {
  return {Ace{.flags = 2, .sid = account}, Ace{.flags = 2, .sid = "S-1-5-18"},
          Ace{.flags = 2, .sid = "S-1-5-32-544"},
          Ace{.flags = 2, .mask = 0x20019, .sid = "S-1-5-12"}};
}

TEST(RootEvidence, NamesThatSayNothing) {
  for (const char* name :
       {"", "$$$PROTO.HIV", "CMI-CreateHive{6A1C4018-979D-4291-A7DC-7AED1C75B67C}", kNothing,
        "ROOT", "Root", "{11517B7C-E79D-4e20-961B-75A811715ADD}"}) {
    EXPECT_TRUE(SaysNothing(name)) << name;
  }
  for (const char* name :
       {"SYSTEM", "Roots", "{11517B7C}", "{11517B7C-E79D-4e20-961B-75A811715ADDx",
        "{11517B7C-E79D-4e20-961B-75A81171}ADD}", "$$$", "ControlSet001"}) {
    EXPECT_FALSE(SaysNothing(name)) << name;
  }
}

struct KindCase {
  const char* what;
  std::vector<const char*> keys;
  const char* root;  // null: that of the root key's name
  const char* kind;
};

TEST(RootEvidence, KeysTellTheKind) {
  const KindCase cases[] = {
      {"system", {"Select", "ControlSet001\\Control"}, "HKLM\\SYSTEM", "SYSTEM"},
      {"another set", {"Select", "ControlSet017"}, "HKLM\\SYSTEM", "SYSTEM"},
      {"drivers too",
       {"Select", "ControlSet001", "DriverDatabase\\DeviceIds", "DriverDatabase\\DriverPackages"},
       "HKLM\\SYSTEM",
       "SYSTEM"},
      {"no set", {"Select", "ControlSetup1"}, nullptr, ""},
      {"no select", {"ControlSet001\\Control"}, nullptr, ""},
      {"software", {"Microsoft\\Windows NT\\CurrentVersion"}, "HKLM\\SOFTWARE", "SOFTWARE"},
      {"some vendor", {"Microsoft\\Windows\\CurrentVersion"}, nullptr, ""},
      {"sam", {"SAM\\Domains\\Account"}, "HKLM\\SAM", "SAM"},
      {"security", {"Policy\\Secrets"}, "HKLM\\SECURITY", "SECURITY"},
      {"some policy", {"Policy\\Other"}, nullptr, ""},
      {"user", {"Software", "Control Panel"}, "HKCU", "NTUSER"},
      {"user", {"SOFTWARE\\Microsoft", "environment"}, "HKCU", "NTUSER"},
      {"no user", {"Software\\Environment"}, nullptr, ""},
      {"classes", {"Local Settings", "CLSID"}, "HKCU\\SOFTWARE\\Classes", "USRCLASS"},
      {"bcd", {"Objects\\{1}", "Description"}, "HKLM\\BCD00000000", "BCD"},
      {"old AmCache", {"Root\\File\\{1}"}, "AmCache", "AmCache"},
      {"new AmCache", {"Root\\InventoryApplicationFile"}, "AmCache", "AmCache"},
      {"components", {"CanonicalData", "DerivedData"}, "HKLM\\Components", "COMPONENTS"},
      {"drivers",
       {"DriverDatabase\\DeviceIds", "DriverDatabase\\DriverPackages"},
       "HKLM\\DRIVERS",
       "DRIVERS"},
      {"settings", {"LocalState\\a", "RoamingState"}, "settings", "settings"},
      {"more than settings", {"LocalState", "Other"}, nullptr, ""},
      {"package", {"REGISTRY\\MACHINE\\Software"}, "Registry.dat", "Registry.dat"},
      {"nothing", {"a\\Select", "a\\ControlSet001"}, nullptr, ""}};
  for (const KindCase& c : cases) {
    for (const char* root_key : {kNothing, "ROOT", "{11517B7C-E79D-4e20-961B-75A811715ADD}"}) {
      SCOPED_TRACE(std::string(c.what) + ' ' + root_key);
      HiveBuilder builder(root_key);
      for (const char* key : c.keys) builder.Key(key);
      OpenedHive opened(builder.Build());
      EXPECT_EQ(opened.tree.root_text, c.root != nullptr ? c.root : root_key);
      const RootEvidence evidence = FindRootEvidence(opened.hive);
      EXPECT_EQ(HiveKindName(KindOfHive(evidence)), c.kind);
      EXPECT_EQ(RootSourceWords(opened.hive, evidence),
                c.root != nullptr ? "the keys" : "the root key's name");
      EXPECT_EQ(RootContradiction(evidence, true), "");
    }
  }
}

struct OrderCase {
  const char* root_key;
  const char* stored;  // in the base block
  const char* file;
  const char* keys;  // of SOFTWARE, or of a user
  const char* root;
  const char* from;
  const char* contradiction;
};
constexpr const char* kSoftwareKeys = "Microsoft\\Windows NT\\CurrentVersion";

TEST(RootEvidence, TheBaseBlockComesBeforeTheKeysAndTheseBeforeTheFile) {
  const OrderCase cases[] = {
      {kNothing, "emRoot\\System32\\Config\\SAM", "x", "", "HKLM\\SAM", "the base block", ""},
      {kNothing, "\\Config\\SYSTEM", "SAM", kSoftwareKeys, "HKLM\\SYSTEM", "the base block",
       "The base block says SYSTEM, the keys say SOFTWARE, the file's name says SAM."},
      {kNothing, "\\x.dat", "SAM", kSoftwareKeys, "HKLM\\SOFTWARE", "the keys",
       "The keys say SOFTWARE, the file's name says SAM."},
      {kNothing, "\\x.dat", "SAM", "a", "HKLM\\SAM", "the file's name", ""},
      {"System", "\\Boot\\BCD", "x", "", "HKLM\\SYSTEM", "the root key's name",
       "The root key's name says SYSTEM, the base block says BCD."},
      {"Own", "\\Config\\SAM", "SAM", kSoftwareKeys, "Own", "the root key's name",
       "The base block says SAM, the keys say SOFTWARE, the file's name says SAM."},
      {kNothing, "\\AppCompat\\Programs\\Amcache.hve", "x", "", "AmCache", "the base block", ""},
      {kNothing, "\\Settings\\settings.dat", "x", "", "settings", "the base block", ""},
      {kNothing, "\\Helium\\User.dat", "x", "", "HKCU", "the base block", ""},
      {kNothing, "\\Helium\\UserClasses.dat", "x", "", "HKCU\\SOFTWARE\\Classes", "the base block",
       ""},
      {kNothing, "\\config\\DRIVERS", "x", "", "HKLM\\DRIVERS", "the base block", ""},
      {kNothing, "\\config\\ELAM", "x", "", "HKLM\\ELAM", "the base block", ""},
      {kNothing, "\\config\\BBI", "x", "", "BBI", "the base block", ""},
      {kNothing, "\\Program\\drivers.txt", "x", "", kNothing, "the root key's name", ""},
      {"CMI-CreateHive{1}", "", "x", "", "ROOT", "", ""},
  };
  for (const OrderCase& c : cases) {
    SCOPED_TRACE(std::string(c.root_key) + ' ' + c.stored + ' ' + c.file);
    HiveBuilder builder(c.root_key);
    builder.FileName(c.stored);
    builder.Key("a");
    if (*c.keys != 0) builder.Key(c.keys);
    const testing::TempFile file(builder.Build().bytes, c.file);
    HiveImage& hive = HiveOfSlot(OpenHive(file.name()));
    KeyTree tree;
    BuildImageTree(hive, {}, tree);
    EXPECT_EQ(tree.root_text, c.root);
    EXPECT_EQ(RootSourceWords(hive, FindRootEvidence(hive)), c.from);
    EXPECT_EQ(RootContradiction(FindRootEvidence(hive), true), c.contradiction);
    BuildOptions named;
    named.root_path = "HKLM\\Named";
    BuildImageTree(hive, named, tree);
    EXPECT_EQ(tree.root_text, "HKLM\\Named");
    EXPECT_EQ(RootSourceWords(hive, FindRootEvidence(hive)), "the user");
    ResetHiveTable();
  }
}

// A script for the wrong hive of a machine is worse than none.
TEST(RootEvidence, WhoContradictsHimselfIsAsked) {
  HiveBuilder builder(kNothing);
  builder.FileName("\\Config\\SYSTEM");
  builder.Key(kSoftwareKeys);
  OpenedHive opened(builder.Build());
  EXPECT_EQ(RootDoubt(opened.hive), "The base block says SYSTEM, the keys say SOFTWARE.");
}

// Users write what they like into their own hives, and nobody else's keys come into theirs.
TEST(RootEvidence, PlantedKeysChangeNothing) {
  HiveBuilder builder(kNothing);
  for (const char* key : {"Software", "Environment", "Select", "ControlSet001", kSoftwareKeys,
                          "SAM\\Domains", "Policy\\Secrets", "Objects", "Description"}) {
    builder.Key(key);
  }
  OpenedHive opened(builder.Build());
  EXPECT_EQ(opened.tree.root_text, "HKCU");
  EXPECT_EQ(RootContradiction(FindRootEvidence(opened.hive), true),
            "The keys say NTUSER, some keys say SYSTEM, some keys say SOFTWARE, some keys say SAM, "
            "some keys say SECURITY, some keys say BCD.");
}

// Neither a deleted key nor one that only its parent field ties to the root says what the hive is.
TEST(RootEvidence, RecoveredKeysDecideNothing) {
  HiveBuilder builder(kNothing);
  builder.Key("Select").Dword("Current", 1);
  builder.Key("ControlSet001\\Control");
  builder.Key("Other");
  BuiltHive built = builder.Build();
  built.Unlink("Select");
  EXPECT_EQ(OpenedHive(built).tree.root_text, kNothing);
  BuiltHive freed = builder.Build();
  freed.Free(freed.PositionOf("Select"));
  EXPECT_EQ(OpenedHive(freed).tree.root_text, kNothing);
}

struct AccountCase {
  const char* what;
  std::vector<Ace> root;
  std::vector<Ace> below;
  const char* account;  // empty: not told
};

TEST(RootEvidence, WhoseProfileItIs) {
  auto two = ProfileAccess(kUser);
  two.push_back(Ace{.sid = "S-1-5-21-1-2-3-1002"});
  auto group = ProfileAccess(kUser);
  group.push_back(Ace{.sid = "S-1-5-21-1-2-3-512"});
  auto below_only = ProfileAccess(kUser);
  below_only.push_back(Ace{.flags = 10, .sid = "S-1-5-21-1-2-3-1002"});
  auto reader = ProfileAccess(kUser);
  reader.push_back(Ace{.mask = 0x20019, .sid = "S-1-5-21-1-2-3-1002"});
  reader.push_back(Ace{.type = 1, .sid = "S-1-5-21-1-2-3-1003"});
  const AccountCase cases[] = {
      {"profile", ProfileAccess(kUser), ProfileAccess(kUser), kUser},
      {"a group of the domain", group, group, kUser},
      {"others may read", reader, reader, kUser},
      {"another's for subkeys alone", below_only, below_only, kUser},
      {"of a directory", ProfileAccess("S-1-12-1-1-2-3-4"), ProfileAccess("S-1-12-1-1-2-3-4"),
       "S-1-12-1-1-2-3-4"},
      {"of a service", ProfileAccess("S-1-5-19"), ProfileAccess("S-1-5-19"), "S-1-5-19"},
      {"two accounts", two, ProfileAccess(kUser), ""},
      {"not the same", ProfileAccess(kUser), ProfileAccess("S-1-5-21-1-2-3-1002"), ""},
      {"the default profile", {Ace{}}, {Ace{}}, ""},
  };
  for (const AccountCase& c : cases) {
    for (const bool classes : {false, true}) {
      SCOPED_TRACE(std::string(c.what) + (classes ? " classes" : ""));
      HiveBuilder builder(kNothing);
      const char* top = classes ? "Local Settings" : "Software";
      builder.Root().Security(
          builder.AddSecurity(SecurityDescriptor("S-1-5-18", "S-1-5-18", c.root)));
      builder.Key(top).Security(
          builder.AddSecurity(SecurityDescriptor("S-1-5-18", "S-1-5-18", c.below)));
      builder.Key(classes ? "CLSID" : "Environment");
      OpenedHive opened(builder.Build());
      const std::string end = classes ? "\\SOFTWARE\\Classes" : "";
      const bool told = *c.account != 0;
      EXPECT_EQ(opened.tree.root_text, (told ? std::string("HKU\\") + c.account : "HKCU") + end);
      EXPECT_EQ(RootDoubt(opened.hive).empty(), told);
      const std::string own = "HKCU" + end + "\\" + top;
      EXPECT_EQ(FindItemByPath(opened.hive, opened.tree, own), opened.Item(top));
    }
  }
}

TEST(RootEvidence, DamagedAccessListsNameNobody) {
  HiveBuilder builder(kNothing);
  const uint32_t record =
      builder.AddSecurity(SecurityDescriptor("S-1-5-18", "S-1-5-18", ProfileAccess(kUser)));
  builder.Root().Security(record);
  const BuiltHive sound = builder.Build();
  const uint32_t cell = sound.SecurityPosition(record);
  const auto account = [&](const BuiltHive& built) {
    OpenedHive opened(built);
    return AccountWithAllAccess(opened.hive, opened.hive.root_position);
  };
  EXPECT_EQ(account(sound), kUser);
  for (uint32_t at = 0; at < sound.CellLength(cell); ++at) {
    for (const uint8_t byte : Bytes{0x00, 0x7F, 0xFF}) {
      BuiltHive built = sound;
      built.SetU8(cell, at, byte);
      account(built);  // whatever it says, it ends, within its bounds
    }
  }
  BuiltHive cut = sound;
  cut.SetU32(cell, 20, 40);  // the descriptor's length
  EXPECT_EQ(account(cut), "");
}

TEST(RootEvidence, InfoSaysByWhat) {
  HiveBuilder builder(kNothing);
  builder.FileName("\\Config\\SYSTEM");
  builder.Key("Select");
  builder.Key("ControlSet001");
  OpenedHive opened(builder.Build());
  EXPECT_EQ(RootEvidenceWords(FindRootEvidence(opened.hive)),
            "SYSTEM by the base block \\Config\\SYSTEM; SYSTEM by the keys Select, ControlSet001");
}

}  // namespace
}  // namespace hivequarry
