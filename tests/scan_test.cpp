// The scan that builds the key tree from whatever the image holds, and what the tree shows.
#include <gtest/gtest.h>

#include <functional>

#include "hive/keys.h"
#include "host/long_operation.h"
#include "tests/support/opened_hive.h"
#include "tests/support/sample_hives.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

TEST(Scan, SoundHive) {
  HiveBuilder builder;
  builder.Key("b\\two").Sz("v", "text");
  builder.Key("B\\One").Dword("", 5);
  builder.Key("a");
  builder.Key("C\\\xD0\x96");
  for (const List kind : {List::kLf, List::kLh, List::kLi, List::kRiOfLh, List::kRiOfLi}) {
    builder.Root().ListStyle(kind, 2);
    OpenedHive opened(builder.Build());
    EXPECT_EQ(opened.Paths(), (Texts{"a", "b", "b\\One", "b\\two", "C", "C\\\u0416",
                                     "Disconnected Keys", "Disconnected Values"}));
    EXPECT_EQ(opened.summary.keys, 7u);
    EXPECT_EQ(opened.summary.connected_keys, 7u);
    EXPECT_EQ(opened.summary.disconnected_keys, 0u);
    EXPECT_EQ(opened.summary.values, 2u);
    EXPECT_EQ(opened.summary.disconnected_values, 0u);
    EXPECT_EQ(opened.summary.security_records, 1u);
    EXPECT_EQ(opened.summary.bins, 1u);
    EXPECT_TRUE(opened.summary.tree_sound);
    for (const KeyItem& item : opened.tree.items) EXPECT_EQ(item.marks, 0);
    EXPECT_EQ(opened.host.beeps, 1);
    EXPECT_TRUE(opened.host.messages.empty());
    EXPECT_EQ(opened.Values("b\\One"), Texts{"(Default value)=0x00000005 (5)"});
    EXPECT_EQ(opened.Values("b\\two"), Texts{"v=text"});
    EXPECT_EQ(opened.Values("a"), Texts{"(No values set)="});
  }
}

TEST(Scan, PhasesAreAnnounced) {
  HiveBuilder builder;
  builder.Key("A");
  BuiltHive built = builder.Build();
  const Texts phases = {"Collecting information ...", "Finding disconnected values ...",
                        "Filling structure ...", "Cleaning up ..."};
  const auto announced = [](const OpenedHive& opened) {
    Texts texts;
    for (const std::string& status : opened.host.statuses) {
      if (status.ends_with(" ...")) texts.push_back(status);
    }
    return texts;
  };
  {
    OpenedHive opened(built);
    EXPECT_EQ(announced(opened), phases);
    EXPECT_EQ(opened.host.statuses.back(), "");
  }
  BuildOptions options;
  options.disconnected_values = false;
  EXPECT_FALSE(OpenedHive(built, options).host.Showed("Finding disconnected values"));
  built.SetU16(built.ListPosition(""), 4, 0);  // damage calls for the second pass
  OpenedHive opened(built);
  EXPECT_FALSE(opened.summary.tree_sound);
  EXPECT_TRUE(opened.host.Showed("Evaluating data ..."));
}

TEST(Scan, DisconnectedValues) {
  HiveBuilder builder;
  builder.Key("A").Sz("one", "1").Sz("two", "2").Dword("three", 3);
  builder.Key("B").Sz("kept", "k");
  BuiltHive built = builder.Build();
  const uint32_t key = built.PositionOf("A");
  built.SetU32(key, field::kKeyValues, 0).SetU32(key, field::kKeyValueList, kNone);
  OpenedHive opened(built);
  EXPECT_EQ(opened.summary.values, 4u);
  EXPECT_EQ(
      opened.Values("Disconnected Values"),
      (Texts{"Info=Values not connected to any key", "one=1", "two=2", "three=0x00000003 (3)"}));
  BuildOptions options;
  options.disconnected_values = false;
  EXPECT_EQ(OpenedHive(built, options).Values("Disconnected Values"),
            Texts{"Info=Values not connected to any key"});
}

