// Records that somebody wrote into the data of a value, where anybody may write who may write the
// value: keys, values, lists, roots and whole hives. None of them is a record of the hive, and none
// ends it.
#include <gtest/gtest.h>

#include <functional>

#include "records/name_hash.h"
#include "recovery/root_search.h"
#include "reports/hive_lists.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

constexpr uint64_t kPlantedTime = 0x01D4F64D00000000;  // in April 2019
constexpr uint32_t kRootOffset = 0x20;

struct Fake {
  std::string name = "FakeName";
  uint16_t flags = 0x20;
  uint32_t parent = kRootOffset;
  uint16_t name_length = 0;  // 0: the name's own
};

// A key's record without its size field: what data begin with that look like a key.
Bytes FakeKey(const Fake& fake) {
  Bytes record(76);
  record[0] = 'n';
  record[1] = 'k';
  PutU16(record, 2, fake.flags);
  PutU32(record, 4, static_cast<uint32_t>(kPlantedTime));
  PutU32(record, 8, static_cast<uint32_t>(kPlantedTime >> 32));
  PutU32(record, 16, fake.parent);
  for (const uint32_t none : {28U, 32U, 40U, 44U, 48U}) PutU32(record, none, kNone);
  const size_t length = fake.name_length != 0 ? fake.name_length : fake.name.size();
  PutU16(record, 72, static_cast<uint16_t>(length));
  record.insert(record.end(), fake.name.begin(), fake.name.end());
  return record;
}

Bytes FakeValue(std::string_view name) {
  Bytes record(20);
  record[0] = 'v';
  record[1] = 'k';
  PutU16(record, 2, static_cast<uint16_t>(name.size()));
  PutU32(record, 4, 0x80000004);
  PutU32(record, 8, 7);
  PutU32(record, 12, 4);
  PutU16(record, 16, 1);
  record.insert(record.end(), name.begin(), name.end());
  return record;
}

// The record as a cell of its own, as it has to look inside of data.
Bytes Cell(Bytes record) {
  record.resize((record.size() + 4 + 7) / 8 * 8 - 4);
  Bytes cell(4);
  PutU32(cell, 0, 0U - static_cast<uint32_t>(record.size() + 4));
  cell.insert(cell.end(), record.begin(), record.end());
  return cell;
}

// The same cell again and again over `size` bytes.
Bytes Repeated(const Bytes& cell, size_t size) {
  Bytes bytes;
  while (bytes.size() + cell.size() <= size) bytes.insert(bytes.end(), cell.begin(), cell.end());
  return bytes;
}

// Before, around and after the place where something is planted there are keys to lose. The value
// "blob" of "Victim" has the data.
BuiltHive Planted(const Bytes& data) {
  HiveBuilder builder;
  for (int i = 0; i < 20; ++i) builder.Key("Before" + std::to_string(i)).Sz("v", "text");
  builder.Key("Victim").Value("blob", kRegBinary, data);
  for (int i = 0; i < 60; ++i) builder.Key("Later" + std::to_string(i)).NewBin().Sz("v", "text");
  return builder.Build();
}
constexpr uint32_t kSoundKeys = 82;
constexpr uint32_t kSoundValues = 81;

// Everything as it was before something was planted, and nothing else.
void ExpectSound(const OpenedHive& opened) {
  EXPECT_EQ(opened.summary.connected_keys, kSoundKeys);
  EXPECT_EQ(opened.summary.disconnected_keys, 0u);
  EXPECT_EQ(opened.summary.keys, kSoundKeys);
  EXPECT_EQ(opened.summary.disconnected_values, 0u);
  EXPECT_EQ(opened.summary.values, kSoundValues);
  EXPECT_EQ(opened.summary.virtual_parents, 0u);
  EXPECT_EQ(opened.summary.virtual_children, 0u);
  EXPECT_EQ(opened.summary.virtual_siblings, 0u);
  EXPECT_EQ(opened.hive.length, opened.hive.held);
  EXPECT_TRUE(opened.host.messages.empty());
  for (const KeyItem& item : opened.tree.items) EXPECT_EQ(item.marks, 0) << item.position;
}

