// Relation repair: keys, lists and parent fields that disagree, and what the tree makes of them.
#include "recovery/relations.h"

#include <gtest/gtest.h>

#include <bit>
#include <functional>

#include "hive/keys.h"
#include "recovery/list_recorder.h"
#include "recovery/scan.h"
#include "reports/hive_lists.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"
#include "view/tree_find.h"
#include "words/why_here.h"

namespace hivequarry::testing {
namespace {

using Damage = std::function<void(BuiltHive&)>;

// Root > A > { Alpha, Bravo > Below, Charlie }, and Other, whose list is never touched. A value
// each.
constexpr uint32_t kFamilyKeys = 7;  // with the root
BuiltHive Family(List list_of_a, const Damage& damage = {}, List list_of_root = List::kLh) {
  HiveBuilder builder;
  builder.Root().ListStyle(list_of_root);
  builder.Key("A").ListStyle(list_of_a, 2).Sz("va", "of A").CellBehind("pool", Bytes(2000, 0x11));
  builder.Key("A\\Alpha").Sz("v1", "of Alpha").FreeBehind(200);
  builder.Key("A\\Bravo").Sz("v2", "of Bravo").Key("Below").Sz("v3", "of Below");
  builder.Key("A\\Charlie").Sz("v4", "of Charlie");
  builder.Key("Other").Sz("v5", "of Other");
  BuiltHive built = builder.Build();
  if (damage) damage(built);
  return built;
}

// Frees the key's cell and clears what was there.
void Wipe(BuiltHive& hive, const char* path) {
  const uint32_t key = hive.PositionOf(path);
  const uint32_t length = hive.CellLength(key);
  hive.Zero(key, length).SetU32(key, 0, length);
}

uint32_t OffsetOf(uint32_t position) { return position - kDataArea; }

// What the info column says of an item.
std::string Words(const OpenedHive& opened, const KeyItem& it) {
  const uint32_t parent = it.parent == kNoItem ? 0 : opened.tree.items[it.parent].position;
  return MarkWords(it.marks, it.repairs, OffsetOf(parent));
}

Texts EvidenceOf(const OpenedHive& opened, const char* path) {
  constexpr std::string_view kLabel = "Evidence: ";
  const std::string detail = KeyDetail(opened.hive, opened.tree, opened.Item(path));
  Texts lines;
  for (size_t at = 0; at < detail.size();) {
    const size_t end = detail.find("\r\n", at);
    const std::string line = detail.substr(at, end - at);
    if (line.starts_with(kLabel)) lines.push_back(line.substr(kLabel.size()));
    at = end + 2;
  }
  return lines;
}

std::string At(const char* what, uint32_t position, const std::string& rest = "") {
  return Formatted("%s at 0x%08X (%u)", what, position, position) + rest;
}

uint32_t VirtualKeys(const OpenedHive& opened) {
  return opened.summary.virtual_parents + opened.summary.virtual_children +
         opened.summary.virtual_siblings;
}

// --- marks -------------------------------------------------------------------------------------

struct MarkCase {
  const char* what;
  List list;  // of A
  Damage damage;
  const char* path;  // that the damage brings about
  uint16_t marks;
  const char* status;
  std::string words;
};

std::vector<MarkCase> MarkCases() {
  const auto wipe_alpha = [](BuiltHive& h) { Wipe(h, "A\\Alpha"); };
  const auto wipe_a = [](BuiltHive& h) { Wipe(h, "A"); };
  const auto wipe_both = [](BuiltHive& h) {
    Wipe(h, "A");
    Wipe(h, "A\\Alpha");
  };
  const auto no_name = [](BuiltHive& h) {
    h.SetU16(h.PositionOf("A\\Alpha"), field::kKeyNameLength, 0);
  };
  const auto odd_signature = [](BuiltHive& h) { h.FlipBit(h.PositionOf("A\\Alpha") + 5, 0); };
  const auto parent_is_a_value = [](BuiltHive& h) {
    h.Link(h.PositionOf("A\\Alpha"), field::kKeyParent, h.ValuePosition("A\\Alpha", "v1"));
  };
  const auto parent_nowhere = [](BuiltHive& h) {
    h.SetU32(h.PositionOf("A\\Alpha"), field::kKeyParent, 0x7FFFFFF0);
  };
  const auto odd_flags = [](BuiltHive& h) { h.FlipBit(h.PositionOf("A\\Alpha") + 6, 2); };
  const auto odd_size = [](BuiltHive& h) { h.SetU32(h.PositionOf("A\\Alpha"), 0, 0U - 92); };
  const auto parent_none = [](BuiltHive& h) {
    h.SetU32(h.PositionOf("A\\Alpha"), field::kKeyParent, kNone);
  };
  const auto list_pointer = [](BuiltHive& h) {
    h.SetU32(h.PositionOf("A"), field::kKeyList, 0x123);
  };
  const auto value_pointer = [](BuiltHive& h) {
    h.FlipBit(h.PositionOf("A\\Alpha") + field::kKeyValueList, 30);
  };
  const auto both = [](const Damage& a, const Damage& b) {
    return [a, b](BuiltHive& h) {
      a(h);
      b(h);
    };
  };
  const std::string par_rep =
      Formatted("par_rep 0x%X", OffsetOf(Family(List::kLh).PositionOf("A")));
  return {
      {"child, hint", List::kLf, wipe_alpha, "A\\Alph", 68, "hash name", "virtchild"},
      {"child", List::kLh, wipe_alpha, "A\\Unnamed(01)", 132, "missing name", "virtname virtchild"},
      {"child, no word", List::kLi, wipe_alpha, "A\\Unnamed(01)", 132, "missing name",
       "virtname virtchild"},
      {"parent, unlisted", List::kLf,
       [](BuiltHive& h) {
         h.Unlink("A");
         Wipe(h, "A");
       },
       "Disconnected Keys\\Unnamed(01)", 130, "missing name", "virtname virtpar"},
      {"parent", List::kLf, wipe_a, "Unnamed(01)", 0x282, "missing name",
       "virtname virtpar lf_repaired"},
      {"sibling, hint", List::kLf, wipe_both, "Unnamed(01)\\Alph", 65, "hash name", "virtsib"},
      {"sibling", List::kLh, wipe_both, "Unnamed(01)\\Unnamed(02)", 129, "missing name",
       "virtname virtsib"},
      {"no name, hint", List::kLf, no_name, "A\\Alph", 0x40, "hash name", ""},
      {"no name", List::kLh, no_name, "A\\Unnamed(01)", 0x80, "missing name", "virtname"},
      {"signature", List::kLh, odd_signature, "A\\Alpha", 0x1000, "", "bad_nk"},
      {"flags", List::kLh, odd_flags, "A\\Alpha", 0x1000, "", "bad_nk"},
      {"signature and flags", List::kLf, both(odd_signature, odd_flags), "A\\Alpha", 0x1000, "",
       "bad_nk"},
      {"size no multiple of 8", List::kLf, odd_size, "A\\Alph", 68, "hash name", "virtchild"},
      {"listed, no parent", List::kLh, parent_none, "A\\Alpha", 0x200, "", "lf_repaired"},
      {"listed, parent lost", List::kLh, parent_is_a_value, "A\\Alpha", 0x200, "", "lf_repaired"},
      {"both lost", List::kLh, both(wipe_a, parent_is_a_value), "Unnamed(01)\\Alpha", 0x400, "",
       "par_lh2_rep1"},
      {"listed, parent implausible", List::kLh, parent_nowhere, "A\\Alpha", 0, "", par_rep},
      {"both, parent implausible", List::kLh, both(wipe_a, parent_nowhere), "Unnamed(01)\\Alpha", 0,
       "", par_rep},
      {"value list", List::kLh, value_pointer, "A\\Alpha", 0, "", "val_rep"},
      {"subkey list", List::kLh, list_pointer, "A", 0, "", "list_rep"},
      {"root", List::kLh,
       [](BuiltHive& h) { h.SetU32(h.PositionOf(""), field::kKeyParent, 0x7FFFFFF8); }, "", 0, "",
       "root_rep"},
      {"unlinked", List::kLh, [](BuiltHive& h) { h.Unlink("A\\Alpha"); },
       "Disconnected Keys\\A\\Alpha", 0x800, "by parent field", "par_field"},
      {"signature and no name", List::kLf, both(odd_signature, no_name), "A\\Alph", 0x1040,
       "hash name", "bad_nk"}};
}

TEST(Relations, EachMarkWithItsWords) {
  for (const MarkCase& c : MarkCases()) {
    SCOPED_TRACE(c.what);
    OpenedHive opened(Family(c.list, c.damage));
    const uint32_t item = opened.Item(c.path);
    ASSERT_NE(item, kNoItem) << ::testing::PrintToString(opened.Paths());
    const KeyItem& it = opened.tree.items[item];
    EXPECT_EQ(it.marks, c.marks);
    EXPECT_EQ(StatusText(it.marks), c.status);
    EXPECT_EQ(Words(opened, it), c.words);
    EXPECT_EQ(opened.summary.keys, kFamilyKeys);
    EXPECT_EQ(opened.Values("Other"), Texts{"v5=of Other"});
    const bool made = (c.marks & kVirtualMarks) != 0;
    if (it.kind == ItemKind::kKey && !made) {
      EXPECT_FALSE(opened.Values(c.path).empty());
      EXPECT_TRUE(opened.Values(c.path).back().starts_with("v"));
    }
  }
}

TEST(Relations, StatusOfMarksThatMeet) {
  constexpr std::pair<uint16_t, const char*> kCases[] = {{0x0000, ""},
                                                         {0x0001, "recovered sibling"},
                                                         {0x0002, "recovered parent"},
                                                         {0x0004, "recovered child"},
                                                         {0x0005, "recovered child"},
                                                         {0x0007, "recovered parent"},
                                                         {0x0042, "hash name"},
                                                         {0x0082, "missing name"},
                                                         {0x1700, ""}};
  for (const auto& [marks, text] : kCases) EXPECT_EQ(StatusText(marks), text) << marks;
}

// --- key cells that relations name -------------------------------------------------------------

TEST(Relations, RelaxedKeyCell) {
  struct Case {
    const char* what;
    uint32_t size;  // as stored
    uint16_t signature;
    uint16_t flags;
    bool key;
  };
  constexpr Case kCases[] = {{"sound", 0U - 88, 0x6B6E, 0x20, true},
                             {"freed", 88, 0x6B6E, 0x20, true},
                             {"512 bytes", 0U - 512, 0x6B6E, 0x2C, true},
                             {"520 bytes", 0U - 520, 0x6B6E, 0x2C, false},
                             {"4096 bytes freed", 4096, 0x6B6E, 0xA0, true},
                             {"4104 bytes freed", 4104, 0x6B6E, 0xA0, false},
                             {"no multiple of 8", 0U - 92, 0x6B6E, 0x20, false},
                             {"wide name", 88, 0x6B6E, 0x00, true},
                             {"flags 0xAC", 88, 0x6B6E, 0xAC, true},
                             {"flags 0x60", 0U - 88, 0x6B6E, 0x60, false},
                             {"flags 0x24", 0U - 88, 0x6B6E, 0x24, false},
                             {"high flags", 0U - 88, 0x6B6E, 0x120, false},
                             {"user flags", 88, 0x6B6E, 0x1020, true},
                             {"user and high flags", 88, 0x6B6E, 0x1120, false},
                             {"a link", 88, 0x6B6E, 0x30, true},
                             {"signature", 0U - 88, 0x6A6E, 0x20, false}};
  const BuiltHive sound = Family(List::kLh);
  const uint32_t key = sound.PositionOf("A");
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    BuiltHive built = sound;
    built.SetU32(key, 0, c.size).SetU16(key, 4, c.signature).SetU16(key, 6, c.flags);
    OpenedImage image(built.bytes);
    EXPECT_EQ(IsKeyCellAt(image.hive(), key), c.key);
  }
  // Room for the fixed part, to the byte.
  for (const uint32_t room : {79U, 80U}) {
    BuiltHive cut = sound;
    OpenedImage image(cut.Cut(key + room).bytes);
    EXPECT_EQ(IsKeyCellAt(image.hive(), key), room == 80);
  }
}

TEST(Relations, KeyOfFlags60IsKnownToTheScanOnly) {
  // Listed as it is, but not brought back once it is free.
  const auto flags_60 = [](BuiltHive& h) {
    h.SetU16(h.PositionOf("A\\Alpha"), field::kKeyFlags, 0x60);
  };
  EXPECT_EQ(OpenedHive(Family(List::kLf, flags_60)).At("A\\Alpha").marks, 0);
  OpenedHive freed(Family(List::kLf, [&](BuiltHive& h) {
    flags_60(h);
    h.Free(h.PositionOf("A\\Alpha"));
  }));
  EXPECT_EQ(freed.At("A\\Alph").marks, 68);
}

TEST(Relations, FreedKeyComesBackUpTo4096Bytes) {
  struct Case {
    List list;
    uint32_t length;
    const char* path;
    uint16_t marks;
  };
  for (const Case& c :
       {Case{List::kLf, 96, "A\\Freed", 0}, Case{List::kLh, 4096, "A\\Freed", 0},
        Case{List::kLi, 4096, "A\\Freed", 0}, Case{List::kLf, 4096, "A\\Freed", 0},
        Case{List::kLf, 4104, "A\\Free", 68}, Case{List::kLh, 4104, "A\\Unnamed(01)", 132}}) {
    SCOPED_TRACE(c.length);
    HiveBuilder builder;
    builder.Key("A").ListStyle(c.list);
    builder.Key("A\\Freed").Sz("v", "kept").Slack(c.length - 85);
    if (c.marks == 0) builder.Key("A\\Freed\\Below\\Deep").Sz("w", "deep");
    builder.Key("A\\Freed").Flags(0x1020);  // as systems before Vista wrote them
    BuiltHive built = builder.Build();
    const uint32_t key = built.PositionOf("A\\Freed");
    ASSERT_EQ(built.CellLength(key), c.length);
    OpenedHive opened(built.Free(key));
    ASSERT_TRUE(opened.Has(c.path)) << ::testing::PrintToString(opened.Paths());
    EXPECT_EQ(opened.At(c.path).marks, c.marks);
    EXPECT_EQ(opened.At(c.path).position, key);
    EXPECT_TRUE(opened.At(c.path).connected);
    if (c.marks != 0) continue;
    EXPECT_EQ(opened.Values(c.path), Texts{"v=kept"});
    EXPECT_EQ(opened.Values("A\\Freed\\Below\\Deep"), Texts{"w=deep"});
    EXPECT_TRUE(opened.At("A\\Freed\\Below").connected);
    EXPECT_EQ(opened.summary.keys, 5u);
  }
}

TEST(Relations, FreedParentAndFreedSiblingComeBack) {
  OpenedHive parent(Family(List::kLh, [](BuiltHive& h) { h.Unlink("A").Free(h.PositionOf("A")); }));
  EXPECT_EQ(parent.Values("Disconnected Keys\\A\\Alpha"), Texts{"v1=of Alpha"});
  EXPECT_EQ(VirtualKeys(parent), 0u);
  OpenedHive sibling(Family(List::kLh, [](BuiltHive& h) {
    Wipe(h, "A");
    h.Free(h.PositionOf("A\\Alpha"));
  }));
  EXPECT_EQ(sibling.Values("Unnamed(01)\\Alpha"), Texts{"v1=of Alpha"});
  EXPECT_EQ(VirtualKeys(sibling), 1u);
}

TEST(Relations, ChainOfMissingAncestors) {
  // The signatures gone, the rest of the cells still says where they hung.
  HiveBuilder builder;
  builder.Key("A\\B\\C\\D").Sz("v", "end of the chain");
  BuiltHive built = builder.Build();
  for (const char* path : {"A", "A\\B", "A\\B\\C"}) built.SetU16(built.PositionOf(path), 4, 0);
  {
    OpenedHive opened(built);
    const char* path = "Unnamed(03)\\Unnamed(02)\\Unnamed(01)\\D";
    ASSERT_TRUE(opened.Has(path)) << ::testing::PrintToString(opened.Paths());
    EXPECT_EQ(opened.Values(path), Texts{"v=end of the chain"});
    EXPECT_EQ(opened.summary.virtual_parents, 3u);
    EXPECT_EQ(VirtualKeys(opened), 3u);
  }
  built.Unlink("A");
  OpenedHive opened(built);
  EXPECT_EQ(opened.summary.virtual_parents, 3u);
  EXPECT_EQ(opened.Paths().size(), 6u);
  // With nothing left of the middle one the chain ends there.
  Wipe(built, "A\\B\\C");
  OpenedHive broken(built);
  EXPECT_TRUE(broken.Has("Disconnected Keys\\Unnamed(01)\\D"));
}

// --- lists -------------------------------------------------------------------------------------

// The records of a hive's lists, as relation repair sees them.
ListRecords RecordsOf(HiveImage& hive, ScanTables& tables) {
  ResetTables(hive, tables);
  ScanImage(hive, ScanPass::kCollect, {}, tables);
  FinishScan(tables);
  ScanImage(hive, ScanPass::kEvaluate, {}, tables);
  return RecordLists(hive, tables);
}

TEST(Relations, EntryWhoseHintMeansAnotherKeyHasNoParent) {
  for (const List list : {List::kLf, List::kLh}) {
    const BuiltHive built = Family(list, [](BuiltHive& h) {
      h.SetU32(h.PositionOf("A"), field::kKeySubkeys, 0);  // so no key's list holds the entries
      h.SetBytes(h.EntryPosition("A", 1), 4, Bytes{'Z', 'e', 'b', 'r'});
      Wipe(h, "A\\Charlie");
    });
    OpenedImage image(built.bytes);
    ScanTables tables;
    const ListRecords records = RecordsOf(image.hive(), tables);
    ASSERT_EQ(records.lists.size(), 1u);
    ASSERT_EQ(records.entries.size(), 3u);
    const uint32_t a = built.PositionOf("A");
    EXPECT_EQ(
        ListKindText(ReadU16(image.hive(), records.lists[0].position + 4), records.lists[0].count),
        list == List::kLf ? "666C-3" : "686C-3");
    EXPECT_EQ(records.lists[0].parent, a);
    EXPECT_EQ(records.entries[0].parent, a);
    EXPECT_EQ(records.entries[1].parent, list == List::kLf ? kNoOffset : a) << "the hint counts";
    EXPECT_EQ(records.entries[2].parent, kNoOffset) << "no key there";
    EXPECT_EQ(records.entries[2].target, built.PositionOf("A\\Charlie"));
  }
}

TEST(Relations, ValidKeysThatDifferAreLeftAlone) {
  const BuiltHive built = Family(List::kLf, [](BuiltHive& h) {
    h.Link(h.PositionOf("A\\Alpha"), field::kKeyParent, h.PositionOf("Other"));
    h.SetU16(h.PositionOf("A\\Charlie"), field::kKeyNameLength, 0);
  });
  OpenedHive opened(built);
  EXPECT_EQ(opened.At("A\\Alpha").marks, 0);
  EXPECT_EQ(opened.At("A\\Alpha").repairs, 0);
  EXPECT_TRUE(opened.At("A\\Alpha").connected);
  EXPECT_FALSE(opened.Has("Other\\Alpha"));
  EXPECT_EQ(EvidenceOf(opened, "A\\Alpha"),
            (Texts{At("list entry", built.OwnEntryPosition("A\\Alpha"), " names this key"),
                   At("parent field", built.PositionOf("A\\Alpha") + 20,
                      " leads to" + At("", built.PositionOf("Other"), ", \"Other\"").substr(3))}));
}

TEST(Relations, ListsFindTheKeyThatLostThem) {
  struct Case {
    List list;
    bool whole;  // all children in one list cell
  };
  for (const Case& c :
       {Case{List::kLf, true}, Case{List::kLh, true}, Case{List::kLi, true},
        Case{List::kRiOfLh, false}, Case{List::kRiOfLi, false}, Case{List::kRiOfLf, false}}) {
    for (const uint32_t offset : {0x123U, 0U, kNone, 0x7FFFFFF8U}) {
      SCOPED_TRACE(std::to_string(static_cast<int>(c.list)) + ", " + std::to_string(offset));
      OpenedHive opened(Family(
          c.list, [&](BuiltHive& h) { h.SetU32(h.PositionOf("A"), field::kKeyList, offset); }));
      EXPECT_EQ(opened.At("A").repairs, kRepairSubkeyList);
      EXPECT_EQ(opened.Values("A\\Alpha"), Texts{"v1=of Alpha"});
      EXPECT_EQ(opened.Values("A\\Bravo\\Below"), Texts{"v3=of Below"});
      EXPECT_EQ(opened.At("A\\Alpha").repairs, 0);
      EXPECT_TRUE(opened.At("A\\Alpha").connected);
      // What the second child list named still hangs in its branch.
      EXPECT_EQ(opened.At("A\\Charlie").marks, c.whole ? 0 : kMarkByParent);
      EXPECT_EQ(opened.summary.disconnected_keys, c.whole ? 0u : 1u);
    }
  }
}

TEST(Relations, KeysOfALostListHangInItsBranch) {
  OpenedHive opened(Family(List::kLh, [](BuiltHive& h) { h.Zero(h.ListPosition("A") + 4, 24); }));
  EXPECT_EQ(opened.Paths(), (Texts{"A", "A\\Alpha", "A\\Bravo", "A\\Bravo\\Below", "A\\Charlie",
                                   "Other", "Disconnected Keys", "Disconnected Values"}));
  for (const char* path : {"A\\Alpha", "A\\Charlie"}) {
    EXPECT_EQ(Words(opened, opened.At(path)), "par_field");
    EXPECT_FALSE(opened.At(path).connected) << "no list leads to it";
  }
  EXPECT_EQ(opened.At("A\\Bravo\\Below").repairs, 0);
}

// One that its parent's list names ends with its cell, and has no bytes of live keys' cells.
TEST(Relations, ListedKeyWhoseNameClaimsItsNeighboursStays) {
  constexpr uint16_t kLengths[] = {100, 1000, 3000, 65535};
  for (const uint16_t length : kLengths) {
    SCOPED_TRACE(length);
    BuiltHive built = Family(List::kLh);
    built.Unlink("A").SetU16(built.PositionOf("A\\Alpha"), kKeyNameLength, length);
    const OpenedHive opened(built);
    const uint32_t item = ItemOfPosition(opened.tree, built.PositionOf("A\\Alpha"));
    ASSERT_NE(item, kNoItem);
    EXPECT_FALSE(opened.tree.items[item].connected);
    EXPECT_EQ(ShowItemValues(opened.hive, opened.tree, item, {}).value_positions,
              std::vector<uint32_t>{built.ValuePosition("A\\Alpha", "v1")});
  }
}

// --- pointers with one flipped bit -------------------------------------------------------------

TEST(Relations, PointersWithOneFlippedBit) {
  for (uint32_t bit = 0; bit < 32; ++bit) {
    SCOPED_TRACE(bit);
    OpenedHive values(Family(List::kLh, [&](BuiltHive& h) {
      h.FlipBit(h.PositionOf("A\\Alpha") + field::kKeyValueList, bit);
    }));
    EXPECT_EQ(values.Values("A\\Alpha"), (Texts{"Info=repaired list", "v1=of Alpha"}));
    EXPECT_EQ(values.summary.disconnected_values, 0u);
    EXPECT_EQ(values.At("A\\Alpha").repairs, kRepairValueList);
    for (const List list : {List::kLf, List::kLi, List::kRiOfLh}) {
      const BuiltHive flipped =
          Family(list, [&](BuiltHive& h) { h.FlipBit(h.PositionOf("A") + field::kKeyList, bit); });
      OpenedHive keys(flipped);
      EXPECT_TRUE(keys.Has("A\\Alpha") && keys.Has("A\\Charlie"));
      EXPECT_EQ(keys.summary.keys, kFamilyKeys);
      // A bit may lead from the "ri" list to one of its child lists, which holds as far as it goes.
      const uint32_t stored = flipped.U32(flipped.PositionOf("A"), field::kKeyList) + kDataArea;
      if (list == List::kRiOfLh && stored == flipped.ChildListPosition("A", 0)) continue;
      EXPECT_EQ(keys.At("A").repairs, kRepairSubkeyList);
      EXPECT_EQ(keys.summary.disconnected_keys, 0u);
    }
  }
}

// A second place for the cell at `cell`, inside the pool, two bits away; `stored` lies one bit away
// from both, and no cell begins there.
bool FindTwin(const BuiltHive& hive, uint32_t cell, uint32_t& twin, uint32_t& stored) {
  const uint32_t pool = hive.TaggedPosition("pool");
  const uint32_t end = pool + hive.CellLength(pool) - hive.CellLength(cell);
  for (twin = pool + 8; twin < end; twin += 8) {
    const uint32_t difference = OffsetOf(twin) ^ OffsetOf(cell);
    if (std::popcount(difference) != 2) continue;
    for (uint32_t bit = 8; bit != 0; bit <<= 1) {
      stored = OffsetOf(cell) ^ bit;
      if ((difference & bit) != 0 && stored + kDataArea > pool + 8 && stored + kDataArea < end) {
        return true;
      }
    }
  }
  return false;
}

TEST(Relations, AmbiguousPointersAreLeftAlone) {
  for (const bool ambiguous : {false, true}) {
    SCOPED_TRACE(ambiguous);
    // The family with a pointer to a list that may as well mean the list's copy.
    const auto misled = [&](const char* path, uint32_t field, auto list_of) {
      BuiltHive built = Family(List::kLh);
      const uint32_t list = (built.*list_of)(path);
      uint32_t twin = 0;
      uint32_t stored = 0;
      EXPECT_TRUE(FindTwin(built, list, twin, stored));
      const auto begin = built.bytes.begin() + list;
      const Bytes copy(begin, begin + built.CellLength(list));
      if (ambiguous) built.SetBytes(twin, 0, copy);
      return built.SetU32(built.PositionOf(path), field, stored);
    };
    OpenedHive values(misled("A\\Alpha", field::kKeyValueList, &BuiltHive::ValueListPosition));
    EXPECT_EQ(values.At("A\\Alpha").repairs, ambiguous ? 0 : kRepairValueList);
    EXPECT_EQ(values.summary.disconnected_values, ambiguous ? 1u : 0u);
    // Of subkey lists there is a second source: which key their keys name. The lists' own keys
    // decide between the two, but no bit is flipped back on a guess.
    OpenedHive keys(misled("A", field::kKeyList, &BuiltHive::ListPosition));
    EXPECT_TRUE(keys.Has("A\\Alpha"));
    EXPECT_EQ(VirtualKeys(keys), 0u);
    EXPECT_EQ(keys.summary.keys, kFamilyKeys);
  }
}

// --- unlinked keys -----------------------------------------------------------------------------

TEST(Relations, UnlinkedKeysStandUnderCopiesOfTheirPath) {
  HiveBuilder builder;
  for (const char* path : {"A\\B\\One\\Below", "A\\B\\Two", "A\\B\\Kept", "A\\C\\Three", "A\\Four",
                           "D\\Kept", "Five"}) {
    builder.Key(path).Sz("v", path);
  }
  builder.Key("A\\B").Sz("own", "value of B");
  BuiltHive built = builder.Build();
  for (const char* path : {"A\\B\\One", "A\\B\\Two", "A\\C\\Three", "A\\Four", "Five"}) {
    built.Unlink(path);
  }
  OpenedHive opened(built);
  const std::string folder = "Disconnected Keys";
  Texts expected = {"A", "A\\B", "A\\B\\Kept", "A\\C", "D", "D\\Kept", folder};
  for (const char* path : {"Five", "A", "A\\Four", "A\\B", "A\\B\\One", "A\\B\\One\\Below",
                           "A\\B\\Two", "A\\C", "A\\C\\Three"}) {
    expected.push_back(folder + "\\" + path);
  }
  expected.push_back("Disconnected Values");
  EXPECT_EQ(opened.Paths(), expected);
  EXPECT_EQ(opened.summary.disconnected_keys, 6u);
  EXPECT_EQ(opened.summary.disconnected_values, 0u) << "a disconnected key owns its values";
  EXPECT_EQ(opened.Values(folder), Texts{"Info=Keys not connected to the Root cell"});
  EXPECT_EQ(opened.Values(folder + "\\A\\B\\One\\Below"), Texts{"v=A\\B\\One\\Below"});
  EXPECT_EQ(opened.At(folder + "\\A").kind, ItemKind::kPathCopy);
  EXPECT_FALSE(opened.At(folder + "\\A\\B\\One").connected);
  EXPECT_FALSE(opened.At(folder + "\\A\\B\\One\\Below").connected);
  EXPECT_TRUE(opened.At("A\\B\\Kept").connected);
  // A copy shows what its key shows, but walks meet each key once.
  EXPECT_EQ(opened.Values(folder + "\\A\\B"), Texts{"own=value of B"});
  EXPECT_EQ(ItemOfPosition(opened.tree, built.PositionOf("A\\B")), opened.Item("A\\B"));
  uint32_t keys = 0;
  for (uint32_t i = 0; i < opened.tree.items.size(); ++i) keys += IsKeyItem(opened.tree, i);
  EXPECT_EQ(keys, opened.summary.keys);
  const OutputListPtr values = ListKeyValues(opened.hive, opened.tree, kNoItem, {});
  EXPECT_EQ(RowCount(*values), 8u);

  const OutputListPtr tree = ListKeyTree(opened.hive, opened.tree, 0);
  ASSERT_EQ(RowCount(*tree), opened.summary.keys);
  for (uint32_t row = 0; row < RowCount(*tree); ++row) {
    if (!CellText(*tree, row, 0).ends_with("B\\Two")) continue;
    EXPECT_EQ(CellText(*tree, row, 2), Formatted("0x%08X", built.PositionOf("A\\B")));
    EXPECT_EQ(CellText(*tree, row, 6), "0");
  }
}

// --- nothing invented --------------------------------------------------------------------------

TEST(Relations, NothingIsInvented) {
  const auto unlinked_with_parent = [](const auto& place) {
    return [place](BuiltHive& h) {
      h.Unlink("A\\Alpha").Link(h.PositionOf("A\\Alpha"), field::kKeyParent, place(h));
    };
  };
  const auto entry_to = [](const auto& place) {
    return [place](BuiltHive& h) { h.Link(h.EntryPosition("A", 0), 0, place(h)); };
  };
  const auto value = [](const BuiltHive& h) { return h.ValuePosition("A\\Bravo", "v2"); };
  const auto in_value = [value](const BuiltHive& h) { return value(h) + 8; };
  const auto in_list = [](const BuiltHive& h) { return h.ListPosition("A") + 8; };
  const auto in_security = [](const BuiltHive& h) { return h.SecurityPosition() + 24; };
  const auto in_key = [](const BuiltHive& h) { return h.PositionOf("A\\Bravo") + 16; };
  const auto in_header = [](const BuiltHive& h) { return h.BinPosition(0) + 8; };
  const auto in_base = [](const BuiltHive&) { return 512U; };
  const auto at_the_end = [](const BuiltHive& h) {
    return static_cast<uint32_t>(h.bytes.size()) - 72;
  };
  const auto in_free_space = [](const BuiltHive& h) {
    return h.PositionOf("A\\Alpha") + h.CellLength(h.PositionOf("A\\Alpha")) + 160;
  };
  const std::vector<std::pair<const char*, Damage>> cases = {
      {"list pointer to a security cell",
       [](BuiltHive& h) { h.Link(h.PositionOf("A"), field::kKeyList, h.SecurityPosition()); }},
      {"list pointer to a list of nothing",
       [](BuiltHive& h) {
         const uint32_t pool = h.TaggedPosition("pool");
         h.SetBytes(pool, 4, Bytes{'l', 'f', 8, 0}).Link(h.PositionOf("A"), field::kKeyList, pool);
         for (uint32_t i = 0; i < 8; ++i) h.SetU32(pool, 8 + 8 * i, 0x400 + 64 * i);
       }},
      {"list count too large",
       [](BuiltHive& h) { h.SetU16(h.ListPosition("A"), field::kListCount, 0x7000); }},
      {"listed key, parent in free space",
       [&](BuiltHive& h) {
         h.Link(h.PositionOf("A\\Charlie"), field::kKeyParent, in_free_space(h));
       }},
      {"listed key, odd parent",
       [](BuiltHive& h) { h.SetU32(h.PositionOf("A\\Alpha"), field::kKeyParent, 0x333); }},
      {"every listed key, parents at random",
       [](BuiltHive& h) {
         uint32_t parent = 0x64;
         for (const char* path : {"A", "A\\Alpha", "A\\Bravo", "A\\Bravo\\Below", "Other"}) {
           h.SetU32(h.PositionOf(path), field::kKeyParent, parent += 200);
         }
       }},
      {"parent a value", unlinked_with_parent(value)},
      {"parent inside a value", unlinked_with_parent(in_value)},
      {"parent inside a list", unlinked_with_parent(in_list)},
      {"parent inside a security cell", unlinked_with_parent(in_security)},
      {"parent inside a key", unlinked_with_parent(in_key)},
      {"parent inside a bin header", unlinked_with_parent(in_header)},
      {"parent in the base block", unlinked_with_parent(in_base)},
      {"parent in the last bytes", unlinked_with_parent(at_the_end)},
      {"entry names a value", entry_to(value)},
      {"entry into a value", entry_to(in_value)},
      {"entry into a list", entry_to(in_list)},
      {"entry into a security cell", entry_to(in_security)},
      {"entry into a key", entry_to(in_key)},
      {"entry into a bin header", entry_to(in_header)},
      {"entry to the last bytes", entry_to(at_the_end)}};
  for (const auto& [what, damage] : cases) {
    for (const List list : {List::kLf, List::kLh}) {
      SCOPED_TRACE(what);
      OpenedHive opened(Family(list, damage));
      EXPECT_EQ(VirtualKeys(opened), 0u) << ::testing::PrintToString(opened.Paths());
      EXPECT_EQ(opened.summary.keys, kFamilyKeys);
    }
  }
}

// --- evidence ----------------------------------------------------------------------------------

TEST(Relations, DetailNamesTheEvidence) {
  const BuiltHive sound = Family(List::kLf);
  const uint32_t a = sound.PositionOf("A");
  const uint32_t alpha = sound.PositionOf("A\\Alpha");
  const std::string entry_of_a = At("list entry", sound.OwnEntryPosition("A"), " names this key");
  const std::string entry_of_alpha =
      At("list entry", sound.OwnEntryPosition("A\\Alpha"), " names this key");
  const auto leads = [&](uint32_t position, const std::string& name) {
    return At("parent field", alpha + 20, At(" leads to", position, ", " + name).erase(9, 3));
  };
  struct Case {
    const char* what;
    Damage damage;
    const char* path;
    Texts evidence;
  };
  const std::vector<Case> cases = {
      {"sound", {}, "A\\Alpha", {entry_of_alpha, leads(a, "\"A\"")}},
      {"child",
       [](BuiltHive& h) { Wipe(h, "A\\Alpha"); },
       "A\\Alph",
       {entry_of_alpha, At("name hint", sound.OwnEntryPosition("A\\Alpha") + 4)}},
      {"parent",
       [](BuiltHive& h) { Wipe(h, "A"); },
       "Unnamed(01)",
       {entry_of_a, At("parent field", alpha + 20, " names this place")}},
      {"sibling",
       [](BuiltHive& h) {
         Wipe(h, "A");
         Wipe(h, "A\\Alpha");
       },
       "Unnamed(01)\\Alph",
       {At("list entry", sound.OwnEntryPosition("A\\Alpha"), " names this place"),
        At("name hint", sound.OwnEntryPosition("A\\Alpha") + 4)}},
      {"parent from the siblings",
       [&](BuiltHive& h) {
         Wipe(h, "A");
         h.Link(alpha, field::kKeyParent, h.ValuePosition("A\\Alpha", "v1"));
       },
       "Unnamed(01)\\Alpha",
       {leads(sound.ValuePosition("A\\Alpha", "v1"), "no key"),
        At("list entry", sound.OwnEntryPosition("A\\Alpha"), " gives the parent")}},
      {"value list",
       [&](BuiltHive& h) { h.FlipBit(alpha + field::kKeyValueList, 12); },
       "A\\Alpha",
       {entry_of_alpha, leads(a, "\"A\""),
        At("value list", sound.ValueListPosition("A\\Alpha"),
           ", one bit away from the stored offset")}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    OpenedHive opened(Family(List::kLf, c.damage));
    ASSERT_TRUE(opened.Has(c.path)) << ::testing::PrintToString(opened.Paths());
    EXPECT_EQ(EvidenceOf(opened, c.path), c.evidence);
  }
}

// The first line of the details of what is not simply there.
TEST(Relations, DetailSaysWhyAKeyIsHere) {
  const BuiltHive sound = Family(List::kLf);
  const uint32_t alpha = sound.PositionOf("A\\Alpha");
  const uint32_t entry = sound.OwnEntryPosition("A\\Alpha");
  const std::string field =
      At("No list names this key. Its parent field", alpha + field::kKeyParent);
  const struct {
    const char* what;
    Damage damage;
    const char* path;
    std::string why;
  } cases[] = {
      {"sound", {}, "A\\Alpha", ""},
      {"lost list", [](BuiltHive& h) { h.Zero(h.ListPosition("A") + 4, 24); }, "A\\Alpha",
       field + " names ...\\A, whose list of subkeys is lost or incomplete."},
      {"unlinked", [](BuiltHive& h) { h.Unlink("A\\Alpha"); }, "Disconnected Keys\\A\\Alpha",
       field +
           " names ...\\A, whose list of subkeys is whole and does not name it: it was unlinked "
           "there."},
      {"unlinked from the root", [](BuiltHive& h) { h.Unlink("Other"); },
       "Disconnected Keys\\Other",
       At("No list names this key. Its parent field", sound.PositionOf("Other") + field::kKeyParent,
          " names the root, whose list of subkeys is whole and does not name it: it was unlinked "
          "there.")},
      {"no parent left",
       [&](BuiltHive& h) { h.Unlink("A\\Alpha").SetU32(alpha, field::kKeyParent, 0xFFFFFFFF); },
       "Disconnected Keys\\Alpha", field + " leads to no key that is left."},
      {"made", [](BuiltHive& h) { Wipe(h, "A\\Alpha"); }, "A\\Alph",
       At("The list of the key above names this place (", entry,
          "); no key is there any more. Of its name only the four "
          "characters are left that its list entry has.")
           .erase(44, 1)},
      {"found list", [&](BuiltHive& h) { h.FlipBit(alpha + field::kKeyValueList, 12); }, "A\\Alpha",
       "Its value list was found again: the stored offset leads to none."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    OpenedHive opened(Family(List::kLf, c.damage));
    ASSERT_TRUE(opened.Has(c.path)) << ::testing::PrintToString(opened.Paths());
    EXPECT_EQ(WhyKeyIsHere(opened.hive, opened.tree, opened.Item(c.path)), c.why);
    const std::string detail = KeyDetail(opened.hive, opened.tree, opened.Item(c.path));
    EXPECT_EQ(detail.starts_with("Why here: "), !c.why.empty());
  }
}

TEST(Relations, RecoveredKeysAreFoundOneAfterAnother) {
  OpenedHive opened(Family(List::kLf, [](BuiltHive& h) {
    h.Unlink("Other");
    Wipe(h, "A\\Alpha");
  }));
  const uint32_t made = opened.Item("A\\Alph");
  const uint32_t unlinked = opened.Item("Disconnected Keys\\Other");
  const KeyTree& tree = opened.tree;
  const auto find = [&tree](uint32_t from, bool down) {
    return FindRecovered(tree, nullptr, {from, false}, down);
  };
  EXPECT_EQ(find(0, true).place.item, made);
  EXPECT_EQ(find(kNoItem, true).place.item, made);
  EXPECT_FALSE(find(kNoItem, true).passed);
  EXPECT_EQ(find(made, true).place.item, unlinked);
  const FoundRecovered values = find(unlinked, true);
  EXPECT_EQ(values.place.item == made, tree.disconnected_value_positions.empty());
  EXPECT_EQ(find(unlinked, false).place.item, made);
  EXPECT_TRUE(find(made, false).passed);
  HideBranch(opened.tree, unlinked);
  HideBranch(opened.tree, made);
  opened.tree.disconnected_value_positions.clear();
  EXPECT_EQ(find(0, true).place.item, kNoItem);
}

TEST(Relations, DetailSaysWhatAKeyWasMadeFor) {
  OpenedHive opened(Family(List::kLf, [](BuiltHive& h) {
    Wipe(h, "A");
    Wipe(h, "A\\Alpha");
  }));
  const auto detail = [&](const char* path) {
    return KeyDetail(opened.hive, opened.tree, opened.Item(path));
  };
  EXPECT_NE(detail("Unnamed(01)").find("Made for: Unnamed(01) (Bravo)"), std::string::npos)
      << detail("Unnamed(01)");
  EXPECT_NE(detail("Unnamed(01)\\Alph").find("Made for: Alph (Lh2:666C-3:0)"), std::string::npos)
      << detail("Unnamed(01)\\Alph");
}

}  // namespace
// What is at the place of a made key is some other record, or nothing: none of its bytes are a
// value count, a value list or a date.
TEST(Relations, MadeKeysHaveNoValuesAndNoDate) {
  HiveBuilder builder;
  builder.Key("A\\Lost").Sz("one", "1").Sz("two", "2");
  builder.Key("A\\Kept");
  BuiltHive built = builder.Build();
  const uint32_t place = built.PositionOf("A\\Lost");
  built.SetU16(place, field::kSignature, 0);
  built.SetU16(place, field::kKeyFlags, 0xFFFF);
  OpenedHive opened(built);
  const uint32_t item = ItemOfPosition(opened.tree, place);
  ASSERT_NE(item, kNoItem);
  EXPECT_NE(opened.tree.items[item].marks & kVirtualMarks, 0);
  const ItemValues values = ShowItemValues(opened.hive, opened.tree, item, {});
  EXPECT_TRUE(values.value_positions.empty());
  ASSERT_EQ(values.info_rows.size(), 1u);
  EXPECT_EQ(values.info_rows[0].name, "(No values set)");
  EXPECT_EQ(opened.summary.disconnected_values, 2u) << "its values are nobody's now";
  const OutputListPtr list = ListKeyTree(opened.hive, opened.tree, item);
  EXPECT_EQ(CellText(*list, 0, 3), "");
  EXPECT_FALSE(FactsOfRow(*list, 0).about_key);
}

}  // namespace hivequarry::testing
