// Images whose bins are not in their places: bytes lost and put in, pieces of hives, bins of
// another hive; and images made to make that slow.
#include "hive/offset_map.h"

#include <gtest/gtest.h>

#include <ctime>
#include <functional>

#include "hive/file_place.h"
#include "tests/support/deadline.h"
#include "tests/support/opened_hive.h"
#include "tests/support/sample_hives.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

constexpr uint32_t kGroups = 5;
constexpr uint32_t kKeysOfGroup = 8;

std::string GroupName(uint32_t group) { return "Group" + std::to_string(group); }
std::string KeyPath(uint32_t group, uint32_t key) {
  return GroupName(group) + "\\K" + std::to_string(10 * group + key) + " key";
}
// Of different lengths, so that no two stretches of the hive look alike.
std::string ValueText(const std::string& path) {
  return "value of " + path + std::string(40 + path.back() % 7 * 8 + path[5] % 5 * 4, '.');
}

// Groups of keys with a value each; some 16 KB.
BuiltHive Groups(List list = List::kLh, uint32_t bin_size = 4096, bool bin_per_group = false) {
  HiveBuilder builder;
  builder.DefaultList(list).BinSize(bin_size);
  for (uint32_t group = 0; group < kGroups; ++group) {
    if (bin_per_group) builder.Key(GroupName(group)).NewBin();
    for (uint32_t key = 0; key < kKeysOfGroup; ++key) {
      const std::string path = KeyPath(group, key);
      builder.Key(path).Sz("v", ValueText(path));
    }
  }
  return builder.Build();
}

// A change of a hive's bytes: what of the sound hive is gone, and where the rest is now.
struct Change {
  std::function<bool(uint32_t begin, uint32_t end)> hits;  // a stretch of the sound hive
  std::function<uint32_t(uint32_t)> place;                 // image position of a sound position
};

bool HitsCell(const BuiltHive& sound, const Change& change, uint32_t cell) {
  return cell != 0 && change.hits(cell, cell + sound.CellLength(cell));
}

uint32_t InImage(const OpenedHive& opened, uint32_t place) {
  return PositionOfPlace(opened.hive, place);
}

// What became of the keys that a change did not hit.
struct Rest {
  uint32_t keys = 0;
  Texts missing;    // not shown at all
  Texts misplaced;  // not under their parent, or it not in its place
  Texts valueless;  // without their value
};

bool ShowsItsValue(const OpenedHive& opened, uint32_t item, const std::string& path) {
  const ItemValues values = ShowItemValues(opened.hive, opened.tree, item, {});
  return values.value_positions.size() == 1 &&
         MakeValueRow(opened.hive, values.value_positions[0], {}).data == ValueText(path);
}

// With `paths` keys are expected at their paths, as far as nothing above them was hit.
Rest LookAtTheRest(const OpenedHive& opened, const BuiltHive& sound, const Change& change,
                   bool paths) {
  Rest rest;
  for (uint32_t n = 0; n < kGroups * kKeysOfGroup; ++n) {
    const uint32_t group = n / kKeysOfGroup;
    const std::string path = KeyPath(group, n % kKeysOfGroup);
    const auto hit = [&](uint32_t cell) { return HitsCell(sound, change, cell); };
    const uint32_t cell = sound.PositionOf(path);
    if (hit(cell)) continue;
    ++rest.keys;
    const uint32_t item = ItemOfPosition(opened.tree, InImage(opened, change.place(cell)));
    if (item == kNoItem || !path.ends_with(ItemName(opened.hive, opened.tree, item))) {
      rest.missing.push_back(path);
      continue;
    }
    const uint32_t above = sound.PositionOf(GroupName(group));
    if (!hit(above)) {
      bool placed = opened.tree.items[item].parent ==
                    ItemOfPosition(opened.tree, InImage(opened, change.place(above)));
      if (paths && !hit(sound.PositionOf(""))) placed = placed && opened.Item(path) == item;
      if (!placed) {
        rest.misplaced.push_back(path + " as " + ItemPath(opened.hive, opened.tree, item));
      }
    }
    const bool value_hit = hit(sound.ValueListPosition(path)) ||
                           hit(sound.ValuePosition(path, "v")) ||
                           hit(sound.DataPosition(path, "v"));
    if (!value_hit && !ShowsItsValue(opened, item, path)) rest.valueless.push_back(path);
  }
  return rest;
}

