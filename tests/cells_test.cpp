// Bounded reads and the decoders of keys, lists and values, each on sound and damaged records.
#include <gtest/gtest.h>

#include <functional>

#include "app/opening_words.h"
#include "hive/bins.h"
#include "hive/image.h"
#include "hive/keys.h"
#include "hive/subkeys.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "records/cell.h"
#include "tests/support/opened_hive.h"
#include "words/bin_texts.h"

namespace hivequarry::testing {
namespace {

KeyNode Read(OpenedImage& image, uint32_t position, KeyRead how = KeyRead::kFields) {
  return ReadKeyNode(image.hive(), position, how);
}

TEST(BoundedReads, EndWithTheHive) {
  HiveBuilder builder;
  BuiltHive built = builder.Build();
  const auto length = static_cast<uint32_t>(built.bytes.size());
  built.SetU32(length - 8, 0, 0x11223344).SetU32(length - 4, 0, 0x55667788);
  OpenedImage image(built.bytes);
  const HiveImage& hive = image.hive();
  EXPECT_EQ(ReadU32(hive, length - 4), 0x55667788u);
  EXPECT_EQ(ReadU32(hive, length - 3), 0u);
  EXPECT_EQ(ReadU32(hive, length), 0u);
  EXPECT_EQ(ReadU32(hive, 0xFFFFFFFE), 0u);
  EXPECT_EQ(ReadU16(hive, length - 2), 0x5566u);
  EXPECT_EQ(ReadU16(hive, length - 1), 0u);
  EXPECT_EQ(ReadU16(hive, 0xFFFFFFFF), 0u);
  EXPECT_EQ(ReadU32BigEndian(ImageBytes(hive), length - 8), 0x44332211u);
  EXPECT_EQ(ReadU8(hive, length), 0u);
  uint8_t bytes[8] = {};
  EXPECT_EQ(ReadBytes(hive, length - 3, bytes, 8), 3u);
  EXPECT_EQ(ReadBytes(hive, 0xFFFFFFF0, bytes, 8), 0u);
}

TEST(FindNextCell, StepsByEightToPlausibleCells) {
  Bytes bytes(80 * 1024);
  const auto cell = [&bytes](uint32_t at, const char* signature, uint32_t size) {
    PutU32(bytes, at, size);
    bytes[at + 4] = static_cast<uint8_t>(signature[0]);
    bytes[at + 5] = static_cast<uint8_t>(signature[1]);
  };
  cell(0, "nk", 0U - 96);
  cell(64, "vk", 12);           // no multiple of 8
  cell(128, "vk", 0);           // no size
  cell(196, "vk", 0U - 32);     // between the steps
  cell(256, "sk", 0x80000000);  // too large
  cell(320, "db", 0U - 16);     // never met on its own
  cell(384, "lk", 0U - 96);
  cell(512, "lh", 64);  // a free cell counts
  cell(600, "ri", 0U - 4096);
  cell(600 + 65512, "li", 0U - 16);
  OpenedImage image(bytes);
  const ByteView all = ImageBytes(image.hive());
  const auto end = static_cast<uint32_t>(bytes.size());
  EXPECT_EQ(FindNextCell(all, 0, end, 8192), 512u);
  EXPECT_EQ(FindNextCell(all, 512, end, 8192), 600u);
  EXPECT_EQ(FindNextCell(all, 600, end, 8192), 66112u) << "65512 is the last step tried";
  EXPECT_EQ(FindNextCell(all, 592, end, 4088), 0u) << "600 is longer than the limit";
  EXPECT_EQ(FindNextCell(all, 0, 519, 8192), 0u) << "no room for the header before the end";
  EXPECT_EQ(FindNextCell(all, 0, 520, 8192), 512u);
  EXPECT_EQ(FindNextCell(all, 0xFFFFFFF8, 0xFFFFFFFF, 8192), 0u);
}

TEST(KeyNode, FieldsOfASoundKey) {
  HiveBuilder builder;
  builder.Key("A\\B").Time(FileTime(2008, 5, 17, 13, 2, 9)).Class("Shell").Dword("v", 1);
  builder.Key("A\\B\\C");
  BuiltHive built = builder.Build();
  OpenedImage image(built.bytes);
  const KeyNode key = Read(image, built.PositionOf("A\\B"), KeyRead::kLinks);
  EXPECT_EQ(key.state, KeyState::kAllocated);
  EXPECT_EQ(key.name, "B");
  EXPECT_EQ(key.last_write, FileTime(2008, 5, 17, 13, 2, 9));
  EXPECT_EQ(key.parent, built.PositionOf("A"));
  EXPECT_EQ(key.subkey_count, 1u);
  EXPECT_EQ(key.subkey_list, built.ListPosition("A\\B"));
  EXPECT_EQ(key.value_list, built.ValueListPosition("A\\B"));
  EXPECT_EQ(key.security, built.SecurityPosition());
  EXPECT_EQ(key.class_name, built.ClassPosition("A\\B"));
  EXPECT_EQ(key.length, built.CellLength(key.position));
  EXPECT_EQ(key.list.first_entry, built.PositionOf("A\\B\\C"));
  EXPECT_EQ(ReadClassName(image.hive(), key), Utf16("Shell"));
  std::string name;
  EXPECT_EQ(ReadKeyParentAndName(image.hive(), key.position, name), key.parent);
  EXPECT_EQ(name, "B");
  EXPECT_EQ(Read(image, built.PositionOf("")).parent, kNoOffset) << "the root has no parent";
}

TEST(KeyNode, Names) {
  HiveBuilder builder;
  const std::string long_name(200, 'w');  // 400 bytes of UTF-16
  struct Case {
    std::string name;
    bool wide;
    std::string in_code_page;
  };
  const std::vector<Case> cases = {{"plain", false, "plain"},
                                   {"wide", true, "wide"},
                                   {"caf\xC3\xA9", false, "caf\xC3\xA9"},
                                   {"caf\xC3\xA9", true, "caf\xC3\xA9"},
                                   {"a\xD0\x96z", true, "a?z"},
                                   {"\xF0\x9F\x94\x91", true, "??"},
                                   {long_name, true, long_name},
                                   {std::string(300, 'n'), false, std::string(300, 'n')},
                                   {std::string(257, 'd'), true, std::string(257, 'd')}};
  std::vector<KeyRef> keys;
  for (const Case& c : cases) {
    keys.push_back(builder.Root().NewKey(c.name));
    if (c.wide) keys.back().Wide();
  }
  const BuiltHive built = builder.Build();
  OpenedImage image(built.bytes);
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(cases[i].name);
    const uint32_t position = built.PositionOf(keys[i]);
    EXPECT_EQ(Read(image, position).name, cases[i].name);
    ReadInCodePage(true);
    EXPECT_EQ(Read(image, position).name, cases[i].in_code_page);
    ReadInCodePage(false);
    const size_t stored = WideOfText(cases[i].name).size() * (cases[i].wide ? 2 : 1);
    EXPECT_EQ(ReadRawKeyName(image.hive(), position).size(), std::min<size_t>(stored, 510));
    EXPECT_EQ(ReadKeyName(image.hive(), position), cases[i].name);
  }
}

// Flags of a key say how its name is stored in one bit; others go with names of both kinds.
TEST(KeyNode, NamesByFlags) {
  struct Case {
    uint16_t flags;
    bool wide;
  };
  constexpr Case kCases[] = {{0x00, true},    {0x20, false}, {0x10, true}, {0x30, false},
                             {0x80, true},    {0xA0, false}, {0x90, true}, {0x1000, true},
                             {0x1020, false}, {0x04, false}, {0x01, false}};
  HiveBuilder builder;
  builder.Key("Name").Wide();
  BuiltHive built = builder.Build();
  const uint32_t cell = built.PositionOf("Name");
  for (const Case& c : kCases) {
    built.SetU16(cell, field::kKeyFlags, c.flags);
    OpenedImage image(built.bytes);
    EXPECT_EQ(ReadKeyName(image.hive(), cell) == "Name", c.wide) << c.flags;
    EXPECT_EQ(Read(image, cell).name == "Name", c.wide) << c.flags;
    EXPECT_EQ(WideKeyName(ImageBytes(image.hive()), cell, 8) == u"Name", c.wide) << c.flags;
  }
}

TEST(KeyNode, DamagedNames) {
  HiveBuilder builder;
  builder.Key("Zero").Wide();
  builder.Key("Long");
  BuiltHive built = builder.Build();
  const uint32_t zero = built.PositionOf("Zero");
  const uint32_t long_key = built.PositionOf("Long");
  built.SetU16(zero, field::kKeyName + 2, 0).SetU16(long_key, field::kKeyNameLength, 0xFFFF);
  // The short reader asks the whole flags word for the encoding, the long one its low byte.
  built.SetU16(built.PositionOf(""), field::kKeyFlags, 0x1000);
  OpenedImage image(built.bytes);
  EXPECT_TRUE(Read(image, zero).name_failed);
  EXPECT_EQ(Read(image, long_key).state, KeyState::kNotAKey) << "the name runs past the hive";
  EXPECT_EQ(CountUnits(Read(image, built.PositionOf("")).name), 2u);
  std::string name;
  ReadKeyParentAndName(image.hive(), built.PositionOf(""), name);
  EXPECT_EQ(name, "ROOT");
}

TEST(KeyNode, LongClassNameIsCut) {
  HiveBuilder builder;
  builder.Key("A").Class(std::string(300, 'c'));
  BuiltHive built = builder.Build();
  const uint32_t cell = built.PositionOf("A");
  struct Case {
    uint16_t length;
    size_t read;
  };
  for (const Case& c : {Case{100, 100}, Case{600, 510}, Case{1040, 510}, Case{1041, 510},
                        Case{0xFFFF, 510}, Case{0, 0}}) {
    built.SetU16(cell, field::kKeyClassLength, c.length);
    OpenedImage image(built.bytes);
    EXPECT_EQ(ReadClassName(image.hive(), Read(image, cell)).size(), c.read) << c.length;
  }
  built.SetU32(cell, field::kKeyClass, 0x7FFFFFF0);
  OpenedImage image(built.bytes);
  EXPECT_TRUE(ReadClassName(image.hive(), Read(image, cell)).empty());
}

TEST(KeyNode, StateByCellSize) {
  HiveBuilder builder;
  builder.Key("A");
  BuiltHive built = builder.Build();
  const uint32_t cell = built.PositionOf("A");
  built.Free(cell);
  OpenedImage freed(built.bytes);
  EXPECT_EQ(Read(freed, cell).state, KeyState::kFree);
  EXPECT_EQ(Read(freed, cell).name, "A");
  EXPECT_EQ(Read(freed, cell).length, 88u);
  for (const uint32_t outside : {static_cast<uint32_t>(built.bytes.size()) - 40, kNoOffset,
                                 0x80000000U, static_cast<uint32_t>(built.bytes.size())}) {
    EXPECT_EQ(Read(freed, outside).state, KeyState::kNotAKey);
  }
}

TEST(KeyNode, Classifier) {
  constexpr uint32_t kAllocated = 0U - 96;
  struct Case {
    const char* signature;
    uint16_t flags;
    uint32_t size;
    bool header;
    bool gate_open;
    int expected;
  };
  constexpr Case kCases[] = {
      {"nk", 0x20, kAllocated, true, false, 0},   {"nk", 0x2C, kAllocated, true, false, 0},
      {"nk", 0x00, kAllocated, true, false, 0},   {"nk", 0xA0, kAllocated, true, false, 0},
      {"nk", 0xAC, kAllocated, true, false, 0},   {"nk", 0x60, kAllocated, true, false, 0},
      {"nk", 0x1020, kAllocated, true, false, 0}, {"nk", 0x24, kAllocated, true, false, -1},
      {"nk", 0x24, kAllocated, true, true, 1},    {"nj", 0x20, kAllocated, true, true, 1},
      {"nj", 0x20, kAllocated, true, false, -1},  {"nj", 0x21, kAllocated, true, true, -1},
      {"nx", 0x2C, kAllocated, true, true, -1},   {"lk", 0x2A, kAllocated, true, false, 2},
      {"lk", 0x2C, kAllocated, true, false, -1},  {"vk", 0x20, kAllocated, true, true, -1},
      {"nk", 0x20, 0U - 0x10000, true, false, 0}, {"nk", 0x20, 0U - 0x10000, false, false, -1},
      {"nk", 0x20, 0U - 0xFFF8, false, false, 0}, {"nk", 0x20, 96, true, false, 0},
      {"nk", 0x20, 96, false, false, -1},         {"nk", 0x30, kAllocated, true, false, 0},
      {"nk", 0x10, kAllocated, true, false, 0},   {"nk", 0x1030, kAllocated, true, true, 0},
      {"nk", 0x34, kAllocated, true, false, -1}};
  HiveBuilder builder;
  builder.Key("A");
  BuiltHive built = builder.Build();
  const uint32_t cell = built.PositionOf("A");
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::string(c.signature) + " flags " + std::to_string(c.flags) + " size " +
                 std::to_string(c.size));
    const auto signature = static_cast<uint16_t>(c.signature[0] | c.signature[1] << 8);
    built.SetU32(cell, 0, c.size).SetU16(cell, 4, signature);
    built.SetU16(cell, field::kKeyFlags, c.flags);
    OpenedImage image(built.bytes);
    image.hive().header_valid = c.header;
    image.hive().tolerant_keys = c.gate_open;
    EXPECT_EQ(ClassifyKey(image.hive(), signature, c.flags, c.size, cell), c.expected);
  }
}

