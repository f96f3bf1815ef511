// The check of a hive's structure: each code on a hive with that damage alone, nothing on sound
// hives, and what independent code found in the real ones.
#include "check/check.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "hive/opening.h"
#include "reports/check_list.h"
#include "tests/support/corpus.h"
#include "tests/support/deadline.h"
#include "tests/support/hostile_hives.h"
#include "tests/support/opened_hive.h"
#include "tests/support/sample_hives.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

// "K9 1 X1 2": codes with their counts, in the order of the table. High-water marks, which the
// builder does not write, only with `marks`.
std::string Codes(const CheckResult& result, bool marks = false) {
  std::string text;
  for (size_t i = 0; i < kCheckCodes; ++i) {
    const std::string name = InfoOf(static_cast<CheckCode>(i)).name;
    if (result.by_code[i] == 0 || (!marks && name[0] == 'M')) continue;
    text += (text.empty() ? "" : " ") + name + " " + std::to_string(result.by_code[i]);
  }
  return text;
}
std::string CodesOf(const Bytes& bytes) { return Codes(CheckHive(bytes)); }

BuiltHive SmallHive() {
  HiveBuilder hive;
  hive.Key("A\\B").Sz("v", "text").Sz("w", "more text").Class("class");
  hive.Key("A\\C").Dword("d", 7).FreeBehind(32);
  hive.Key("Big").Binary("b", 40000);
  hive.Key("List").ListStyle(List::kRiOfLh, 2);
  for (const char* name : {"k0", "k1", "k2", "k3"}) hive.Key("List").NewKey(name);
  hive.Key("Old").ListStyle(List::kLf).NewKey("x");
  const uint32_t second = hive.AddSecurity(
      SecurityDescriptor("S-1-5-18", "S-1-5-18", {{.type = 0, .sid = "S-1-5-18"}}, {}));
  hive.Key("A\\B").Security(second);
  return hive.Build();
}

struct Damage {
  const char* codes;
  std::function<void(BuiltHive&)> apply;
};

void ExpectCodes(const Damage& damage) {
  BuiltHive hive = SmallHive();
  damage.apply(hive);
  const bool base = std::string_view(damage.codes).starts_with('H');
  if (!base) FixChecksum(hive.bytes);
  EXPECT_EQ(CodesOf(hive.bytes), damage.codes);
}

constexpr uint32_t kNoCell = 0x00F00000;

TEST(CheckTest, SoundHivesHaveNoFault) {
  EXPECT_EQ(CodesOf(SmallHive().bytes), "");
  EXPECT_EQ(CodesOf(SoundSample().bytes), "");
  EXPECT_EQ(CodesOf(FlatHive(3000)), "");
  EXPECT_EQ(CodesOf(HiveOfValues(3000)), "");
}

TEST(CheckTest, BaseBlockAndBlocks) {
  const auto set = [](uint32_t at, uint32_t value, bool sum = true) {
    return [=](BuiltHive& hive) {
      PutU32(hive.bytes, at, value);
      if (sum) FixChecksum(hive.bytes);
    };
  };
  const Damage cases[] = {
      {"H1 1", set(0, 0x21212121)},
      {"H1 1", [](BuiltHive& hive) { hive.bytes[1] = 'E', FixChecksum(hive.bytes); }},
      {"H2 1", set(12, 5, false)},
      {"H3 1", set(4, 9)},
      {"H4 1", set(24, 7)},
      {"H4 1", set(24, 2)},
      {"H5 1", set(28, 3)},
      {"H6 1", set(32, 2)},
      {"H6 1", set(44, 4)},
      {"H9 1", [](BuiltHive& hive) { hive.bytes.resize(hive.bytes.size() + 512, 7); }},
      {"H10 1", [](BuiltHive& hive) { hive.bytes.resize(hive.bytes.size() + 512); }},
      {"H10 1 H11 1", [](BuiltHive& hive) { hive.bytes.resize(hive.bytes.size() + 8); }},
      {"B2 1", [](BuiltHive& hive) { hive.SetU32(hive.BinPosition(1), 4, 0x9000); }},
      {"B3 1", [](BuiltHive& hive) { hive.SetU32(hive.BinPosition(0), 8, 0xF00000); }},
      {"R2 1", [](BuiltHive& hive) { hive.SetU16(hive.PositionOf(""), 6, 0x28); }},
      {"R1 1", set(36, 8)},
  };
  for (const Damage& damage : cases) ExpectCodes(damage);
  BuiltHive stale = SmallHive();
  const Bytes block(stale.bytes.begin() + stale.BinPosition(0),
                    stale.bytes.begin() + stale.BinPosition(0) + 4096);
  stale.bytes.insert(stale.bytes.end(), block.begin(), block.end());
  PutU32(stale.bytes, static_cast<uint32_t>(stale.bytes.size()) - 4092, GetU32(stale.bytes, 40));
  EXPECT_EQ(CodesOf(stale.bytes), "H9 1 H12 1");
  const CheckResult odd = CheckHive(stale.bytes);
  EXPECT_EQ(odd.findings.back().level, CheckLevel::kOdd);
  stale.bytes[12] ^= 1;
  EXPECT_EQ(CheckHive(stale.bytes).findings.back().level, CheckLevel::kFault);
}

