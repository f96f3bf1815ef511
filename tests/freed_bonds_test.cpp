// Where freed records are looked for, whose they are, and what an earlier state of the hive has
// left.
#include <gtest/gtest.h>

#include <functional>

#include "host/number_text.h"
#include "recovery/freed_records.h"
#include "reports/freed_lists.h"
#include "reports/hive_lists.h"
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

// The first column and the last one.
Texts PathsAndPlaces(const OutputList& list) {
  Texts rows;
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    rows.push_back(std::string(CellText(list, row, 0)) + "|" +
                   std::string(CellText(list, row, ColumnCount(list) - 1)));
  }
  return rows;
}

// --- places ----------------------------------------------------------------------------------

// Room for a key in every kind of record that can be larger than what it holds.
BuiltHive Roomy() {
  HiveBuilder builder;
  builder.Key("Gone").FreeBehind(64);
  testing::KeyRef key = builder.Key("Wide");
  for (int i = 0; i < 60; ++i) key.Dword("value " + std::to_string(i), 1);
  key.Class(std::string(200, 'c')).Binary("data", 400).Binary("far", 17000);
  for (int i = 0; i < 40; ++i) builder.Key("Wide").NewKey("key " + std::to_string(i));
  builder.Key("Slack").Slack(200);
  builder.Key("Slack").CellBehind("loose", Bytes(300, 0));
  Bytes descriptor(300, 0);
  descriptor[0] = 1;
  builder.Key("Guarded").Security(builder.AddSecurity(descriptor));
  return builder.Build();
}

struct PlaceCase {
  const char* what;
  std::function<uint32_t(BuiltHive&)> prepare;  // and where the record is to be
  const char* place;                            // null where it is no freed record
};
void PrintTo(const PlaceCase& c, std::ostream* out) { *out << c.what; }

class FreedPlaces : public ::testing::TestWithParam<PlaceCase> {};

TEST_P(FreedPlaces, HoldARecord) {
  BuiltHive built = Roomy();
  const uint32_t gone = built.PositionOf("Gone");
  const Bytes cell(built.bytes.begin() + gone, built.bytes.begin() + gone + built.CellLength(gone));
  built.Unlink("Gone").Zero(gone + 4, built.CellLength(gone) - 4).Free(gone);
  const uint32_t at = GetParam().prepare(built);
  built.SetBytes(at, 0, cell).Free(at);
  const OpenedHive opened(built);
  Texts expected;
  if (GetParam().place != nullptr) expected = {std::string("ROOT\\Gone|") + GetParam().place};
  EXPECT_EQ(PathsAndPlaces(*ListFreedKeys(opened.hive, opened.tree)), expected);
}

const PlaceCase kPlaces[] = {
    {"a value list after its count",
     [](BuiltHive& hive) {
       hive.SetU32(hive.PositionOf("Wide"), field::kKeyValues, 3);
       return hive.ValueListPosition("Wide") + 16;
     },
     "after a record"},
    {"a value list", [](BuiltHive& hive) { return hive.ValueListPosition("Wide") + 16; }, nullptr},
    {"a subkey list after its count",
     [](BuiltHive& hive) {
       hive.SetU16(hive.ListPosition("Wide"), field::kListCount, 1);
       return hive.ListPosition("Wide") + 16;
     },
     "after a record"},
    {"a class name's cell",
     [](BuiltHive& hive) {
       hive.SetU16(hive.PositionOf("Wide"), field::kKeyClassLength, 30);
       return hive.ClassPosition("Wide") + 40;
     },
     "after a record"},
    {"a class name", [](BuiltHive& hive) { return hive.ClassPosition("Wide") + 40; }, nullptr},
    {"data's cell",
     [](BuiltHive& hive) {
       hive.SetU32(hive.ValuePosition("Wide", "data"), field::kValueLength, 12);
       return hive.DataPosition("Wide", "data") + 16;
     },
     "after a record"},
    {"the cell of a last segment",
     [](BuiltHive& hive) {
       hive.SetU32(hive.ValuePosition("Wide", "far"), field::kValueLength, testing::kSegment + 20);
       return hive.SegmentPosition("Wide", "far", 1) + 24;
     },
     "after a record"},
    {"a last segment", [](BuiltHive& hive) { return hive.SegmentPosition("Wide", "far", 1) + 24; },
     nullptr},
    {"a key's cell", [](BuiltHive& hive) { return hive.PositionOf("Slack") + 96; },
     "after a record"},
    {"a security record's cell",
     [](BuiltHive& hive) {
       hive.SetU32(hive.SecurityPosition(1), field::kSecurityLength, 20);
       return hive.SecurityPosition(1) + 48;
     },
     "after a record"},
    {"a cell that nothing names", [](BuiltHive& hive) { return hive.TaggedPosition("loose") + 16; },
     "after a record"},
    {"after the last block",
     [](BuiltHive& hive) {
       hive.bytes.resize(hive.bytes.size() + 512);
       return static_cast<uint32_t>(hive.bytes.size() - 400);
     },
     "outside cells"}};