// --- subkey lists ----------------------------------------------------------------------------

struct ListCase {
  const char* what;
  List kind;
  uint8_t faults;
  uint16_t repair_code;
  uint32_t count;  // when diagnosing
  void (*damage)(BuiltHive& hive) = [](BuiltHive&) {};
};

constexpr uint32_t kOutside = 0x00FFFFF8;

const ListCase kListCases[] = {
    {"sound lh", List::kLh, 0, 0, 6},
    {"sound lf", List::kLf, 0, 0, 6},
    {"sound li", List::kLi, 0, 0, 6},
    {"sound ri of lh", List::kRiOfLh, 0, 0, 6},
    {"sound ri of li", List::kRiOfLi, 0, 0, 6},
    {"no list signature", List::kLh, kListFaultSignature, kRepairNoListSignature, 0,
     [](BuiltHive& h) { h.SetU16(h.ListPosition("A"), 4, 0x7878); }},
    {"ri of lf", List::kRiOfLf, kListFaultRiChild, kRepairRiChildSignature, 0},
    {"ri child without signature", List::kRiOfLh, kListFaultRiChild, kRepairRiChildSignature, 0,
     [](BuiltHive& h) { h.SetU16(h.ChildListPosition("A", 0), 4, 0); }},
    {"first ri child outside", List::kRiOfLh, kListFaultRiBounds, kRepairRiChildBounds, 0,
     [](BuiltHive& h) { h.SetU32(h.ListPosition("A"), 8, kOutside); }},
    {"second ri child outside", List::kRiOfLh, 0, kRepairRiLaterChildBounds, 6,
     [](BuiltHive& h) { h.SetU32(h.ListPosition("A"), 12, kOutside); }},
    {"sum of ri differs", List::kRiOfLh, 0, kRepairRiSumDiffers, 6,
     [](BuiltHive& h) { h.SetU16(h.ChildListPosition("A", 1), 6, 1); }},
    {"count differs", List::kLh, kListFaultCount, kRepairCountDiffers, 6,
     [](BuiltHive& h) { h.SetU32(h.PositionOf("A"), field::kKeySubkeys, 5); }},
    {"first entry outside", List::kLf, 0, kRepairFirstEntryBounds, 6,
     [](BuiltHive& h) { h.SetU32(h.EntryPosition("A", 0), 0, kOutside); }},
    {"first entry at the data area's start", List::kLi, 0, kRepairFirstEntryBounds, 6,
     [](BuiltHive& h) { h.SetU32(h.EntryPosition("A", 0), 0, 0); }},
    {"names its own key", List::kLh, 0, kRepairListNamesOwnKey, 6,
     [](BuiltHive& h) { h.Link(h.EntryPosition("A", 0), 0, h.PositionOf("A")); }},
    {"ri names its own key", List::kRiOfLi, 0, kRepairListNamesOwnKey, 6,
     [](BuiltHive& h) { h.Link(h.EntryPosition("A", 0), 0, h.PositionOf("A")); }},
    {"list outside", List::kLh, 0, 0, 0,
     [](BuiltHive& h) { h.SetU32(h.PositionOf("A"), field::kKeyList, kOutside); }}};

