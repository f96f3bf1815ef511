// The registry of the system that the tests run on: keys that the test makes through the platform,
// found through the program's own table.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "host/host.h"
#include "live/file_protection.h"
#include "live/live_keys.h"
#include "live/live_lists.h"
#include "live/mounted_hives.h"
#include "tests/support/hive_builder.h"
#include "tests/support/texts.h"
#include "ui/draw/win.h"

namespace hivequarry::testing {
namespace {

constexpr wchar_t kTestKey[] = L"Software\\HivequarryTest";
constexpr wchar_t kUninstall[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\HivequarryTest";

class LiveRegistryTest : public ::testing::Test {
 protected:
  void SetUp() override { RemoveKeys(); }
  void TearDown() override { RemoveKeys(); }
  static void RemoveKeys() {
    RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey);
    RegDeleteTreeW(HKEY_CURRENT_USER, kUninstall);
  }
  static void Set(const wchar_t* key, const wchar_t* name, DWORD type, const void* data,
                  size_t size) {
    ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, key, name, type, data, static_cast<DWORD>(size)),
              ERROR_SUCCESS);
  }
  static void SetText(const wchar_t* key, const wchar_t* name, const std::wstring& text) {
    Set(key, name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
  }
  static std::wstring Below(const wchar_t* name) { return std::wstring(kTestKey) + L"\\" + name; }
};

TEST_F(LiveRegistryTest, WalksRealKeys) {
  const std::vector<uint8_t> big(300'000, 0x5A);
  SetText(kTestKey, L"", L"default");
  Set(kTestKey, L"Big", REG_BINARY, big.data(), big.size());
  SetText(Below(L"\u03A9mega").c_str(), L"n\u00E4me", L"inside");
  const std::unique_ptr<KeySource> keys = KeysOfRegistry("HKCU\\Software\\HivequarryTest");
  SourceKey key;
  SourceValue value;
  ASSERT_TRUE(keys->NextKey(key));
  EXPECT_EQ(key.name + key.error, "HivequarryTest");
  FILETIME now = {};
  GetSystemTimeAsFileTime(&now);
  const uint64_t time = now.dwLowDateTime | uint64_t{now.dwHighDateTime} << 32;
  EXPECT_NEAR(static_cast<double>(key.last_write), static_cast<double>(time), 6e8);
  std::map<std::string, std::vector<uint8_t>> values;
  while (keys->NextValue(value)) values[value.name].assign(value.data.begin(), value.data.end());
  EXPECT_EQ(values.size(), 2U);
  EXPECT_EQ(values["Big"], big);
  EXPECT_EQ(values[""].size(), 16U);
  // A name that the code page lacks does not keep its key from being opened.
  ASSERT_TRUE(keys->NextKey(key));
  EXPECT_EQ(key.error, "");
  ASSERT_TRUE(keys->NextValue(value));
  EXPECT_EQ(value.name + "=" + value.text, "n\u00E4me=inside");
  EXPECT_FALSE(keys->NextKey(key));
}

TEST_F(LiveRegistryTest, LinksAreNotFollowed) {
  HKEY link = nullptr;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, Below(L"Round").c_str(), 0, nullptr,
                            REG_OPTION_CREATE_LINK | REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                            &link, nullptr),
            ERROR_SUCCESS);
  constexpr wchar_t kMachine[] = L"\\Registry\\Machine";
  EXPECT_EQ(RegSetValueExW(link, L"SymbolicLinkValue", 0, REG_LINK,
                           reinterpret_cast<const BYTE*>(kMachine), sizeof kMachine - 2),
            ERROR_SUCCESS);
  {
    const OpenedKey itself(kCurrentUser, u"Software\\HivequarryTest\\Round", kRegistryAll,
                           kRegistryOpenLink);
    EXPECT_TRUE(IsRegistryLink(itself.key()));
    EXPECT_EQ(KernelNameOf(kCurrentUser, u"Software\\HivequarryTest\\Round"),
              u"\\REGISTRY\\MACHINE");
  }
  const std::unique_ptr<KeySource> keys = KeysOfRegistry("HKCU\\Software\\HivequarryTest");
  int count = 0;
  for (SourceKey key; count < 10 && keys->NextKey(key);) ++count;
  EXPECT_EQ(count, 2);
  // Through the link the tree could not be removed.
  auto* const remove = reinterpret_cast<LONG(WINAPI*)(HKEY)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtDeleteKey")));
  EXPECT_EQ(remove(link), 0);
  RegCloseKey(link);
}

TEST_F(LiveRegistryTest, TheKernelHasOneNameForEachKey) {
  EXPECT_EQ(KernelNameOf(kLocalMachine, u"software"), u"\\REGISTRY\\MACHINE\\SOFTWARE");
  EXPECT_EQ(KernelNameOf(kUsersRoot, u""), u"\\REGISTRY\\USER");
  constexpr std::u16string_view kUsersKeys = u"\\REGISTRY\\USER\\";
  const std::u16string user = KernelNameOf(kCurrentUser, u"");
  ASSERT_TRUE(user.starts_with(u"\\REGISTRY\\USER\\S-1-"));
  EXPECT_EQ(KernelNameOf(kUsersRoot, user.substr(kUsersKeys.size()).c_str()), user);
  EXPECT_EQ(KernelNameOf(kCurrentUser, u"Software"), user + u"\\SOFTWARE");
  EXPECT_EQ(KernelNameOf(kCurrentUser, u"No such key"), u"");
}