TEST(Scan, ValueAtTheCutOfTheFile) {
  HiveBuilder builder;
  builder.Key("A").CellBehind("value", Bytes(20));
  BuiltHive built = builder.Build();
  const uint32_t value = built.TaggedPosition("value");
  built.SetU16(value, 4, 0x6B76).SetU16(value, 6, 0);
  for (uint32_t left = 8; left <= 48; left += 4) {
    SCOPED_TRACE(left);
    BuiltHive cut = built;
    OpenedHive opened(cut.Cut(value + left));
    const ItemValues values =
        ShowItemValues(opened.hive, opened.tree, opened.tree.disconnected_values, {});
    for (const uint32_t position : values.value_positions) {
      EXPECT_EQ(MakeValueRow(opened.hive, position, {}).value, value);
    }
    EXPECT_EQ(values.value_positions.size(), left < 24 ? 0u : 1u);
  }
}

TEST(Scan, ValueMarkers) {
  HiveBuilder builder;
  builder.Key("A").Binary("freed", 20).Binary("long", 20).Binary("gone", 20).Binary("good", 2);
  BuiltHive built = builder.Build();
  built.Free(built.DataPosition("A", "freed"));
  built.SetU32(built.ValuePosition("A", "long"), field::kValueLength, 500);
  built.Zero(built.ValuePosition("A", "gone"), 16);
  OpenedHive opened(built);
  EXPECT_EQ(opened.Values("A"),
            (Texts{"=lost value", "freed=Data Offset Error", "long=ERR_DATALEN", "good=01 08 "}));
}

TEST(Scan, TolerantTestCanBeSwitchedOff) {
  HiveBuilder builder;
  builder.Key("A");
  BuiltHive built = builder.Build();
  built.Unlink("A").FlipBit(built.PositionOf("A") + 5, 0);
  EXPECT_EQ(OpenedHive(built).summary.keys, 2u);
  BuildOptions options;
  options.tolerant_keys = false;
  EXPECT_EQ(OpenedHive(built, options).summary.keys, 1u);
}

TEST(Scan, SlackBehindTheName) {
  struct Case {
    uint32_t slack;
    uint16_t marks;
  };
  // Only cells of more than 128 bytes are looked at: "Key" takes 88, so 40 more still pass.
  for (const Case& c :
       {Case{0, 0}, Case{8, 0}, Case{40, 0}, Case{48, kMarkBadLength}, Case{800, kMarkBadLength}}) {
    SCOPED_TRACE(c.slack);
    HiveBuilder builder;
    builder.Key("Key").Slack(c.slack);
    BuiltHive built = builder.Build();
    EXPECT_EQ(OpenedHive(built).At("Key").marks, c.marks);
    built.FlipBit(built.PositionOf("Key") + 5, 0);
    EXPECT_EQ(OpenedHive(built).At("Key").marks, c.marks | kMarkBadNk);
  }
}

TEST(Scan, CellsHiddenInSlackAndFreeSpace) {
  HiveBuilder builder;
  builder.Key("Host").Slack(400).FreeBehind(400);
  builder.Key("Hidden").Sz("v", "found");
  BuiltHive built = builder.Build();
  built.Unlink("Hidden");
  const uint32_t hidden = built.PositionOf("Hidden");
  const Bytes cell(built.bytes.begin() + hidden,
                   built.bytes.begin() + hidden + built.CellLength(hidden));
  built.Zero(hidden, built.CellLength(hidden))
      .SetU32(hidden, 0, static_cast<uint32_t>(cell.size()));
  const uint32_t host = built.PositionOf("Host");
  const uint32_t behind = host + built.CellLength(host);
  for (const uint32_t at : {host + 88 + 8, host + 88 + 200, behind + 8, behind + 96}) {
    SCOPED_TRACE(at - host);
    BuiltHive copy = built;
    copy.SetBytes(at, 0, cell);
    OpenedHive opened(copy);
    EXPECT_EQ(opened.Values("Disconnected Keys\\Hidden"), Texts{"v=found"});
    EXPECT_EQ(ItemOfPosition(opened.tree, at), opened.Item("Disconnected Keys\\Hidden"));
  }
}

TEST(Scan, FreedKeyThatNothingNames) {
  HiveBuilder builder;
  builder.Key("A\\Freed");
  BuiltHive built = builder.Build();
  built.Unlink("A\\Freed").Free(built.PositionOf("A\\Freed"));
  OpenedHive opened(built);
  EXPECT_EQ(opened.summary.keys, 2u);
  EXPECT_EQ(opened.summary.disconnected_keys, 0u);
}