Bytes Blockheader(uint32_t own_offset, uint32_t size) {
  Bytes header(32);
  std::copy_n("hbin", 4, header.begin());
  PutU32(header, 4, own_offset);
  PutU32(header, 8, size);
  return header;
}

Bytes WholeHive() {
  HiveBuilder builder("PLANTED");
  for (int i = 0; i < 50; ++i) builder.Key("P" + std::to_string(i)).Sz("v", "planted");
  return builder.Build().bytes;
}

struct Plant {
  const char* what;
  Bytes data;
};

std::vector<Plant> Plants() {
  const Bytes root = FakeKey({.name = "ROOT2", .flags = 0x2C});
  const Bytes key = FakeKey({});
  const Bytes hive = WholeHive();
  // The data begin 4 bytes after a multiple of 8: filled up to the next one.
  const auto aligned = [](const Bytes& bytes, size_t before = 4) {
    return Joined({Bytes(before, 0x11), bytes});
  };
  Bytes eight = {0xF8, 0xFF, 0xFF, 0xFF, 'n', 'k', 0x2C, 0};
  Bytes list = {'l', 'f', 2,    0,    0x20, 0x01, 0,   0,   'F', 'a',
                'k', 'e', 0x40, 0x02, 0,    0,    'F', 'a', 'l', 's'};
  std::vector<Plant> plants = {
      {"a key", key},
      {"a key whose name runs on", FakeKey({.name_length = 49270})},
      {"a key of a place where nothing is", FakeKey({.parent = 0x9000})},
      {"a key of a made parent in the data", FakeKey({.parent = 0x7FF8})},
      {"a value", FakeValue("FAKE")},
      {"a value inside", aligned(Cell(FakeValue("FAKE")))},
      {"a list", list},
      {"a root", root},
      {"eight bytes", aligned(eight)},
      {"eight bytes in much data", aligned(Repeated(eight, 5000))},
      {"96 roots of eight bytes", aligned(Repeated(eight, 768))},
      {"keys in much data", aligned(Repeated(Cell(key), 12000))},
      {"roots in much data", aligned(Repeated(Cell(root), 12000))},
      {"values in much data", aligned(Repeated(Cell(FakeValue("FAKE")), 12000))},
      {"keys in segments", aligned(Repeated(Cell(key), 60000))},
      {"a block header and a root",
       aligned(Joined({Bytes(5000), Blockheader(0, 4096), Cell(root), Bytes(200)}))},
      {"a large block and a cell that takes in the rest",
       aligned(Joined({Bytes(6000), Blockheader(0, 0x10000000),
                       Bytes{0, 0, 0, 0xFF, 'n', 'k', 0x20, 0}, Bytes(500)}))}};
  for (const size_t before : {4U, 300U, 4028U, 4060U, 4068U, 16340U}) {
    plants.push_back({"a whole hive", aligned(hive, before)});
  }
  plants.push_back(
      {"a hive without its base block", aligned(Bytes(hive.begin() + 4096, hive.end()))});
  plants.push_back({"many hives", aligned(Joined({hive, hive, hive, hive}))});
  return plants;
}

TEST(Planted, InDataOfALiveValue) {
  for (const Plant& plant : Plants()) {
    SCOPED_TRACE(plant.what + std::string(", ") + std::to_string(plant.data.size()));
    OpenedHive opened(Planted(plant.data));
    ExpectSound(opened);
    EXPECT_EQ(opened.Values("Victim").size(), 1u);
  }
}

// At every place of a page, so that no boundary of cell, page or segment is left out.
TEST(Planted, HiveAtAnyPlaceOfTheData) {
  const Bytes hive = WholeHive();
  for (size_t before = 4; before < 4096; before += 8 * 37) {
    for (const size_t behind : {0U, 40000U}) {
      SCOPED_TRACE(before);
      OpenedHive opened(Planted(Joined({Bytes(before, 0x11), hive, Bytes(behind, 0x22)})));
      ExpectSound(opened);
    }
  }
}

