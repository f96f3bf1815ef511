// Repaired hives: what is written is what was there, by a second reading that shares nothing with
// the product's, and a system's rules hold in it.
#include "cases/repair.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "cases/new_hive.h"
#include "check/check.h"
#include "records/base_block.h"
#include "tests/support/corpus.h"
#include "tests/support/host_recorder.h"
#include "tests/support/hostile_hives.h"
#include "tests/support/opened_hive.h"
#include "tests/support/plain_reader.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

using std::string_literals::operator""s;

// Everything of a key but its place, by its path.
using PlainKeys = std::map<std::vector<std::u16string>, std::u16string>;
PlainKeys KeysOf(const Bytes& hive, const std::u16string& root = u"ROOT") {
  const std::vector<PlainKey> keys = ReadPlainTree(hive);
  std::vector<std::vector<std::u16string>> paths;
  PlainKeys all;
  for (const PlainKey& key : keys) {
    paths.push_back(key.parent == kNone ? std::vector<std::u16string>() : paths[key.parent]);
    paths.back().push_back(key.parent == kNone ? root : key.name);
    std::u16string content;
    const auto add = [&content](const Bytes& bytes) {
      content += static_cast<char16_t>(bytes.size());
      content.append(bytes.begin(), bytes.end());
    };
    const uint32_t security = kBaseBlockSize + key.security;
    add({&hive[key.position + 8], &hive[key.position + 16]});  // the time
    add({&hive[security + 24], &hive[security + 24] + GetU32(hive, security + 20)});
    if (const uint32_t length = GetU16(hive, key.position + 78); length != 0) {
      const uint32_t cell = kBaseBlockSize + GetU32(hive, key.position + 52);
      add({&hive[cell + 4], &hive[cell + 4] + length});
    }
    for (const PlainValue& value : key.values) {
      content += value.name;
      content += static_cast<char16_t>(value.type);
      add(value.data);
    }
    EXPECT_TRUE(all.emplace(paths.back(), content).second) << "a key is there twice";
  }
  return all;
}

struct Made {
  Repaired repaired;
  Bytes bytes;
};
Made RepairOf(OpenedHive& opened, const RepairOptions& options = {}) {
  const std::string name = opened.image.file().folder() + "/NEW";
  Made made;
  made.repaired = RepairHive(opened.hive, opened.tree, options, name);
  if (made.repaired.fault == RepairFault::kNone) {
    made.bytes = ContentOf<Bytes>(name);
    const CheckResult checked = CheckHive(made.bytes);
    EXPECT_TRUE(IsSound(checked)) << VerdictWords(checked);
    std::filesystem::remove(name);
  }
  return made;
}

Bytes Pattern(size_t size) {
  Bytes bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + i / 251);
  return bytes;
}

HiveBuilder RichHive() {
  HiveBuilder builder;
  builder.FileName("\\Config\\RICH");
  for (const size_t size : {0, 1, 4, 5, 4060, 4061, 16343, 16344, 16345, 32688, 50000}) {
    builder.Key("Data").Value("of " + std::to_string(size), 3, Pattern(size));
  }
  for (int i = 0; i < 2100; ++i) builder.Key("Many\\k" + std::to_string(i));
  for (const char* const name : {"ß", "Σ", "ж", "Ж2", "ключ", "𝄞", "a", "B"})
    builder.Key("Names").Key(name);
  builder.Key("Class").Class("of its own").Sz("", "the default").WideValue("wide", 4, {1, 0, 0, 0});
  builder.Key("Link").Flags(0x30).Value("SymbolicLinkValue", 6, Utf16("\\Registry\\Machine"));
  builder.Key("Class\\Old").Time(123456789);
  return builder;
}

TEST(Repair, RebuiltHoldsTheSame) {
  const BuiltHive built = RichHive().Build();
  OpenedHive opened(built);
  const Made made = RepairOf(opened);
  ASSERT_EQ(made.repaired.fault, RepairFault::kNone);
  EXPECT_EQ(RowCount(*made.repaired.rows), 0u) << RowTexts(*made.repaired.rows)[0];
  EXPECT_EQ(KeysOf(made.bytes), KeysOf(built.bytes));
  EXPECT_LE(made.bytes.size(), built.bytes.size());
  EXPECT_TRUE(std::equal(&made.bytes[48], &made.bytes[112], &built.bytes[48])) << "the file's name";
  OpenedHive again(std::span<const uint8_t>(made.bytes));
  EXPECT_TRUE(again.summary.tree_sound);
  EXPECT_EQ(RepairOf(again).bytes, made.bytes);
}

TEST(Repair, FormsOfEveryVersion) {
  for (const uint32_t minor : {3U, 4U, 5U, 6U}) {
    SCOPED_TRACE(minor);
    BuiltHive built = RichHive().Build();
    built.SetU32(0, 24, minor);
    built.SetU32(0, 508, BaseBlockChecksum(built.bytes));
    OpenedHive opened(built);
    const Made made = RepairOf(opened);
    ASSERT_EQ(made.repaired.fault, RepairFault::kNone);
    EXPECT_EQ(KeysOf(made.bytes), KeysOf(built.bytes));
    EXPECT_TRUE(OpenedHive(std::span<const uint8_t>(made.bytes)).summary.tree_sound);
  }
}

