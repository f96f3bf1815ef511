#include "reports/shell_items.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>

#include "hive/timestamp.h"
#include "reports/path_texts.h"
#include "tests/support/hive_builder.h"

namespace hivequarry {
namespace {

using namespace testing;

// "0104" and so on; blanks are passed over.
Bytes Hex(std::string_view digits) {
  Bytes bytes;
  std::string pair;
  for (const char digit : digits) {
    if (digit != ' ') pair += digit;
    if (pair.size() != 2) continue;
    bytes.push_back(static_cast<uint8_t>(std::stoi(pair, nullptr, 16)));
    pair.clear();
  }
  return bytes;
}

constexpr const char* kComputer = "1400 1f50 e04fd020ea3a6910a2d808002b30309d";
constexpr const char* kDriveC = "1900 2f 433a5c 00 000000000000000000000000000000000000";
// Found in a hive: a folder, version 8 of the extension.
constexpr const char* kFolder =
    "5000 3100 00000000 9f459954 1000 5a5f54656d700000 3a00 0800 0400efbe 6c43908d 9f459954 2a00"
    "0000730e0000000001000000000000000000000000000000 5a005f00540065006d0070000000 1600";

// A name in a property store.
constexpr const char* kNamed =
    "3100 0000 2b00 bbaf933b 1f000400 00000000 31535053 30f125b7ef471a10a5f102608c9eebac"
    "17000000 0a000000 00 1f000000 02000000 4e005300 0000";

TEST(ShellItems, KnownKinds) {
  const struct {
    const char* item;
    const char* name;
  } cases[] = {
      {kComputer, "My Computer"},
      {kDriveC, "C:\\"},
      {"1400 1f80 000102030405060708090a0b0c0d0e0f", "{03020100-0504-0706-0809-0A0B0C0D0E0F}"},
      {"5500 1f002f0010b7a6f519002f443a5c000000", "D:\\"},
      {"1600 2e80 3accbfb42cdb4c42b0297fe99a87c641 0000", "Desktop"},
      {"2b00 c301c5 5c5c6e7963656c6f7830325c64617461 00 4d6963726f736f667400",
       "\\\\nycelox02\\data"},
      {"0c00 0100 8421de39 05000000", "System and Security"},
      {"1e00 7180 00000000000000000000 e4c006bb93d2754f8a90cb05b6477eee", "System"},
      {"2000 0000 1a00 eebbfe23 00001000 7db10d7bd29c934a973346cc89022e7c 0000",
       "Documents Library"},
      {kNamed, "NS"},
      {"8200 7400 1c00 43465346 1600 3100 00000000 7c4cce00 1000 44726f70626f7800", "Dropbox"},
      {"0600 4200 0000", "{type 0x42}"},
      {"0300 99", "{type 0x99}"},
  };
  for (const auto& c : cases) EXPECT_EQ(ReadShellItem(Hex(c.item)).name, c.name) << c.item;
}

TEST(ShellItems, Files) {
  const ShellItem folder = ReadShellItem(Hex(kFolder));
  EXPECT_EQ(folder.name, "Z_Temp");
  EXPECT_EQ(folder.dos_name, "Z_Temp");
  EXPECT_FALSE(folder.is_file);
  EXPECT_EQ(FormatDosTimestamp(folder.modified), "2014/12/31, 10:36:50");
  EXPECT_EQ(FormatDosTimestamp(folder.created), "2013/11/12, 17:44:32");
  const ShellItem old = ReadShellItem(
      Hex("2800 3200 39300000 9f459954 2000 4c6f6e67206e616d652e747874 00 4c4f4e477e312e54585400"));
  EXPECT_EQ(old.name, "Long name.txt");
  EXPECT_EQ(old.dos_name, "LONG~1.TXT");
  EXPECT_TRUE(old.is_file);
  EXPECT_EQ(old.size, 12345u);
  EXPECT_EQ(ReadShellItem(Hex("1600 3600 00000000 00000000 2000 6100e900 0000")).name, "a\u00E9");
}

TEST(ShellItems, Lists) {
  const std::string list = std::string(kComputer) + kDriveC + kFolder;
  const struct {
    std::string bytes;
    const char* parent;
    const char* path;
    uint32_t count;
  } cases[] = {
      {list + "0000 1400", "", "C:\\Z_Temp", 3},
      {list, "", "C:\\Z_Temp", 3},
      {std::string(kFolder) + "0000", "D:\\", "D:\\Z_Temp", 1},
      {std::string(kComputer) + "0000", "Desktop", "Desktop\\My Computer", 1},
      {list + "0100 00", "", "C:\\Z_Temp\\...", 3},
      {list + "ff7f 3100", "", "C:\\Z_Temp\\...", 3},
      {"0000", "", "", 0},
      {"", "", "", 0},
  };
  for (const auto& c : cases) {
    const ItemList read = ReadItemList(Hex(c.bytes), c.parent);
    EXPECT_EQ(read.path, c.path) << c.bytes;
    EXPECT_EQ(read.count, c.count) << c.bytes;
  }
}

// Longer lists than folders are deep are cut, and say so.
TEST(ShellItems, LongListsSayWhereTheyAreCut) {
  for (const uint32_t count : {256U, 257U}) {
    std::string list;
    for (uint32_t i = 0; i < count; ++i) list += kFolder;
    const ItemList read = ReadItemList(Hex(list + "0000"));
    EXPECT_EQ(read.count, 256U);
    EXPECT_EQ(read.cut, count == 257);
    EXPECT_EQ(read.path.ends_with("Z_Temp\\..."), count == 257) << read.path;
  }
}

// For the sanitizers; and nothing grows with what the bytes claim.
TEST(ShellItems, AnyBytes) {
  const Bytes sound = Hex(std::string(kComputer) + kDriveC + kFolder + kNamed);
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    Bytes bytes(sound.begin(), sound.begin() + random() % (sound.size() + 1));
    for (uint32_t flips = random() % 8; flips > 0 && !bytes.empty(); --flips) {
      bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
    }
    EXPECT_LT(ReadItemList(bytes).path.size(), 4096u);
  }
  Bytes many;
  const Bytes item = Hex("0a00 4100 0041414141 00");
  for (int i = 0; i < 100000; ++i) many.insert(many.end(), item.begin(), item.end());
  EXPECT_LT(ReadItemList(many).path.size(), 2000u);
}

// Property stores, one in each property of the one before.
TEST(ShellItems, NestedStoresTakeNoTime) {
  const Bytes store =
      Hex("25000000 00000000 00 00000000 00000000 31535053 30f125b7ef471a10a5f1"
          "02608c9eebac");
  Bytes item = Hex("feff 0000");
  while (item.size() + store.size() < 0xFFFE) item.insert(item.end(), store.begin(), store.end());
  item.resize(0xFFFE);
  Bytes list;
  for (int i = 0; i < 256; ++i) list.insert(list.end(), item.begin(), item.end());
  const std::clock_t start = std::clock();
  EXPECT_EQ(ReadItemList(list).count, 256u);
  EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC / 2);
}