// Aligned with the file's pages, as a carver would find it.
TEST(Planted, HiveOnAPageOfTheFile) {
  const Bytes hive = WholeHive();
  const uint32_t data = [] {
    const BuiltHive probe = Planted(Bytes(30000));
    return probe.DataPosition("Victim", "blob") + 4;
  }();
  for (const uint32_t shift : {0U, 8U, 4064U}) {
    SCOPED_TRACE(shift);
    const uint32_t before = (4096 - data % 4096 + shift) % 4096;
    OpenedHive opened(Planted(Joined({Bytes(before), hive, Bytes(30000 - hive.size() - before)})));
    ExpectSound(opened);
  }
}

// The same while the hive has damage of its own, so that repair runs.
TEST(Planted, InADamagedHive) {
  for (const Plant& plant : Plants()) {
    SCOPED_TRACE(plant.what + std::string(", ") + std::to_string(plant.data.size()));
    BuiltHive built = Planted(plant.data);
    built.Unlink("Before3").SetU32(built.PositionOf("Before5"), field::kKeyParent, 0x123);
    OpenedHive opened(built);
    EXPECT_EQ(opened.summary.connected_keys, kSoundKeys - 1);
    EXPECT_EQ(opened.summary.keys, kSoundKeys);
    EXPECT_EQ(opened.summary.disconnected_values, 0u);
    EXPECT_EQ(opened.hive.length, opened.hive.held);
    EXPECT_TRUE(opened.Has("Disconnected Keys\\Before3"));
  }
}

// Keys of the data that name each other hang from nothing.
TEST(Planted, RingOfKeys) {
  BuiltHive built = Planted(Bytes(12000, 0x11));
  const uint32_t at = built.DataPosition("Victim", "blob") + 8;
  const uint32_t second = at + 200;
  const uint32_t lists[2] = {at + 96, second + 96};
  for (int i = 0; i < 2; ++i) {
    const uint32_t key = i == 0 ? at : second;
    const uint32_t other = i == 0 ? second : at;
    built.SetBytes(key, 0, Cell(FakeKey({.parent = other - kDataArea})));
    built.SetU32(key, field::kKeySubkeys, 1).Link(key, field::kKeyList, lists[i]);
    built.SetU32(lists[i], 0, 0U - 16).SetBytes(lists[i], 4, Bytes{'l', 'i', 1, 0});
    built.Link(lists[i], 8, other);
  }
  ExpectSound(OpenedHive(built));
}

// A planted root and hive in free space: the value was deleted again.
TEST(Planted, InDataThatWereFreed) {
  for (const Bytes& data :
       {Joined({Bytes(4), WholeHive()}),
        Joined({Bytes(4), Repeated({0xF8, 0xFF, 0xFF, 0xFF, 'n', 'k', 0x2C, 0}, 9000)})}) {
    BuiltHive built = Planted(data);
    built.Free(built.DataPosition("Victim", "blob"));
    OpenedHive opened(built);
    EXPECT_EQ(opened.summary.connected_keys, kSoundKeys);
    EXPECT_EQ(opened.hive.length, opened.hive.held);
    EXPECT_TRUE(opened.host.messages.empty());
  }
}

TEST(Planted, InClassNamesAndValueNames) {
  const Bytes root = FakeKey({.name = "ROOT2", .flags = 0x2C});
  HiveBuilder builder;
  builder.Key("A").Class(std::string(600, 'c')).Sz(std::string(200, 'n'), "x");
  builder.Key("Later").Sz("v", "text");
  BuiltHive built = builder.Build();
  const uint32_t names[] = {built.ClassPosition("A"),
                            built.ValuePosition("A", std::string(200, 'n')) + 24};
  built.SetBytes(names[0], 4, root).SetBytes(names[0], 204, Cell(root));
  built.SetBytes(names[1], 4, Cell(root));
  OpenedHive opened(built);
  EXPECT_EQ(opened.summary.keys, 3u);
  EXPECT_EQ(opened.summary.disconnected_keys, 0u);
  EXPECT_EQ(opened.hive.length, opened.hive.held);
  EXPECT_EQ(opened.Values("Later"), Texts{"v=text"});
}