TEST(SubkeyLists, Diagnosis) {
  for (const ListCase& c : kListCases) {
    SCOPED_TRACE(c.what);
    HiveBuilder builder;
    KeyRef key = builder.Key("A").ListStyle(c.kind, 3);
    for (const char* name : {"key0", "key1", "key2", "key3", "key4", "key5"}) key.Key(name);
    BuiltHive built = builder.Build();
    c.damage(built);
    OpenedImage image(built.bytes);
    const uint32_t cell = built.PositionOf("A");
    const SubkeyListCheck check = Read(image, cell, KeyRead::kDiagnose).list;
    EXPECT_EQ(check.faults, c.faults);
    EXPECT_EQ(check.repair_code, c.repair_code);
    EXPECT_EQ(check.count, c.count);
    if (c.faults == 0 && c.repair_code == 0 && c.count != 0) {
      EXPECT_EQ(check.first_entry, built.PositionOf("A\\key0"));
      EXPECT_TRUE(c.kind != List::kLf || std::string(check.hint, check.hint + 4) == "key0");
    }
    if (c.faults != kListFaultCount) continue;
    // Outside recovery mode the smaller count is kept.
    const SubkeyListCheck plain = Read(image, cell, KeyRead::kLinks).list;
    EXPECT_EQ(plain.count, 5u);
    EXPECT_EQ(plain.repair_code, 0);
  }
}

