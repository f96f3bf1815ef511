#include "app/command_line.h"

#include <gtest/gtest.h>

namespace hivequarry {
namespace {

// Everything that a line says, in words.
std::string Told(const CommandLine& line) {
  std::string told = "[" + line.file + "]";
  if (line.evidence) told += " evidence";
  if (line.open_mode != 0) told += " mode " + std::to_string(line.open_mode);
  if (line.switch_letter != 0) told += std::string(" /") + line.switch_letter;
  if (line.has_range) {
    told += " " + std::to_string(line.start_offset) + "-" + std::to_string(line.end_offset);
  }
  if (line.key_position != kNoOffset) told += " key " + std::to_string(line.key_position);
  for (const std::string& hive : line.backup_hives) told += " " + hive;
  if (!line.backup_folder.empty()) told += " to " + line.backup_folder;
  return told + (line.backup_weekly ? " weekly" : "") + (line.backup_monthly ? " monthly" : "");
}

TEST(CommandLineTest, Lines) {
  const struct {
    const char* line;
    const char* told;
  } cases[] = {
      {"", "[]"},
      {"  \"C:\\my hives\\SYSTEM\" ", "[C:\\my hives\\SYSTEM]"},
      {"\"\"", "[]"},
      {"--evidence", "[] evidence"},
      {" --Evidence  \"C:\\a b\"", "[C:\\a b] evidence"},
      {"--evidence -soff=8 -eoff=16 x", "[x] evidence 8-16"},
      {"--evidences x", "[]"},
      {"x --evidence", "[x --evidence]"},
      {"/U C:\\a b", "[C:\\a b] mode 2 /U"},
      {"/u \"x\"", "[x] mode 2 /u"},
      {"/R x", "[x] mode 2 /R"},
      {"/r x", "[x] /r"},
      {"/B x", "[x] mode 2 /B"},
      {"/I x", "[x] mode 2 /I"},
      {"/c x", "[x] mode 3 /c"},
      {"/C", "[] mode 3 /C"},
      {"/S x", "[x] /S"},
      {"/", "[]"},
      {"-soff=4096 -eoff=65536 C:\\h\\SYSTEM", "[C:\\h\\SYSTEM] 4096-65536"},
      {"-key=32 -SAM -eoff=2  \"C:\\a b\" -soff=3", "[C:\\a b -soff=3] 0-2 key 32"},
      {"-eoff=99999999999 x", "[x] 0-4294967295"},
      {"-soff=8x -KEY=7 -fhf -eoff=junk x", "[x] 8-0 key 7"},
      {"-soff=8 -eoff=16", "[]"},  // nothing follows the end offset
      {"-key=32 -soff=8 x", "[]"},
      {"-sam -Security -hku -bcd -components -classes -hkcu -SYSTEM -software x",
       "[] SAM SECURITY HKU BCD COMPONENTS CLASSES HKCU SYSTEM SOFTWARE to x"},
      {"-bweek -SAM -SAM -fhf D:\\B ", "[] SAM to D:\\B weekly"},
      {"-SAM -unknown words -bmonth D:\\B", "[] SAM to D:\\B monthly"},
      {"-SYSTEM -SAM", "[] SYSTEM to -SAM"},  // the last word is the folder
      {"-SYSTEM", "[]"},                      // no folder follows
      {"-SYSTEMS D:\\B", "[]"},
      {"-bweek", "[]"},
  };
  for (const auto& c : cases) EXPECT_EQ(Told(ParseCommandLine(c.line)), c.told) << c.line;
}

TEST(CommandLineTest, Lengths) {
  // Characters count, not the bytes that encode them.
  std::string letters;
  for (int i = 0; i < 519; ++i) letters += "\u0436";
  EXPECT_EQ(ParseCommandLine(letters).file, letters);
  EXPECT_EQ(ParseCommandLine(letters + "a").file, "");
  // Options are read in the first 500 characters only.
  EXPECT_EQ(ParseCommandLine("-SAM " + std::string(495, ' ') + "D:\\B").backup_folder, "");
  EXPECT_EQ(ParseCommandLine("-SAM " + std::string(491, ' ') + "D:\\B").backup_folder, "D:\\B");
}

}  // namespace
}  // namespace hivequarry
