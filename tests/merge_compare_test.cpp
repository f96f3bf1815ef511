// A branch of a hive written into a live registry, and compared with it.
#include <gtest/gtest.h>

#include <functional>

#include "hive/root_path.h"
#include "host/long_operation.h"
#include "live/compare.h"
#include "live/merge.h"
#include "tests/support/memory_registry.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"
#include "view/live_words.h"

namespace hivequarry::testing {
namespace {

using namespace std::string_literals;

Bytes Wide(std::u16string_view text) {
  Bytes bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<uint8_t>(unit));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return bytes;
}

TEST(ValueMatchTest, Rules) {
  const struct {
    uint32_t type;
    Bytes file;
    uint32_t live_type;
    Bytes live;
    bool same;
  } kCases[] = {
      {kRegDword, {1, 0, 0, 0}, kRegBinary, {1, 0, 0, 0}, true},
      {kRegDword, {1, 0, 0, 0}, kRegSz, {1, 0, 0, 0}, false},
      {kRegSz, Wide(u"text"), kRegSz, Wide(u"text\0"s), true},
      {kRegSz, Wide(u"text\0rest"s), kRegSz, Wide(u"text"), true},
      {kRegSz, Wide(u"text"), kRegSz, Wide(u"Text"), false},
      {kRegSz, Wide(u"A\0"s), kRegSz, Wide(u"AB\0"s), false},
      {kRegSz, Wide(u"\u0100"), kRegSz, Wide(u"\u0200"), false},
      {kRegSz, {}, kRegSz, Wide(u"\0"s), true},
      {kRegSz, Wide(u"text"), kRegExpandSz, Wide(u"text"), false},
      {kRegMultiSz, Wide(u"one\0two\0\0"s), kRegMultiSz, Wide(u"one\0two\0"s), true},
      {kRegMultiSz, Wide(u"one\0two\0\0"s), kRegMultiSz, Wide(u"one\0two"s), false},
      {kRegMultiSz, Wide(u"one\0two\0\0"s), kRegMultiSz, Wide(u"one\0three\0\0"s), false},
      {kRegBinary, {1, 2, 3, 4, 5, 0}, kRegBinary, {1, 2, 3, 4, 5}, true},
      {kRegBinary, {1, 2, 3, 4, 5}, kRegBinary, {1, 2, 3, 4, 5, 0}, true},
      {kRegBinary, {1, 2, 3, 4, 5, 0, 0}, kRegBinary, {1, 2, 3, 4, 5}, false},
      {kRegBinary, {1, 2, 3, 4, 5}, kRegBinary, {1, 2, 3, 4, 6}, false},
      {kRegBinary, {1, 0, 0, 0}, kRegBinary, {1, 0}, true},
      {kRegBinary, {1, 0, 7, 0}, kRegBinary, {1, 0}, false},
      {kRegBinary, {1, 2, 0, 0}, kRegBinary, {1, 0}, false},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(&test - kCases);
    EXPECT_EQ(IsSameData({test.type, test.file}, {test.live_type, test.live}), test.same);
  }
}

BuiltHive BranchHive() {
  HiveBuilder hive("SYSTEM");
  hive.Key("A").Class("of A").Sz("", "unnamed").Dword("Number", 7).Value("Raw", 0x77, {1, 2});
  hive.Key("A").Value("Empty", kRegBinary, {}).MultiSz("List", {"one", "two"});
  hive.Key("A").ExpandSz("Where", "%x%").Value("\xCE\xA9", kRegSz, Wide(u"\u03A9 \u4E2D"));
  hive.Key("A\\\xC3\xA4").Sz("N\xC3\xA4me", "x");
  hive.Key("A\\\xCE\xA9mega\\Deep").Binary("Blob", 30'000);
  hive.Key("B").Dword("Other", 1);
  return hive.Build();
}

class MergeTest : public ::testing::Test {
 protected:
  explicit MergeTest(const BuiltHive& built = BranchHive()) : opened_(built) {
    opened_.host.answer = Answer::kYes;
    TheRegistry().At(u"HKLM\\SYSTEM");
  }
  ~MergeTest() override { EXPECT_EQ(registry_.open_keys(), 0U); }

  MemoryRegistry& TheRegistry() { return registry_; }
  bool Prepare(const char* path, MergeTarget& target) {
    return PrepareMerge(opened_.hive, opened_.tree, opened_.Item(path), target);
  }
  Texts Merge(const char* path, const MergeOptions& options = {}) {
    MergeTarget target;
    if (!Prepare(path, target)) return {"not merged"};
    const OutputListPtr errors = MakeOutputList(kListErrors);
    counts_ = MergeAndTell(opened_.hive, opened_.tree, target, options, *errors);
    return RowTexts(*errors, 4);
  }
  Texts Compare(const char* path, const CompareOptions& options = {}) {
    const OutputListPtr list = MakeOutputList(kListCompare);
    CompareBranch(opened_.hive, opened_.tree, opened_.Item(path), options, *list);
    return RowTexts(*list, 4);
  }
  Texts Messages() {
    Texts texts;
    for (const ShownMessage& message : opened_.host.messages) texts.push_back(message.text);
    opened_.host.messages.clear();
    return texts;
  }

  OpenedHive opened_;
  MemoryRegistry registry_;
  MergeCounts counts_;
};

TEST_F(MergeTest, WritesWhatTheBranchHolds) {
  registry_.At(u"HKLM\\SYSTEM\\A").Set(u"number", kRegSz, {1}).name = u"NUMBER";
  registry_.At(u"HKLM\\SYSTEM\\A").SetText(u"Stays", u"as it is");
  EXPECT_EQ(Merge("A"), Texts());
  const ShownMessage question = {
      "Merge Folder into Registry key\r\nHKLM\\SYSTEM\\A ?\r\nExisting Values will be overwritten "
      "!",
      kProgramName, Icon::kQuestion, Buttons::kYesNoDefaultNo};
  EXPECT_EQ(opened_.host.messages, std::vector{question});
  EXPECT_EQ(counts_.keys, 4U);
  EXPECT_EQ(counts_.values, 9U);
  const MemoryKey& a = registry_.At(u"HKLM\\SYSTEM\\A");
  EXPECT_EQ(a.values.size(), 8U);
  EXPECT_EQ(a.values[0].type, kRegDword);
  EXPECT_EQ(a.values[1].data.size(), 18U);
  EXPECT_EQ(registry_.Find(u"HKLM\\SYSTEM\\B"), nullptr);
  ASSERT_NE(registry_.Find(u"HKLM\\SYSTEM\\A\\\u03A9mega\\Deep"), nullptr);
  EXPECT_EQ(registry_.At(u"HKLM\\SYSTEM\\A\\\u00E4").values.at(0).name, u"N\u00E4me");
  EXPECT_EQ(Compare("A"), Texts{"HKLM\\SYSTEM\\A|Stays|(not found)|as it is|"});
}

TEST_F(MergeTest, EveryChangeIsOneRow) {
  ASSERT_EQ(Merge(""), Texts());
  ASSERT_EQ(registry_.At(u"HKLM\\SYSTEM\\A").class_name, u"of A");
  const std::string a = "HKLM\\SYSTEM\\A|";
  const struct {
    std::function<void(MemoryKey& a)> change;
    Texts rows;
  } kChanges[] = {
      {[](MemoryKey&) {}, {}},
      {[](MemoryKey& key) { key.SetText(u"", u"Unnamed"); },
       {a + "(Default value)|unnamed|Unnamed|"}},
      {[](MemoryKey& key) {
         key.Set(u"Number", kRegDword, {8, 0, 0, 0});
       },
       {a + "Number|0x00000007 (7)|0x00000008 (8)|"}},
      {[](MemoryKey& key) {
         key.Set(u"Number", kRegSz, {7, 0, 0, 0});
       },
       {a + "Number|0x00000007 (7)| |"}},
      {[](MemoryKey& key) {
         key.Set(u"Number", kRegBinary, {7, 0, 0, 0});
       },
       {}},
      {[](MemoryKey& key) { key.SetText(u"\u03A9", u"\u03A9 \u4E2E"); },
       {a + "\u03A9|\u03A9 \u4E2D|\u03A9 \u4E2E|"}},
      {[](MemoryKey& key) { key.values.erase(key.values.begin()); },
       {a + "(Default value)|unnamed|(not found)|"}},
      {[](MemoryKey& key) { key.values[1].name = u"NUMBER"; }, {}},
      {[](MemoryKey& key) { key.SetText(u"Extra", u"text"); }, {a + "Extra|(not found)|text|"}},
      {[](MemoryKey& key) { key.Add(u"More").Add(u"Below"); },
       {"HKLM\\SYSTEM\\A\\More||(not found)||"}},
      {[](MemoryKey& key) { key.keys.erase(key.keys.begin() + 1); },
       {"HKLM\\SYSTEM\\A\\\u03A9mega|||(not found)|"}},
      {[](MemoryKey& key) { key.Find(u"\u03A9mega")->name = u"\u03C9MEGA"; }, {}},
      {[](MemoryKey& key) { key.Find(u"\u03A9mega")->Find(u"deep")->values[0].data[29'999] ^= 1; },
       {"HKLM\\SYSTEM\\A\\\u03A9mega\\Deep|Blob|"}},
      {[](MemoryKey& key) { key.Set(u"Raw", 0x77, Bytes(0x500001)); },
       {a + "Raw|01 02 |(unknown error)|"}},
  };
  for (const auto& test : kChanges) {
    SCOPED_TRACE(&test - kChanges);
    ASSERT_EQ(Merge("A"), Texts());
    test.change(registry_.At(u"HKLM\\SYSTEM\\A"));
    Texts rows = Compare("");
    if (rows.size() == 1 && test.rows.size() == 1) rows[0].resize(test.rows[0].size());
    EXPECT_EQ(rows, test.rows);
    registry_.At(u"HKLM\\SYSTEM\\A").values.clear();
    registry_.At(u"HKLM\\SYSTEM\\A").keys.clear();
  }
}

TEST_F(MergeTest, KeysThatCanNotBeOpened) {
  ASSERT_EQ(Merge(""), Texts());
  const std::pair<int32_t, const char*> kAnswers[] = {{2, "(not found)"},
                                                      {5, "(access denied)"},
                                                      {6, "(invalid handle)"},
                                                      {234, "(insufficient buffer)"},
                                                      {1450, "(unknown error)"}};
  MemoryKey& key = registry_.At(u"HKLM\\SYSTEM\\A");
  for (const auto& [error, text] : kAnswers) {
    key.open_error = error;
    EXPECT_EQ(Compare(""), Texts{"HKLM\\SYSTEM\\A|||"s + text + "|"});
    EXPECT_EQ(Compare("", {CompareRows::kAll, false}).size(), error == 5 ? 0U : 1U);
    EXPECT_EQ(Compare("", {CompareRows::kMissing}).size(), error == 2 ? 1U : 0U);
    EXPECT_EQ(Compare("", {CompareRows::kDifferent}).size(), 0U);
  }
}

TEST_F(MergeTest, RowsLeadBackToTheHive) {
  registry_.At(u"HKLM\\SYSTEM\\B\\More");
  registry_.At(u"HKLM\\SYSTEM\\B").SetText(u"Extra", u"x");
  const OutputListPtr list = MakeOutputList(kListCompare);
  const uint32_t item = opened_.Item("B");
  EXPECT_EQ(CompareBranch(opened_.hive, opened_.tree, item, {}, *list), std::vector{item});
  ASSERT_EQ(RowCount(*list), 3U);
  EXPECT_EQ(ItemOfPosition(opened_.tree, RowDatum(*list, 0)), kNoItem);
  EXPECT_EQ(ItemOfPosition(opened_.tree, RowDatum(*list, 1)), item);
  EXPECT_FALSE(RowHasDatum(*list, 2));
  EXPECT_EQ(CellText(*list, 0, 4), CellText(*list, 1, 4));
  EXPECT_TRUE(opened_.host.Showed("Comparing to Registry ..."));
  EXPECT_EQ(opened_.host.statuses.back(), "3");
}

TEST_F(MergeTest, Refusals) {
  registry_.At(u"HKLM\\SYSTEM\\A\\\u03A9mega").write_error = kRegistryDenied;
  EXPECT_EQ(Merge("A"), Texts{"HKLM\\SYSTEM|A\\\u03A9mega\\Deep||error 5|"});
  EXPECT_EQ(Merge("A", {false}), Texts());
  EXPECT_EQ(counts_.keys, 3U);
  Messages();
  registry_.At(u"HKLM\\SYSTEM\\A").write_error = 1450;
  EXPECT_EQ(Merge(""), Texts{"HKLM\\SYSTEM|A|(Default value)|error 1450|"});
  EXPECT_TRUE(counts_.refused);
  EXPECT_EQ(counts_.keys, 2U);
  const ShownMessage last = {"error 1450", kProgramName, Icon::kStop, Buttons::kOk};
  EXPECT_EQ(opened_.host.messages.back(), last);
  EXPECT_EQ(registry_.Find(u"HKLM\\SYSTEM\\B"), nullptr);
}

TEST_F(MergeTest, WhatCanNotBeginSaysWhy) {
  MergeTarget target;
  const uint32_t folder = opened_.tree.disconnected_keys;
  EXPECT_FALSE(PrepareMerge(opened_.hive, opened_.tree, folder, target));
  EXPECT_FALSE(MayCompare(opened_.hive, opened_.tree, folder));
  EXPECT_EQ(Messages(), Texts{"Invalid Root key !"});
  opened_.host.answer = Answer::kNo;
  EXPECT_FALSE(Prepare("A", target));
  EXPECT_FALSE(MayCompare(opened_.hive, opened_.tree, opened_.Item("A")));
  opened_.host.messages.erase(opened_.host.messages.begin());
  EXPECT_EQ(Messages(), Texts{"HKLM\\SYSTEM\\A does not belong to Registry !"});
  EXPECT_EQ(registry_.Find(u"HKLM\\SYSTEM\\A"), nullptr);
  opened_.host.answer = Answer::kYes;
  registry_.At(u"HKLM\\SYSTEM\\A").open_error = kRegistryDenied;
  EXPECT_FALSE(Prepare("A", target));
  EXPECT_FALSE(MayCompare(opened_.hive, opened_.tree, opened_.Item("A")));
  opened_.host.messages.erase(opened_.host.messages.begin());
  EXPECT_EQ(Messages(), (Texts{"Can not open Key !", "Access denied (HKLM\\SYSTEM\\A)!"}));
  registry_.At(u"HKLM\\SYSTEM").open_error = kRegistryDenied;
  EXPECT_FALSE(MayCompare(opened_.hive, opened_.tree, 0));
  opened_.hive.root.source = RootSource::kFileName;
  EXPECT_FALSE(Prepare("A", target));
  SetRootPath(opened_.hive, "NOROOT\\A");
  EXPECT_FALSE(Prepare("A", target));
  EXPECT_FALSE(MayCompare(opened_.hive, opened_.tree, 0));
  EXPECT_EQ(
      Messages(),
      (Texts{"Access denied !",
             "The name of the file alone says that the hive belongs to HKEY_LOCAL_MACHINE\\SYSTEM.",
             "Invalid Root : NOROOT\\A !", "Invalid Registry Key !"}));
}

BuiltHive OddHive() {
  HiveBuilder hive("SYSTEM");
  hive.Key("Bad").NewKey("back\\slash").Dword("n", 1);
  hive.Key("Bad").Value("zero\0x"s, kRegBinary, {1}).Dword("gone", 1).Dword("good", 2);
  hive.Key("Lost\\Inner").Dword("n", 1);
  hive.Key("Link").Value("SymbolicLinkValue", kRegLink, Wide(u"\\Registry\\Machine"));
  BuiltHive built = hive.Build();
  built.SetU16(built.ValuePosition("Bad", "gone"), 4, 0);
  built.SetU16(built.ListPosition("Lost"), 4, 0);
  return built;
}

class OddMergeTest : public MergeTest {
 protected:
  OddMergeTest() : MergeTest(OddHive()) {}
};

TEST_F(OddMergeTest, NamesThatStandForOthersAreNotWritten) {
  EXPECT_EQ(Merge("Bad"), (Texts{"HKLM\\SYSTEM|Bad|zero\\u{0}x|Name can not be written|",
                                 "HKLM\\SYSTEM|Bad|(Default value)|Can not be read|",
                                 "HKLM\\SYSTEM|Bad\\back\\u{5C}slash||Name can not be written|"}));
  EXPECT_EQ(registry_.At(u"HKLM\\SYSTEM\\Bad").values.size(), 1U);
  EXPECT_TRUE(registry_.At(u"HKLM\\SYSTEM\\Bad").keys.empty());
  EXPECT_EQ(Compare("Bad"), (Texts{"HKLM\\SYSTEM\\Bad|zero\\u{0}x|01 |(unknown error)|",
                                   "HKLM\\SYSTEM\\Bad\\back\\u{5C}slash|||(unknown error)|"}));
}

TEST_F(OddMergeTest, LinksAreMadeAndNotFollowed) {
  registry_.At(u"HKLM\\Target");
  EXPECT_EQ(Merge("").size(), 3U);
  MemoryKey& link = registry_.At(u"HKLM\\SYSTEM\\Link");
  ASSERT_EQ(link.values.size(), 1U);
  EXPECT_TRUE(link.is_link);
  link.link = u"HKLM\\Target";
  EXPECT_EQ(Compare("Link").size(), 1U);
  Registry table = CurrentRegistry();
  table.has_32bit_view = [] { return true; };
  SetRegistry(table);
  EXPECT_EQ(Compare("Link").size(), 0U);
}

BuiltHive LinkHive() {
  HiveBuilder hive("SYSTEM");
  const Bytes target = Wide(u"\\Registry\\Machine\\Outside");
  hive.Key("A").NewKey("Twice").Value("SymbolicLinkValue", kRegLink, target);
  hive.Key("A").NewKey("Twice").Dword("n", 1).NewKey("Below").Dword("n", 2);
  hive.Key("A\\Link").Value("SymbolicLinkValue", kRegLink, target);
  hive.Key("A\\Link\\Lost").Dword("n", 3);
  hive.Key("A\\There").Dword("n", 4);
  hive.Key("A\\There\\Below").Dword("n", 5);
  return hive.Build();
}

class LinkMergeTest : public MergeTest {
 protected:
  LinkMergeTest() : MergeTest(LinkHive()) { registry_.At(u"HKLM\\Outside"); }
  void MakeLiveLink(std::u16string_view path) {
    MemoryKey& link = registry_.At(path);
    link.is_link = true;
    link.link = u"HKLM\\Outside";
    link.Set(u"SymbolicLinkValue", kRegLink, Wide(u"\\Registry\\Machine\\Outside"));
  }
  void ExpectNothingOutside() {
    EXPECT_TRUE(registry_.At(u"HKLM\\Outside").values.empty());
    EXPECT_TRUE(registry_.At(u"HKLM\\Outside").keys.empty());
  }
};

TEST_F(LinkMergeTest, NothingIsWrittenThroughALinkThatTheBranchHoldsItself) {
  EXPECT_EQ(Merge("A"),
            (Texts{"HKLM\\SYSTEM|A\\Link\\Lost||Below a symbolic link|",
                   "HKLM\\SYSTEM|A\\Twice||The registry has a key of this name that is no symbolic "
                   "link|"}));
  ExpectNothingOutside();
  const MemoryKey& twice = registry_.At(u"HKLM\\SYSTEM\\A\\Twice");
  EXPECT_FALSE(twice.is_link);
  EXPECT_EQ(twice.values.size(), 1U);
  EXPECT_NE(twice.Find(u"Below"), nullptr);
  EXPECT_EQ(registry_.At(u"HKLM\\SYSTEM\\A\\Link").link, u"HKLM\\Outside");
}

TEST_F(LinkMergeTest, NothingIsWrittenThroughALinkOfTheRegistry) {
  MakeLiveLink(u"HKLM\\SYSTEM\\A\\There");
  MakeLiveLink(u"HKLM\\SYSTEM\\A\\Link");
  registry_.At(u"HKLM\\SYSTEM\\A\\Link").values[0].data = {1};
  const Texts rows = Merge("A");
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_TRUE(rows[0].starts_with("HKLM\\SYSTEM|A\\There||The registry has a symbolic link"))
      << rows[0];
  ExpectNothingOutside();
  EXPECT_EQ(registry_.At(u"HKLM\\SYSTEM\\A\\There").values.size(), 1U);
  // A link itself is written anew, as one and also when it is all that is merged.
  MemoryKey& link = registry_.At(u"HKLM\\SYSTEM\\A\\Link");
  EXPECT_NE(link.values[0].data, Bytes{1});
  link.values[0].data = {1};
  EXPECT_EQ(Merge("A\\Link").size(), 1U);
  EXPECT_NE(link.values[0].data, Bytes{1});
  ExpectNothingOutside();
}

TEST_F(LinkMergeTest, ABranchWhoseOwnPathLeadsThroughALinkIsWrittenWhereThatLeads) {
  MakeLiveLink(u"HKLM\\SYSTEM\\A");
  EXPECT_EQ(Merge("A\\There"), Texts());
  EXPECT_NE(registry_.Find(u"HKLM\\Outside\\There\\Below"), nullptr);
}

TEST_F(OddMergeTest, RecoveredKeysAreComparedOnDemand) {
  registry_.At(u"HKLM\\SYSTEM\\Lost\\Other");
  ASSERT_FALSE(opened_.At("Lost\\Inner").connected);
  EXPECT_EQ(Compare("Lost"), (Texts{"HKLM\\SYSTEM\\Lost\\Other||(not found)||",
                                    "HKLM\\SYSTEM\\Lost\\Inner|||(not found)|"}));
  EXPECT_EQ(Compare("Lost", {.recovered_keys = false}),
            Texts{"HKLM\\SYSTEM\\Lost\\Other||(not found)||"});
  EXPECT_EQ(Compare("Lost\\Inner", {.recovered_keys = false}).size(), 1U);
}

// The first key's own security record goes with it, its owner only where the privilege is held.
struct GivenSecurity {
  uint32_t parts = 0;
  std::vector<uint8_t> start;
};
std::vector<GivenSecurity> given;

TEST_F(MergeTest, SecurityRecords) {
  Registry table = CurrentRegistry();
  table.set_security = [](RegistryKey, uint32_t parts, const uint8_t* descriptor) {
    given.push_back({parts, std::vector<uint8_t>(descriptor, descriptor + 20)});
    return given.size() == 1 ? 1307 : kRegistryDone;
  };
  SetRegistry(table);
  EXPECT_EQ(Merge("B"), Texts());
  EXPECT_TRUE(given.empty());
  EXPECT_EQ(Merge("B", {true, true}), Texts{"HKLM\\SYSTEM|B||Security: error 1307|"});
  registry_.privileges = {u"SeRestorePrivilege"};
  EXPECT_EQ(Merge("A", {true, true}), Texts());
  ASSERT_EQ(given.size(), 5U);
  EXPECT_EQ(given[0].parts, kDaclInformation);
  EXPECT_EQ(given[1].parts, kOwnerInformation | kGroupInformation | kDaclInformation);
  EXPECT_EQ(given[1].start[0], 1);  // revision
  EXPECT_TRUE(registry_.enabled.empty());
}

}  // namespace
}  // namespace hivequarry::testing
