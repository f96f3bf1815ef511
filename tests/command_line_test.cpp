#include "app/command_line.h"

#include <gtest/gtest.h>

namespace hivequarry {
namespace {

using Names = std::vector<std::string>;

TEST(CommandLineTest, FilesAndSwitches) {
  const struct {
    const char* line;
    const char* file;
    int mode;
    char letter;
  } cases[] = {
      {"", "", 0, 0},
      {"C:\\h\\SYSTEM", "C:\\h\\SYSTEM", 0, 0},
      {"  \"C:\\my hives\\SYSTEM\" ", "C:\\my hives\\SYSTEM", 0, 0},
      {"\" C:\\a b \"", "C:\\a b", 0, 0},
      {"\"\"", "", 0, 0},
      {"/U C:\\a b", "C:\\a b", 2, 'U'},
      {"/u \"C:\\a b\"", "C:\\a b", 2, 'u'},
      {"/R x", "x", 2, 'R'},
      {"/r x", "x", 0, 'r'},
      {"/B x", "x", 2, 'B'},
      {"/I x", "x", 2, 'I'},
      {"/c x", "x", 3, 'c'},
      {"/C x", "x", 3, 'C'},
      {"/C", "", 3, 'C'},
      {"/", "", 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    const CommandLine parsed = ParseCommandLine(c.line);
    EXPECT_EQ(parsed.file, c.file);
    EXPECT_EQ(parsed.open_mode, c.mode);
    EXPECT_EQ(parsed.switch_letter, c.letter);
    EXPECT_FALSE(parsed.has_range);
    EXPECT_TRUE(parsed.backup_hives.empty());
  }
}

TEST(CommandLineTest, PartialRange) {
  const struct {
    const char* line;
    bool range;
    uint32_t start, end;
    const char* file;
  } cases[] = {
      {"-soff=4096 -eoff=65536 C:\\h\\SYSTEM", true, 4096, 65536, "C:\\h\\SYSTEM"},
      {"-eoff=65536 \"C:\\my hives\\SYSTEM\"", true, 0, 65536, "C:\\my hives\\SYSTEM"},
      {"-soff=1  -eoff=2  C:\\a b -SYSTEM c", true, 1, 2, "C:\\a b -SYSTEM c"},
      {"-eoff=99999999999 x", true, 0, 0xFFFFFFFF, "x"},
      {"-soff=8x -eoff=junk x", true, 8, 0, "x"},
      {"-soff=8 -eoff=16", false, 8, 0, ""},  // nothing follows the end offset
      {"-soff=8", false, 0, 0, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    const CommandLine parsed = ParseCommandLine(c.line);
    EXPECT_EQ(parsed.has_range, c.range);
    EXPECT_EQ(parsed.start_offset, c.start);
    EXPECT_EQ(parsed.end_offset, c.end);
    EXPECT_EQ(parsed.file, c.file);
    EXPECT_TRUE(parsed.backup_hives.empty());
  }
}

TEST(CommandLineTest, UnattendedBackup) {
  const struct {
    const char* line;
    Names hives;
    const char* folder;
    bool weekly, monthly;
  } cases[] = {
      {"-SYSTEM -SOFTWARE D:\\Backup", {"SYSTEM", "SOFTWARE"}, "D:\\Backup", false, false},
      {"-sam -Security -hku -bcd -components -classes -hkcu x",
       {"SAM", "SECURITY", "HKU", "BCD", "COMPONENTS", "CLASSES", "HKCU"},
       "x",
       false,
       false},
      {"-bweek -SAM -SAM -fhf D:\\B ", {"SAM"}, "D:\\B", true, false},
      {"-SAM -bmonth D:\\B", {"SAM"}, "D:\\B", false, true},
      {"-SAM -unknown words D:\\B", {"SAM"}, "D:\\B", false, false},
      {"-SYSTEM", {}, "", false, false},                   // no folder follows
      {"-SYSTEM -SAM", {"SYSTEM"}, "-SAM", false, false},  // the last word is the folder
      {"-SYSTEMS D:\\B", {}, "", false, false},
      {"-fhf D:\\B", {}, "", false, false},
      {"-bweek", {}, "", false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    const CommandLine parsed = ParseCommandLine(c.line);
    EXPECT_EQ(parsed.backup_hives, c.hives);
    EXPECT_EQ(parsed.backup_folder, c.folder);
    EXPECT_EQ(parsed.backup_weekly, c.weekly);
    EXPECT_EQ(parsed.backup_monthly, c.monthly);
    EXPECT_EQ(parsed.file, "");
  }
}

TEST(CommandLineTest, Lengths) {
  EXPECT_EQ(ParseCommandLine(std::string(519, 'a')).file.size(), 519u);
  EXPECT_EQ(ParseCommandLine(std::string(520, 'a')).file, "");
  // Characters count, not the bytes that encode them.
  std::string cyrillic;
  for (int i = 0; i < 519; ++i) cyrillic += "\u0436";
  EXPECT_EQ(ParseCommandLine(cyrillic).file, cyrillic);
  EXPECT_EQ(ParseCommandLine(cyrillic + "\u0436").file, "");
  // Options are read in the first 500 characters only.
  const std::string option = "-SAM ";
  EXPECT_EQ(ParseCommandLine(option + std::string(495, ' ') + "D:\\B").backup_folder, "");
  EXPECT_EQ(ParseCommandLine(option + std::string(491, ' ') + "D:\\B").backup_folder, "D:\\B");
}

}  // namespace
}  // namespace hivequarry
