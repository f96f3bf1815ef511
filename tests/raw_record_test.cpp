#include "words/raw_record.h"

#include <gtest/gtest.h>

#include "reports/hive_lists.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using namespace testing;

BuiltHive SampleHive() {
  HiveBuilder builder;
  builder.Key("A").Sz("text", "hello").Dword("number", 7).Binary("big", 17000);
  builder.Key("A\\One").FreeBehind(256);
  builder.Key("A\\Two").CellBehind("odd", Bytes(20, 0x41));
  builder.Key("Ri").ListStyle(List::kRiOfLh, 1).Key("x");
  builder.Key("Ri\\y");
  builder.Key("Lf").ListStyle(List::kLf).Key("Child");
  return builder.Build();
}

// "meaning|leads to" of a field, the latter as shown; its row's datum is held against both.
std::string Shown(const OutputList& list, std::string_view field) {
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    if (CellText(list, row, 2) != field) continue;
    const std::string_view leads = CellText(list, row, 5);
    const std::string_view datum = leads.empty() ? CellText(list, row, 0) : leads;
    EXPECT_EQ(RowDatum(list, row), std::stoul(std::string(datum), nullptr, 16));
    return std::string(CellText(list, row, 4)) + "|" + std::string(leads);
  }
  return "no field";
}

TEST(RawRecord, FieldsOfEveryKind) {
  const BuiltHive built = SampleHive();
  OpenedHive opened(built);
  const uint32_t root = built.PositionOf("");
  const uint32_t a = built.PositionOf("A");
  const uint32_t number = built.ValuePosition("A", "number");
  const uint32_t list = built.ListPosition("A");
  const struct {
    uint32_t position;
    const char* field;
    const char* meaning;
    uint32_t leads_to;
  } cases[] = {
      {0, "Root key", "key \"ROOT\"", root},
      {built.BinPosition(0), "Block size", "4096", built.BinPosition(1)},
      {a, "Signature", "nk", 0},
      {a, "Parent", "key \"ROOT\"", root},
      {a, "Subkey list", "list lh, 2 entries", list},
      {a, "Value list", "value list", built.ValueListPosition("A")},
      {a, "Last write", "2021/03/04, 00:00:00", 0},
      {number, "Data", "0x00000007 (7)", 0},
      {built.ValuePosition("A", "text"), "Data", "allocated", built.DataPosition("A", "text")},
      {built.DataPosition("A", "big"), "Segment list", "allocated cell",
       built.SegmentListPosition("A", "big")},
      {built.ValueListPosition("A"), "Entry 1", "value \"number\"", number},
      {list, "Entry 1", "key \"Two\", hash 0x", built.PositionOf("A\\Two")},
      {built.ListPosition("Lf"), "Entry 0", "hint \"Chil\"", built.PositionOf("Lf\\Child")},
      {built.ListPosition("Ri"), "Entry 1", "list lh, 1 ", built.ChildListPosition("Ri", 1)},
      {built.SecurityPosition(), "Next record", "security record", built.SecurityPosition()},
      {built.TaggedPosition("odd"), "Bytes", "AAAAAAAAAAAAAAAA", 0}};
  for (const auto& c : cases) {
    const std::string shown = Shown(*ListRawRecord(opened.hive, opened.tree, c.position), c.field);
    EXPECT_NE(shown.find(c.meaning), std::string::npos) << c.field << ": " << shown;
    const std::string leads = c.leads_to == 0 ? "|" : Formatted("|0x%08X", c.leads_to);
    EXPECT_TRUE(shown.ends_with(leads)) << c.field << ": " << shown;
  }
  const OutputListPtr rows = ListRawRecord(opened.hive, opened.tree, a + 3);
  EXPECT_TRUE(ListSubtitle(*rows).ends_with(ItemPath(opened.hive, opened.tree, opened.Item("A"))));
  EXPECT_EQ(ListRawRecord(opened.hive, opened.tree, opened.hive.length), nullptr);
}