TEST(PathTexts, WhatIsAPath) {
  const struct {
    std::string_view text;
    std::vector<std::string> paths;
  } cases[] = {
      {"C:\\Windows\\notepad.exe", {"C:\\Windows\\notepad.exe"}},
      {"C:\\Program Files\\A b\\c d.exe /run -x", {"C:\\Program Files\\A b\\c d.exe"}},
      {"\"C:\\A b\\c.exe\" \"%1\" D:\\x", {"C:\\A b\\c.exe", "D:\\x"}},
      {"rundll32.exe C:\\x\\y.dll,Entry 5", {"C:\\x\\y.dll"}},
      {"@%SystemRoot%\\system32\\mmcss.dll,-100", {"%SystemRoot%\\system32\\mmcss.dll"}},
      {"\\??\\C:\\x.sys", {"C:\\x.sys"}},
      {"\\SystemRoot\\system32\\x.sys", {"\\SystemRoot\\system32\\x.sys"}},
      {"system32\\drivers\\x.sys", {"system32\\drivers\\x.sys"}},
      {"\\\\server\\share\\f.txt", {"\\\\server\\share\\f.txt"}},
      {"%A%\\a;C:\\b\\;D:\\", {"%A%\\a", "C:\\b", "D:\\"}},
      {std::string_view("C:\\a\0D:\\b\0", 10), {"C:\\a", "D:\\b"}},
      {"v2|App=C:\\x.exe|Name=n", {"C:\\x.exe"}},
      {"C:\\x.exe:*:Enabled:X", {"C:\\x.exe"}},
      {"E:\\2013 - SFTP\\a b.docx", {"E:\\2013 - SFTP\\a b.docx"}},
      {"It is in C:\\Users now", {"C:\\Users"}},
      {"http://host/a:b", {}},
      {"\\\\.\\pipe\\x", {}},
      {"\\\\host", {}},
      {"shell32.dll,-5", {}},
  };
  for (const auto& c : cases) EXPECT_EQ(PathsInText(c.text), c.paths) << c.text;
  std::string many;
  for (int i = 0; i < 1000; ++i) many += "C:\\ " + std::string(2000, 'x') + ';';
  uint64_t left_out = 0;
  EXPECT_EQ(PathsInText(many, &left_out).size(), 64u);
  EXPECT_GT(left_out, 0u);
  const std::vector<std::string> longest = PathsInText("C:\\" + std::string(2000, 'n'));
  ASSERT_EQ(longest.size(), 1u);
  EXPECT_EQ(longest[0].size(), 1039u);
  EXPECT_TRUE(longest[0].ends_with("n..."));
}

}  // namespace
}  // namespace hivequarry
