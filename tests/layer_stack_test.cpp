// Layered hives one over the other.
#include "hive/layer_stack.h"

#include <gtest/gtest.h>

#include <deque>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "host/case.h"
#include "lists/list_rows.h"
#include "lists/list_writers.h"
#include "reports/hive_lists.h"
#include "reports/hive_state.h"
#include "reports/registry_script.h"
#include "tests/support/opened_hive.h"
#include "words/layer_words.h"

namespace hivequarry {
namespace {

using namespace testing;

constexpr uint64_t kOld = kDefaultTime;
constexpr uint64_t kNew = kDefaultTime + 10'000'000;
constexpr uint8_t kInherit = kInheritClass;

// Hives in a stack, topmost first.
struct Stack {
  explicit Stack(const std::vector<BuiltHive>& built, bool show_hidden = false) {
    std::vector<TreeOfLayer> layers;
    for (const BuiltHive& each : built) {
      OpenedHive& opened = hives.emplace_back(each);
      const std::string name = opened.hive.file_name;
      layers.push_back({std::move(opened.hive), std::move(opened.tree)});
      opened.hive.file_name = name;  // it is given free by that
    }
    result = StackHives(std::move(layers), show_hidden, hive, tree);
  }

  // Names of the subkeys, with "-" before hidden ones.
  std::string Subkeys(std::string_view path) const {
    const uint32_t item = FindItemByPath(hive, tree, path);
    if (item == kNoItem) return "no key";
    std::string names;
    for (uint32_t at = FirstChild(tree, item); at != kNoItem; at = NextSibling(tree, at)) {
      if (tree.items[at].kind != ItemKind::kKey) continue;
      const std::string hidden = HiddenText(hive, tree.items[at].position);
      names += (names.empty() ? "" : " ") + std::string(hidden.empty() ? "" : "-") +
               ItemName(hive, tree, at);
    }
    return names;
  }
  // "name=data@layer", with "-" before hidden ones.
  std::string Values(std::string_view path) const {
    const uint32_t item = FindItemByPath(hive, tree, path);
    if (item == kNoItem) return "no key";
    const OutputListPtr list = ListKeyValues(hive, tree, item, ValueListOptions());
    std::string texts;
    for (uint32_t row = 0; row < RowCount(*list); ++row) {
      const uint32_t value = RowDatum(*list, row);
      texts += (texts.empty() ? "" : " ") +
               std::string(HiddenText(hive, value).empty() ? "" : "-") +
               std::string(CellText(*list, row, 1)) + "=" + std::string(CellText(*list, row, 3)) +
               "@" + std::to_string(LayerAt(hive, value));
    }
    return texts;
  }
  uint32_t PositionOf(std::string_view path) const {
    return tree.items.at(FindItemByPath(hive, tree, path)).position;
  }
  std::string ClassOf(std::string_view path) const {
    const KeyNode key = ReadKeyNode(hive, PositionOf(path), KeyRead::kFields);
    return DataText(kRegSz, ReadClassName(hive, key));
  }