TEST(CheckTest, Keys) {
  const auto key16 = [](const char* path, uint32_t at, uint16_t value) {
    return [=](BuiltHive& hive) { hive.SetU16(hive.PositionOf(path), at, value); };
  };
  const auto key32 = [](const char* path, uint32_t at, uint32_t value) {
    return [=](BuiltHive& hive) { hive.SetU32(hive.PositionOf(path), at, value); };
  };
  const Damage cases[] = {
      {"K4 1 L12 1", key16("A\\C", field::kKeyNameLength, 200)},
      {"K5 1 L11 1 L12 1", key16("A\\C", field::kKeyNameLength, 0)},
      {"K6 1 L11 1 L12 1", key16("A\\C", field::kKeyFlags, 0)},
      {"K7 1", key16("A\\C", field::kKeyFlags, 0x21)},
      {"K8 1", key16("A\\C", field::kKeyFlags, 0x24)},
      // Damaged flags make no UTF-16 of a name of bytes, as everywhere.
      {"K8 1", key16("A\\C", field::kKeyFlags, 0x04)},
      {"", key16("A\\C", field::kKeyFlags, 0x1030)},
      {"K9 1", key32("A\\C", field::kKeyParent, 0x20)},
      {"K13 1", [](BuiltHive& hive) { hive.Zero(hive.PositionOf("Old") + field::kKeyTime, 8); }},
      {"K14 1", key32("Old", field::kKeyVolatileSubkeys, 3)},
      {"K15 1", key32("Old", field::kKeySubkeys, 2)},
      {"K15 1 Lx 1 L1 1 S3 1 X1 2", key32("Old", field::kKeyList, kNoCell)},
      {"L7 1 S3 1 X1 1", key32("Old", field::kKeySubkeys, 0)},
      {"Nx 1 N1 1 X1 1", key32("A\\B", field::kKeyClass, kNoCell)},
      {"N1 1", key16("A\\B", field::kKeyClassLength, 400)},
      {"N2 1", key16("A\\B", field::kKeyClassLength, 0)},
      {"S1 1 S3 1", key32("A\\C", field::kKeySecurity, kNone)},
      {"Sx 1 S3 1", key32("A\\C", field::kKeySecurity, kNoCell)},
      {"S2 1 S3 1", key32("A\\C", field::kKeySecurity, 0x20)},
      {"K11 1 L12 1",
       [](BuiltHive& hive) { hive.SetU8(hive.PositionOf("A\\C"), field::kKeyName, '\\'); }},
      {"Kx 1 L8 1 S3 1 X1 1",
       [](BuiltHive& hive) { hive.SetU32(hive.OwnEntryPosition("Old\\x"), 0, kNoCell); }},
      {"C2 1 Kf 1 L8 1 S3 1", [](BuiltHive& hive) { hive.Free(hive.PositionOf("Old\\x")); }},
      {"L9 1 S3 1 X1 1",
       [](BuiltHive& hive) {
         hive.SetU32(hive.OwnEntryPosition("Old\\x"), 0, hive.ValueListPosition("A\\B") - 4096);
       }},
      {"K2 1 S3 1 X1 1",
       [](BuiltHive& hive) {
         hive.SetU32(hive.OwnEntryPosition("Old\\x"), 0, hive.PositionOf("A\\C") - 4096);
       }},
      {"K2 1 S3 1 X1 1",
       [](BuiltHive& hive) {
         hive.SetU32(hive.OwnEntryPosition("Old\\x"), 0, 0x20);  // back to the root
       }},
      // A list with two owners: its key is listed twice.
      {"K2 1 X2 1",
       [](BuiltHive& hive) {
         hive.Link(hive.PositionOf("Big"), field::kKeyList, hive.ListPosition("Old"));
         hive.SetU32(hive.PositionOf("Big"), field::kKeySubkeys, 1);
       }},
  };
  for (const Damage& damage : cases) ExpectCodes(damage);
}

