#include "words/known_guids.h"

#include <gtest/gtest.h>

namespace hivequarry {
namespace {

constexpr uint8_t kComputer[] = {0xE0, 0x4F, 0xD0, 0x20, 0xEA, 0x3A, 0x69, 0x10,
                                 0xA2, 0xD8, 0x08, 0x00, 0x2B, 0x30, 0x30, 0x9D};

TEST(KnownGuids, AreTheSameAsBytesAndInEveryFormOfText) {
  const Guid stored = GuidOfBytes(kComputer);
  EXPECT_EQ(GuidText(stored), "{20D04FE0-3AEA-1069-A2D8-08002B30309D}");
  for (const char* text :
       {"{20D04FE0-3AEA-1069-A2D8-08002B30309D}", "20d04fe0-3aea-1069-a2d8-08002b30309d"}) {
    EXPECT_EQ(ParseGuid(text), stored) << text;
  }
  for (const char* text :
       {"", "{}", "{20D04FE0-3AEA-1069-A2D8-08002B30309D", "{20D04FE0-3AEA-1069-A2D8-08002B30309}",
        "{20D04FE0-3AEA-1069-A2D8-08002B30309DD}", "{20D04FE0+3AEA-1069-A2D8-08002B30309D}",
        "{20D04FE0-3AEA-1069-A2D8-08002B30309G}",
        "{\xC3\x84"
        "D04FE0-3AEA-1069-A2D8-08002B30309}"}) {
    EXPECT_FALSE(ParseGuid(text)) << text;
  }
}

TEST(KnownGuids, HaveWords) {
  constexpr struct {
    const char* guid;
    const char* folder;
    const char* place;
    const char* class_id;
  } kCases[] = {
      {"{1AC14E77-02E7-4E5D-B744-2EB1AE5198B7}", "System32", R"(%windir%\system32)", ""},
      {"{6D809377-6AF0-444B-8957-A3773F02200E}", "ProgramFilesX64", "%ProgramFiles%", ""},
      {"{7C5A40EF-A0FB-4BFC-874A-C0F2E0B9FA8E}", "ProgramFilesX86", "%ProgramFiles(x86)%", ""},
      {"{F38BF404-1D43-42F2-9305-67DE0B28FC23}", "Windows", "%windir%", ""},
      // The last and the first row of a table.
      {"{FDD39AD0-238F-46AF-ADB4-6C85480369C7}", "Documents", R"(%USERPROFILE%\Documents)", ""},
      {"{00020D75-0000-0000-C000-000000000046}", "", "", "Inbox"},
      {"{FF393560-C2A7-11CF-BFF4-444553540000}", "", "", "History"},
      {"{20D04FE0-3AEA-1069-A2D8-08002B30309D}", "", "", "My Computer"},
      {"{B4BFCC3A-DB2C-424C-B029-7FE99A87C641}", "Desktop", R"(%USERPROFILE%\Desktop)", "Desktop"},
      {"{00000000-0000-0000-0000-000000000000}", "", "", ""},
      {"{FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF}", "", "", ""},
  };
  for (const auto& c : kCases) {
    const Guid guid = ParseGuid(c.guid).value();
    EXPECT_EQ(KnownFolderName(guid), c.folder) << c.guid;
    EXPECT_EQ(KnownFolderPlace(guid), c.place) << c.guid;
    EXPECT_EQ(ClassIdName(guid), c.class_id) << c.guid;
  }
}

TEST(KnownGuids, DevicePropertiesAreNamedByTheirNumber) {
  const Guid times = ParseGuid("{83DA6326-97A6-4088-9453-A1923F573B29}").value();
  EXPECT_EQ(DevicePropertyName(times, 0x64), "InstallDate");
  EXPECT_EQ(DevicePropertyName(times, 0x65), "FirstInstallDate");
  EXPECT_EQ(DevicePropertyName(times, 0x66), "LastArrivalDate");
  EXPECT_EQ(DevicePropertyName(times, 0x67), "LastRemovalDate");
  EXPECT_EQ(DevicePropertyName(times, 0x68), "");
  EXPECT_EQ(DevicePropertyName(Guid(), 0x64), "");
}

}  // namespace
}  // namespace hivequarry