// A real key that nothing lists stays, before, after and between planted ones.
TEST(Planted, RealDisconnectedKeysStay) {
  HiveBuilder builder;
  builder.Key("Victim").Value("blob", kRegBinary, FakeKey({}));
  builder.Key("Lost").Sz("v", "kept").Value("blob", kRegBinary, FakeKey({.name = "Other"}));
  builder.Key("Last").Value("blob", kRegBinary, FakeValue("FAKE"));
  BuiltHive built = builder.Build();
  built.Unlink("Lost");
  OpenedHive opened(built);
  EXPECT_TRUE(opened.Has("Disconnected Keys\\Lost"));
  EXPECT_FALSE(opened.Has("Disconnected Keys\\FakeName"));
  EXPECT_EQ(opened.summary.disconnected_values, 0u);
  // The data of a key that is only recovered prove no less than what is in them.
  ASSERT_TRUE(opened.Has("Disconnected Keys\\Other"));
  const KeyItem& other = opened.At("Disconnected Keys\\Other");
  EXPECT_NE(other.marks & kMarkShared, 0);
  EXPECT_EQ(StatusText(other.marks), "by parent field, shared bytes");
  const uint32_t value = built.ValuePosition("Lost", "blob");
  EXPECT_EQ(opened.tree.shared_bytes.at(value), other.position);
  const OutputListPtr detail = ListDetail(opened.hive, opened.tree, value);
  EXPECT_EQ(CellText(*detail, 2, 0), "Shared");
}

TEST(Planted, KeysThatOverlapLiveRecordsAreNone) {
  HiveBuilder builder;
  builder.Key("A").CellBehind("pool", FakeKey({.name_length = 300}));
  builder.Key("B").Sz("v", "x");
  builder.Key("C").CellBehind("good", FakeKey({.name = "Good"}));
  OpenedHive opened(builder.Build());
  EXPECT_EQ(opened.summary.keys, 5u);
  EXPECT_TRUE(opened.Has("Disconnected Keys\\Good"));
}

// --- other hives and lost roots ----------------------------------------------------------------

TEST(Planted, InfoTellsWhereTheImageEnds) {
  const Bytes first = Planted(Bytes(100)).bytes;
  for (const bool base : {true, false}) {
    const Bytes second = WholeHive();
    const Bytes rest(second.begin() + (base ? 0 : 4096), second.end());
    OpenedHive opened{std::span<const uint8_t>(Joined({first, rest}))};
    const ImageCut cut = CutOf(opened.hive);
    EXPECT_EQ(cut.at, first.size() + (base ? 4128 : 32));
    EXPECT_EQ(cut.rest, cut.at - 4128);
    EXPECT_STREQ(cut.reason, base ? "another hive begins: its base block"
                                  : "another hive begins: its first block");
    EXPECT_EQ(opened.summary.connected_keys, kSoundKeys);
  }
  OpenedHive whole{std::span<const uint8_t>(first)};
  EXPECT_EQ(CutOf(whole.hive).at, 0u);
}

