// Positions that are shown are those of the file, also where the image is not as the file is.
#include "hive/file_place.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <span>
#include <string>

#include "lists/list_writers.h"
#include "reports/hive_lists.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

constexpr uint32_t kSampleKeys = 65;  // of the sample, with its root

BuiltHive Sample() {
  HiveBuilder builder;
  for (int i = 0; i < 60; ++i) {
    builder.Key("Group" + std::to_string(i % 4) + "\\Key" + std::to_string(i))
        .Sz("text", "text of key " + std::to_string(i))
        .Binary("bytes", static_cast<uint32_t>(20 + 7 * i));
  }
  return builder.Build();
}

// As a program that takes the hive for text writes it: each 0A as 0D 0A.
Bytes CopiedAsText(const Bytes& bytes) {
  Bytes text;
  for (const uint8_t byte : bytes) {
    if (byte == 0x0A) text.push_back(0x0D);
    text.push_back(byte);
  }
  return text;
}

Bytes WithFeeds(Bytes bytes, uint32_t position, uint32_t count) {
  std::fill_n(bytes.begin() + position, count, uint8_t{0x0A});
  return bytes;
}

struct Moved {
  const char* what;
  std::function<Bytes(const BuiltHive&)> make;
  const char* words;  // part of what is said of it
};

Bytes PutIn(const BuiltHive& hive, uint32_t at, uint32_t count) {
  BuiltHive changed = hive;
  return changed.Insert(at, count, 0x55).bytes;
}

const Moved kMoved[] = {
    {"in order", [](const BuiltHive& hive) { return hive.bytes; }, ""},
    {"3 put in", [](const BuiltHive& hive) { return PutIn(hive, hive.BinPosition(1) + 200, 3); },
     "3 bytes put in at 0x"},
    {"5 lost",
     [](const BuiltHive& hive) {
       BuiltHive changed = hive;
       return changed.Erase(hive.DataPosition("Group1\\Key33", "bytes") + 30, 5).bytes;
     },
     "5 bytes lost at 0x"},
    {"pages swapped",
     [](const BuiltHive& hive) {
       Bytes bytes = hive.bytes;
       std::swap_ranges(bytes.begin() + 8192, bytes.begin() + 12288, bytes.begin() + 16384);
       return bytes;
     },
     "4096 bytes at 0x00004000 (16384) belong at 0x00002000 (8192)"},
    {"copied as text",
     [](const BuiltHive& hive) {
       const uint32_t data = hive.DataPosition("Group3\\Key59", "bytes") + 4;
       return CopiedAsText(WithFeeds(hive.bytes, data, 40));
     },
     "copied as text: every 0A became 0D 0A"},
    {"copied as text, bytes before it",
     [](const BuiltHive& hive) {
       const uint32_t data = hive.DataPosition("Group3\\Key59", "bytes") + 4;
       Bytes bytes(1000, 0x0A);
       const Bytes feeds = WithFeeds(hive.bytes, data, 40);
       bytes.insert(bytes.end(), feeds.begin(), feeds.end());
       return CopiedAsText(bytes);
     },
     "copied as text: every 0A became 0D 0A"},
};

// Of rows about keys, in JSON.
void ExpectTheFilesOffsets(const OpenedHive& opened, const Bytes& bytes) {
  std::string json;
  WriteHiveJsonLines(*ListKeyTree(opened.hive, opened.tree, 0), opened.hive,
                     [&json](std::string_view piece) {
                       json += piece;
                       return true;
                     });
  constexpr std::string_view kMember = "\"Offset\":";
  uint32_t rows = 0;
  for (size_t at = json.find(kMember); at != json.npos; at = json.find(kMember, at + 1)) {
    const size_t place = std::stoul(json.substr(at + kMember.size()));
    const uint32_t cell = opened.hive.base_offset + static_cast<uint32_t>(place);
    EXPECT_EQ(bytes[cell + 4], 'n') << place;
    ++rows;
  }
  EXPECT_EQ(rows, kSampleKeys);
}

// Whatever was undone, what is shown of a key leads to its bytes in the file, and back.
TEST(FilePlaces, LeadToTheBytes) {
  const BuiltHive sound = Sample();
  const Texts paths = OpenedHive(sound).Paths();
  for (const Moved& moved : kMoved) {
    SCOPED_TRACE(moved.what);
    const Bytes bytes = moved.make(sound);
    const OpenedHive opened{std::span<const uint8_t>(bytes)};
    EXPECT_EQ(opened.Paths(), paths);
    const std::string words = UndoneWords(opened.hive);
    EXPECT_EQ(words.empty(), std::string(moved.words).empty()) << words;
    EXPECT_NE(words.find(moved.words), std::string::npos) << words;
    EXPECT_EQ(FileEndOf(opened.hive), bytes.size());
    uint32_t right = 0;
    for (const KeyItem& it : opened.tree.items) {
      if (!IsKeyItem(opened.tree, static_cast<uint32_t>(&it - opened.tree.items.data()))) continue;
      const uint32_t place = PlaceOf(opened.hive, it.position);
      EXPECT_EQ(PositionOfPlace(opened.hive, place), it.position);
      const uint32_t at = FilePositionOf(opened.hive, it.position + 4);
      right += at + 1 < bytes.size() && bytes[at] == 'n' && bytes[at + 1] == 'k';
    }
    EXPECT_EQ(right, kSampleKeys);
    ExpectTheFilesOffsets(opened, bytes);
  }
}

// Bytes that are lost have no place of their own; positions that no image has stay as they are.
TEST(FilePlaces, OfWhatIsNotThere) {
  const BuiltHive sound = Sample();
  const uint32_t at = sound.DataPosition("Group1\\Key33", "bytes") + 30;
  BuiltHive changed = sound;
  const OpenedHive opened(changed.Erase(at, 64));
  ASSERT_FALSE(opened.hive.places.pieces.empty());
  EXPECT_EQ(PlaceOf(opened.hive, kNoOffset), kNoOffset);
  EXPECT_EQ(PlaceOf(opened.hive, opened.hive.held + 5), opened.hive.held + 5);
  EXPECT_EQ(LengthInFile(opened.hive), changed.bytes.size());
  EXPECT_EQ(opened.hive.length, sound.bytes.size());
}

// Text that has line ends by chance is no copy: nothing is taken out.
TEST(FilePlaces, HivesThatLookLikeTextCopies) {
  BuiltHive sound = Sample();
  for (size_t i = 4096; i < sound.bytes.size(); ++i) {
    if (sound.bytes[i] == 0x0A) sound.bytes[i] = 0x0B;
  }
  const uint32_t data = sound.DataPosition("Group3\\Key59", "bytes") + 4;
  for (const uint32_t pairs : {1U, 20U}) {
    SCOPED_TRACE(pairs);
    BuiltHive built = sound;
    for (uint32_t i = 0; i < pairs; ++i) {
      built.bytes[data + 2 * i] = 0x0D;
      built.bytes[data + 2 * i + 1] = 0x0A;
    }
    const OpenedHive opened(built);
    EXPECT_EQ(UndoneWords(opened.hive), "");
    EXPECT_EQ(opened.hive.length, built.bytes.size());
  }
}

}  // namespace
}  // namespace hivequarry::testing