TEST(SubkeyLists, EntriesAreReadAsFarAsTheyGo) {
  HiveBuilder builder;
  KeyRef key = builder.Key("A").ListStyle(List::kRiOfLh, 4);
  for (int i = 0; i < 10; ++i) key.NewKey("k" + std::to_string(i));
  const BuiltHive sound = builder.Build();
  const uint32_t list = sound.ListPosition("A");
  struct Case {
    const char* what;
    std::function<void(BuiltHive&)> damage;
    size_t entries;
    bool whole;
  };
  const std::vector<Case> cases = {
      {"sound", [](BuiltHive&) {}, 10, true},
      {"one child gone", [&](BuiltHive& h) { h.Zero(h.ChildListPosition("A", 1) + 4, 2); }, 6,
       false},
      {"a child that is the list itself", [&](BuiltHive& h) { h.Link(list, 12, list); }, 6, false},
      {"a child beyond the end", [&](BuiltHive& h) { h.SetU32(list, 8, 0x7FFFFFF8); }, 6, false},
      {"more children than the cell holds", [&](BuiltHive& h) { h.SetU16(list, 6, 0xFFFF); }, 10,
       false},
      {"more entries than the cell holds",
       [&](BuiltHive& h) { h.SetU16(h.ChildListPosition("A", 2), 6, 0xFFFF); }, 10, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    BuiltHive built = sound;
    c.damage(built);
    OpenedImage image(built.bytes);
    std::vector<SubkeyEntry> entries;
    uint32_t budget = 1000;
    EXPECT_EQ(ReadSubkeyList(image.hive(), list, budget, entries), c.whole);
    EXPECT_EQ(entries.size(), c.entries);
    EXPECT_LE(budget, 1000 - c.entries);
    for (const SubkeyEntry& entry : entries) EXPECT_EQ(entry.kind, ListKind::kLh);
  }
  OpenedImage image(sound.bytes);
  std::vector<SubkeyEntry> entries;
  uint32_t budget = 6;  // a list entry counts against it whatever it names
  EXPECT_FALSE(ReadSubkeyList(image.hive(), list, budget, entries));
  EXPECT_EQ(budget, 0u);
}

// --- values ----------------------------------------------------------------------------------

ValueKey ReadAll(OpenedImage& image, uint32_t position, Bytes& data) {
  return ReadValueKey(image.hive(), position, ValueRead::kData, kMaxValueData, &data);
}

TEST(ValueKey, DataOfEveryLength) {
  HiveBuilder builder;
  const std::vector<size_t> sizes = {0, 1, 3, 4, 5, 8, 16343, 16344, 16345, 32688, 32689, 327680};
  for (const size_t size : sizes) builder.Key("A").Binary("v" + std::to_string(size), size, 3);
  const BuiltHive built = builder.Build();
  OpenedImage image(built.bytes);
  for (size_t i = 0; i < sizes.size(); ++i) {
    SCOPED_TRACE(sizes[i]);
    const std::string name = "v" + std::to_string(sizes[i]);
    Bytes data;
    const ValueKey value = ReadAll(image, built.ValuePosition("A", name), data);
    EXPECT_EQ(value.status, ValueStatus::kRead);
    EXPECT_EQ(value.name, name);
    EXPECT_EQ(value.inline_data, sizes[i] <= 4);
    EXPECT_EQ(value.big_data, sizes[i] > kSegment);
    EXPECT_EQ(data, built.keys[1].values[i].data);
  }
}

TEST(ValueKey, Names) {
  HiveBuilder builder;
  builder.Key("A").Dword("", 1).WideValue(
      "w\xC3\xAF"
      "de",
      4, Bytes(4));
  builder.Key("A").WideValue("\xE2\x82\xAC\xD0\x96", 4, Bytes(4)).Dword("plain", 2);
  builder.Key("A").Dword(std::string(518, 'n'), 3).Dword(std::string(519, 'm'), 4);
  const BuiltHive built = builder.Build();
  OpenedImage image(built.bytes);
  const auto name_of = [&](std::string_view name) {
    Bytes data;
    const ValueKey value = ReadAll(image, built.ValuePosition("A", name), data);
    return value.status == ValueStatus::kRead ? value.name : std::string("none");
  };
  EXPECT_EQ(name_of(""), "");
  EXPECT_EQ(name_of("w\xC3\xAF"
                    "de"),
            "w\xC3\xAF"
            "de");
  EXPECT_EQ(name_of("\xE2\x82\xAC\xD0\x96"), "\xE2\x82\xAC\xD0\x96");
  // The euro sign has a byte in the code page, the letter has none.
  ReadInCodePage(true);
  EXPECT_EQ(name_of("\xE2\x82\xAC\xD0\x96"), "\xE2\x82\xAC?");
  ReadInCodePage(false);
  EXPECT_EQ(name_of("plain"), "plain");
  EXPECT_EQ(name_of(std::string(518, 'n')), std::string(518, 'n'));
  EXPECT_EQ(name_of(std::string(519, 'm')), std::string(519, 'm'));
}

TEST(ValueKey, DamagedSmallValues) {
  struct Case {
    const char* what;
    ValueStatus status;
    uint32_t field;
    uint32_t stored;
  };
  constexpr Case kCases[] = {
      {"sound", ValueStatus::kRead, field::kValueLength, 100},
      {"no signature", ValueStatus::kNotAValue, field::kSignature, 0x16B78},
      {"offset misaligned", ValueStatus::kDataOffset, field::kValueData, 0x1002},
      {"offset outside", ValueStatus::kDataOffset, field::kValueData, 0x7FFFFFF8},
      {"offset none", ValueStatus::kDataOffset, field::kValueData, 0xFFFFFFFC},
      {"offset in the bin header", ValueStatus::kDataOffset, field::kValueData, 0},
      {"data longer than its cell", ValueStatus::kDataLength, field::kValueLength, 101},
      {"length of 5 MiB", ValueStatus::kTooLong, field::kValueLength, 0x500000},
      {"length just below", ValueStatus::kDataOffset, field::kValueLength, 0x4FFFFF},
      {"length 0xFFFFFFFF", ValueStatus::kTooLong, field::kValueLength, 0xFFFFFFFF},
      {"inline flag on four bytes", ValueStatus::kRead, field::kValueLength, 0x80000004},
      {"data cell freed", ValueStatus::kDataOffset, field::kSize, 104}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    HiveBuilder builder;
    builder.Key("A").Binary("v", 100).Binary("other", 8);
    BuiltHive built = builder.Build();
    const uint32_t value = built.ValuePosition("A", "v");
    const bool of_data = c.field == field::kSize;
    built.SetU32(of_data ? built.DataPosition("A", "v") : value, c.field, c.stored);
    OpenedImage image(built.bytes);
    Bytes data = {1, 2, 3};
    EXPECT_EQ(ReadAll(image, value, data).status, c.status);
    EXPECT_EQ(data.empty(), c.status != ValueStatus::kRead);
  }
}

TEST(ValueKey, CapacityAndBounds) {
  HiveBuilder builder;
  builder.Key("A").Binary("v", 100);
  const BuiltHive built = builder.Build();
  OpenedImage image(built.bytes);
  const uint32_t position = built.ValuePosition("A", "v");
  Bytes data;
  const auto status = [&](uint32_t at, uint32_t capacity) {
    return ReadValueKey(image.hive(), at, ValueRead::kData, capacity, &data).status;
  };
  EXPECT_EQ(status(position, 100), ValueStatus::kRead);
  EXPECT_EQ(status(position, 99), ValueStatus::kTooLong);
  const auto length = static_cast<uint32_t>(built.bytes.size());
  for (const uint32_t outside : {0U, 4096U, 4120U, length - 12, length, kNoOffset}) {
    EXPECT_EQ(status(outside, 100), ValueStatus::kEmpty) << outside;
  }
}

TEST(ValueKey, DamagedBigData) {
  struct Case {
    const char* what;
    std::function<void(BuiltHive&)> damage;
    bool read;
  };
  const auto big = [](const BuiltHive& h) { return h.DataPosition("A", "v"); };
  const auto list = [](const BuiltHive& h) { return h.SegmentListPosition("A", "v"); };
  const std::vector<Case> cases = {
      {"sound", [](BuiltHive&) {}, true},
      {"no db", [&](BuiltHive& h) { h.SetU16(big(h), 4, 0); }, false},
      {"db cell of another length", [&](BuiltHive& h) { h.SetU32(big(h), 0, 0U - 24); }, false},
      {"db cell freed", [&](BuiltHive& h) { h.Free(big(h)); }, false},
      {"segment count is not used", [&](BuiltHive& h) { h.SetU16(big(h), 6, 0xFFFF); }, true},
      {"list outside", [&](BuiltHive& h) { h.SetU32(big(h), 8, 0x7FFFFFF8); }, false},
      {"list nowhere", [&](BuiltHive& h) { h.SetU32(big(h), 8, kNone); }, false},
      {"first segment outside", [&](BuiltHive& h) { h.SetU32(list(h), 4, 0x7FFFFFF8); }, false},
      {"second segment outside", [&](BuiltHive& h) { h.SetU32(list(h), 8, 0x7FFFFFF8); }, false},
      {"segments swapped",
       [&](BuiltHive& h) {
         const uint32_t first = h.U32(list(h), 4);
         h.SetU32(list(h), 4, h.U32(list(h), 8)).SetU32(list(h), 8, first);
       },
       true},
      {"one segment named twice", [&](BuiltHive& h) { h.SetU32(list(h), 8, h.U32(list(h), 4)); },
       true}};
  HiveBuilder builder;
  builder.Key("A").Binary("v", 40000);
  builder.Key("B").Binary("room", 16000);
  const BuiltHive sound = builder.Build();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    BuiltHive built = sound;
    c.damage(built);
    OpenedImage image(built.bytes);
    Bytes data;
    const ValueKey value = ReadAll(image, built.ValuePosition("A", "v"), data);
    EXPECT_EQ(value.status == ValueStatus::kRead, c.read);
    EXPECT_EQ(data.size(), c.read ? 40000u : 0u);
  }
}