// Expects all of it in its place; returns how many keys there were.
uint32_t ExpectTheRest(const OpenedHive& opened, const BuiltHive& sound, const Change& change,
                       bool paths) {
  const Rest rest = LookAtTheRest(opened, sound, change, paths);
  EXPECT_EQ(rest.missing, Texts());
  EXPECT_EQ(rest.misplaced, Texts());
  EXPECT_EQ(rest.valueless, Texts());
  return rest.keys;
}

// --- bytes lost and put in ---------------------------------------------------------------------

Change Inserted(uint32_t at, uint32_t size) {
  return {[at](uint32_t begin, uint32_t end) { return begin < at && at < end; },
          [at, size](uint32_t position) { return position >= at ? position + size : position; }};
}

Change Erased(uint32_t at, uint32_t size) {
  return {
      [at, size](uint32_t begin, uint32_t end) { return begin < at + size && at < end; },
      [at, size](uint32_t position) { return position >= at + size ? position - size : position; }};
}

struct Place {
  const char* what;
  uint32_t at;
};

std::vector<Place> PlacesIn(const BuiltHive& hive) {
  const uint32_t last = hive.BinCount() - 1;
  return {{"in the base block", 600},
          {"before the first block", 4096},
          {"before the root", hive.PositionOf("")},
          {"after the root", hive.PositionOf("") + hive.CellLength(hive.PositionOf(""))},
          {"inside a key", hive.PositionOf(KeyPath(1, 3)) + 40},
          {"before a key", hive.PositionOf(KeyPath(1, 5))},
          {"before a value list", hive.ValueListPosition(KeyPath(2, 1))},
          {"inside data", hive.DataPosition(KeyPath(2, 6), "v") + 80},
          {"inside a list", hive.ListPosition("Group3") + 24},
          {"before a list", hive.ListPosition("Group3")},
          {"before a bin", hive.BinPosition(2)},
          {"after a bin header", hive.BinPosition(2) + 32},
          {"at a bin's end", hive.BinPosition(3) - 8},
          {"before the last bin", hive.BinPosition(last)},
          {"in the last bin", hive.DataPosition(KeyPath(4, 7), "v") + 16}};
}

bool HitsHeader(const BuiltHive& sound, const Change& change) {
  for (uint32_t bin = 0; bin < sound.BinCount(); ++bin) {
    const uint32_t header = sound.BinPosition(bin);
    if (change.hits(header, header + 32)) return true;
  }
  return false;
}

TEST(OffsetMap, BytesPutInAndLost) {
  const BuiltHive sound = Groups();
  ASSERT_GE(sound.BinCount(), 4u);
  for (const Place& place : PlacesIn(sound)) {
    for (const uint32_t size : {1U, 3U, 5U, 8U, 12U, 64U, 513U, 1000U, 4096U, 40960U}) {
      for (const uint8_t fill : {uint8_t{0}, uint8_t{0xFF}, uint8_t{'n'}}) {
        SCOPED_TRACE(std::string(place.what) + ", " + std::to_string(size) + " put in");
        BuiltHive built = sound;
        built.Insert(place.at, size, fill);
        OpenedHive opened(built);
        EXPECT_GE(ExpectTheRest(opened, sound, Inserted(place.at, size), true), 39u);
        EXPECT_LE(opened.summary.keys, 46u);
      }
      if (place.at + size > sound.bytes.size() || size > 4096) continue;
      if (place.at <= sound.PositionOf("")) continue;  // nothing but the root's own bytes
      SCOPED_TRACE(std::string(place.what) + ", " + std::to_string(size) + " lost");
      const Change change = Erased(place.at, size);
      BuiltHive built = sound;
      built.Erase(place.at, size);
      OpenedHive opened(built);
      const Rest rest = LookAtTheRest(opened, sound, change, true);
      EXPECT_GE(rest.keys, 20u);
      // The size of a cell that lost its end may reach over the next cell.
      EXPECT_LE(rest.missing.size(), 1u) << ::testing::PrintToString(rest.missing);
      // Cells after a lost block header have nothing that says where they were.
      if (HitsHeader(sound, change)) continue;
      EXPECT_EQ(rest.misplaced, Texts());
      EXPECT_EQ(rest.valueless, Texts());
    }
  }
}