INSTANTIATE_TEST_SUITE_P(Kinds, FreedPlaces, ::testing::ValuesIn(kPlaces));

// --- types -----------------------------------------------------------------------------------

// As a driver package left it: a number with something of its owner's in the type's upper half.
TEST(FreedTypes, ThePlainTypeStandsFirst) {
  Bytes record = {0x76, 0x6B, 14, 0, 4, 0, 0, 0x80, 15, 0, 0, 0, 4, 0, 2, 0, 1, 0, 0, 0};
  for (const char c : std::string("TCPConnectTime")) record.push_back(static_cast<uint8_t>(c));
  record.resize(600);
  HiveBuilder builder;
  builder.Key("A").CellBehind("value", record, false);
  BuiltHive built = builder.Build();
  {
    const OpenedHive opened(built);
    const OutputListPtr list = ListFreedValues(opened.hive, opened.tree, {});
    ASSERT_EQ(RowCount(*list), 1u);
    EXPECT_EQ(CellText(*list, 0, 1), "TCPConnectTime");
    EXPECT_EQ(CellText(*list, 0, 2), "REG_DWORD (0x20004)");
    EXPECT_EQ(CellText(*list, 0, 3), "0x0000000F (15)");
  }
  for (const uint32_t type : {0x72C4E8u, 0x1B2C88u, 0x80000004u}) {
    built.SetU32(built.TaggedPosition("value"), field::kValueType, type);
    const OpenedHive opened(built);
    EXPECT_EQ(RowCount(*ListFreedValues(opened.hive, opened.tree, {})), 0u) << type;
  }
}

// --- marks -----------------------------------------------------------------------------------

BuiltHive Parents() {
  HiveBuilder builder;
  builder.Key("Parent").Sz("a", "text").Sz("former", "another text");
  builder.Key("Parent\\A child").Sz("of the child", "of no length").FreeBehind(64);
  builder.Key("Parent\\Other");
  BuiltHive built = builder.Build();
  built.Unlink("Parent\\A child").Free(built.PositionOf("Parent\\A child"));
  built.Free(built.ValuePosition("Parent\\A child", "of the child"))
      .Free(built.DataPosition("Parent\\A child", "of the child"));
  built.SetU32(built.PositionOf("Parent"), field::kKeyValues, 1)
      .Free(built.ValuePosition("Parent", "former"))
      .Free(built.DataPosition("Parent", "former"));
  return built;
}

constexpr uint32_t kLongestSubkey = 56;  // bytes from the start of a key's cell
constexpr uint32_t kLongestName = 64;
constexpr uint32_t kLargestData = 68;

struct MarkCase {
  const char* what;
  const char* path;  // of the key whose field is set
  uint32_t field;
  uint32_t number;
  Texts keys;
  Texts values;
};
void PrintTo(const MarkCase& c, std::ostream* out) { *out << c.what; }

class FreedBonds : public ::testing::TestWithParam<MarkCase> {};