TEST(ValueKey, FragmentWithoutAnyBase) {
  HiveBuilder builder;
  builder.Key("A").Binary("v", 100).Dword("inline", 7);
  BuiltHive built = builder.Build();
  built.DropBaseBlock();
  built.Zero(0, 32);  // the bin header, too: nothing tells where the fragment was
  built.SetU16(built.PositionOf(""), 4, 0);
  OpenedImage image(built.bytes);
  ASSERT_FALSE(image.hive().header_valid);
  Bytes data;
  EXPECT_EQ(ReadAll(image, built.ValuePosition("A", "v"), data).status, ValueStatus::kNoBase);
  EXPECT_EQ(ReadAll(image, built.ValuePosition("A", "inline"), data).status, ValueStatus::kRead);
}

TEST(ValueList, CountIsCutToWhatThereIs) {
  HiveBuilder builder;
  for (int i = 0; i < 5; ++i) builder.Key("A").Dword("v" + std::to_string(i), 1);
  BuiltHive built = builder.Build();
  const uint32_t list = built.ValueListPosition("A");
  built.SetU32(list, 8, 0x7FFFFFF8).SetU32(list, 12, kNone);
  OpenedImage image(built.bytes);
  const auto read = [&](uint32_t count, uint32_t at, uint32_t budget) {
    std::vector<uint32_t> positions;
    const bool whole = ReadValueList(image.hive(), count, at, budget, positions);
    return std::pair(whole, positions);
  };
  const auto [whole, positions] = read(5, list, 100);
  EXPECT_TRUE(whole);
  EXPECT_EQ(positions, (std::vector<uint32_t>{built.ValuePosition("A", "v0"), kNoOffset, kNoOffset,
                                              built.ValuePosition("A", "v3"),
                                              built.ValuePosition("A", "v4")}));
  EXPECT_EQ(read(0xFFFFFFFF, list, 100).second.size(), 5u) << "the cell holds no more";
  EXPECT_FALSE(read(0xFFFFFFFF, list, 100).first);
  EXPECT_EQ(read(5, list, 2).second.size(), 2u);
  EXPECT_EQ(read(5, kNoOffset, 100).second.size(), 0u);
  EXPECT_EQ(read(5, 0x7FFFFFF8, 100).second.size(), 0u);
}