TEST(Scan, ValueCellLengths) {
  struct Case {
    uint32_t cell;
    uint16_t name;
    bool accepted;
  };
  for (const Case& c :
       {Case{768, 744, true}, Case{768, 736, true}, Case{776, 752, true}, Case{64, 40, true},
        Case{64, 32, true}, Case{64, 24, false}, Case{64, 41, false}, Case{24, 0, true},
        Case{32, 0, true}, Case{40, 0, false}}) {
    SCOPED_TRACE(std::to_string(c.cell) + " bytes, name of " + std::to_string(c.name));
    Bytes record(c.cell - 4);
    record[0] = 'v';
    record[1] = 'k';
    PutU16(record, 2, c.name);
    record[16] = 1;
    HiveBuilder builder;
    builder.Key("A").CellBehind("value", record);
    OpenedHive opened(builder.Build());
    EXPECT_EQ(opened.summary.values, c.accepted ? 1u : 0u);
    EXPECT_EQ(opened.summary.disconnected_values, c.accepted ? 1u : 0u);
  }
}

TEST(Scan, HugeKeyCells) {
  // A key of 65,536 bytes counts where a base block vouches for the file. Without one only the
  // tolerant test takes it.
  HiveBuilder builder;
  builder.BinSize(0x20000);
  builder.Key("Huge").Slack(65536 - 84);
  builder.Key("Last").Sz("v", "x");
  BuiltHive built = builder.Build();
  ASSERT_EQ(built.CellLength(built.PositionOf("Huge")), 65536u);
  {
    OpenedHive opened(built);
    EXPECT_TRUE(opened.Has("Huge"));
    EXPECT_EQ(opened.Values("Last"), Texts{"v=x"});
  }
  built.DropBaseBlock();
  const uint32_t root = built.PositionOf("");
  built.SetU16(root, field::kKeyFlags, 0x20);
  {
    OpenedHive opened(built);
    ASSERT_FALSE(opened.hive.header_valid);
    const uint32_t huge = ItemOfPosition(opened.tree, built.PositionOf("Huge"));
    ASSERT_NE(huge, kNoItem);
    EXPECT_EQ(opened.tree.items[huge].marks & kMarkBadNk, kMarkBadNk);
  }
  BuildOptions options;
  options.tolerant_keys = false;
  OpenedHive opened(built, options);
  const uint32_t huge = ItemOfPosition(opened.tree, built.PositionOf("Huge"));
  ASSERT_NE(huge, kNoItem);
  EXPECT_EQ(opened.tree.items[huge].marks & kMarkChild, kMarkChild) << "only its list names it";
  EXPECT_NE(ItemOfPosition(opened.tree, built.PositionOf("Last")), kNoItem);
}

TEST(Scan, ListStyle) {
  struct Case {
    uint32_t lf;  // they come first
    uint32_t lh;
    uint32_t style;
  };
  for (const Case& c : {Case{0, 4, 0}, Case{0, 5, 1}, Case{4, 0, 0}, Case{5, 0, 2}, Case{1, 100, 0},
                        Case{1, 101, 1}, Case{3, 101, 1}, Case{4, 101, 0}, Case{5, 200, 2}}) {
    SCOPED_TRACE(std::to_string(c.lf) + " lf, " + std::to_string(c.lh) + " lh");
    HiveBuilder builder;
    builder.Root().ListStyle(List::kLi).KeepOrder();
    for (uint32_t i = 0; i < c.lf + c.lh; ++i) {
      KeyRef key = builder.Root().NewKey("K" + std::to_string(i));
      key.ListStyle(i < c.lf ? List::kLf : List::kLh).NewKey("child");
    }
    EXPECT_EQ(OpenedHive(builder.Build()).summary.list_style, c.style);
  }
}