TEST_P(FreedBonds, FollowTheMarks) {
  BuiltHive built = Parents();
  if (GetParam().path != nullptr) {
    built.SetU32(built.PositionOf(GetParam().path), GetParam().field, GetParam().number);
  }
  if (GetParam().field == field::kKeySubkeys) {
    built.SetU32(built.PositionOf("Parent"), kLongestSubkey, 0);
  }
  const OpenedHive opened(built);
  EXPECT_EQ(PathsAndPlaces(*ListFreedKeys(opened.hive, opened.tree)), GetParam().keys);
  Texts values = PathsAndPlaces(*ListFreedValues(opened.hive, opened.tree, {}));
  for (std::string& row : values) {
    for (const char* path : {"Parent", "Parent\\A child"}) {
      const size_t at = row.find(HexNumber(built.PositionOf(path)));
      if (at != std::string::npos) row.replace(at, 10, path);
    }
  }
  EXPECT_EQ(values, GetParam().values);
}

const char* const kChild = "ROOT\\Parent\\A child|free cell";
const char* const kFormer = "ROOT\\Parent|free cell";
const char* const kOfChild = "ROOT\\Parent\\A child|free cell";
const std::string kRuledOut = "|free cell, ruled out by the marks of the key at ";
const MarkCase kMarkCases[] = {
    {"as they were", nullptr, 0, 0, {kChild}, {kFormer, kOfChild}},
    {"just long enough", "Parent", kLongestSubkey, 14, {kChild}, {kFormer, kOfChild}},
    {"a name longer than any of the parent's subkeys",
     "Parent",
     kLongestSubkey,
     13,
     {"?\\A child|free cell, parent's place was used again"},
     {kFormer, "?\\A child|free cell"}},
    {"a parent without subkeys",
     "Parent",
     field::kKeySubkeys,
     0,
     {"ROOT\\Parent\\A child|free cell, not confirmed"},
     {kFormer, "ROOT\\Parent\\A child|free cell, not confirmed"}},
    {"a name longer than any of the list's key",
     "Parent",
     kLongestName,
     11,
     {kChild},
     {kRuledOut + "Parent whose list names it", kOfChild}},
    {"data longer than any of the list's key",
     "Parent",
     kLargestData,
     25,
     {kChild},
     {kRuledOut + "Parent whose list names it", kOfChild}},
    {"a name longer than any of the freed key",
     "Parent\\A child",
     kLongestName,
     23,
     {kChild},
     {kFormer, kRuledOut + "Parent\\A child whose list names it"}}};
INSTANTIATE_TEST_SUITE_P(Marks, FreedBonds, ::testing::ValuesIn(kMarkCases));

// --- an earlier state's offsets --------------------------------------------------------------

constexpr uint32_t kBranches = 4;

std::string Branch(uint32_t i) { return "Old\\Service " + std::to_string(i); }

void AddTo(BuiltHive& hive, uint32_t cell, uint32_t at, uint32_t more) {
  const uint32_t offset = hive.U32(cell, at);
  if (offset != testing::kNone) hive.SetU32(cell, at, offset + more);
}

// A key with its values as an earlier state of the hive had them.
void Age(BuiltHive& hive, const std::string& path, uint32_t more) {
  const uint32_t key = hive.PositionOf(path);
  AddTo(hive, key, field::kKeyParent, more);
  AddTo(hive, key, field::kKeyValueList, more);
  const uint32_t list = hive.ValueListPosition(path);
  for (const char* name : {"text", "number"}) {
    const uint32_t value = hive.ValuePosition(path, name);
    if (std::string_view(name) == "text") {
      AddTo(hive, value, field::kValueData, more);
      hive.Free(hive.DataPosition(path, name));
    }
    hive.Free(value);
  }
  AddTo(hive, list, 4, more);
  AddTo(hive, list, 8, more);
  hive.Free(list).Free(key);
}

