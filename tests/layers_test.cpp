// Layered (differencing) hives shown alone.
#include "hive/layers.h"

#include <gtest/gtest.h>

#include "lists/list_writers.h"
#include "reports/hive_lists.h"
#include "reports/registry_script.h"
#include "tests/support/opened_hive.h"
#include "words/layer_words.h"

namespace hivequarry {
namespace {

using namespace testing;

// One of each, in a hive whose base block says so, or not.
BuiltHive Delta(bool layered) {
  HiveBuilder builder("SOFTWARE");
  if (layered) builder.Layered();
  builder.Root().Layer(0x80);
  builder.Key("Plain").Layer(0x80).Dword("kept", 1).Tombstone("displayname");
  builder.Key("Plain").Tombstone("\u0416");  // its name in UTF-16
  builder.Key("Gone").Layer(1).Time(0);
  builder.Key("Local").Layer(2).Sz("", "own");
  builder.Key("Tree").Layer(0x83).Key("Below").Layer(3);
  return builder.Build();
}

std::string Status(const OpenedHive& opened, std::string_view path) {
  return KeyStatusText(opened.hive, opened.At(path));
}

std::string Json(const OpenedHive& opened, const OutputList& list) {
  std::string text;
  WriteHiveJsonLines(list, opened.hive, [&text](std::string_view piece) {
    text += piece;
    return true;
  });
  return text;
}

std::string RawMeaning(const OpenedHive& opened, uint32_t position, std::string_view field) {
  const OutputListPtr list = ListRawRecord(opened.hive, opened.tree, position);
  for (uint32_t row = 0; row < RowCount(*list); ++row) {
    if (CellText(*list, row, 2) == field) return std::string(CellText(*list, row, 4));
  }
  return "no field";
}

std::string Script(const OpenedHive& opened, Tombstones tombstones, ScriptExport& written) {
  std::string text;
  written = ExportBranch(
      opened.hive, opened.tree, 0,
      [&text](std::string_view piece) {
        text += piece;
        return true;
      },
      RecoveredKeys::kLeftOut, ScriptForm::kFour, tombstones);
  return text;
}

TEST(LayersTest, StateIsShownAsWords) {
  const BuiltHive built = Delta(true);
  OpenedHive opened(built);
  ASSERT_TRUE(HasLayers(opened.hive));
  const struct {
    const char* path;
    const char* status;
    const char* members;
  } cases[] = {
      {"Plain", "", "\"Layer\":0,\"InheritClass\":true,\"Tombstone\":false"},
      {"Gone", "tombstone", "\"Layer\":1,\"InheritClass\":false,\"Tombstone\":true"},
      {"Local", "supersedes", "\"Layer\":2,\"InheritClass\":false,\"Tombstone\":false"},
      {"Tree", "supersedes tree", "\"Layer\":3,\"InheritClass\":true,\"Tombstone\":false"}};
  for (const auto& c : cases) {
    EXPECT_EQ(Status(opened, c.path), c.status) << c.path;
    const OutputListPtr list = ListKeyTree(opened.hive, opened.tree, opened.Item(c.path));
    EXPECT_EQ(CellText(*list, 0, 4), c.status);
    EXPECT_NE(Json(opened, *list).find(c.members), std::string::npos) << Json(opened, *list);
  }
  EXPECT_NE(KeyDetail(opened.hive, opened.tree, opened.Item("Tree"))
                .find("Layer: 0x83: supersede tree, inherit class"),
            std::string::npos);
  EXPECT_EQ(RawMeaning(opened, built.PositionOf("Tree"), "Layer bits"),
            "0x83: supersede tree, inherit class");
  const LayerCounts counts = CountLayers(opened.hive, opened.tree);
  EXPECT_EQ(LayersText(opened.hive, counts),
            "yes (differencing hive), 1 tombstone key, 2 tombstone values, 3 supersede");
  EXPECT_EQ(LayersNotice(opened.hive, opened.tree),
            "Differencing hive: it holds only what differs from the hive below it "
            "(1 tombstone key, 2 tombstone values, 3 supersede)");
}

TEST(LayersTest, TombstoneValuesAreNoData) {
  const BuiltHive built = Delta(true);
  OpenedHive opened(built);
  const OutputListPtr list =
      ListKeyValues(opened.hive, opened.tree, opened.Item("Plain"), ValueListOptions());
  ASSERT_EQ(RowCount(*list), 3U);
  const char* const names[] = {"kept", "displayname", "\u0416"};
  for (uint32_t row = 0; row < 3; ++row) {
    EXPECT_EQ(CellText(*list, row, 1), names[row]);
    EXPECT_EQ(CellText(*list, row, 2), row == 0 ? "REG_DWORD" : "(tombstone)");
    EXPECT_EQ(CellText(*list, row, 3).empty(), row != 0);
  }
  const std::string json = Json(opened, *list);
  EXPECT_EQ(json.find("\"Tombstone\":false"), json.rfind("\"Tombstone\":false"));
  EXPECT_NE(json.find("\"Tombstone\":true"), std::string::npos);
  const uint32_t value = built.ValuePosition("Plain", "displayname");
  EXPECT_EQ(RawMeaning(opened, value, "Flags"), "0x0003, single-byte name, tombstone");
  const OutputListPtr detail = ListDetail(opened.hive, opened.tree, value);
  EXPECT_EQ(CellText(*detail, 1, 1), "(tombstone)");
  EXPECT_TRUE(ShownValueDetail(opened.hive, value).text.starts_with("Tombstone: "));
}

// Older systems wrote other things to these places.
TEST(LayersTest, BitsWithoutTheBaseBlocksFlagMeanNothing) {
  const auto expect_none = [](const BuiltHive& built) {
    OpenedHive opened(built);
    EXPECT_FALSE(HasLayers(opened.hive));
    EXPECT_EQ(Status(opened, "Gone"), "");
    const OutputListPtr values =
        ListKeyValues(opened.hive, opened.tree, opened.Item("Plain"), ValueListOptions());
    EXPECT_EQ(CellText(*values, 1, 2), "REG_NONE");
    EXPECT_EQ(Json(opened, *values).find("Tombstone"), std::string::npos);
    EXPECT_EQ(LayersText(opened.hive, CountLayers(opened.hive, opened.tree)), "no");
    EXPECT_EQ(LayersNotice(opened.hive, opened.tree), "");
    EXPECT_EQ(RawMeaning(opened, built.PositionOf("Tree"), "Layer bits"),
              "0x83, no layers: the base block does not say so");
  };
  expect_none(Delta(false));
  BuiltHive in_transactions = Delta(true);
  in_transactions.SetU32(0, kBaseTransactionMark, kTransactionMark);
  expect_none(in_transactions);
  BuiltHive garbage = Delta(true);
  garbage.SetU32(0, kBaseFlags, 0x00FFFFFF);
  expect_none(garbage);
  HiveBuilder unused;
  unused.Layered().Key("A");
  OpenedHive opened(unused.Build());
  EXPECT_EQ(LayersText(opened.hive, CountLayers(opened.hive, opened.tree)), "supported, none used");
  EXPECT_EQ(LayersNotice(opened.hive, opened.tree), "");
}

TEST(LayersTest, ScriptsHoldTombstonesAsCommentsOrDeletions) {
  BuiltHive built = Delta(true);
  OpenedHive opened(built);
  ScriptExport written;
  const std::string comments = Script(opened, Tombstones::kComments, written);
  const std::string root = "HKEY_LOCAL_MACHINE\\SOFTWARE";
  EXPECT_EQ(comments, "REGEDIT4\r\n\r\n[" + root + "]\r\n\r\n; tombstone: " + root +
                          "\\Gone\r\n\r\n; supersedes in the hive below: " + root + "\\Local\r\n[" +
                          root + "\\Local]\r\n@=\"own\"\r\n\r\n[" + root +
                          "\\Plain]\r\n\"kept\"=dword:00000001\r\n"
                          "; tombstone: \"displayname\"=-\r\n; tombstone: \"?\"=-\r\n\r\n"
                          "; supersedes tree in the hive below: " +
                          root + "\\Tree\r\n[" + root +
                          "\\Tree]\r\n\r\n; supersedes tree in the hive below: " + root +
                          "\\Tree\\Below\r\n[" + root + "\\Tree\\Below]\r\n\r\n");
  EXPECT_EQ(written.keys, 5U);
  EXPECT_EQ(written.values, 2U);
  EXPECT_EQ(written.tombstone_keys, 1U);
  EXPECT_EQ(written.tombstone_values, 2U);
  EXPECT_EQ(written.superseding_keys, 3U);
  const std::string deletions = Script(opened, Tombstones::kDeletions, written);
  EXPECT_NE(deletions.find("\r\n[-" + root + "\\Gone]\r\n\r\n"), std::string::npos);
  EXPECT_NE(deletions.find("\r\n\"displayname\"=-\r\n"), std::string::npos);
  EXPECT_EQ(deletions.find("tombstone"), std::string::npos);
}

// What hangs below a tombstone is no part of what it says, and told. One that no list names is not
// for deleting.
TEST(LayersTest, ATombstonesSubkeysAreLeftOut) {
  HiveBuilder builder("SOFTWARE");
  builder.Layered().Key("Gone").Layer(1).Key("Below").Key("Deep");
  builder.Key("Lost").Layer(1);
  BuiltHive built = builder.Build();
  built.Unlink("Lost");
  OpenedHive opened(built);
  ScriptExport written;
  const std::string text = Script(opened, Tombstones::kDeletions, written);
  EXPECT_EQ(text.find("Below"), std::string::npos);
  EXPECT_EQ(written.left_out, std::vector<uint32_t>{opened.Item("Gone\\Below")});
  EXPECT_NE(text.find("; tombstone: Disconnected Keys\\Lost\r\n"), std::string::npos) << text;
}

// Hives of app packages have a root key without the flags of a root.
TEST(LayersTest, ARootWithoutFlagsIsWhereTheBaseBlockSays) {
  for (const bool first : {true, false}) {
    for (const uint16_t flags : {uint16_t{0x20}, uint16_t{0x28}, uint16_t{0x24}}) {
      HiveBuilder builder("{0B5B4F7E}");
      builder.Layered().Root().Flags(flags).Layer(0x80).Sz("v", "root");
      if (!first) builder.CellBeforeRoot(Bytes(76, 0x41));
      builder.Key("A\\B").Layer(0x80).Dword("n", 1);
      const BuiltHive built = builder.Build();
      OpenedHive opened(built);
      SCOPED_TRACE(flags + (first ? 0 : 0x1000));
      EXPECT_EQ(opened.tree.items[0].position, built.PositionOf(""));
      EXPECT_EQ(opened.summary.disconnected_keys, 0U);
      ASSERT_TRUE(opened.Has("A\\B"));
      EXPECT_TRUE(opened.At("A\\B").connected);
      EXPECT_EQ(opened.Values(""), std::vector<std::string>{"v=root"});
    }
  }
}

}  // namespace
}  // namespace hivequarry
