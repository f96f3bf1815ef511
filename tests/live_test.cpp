// The live registry's keys and lists, over a registry kept in memory.
#include <gtest/gtest.h>

#include <algorithm>

#include "host/long_operation.h"
#include "live/live_lists.h"
#include "tests/support/cell_writer.h"
#include "tests/support/host_recorder.h"
#include "tests/support/memory_registry.h"
#include "tests/support/texts.h"
#include "view/live_words.h"

namespace hivequarry::testing {
namespace {

using namespace std::string_literals;

Texts LiveRows(const OutputList& list) {
  for (uint32_t row = 0; row < RowCount(list); ++row) EXPECT_FALSE(RowHasDatum(list, row));
  return RowTexts(list);
}

class LiveTest : public ::testing::Test {
 protected:
  ~LiveTest() override { EXPECT_EQ(registry_.open_keys(), 0U); }

  // "path: error; value=text ..." of each key.
  static Texts Walk(const std::string& path) {
    Texts lines;
    const std::unique_ptr<KeySource> keys = KeysOfRegistry(path);
    for (SourceKey key; keys->NextKey(key);) {
      std::string line = key.path + ": " + key.error + ";";
      for (SourceValue value; keys->NextValue(value);) {
        line += " " + value.name + "=" + (value.read ? value.text : "(" + value.text + ")");
      }
      lines.push_back(line);
    }
    return lines;
  }