TEST(RawRecord, PositionsInsideFindTheRecord) {
  BuiltHive built = SampleHive();
  const uint32_t list = built.ListPosition("A");
  const uint32_t one = built.PositionOf("A\\One");
  const uint32_t free_cell = one + built.CellLength(one);
  const uint32_t hidden = free_cell + 64;  // a deleted value in a free cell
  const uint32_t odd = built.TaggedPosition("odd");
  built.SetU32(hidden, 0, 0xFFFFFFE0).SetU16(hidden, 4, 0x6B76).SetU32(odd, 0, 0x41414141);
  OpenedImage image(built.bytes);
  const struct {
    uint32_t position;
    uint32_t found;
    RecordKind kind;
  } cases[] = {{511, 0, RecordKind::kBaseBlock},
               {built.BinPosition(1) + 31, built.BinPosition(1), RecordKind::kBlockHeader},
               {one + 81, one, RecordKind::kKey},
               {list + built.CellLength(list) - 1, list, RecordKind::kList},
               {hidden, hidden, RecordKind::kValue},
               {hidden + 31, hidden, RecordKind::kValue},
               {hidden + 32, free_cell, RecordKind::kFree},
               {odd + 9, odd, RecordKind::kNoCell}};  // its size is lost
  for (const auto& c : cases) {
    const RecordPlace place = RecordAt(image.hive(), c.position);
    EXPECT_EQ(place.position, c.found) << c.position;
    EXPECT_EQ(place.kind, c.kind) << c.position;
  }
}

// A free cell that begins with a deleted value and took in the cell of its data: the data are
// found, not the value again.
TEST(RawRecord, DataInTheSameFreeCellAreAPlaceOfTheirOwn) {
  BuiltHive built = SampleHive();
  const uint32_t value = built.PositionOf("A\\One") + built.CellLength(built.PositionOf("A\\One"));
  const uint32_t data = value + 40;
  built.SetU32(value, 0, 72).SetU16(value, 4, 0x6B76).SetU16(value, 6, 4);
  built.SetU32(value, 8, 20).SetU32(value, 12, data - 4096).SetU32(value, 16, 3);
  built.SetU32(data, 0, static_cast<uint32_t>(-32));
  built.SetU32(value + 72, 0, 256 - 72);
  OpenedImage opened(built.bytes);
  const HiveImage& hive = opened.hive();
  EXPECT_EQ(RecordAt(hive, value).kind, RecordKind::kValue);
  EXPECT_EQ(RecordAt(hive, value + 8).position, value);
  const RecordPlace place = RecordAt(hive, data);
  EXPECT_EQ(place.kind, RecordKind::kFree);
  EXPECT_EQ(place.position, data);
  EXPECT_EQ(place.length, 32U);
}

// Every position has a record, and the record's rows follow each other inside the image.
void ExpectWhole(const HiveImage& hive, const RecordPlace& place, uint32_t position) {
  EXPECT_LE(place.position, position);
  EXPECT_GT(uint64_t{place.position} + place.length, position);
  uint32_t at = place.position;
  for (const RawField& field : ReadRawRecord(hive, place.position).fields) {
    ASSERT_EQ(field.position, at);
    ASSERT_TRUE(InsideHive(hive, at, field.size));
    ASSERT_TRUE(field.leads_to == kNoOffset || field.leads_to < hive.length);
    at += field.size;
  }
  EXPECT_GE(at, place.position + place.length);
}

TEST(RawRecord, HostileHives) {
  using Damage = void (*)(BuiltHive & hive);
  const Damage damages[] = {
      [](BuiltHive& hive) { hive.Cut(hive.PositionOf("A") + 45); },
      [](BuiltHive& hive) { hive.Cut(hive.SecurityPosition() + 26); },
      [](BuiltHive& hive) { hive.DropBaseBlock().Zero(0, 4128); },
      [](BuiltHive& hive) { hive.Erase(hive.PositionOf("A") + 8, 40); },
      [](BuiltHive& hive) { hive.SetU32(hive.BinPosition(0), 8, 0xFFFFF000); },
      [](BuiltHive& hive) {
        const uint32_t key = hive.PositionOf("A");
        hive.SetU32(key, 0, 0x80000000).SetU16(key, 76, 0xFFFF).SetU32(key, 20, 0xFFFFFFF7);
        hive.SetU32(hive.ListPosition("A"), 0, 8).SetU16(hive.ListPosition("A"), 6, 0xFFFF);
        hive.SetU32(hive.SecurityPosition(), 20, 0xFFFFFFF0);
      }};
  for (const Damage damage : damages) {
    BuiltHive built = SampleHive();
    damage(built);
    OpenedImage image(built.bytes);
    ASSERT_TRUE(image.opened());
    RecordPlace last;
    for (uint32_t p = 0; p < image.hive().length; p += 4) {
      const RecordPlace place = RecordAt(image.hive(), p);
      if (place.position != last.position || p == 0) ExpectWhole(image.hive(), place, p);
      last = place;
    }
    EXPECT_TRUE(ReadRawRecord(image.hive(), image.hive().length).fields.empty());
    EXPECT_TRUE(ReadRawRecord(image.hive(), kNoOffset).fields.empty());
  }
}

}  // namespace
}  // namespace hivequarry