TEST(CheckTest, Lists) {
  const auto set16 = [](uint32_t at, uint16_t value) {
    return [=](BuiltHive& hive) { hive.SetU16(hive.ListPosition("A"), at, value); };
  };
  const Damage cases[] = {
      {"K15 1 L2 1 S3 2 S8 1 X1 10", set16(field::kSignature, 0x7878)},
      {"L3 1", set16(field::kListCount, 900)},
      {"K15 1 L4 1 S3 2 S8 1 X1 10", set16(field::kListCount, 0)},
      {"L6 4 V12 1 X1 4", [](BuiltHive& hive) { hive.SetU32(0, 24, 3); }},
      {"K15 1 L5 1 S3 1 X1 3",
       [](BuiltHive& hive) {
         hive.SetU16(hive.ChildListPosition("List", 0), field::kSignature, 0x6972);
       }},
      {"K15 1 Lx 1 L1 1 S3 1 X1 3",
       [](BuiltHive& hive) {
         hive.SetU32(hive.ListPosition("List"), field::kListEntries, kNoCell);
       }},
      {"L10 1",
       [](BuiltHive& hive) {
         hive.SetU8(hive.PositionOf("List\\k1"), field::kKeyName + 1, '0');
         hive.SetBytes(hive.OwnEntryPosition("List\\k1"), 4,
                       std::span(hive.bytes).subspan(hive.OwnEntryPosition("List\\k0") + 4, 4));
       }},
      {"L11 1",
       [](BuiltHive& hive) {
         const Bytes entry(hive.bytes.begin() + hive.EntryPosition("A", 0),
                           hive.bytes.begin() + hive.EntryPosition("A", 1));
         const Bytes other(hive.bytes.begin() + hive.EntryPosition("A", 1),
                           hive.bytes.begin() + hive.EntryPosition("A", 1) + 8);
         hive.SetBytes(hive.EntryPosition("A", 0), 0, other);
         hive.SetBytes(hive.EntryPosition("A", 1), 0, entry);
       }},
      {"L12 1", [](BuiltHive& hive) { hive.FlipBit(hive.OwnEntryPosition("A\\C") + 4, 0); }},
      {"L13 1", [](BuiltHive& hive) { hive.FlipBit(hive.OwnEntryPosition("Old\\x") + 4, 0); }},
  };
  for (const Damage& damage : cases) ExpectCodes(damage);
}