TEST(LostRoot, NoiseIsNoRoot) {
  HiveBuilder builder("RealRoot");
  builder.FileName("\\System32\\Config\\SOFTWARE");
  for (int i = 0; i < 30; ++i) builder.Key("K" + std::to_string(i)).NewBin().Sz("v", "text");
  builder.Key("K1\\Below").Sz("w", "deep");
  const BuiltHive sound = builder.Build();
  const uint32_t root = sound.PositionOf("");
  struct Case {
    const char* what;
    uint32_t begin, end;
    bool base_block;
  };
  for (const Case& c :
       {Case{"the first block", 4096, 8192, true}, Case{"the root's cell", root, root + 96, true},
        Case{"all but the block's header", 4128, 8192, true},
        Case{"the first block, without a base block", 4096, 8192, false}}) {
    for (uint32_t seed = 1; seed <= 20; ++seed) {
      SCOPED_TRACE(c.what + std::to_string(seed));
      BuiltHive built = sound;
      uint32_t state = seed;
      for (uint32_t at = c.begin; at < c.end; ++at) {
        state = state * 1664525 + 1013904223;
        built.bytes[at] = static_cast<uint8_t>(state >> 24);
      }
      if (!c.base_block) built.DropBaseBlock();
      OpenedHive opened(built);
      EXPECT_TRUE(opened.summary.root_made);
      EXPECT_EQ(opened.tree.items[0].marks & kMarkParent, kMarkParent);
      EXPECT_EQ(StatusText(opened.tree.items[0].marks), "recovered parent");
      EXPECT_EQ(opened.tree.root_text, c.base_block ? "HKLM\\SOFTWARE" : "ROOT");
      EXPECT_EQ(opened.Values("K7"), Texts{"v=text"});
      EXPECT_EQ(opened.Values("K1\\Below"), Texts{"w=deep"});
      EXPECT_EQ(opened.tree.items[0].position, root - (c.base_block ? 0 : 4096));
    }
  }
}

TEST(LostRoot, RemainsAreEnough) {
  HiveBuilder builder("RealRoot");
  builder.Key("A").Sz("v", "x");
  const BuiltHive sound = builder.Build();
  const uint32_t root = sound.PositionOf("");
  const std::pair<uint32_t, uint32_t> lost[] = {{0, 8},   {0, 24},  {4, 20},
                                                {48, 88}, {76, 88}, {32, 36}};
  for (const auto& [begin, end] : lost) {
    SCOPED_TRACE(begin);
    BuiltHive built = sound;
    for (uint32_t at = begin; at < end; ++at)
      built.bytes[root + at] = static_cast<uint8_t>(0x91 + 7 * at);
    OpenedHive opened(built);
    EXPECT_FALSE(opened.summary.root_made);
    EXPECT_EQ(opened.Values("A"), Texts{"v=x"});
    EXPECT_TRUE(opened.tree.root_text == "RealRoot" || opened.tree.root_text == "ROOT");
  }
}

TEST(LostRoot, StoredNameThatIsNoHiveOfTheSystem) {
  HiveBuilder builder("RealRoot");
  builder.FileName("\\Users\\Robin\\Own Hive.dat");
  builder.Key("A\\B").NewBin().Sz("v", "x");
  BuiltHive built = builder.Build();
  built.Zero(built.PositionOf(""), 88);
  OpenedHive opened(built);
  EXPECT_EQ(opened.tree.root_text, "Own Hive.dat");
  EXPECT_EQ(opened.Values("A\\B"), Texts{"v=x"});
}

// --- keys that hang by their parent field ------------------------------------------------------

TEST(ParentField, RowsSaySo) {
  HiveBuilder builder;
  builder.Key("A\\Lost").Sz("v", "x");
  builder.Key("A\\Lost\\Below");
  BuiltHive built = builder.Build();
  built.Zero(built.ListPosition("A") + 4, 12);
  OpenedHive opened(built);
  const OutputListPtr rows = ListKeyTree(opened.hive, opened.tree, opened.Item("A"));
  ASSERT_EQ(RowCount(*rows), 3u);
  EXPECT_EQ(CellText(*rows, 1, 4), "by parent field");
  EXPECT_EQ(CellText(*rows, 1, 5), "2048");
  EXPECT_EQ(CellText(*rows, 2, 4), "") << "a list names it";
  EXPECT_TRUE(IsRecovered(opened.tree, opened.Item("A\\Lost")));
  EXPECT_TRUE(IsRecovered(opened.tree, opened.Item("A\\Lost\\Below")));
  EXPECT_FALSE(IsRecovered(opened.tree, opened.Item("A")));
}