  std::deque<OpenedHive> hives;
  HiveImage hive;
  KeyTree tree;
  StackResult result;
};

BuiltHive Base() {
  HiveBuilder builder("SOFTWARE");
  builder.Key("K").Class("base").Time(kOld).Sz("v", "base").Sz("bv", "base").Key("base");
  builder.Key("K\\both").Sz("v", "base").Key("below");
  builder.Key("Only").Sz("v", "base").Key("Deep");
  return builder.Build();
}

BuiltHive Delta(uint8_t bits, uint64_t time, bool layered = true) {
  HiveBuilder builder("SOFTWARE");
  if (layered) builder.Layered();
  const uint8_t child = (bits & kLayerMask) == 3 ? 3 : kInherit;
  KeyRef key = builder.Key("K").Layer(bits).Time(time);
  if ((bits & kLayerMask) == 1) return builder.Build();
  key.Class("delta").Sz("V", "delta").Sz("dv", "delta");
  key.Key("delta").Layer(child);
  key.Key("BOTH").Layer(child).Sz("v", "delta");
  return builder.Build();
}

// The rows of the table of meanings, with a delta that is older and one that is newer.
TEST(LayerStackTest, WhatAKeyDoesToTheOneBelow) {
  const struct {
    uint8_t bits;
    const char* subkeys;
    const char* values;
    const char* both;   // values of a subkey of either
    const char* below;  // subkeys of that
    const char* class_name;
    bool newest;  // of the stack; else the delta's own time
  } cases[] = {
      {0, "base BOTH delta", "V=delta@0 dv=delta@0 bv=base@1", "v=delta@0", "below", "delta", true},
      {kInherit, "base BOTH delta", "V=delta@0 dv=delta@0 bv=base@1", "v=delta@0", "below", "base",
       true},
      {1, "no key", "no key", "no key", "no key", "", false},
      {2, "base BOTH delta", "V=delta@0 dv=delta@0", "v=delta@0", "below", "delta", false},
      {3, "BOTH delta", "V=delta@0 dv=delta@0", "v=delta@0", "", "delta", false},
      {3 | kInherit, "BOTH delta", "V=delta@0 dv=delta@0", "v=delta@0", "", "delta", false}};
  for (const auto& c : cases) {
    for (const uint64_t time : {kOld - 1, kNew}) {
      SCOPED_TRACE(c.bits);
      const Stack stack({Delta(c.bits, time), Base()});
      EXPECT_EQ(stack.Subkeys("K"), c.subkeys);
      EXPECT_EQ(stack.Values("K"), c.values);
      EXPECT_EQ(stack.Values("K\\both"), c.both);
      EXPECT_EQ(stack.Subkeys("K\\both"), c.below);
      EXPECT_EQ(stack.Values("Only"), "v=base@1");
      EXPECT_EQ(stack.Subkeys("Only"), "Deep");
      if (c.subkeys == std::string("no key")) continue;
      EXPECT_EQ(stack.ClassOf("K"), c.class_name);
      EXPECT_EQ(LastWriteOfKey(stack.hive, stack.PositionOf("K")),
                c.newest ? std::max(time, kOld) : time);
    }
  }
  // Bits of a hive whose base block does not say that it has layers.
  const Stack plain({Delta(2, kNew, false), Base()});
  EXPECT_EQ(plain.Values("K"), "V=delta@0 dv=delta@0 bv=base@1");
}

TEST(LayerStackTest, TombstoneValuesHideByName) {
  HiveBuilder delta("SOFTWARE");
  delta.Layered().Key("K").Tombstone("BV").Tombstone("nowhere").Sz("", "own");
  const Stack stack({delta.Build(), Base()});
  EXPECT_EQ(stack.Values("K"), "(Default value)=own@0 v=base@1");
  EXPECT_EQ(stack.Subkeys("K"), "base both");
  const Stack all({delta.Build(), Base()}, true);
  EXPECT_EQ(all.Values("K"), "-BV=@0 -nowhere=@0 (Default value)=own@0 v=base@1 -bv=base@1");
}

BuiltHive Layer(std::string_view name, int bits) {
  HiveBuilder builder("SOFTWARE");
  builder.Layered();
  if (bits < 0) return builder.Build();
  const auto layer = static_cast<uint8_t>(bits);
  KeyRef key = builder.Key("K").Layer(layer);
  if ((layer & kLayerMask) == 1) return builder.Build();
  key.Class(name).Sz("v", name).Sz(name, name).Key(name).Layer(layer & kLayerMask);
  return builder.Build();
}

TEST(LayerStackTest, ThreeLayers) {
  const struct {
    int top;  // -1: no such key
    int middle;
    const char* subkeys;
    const char* values;
    const char* class_name;
  } cases[] = {{0, 0, "base both mid top", "v=top@0 top=top@0 mid=mid@1 bv=base@2", "top"},
               {0x80, 0x80, "base both mid top", "v=top@0 top=top@0 mid=mid@1 bv=base@2", "base"},
               {0x80, 0, "base both mid top", "v=top@0 top=top@0 mid=mid@1 bv=base@2", "mid"},
               {0, 1, "top", "v=top@0 top=top@0", "top"},
               {0x80, 2, "base both mid top", "v=top@0 top=top@0 mid=mid@1", "mid"},
               {0, 3, "mid top", "v=top@0 top=top@0 mid=mid@1", "top"},
               {2, 0, "base both mid top", "v=top@0 top=top@0", "top"},
               {2, 1, "top", "v=top@0 top=top@0", "top"},
               {2, 3, "mid top", "v=top@0 top=top@0", "top"},
               {3, 2, "top", "v=top@0 top=top@0", "top"},
               {1, 0, "no key", "no key", ""},
               {1, 1, "no key", "no key", ""},
               {-1, 1, "no key", "no key", ""},
               {-1, 2, "base both mid", "v=mid@1 mid=mid@1", "mid"},
               {-1, 3, "mid", "v=mid@1 mid=mid@1", "mid"},
               {-1, -1, "base both", "v=base@2 bv=base@2", "base"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.top) + " over " + std::to_string(c.middle));
    const Stack stack({Layer("top", c.top), Layer("mid", c.middle), Base()});
    EXPECT_EQ(stack.Subkeys("K"), c.subkeys);
    EXPECT_EQ(stack.Values("K"), c.values);
    if (c.values != std::string("no key")) {
      EXPECT_EQ(stack.ClassOf("K"), c.class_name);
    }
  }
}

// What a layer hides is shown on request, with the layer that hides it.
TEST(LayerStackTest, HiddenOnesCanBeShown) {
  HiveBuilder delta("SOFTWARE");
  delta.Layered().Key("Only").Layer(1);
  delta.Key("K").Layer(2).Sz("v", "delta");
  const Stack shown({delta.Build(), Base()});
  EXPECT_EQ(shown.Subkeys(""), "K");
  const Stack stack({delta.Build(), Base()}, true);
  EXPECT_EQ(stack.Subkeys(""), "K -Only -Only");
  EXPECT_EQ(stack.Values("K"), "v=delta@0 -v=base@1 -bv=base@1");
  const OutputListPtr list = ListKeyTree(stack.hive, stack.tree, 0);
  std::string json;
  WriteHiveJsonLines(*list, stack.hive, [&json](std::string_view piece) {
    json += piece;
    return true;
  });
  const std::string deep = json.substr(json.find("Only\\\\Deep"));
  EXPECT_NE(deep.find("\"FromLayer\":1,"), std::string::npos) << json;
  EXPECT_NE(deep.find("\"Hidden\":\"hidden by the tombstone of layer 0\""), std::string::npos);
  EXPECT_NE(json.find("\"Layers\":\"0, 1\""), std::string::npos);
  HiveBuilder tree("SOFTWARE");
  tree.Layered().Key("K").Layer(3);
  const Stack superseded({tree.Build(), Base()}, true);
  EXPECT_EQ(superseded.Subkeys("K"), "-base -both");
  EXPECT_EQ(superseded.Subkeys("K\\both"), "-below");
  EXPECT_EQ(superseded.Values("K\\both"), "-v=base@1");
}

// Positions are those of the layer's own file; no data are read across the end of a layer.
TEST(LayerStackTest, PlacesAreTheLayersOwn) {
  const BuiltHive base = Base();
  HiveBuilder builder("SOFTWARE");
  builder.Layered().Key("K").Binary("data", 3000).Binary("far", 3000);
  BuiltHive delta = builder.Build();
  const auto length = static_cast<uint32_t>(delta.bytes.size());
  delta.SetU32(delta.DataPosition("K", "far"), 0, ~(length + 8) + 1);
  delta.SetU32(delta.ValuePosition("K", "far"), field::kValueLength, length);
  const Stack stack({delta, base});
  ASSERT_EQ(stack.result.fault, StackFault::kNone);
  const uint32_t only = stack.PositionOf("Only");
  EXPECT_EQ(LayerAt(stack.hive, only), 1U);
  EXPECT_EQ(PlaceOf(stack.hive, only), base.PositionOf("Only"));
  EXPECT_EQ(PlaceOf(stack.hive, stack.PositionOf("K")), delta.PositionOf("K"));
  EXPECT_EQ(PositionOfPlace(stack.hive, base.PositionOf("Only")), base.PositionOf("Only"))
      << "without a layer a place is the topmost one's";
  EXPECT_NE(stack.Values("K").find("far=Data Offset Error@0"), std::string::npos)
      << stack.Values("K");
  const OutputListPtr raw = ListRawRecord(stack.hive, stack.tree, only);
  EXPECT_EQ(CellText(*raw, 0, 0), PositionText(base.PositionOf("Only")));
  // A key of either layer leads to the item that shows it.
  const uint32_t key = FindItemByPath(stack.hive, stack.tree, "K");
  const uint32_t lower = base.PositionOf("K") + LayerStart(stack.hive, only);
  EXPECT_EQ(ItemOfPosition(stack.tree, lower), key);
  EXPECT_NE(KeyDetail(stack.hive, stack.tree, key).find("One with: "), std::string::npos);
}

// What a report was made of, and what of it is missing, is all hives'.
TEST(LayerStackTest, HeadsNameTheHivesBelow) {
  BuiltHive cut = Base();
  cut.bytes.resize(cut.bytes.size() - 64);
  const Stack stack({Delta(kInherit, kNew), cut, Base()});
  ASSERT_EQ(stack.result.fault, StackFault::kNone);
  std::vector<std::string> bases;
  for (const std::string& line : HiveHeadLines(stack.hive, HiveHashes())) {
    if (line.starts_with("Base: ")) bases.push_back(line.substr(line.find("; ")));
  }
  EXPECT_EQ(bases, (std::vector<std::string>{"; Clean, 64 bytes missing at its end", "; Clean"}));
  const OpenedHive alone(Base());
  for (const std::string& line : HiveHeadLines(alone.hive, HiveHashes())) {
    EXPECT_FALSE(line.starts_with("Base: ")) << line;
  }
}

// Keys that no list leads to stay by themselves, and all layers' are there.
TEST(LayerStackTest, RecoveredKeysAreNotJoined) {
  BuiltHive base = Base();
  base.Unlink("K\\both");
  HiveBuilder builder("SOFTWARE");
  builder.Layered().Key("K\\both").Layer(3).Sz("v", "delta");
  BuiltHive delta = builder.Build();
  const Stack stack({delta, base});
  EXPECT_EQ(stack.Values("K\\both"), "v=delta@0");
  EXPECT_EQ(stack.Subkeys("K\\both"), "");
  uint32_t copies = 0;
  for (uint32_t item = 0; item < stack.tree.items.size(); ++item) {
    copies += IsKeyItem(stack.tree, item) &&
              EqualIgnoringCase(ItemName(stack.hive, stack.tree, item), "both");
  }
  EXPECT_EQ(copies, 2U);
  Stack fragment({delta, BuiltHive(base).DropBaseBlock()});
  EXPECT_TRUE(fragment.result.fault == StackFault::kNone ||
              fragment.result.fault == StackFault::kNoPlaces);
}

TEST(LayerStackTest, AScriptOfAStackHasWhatIsThere) {
  HiveBuilder delta("SOFTWARE");
  delta.Layered().Key("Only").Layer(1);
  delta.Key("K").Layer(3).Tombstone("bv").Sz("v", "delta");
  const Stack stack({delta.Build(), Base()});
  std::string script;
  ExportBranch(stack.hive, stack.tree, 0, [&script](std::string_view piece) {
    script += piece;
    return true;
  });
  EXPECT_EQ(script,
            "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n\r\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\K]\r\n\"v\"=\"delta\"\r\n\r\n");
}

}  // namespace
}  // namespace hivequarry