TEST(CheckTest, Values) {
  const auto of_key = [](uint32_t at, uint32_t value) {
    return [=](BuiltHive& hive) { hive.SetU32(hive.PositionOf("A\\B"), at, value); };
  };
  const auto of_value = [](const char* name, uint32_t at, uint32_t value) {
    return [=](BuiltHive& hive) { hive.SetU32(hive.ValuePosition("A\\B", name), at, value); };
  };
  const auto of_big = [](uint32_t at, uint32_t value) {
    return [=](BuiltHive& hive) { hive.SetU32(hive.DataPosition("Big", "b"), at, value); };
  };
  const Damage cases[] = {
      {"Vx 1 V1 1 X1 5", of_key(field::kKeyValueList, kNoCell)},
      {"Vx 1 V2 1 V3 1", of_key(field::kKeyValues, 900)},
      {"Vx 1 V3 1 X1 2",
       [](BuiltHive& hive) { hive.SetU32(hive.ValueListPosition("A\\B"), 4, kNoCell); }},
      {"Vf 1 V3 1 X1 1", [](BuiltHive& hive) { hive.Free(hive.ValuePosition("A\\B", "v")); }},
      {"V4 1 X1 2", [](BuiltHive& hive) { hive.SetU32(hive.ValueListPosition("A\\B"), 4, 0x20); }},
      {"V5 1",
       [](BuiltHive& hive) {
         hive.SetU16(hive.ValuePosition("A\\B", "v"), field::kValueNameLength, 300);
       }},
      {"V6 1",
       [](BuiltHive& hive) {
         hive.SetU8(hive.ValuePosition("A\\B", "w"), field::kValueName, 'V');
       }},
      {"V7 1 X1 1", of_value("v", field::kValueLength, 0x80000005)},
      {"V13 1", of_value("v", field::kValueLength, 4)},
      {"Dx 1 V8 1 X1 1", of_value("v", field::kValueData, kNoCell)},
      {"Df 1 V8 1", [](BuiltHive& hive) { hive.Free(hive.DataPosition("A\\B", "v")); }},
      {"V12 1", of_value("v", field::kValueLength, 5000)},
      {"V12 1 V9 1 X1 4", of_big(field::kSignature, 0)},
      {"V10 1 V11 1",
       [](BuiltHive& hive) { hive.SetU16(hive.DataPosition("Big", "b"), field::kBigCount, 4); }},
      {"Dx 1 V8 1 X1 4", of_big(field::kBigList, kNoCell)},
      {"Dx 1 V11 1 X1 1",
       [](BuiltHive& hive) { hive.SetU32(hive.SegmentListPosition("Big", "b"), 4, kNoCell); }},
      {"X1 1 X2 1",
       [](BuiltHive& hive) {
         hive.Link(hive.ValuePosition("A\\B", "v"), field::kValueData,
                   hive.DataPosition("A\\B", "w"));
       }},
  };
  for (const Damage& damage : cases) ExpectCodes(damage);
}

TEST(CheckTest, SecurityRecords) {
  const auto set = [](uint32_t record, uint32_t at, uint32_t value) {
    return [=](BuiltHive& hive) { hive.SetU32(hive.SecurityPosition(record), at, value); };
  };
  const Damage cases[] = {
      {"S3 1", set(1, field::kSecurityReferences, 9)},
      {"S4 1", set(1, field::kSecurityLength, 9000)},
      {"S4 1",
       [](BuiltHive& hive) {  // the list counts one entry more
         const uint32_t record = hive.SecurityPosition(1);
         const uint32_t list = hive.U32(record, field::kSecurityDescriptor + 16);
         hive.SetU16(record, field::kSecurityDescriptor + list + 4, 2);
       }},
      {"S4 1", set(1, field::kSecurityDescriptor + 4, 0x4000)},
      {"S5 1", set(1, field::kSecurityNext, kNoCell)},
      {"S6 1", set(1, field::kSecurityPrevious, 0x20)},
      {"S3 2 S8 1",
       [](BuiltHive& hive) {
         hive.Link(hive.PositionOf("A\\B"), field::kKeySecurity, hive.SecurityPosition(0));
       }},
      {"S6 1 S7 1",
       [](BuiltHive& hive) {
         hive.Link(hive.SecurityPosition(0), field::kSecurityNext, hive.SecurityPosition(0));
       }},
  };
  for (const Damage& damage : cases) ExpectCodes(damage);
}