// A parent remembers how long the longest name was that a subkey of it ever had.
TEST(ParentField, ParentThatNeverHadIt) {
  constexpr uint32_t kLongest = 56;
  struct Case {
    const char* what;
    uint16_t mark;
    bool other;  // another subkey is left
    bool hung;
  };
  for (const Case& c : {Case{"long enough", 40, true, true}, Case{"too short", 10, true, false},
                        Case{"not kept", 0, true, true}, Case{"wrong for its own", 4, true, true},
                        Case{"none left", 10, false, true}}) {
    SCOPED_TRACE(c.what);
    HiveBuilder builder;
    builder.Key("A\\A name of its own").Sz("v", "x");
    if (c.other) builder.Key("A\\Short");
    BuiltHive built = builder.Build();
    built.Unlink("A\\A name of its own");
    built.SetU16(built.PositionOf("A"), kLongest, c.mark);
    OpenedHive opened(built);
    const std::string path =
        c.hung ? "Disconnected Keys\\A\\A name of its own" : "Disconnected Keys\\A name of its own";
    ASSERT_TRUE(opened.Has(path)) << ::testing::PrintToString(opened.Paths());
    EXPECT_EQ((opened.At(path).marks & kMarkByParent) != 0, c.hung);
    EXPECT_EQ(opened.At(path).repairs, c.hung ? 0 : kRepairNotItsParent);
  }
}

// --- one rule for values that no key names -----------------------------------------------------

TEST(DisconnectedValues, CountedAsListed) {
  HiveBuilder builder;
  builder.Key("A").Binary("long", 100).Binary("freed", 100).Sz("plain", "x");
  BuiltHive built = builder.Build();
  built.SetU32(built.ValuePosition("A", "long"), field::kValueLength, 0x600000);
  built.Free(built.DataPosition("A", "freed"));
  built.SetU32(built.PositionOf("A"), field::kKeyValues, 0);
  OpenedHive opened(built);
  EXPECT_EQ(opened.summary.disconnected_values, 3u);
  EXPECT_EQ(RowCount(*ListDisconnectedValues(opened.hive, opened.tree, {})), 3u);
  EXPECT_EQ(opened.Values("Disconnected Values").size(), 4u);
}

// --- names -------------------------------------------------------------------------------------

// Hash, comparison and look-up use the system's capitals.
TEST(NameCase, CyrillicAndGreekNames) {
  EXPECT_EQ(hivequarry::NameHash(u"\u0436"), hivequarry::NameHash(u"\u0416"));
  EXPECT_EQ(hivequarry::NameHash(u"\u03C2\u03C3"), hivequarry::NameHash(u"\u03A3\u03A3"));
  EXPECT_EQ(hivequarry::NameHash(u"\u00DF"), 0xDFu);
  EXPECT_NE(hivequarry::NameHash(u"\u0131"), hivequarry::NameHash(u"I"));
  HiveBuilder builder;
  builder.Key("\xD0\x96\xD1\x83\xD0\xBA").Sz("v", "beetle");  // "Жук"
  builder.Key("\xD0\x9A\xD0\xBE\xD1\x82").Sz("v", "cat");     // "Кот"
  builder.Key("Caf\xC3\xA9").Sz("v", "bar");                  // "Café"
  OpenedHive opened(builder.Build());
  const auto found = [&](std::u16string_view path) {
    return FindItemByPath(opened.hive, opened.tree, TextOfWide(path));
  };
  EXPECT_NE(found(u"\u0436\u0423\u043A"), kNoItem);
  EXPECT_EQ(found(u"\u043A\u041E\u0422"), found(u"ROOT\\\u041A\u043E\u0442"));
  EXPECT_NE(found(u"\u0436\u0423\u043A"), found(u"\u043A\u041E\u0422"));
  EXPECT_EQ(found(u"\u0436"), kNoItem);
  EXPECT_EQ(opened.Item("CAF\xC3\x89"), found(u"caf\u00E9"));
}

}  // namespace
}  // namespace hivequarry::testing