  HostRecorder host_;
  MemoryRegistry registry_;
};

TEST_F(LiveTest, WalksKeysBeforeTheirChildrenAndPassesOverWhatItCannotOpen) {
  registry_.At(u"HKLM\\A").SetText(u"", u"text of A");
  registry_.At(u"HKLM\\A\\B\\\u03A9").Set(u"\u03A9", 4, {1, 2, 0, 0});
  registry_.At(u"HKLM\\A\\Denied").open_error = kRegistryDenied;
  registry_.At(u"HKLM\\A\\Gone").open_error = kRegistryNotFound;
  registry_.At(u"HKLM\\A\\Odd").open_error = 1450;
  registry_.At(u"HKLM\\A\\Round").link = u"HKLM\\A";
  registry_.At(u"HKLM\\A").keys.emplace_back(new MemoryKey)->name = u"B\0x"s;
  EXPECT_EQ(Walk("HKEY_LOCAL_MACHINE\\a\\"),
            (Texts{"HKEY_LOCAL_MACHINE\\a: ; =text of A", "HKEY_LOCAL_MACHINE\\a\\B: ;",
                   "HKEY_LOCAL_MACHINE\\a\\B\\\u03A9: ; \u03A9=0x00000201 (513)",
                   "HKEY_LOCAL_MACHINE\\a\\Denied: Access denied;",
                   "HKEY_LOCAL_MACHINE\\a\\Odd: Error 1450;", "HKEY_LOCAL_MACHINE\\a\\Round: ;",
                   "HKEY_LOCAL_MACHINE\\a\\B\\u{0}x: not found;"}));
  EXPECT_EQ(Walk("HKLM\\A\\Round\\Denied"), Texts{"HKLM\\A\\Round\\Denied: Access denied;"});
  EXPECT_EQ(Walk("HKLM\\Missing"), Texts{"HKLM\\Missing: not found;"});
  EXPECT_EQ(Walk("NOROOT\\A"), Texts{"NOROOT\\A: not found;"});
}

TEST_F(LiveTest, ReadsDataThatAreLongerThanTold) {
  MemoryKey& key = registry_.At(u"HKLM\\Long");
  const std::vector<uint8_t> data(200'000, 7);
  key.Set(u"a", 3, data);
  key.Set(u"b", 3, std::vector<uint8_t>(0x500001));
  key.SetText(u"c", u"after");
  const std::unique_ptr<KeySource> keys = KeysOfRegistry("HKLM\\Long");
  SourceKey source;
  SourceValue value;
  ASSERT_TRUE(keys->NextKey(source) && keys->NextValue(value));
  EXPECT_TRUE(std::ranges::equal(value.data, data));
  ASSERT_TRUE(keys->NextValue(value));
  EXPECT_EQ(value.name + ": " + value.text, "b: Error 234");
  EXPECT_FALSE(value.read);
  ASSERT_TRUE(keys->NextValue(value));
  EXPECT_EQ(value.name + ": " + value.text, "c: after");
}

// `fields`: k, v and d for key names, value names and data.
Texts Search(uint32_t roots, const char* text, std::string_view fields, bool hex = false) {
  SearchSettings settings;
  (hex ? settings.hex : settings.text) = text;
  settings.hex_mode = hex;
  settings.dword = hex && settings.hex.size() == 8;
  settings.key_names = fields.find('k') != fields.npos;
  settings.value_names = fields.find('v') != fields.npos;
  settings.value_data = fields.find('d') != fields.npos;
  SearchPattern pattern;
  EXPECT_TRUE(CompilePattern(settings, pattern));
  const OutputListPtr list = MakeOutputList(kListLiveSearch);
  SearchRegistry(roots, pattern, *list);
  return LiveRows(*list);
}

TEST_F(LiveTest, SearchesEachChosenKeyOnce) {
  MemoryKey& key = registry_.At(u"HKLM\\Run");
  key.last_write = 128'555'029'291'234'567;  // 2008/05/17
  key.SetText(u"RunOnce", u"calc.exe");
  key.Set(u"Number", 4, {1, 4, 0, 0});
  registry_.At(u"HKLM\\Now").link = u"HKLM\\Run";
  registry_.At(u"HKU\\S-1-5-18\\run");
  registry_.At(u"HKCU").link = u"HKU\\S-1-5-18";
  const std::string date = "2008/05/17, 13:02:09|";
  EXPECT_EQ(Search(kLiveMachine | kLiveUser | kLiveUsers, "run", "kv"),
            (Texts{"HKLM\\Run||||" + date, "HKLM\\Run|RunOnce|calc.exe|REG_SZ|" + date,
                   "HKU\\S-1-5-18\\run||||1601/01/01, 00:00:00|"}));
  EXPECT_EQ(Search(kLiveUser, "run", "k").size(), 1U);
  EXPECT_EQ(Search(kLiveMachine, "00000401", "kvd", true),
            Texts{"HKLM\\Run|Number|0x00000401 (1025)|REG_DWORD|" + date});
  EXPECT_EQ(Search(kLiveMachine, "6E4F", "v", true).size(), 1U);
  ASSERT_TRUE(BeginOperation(kOperationQuietA));
  RequestStop();
  EXPECT_TRUE(Search(kLiveMachine, "run", "k").empty());
  EndOperation();
}

TEST_F(LiveTest, EndsAtTheDepthsOfARegistryAndOfSearches) {
  std::u16string path = u"HKLM";
  for (int level = 0; level < 600; ++level) path += u"\\k";
  registry_.At(path);
  EXPECT_EQ(Walk("HKLM").size(), 512U);
  EXPECT_EQ(Search(kLiveMachine, "k", "k").size(), 383U);
}

TEST_F(LiveTest, UninstallReportReadsBothViewsAndPassesOverMissingRoots) {
  const std::u16string below = u"\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
  registry_.At(u"HKLM\\SOFTWARE" + below + u"A").SetText(u"DisplayName", u"First");
  registry_.At(u"HKLM\\SOFTWARE\\Wow6432Node" + below + u"B").SetText(u"DisplayName", u"Second");
  registry_.At(u"HKLM\\SOFTWARE" + below + u"D").open_error = kRegistryDenied;
  const OutputListPtr list = MakeOutputList(InfoOf(Report::kUninstall).live_kind);
  RunReportOnRegistry(Report::kUninstall, *list);
  const Texts rows = LiveRows(*list);
  EXPECT_EQ(rows.size(), 3U);
  for (const char* text : {"|First|", "|Second|", "Uninstall\\D|Access denied|"}) {
    EXPECT_EQ(
        std::ranges::count_if(rows, [&](auto& row) { return row.find(text) != std::string::npos; }),
        1)
        << text;
  }
}

TEST_F(LiveTest, FindsKeysByPermissionsAndGivesThePrivilegeBack) {
  const Bytes read = SecurityDescriptor("S-1-5-18", "S-1-5-18", {{0, 0, kReadRights, "S-1-1-0"}});
  const Bytes none = SecurityDescriptor("S-1-5-18", "S-1-5-18", {{0, 0, 1, "S-1-1-0"}},
                                        {{3, 0, kReadRights, "S-1-1-0"}});
  for (const char16_t* path : {u"HKLM\\A", u"HKLM\\B"}) registry_.At(path).security = read;
  registry_.At(u"HKLM\\C").security = none;
  const auto find = [&](AceKind kind, Texts& rows) {
    const OutputListPtr list = MakeOutputList(kListSecurityKeys);
    const PermissionQuery query{"S-1-1-0", kind, kReadRights, false};
    const bool done = FindLiveKeysAndTell(kLiveMachine, query, false, *list);
    rows = LiveRows(*list);
    return done;
  };
  Texts rows;
  EXPECT_TRUE(find(AceKind::kAllow, rows));
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_TRUE(rows[0].starts_with("HKLM\\A|S-1-5-18|")) << rows[0];
  EXPECT_FALSE(find(AceKind::kOther, rows));
  EXPECT_EQ(host_.messages, (std::vector<ShownMessage>{{"Privilege not held !", "Hivequarry",
                                                        Icon::kExclamation, Buttons::kOk}}));
  registry_.privileges.insert(u"SeSecurityPrivilege");
  EXPECT_TRUE(find(AceKind::kOther, rows));
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_TRUE(rows[0].starts_with("HKLM\\C|")) << rows[0];
  EXPECT_TRUE(registry_.enabled.empty());
}

}  // namespace
}  // namespace hivequarry::testing