TEST(CheckTest, LayersCellsAndMarks) {
  const auto layered = [](BuiltHive& hive) {
    hive.SetU32(0, 24, 6);
    hive.SetU32(0, 144, 2);
  };
  const auto layer = [&](const char* path, uint8_t bits) {
    return [=](BuiltHive& hive) {
      layered(hive);
      hive.SetU8(hive.PositionOf(path), 17, bits);
    };
  };
  const auto tombstone = [](BuiltHive& hive) {
    hive.SetU16(hive.ValuePosition("A\\C", "d"), field::kValueFlags, 3);
  };
  const Damage cases[] = {
      {"", layer("List\\k0", 0x81)},
      {"T1 1", layer("Old", 1)},
      {"T2 2", layer("A", 0x83)},
      {"T4 1", layer("Old", 0x10)},
      {"T3 1", [=](BuiltHive& hive) { layered(hive), tombstone(hive); }},
      {"T5 1", [=](BuiltHive& hive) { hive.SetU32(0, 24, 6), tombstone(hive); }},
      {"", tombstone},  // before there were layers
  };
  for (const Damage& damage : cases) ExpectCodes(damage);
  BuiltHive hive = SmallHive();
  for (const char* path : {"", "A", "A\\B", "A\\C", "Big", "List", "Old"}) {
    const uint32_t key = hive.PositionOf(path);
    hive.SetU16(key, 56, 20), hive.SetU32(key, 64, 20), hive.SetU32(key, 68, 40000);
  }
  EXPECT_EQ(Codes(CheckHive(hive.bytes), true), "");
  // Of names that damaged flags leave bytes, the marks are of bytes.
  hive.SetU16(hive.PositionOf("List\\k0"), field::kKeyFlags, 0x04);
  hive.SetU16(hive.ValuePosition("A\\C", "d"), field::kValueFlags, 4);
  BuiltHive damaged = hive;
  damaged.SetU16(hive.PositionOf("List"), 56, 3).SetU32(hive.PositionOf("A\\C"), 64, 1);
  EXPECT_EQ(Codes(CheckHive(damaged.bytes), true), "K8 1 M1 1 M2 1");
  hive.SetU16(hive.PositionOf("List\\k0"), field::kKeyFlags, 0x20);
  hive.SetU16(hive.PositionOf("List"), 56, 2);
  hive.SetU32(hive.PositionOf("A\\B"), 64, 0).SetU32(hive.PositionOf("Big"), 68, 39999);
  EXPECT_EQ(Codes(CheckHive(hive.bytes), true), "M1 1 M2 1 M3 1");
}

// What loads and lists are measured with must be what systems write.
TEST(CheckTest, TheGeneratedHiveIsSound) {
  EXPECT_EQ(Codes(CheckHive(HiveOfKeys(20000)), true), "");
}

// Levels count from the root; of a branch that is too deep the topmost key is named.
TEST(CheckTest, DeepTreesAndTheirPaths) {
  EXPECT_EQ(CodesOf(DeepHive(512)), "");
  const Bytes bytes = DeepHive(20000);
  const CheckResult deep = CheckHive(bytes);
  EXPECT_EQ(Codes(deep), "K10 1");
  const auto last = static_cast<uint32_t>(deep.keys.size() - 1);
  const std::string path = CheckedKeyPath(bytes, deep, last, 100);
  EXPECT_TRUE(path.starts_with("\\...@0x")) << path;
  EXPECT_LT(path.size(), 130u);
}

class CheckHostile : public ::testing::TestWithParam<HostileHive> {};
TEST_P(CheckHostile, EndsSoonWithBoundedRows) {
  const Bytes bytes = GetParam().make(4);
  const Deadline deadline(4 * kSeconds);
  const CheckResult result = CheckHive(bytes);
  EXPECT_LE(result.keys.size(), bytes.size() / 80);
  EXPECT_LE(result.findings.size(), bytes.size() / 2);
}
INSTANTIATE_TEST_SUITE_P(Kinds, CheckHostile, ::testing::ValuesIn(HostileHives()));