TEST(Scan, FirstCellIsTheRoot) {
  HiveBuilder builder;
  builder.Key("A").Sz("v", "x");
  const BuiltHive sound = builder.Build();
  const uint32_t root = sound.PositionOf("");
  const std::vector<std::pair<const char*, std::function<void(BuiltHive&)>>> cases = {
      {"size lost", [&](BuiltHive& h) { h.SetU32(root, 0, 0); }},
      {"size odd", [&](BuiltHive& h) { h.SetU32(root, 0, 0U - 13); }},
      {"size positive", [&](BuiltHive& h) { h.SetU32(root, 0, 0x70000000); }},
      {"size huge", [&](BuiltHive& h) { h.SetU32(root, 0, 0x80000000); }},
      {"signature lost", [&](BuiltHive& h) { h.SetU16(root, 4, 0); }},
      {"flags lost", [&](BuiltHive& h) { h.SetU16(root, 6, 0x20); }},
      {"base block lost but for its start", [&](BuiltHive& h) { h.Zero(4, 4092); }}};
  for (const auto& [what, damage] : cases) {
    SCOPED_TRACE(what);
    BuiltHive built = sound;
    damage(built);
    OpenedHive opened(built);
    EXPECT_EQ(opened.Values("A"), Texts{"v=x"});
    ASSERT_TRUE(opened.Has("A"));
    EXPECT_TRUE(opened.At("A").connected);
  }
}

TEST(Scan, RootThatIsNotTheFirstCell) {
  HiveBuilder builder;
  builder.CellBeforeRoot(Bytes(200, 0x55));
  builder.Key("A").Sz("v", "x");
  OpenedHive opened(builder.Build());
  ASSERT_TRUE(opened.Has("A"));
  EXPECT_TRUE(opened.At("A").connected);
  EXPECT_EQ(opened.summary.disconnected_keys, 0u);
}

TEST(Scan, EachKeyOnceUnderTheOwnerItNames) {
  HiveBuilder builder;
  KeyRef shared = builder.Key("Z\\Shared");
  builder.Key("Z\\Shared\\Below");
  builder.Key("A").AlsoLists(shared);
  builder.Key("Z").AlsoLists(shared);
  OpenedHive opened(builder.Build());
  EXPECT_EQ(opened.Paths(), (Texts{"A", "Z", "Z\\Shared", "Z\\Shared\\Below", "Disconnected Keys",
                                   "Disconnected Values"}));
}

TEST(Scan, RingOfDisconnectedKeys) {
  HiveBuilder builder;
  builder.Key("One\\Two\\Three\\End");
  BuiltHive built = builder.Build();
  // Three's list names One instead of End, and the root forgets One: a ring, and End on its own.
  built.Link(built.EntryPosition("One\\Two\\Three", 0), 0, built.PositionOf("One"));
  built.Unlink("One");
  OpenedHive opened(built);
  EXPECT_EQ(opened.summary.keys, 5u);
  EXPECT_EQ(opened.summary.disconnected_keys, 4u);
  EXPECT_TRUE(opened.Has("Disconnected Keys\\One\\Two\\Three"));
  EXPECT_EQ(opened.tree.items.size(), 7u);
}

TEST(Scan, GeneratedNamesCountPerBuild) {
  HiveBuilder builder;
  for (int i = 0; i < 3; ++i) builder.Root().NewKey("");
  const BuiltHive built = builder.Build();
  for (int round = 0; round < 2; ++round) {
    OpenedHive opened(built);
    EXPECT_EQ(opened.Paths(), (Texts{"Unnamed(01)", "Unnamed(02)", "Unnamed(03)",
                                     "Disconnected Keys", "Disconnected Values"}));
    EXPECT_EQ(StatusText(opened.At("Unnamed(02)").marks), "missing name");
  }
}

TEST(Scan, MinimumNameLength) {
  HiveBuilder builder;
  builder.Key("Lost name");
  BuiltHive built = builder.Build();
  built.SetU16(built.PositionOf("Lost name"), field::kKeyNameLength, 0);
  BuildOptions options;
  options.minimum_name_length = 4;
  OpenedHive opened(built, options);
  EXPECT_TRUE(opened.Has("Lost"));
  EXPECT_EQ(opened.At("Lost").marks, kMarkNoName);
}

TEST(Scan, CellDetails) {
  HiveBuilder builder;
  builder.Key("A").Dword("v", 1);
  const BuiltHive built = builder.Build();
  OpenedHive opened(built);
  ValueViewOptions options;
  options.cell_details = true;
  const ItemValues values = ShowItemValues(opened.hive, opened.tree, opened.Item("A"), options);
  ASSERT_EQ(values.info_rows.size(), 1u);
  EXPECT_EQ(values.info_rows[0].type,
            Formatted("%08Xo, %08XNl", built.PositionOf("A"), built.ValueListPosition("A")));
  EXPECT_EQ(values.value_positions, std::vector<uint32_t>{built.ValuePosition("A", "v")});
  const ValueRow row = MakeValueRow(opened.hive, values.value_positions[0], {});
  EXPECT_EQ(row.position, Formatted("0x%08X", built.ValuePosition("A", "v")));
}

