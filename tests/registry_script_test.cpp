#include "reports/registry_script.h"

#include <gtest/gtest.h>

#include "hive/keys.h"
#include "hive/value_edits.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "tests/support/opened_hive.h"

namespace hivequarry {
namespace {

using namespace testing;
using namespace std::string_literals;

std::string Hex(size_t bytes) {  // of as many zeros
  std::string text;
  for (size_t i = 0; i < bytes; ++i) text += "00,";
  return text;
}

TEST(ScriptValueTest, Lines) {
  const std::string line_of_25 = Hex(25) + "\\\r\n  ";
  const std::string long_name(70, 'n');
  const struct {
    std::string name;
    uint32_t type;
    Bytes data;
    std::string line;
  } kCases[] = {
      {"", kRegSz, Utf16Z("a"), "@=\"a\""},
      {"q\"\\\r\n]"s, kRegSz, {}, R"("q\"\\\r\n]"="")"},
      {"z\0z"s, kRegBinary, {}, "\"z?z\"=hex:"},
      {"n", kRegNone, {}, "\"n\"=hex(0):"},
      {"n", kRegDword, {}, "\"n\"=hex(4):"},
      {"n", 0xABCDEF01, {}, "\"n\"=hex(abcdef01):"},
      {"n", kRegDword, {0x0A, 0, 0, 0xFE}, "\"n\"=dword:fe00000a"},
      {"n", kRegDword, {1, 2, 0xFF}, "\"n\"=hex(4):01,02,ff"},
      {"n", kRegQword, {1, 0xA0}, "\"n\"=hex(b):01,a0"},
      {"n", kRegSz, Utf16("\"\\\r\n\u00E4\u20AC\u0416"), "\"n\"=\"\\\"\\\\\\r\\n\xE4\x80?\""},
      {"n", kRegSz, Utf16("eight or more\\, \u20AC\t among \"plain\" ones"),
       "\"n\"=\"eight or more\\\\, \x80\t among \\\"plain\\\" ones\""},
      {"n", kRegSz, {'a', 0, 'b'}, "\"n\"=\"ab\""},
      // Zeros inside: "a0bc", "a0b" (nothing two places on), "a00bc".
      {"n", kRegSz, {'a', 0, 0, 0, 'b', 0, 'c', 0}, "\"n\"=\"a bc\""},
      {"n", kRegSz, {'a', 0, 0, 0, 'b', 0}, "\"n\"=\"a\""},
      {"n", kRegSz, {'a', 0, 0, 0, 0, 0, 'b', 0, 'c', 0}, "\"n\"=\"a  bc\""},
      {"n", kRegExpandSz, Utf16Z("\u20ACx"), "\"n\"=hex(2):80,78,00"},
      {"n", kRegMultiSz, {'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0}, "\"n\"=hex(7):61,00,62,00,00"},
      // After `"n"=hex:`, 8 characters, 23 bytes reach column 77.
      {"n", kRegBinary, Bytes(23), "\"n\"=hex:" + Hex(22) + "00"},
      {"n", kRegBinary, Bytes(100),
       "\"n\"=hex:" + Hex(23) + "\\\r\n  " + line_of_25 + line_of_25 + line_of_25 + "00,00"},
      // Columns 76 and 77 of the line: a byte each, then continuations.
      {long_name.substr(1), kRegBinary, Bytes(2),
       "\"" + long_name.substr(1) + "\"=hex:00,\\\r\n  00"},
      {long_name, kRegBinary, Bytes(27),
       "\"" + long_name + "\"=hex:00,\\\r\n  " + line_of_25 + "00"},
      {std::string(520, 'n'), kRegSz, {}, "\"" + std::string(520, 'n') + "\"=\"\""}};
  for (const auto& at : kCases) {
    std::string line = "before";
    bool lost = false;
    EXPECT_TRUE(FormatScriptValue(at.name, at.type, at.data, ScriptForm::kFour, line, lost));
    std::string bytes;
    EncodeScript(ScriptForm::kFour, line, bytes);
    EXPECT_EQ(bytes, "before" + at.line + "\r\n");
  }
  std::string none;
  bool lost = false;
  EXPECT_FALSE(FormatScriptValue(std::string(kMaxScriptName + 1, 'n'), kRegSz, {},
                                 ScriptForm::kFour, none, lost));
  EXPECT_EQ(none, "");
}

ScriptExport Export(OpenedHive& opened, std::vector<uint32_t> items, std::string& text,
                    ScriptScope scope = ScriptScope::kBranch) {
  return ExportKeys(opened.hive, opened.tree, items, scope, [&](std::string_view piece) {
    text += piece;
    return true;
  });
}

TEST(RegistryScriptTest, BranchAsDisplayed) {
  HiveBuilder builder("SOFTWARE");
  builder.Root().Sz("", "root");
  builder.Key("A").Dword("n", 7).Dword("lost", 1).Sz("edited", "old").Key("Sub").NewKey("x]\r\n[y");
  builder.Key("Gone").Dword("g", 1);
  builder.Key("Hidden").Key("Below");
  BuiltHive built = builder.Build();
  built.Unlink("Gone");
  built.SetU16(built.ValuePosition("A", "lost"), 4, 0);
  OpenedHive opened(built);
  SetValueEdit(opened.hive, built.ValuePosition("A", "edited"), kRegBinary, {0xAB});
  HideBranch(opened.tree, opened.Item("Hidden"));
  opened.hive.root.label += "(1)";  // tells it from another hive; no part of the registry path
  std::string text;
  const ScriptExport whole = Export(opened, {0}, text);
  EXPECT_EQ(text,
            "REGEDIT4\r\n\r\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n@=\"root\"\r\n\r\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\A]\r\n\"n\"=dword:00000007\r\n\"edited\"=hex:ab\r\n\r\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\A\\Sub]\r\n\r\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\A\\Sub\\x]??[y]\r\n\r\n"
            "[Disconnected Keys\\Gone]\r\n\"g\"=dword:00000001\r\n\r\n");
  EXPECT_EQ(whole.keys, 5U);
  EXPECT_EQ(whole.values, 4U);
  const uint32_t lost = built.ValuePosition("A", "lost");
  EXPECT_EQ(whole.skipped, (std::vector<SkippedValue>{{opened.Item("A"), lost}}));
  EXPECT_TRUE(whole.left_out.empty());
  const OutputListPtr gaps = ListScriptGaps(opened.hive, opened.tree, whole);
  EXPECT_EQ(CellText(*gaps, 0, 0), "HKLM\\SOFTWARE\\A");
  EXPECT_EQ(RowDatum(*gaps, 0), lost);
  const uint32_t sub = opened.Item("A\\Sub");
  const uint32_t positions[] = {built.PositionOf("A\\Sub"), built.ValuePosition("", ""),
                                built.PositionOf("Hidden"), 4};
  EXPECT_EQ(KeysOfPositions(opened.hive, opened.tree, positions), (std::vector<uint32_t>{0, sub}));
  text.clear();
  Export(opened, {sub, 0}, text, ScriptScope::kKey);
  EXPECT_EQ(text,
            "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\A\\Sub]\r\n\r\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n@=\"root\"\r\n\r\n");
}

// A hundred keys that share one value list with much data.
BuiltHive SharedValues() {
  HiveBuilder builder;
  builder.Key("0").Binary("big", 4000);
  for (int i = 1; i <= 100; ++i) builder.Key(std::to_string(i));
  BuiltHive built = builder.Build();
  for (int i = 1; i <= 100; ++i) {
    const uint32_t key = built.PositionOf(std::to_string(i));
    built.SetU32(key, kKeyValueCount, 1).Link(key, kKeyValueList, built.ValueListPosition("0"));
  }
  return built;
}

// Keys one below the other.
BuiltHive Nested(int levels, size_t name_length) {
  HiveBuilder builder;
  KeyRef key = builder.Root();
  for (int level = 1; level <= levels; ++level) key = key.NewKey(std::string(name_length, 'k'));
  return builder.Build();
}

// What a script cannot hold is left out and told; all else is written.
TEST(RegistryScriptTest, LeavesOutWhatItCannotHold) {
  HiveBuilder builder;
  builder.Key("A").Binary("long", kMaxValueData + 1);
  builder.Key("B");
  const BuiltHive big = builder.Build();
  BuiltHive damaged = big;  // a length that the hive has no room for: of that value alone
  damaged.SetU32(damaged.ValuePosition("A", "long"), 8, 0x7FFFFFFF);
  HiveBuilder slashes;
  slashes.Root().NewKey("A\\B").Key("Below");
  slashes.Key("C");
  const struct {
    BuiltHive built;
    uint32_t keys;
    size_t left_out;
    size_t skipped;
  } kCases[] = {
      {Nested(400, 1), 384, 1, 0}, {Nested(8, 200), 6, 1, 0},  {big, 3, 0, 1},
      {damaged, 3, 0, 1},          {slashes.Build(), 2, 1, 0}, {SharedValues(), 102, 0, 0}};
  for (const auto& at : kCases) {
    OpenedHive opened(at.built);
    ForgetShortfalls();
    std::string text;
    const ScriptExport written = Export(opened, {0}, text);
    EXPECT_EQ(written.keys, at.keys);
    EXPECT_EQ(written.left_out.size(), at.left_out);
    EXPECT_EQ(written.skipped.size(), at.skipped);
    EXPECT_EQ(ShortfallCount(Shortfall::kScriptKeys), at.left_out);
    EXPECT_EQ(text.find("A\\B"), std::string::npos);
  }
}

// Names that the code page lacks are written with '?': two of them may become one.
TEST(RegistryScriptTest, TellsNamesThatBecomeOne) {
  HiveBuilder builder;
  builder.Key("\u0416");
  KeyRef second = builder.Key("\u0417").Dword("\u0418", 1).Dword("\u0419", 2).Dword("a?", 3);
  builder.Key("Other").Dword("\u0418", 1);
  const BuiltHive built = builder.Build();
  OpenedHive opened(built);
  ForgetShortfalls();
  std::string text;
  const ScriptExport written = Export(opened, {0}, text);
  const uint32_t item = ItemOfPosition(opened.tree, built.PositionOf(second));
  EXPECT_EQ(written.merged,
            (std::vector<SkippedValue>{{item, kNoOffset},
                                       {item, built.ValuePosition("\u0417", "\u0419")}}));
  EXPECT_EQ(ShortfallCount(Shortfall::kScriptNames), 2U);
  EXPECT_EQ(written.lossy.size(), 5U);  // two keys, and three values of a letter each
  EXPECT_EQ(RowCount(*ListScriptGaps(opened.hive, opened.tree, written)), 7U);
}

// Five megabytes that many values share are written a few times, and told of the others.
TEST(RegistryScriptTest, SharedDataAreWrittenAFewTimes) {
  HiveBuilder builder;
  builder.Key("0").Binary("big", 5000000);
  for (int i = 1; i <= 300; ++i) builder.Key(std::to_string(i)).Binary("own", 3000, 7);
  BuiltHive built = builder.Build();
  for (int i = 1; i <= 200; ++i) {
    const std::string key = std::to_string(i);
    const uint32_t value = built.ValuePosition(key, "own");
    built.SetU32(value, kValueDataLength, 5000000)
        .Link(value, kValueDataOffset, built.DataPosition("0", "big"));
  }
  OpenedHive opened(built);
  ForgetShortfalls();
  std::string text;
  const ScriptExport written = Export(opened, {0}, text);
  EXPECT_EQ(written.keys, 302u);
  EXPECT_GE(written.values, 102u);  // all that have their data for themselves
  EXPECT_LT(text.size(), 60000000u);
  EXPECT_EQ(ShortfallCount(Shortfall::kValueData), written.skipped.size());
  EXPECT_EQ(written.values + written.skipped.size(), 301u);
}

TEST(RegistryScriptTest, SaysWhereItIs) {
  HiveBuilder builder("SYSTEM");
  for (int i = 0; i < 16; ++i) builder.Key("A").Dword(std::to_string(i), 1);
  for (int i = 10; i < 50; ++i) builder.Key("B\\" + std::to_string(i));
  OpenedHive opened(builder.Build());
  opened.host.statuses.clear();
  std::string text;
  Export(opened, {0}, text);
  EXPECT_EQ(opened.host.statuses,
            (std::vector<std::string>{"Exporting ...", "16", " [HKEY_LOCAL_MACHINE\\SYSTEM\\B\\39",
                                      "Done."}));
}

TEST(RegistryScriptTest, StopIsHeardBetweenLargeValues) {
  HiveBuilder builder;
  for (int i = 0; i < 20; ++i) builder.Key("A").Binary(std::to_string(i), 100000);
  OpenedHive opened(builder.Build());
  ASSERT_TRUE(BeginOperation(kOperationLoad));
  const ScriptExport written = ExportBranch(opened.hive, opened.tree, 0, [](std::string_view) {
    RequestStop();
    return true;
  });
  EndOperation();
  EXPECT_LE(written.values, 2u);
}

}  // namespace
}  // namespace hivequarry