// What independent code found in the real hives, notes left out.
TEST(CheckCorpus, Calibration) {
  if (!HasCorpus()) GTEST_SKIP() << "real hives are not tested: none in " << CorpusFolder();
  const std::map<std::string, std::string> found = {
      {"HealedHive", "S3 2 S8 1 X1 4"},
      {"BadListHive", "K2 1 S3 1 X1 2 X2 1"},
      {"BadSubkeyHive", "K2 1 S3 1 X1 1"},
      {"InvalidParentHive", "K9 1"},
      {"DuplicateSubkeysHive", "L10 1"},
      {"TruncatedNameHive", "K4 1 M1 1"},
      {"DeletedDataHiveTruncated", "Vx 1 V1 1 X1 3"},
      {"DeletedTreePartialPathHive", "R2 1"},
      {"EffectiveSizeHive", "H2 1 H12 1 K15 1 Lx 9 L1 9 S3 1 X1 39"},
      {"GarbageHive", "H2 1 H11 1"},
      {"TruncatedHive", "H8 1 K15 1 Lx 9 L1 9 S3 1 X1 84"},
      {"NewDirtyHive", "X1 4"},
      {"NTUSER_modified.DAT", "X1 1"},
      {"testhive", "R2 1"},
      {"SYSTEM_holes",
       "B1 583 C1 1 Kx 101 K15 27 Lx 27 L1 27 L8 101 Vx 39 V1 32 V3 7 Dx 10 V8 10 Sx 30 S3 34 S5 1 "
       "X1 5082"}};
  size_t hives = 0;
  for (const auto& entry : std::filesystem::directory_iterator(CorpusFolder())) {
    const std::string name = entry.path().filename().string();
    const Bytes bytes = ContentOf<Bytes>(entry.path().string());
    const bool log = name.find(".LOG") != std::string::npos;
    if (bytes.size() < 4096 || GetU32(bytes, 0) != 0x66676572 || log) continue;
    CheckResult result = CheckHive(bytes);
    for (size_t i = 0; i < kCheckCodes; ++i) {
      if (InfoOf(static_cast<CheckCode>(i)).level == CheckLevel::kNote) result.by_code[i] = 0;
    }
    const auto expected = found.find(name);
    EXPECT_EQ(Codes(result, true), expected == found.end() ? "" : expected->second) << name;
    ++hives;
  }
  EXPECT_GT(hives, 40u);
}

// A hive that moved in its file, or that logs change, is judged as the file has it.
TEST(CheckListTest, RowsAndSummary) {
  BuiltHive built = SmallHive();
  built.SetU32(built.PositionOf("A\\C"), field::kKeyParent, 0x20);
  built.SetU32(0, 4, 9);
  FixChecksum(built.bytes);
  HostRecorder host;
  OpenedImage image(built.bytes);
  CheckListOptions options;
  options.least = CheckLevel::kFault;
  CheckedHive checked = CheckOpenedHive(image.hive(), CheckedState::kFile, options);
  ASSERT_EQ(RowCount(*checked.list), 1u);
  const uint32_t position = built.PositionOf("A\\C");
  EXPECT_EQ(
      RowText(*checked.list, 0, 5),
      Formatted("K9|F|0x%08X|ROOT\\A\\C|parent field is not the key that lists it|", position));
  EXPECT_EQ(RowDatum(*checked.list, 0), position);
  EXPECT_EQ(checked.row_keys, std::vector<uint32_t>{position});
  options.least = CheckLevel::kNote;
  options.most = 1;
  checked = CheckOpenedHive(image.hive(), CheckedState::kFile, options);
  EXPECT_EQ(RowText(*checked.list, 0, 2), "H3|N|");
  EXPECT_EQ(checked.row_keys, std::vector<uint32_t>{kNoOffset});
  options.worst_first = true;
  checked = CheckOpenedHive(image.hive(), CheckedState::kFile, options);
  EXPECT_EQ(RowText(*checked.list, 0, 2), "K9|F|");
  EXPECT_EQ(RowCount(*checked.list), 1u);
  EXPECT_EQ(checked.left_out, 1u);
  EXPECT_NE(checked.summary.find("before its logs: 1 fault; 12 keys, 4 values"), std::string::npos)
      << checked.summary;
}

}  // namespace
}  // namespace hivequarry::testing
