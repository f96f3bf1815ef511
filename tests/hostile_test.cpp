// Hives made to hurt: whatever they hold, opening and walking them ends, soon, within bounds, and
// shows what can be read.
#include <gtest/gtest.h>

#include <functional>

#include "hive/bins.h"
#include "hive/keys.h"
#include "host/shortfalls.h"
#include "reports/hive_lists.h"
#include "tests/support/deadline.h"
#include "tests/support/hostile_hives.h"
#include "tests/support/opened_hive.h"
#include "tests/support/sample_hives.h"
#include "tests/support/tree_shape.h"

namespace hivequarry::testing {
namespace {

// Opens, builds and looks at everything a user could look at, with a limit for what is walked.
struct Walked {
  uint32_t keys = 0;
  uint32_t values = 0;
  ImageSummary summary;
};

Walked WalkAll(std::span<const uint8_t> bytes, uint32_t most_items = 100000) {
  OpenedHive opened(bytes);
  Walked walked;
  walked.summary = opened.summary;
  EXPECT_EQ(FirstMisplacedItem(opened.tree), kNoItem);
  PathWalker walker(opened.hive, opened.tree);
  const auto count = std::min(static_cast<uint32_t>(opened.tree.items.size()), most_items);
  uint64_t shown = 0;
  for (uint32_t item = 0; item < count; ++item) {
    walked.keys += IsKeyItem(opened.tree, item);
    shown += walker.PathOf(item).size();
    if (item % 64 == 0) KeyDetail(opened.hive, opened.tree, item);
    const ItemValues values = ShowItemValues(opened.hive, opened.tree, item, {});
    walked.values += static_cast<uint32_t>(values.value_positions.size());
    for (size_t i = 0; i < values.value_positions.size() && i < 20; ++i) {
      const uint32_t position = values.value_positions[i];
      shown += MakeValueRow(opened.hive, position, {}).data.size();
      shown += ValueDetail(opened.hive, position).text.size();
    }
  }
  ListHiveBins(opened.hive);
  EXPECT_GT(shown, 0u);
  return walked;
}

// --- shapes of lists -------------------------------------------------------------------------

// A small hive on which one field is set; "Safe" holds a key and a value that must stay visible.
Bytes With(const std::function<void(BuiltHive&)>& damage) {
  HiveBuilder builder;
  builder.Key("A\\B\\C\\D").Sz("v", "text").Binary("b", 100).Class("class");
  builder.Key("List").ListStyle(List::kRiOfLh, 2);
  for (int i = 0; i < 6; ++i) builder.Key("List").NewKey("k" + std::to_string(i));
  builder.Key("Safe\\Key").Sz("value", "safe");
  BuiltHive built = builder.Build();
  damage(built);
  return built.bytes;
}

Bytes TwiceAtEachLevel(uint32_t levels) {
  HiveBuilder builder;
  KeyRef key = builder.Root();
  for (uint32_t i = 0; i < levels; ++i) {
    KeyRef child = key.NewKey("L" + std::to_string(i));
    key.AlsoLists(child);
    key = child;
  }
  return builder.Build().bytes;
}

Bytes ListsOfLists() {
  // Every "ri" names itself over and over, and every key names the same "ri".
  HiveBuilder builder;
  builder.DefaultList(List::kRiOfLh);
  for (int i = 0; i < 300; ++i) builder.Key("P").NewKey("k" + std::to_string(i)).NewKey("c");
  BuiltHive built = builder.Build();
  const uint32_t list = built.ListPosition("P");
  for (int i = 0; i < 300; ++i) {
    const uint32_t key = built.PositionOf("P\\k" + std::to_string(i));
    built.Link(key, field::kKeyList, list);
  }
  built.SetU16(list, 6, 0xFFFF);
  return built.bytes;
}

// Keys that all have the value list of the first.
Bytes ShareValues(HiveBuilder& builder, uint32_t keys, uint32_t values) {
  for (uint32_t i = 1; i < keys; ++i) builder.Key("K" + std::to_string(i));
  BuiltHive built = builder.Build();
  for (uint32_t i = 1; i < keys; ++i) {
    const uint32_t key = built.PositionOf("K" + std::to_string(i));
    built.SetU32(key, field::kKeyValues, values);
    built.Link(key, field::kKeyValueList, built.ValueListPosition("K0"));
  }
  return built.bytes;
}

Bytes SharedValueList(uint32_t keys, uint32_t values) {
  HiveBuilder builder;
  KeyRef first = builder.Key("K0");
  for (uint32_t i = 0; i < values; ++i) first.Dword("v" + std::to_string(i), i);
  return ShareValues(builder, keys, values);
}

Bytes ManySegments() {
  // One "db" value whose 65,535 entries name one and the same segment.
  HiveBuilder builder;
  builder.Key("A").Binary("big", 20000).Binary("list", 65535 * 4);
  builder.Key("A").Sz("after", "text");
  BuiltHive built = builder.Build();
  const uint32_t big = built.DataPosition("A", "big");
  const uint32_t segment = built.SegmentPosition("A", "big", 0) - kDataArea;
  Bytes entries(65535 * 4);
  for (uint32_t i = 0; i < 65535; ++i) PutU32(entries, 4 * i, segment);
  built.Insert(static_cast<uint32_t>(built.bytes.size()), 4096 + 65535 * 4);
  const auto list = static_cast<uint32_t>(built.bytes.size()) - 65535 * 4 - 4;
  built.SetU32(list, 0, 0U - 65536 * 4).SetBytes(list, 4, entries);
  built.SetU16(big, field::kBigCount, 65535).Link(big, field::kBigList, list);
  built.SetU32(built.ValuePosition("A", "big"), field::kValueLength, 0x4FFFFF);
  return built.bytes;
}

struct HostileCase {
  const char* what;
  uint32_t keys;  // that must be shown at least
  void (*damage)(BuiltHive&);
  std::function<Bytes()> make = [damage = damage] { return With(damage); };
};

void PrintTo(const HostileCase& c, std::ostream* out) { *out << c.what; }

const HostileCase kShapes[] = {
    {"a list that names itself", 9,
     [](BuiltHive& h) { h.Link(h.EntryPosition("A", 0), 0, h.ListPosition("A")); }},
    {"a key that lists itself", 12,
     [](BuiltHive& h) { h.Link(h.EntryPosition("A", 0), 0, h.PositionOf("A")); }},
    {"a key that lists its ancestor", 12,
     [](BuiltHive& h) { h.Link(h.EntryPosition("A\\B\\C", 0), 0, h.PositionOf("A")); }},
    {"a key that lists the root", 12,
     [](BuiltHive& h) { h.Link(h.EntryPosition("A\\B", 0), 0, h.PositionOf("")); }},
    {"an ri that names itself", 12,
     [](BuiltHive& h) { h.Link(h.ListPosition("List"), 8, h.ListPosition("List")); }},
    {"a list shared with the child", 12,
     [](BuiltHive& h) { h.Link(h.PositionOf("A\\B"), field::kKeyList, h.ListPosition("A")); }},
    {"subkey count 0xFFFFFFFF", 13,
     [](BuiltHive& h) { h.SetU32(h.PositionOf("A"), field::kKeySubkeys, kNone); }},
    {"list count 0xFFFF", 13, [](BuiltHive& h) { h.SetU16(h.ListPosition("A"), 6, 0xFFFF); }},
    {"ri count 0xFFFF", 13, [](BuiltHive& h) { h.SetU16(h.ListPosition("List"), 6, 0xFFFF); }},
    {"value count 0xFFFFFFFF", 13,
     [](BuiltHive& h) { h.SetU32(h.PositionOf("A\\B\\C\\D"), field::kKeyValues, kNone); }},
    {"value list that is the key", 13,
     [](BuiltHive& h) {
       const uint32_t key = h.PositionOf("A\\B\\C\\D");
       h.Link(key, field::kKeyValueList, key).SetU32(key, field::kKeyValues, 0x10000);
     }},
    {"name longer than its cell", 12,
     [](BuiltHive& h) {
       h.SetU16(h.PositionOf("A\\B"), field::kKeyNameLength, 0x0FFF);
       h.SetU16(h.ValuePosition("A\\B\\C\\D", "v"), field::kValueNameLength, 0xFFFF);
     }},
    {"every offset of a key at the end", 12,
     [](BuiltHive& h) {
       const auto end = static_cast<uint32_t>(h.bytes.size());
       for (const uint32_t f : {field::kKeyParent, field::kKeyList, field::kKeyValueList,
                                field::kKeySecurity, field::kKeyClass}) {
         h.Link(h.PositionOf("A\\B\\C\\D"), f, end);
         h.Link(h.PositionOf("List\\k1"), f, end - 4);
       }
     }},
    {"two entries at each of 28 levels", 29, nullptr, [] { return TwiceAtEachLevel(28); }},
    {"every list names every list", 300, nullptr, ListsOfLists},
    {"20,000 nested keys", 20001, nullptr, [] { return DeepHive(20000); }},
    {"70,000 subkeys of one key", 70002, nullptr, [] { return FlatHive(70000); }},
    {"1,000 keys share 10,000 values", 1001, nullptr, [] { return SharedValueList(1000, 10000); }},
    {"65,535 segments", 2, nullptr, ManySegments}};

class Shapes : public ::testing::TestWithParam<HostileCase> {};

TEST_P(Shapes, AreWalkedInTime) {
  const Bytes bytes = GetParam().make();
  const bool large = bytes.size() > 500000;
  const Deadline deadline(large ? 3 * kSeconds : kSeconds);
  const Walked walked = WalkAll(bytes, large ? 25000 : 100000);
  EXPECT_GE(walked.summary.keys, GetParam().keys);
}

INSTANTIATE_TEST_SUITE_P(Cases, Shapes, ::testing::ValuesIn(kShapes));

// A megabyte that 200 keys share is shown at all of them, and handed out whole at some.
TEST(Hostile, SharedDataAreReadWithinABudget) {
  HiveBuilder builder;
  builder.Key("K0").Binary("big", 1 << 20);
  for (uint32_t i = 1; i < 200; ++i) builder.Key("K" + std::to_string(i)).Binary("v", 100);
  BuiltHive built = builder.Build();
  for (uint32_t i = 1; i < 200; ++i) {
    const uint32_t value = built.ValuePosition("K" + std::to_string(i), "v");
    built.SetU32(value, field::kValueLength, 1 << 20)
        .Link(value, kValueDataOffset, built.DataPosition("K0", "big"));
  }
  const OpenedHive opened(built);
  for (const bool raw : {false, true}) {
    ForgetShortfalls();
    ValueListOptions options;
    options.raw = raw;
    const OutputListPtr list = ListKeyValues(opened.hive, opened.tree, kNoItem, options);
    ASSERT_EQ(RowCount(*list), 200u);
    uint32_t whole = 0;
    for (uint32_t row = 0; row < 200; ++row) {
      EXPECT_EQ(CellText(*list, row, 3), CellText(*list, 0, 3));
      whole += FactsOfRow(*list, row).bytes.size() == 2 << 20;
    }
    EXPECT_EQ(whole + ShortfallCount(Shortfall::kValueData), raw ? 200u : 0u);
    EXPECT_EQ(whole >= 3 && whole < 20, raw);
  }
}

// What hurts costs little, and hides nothing else.
class HostileFiles : public ::testing::TestWithParam<HostileHive> {};

TEST_P(HostileFiles, AreWalkedInTimeAndHideNothing) {
  const Bytes bytes = GetParam().make(0.5);
  const Deadline deadline;
  WalkAll(bytes, 500);
  OpenedHive opened{std::span<const uint8_t>(bytes)};
  ASSERT_NE(opened.Item(kBystanderKey), kNoItem);
  EXPECT_EQ(opened.Values(kBystanderKey).size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileFiles, ::testing::ValuesIn(HostileHives()));

TEST(Hostile, OtherKeysStayVisible) {
  for (const HostileCase& c : kShapes) {
    if (c.damage == nullptr) continue;  // a shape of its own
    SCOPED_TRACE(c.what);
    const Bytes bytes = c.make();
    OpenedHive opened{std::span<const uint8_t>(bytes)};
    EXPECT_EQ(opened.Values("Safe\\Key"), std::vector<std::string>{"value=safe"});
  }
}

TEST(Hostile, TreeListsEachKeyOnce) {
  const OpenedHive opened{std::span<const uint8_t>(TwiceAtEachLevel(28))};
  EXPECT_EQ(opened.tree.items.size(), 31u);
}

TEST(Hostile, MillionKeysOnOneList) {
#if defined(HIVEQUARRY_ADDRESS_SANITIZER) || defined(HIVEQUARRY_THREAD_SANITIZER)
  constexpr uint32_t kKeys = 200000;
#else
  constexpr uint32_t kKeys = 1000000;
#endif
  const Bytes bytes = SharedListHive(kKeys);
  const Deadline deadline(5 * kSeconds);  // all 92 MB are looked through for moved bytes too
  const OpenedHive opened{std::span<const uint8_t>(bytes)};
  EXPECT_EQ(opened.summary.keys, kKeys + 1);
  EXPECT_EQ(opened.summary.connected_keys, 65536u);
  EXPECT_EQ(FirstMisplacedItem(opened.tree), kNoItem);
}

TEST(Hostile, ManySegmentsAreReadOrRefused) {
  const Bytes bytes = ManySegments();
  OpenedHive opened{std::span<const uint8_t>(bytes)};
  const Deadline deadline;
  const ItemValues values = ShowItemValues(opened.hive, opened.tree, opened.Item("A"), {});
  ASSERT_EQ(values.value_positions.size(), 3u);
  Bytes data;
  const ValueKey value =
      ReadValueKey(opened.hive, values.value_positions[0], ValueRead::kData, kMaxValueData, &data);
  EXPECT_EQ(value.status, ValueStatus::kRead);
  EXPECT_EQ(data.size(), 0x4FFFFFu);
  EXPECT_LE(MakeValueRow(opened.hive, values.value_positions[0], {}).data.size(), 250u);
}

// --- single fields ---------------------------------------------------------------------------

// Each four-byte field of each record, set to values that break careless arithmetic.
TEST(Hostile, EveryFieldOfEveryRecord) {
  const Bytes sound = With([](BuiltHive&) {});
  constexpr uint32_t kValues[] = {0,          1,          4,          7,          8,
                                  0x7FFFFFFF, 0x80000000, 0x80000008, 0xFFFFFFF8, 0xFFFFFFFF,
                                  0xFFFFEFE0, 0xFFFF0000, 0x00001000, 0x0000FFFF};
  const Deadline deadline(30 * kSeconds);
  uint32_t last = static_cast<uint32_t>(sound.size()) - 4;
  while (last > 0 && GetU32(sound, last - 4) == 0) last -= 4;
  // A stride keeps the sanitizers' run short; three passes with other values meet every field.
  uint32_t turn = 0;
  for (uint32_t at = 4096; at < last; at += 4) {
    for (uint32_t round = 0; round < 3; ++round) {
      Bytes bytes = sound;
      PutU32(bytes, at, kValues[turn++ % std::size(kValues)]);
      WalkAll(bytes);
      if (HasFatalFailure()) FAIL() << "field at " << at << ", turn " << turn;
    }
  }
}

TEST(Hostile, FilesCutAnywhere) {
  const Bytes sound = With([](BuiltHive&) {});
  const Deadline deadline(20 * kSeconds);
  const auto size = static_cast<uint32_t>(sound.size());
  for (uint32_t length = 0; length < size; length += length < 4096 ? 509 : 13) {
    SCOPED_TRACE(length);
    const Bytes bytes(sound.begin(), sound.begin() + length);
    const OpenedHive opened{std::span<const uint8_t>(bytes)};
    EXPECT_EQ(FirstMisplacedItem(opened.tree), kNoItem);
    EXPECT_LE(opened.summary.keys, 24u);
  }
}

TEST(Hostile, BytesInsertedAndRemovedAnywhere) {
  const Bytes sound = With([](BuiltHive&) {});
  const Deadline deadline(20 * kSeconds);
  const auto size = static_cast<uint32_t>(sound.size());
  for (uint32_t at = 0; at < size; at += 37) {
    SCOPED_TRACE(at);
    BuiltHive built;
    built.bytes = sound;
    if (at % 2 == 0) {
      built.Insert(at, 1 + at % 64, 'n');
    } else {
      built.Erase(at, std::min(1 + at % 64, size - at));
    }
    WalkAll(built.bytes);
  }
}

TEST(Hostile, Blocks) {
  HiveBuilder builder;
  for (int i = 0; i < 5; ++i) builder.Key("K" + std::to_string(i)).NewBin().Dword("v", 1);
  const BuiltHive sound = builder.Build();
  for (const uint32_t size : {0U, 1U, 32U, 4095U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFF000U, kNone}) {
    SCOPED_TRACE(size);
    BuiltHive built = sound;
    built.SetU32(built.BinPosition(2), field::kBinSize, size);
    const Deadline deadline;
    const Walked walked = WalkAll(built.bytes);
    EXPECT_EQ(walked.summary.keys, 6u) << "a block's size is not needed to find its cells";
    EXPECT_EQ(walked.values, 5u);
    OpenedHive opened(built);
    EXPECT_LE(ListHiveBins(opened.hive, 4096, 0xFFFFFFFF).size(), 6u);
  }
}

// --- files that are no hives -----------------------------------------------------------------

TEST(Hostile, OtherFiles) {
  const auto repeated = [](std::string_view text, size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(text[i % text.size()]);
    return bytes;
  };
  const std::vector<std::pair<const char*, Bytes>> files = {
      {"empty", {}},
      {"one byte", {'r'}},
      {"seven bytes", Bytes(7, 'n')},
      {"text", repeated("The quick brown fox.\r\n", 50000)},
      {"zeros", Bytes(100000)},
      {"ones", Bytes(100000, 0xFF)},
      {"hbin again and again", repeated("hbin", 300000)},
      {"block headers in a row", repeated(std::string_view("hbin\0\0\0\0\0\0\0\0", 12), 300000)},
      {"keys of 8 bytes", repeated(std::string_view("\xF8\xFF\xFF\xFFnk \0", 8), 300000)},
      {"lists of 8 bytes", repeated(std::string_view("\xF8\xFF\xFF\xFFlh\xFF\xFF", 8), 300000)},
      {"values of 24 bytes",
       repeated(
           std::string_view("\xE8\xFF\xFF\xFFvk\0\0\xFF\xFF\0\0\x10\0\0\0\1\0\0\0\0\0\0\0", 24),
           300000)},
      {"damaged keys", repeated(std::string_view("\xA8\xFF\xFF\xFFnj \0", 8), 300000)}};
  for (const auto& [what, bytes] : files) {
    SCOPED_TRACE(what);
    const Deadline deadline(3 * kSeconds);
    WalkAll(bytes, 2000);
    // The same after a base block.
    const Bytes hive = With([](BuiltHive&) {});
    WalkAll(Joined({std::span(hive).first(4128), bytes}), 2000);
  }
}

}  // namespace
}  // namespace hivequarry::testing