TEST(Scan, StoppedInAnyPhase) {
  HiveBuilder builder;
  for (int i = 0; i < 3000; ++i) builder.Key("Many").NewKey("k" + std::to_string(i)).Dword("v", 1);
  BuiltHive built = builder.Build();
  built.Unlink("Many\\k7");
  static std::string_view phase;
  for (const char* name :
       {"Collecting information ...", "Finding disconnected values ...", "Filling structure ..."}) {
    SCOPED_TRACE(name);
    phase = name;
    OpenedImage image(built.bytes);
    HostRecorder host;
    host.on_status = [](const char* text) {
      if (text == phase) RequestStop();
    };
    KeyTree tree;
    ASSERT_TRUE(BeginOperation(kOperationLoad));
    const ImageSummary summary = BuildImageTree(image.hive(), {}, tree);
    EndOperation();
    EXPECT_TRUE(summary.stopped);
    EXPECT_EQ(host.beeps, 0);
    EXPECT_TRUE(host.messages.empty());
    EXPECT_TRUE(host.Showed("Filling structure ...")) << "what was collected is still shown";
    ASSERT_FALSE(tree.items.empty());
    EXPECT_EQ(tree.items[0].end, tree.items.size());
  }
}

// Whatever a sound hive holds, nothing of it may look damaged.
TEST(Scan, SoundHivesHaveNothingToRepair) {
  const std::pair<const char*, Bytes> hives[] = {{"sample", SoundSample().bytes},
                                                 {"20,000 keys", HiveOfKeys(20000)},
                                                 {"flat", FlatHive(3000)},
                                                 {"deep", DeepHive(500)},
                                                 {"values", HiveOfValues(3000)}};
  for (const auto& [what, bytes] : hives) {
    SCOPED_TRACE(what);
    OpenedHive opened{std::span<const uint8_t>(bytes)};
    EXPECT_TRUE(opened.summary.tree_sound);
    EXPECT_EQ(opened.summary.disconnected_keys, 0u);
    EXPECT_EQ(opened.summary.disconnected_values, 0u);
    EXPECT_EQ(opened.summary.virtual_parents, 0u);
    EXPECT_EQ(opened.summary.virtual_children, 0u);
    EXPECT_EQ(opened.summary.virtual_siblings, 0u);
    const uint32_t slack_key = opened.Item("Brightmoor\\Ledger");
    for (uint32_t item = 0; item < opened.tree.items.size(); ++item) {
      if (item != slack_key) {
        EXPECT_EQ(opened.tree.items[item].marks, 0) << item;
      }
    }
    uint32_t values = 0;
    for (uint32_t item = 0; item < opened.tree.items.size(); ++item) {
      const ItemValues shown = ShowItemValues(opened.hive, opened.tree, item, {});
      for (const uint32_t position : shown.value_positions) {
        EXPECT_LT(MakeValueRow(opened.hive, position, {}).icon, kErrorIconStep);
        ++values;
      }
    }
    EXPECT_EQ(values, opened.summary.values);
  }
}

TEST(Scan, DamagedSampleShowsItsParts) {
  const Bytes bytes = DamagedSample();
  OpenedHive opened{std::span<const uint8_t>(bytes)};
  for (const char* path : {"Disconnected Keys\\Alderwick\\Photo Desk\\Settings",
                           "Brightmoor\\Ledger", "Policies\\Explorer"}) {
    EXPECT_TRUE(opened.Has(path)) << path;
  }
  EXPECT_GT(opened.summary.connected_keys, 100u);
  EXPECT_GT(opened.summary.disconnected_keys, 10u);
  EXPECT_GT(opened.summary.disconnected_values, 3u);
  EXPECT_EQ(ItemPath(opened.hive, opened.tree, 0), "HKLM\\SOFTWARE");
}

}  // namespace
}  // namespace hivequarry::testing
