#include "reports/machine_report.h"

#include <gtest/gtest.h>

#include "hive/root_path.h"
#include "tests/support/hive_builder.h"
#include "tests/support/opened_hive.h"

namespace hivequarry {
namespace {

using testing::BuiltHive;
using testing::Bytes;
using testing::FileTime;
using testing::HiveBuilder;
using testing::OpenedHive;

constexpr const char* kNothing = "CMI-CreateHive{1}";

Bytes Time(uint64_t time) {
  Bytes bytes(8);
  testing::PutU64(bytes, 0, time);
  return bytes;
}

HiveBuilder SystemHive() {
  HiveBuilder builder(kNothing);
  builder.FileName("\\Config\\SYSTEM");
  builder.Key("Select").Dword("Current", 2).Dword("LastKnownGood", 1);
  for (const char* set : {"ControlSet001", "ControlSet002"}) {
    auto at = builder.Key(set);
    at.Key("Control\\ComputerName\\ComputerName").Sz("ComputerName", std::string("PC of ") + set);
    at.Key("Control\\TimeZoneInformation").Dword("Bias", 0xFFFFFFC4);
    at.Key("Control\\Windows").Value("ShutdownTime", 3, Time(FileTime(2012, 4, 4, 1, 58, 40)));
  }
  builder.Key("ControlSet002\\Enum\\USBSTOR\\Disk&Ven_A\\SERIAL&0").Sz("FriendlyName", "A stick");
  builder.Key("ControlSet002\\Enum\\USBSTOR\\Other\\1").Sz("FriendlyName", "No disk");
  builder.Key("MountedDevices")
      .Value("\\DosDevices\\C:", 3, {0x3E, 0xA0, 0xBE, 0x5C, 0, 0, 0x10, 0, 0, 0, 0, 0})
      .Value("\\DosDevices\\E:", 3, testing::Utf16("_??_USBSTOR#A"))
      .Value("\\??\\Volume{1}", 3, {1});
  return builder;
}

HiveBuilder SoftwareHive() {
  HiveBuilder builder("ROOT");
  builder.Key("Microsoft\\Windows NT\\CurrentVersion")
      .Sz("ProductName", "Windows 10 Pro")
      .Sz("CurrentBuildNumber", "22631")
      .Sz("RegisteredOwner", "Robin")
      .Dword("InstallDate", 1301619158);
  builder.Key("Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\S-1-5-21-1-2-3-1001")
      .ExpandSz("ProfileImagePath", "C:\\Users\\robin");
  builder.Key("Microsoft\\Windows NT\\CurrentVersion\\NetworkList\\Profiles\\{1}")
      .Sz("ProfileName", "Home");
  return builder;
}

// "FACT|TEXT|NOTE" of each row about `fact`, or of all.
std::vector<std::string> Facts(const OutputList& list, std::string_view fact = {}) {
  std::vector<std::string> rows;
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    const auto cell = [&](int column) { return std::string(CellText(list, row, column)); };
    if (fact.empty() || cell(0) == fact) rows.push_back(cell(0) + "|" + cell(1) + "|" + cell(2));
  }
  return rows;
}

using Texts = std::vector<std::string>;

TEST(Machine, OfSeveralHives) {
  OpenedHive system(SystemHive().Build());
  OpenedHive software(SoftwareHive().Build());
  const MachineHive hives[] = {{&system.hive, &system.tree}, {&software.hive, &software.tree}};
  const OutputListPtr list = ListMachine(hives);
  const std::pair<const char*, Texts> cases[] = {
      {"Computer name",
       {"Computer name|PC of ControlSet001|control set 1: last known good",
        "Computer name|PC of ControlSet002|control set 2: current"}},
      {"Zone: UTC is local time and",
       {"Zone: UTC is local time and|-60 minutes|control set 1: last known good",
        "Zone: UTC is local time and|-60 minutes|control set 2: current"}},
      {"Last shutdown",
       {"Last shutdown|2012/04/04, 01:58:40 UTC|control set 1: last known good",
        "Last shutdown|2012/04/04, 01:58:40 UTC|control set 2: current"}},
      {"Build", {"Build|22631|builds from 22000 on are Windows 11"}},
      {"Owner", {"Owner|Robin|"}},
      {"Installed", {"Installed|2011/04/01, 00:52:38 UTC|"}},
      {"User", {"User|S-1-5-21-1-2-3-1001, C:\\Users\\robin|"}},
      {"Network", {"Network|Home|"}},
      {"Disk", {"Disk|A stick, SERIAL&0|control set 2: current"}},
      {"Drive",
       {"Drive|C: disk signature 0x5CBEA03E, from byte 1048576|", "Drive|E: _??_USBSTOR#A|"}},
      {"Time zone", {"Time zone||not in the hive SYSTEM"}}};
  for (const auto& [fact, rows] : cases) EXPECT_EQ(Facts(*list, fact), rows) << fact;
}

TEST(Machine, EachRowSaysWhereItIsFrom) {
  const BuiltHive built = SoftwareHive().Build();
  OpenedHive software(built);
  const MachineHive hive = {&software.hive, &software.tree};
  const OutputListPtr list = ListMachine(std::span(&hive, 1));
  const std::string key = "Microsoft\\Windows NT\\CurrentVersion";
  EXPECT_EQ(CellText(*list, 0, 3), software.hive.file_name);
  EXPECT_EQ(CellText(*list, 0, 4), "HKLM\\SOFTWARE\\" + key);
  EXPECT_EQ(CellText(*list, 0, 5), "ProductName");
  EXPECT_EQ(RowDatum(*list, 0), built.ValuePosition(key, "ProductName"));
}

TEST(Machine, WhatIsMissingNamesTheHive) {
  OpenedHive user([] {
    HiveBuilder builder(kNothing);
    builder.FileName("\\ntuser.dat");
    // Keys of other hives in a user's say nothing of the machine.
    builder.Key("Select").Dword("Current", 1);
    builder.Key("ControlSet001\\Control\\ComputerName\\ComputerName").Sz("ComputerName", "FAKE");
    return builder.Build();
  }());
  const MachineHive hive = {&user.hive, &user.tree};
  const Texts rows = Facts(*ListMachine(std::span(&hive, 1)));
  EXPECT_EQ(rows.front(), "Computer name||the hive SYSTEM would tell");
  EXPECT_EQ(rows[7], "User||not in the hive SOFTWARE, SAM or a user's NTUSER.DAT");
  SetRootPath(user.hive, "HKLM\\SYSTEM");
  EXPECT_EQ(Facts(*ListMachine(std::span(&hive, 1)), "Computer name"),
            Texts{"Computer name|FAKE|control set 1: current"})
      << "the user knows better";
  EXPECT_EQ(Facts(*ListMachine({})).size(), 11u);
  OpenedHive other(HiveBuilder(kNothing).Build());
  const MachineHive unknown = {&other.hive, &other.tree};
  EXPECT_EQ(Facts(*ListMachine(std::span(&unknown, 1)), "Computer name"),
            Texts{"Computer name||the hive SYSTEM would tell"});
}

TEST(Machine, AccountsAndRecoveredKeys) {
  HiveBuilder builder("SAM");
  const std::string names = "SAM\\Domains\\Account\\Users\\Names";
  builder.Key(names + "\\Robin").Value("", 1001, {});
  OpenedHive sam(builder.Build());
  const MachineHive hive = {&sam.hive, &sam.tree};
  EXPECT_EQ(Facts(*ListMachine(std::span(&hive, 1)), "User"), Texts{"User|Robin, number 1001|"});

  HiveBuilder more = SoftwareHive();
  BuiltHive built = more.Build();
  const char* profiles = "Microsoft\\Windows NT\\CurrentVersion\\ProfileList";
  built.Zero(built.ListPosition(profiles) + 4, 12);
  OpenedHive software(built);
  const MachineHive torn = {&software.hive, &software.tree};
  const Texts users = Facts(*ListMachine(std::span(&torn, 1)), "User");
  ASSERT_EQ(users.size(), 1u);
  EXPECT_EQ(users[0], "User|S-1-5-21-1-2-3-1001, C:\\Users\\robin|recovered");
}

}  // namespace
}  // namespace hivequarry