BuiltHive Aged(uint32_t more, uint32_t branches = kBranches) {
  HiveBuilder builder;
  builder.Key("Live").Sz("text", "in use").Binary("pages", 16000);
  builder.Key("Old").NewBin();
  for (uint32_t i = 0; i < branches; ++i) {
    builder.Key(Branch(i)).Sz("text", "of " + std::to_string(i)).Dword("number", i);
    builder.Key(Branch(i) + "\\Parameters").Sz("text", "below it").Dword("number", i);
  }
  builder.Key("Old").CellBehind("page", Bytes(2048, 0), false);
  BuiltHive built = builder.Build();
  built.Unlink("Old");
  for (uint32_t i = 0; i < branches; ++i) {
    Age(built, Branch(i), more);
    Age(built, Branch(i) + "\\Parameters", more);
  }
  AddTo(built, built.PositionOf("Old"), field::kKeyParent, more);
  built.Free(built.PositionOf("Old")).Free(built.ListPosition("Old"));
  for (uint32_t i = 0; i < branches; ++i) built.Free(built.ListPosition(Branch(i)));
  return built;
}

struct Found {
  uint32_t with_parent = 0;
  uint32_t values_found = 0;
  uint32_t values_with_key = 0;
  uint32_t noted = 0;
};
bool operator==(const Found& a, const Found& b) {
  return a.with_parent == b.with_parent && a.values_found == b.values_found &&
         a.values_with_key == b.values_with_key && a.noted == b.noted;
}
void PrintTo(const Found& found, std::ostream* out) {
  *out << found.with_parent << " " << found.values_found << " " << found.values_with_key << " "
       << found.noted;
}

Found FindAged(const BuiltHive& built, uint32_t shift) {
  const OpenedHive opened(built);
  const FreedRecords records = FindFreedRecords(opened.hive, opened.tree);
  Found found;
  for (const FreedKey& key : records.keys) {
    found.with_parent += key.parent != kNoOffset;
    found.values_found += key.values_found;
    found.noted += FreedPlaceWords(key).ends_with(ShiftWords(shift));
  }
  for (const FreedValue& value : records.values) found.values_with_key += value.key != kNoOffset;
  return found;
}

TEST(FreedShifts, AreFoundByWhatAgrees) {
  const uint32_t kWhole[] = {0x116000, 0x1000, 0U - 0x3000};
  for (const uint32_t shift : kWhole) {
    EXPECT_EQ(FindAged(Aged(shift), shift), (Found{8, 16, 16, 9})) << shift;
  }
  for (const uint32_t shift : {0x18u, 0x21F8u}) {
    EXPECT_EQ(FindAged(Aged(shift), shift), (Found{8, 16, 16, 9})) << shift;
  }
  // Two lists are not enough; nor is what the two keys' parents add: nothing is related.
  EXPECT_EQ(FindAged(Aged(0x116000, 1), 0x116000).values_with_key, 4u);
}

TEST(FreedShifts, AreNamedAndReadWith) {
  const OpenedHive opened(Aged(0x116000));
  const OutputListPtr keys = ListFreedKeys(opened.hive, opened.tree);
  EXPECT_EQ(CellText(*keys, 2, 0), "?\\Old\\Service 0\\Parameters");
  EXPECT_EQ(CellText(*keys, 2, 6),
            "free cell, offsets are those of an earlier state of the hive: 0x116000 more");
  const OutputListPtr values = ListFreedValues(opened.hive, opened.tree, {});
  EXPECT_EQ(CellText(*values, 0, 0), "?\\Old\\Service 0");
  EXPECT_EQ(CellText(*values, 0, 3), "of 0");
}

// What leads to cells in use when the shift is left out is not followed there.
TEST(FreedShifts, DoNotLeadToCellsInUse) {
  BuiltHive built = Aged(0x1000);
  const uint32_t value = built.ValuePosition(Branch(1), "text");
  built.Link(value, field::kValueData, built.DataPosition("Live", "text"));
  built.Link(built.PositionOf(Branch(2)), field::kKeyParent, built.PositionOf("Live"));
  const OpenedHive opened(built);
  const OutputListPtr values = ListFreedValues(opened.hive, opened.tree, {});
  const OutputListPtr keys = ListFreedKeys(opened.hive, opened.tree);
  for (uint32_t row = 0; row < RowCount(*values); ++row) {
    EXPECT_NE(CellText(*values, row, 3), "in use");
  }
  for (uint32_t row = 0; row < RowCount(*keys); ++row) {
    EXPECT_FALSE(CellText(*keys, row, 0).starts_with("ROOT")) << CellText(*keys, row, 0);
  }
}

}  // namespace
}  // namespace hivequarry