// --- blocks ----------------------------------------------------------------------------------

TEST(Bins, WalkOfSoundAndBrokenBlocks) {
  HiveBuilder builder;
  builder.Key("A");
  builder.Key("B").NewBin();
  builder.Key("C").NewBin().Binary("large", 9000);
  builder.Key("D").NewBin();
  const BuiltHive sound = builder.Build();
  HostRecorder host;
  {
    OpenedImage image(sound.bytes);
    const std::vector<BinRow> rows = ListHiveBins(image.hive(), 4096, 0xFFFFFFFF);
    ASSERT_EQ(rows.size(), sound.BinCount());
    for (uint32_t i = 0; i < rows.size(); ++i) {
      EXPECT_EQ(rows[i].index, i);
      EXPECT_EQ(rows[i].position, sound.BinPosition(i));
      EXPECT_EQ(rows[i].own_offset, sound.BinPosition(i) - 4096);
      EXPECT_FALSE(rows[i].invalid);
    }
    EXPECT_EQ(ListHiveBins(image.hive(), 4096, 2).size(), 2u);
    EXPECT_EQ(BinPaneText(rows[1]), "0001,   2000");
    TellOfBlocks(rows);
    EXPECT_TRUE(host.messages.empty());
  }
  BuiltHive broken = sound;
  broken.SetU32(broken.BinPosition(1), field::kBinSizeCopy, 0x123);
  broken.Zero(broken.BinPosition(3), 4);
  OpenedImage image(broken.bytes);
  const std::vector<BinRow> rows = ListHiveBins(image.hive(), 4096, 0xFFFFFFFF);
  ASSERT_EQ(rows.size(), 4u) << "a missing signature ends the walk with a row of its own";
  EXPECT_TRUE(rows[3].invalid);
  EXPECT_EQ(BinSizeText(rows[3]), "invalid");
  EXPECT_EQ(BinPaneText(rows[3]), "   4,  4000    - Error");
  EXPECT_EQ(BinCopyText(rows[1]), "00000123");
  EXPECT_EQ(BinCopyText(rows[0]), "");
  TellOfBlocks(rows);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0],
            (ShownMessage{"Block size error !", "Error", Icon::kExclamation, Buttons::kOk}));
}

}  // namespace
}  // namespace hivequarry::testing