// What no system takes is changed or left out, and is a row.
TEST(Repair, SaysWhatIsNotAsItWas) {
  const struct {
    const char* what;
    void (*damage)(BuiltHive&);
    const char* row;
    uint32_t keys;
    uint32_t values;
  } cases[] = {
      {"nothing", [](BuiltHive&) {}, "", 4, 3},
      {"a key called as its sibling", [](BuiltHive& b) { b.SetU8(b.PositionOf("B"), 80, 'a'); },
       "renamed: a (2)", 4, 3},
      {"a backslash in a name", [](BuiltHive& b) { b.SetU8(b.PositionOf("B"), 80, '\\'); },
       "renamed: _", 4, 3},
      {"values of one name", [](BuiltHive& b) { b.SetU8(b.ValuePosition("A", "y"), 24, 'X'); },
       "value renamed: X (2)", 4, 3},
      {"data that lead nowhere",
       [](BuiltHive& b) { b.SetU32(b.ValuePosition("A", "long"), 12, 0x00FFFFF0); },
       "value left out: ", 4, 2},
      {"no security record", [](BuiltHive& b) { b.SetU32(b.PositionOf("B"), 48, 0x00FFFFF0); },
       "security record replaced by the parent's", 4, 3},
      {"none at all", [](BuiltHive& b) { b.SetU32(b.PositionOf(""), 48, 0x00FFFFF0); },
       "security record replaced: administrators", 4, 3},
      {"no time",
       [](BuiltHive& b) { b.SetU32(b.PositionOf("B"), 8, 0).SetU32(b.PositionOf("B"), 12, 0); },
       "time set to that of the key above", 4, 3},
      {"an owner that is no SID",
       [](BuiltHive& b) { b.SetU8(b.SecurityPosition(), 24 + b.U32(b.SecurityPosition(), 28), 9); },
       "security record replaced", 4, 3},
      {"a class name that leads nowhere",
       [](BuiltHive& b) { b.SetU32(b.PositionOf("A\\C"), 52, 0x00FFFFF0); }, "class name left out",
       4, 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    HiveBuilder builder;
    builder.Key("A").Sz("x", "1").Sz("y", "2").Binary("long", 100);
    builder.Key("A\\C").Class("class");
    builder.Key("B");
    BuiltHive built = builder.Build();
    c.damage(built);
    OpenedHive opened(built);
    const Made made = RepairOf(opened);
    ASSERT_EQ(made.repaired.fault, RepairFault::kNone);
    EXPECT_EQ(made.repaired.keys, c.keys);
    EXPECT_EQ(made.repaired.values, c.values);
    const Texts rows = RowTexts(*made.repaired.rows);
    ASSERT_EQ(rows.empty(), *c.row == '\0');
    if (!rows.empty()) {
      EXPECT_NE(rows[0].find(c.row), std::string::npos) << rows[0];
    }
  }
}

TEST(Repair, RecoveredKeysHaveTheirPlace) {
  HiveBuilder builder;
  builder.Key("A\\B").Sz("v", "1");
  builder.Key("A\\Lost\\Below").Sz("w", "2");
  BuiltHive built = builder.Build();
  built.Unlink("A\\Lost");
  OpenedHive opened(built);
  const Made without = RepairOf(opened);
  EXPECT_EQ(without.repaired.keys, 3u);
  EXPECT_EQ(without.repaired.recovered_left_out, 2u);
  const Made with = RepairOf(opened, {RepairKind::kRebuilt, true});
  ASSERT_EQ(with.repaired.fault, RepairFault::kNone);
  const PlainKeys keys = KeysOf(with.bytes);
  // The way to it is there too, as the tree shows it.
  EXPECT_TRUE(keys.contains({u"ROOT", u"Recovered", u"A", u"Lost", u"Below"}));
  EXPECT_EQ(with.repaired.keys, 7u);
  EXPECT_EQ(with.repaired.values, 2u);
}

// What was deleted is written apart from what is there, below the names that lead to its place.
TEST(Repair, DeletedRecordsAreWrittenApart) {
  HiveBuilder builder;
  builder.Key("A\\B").Sz("v", "live");
  builder.Key("A\\Gone").Sz("w", "deleted").Dword("d", 7);
  builder.Key("A\\Gone\\Below");
  BuiltHive built = builder.Build();
  const uint32_t freed[] = {
      built.PositionOf("A\\Gone"),         built.ListPosition("A\\Gone"),
      built.PositionOf("A\\Gone\\Below"),  built.ValueListPosition("A\\Gone"),
      built.ValuePosition("A\\Gone", "w"), built.ValuePosition("A\\Gone", "d"),
      built.DataPosition("A\\Gone", "w")};
  built.Unlink("A\\Gone");
  for (const uint32_t cell : freed) built.Free(cell);
  OpenedHive opened(built);
  const Made without = RepairOf(opened);
  EXPECT_EQ(without.repaired.keys, 3u);
  EXPECT_EQ(RepairRowsWords(without.repaired), "");
  const Made with = RepairOf(opened, {RepairKind::kRebuilt, false, true});
  ASSERT_EQ(with.repaired.fault, RepairFault::kNone);
  const PlainKeys keys = KeysOf(with.bytes);
  EXPECT_TRUE(keys.contains({u"ROOT", u"A", u"B"}));
  EXPECT_FALSE(keys.contains({u"ROOT", u"A", u"Gone"}));
  EXPECT_TRUE(keys.contains({u"ROOT", u"Recovered", u"A", u"Gone", u"Below"}));
  EXPECT_EQ(RepairCountsWords(with.repaired),
            "5 keys (2 deleted), 2 keys made to lead to them, 3 values (2 deleted)");
  EXPECT_EQ(RepairRowsWords(with.repaired), "Left out or changed: 0; deleted and written: 4");
  const Texts rows = RowTexts(*with.repaired.rows);
  EXPECT_TRUE(std::ranges::any_of(rows, [](const std::string& row) {
    return row.starts_with("ROOT\\A\\Gone|d|deleted value written below");
  })) << rows[0];
  OpenedHive again(std::span<const uint8_t>(with.bytes));
  EXPECT_EQ(RepairOf(again).bytes, with.bytes);
}

TEST(RepairCorpus, DeletedRecordsOfRealHives) {
  if (!HasCorpus()) GTEST_SKIP() << "real hives are not tested: none in " << CorpusFolder();
  constexpr struct {
    const char* name;
    uint32_t keys;
    uint32_t freed;
  } kKnown[] = {{"DeletedTreeHive", 7, 4}, {"UsrClass_deleted_bags.dat", 0, 4}, {"BCD", 91, 25}};
  for (const auto& known : kKnown) {
    SCOPED_TRACE(known.name);
    HostRecorder host;
    ResetHiveTable();
    const int slot = OpenHive(CorpusFile(known.name));
    ASSERT_GT(slot, 0);
    KeyTree tree;
    BuildImageTree(HiveOfSlot(slot), BuildOptions(), tree);
    const TempFile beside(std::string_view("nothing"));
    const Repaired repaired = RepairHive(
        HiveOfSlot(slot), tree, {RepairKind::kRebuilt, false, true}, beside.folder() + "/NEW");
    EXPECT_EQ(repaired.fault, RepairFault::kNone);
    EXPECT_EQ(repaired.freed_keys, known.freed);
    if (known.keys != 0) {
      EXPECT_EQ(repaired.keys - repaired.made, known.keys);
    }
    ResetHiveTable();
  }
}

TEST(Repair, ReplayedIsTheImageByteForByte) {
  const BuiltHive built = RichHive().Build();
  OpenedHive opened(built);
  const Made made = RepairOf(opened, {RepairKind::kReplayed, false});
  ASSERT_EQ(made.repaired.fault, RepairFault::kNone);
  EXPECT_EQ(made.bytes, built.bytes);
}

TEST(Repair, NoFileIsReplaced) {
  OpenedHive opened(RichHive().Build());
  const TempFile other(std::string_view("somebody's"));
  const std::string& hive = opened.image.file().name();
  for (const auto& [name, fault] : {std::pair{other.name(), RepairFault::kExists},
                                    {hive, RepairFault::kProtected},
                                    {hive + ".LOG1", RepairFault::kProtected}}) {
    EXPECT_EQ(RepairHive(opened.hive, opened.tree, {}, name).fault, fault) << name;
  }
  EXPECT_EQ(ContentOf<std::string>(other.name()), "somebody's");
}

TEST(Repair, AFileThatAppearsMeanwhileIsSaid) {
  OpenedHive opened(RichHive().Build());
  static std::string name;
  name = opened.image.file().folder() + "/MEANWHILE";
  HostRecorder host;
  host.on_status = [](const char* text) {
    if (std::string_view(text) != "Verifying ...") return;
    std::ofstream(name) << "another's";
  };
  EXPECT_EQ(RepairHive(opened.hive, opened.tree, {}, name).fault, RepairFault::kExists);
  EXPECT_EQ(ContentOf<std::string>(name), "another's");
  std::filesystem::remove(name);
}

// Names of one length in capitals compare by units, as the system has it.
TEST(Repair, OrderOfNames) {
  EXPECT_LT(CompareKeyNames(u"a", u"B"), 0);
  EXPECT_EQ(CompareKeyNames(u"ж", u"Ж"), 0);
  EXPECT_LT(CompareKeyNames(u"a", u"aa"), 0);
  EXPECT_LT(CompareKeyNames(u"\xD83D\xDD11", u"\uFF5E"), 0);
  EXPECT_GT(CompareKeyNames(u"_", u"Z"), 0);
}

}  // namespace
}  // namespace hivequarry::testing