TEST_F(LiveRegistryTest, SavedHivesAreForAdministratorsAndTheSystem) {
  SetText(kTestKey, L"", L"x");
  const TempFile place("old", "SAVED");
  const std::u16string file = WideOfText(place.name());
  const EnabledPrivilege backup(Privilege::kBackup);
  const OpenedKey key(kCurrentUser, u"Software\\HivequarryTest", kRegistryRead);
  const auto* const descriptor = AdministratorsAlone().data();
  for (const bool natively : {false, true}) {
    DeleteFileW(reinterpret_cast<const wchar_t*>(file.c_str()));
    const Registry& registry = CurrentRegistry();
    ASSERT_EQ(
        (natively ? registry.save_natively : registry.save)(key.key(), file.c_str(), descriptor),
        kRegistryDone);
    EXPECT_TRUE(ProtectFile(place.name()));
    std::vector<uint8_t> set(4096);
    DWORD size = 0;
    ASSERT_NE(GetFileSecurityW(reinterpret_cast<const wchar_t*>(file.c_str()),
                               DACL_SECURITY_INFORMATION, set.data(), 4096, &size),
              0);
    BOOL present = FALSE;
    BOOL by_default = FALSE;
    PACL list = nullptr;
    ASSERT_NE(GetSecurityDescriptorDacl(set.data(), &present, &list, &by_default), 0);
    ASSERT_TRUE(present != FALSE && list != nullptr);
    // Everybody has no right to it, and this process has.
    for (DWORD i = 0; i < list->AceCount; ++i) {
      void* ace = nullptr;
      ASSERT_NE(GetAce(list, i, &ace), 0);
      EXPECT_EQ(IsWellKnownSid(&static_cast<ACCESS_ALLOWED_ACE*>(ace)->SidStart, WinWorldSid), 0);
    }
    EXPECT_NE(ContentOf(place.name()), "");
  }
  EXPECT_FALSE(ProtectFile(place.folder() + "\\none"));
}

TEST_F(LiveRegistryTest, SearchAndUninstallReportFindWhatWasMade) {
  SetText(Below(L"Found").c_str(), L"Value", L"hq-needle-4711");
  SetText(kUninstall, L"DisplayName", L"hq-needle-4711");
  SearchSettings settings;
  settings.text = "HQ-Needle-4711";
  settings.value_data = true;
  SearchPattern pattern;
  ASSERT_TRUE(CompilePattern(settings, pattern));
  const OutputListPtr found = MakeOutputList(kListLiveSearch);
  SearchRegistry(kLiveUser, pattern, *found);
  std::vector<std::string_view> paths;
  for (uint32_t row = 0; row < RowCount(*found); ++row) paths.push_back(CellText(*found, row, 0));
  EXPECT_EQ(paths.size(), 2U);
  EXPECT_EQ(std::ranges::count(paths, "HKCU\\Software\\HivequarryTest\\Found"), 1);

  const OutputListPtr report = MakeOutputList(InfoOf(Report::kUninstall).live_kind);
  RunReportOnRegistry(Report::kUninstall, *report);
  int rows = 0;
  for (uint32_t row = 0; row < RowCount(*report); ++row) {
    rows += CellText(*report, row, 2) == "hq-needle-4711" ? 1 : 0;
  }
  EXPECT_EQ(rows, 1);
}

TEST_F(LiveRegistryTest, PrivilegesAndPermissions) {
  const Registry& registry = CurrentRegistry();
  bool before = false;
  EXPECT_NE(registry.set_privilege(u"SeNoSuchPrivilege", true, &before), kRegistryDone);
  {
    const EnabledPrivilege privilege(u"SeSecurityPrivilege");
    ASSERT_TRUE(privilege.held());
    EXPECT_EQ(registry.set_privilege(u"SeSecurityPrivilege", true, &before), kRegistryDone);
    EXPECT_TRUE(before);
  }
  EXPECT_EQ(registry.set_privilege(u"SeSecurityPrivilege", false, &before), kRegistryDone);
  EXPECT_FALSE(before);

  SetText(kTestKey, L"", L"x");
  const OutputListPtr list = MakeOutputList(kListSecurityKeys);
  EXPECT_TRUE(FindLiveKeysByPermissions(kLiveUser, {"", AceKind::kAllow, 1, false}, true, *list));
  EXPECT_GT(RowCount(*list), 0U);
  for (uint32_t row = 0; row < std::min(3U, RowCount(*list)); ++row) {
    EXPECT_TRUE(CellText(*list, row, 1).starts_with("S-1-")) << CellText(*list, row, 0);
  }
}

}  // namespace
}  // namespace hivequarry::testing
