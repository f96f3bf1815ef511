// Keys and values that free space still holds: what is found of them, and what is taken for none.
#include "recovery/freed_records.h"

#include <gtest/gtest.h>

#include <functional>

#include "reports/freed_lists.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using testing::BuiltHive;
using testing::Bytes;
using testing::HiveBuilder;
using testing::OpenedHive;
using testing::Texts;
namespace field = testing::field;

constexpr const char* kPathD = "A\\C\\D with a name";

// C and D are to be deleted; A keeps another subkey, and with it the marks of both.
BuiltHive Sound() {
  HiveBuilder builder;
  builder.Key("A").Sz("kept", "of A").Sz("gone", "text of A");
  builder.Key("A\\K");
  builder.Key("A\\C").Sz("text", "long enough").Dword("number", 7).FreeBehind(64);
  builder.Key("A\\C\\D with a name").FreeBehind(64);
  builder.Key("Other").Binary("blob", 400).Binary("far", 17000);
  return builder.Build();
}

// Frees the cells of C, with its values, and of D.
void DeleteBranch(BuiltHive& hive) {
  const uint32_t list = hive.ValueListPosition("A\\C");
  const uint32_t cells[] = {hive.PositionOf("A\\C"),
                            hive.PositionOf(kPathD),
                            hive.ValuePosition("A\\C", "text"),
                            hive.ValuePosition("A\\C", "number"),
                            hive.DataPosition("A\\C", "text"),
                            hive.ListPosition("A\\C"),
                            list};
  hive.Unlink("A\\C");
  for (const uint32_t cell : cells) hive.Free(cell);
}

void CopyCell(BuiltHive& hive, uint32_t from, uint32_t to) {
  const Bytes cell(hive.bytes.begin() + from, hive.bytes.begin() + from + hive.CellLength(from));
  hive.SetBytes(to, 0, cell);
}

Texts FreedRowsOf(const OutputList& list) {
  Texts rows;
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    std::string& text = rows.emplace_back(CellText(list, row, 0));
    const bool keys = ListKindOf(list) == kListFreedKeys;
    for (const int column : keys ? std::vector{4, 5, 6} : std::vector{1, 3, 6}) {
      text.append("|").append(CellText(list, row, column));
    }
  }
  return rows;
}

struct FreedCase {
  const char* what;
  std::function<void(BuiltHive&)> change;  // of the hive whose branch was deleted
  Texts keys;
  Texts values;
};
void PrintTo(const FreedCase& c, std::ostream* out) { *out << c.what; }

const char* const kKeyC = "ROOT\\A\\C|2|2|free cell";
const char* const kKeyD = "ROOT\\A\\C\\D with a name|0|0|free cell";
const char* const kText = "ROOT\\A\\C|text|long enough|free cell";
const char* const kNumber = "ROOT\\A\\C|number|0x00000007 (7)|free cell";
const Texts kBothKeys = {kKeyC, kKeyD};
const Texts kValues = {kText, kNumber};

class Freed : public ::testing::TestWithParam<FreedCase> {};

TEST_P(Freed, IsListed) {
  BuiltHive built = Sound();
  DeleteBranch(built);
  GetParam().change(built);
  const OpenedHive opened(built);
  EXPECT_EQ(FreedRowsOf(*ListFreedKeys(opened.hive, opened.tree)), GetParam().keys);
  EXPECT_EQ(FreedRowsOf(*ListFreedValues(opened.hive, opened.tree, {})), GetParam().values);
}

using Change = std::function<void(BuiltHive&)>;
Change InKey(uint32_t offset, uint32_t number) {
  return [=](BuiltHive& hive) { hive.SetU32(hive.PositionOf(kPathD), offset, number); };
}
Change InNumber(uint32_t offset, uint32_t number) {
  return
      [=](BuiltHive& hive) { hive.SetU32(hive.ValuePosition("A\\C", "number"), offset, number); };
}
// A copy of the freed key in the data of a value in use, of which so many bytes are left.
Change InData(uint32_t length) {
  return [=](BuiltHive& hive) {
    hive.SetU32(hive.ValuePosition("Other", "blob"), field::kValueLength, length);
    CopyCell(hive, hive.PositionOf("A\\C"), hive.DataPosition("Other", "blob") + 80);
  };
}
Change InSegment(uint32_t index) {
  return [=](BuiltHive& hive) {
    CopyCell(hive, hive.PositionOf("A\\C"), hive.SegmentPosition("Other", "far", index) + 16);
  };
}
// A copy of the freed number over the freed key, so far from its start.
Change Over(uint32_t offset) {
  return [=](BuiltHive& hive) {
    const uint32_t key = hive.PositionOf(kPathD);
    hive.SetU32(key, field::kSize, hive.CellLength(key) + 64);
    CopyCell(hive, hive.ValuePosition("A\\C", "number"), key + offset);
  };
}
Change Parent(std::string_view path, std::string_view parent) {
  return [=](BuiltHive& hive) {
    hive.Link(hive.PositionOf(path), field::kKeyParent, hive.PositionOf(parent));
  };
}
const char* const kLooseNumber = "|number|0x00000007 (7)|free cell";
const char* const kLoose = "|number|0x00000007 (7)|inside a free cell";