// A header's field is one witness, what the block's cells say is many.
TEST(OffsetMap, OneWrongBitInABlockHeader) {
  for (const uint32_t bin_size : {4096U, 16384U}) {
    const BuiltHive sound = Groups(List::kLh, bin_size);
    const Change none = {[](uint32_t, uint32_t) { return false; },
                         [](uint32_t position) { return position; }};
    for (uint32_t bin = 0; bin < sound.BinCount(); ++bin) {
      for (uint32_t bit = 0; bit < 96; ++bit) {
        SCOPED_TRACE("block " + std::to_string(bin) + ", bit " + std::to_string(bit));
        BuiltHive built = sound;
        built.bytes[sound.BinPosition(bin) + bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
        const OpenedHive opened(built);
        EXPECT_EQ(ExpectTheRest(opened, sound, none, true), kGroups * kKeysOfGroup);
      }
    }
  }
}

// Pages with and without a header that changed places, and one that was written over another.
TEST(OffsetMap, PagesThatChangedPlaces) {
  for (const uint32_t bin_size : {4096U, 16384U}) {
    const BuiltHive sound = Groups(List::kLh, bin_size);
    const auto pages = static_cast<uint32_t>(sound.bytes.size() / 4096);
    const auto page = [](BuiltHive& built, uint32_t number) {
      return std::span(built.bytes).subspan(size_t{number} * 4096, 4096);
    };
    for (uint32_t a = 1; a < pages; ++a) {
      for (uint32_t b = a + 1; b < pages; ++b) {
        SCOPED_TRACE(std::to_string(a) + " and " + std::to_string(b));
        BuiltHive swapped = sound;
        std::ranges::swap_ranges(page(swapped, a), page(swapped, b));
        const auto swap = [a, b](uint32_t position) {
          const uint32_t at = position / 4096;
          const uint32_t to = at == a ? b : at == b ? a : at;
          return to * 4096 + position % 4096;
        };
        ExpectTheRest(OpenedHive(swapped), sound, {[](uint32_t, uint32_t) { return false; }, swap},
                      true);
        BuiltHive copied = sound;
        std::ranges::copy(page(copied, a), page(copied, b).begin());
        const auto lost = [b](uint32_t begin, uint32_t end) {
          return begin < (b + 1) * 4096 && end > b * 4096;
        };
        const Rest rest = LookAtTheRest(OpenedHive(copied), sound,
                                        {lost, [](uint32_t position) { return position; }}, true);
        EXPECT_EQ(rest.missing, Texts());
      }
    }
  }
}

TEST(OffsetMap, TwoShiftsInOneFile) {
  const BuiltHive sound = Groups();
  const uint32_t early = sound.DataPosition(KeyPath(0, 4), "v") + 40;
  const uint32_t late = sound.DataPosition(KeyPath(3, 2), "v") + 80;
  for (const int second : {-64, -24, 512, 4096}) {
    SCOPED_TRACE(second);
    BuiltHive built = sound;
    const uint32_t size = static_cast<uint32_t>(std::abs(second));
    if (second < 0) {
      built.Erase(late, size);
    } else {
      built.Insert(late, size, 0x33);
    }
    built.Insert(early, 64, 0x33);
    const Change first = Inserted(early, 64);
    const Change then = second < 0 ? Erased(late, size) : Inserted(late, size);
    const Change change = {[&](uint32_t begin, uint32_t end) {
                             return first.hits(begin, end) || then.hits(begin, end);
                           },
                           [&](uint32_t position) { return first.place(then.place(position)); }};
    OpenedHive opened(built);
    EXPECT_EQ(ExpectTheRest(opened, sound, change, true), kGroups * kKeysOfGroup);
    EXPECT_EQ(opened.summary.disconnected_keys, 0u);
    const uint32_t last = sound.PositionOf(KeyPath(4, 7));
    EXPECT_EQ(PlaceOf(opened.hive, last), change.place(last));
    EXPECT_EQ(PlaceOf(opened.hive, sound.PositionOf("")), sound.PositionOf(""));
  }
}

TEST(OffsetMap, BinOfManyCells) {
  const BuiltHive sound = Groups(List::kLf, 65536);
  ASSERT_EQ(sound.BinCount(), 1u);
  HiveBuilder builder;
  for (const uint32_t at :
       {sound.DataPosition(KeyPath(0, 1), "v") + 16, sound.DataPosition(KeyPath(2, 1), "v") + 16,
        sound.DataPosition(KeyPath(4, 6), "v") + 16}) {
    for (const uint32_t size : {8U, 72U, 512U}) {
      SCOPED_TRACE(at);
      BuiltHive built = sound;
      OpenedHive opened(built.Insert(at, size, 0x44));
      EXPECT_EQ(ExpectTheRest(opened, sound, Inserted(at, size), true), kGroups * kKeysOfGroup);
      EXPECT_EQ(opened.summary.disconnected_keys, 0u);
    }
  }
}

// A cell that lost bytes reaches by its size over the start of the next one, which no list names.
TEST(OffsetMap, UnlistedKeyBehindAShortenedCell) {
  for (const uint32_t lost : {16U, 24U, 48U}) {
    SCOPED_TRACE(lost);
    BuiltHive built = Groups();
    const uint32_t at = built.DataPosition(KeyPath(2, 6), "v") + 40;
    built.Unlink(KeyPath(2, 7)).Erase(at, lost);
    OpenedHive opened(built);
    const std::string path = "Disconnected Keys\\" + KeyPath(2, 7);
    ASSERT_TRUE(opened.Has(path)) << ::testing::PrintToString(opened.Paths());
    EXPECT_EQ(opened.Values(path), Texts{"v=" + ValueText(KeyPath(2, 7))});
  }
}

TEST(OffsetMap, BinsMissingInTheMiddle) {
  for (const List list : {List::kLf, List::kLh, List::kRiOfLi}) {
    const BuiltHive sound = Groups(list, 4096, true);
    for (uint32_t bin = 1; bin + 1 < sound.BinCount(); ++bin) {
      for (uint32_t last = bin + 1; last < sound.BinCount(); ++last) {
        SCOPED_TRACE(std::to_string(bin) + " to " + std::to_string(last));
        const uint32_t at = sound.BinPosition(bin);
        const uint32_t size = sound.BinPosition(last) - at;
        BuiltHive built = sound;
        OpenedHive opened(built.Erase(at, size));
        EXPECT_GE(ExpectTheRest(opened, sound, Erased(at, size), true), 5u);
        for (const KeyItem& it : opened.tree.items) {
          EXPECT_FALSE(it.position < opened.hive.length && IsForeign(opened.hive, it.position));
        }
      }
    }
  }
}

// --- bins of another hive ----------------------------------------------------------------------

BuiltHive OtherHive(List list) {
  HiveBuilder builder("OTHER");
  builder.DefaultList(list);
  for (uint32_t i = 0; i < 6; ++i) {
    const std::string name = "Foreign" + std::to_string(i);
    builder.Key(name + "\\Child").Sz("w", name).Binary("fill", 500);
  }
  return builder.Build();
}

// The other one's root does not end the image.
BuildOptions BothHives() {
  BuildOptions options;
  options.cut_at_other_root = false;
  return options;
}

// Nothing hangs across the border of the two hives, and no key was made in the other's bins.
void ExpectApart(const OpenedHive& opened, uint32_t first, uint32_t end) {
  const auto foreign = [&](const KeyItem& it) {
    const uint32_t place = PlaceOf(opened.hive, it.position);
    return place >= first && place < end;
  };
  const std::vector<KeyItem>& items = opened.tree.items;
  uint32_t keys = 0;
  for (uint32_t i = 0; i < items.size(); ++i) {
    if (!IsKeyItem(opened.tree, i)) continue;
    keys += foreign(items[i]);
    if (foreign(items[i])) {
      EXPECT_TRUE(IsForeign(opened.hive, items[i].position));
      EXPECT_FALSE(items[i].connected);
      EXPECT_EQ(items[i].marks & kVirtualMarks, 0);
    }
    const uint32_t parent = items[i].parent;
    if (parent == kNoItem || items[parent].kind == ItemKind::kDisconnectedKeys) continue;
    EXPECT_EQ(foreign(items[parent]), foreign(items[i])) << ItemPath(opened.hive, opened.tree, i);
  }
  EXPECT_GT(keys, 2u);
}

TEST(OffsetMap, AnotherHiveBehind) {
  for (const List list : {List::kLf, List::kLh}) {
    const BuiltHive sound = Groups(list);
    const BuiltHive other = OtherHive(list);
    const auto size = static_cast<uint32_t>(sound.bytes.size());
    for (const bool base_block : {false, true}) {
      SCOPED_TRACE(base_block);
      const Bytes joined =
          Joined({sound.bytes, std::span(other.bytes).subspan(base_block ? 0 : kDataArea)});
      OpenedHive opened(joined, BothHives());
      ExpectTheRest(opened, sound, Inserted(size, 0), true);
      ExpectApart(opened, size, static_cast<uint32_t>(joined.size()));
      EXPECT_EQ(opened.summary.connected_keys, 1 + kGroups + kGroups * kKeysOfGroup);
      const uint32_t child =
          other.PositionOf("Foreign3\\Child") + size - (base_block ? 0 : kDataArea);
      const uint32_t item = ItemOfPosition(opened.tree, InImage(opened, child));
      ASSERT_NE(item, kNoItem);
      EXPECT_TRUE(ItemPath(opened.hive, opened.tree, item).ends_with("OTHER\\Foreign3\\Child"));
      const ItemValues values = ShowItemValues(opened.hive, opened.tree, item, {});
      ASSERT_EQ(values.value_positions.size(), 2u);
      EXPECT_EQ(MakeValueRow(opened.hive, values.value_positions[0], {}).data, "Foreign3");
    }
  }
}

// Where the file was cut off in them tells nothing of the hive before them.
TEST(OffsetMap, LastBlocksOfAnotherHiveThatWereCutOff) {
  const BuiltHive sound = Groups();
  HiveBuilder builder("OTHER");
  for (uint32_t i = 0; i < 300; ++i) {
    builder.Key("Foreign" + std::to_string(i)).Sz("w", "x").Dword("d", i);
  }
  const BuiltHive other = builder.Build();
  const uint32_t last = other.BinCount() - 6;
  const Bytes joined =
      Joined({sound.bytes, std::span(other.bytes).subspan(other.BinPosition(last))});
  const auto size = static_cast<uint32_t>(sound.bytes.size());
  for (size_t length = size + 0x200; length < joined.size(); length += 0x358) {
    SCOPED_TRACE(length);
    OpenedHive opened(std::span<const uint8_t>(joined).first(length), BothHives());
    EXPECT_TRUE(opened.hive.places.undone.empty());
    ExpectTheRest(opened, sound, Inserted(size, 0), true);
  }
}

// A record that all keys name is one thing that is there or not, however many name it.
TEST(OffsetMap, PageOfAnotherHiveWithOneRecordInTheRightPlace) {
  HiveBuilder builder;
  for (uint32_t i = 0; i < 400; ++i) builder.Key("Key" + std::to_string(i)).Sz("v", "some text");
  BuiltHive built = builder.Build();
  const uint32_t record = built.SecurityPosition();
  const uint32_t inside = record % 4096;
  std::vector<uint8_t> page(4096);
  const auto set = [&page](uint32_t at, uint32_t number) {
    for (uint32_t i = 0; i < 4; ++i) page[at + i] = static_cast<uint8_t>(number >> 8 * i);
  };
  const auto size = static_cast<uint32_t>(page.size());
  std::copy_n("hbin", 4, page.begin());
  set(4, 0x13B2000);
  set(8, size);
  set(32, inside - 32);
  std::copy_n(built.bytes.begin() + record, built.CellLength(record), page.begin() + inside);
  const uint32_t after = inside + built.CellLength(record);
  set(after, size - after);
  std::fill_n(built.bytes.begin() + record - inside, size, uint8_t{0});
  OpenedHive opened(Joined({built.bytes, page}));
  EXPECT_TRUE(opened.hive.places.undone.empty());
}

TEST(OffsetMap, AnotherHiveInBetween) {
  const BuiltHive sound = Groups();
  const BuiltHive other = OtherHive(List::kLh);
  const auto size = static_cast<uint32_t>(other.bytes.size()) - kDataArea;
  const std::span<const uint8_t> bins = std::span(other.bytes).subspan(kDataArea);
  const uint32_t at = sound.BinPosition(2);
  {
    SCOPED_TRACE("put in");
    BuiltHive built = sound;
    built.Insert(at, size).SetBytes(at, 0, bins);
    OpenedHive opened(built, BothHives());
    ExpectTheRest(opened, sound, Inserted(at, size), true);
    ExpectApart(opened, at, at + size);
  }
  {
    SCOPED_TRACE("written over");
    BuiltHive built = sound;
    built.SetBytes(at, 0, bins.first(4096));
    OpenedHive opened(built, BothHives());
    const Change change = {Erased(at, 4096).hits, [](uint32_t position) { return position; }};
    ExpectTheRest(opened, sound, change, true);
    ExpectApart(opened, at, at + 4096);
  }
}

// --- fragments ---------------------------------------------------------------------------------

// The stretch of the sound hive from `first` to `end`.
Change CutOut(const OpenedHive& opened, uint32_t first, uint32_t end) {
  const uint32_t moved = first + opened.hive.base_offset;
  return {[moved, end](uint32_t b, uint32_t e) { return b < moved || e > end; },
          [moved](uint32_t position) { return position - moved; }};
}

TEST(OffsetMap, FragmentsCutAnywhere) {
  for (const List list : {List::kLf, List::kLh, List::kLi}) {
    const BuiltHive sound = Groups(list);
    const auto size = static_cast<uint32_t>(sound.bytes.size());
    for (const uint32_t cut :
         {0U, 1U, 3U, 4U, 7U, 8U, 100U, 513U, 2048U, 4095U, 4096U, 5001U, 8192U, 8193U, 9999U}) {
      for (const uint32_t left_out : {0U, 5U, 3000U}) {
        SCOPED_TRACE(std::to_string(cut) + ", " + std::to_string(left_out));
        const uint32_t first = kDataArea + cut;
        const uint32_t end = size - left_out;
        OpenedHive opened{std::span(sound.bytes).subspan(first, end - first)};
        EXPECT_FALSE(opened.hive.header_valid);
        EXPECT_GE(ExpectTheRest(opened, sound, CutOut(opened, first, end), false), 8u);
      }
    }
  }
}

TEST(OffsetMap, FragmentsWithoutBlockHeader) {
  for (const List list : {List::kLf, List::kLh, List::kLi}) {
    const BuiltHive sound = Groups(list, 65536);
    ASSERT_EQ(sound.BinCount(), 1u);
    for (const uint32_t cut : {40U, 41U, 800U, 2005U, 5000U}) {
      for (const uint32_t length : {3000U, 6001U, 11000U}) {
        SCOPED_TRACE(std::to_string(static_cast<int>(list)) + " list, cut at " +
                     std::to_string(cut) + ", " + std::to_string(length) + " bytes");
        const uint32_t first = kDataArea + cut;
        OpenedHive opened{std::span(sound.bytes).subspan(first, length)};
        const Change change = CutOut(opened, first, first + length);
        // Lists without names may prove too little, but then nothing is shown in a wrong place.
        if (list == List::kLi && !opened.hive.data_base_proven) {
          EXPECT_EQ(LookAtTheRest(opened, sound, change, false).missing, Texts());
          for (const KeyItem& it : opened.tree.items)
            EXPECT_FALSE(it.entry != 0 || it.repairs != 0);
          continue;
        }
        EXPECT_TRUE(opened.hive.data_base_proven);
        EXPECT_EQ(opened.hive.data_base, 0U - cut - opened.hive.base_offset);
        EXPECT_GE(ExpectTheRest(opened, sound, change, false), 2u);
      }
    }
  }
  // Too little to prove anything: the key is shown, its offsets are not followed.
  const BuiltHive sound = Groups();
  const uint32_t key = sound.PositionOf(KeyPath(2, 2));
  OpenedHive opened{std::span(sound.bytes).subspan(key, 120)};
  EXPECT_FALSE(opened.hive.data_base_proven);
  EXPECT_TRUE(opened.Has("Disconnected Keys\\K22 key")) << ::testing::PrintToString(opened.Paths());
  EXPECT_EQ(opened.summary.keys, 1u);
}

TEST(OffsetMap, FragmentWhoseSecondBlockBeginsWithAKey) {
  const BuiltHive sound = Groups(List::kLh, 4096, true);
  for (uint32_t group = 1; group < kGroups; ++group) {
    SCOPED_TRACE(group);
    // The block before the group's own one, and all that follows.
    const uint32_t block = sound.PositionOf(GroupName(group)) - 32;
    ASSERT_EQ(block % 4096, 0u);
    const uint32_t first = block - 4096;
    OpenedHive opened{std::span(sound.bytes).subspan(first)};
    EXPECT_FALSE(opened.hive.header_valid);
    EXPECT_EQ(opened.hive.base_offset, 0u);
    const auto end = static_cast<uint32_t>(sound.bytes.size());
    EXPECT_GE(ExpectTheRest(opened, sound, CutOut(opened, first, end), false), kKeysOfGroup);
  }
}

// --- made to hurt ------------------------------------------------------------------------------

// Of this process, so that what else the machine does is no part of it.
double SecondsToOpen(std::span<const uint8_t> bytes, ImageSummary* summary = nullptr) {
  const std::clock_t start = std::clock();
  const OpenedHive opened(bytes);
  const auto taken = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  EXPECT_EQ(opened.tree.items[0].end, opened.tree.items.size());
  if (summary != nullptr) *summary = opened.summary;
  return taken;
}

void PutBin(Bytes& bytes, uint32_t at, uint32_t own_offset, uint32_t size) {
  PutBytes(bytes, at, Bytes{'h', 'b', 'i', 'n'});
  PutU32(bytes, at + 4, own_offset);
  PutU32(bytes, at + 8, size);
}

TEST(OffsetMapHostile, BinsAtManyDistances) {
  const Bytes hive = Groups().bytes;
  const auto start = static_cast<uint32_t>(hive.size());
  constexpr uint32_t kBins = 4000;
  struct Case {
    const char* what;
    uint32_t step;
    std::function<uint32_t(uint32_t)> own_offset;
    uint32_t size;
  };
  const Case cases[] = {
      {"ever farther", 4096, [](uint32_t i) { return 0x10000 + i * 8192; }, 4096},
      {"to and fro", 4096, [](uint32_t i) { return 0x10000 + (i ^ 1) * 4096; }, 4096},
      {"anywhere", 4096, [](uint32_t i) { return i * 2654435761U / 4096 * 4096; }, 4096},
      {"one in the other", 4096, [](uint32_t i) { return 0x10000 + i * 4096; }, 0x100000},
      {"all the same", 4096, [](uint32_t) { return 0x10000U; }, 4096},
      {"close together", 32, [](uint32_t i) { return 0x10000 + i * 4096; }, 4096}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes bytes = hive;
    bytes.resize(start + kBins * c.step + 4096);
    for (uint32_t i = 0; i < kBins; ++i) {
      PutBin(bytes, start + i * c.step, c.own_offset(i), c.size);
    }
    ImageSummary summary;
    EXPECT_LT(SecondsToOpen(bytes, &summary), kSeconds);
    EXPECT_EQ(summary.connected_keys, 46u) << "the hive before it stays what it was";
  }
}

TEST(OffsetMapHostile, ChainsThatNeverReach) {
  // Bins of 4 MB, moved a little each, full of cells of 8 bytes of which the first and the last
  // break the chain.
  constexpr uint32_t kBin = 4 * 1024 * 1024;
  constexpr uint32_t kBins = 3;
  Bytes bytes = Groups().bytes;
  const auto start = static_cast<uint32_t>(bytes.size());
  bytes.resize(start + kBins * (kBin + 8));
  for (uint32_t i = 0; i < kBins; ++i) {
    const uint32_t bin = start + i * (kBin + 8);
    PutBin(bytes, bin, start - kDataArea + i * kBin, kBin);
    for (uint32_t at = bin + 40; at < bin + kBin + 8; at += 8) PutU32(bytes, at, 0U - 8);
    PutU32(bytes, bin + 32, 0U - 12);
    PutU32(bytes, bin + kBin, 0U - 16384);
  }
  EXPECT_LT(SecondsToOpen(bytes), 3 * kSeconds);
}

// Clears what `clear` says of a sound hive's cells.
void DamageCells(Bytes& bytes, const std::function<bool(uint16_t signature, uint32_t n)>& clear) {
  uint32_t n = 0;
  for (uint32_t at = kDataArea; at + 8 <= bytes.size();) {
    if (GetU32(bytes, at) == kBinSignature) {
      at += kBinHeaderSize;
      continue;
    }
    const uint32_t size = GetU32(bytes, at);
    const uint32_t length = size > 0x7FFFFFFF ? 0U - size : size;
    ASSERT_GE(length, 8u);
    if (clear(GetU16(bytes, at + 4), n++)) {
      std::fill_n(bytes.begin() + at + 4, length - 4, uint8_t{0});
    }
    at += length;
  }
}

bool IsList(uint16_t signature) {
  return signature == 0x666C || signature == 0x686C || signature == 0x696C || signature == 0x6972;
}

TEST(OffsetMapHostile, TimeGrowsWithTheKeys) {
  struct Case {
    const char* what;
    std::function<bool(uint16_t, uint32_t)> clear;
  };
  const Case cases[] = {
      {"no list left", [](uint16_t signature, uint32_t) { return IsList(signature); }},
      {"every third cell lost", [](uint16_t, uint32_t n) { return n > 1 && n % 3 == 0; }},
      {"every second key lost",
       [](uint16_t signature, uint32_t n) { return n > 1 && signature == 0x6B6E && n % 2 == 0; }}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    double seconds[2] = {};
    constexpr uint32_t kKeys[2] = {25000 / kSizeShare, 100000 / kSizeShare};
    for (int i = 0; i < 2; ++i) {
      Bytes bytes = HiveOfKeys(kKeys[i]);
      DamageCells(bytes, c.clear);
      ImageSummary summary;
      seconds[i] = SecondsToOpen(bytes, &summary);
      EXPECT_GT(summary.disconnected_keys, kKeys[i] / 10);
    }
    EXPECT_LT(seconds[1], 3 * kSeconds);
    EXPECT_LT(seconds[1], 8 * seconds[0] + 0.1);
  }
}

TEST(OffsetMapHostile, ListsThatNameEmptyPlaces) {
  // 16 lists of 60,000 places each in 8 MB of free space, with keys that vouch for their counts.
  constexpr uint32_t kLists = 16;
  constexpr uint32_t kEntries = 60000;
  HiveBuilder builder;
  for (uint32_t i = 0; i < kLists; ++i) {
    builder.Key("K" + std::to_string(i))
        .CellBehind("L" + std::to_string(i), Bytes(8 * kEntries + 4));
  }
  builder.Key("Z").FreeBehind(0x800000);
  BuiltHive built = builder.Build();
  const uint32_t room = built.PositionOf("Z") + built.CellLength(built.PositionOf("Z")) + 8;
  for (uint32_t i = 0; i < kLists; ++i) {
    const uint32_t list = built.TaggedPosition("L" + std::to_string(i));
    const uint32_t key = built.PositionOf("K" + std::to_string(i));
    built.SetU16(list, 4, 0x666C).SetU16(list, 6, kEntries);
    for (uint32_t j = 0; j < kEntries; ++j) {
      built.Link(list, 8 + 8 * j, room + (i * kEntries + j) * 8).SetU32(list, 12 + 8 * j, 'A');
    }
    built.Link(key, field::kKeyList, list).SetU32(key, field::kKeySubkeys, kEntries);
  }
  ImageSummary summary;
  EXPECT_LT(SecondsToOpen(built.bytes, &summary), 3 * kSeconds);
  EXPECT_LE(summary.keys, built.bytes.size() / 8);
}

TEST(OffsetMapHostile, OneListForAll) {
  // The list's count is nobody's: every key looks for another list.
  constexpr uint32_t kKeys = 100000 / kSizeShare;
  Bytes bytes = SharedListHive(kKeys);
  for (uint32_t at = kDataArea; at + 8 <= bytes.size(); at += 8) {
    if (IsList(GetU16(bytes, at + 4)) && GetU32(bytes, at) > 0xF0000000) {
      PutU16(bytes, at + 6, static_cast<uint16_t>(GetU16(bytes, at + 6) - 1));
    }
  }
  ImageSummary summary;
  EXPECT_LT(SecondsToOpen(bytes, &summary), 3 * kSeconds);
  EXPECT_EQ(summary.keys, kKeys + 1);
}

TEST(OffsetMapHostile, UnlinkedKeysDeepDown) {
  // Keys that name the end of a long chain, each of them with a path of copies as long.
  constexpr uint32_t kDepth = 40000;
  Bytes bytes = DeepHive(kDepth);
  uint32_t tip = 0;
  for (uint32_t at = kDataArea; at + 8 <= bytes.size(); at += 8) {
    if (GetU16(bytes, at + 4) == 0x6B6E && GetU32(bytes, at + 24) == 0) tip = at;
  }
  ASSERT_NE(tip, 0u);
  const auto start = static_cast<uint32_t>(bytes.size());
  constexpr uint32_t kLength = 88;
  constexpr uint32_t kBin = (kDepth * kLength + 32 + 4095) / 4096 * 4096;
  bytes.resize(start + kBin);
  PutBin(bytes, start, start - kDataArea, kBin);
  const Bytes cell(bytes.begin() + tip, bytes.begin() + tip + kLength);
  for (uint32_t i = 0; i < kDepth; ++i) {
    const uint32_t at = start + 32 + i * kLength;
    PutBytes(bytes, at, cell);
    PutU32(bytes, at, 0U - kLength);
    PutU32(bytes, at + field::kKeyParent, tip - kDataArea);
  }
  ImageSummary summary;
  EXPECT_LT(SecondsToOpen(bytes, &summary), kSeconds);
  EXPECT_EQ(summary.disconnected_keys, kDepth);
}

}  // namespace
}  // namespace hivequarry::testing