const FreedCase kCases[] = {
    {"deleted", [](BuiltHive&) {}, kBothKeys, kValues},
    {"its value's cell reaches over it",
     [](BuiltHive& hive) {
       const uint32_t value = hive.ValuePosition("A\\C", "text");
       hive.SetU32(value, field::kSize, hive.PositionOf(kPathD) - value);
     },
     kBothKeys,
     {kText, "ROOT\\A\\C|number|0x00000007 (7)|inside a free cell"}},
    {"a control character in its name", InKey(field::kKeyName, 7), {kKeyC}, kValues},
    {"no time", InKey(field::kKeyTime + 4, 0), {kKeyC}, kValues},
    {"a name without room", InKey(field::kKeyNameLength, 400), {kKeyC}, kValues},
    {"user flags", InKey(field::kSignature, 0x10206B6E), kBothKeys, kValues},
    {"flags of no key", InKey(field::kSignature, 0x14406B6E), {kKeyC}, kValues},
    {"a type of no value",
     InNumber(field::kValueType, 0x0072C4E8),
     {"ROOT\\A\\C|2|1|free cell", kKeyD},
     {kText}},
    {"a type with an unknown upper half",
     InNumber(field::kValueType, 0x01000004),
     {"ROOT\\A\\C|2|1|free cell", kKeyD},
     {kText}},
    {"a type of device properties",
     InNumber(field::kValueType, 0xFFFF2012),
     kBothKeys,
     {kText, "ROOT\\A\\C|number|07 00 00 00 |free cell"}},
    {"a type with a known upper half", InNumber(field::kValueType, 0x00020004), kBothKeys, kValues},
    {"an odd type that a value in use has",
     [](BuiltHive& hive) {
       hive.SetU32(hive.ValuePosition("Other", "blob"), field::kValueType, 0x0072C4E8);
       hive.SetU32(hive.ValuePosition("A\\C", "number"), field::kValueType, 0x0072C4E8);
     },
     kBothKeys,
     {kText, "ROOT\\A\\C|number|07 00 00 00 |free cell"}},
    {"data of no length",
     InNumber(field::kValueLength, 0x80000005),
     {"ROOT\\A\\C|2|1|free cell", kKeyD},
     {kText}},
    {"in data in use", InData(400), kBothKeys, kValues},
    {"after data in use", InData(40), {kKeyC, kKeyD, "ROOT\\A\\C|2|2|after a record"}, kValues},
    {"in the first segment of long data", InSegment(0), kBothKeys, kValues},
    {"in the last segment of long data", InSegment(1), kBothKeys, kValues},
    {"its size overwritten",
     [](BuiltHive& hive) {
       const uint32_t value = hive.ValuePosition("A\\C", "text");
       hive.SetU32(value, field::kSize, hive.PositionOf(kPathD) + 96 - value);
       hive.SetU32(hive.PositionOf(kPathD), field::kSize, 0x00730065);
     },
     {kKeyC, "ROOT\\A\\C\\D with a name|0|0|inside a free cell"},
     {kText, "ROOT\\A\\C|number|0x00000007 (7)|inside a free cell"}},
    {"a flag of few keys", InKey(field::kSignature, 0x00306B6E), kBothKeys, kValues},
    {"its head overwritten", Over(24), {kKeyC}, {kText, kNumber, kLoose}},
    {"its name overwritten",
     Over(88),
     {kKeyC, "ROOT\\A\\C\\D with a|0|0|free cell"},
     {kText, kNumber, kLoose}},
    {"its own parent", Parent(kPathD, kPathD), {kKeyC, "?\\D with a name|0|0|free cell"}, kValues},
    {"a circle of parents",
     Parent("A\\C", kPathD),
     {"?\\D with a name\\C|2|2|free cell", "?\\C\\D with a name|0|0|free cell"},
     {"?\\D with a name\\C|text|long enough|free cell",
      "?\\D with a name\\C|number|0x00000007 (7)|free cell"}},
    {"a list that names itself and a key",
     [](BuiltHive& hive) {
       const uint32_t list = hive.ValueListPosition("A\\C");
       hive.Link(list, 4, list).Link(list, 8, hive.PositionOf("A\\C"));
     },
     {"ROOT\\A\\C|2|0|free cell", kKeyD},
     {"|text|long enough|free cell", kLooseNumber}},
    {"named after a list's end",
     [](BuiltHive& hive) {
       hive.SetU32(hive.PositionOf("A"), field::kKeyValues, 1)
           .Free(hive.ValuePosition("A", "gone"));
     },
     kBothKeys,
     {"ROOT\\A|gone|text of A|free cell, data in use", kText, kNumber}}};

INSTANTIATE_TEST_SUITE_P(Records, Freed, ::testing::ValuesIn(kCases));

// A registry takes names of values of up to 16,383 characters.
TEST(FreedNames, OfValuesAreLong) {
  const std::string name(3000, 'n');
  const std::string longest(16383, 'l');
  HiveBuilder builder;
  builder.BinSize(65536);
  builder.Key("A").Dword(name, 1).WideValue(longest, 4, {2, 0, 0, 0});
  builder.Key("B").Dword(name + "x", 3).WideValue(longest, 4, {4, 0, 0, 0});
  BuiltHive built = builder.Build();
  built.Free(built.ValuePosition("A", name)).Free(built.ValuePosition("A", longest));
  built.Free(built.ValueListPosition("A")).SetU32(built.PositionOf("A"), field::kKeyValues, 0);
  const OpenedHive opened(built);
  const OutputListPtr values = ListFreedValues(opened.hive, opened.tree, {});
  ASSERT_EQ(RowCount(*values), 2U) << "those in use are none";
  for (uint32_t row = 0; row < 2; ++row) {
    const bool first = RowDatum(*values, row) == built.ValuePosition("A", name);
    const std::string shown = (first ? name : longest).substr(0, 516) + "...";
    EXPECT_TRUE(CellText(*values, row, 1) == shown) << row;
  }
}

}  // namespace
}  // namespace hivequarry
