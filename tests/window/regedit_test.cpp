// Keys shown in the system's registry editor: the real one, on keys made for it.
#include "ui/live/regedit.h"

#include "hive/hive_table.h"
#include "hive/root_path.h"
#include "host/long_operation.h"
#include "tests/window/list_fixture.h"
#include "ui/frame/text.h"

namespace hivequarry::testing {
namespace {

const std::wstring kStartKey = L"Software\\HQTest";
const std::string kTestPath = "HKEY_CURRENT_USER\\Software\\HQTest";

void MakeKey(const std::wstring& path, std::initializer_list<const wchar_t*> values) {
  HKEY key = nullptr;
  const std::wstring whole = kStartKey + path;
  RegCreateKeyExW(HKEY_CURRENT_USER, whole.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                  nullptr);
  for (const wchar_t* name : values) {
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(L"x"), 4);
  }
  RegCloseKey(key);
}

HWND FindEditor() { return FindWindowW(L"RegEdit_RegEdit", nullptr); }
// Some editors have their panes in a window of its own.
HWND EditorPane(const wchar_t* name) {
  const HWND inner = FindWindowExW(FindEditor(), nullptr, L"REGEDIT", nullptr);
  return FindWindowExW(inner != nullptr ? inner : FindEditor(), nullptr, name, nullptr);
}
HTREEITEM Parent(HTREEITEM item) { return TreeView_GetParent(EditorPane(WC_TREEVIEWW), item); }

// What is selected in the editor, without the computer's name.
std::string ShownKey() {
  std::string path;
  std::wstring text;
  for (HTREEITEM item = TreeView_GetSelection(EditorPane(WC_TREEVIEWW));
       item != nullptr && Parent(item) != nullptr; item = Parent(item)) {
    EXPECT_TRUE(ReadEditorItemText(item, text));
    path = Utf8Name(text) + (path.empty() ? "" : "\\" + path);
  }
  return path;
}

// A branch of the editor's tree that hides the one below an item from a walk that comes from above.
void AddFalseBranch(HTREEITEM parent, const wchar_t* name) {
  struct Remote {
    TVINSERTSTRUCTW insert;
    wchar_t text[32];
  } here{};
  DWORD id = 0;
  GetWindowThreadProcessId(FindEditor(), &id);
  const HANDLE process = OpenProcess(PROCESS_ALL_ACCESS, FALSE, id);
  auto* there = static_cast<Remote*>(
      VirtualAllocEx(process, nullptr, sizeof here, MEM_COMMIT, PAGE_READWRITE));
  here.insert.hParent = parent;
  here.insert.hInsertAfter = TVI_FIRST;
  here.insert.item.mask = TVIF_TEXT;
  here.insert.item.pszText = there->text;
  wcscpy(here.text, name);
  WriteProcessMemory(process, there, &here, sizeof here, nullptr);
  SendMessageW(EditorPane(WC_TREEVIEWW), TVM_INSERTITEMW, 0,
               reinterpret_cast<LPARAM>(&there->insert));
  VirtualFreeEx(process, there, 0, MEM_RELEASE);
  CloseHandle(process);
}

class RegeditTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    RegDeleteTreeW(HKEY_CURRENT_USER, kStartKey.c_str());
    MakeKey(L"\\Alpha\\Beta\\Inner", {});
    MakeKey(L"\\Alpha\\Beta", {L"Apple", L"Banana", L"Blackberry", L"Cherry"});
    MakeKey(L"\\Alpha\\\x0416\x4E2D", {});
    ASSERT_EQ(FindEditor(), nullptr);
  }
  void TearDown() override {
    if (FindEditor() != nullptr) PostMessageW(FindEditor(), WM_CLOSE, 0, 0);
    EXPECT_TRUE(PumpUntil([] { return FindEditor() == nullptr; }));
    RegDeleteTreeW(HKEY_CURRENT_USER, kStartKey.c_str());
    ListTest::TearDown();
  }
  void FinishWork() {
    ASSERT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
    EXPECT_EQ(EditorErrorText(), "");
  }
  // A hive whose place is the key of these tests, under a label that another one would have too.
  void OpenTestHive() {
    HiveBuilder hive;
    hive.Key("ALPHA\\beta").Sz("Apple", "x").Sz("blackberry", "x");
    hive.Key("ALPHA\\Lost\\Deeper");
    OpenBytes(hive.Build().bytes);
    SetRootPath(HiveOfSlot(window_->shown->slot), "HKCU\\Software\\HQTest");
  }
};

TEST(Regedit, RecordsOfBothWordSizes) {
  const auto numbers = [](const ItemRecord& record) {
    std::array<uint32_t, sizeof record / 4> words{};
    memcpy(words.data(), record.data(), sizeof record);
    return words;
  };
  EXPECT_EQ(numbers(MakeItemRecord(kItemRecord32, 0x11223344, 0x55667788)),
            (std::array<uint32_t, 14>{17, 0x11223344, 0, 0, 0x55667788, 260}));
  EXPECT_EQ(numbers(MakeItemRecord(kItemRecord64, 0x11223344, 0x9955667788)),
            (std::array<uint32_t, 14>{17, 0, 0x11223344, 0, 0, 0, 0x55667788, 0x99, 260}));
  for (const auto& layout : {kItemRecord32, kItemRecord64}) {
    EXPECT_EQ(TextOfRecord(layout, MakeItemRecord(layout, 1, 0x55667788)), 0x55667788U);
  }
}

TEST_F(RegeditTest, CommandsStartTheEditorAndLeadIt) {
  OpenTestHive();
  SelectPath("ALPHA\\beta");
  Run(kCommandGoToRegedit);
  FinishWork();
  ASSERT_NE(FindEditor(), nullptr);
  EXPECT_EQ(ShownKey(), kTestPath + "\\Alpha\\Beta");
  EXPECT_NE(ListView_GetNextItem(EditorPane(WC_LISTVIEWW), -1, LVNI_SELECTED), 3);

  SetFocus(window_->values.window);
  SelectRow(1);
  Run(kCommandGoToRegedit);
  FinishWork();
  const HWND values = EditorPane(WC_LISTVIEWW);
  EXPECT_EQ(ListView_GetItemCount(values), 5);
  EXPECT_EQ(ListView_GetNextItem(values, -1, LVNI_SELECTED), 3);  // after the default value
  GUITHREADINFO threads{};
  threads.cbSize = sizeof threads;
  GetGUIThreadInfo(GetWindowThreadProcessId(values, nullptr), &threads);
  EXPECT_EQ(threads.hwndFocus, values);
  EXPECT_EQ(GetForegroundWindow(), FindEditor());

  SelectPath("ALPHA\\Lost\\Deeper");  // not in the registry
  Run(kCommandGoToRegedit);
  FinishWork();
  EXPECT_EQ(ShownKey(), kTestPath + "\\Alpha");

  // A row that speaks of no position: its texts lead.
  ListPlace& place = OpenList(MakeRows(
      6, {{"00001, HKCU\\Software\\HQTest\\Alpha\\Beta", "CHERRY"}, {"HKCU\\Software", ""}}));
  FocusRow(place, 0, false);
  RunList(place, kCommandListRegedit);
  FinishWork();
  EXPECT_EQ(ShownKey(), kTestPath + "\\Alpha\\Beta");
  EXPECT_EQ(ListView_GetNextItem(EditorPane(WC_LISTVIEWW), -1, LVNI_SELECTED), 4);
  EXPECT_EQ(TakeBoxes(), Texts());
}

TEST_F(RegeditTest, WalksFromTheDeepestCommonKey) {
  const auto go = [](const std::string& path) {
    EXPECT_EQ(GoToRegedit(path, ""), kEditorReached);
    EXPECT_EQ(EditorErrorText(), "");
    return ShownKey();
  };
  ASSERT_EQ(go("hkcu\\SOFTWARE\\hqtest\\Alpha\\Beta\\Inner"), kTestPath + "\\Alpha\\Beta\\Inner");
  HTREEITEM user = TreeView_GetSelection(EditorPane(WC_TREEVIEWW));
  for (int level = 0; level < 5; ++level) user = Parent(user);
  AddFalseBranch(user, L"Software");
  const std::string other = "\\Alpha\\\xD0\x96\xE4\xB8\xAD";
  EXPECT_EQ(go(kTestPath + other), kTestPath + other);
  EXPECT_EQ(go(kTestPath + "\\Alp"), kTestPath);  // part of a name is not the name
  EXPECT_EQ(go("nowhere\\Alpha"), kTestPath);
  ASSERT_TRUE(BeginOperation(kOperationQuietA));
  RequestStop();
  EXPECT_EQ(go(kTestPath + other), kTestPath);
  EndOperation();
  EXPECT_EQ(go("HKLM\\Software"), "HKEY_LOCAL_MACHINE\\Software");
  EXPECT_EQ(go(kTestPath), "HKEY_CURRENT_USER\\Software");  // from the top: the false one
}

TEST_F(RegeditTest, TellsWhenThereIsNoEditor) {
  wchar_t file[MAX_PATH] = L"";
  GetSystemWindowsDirectoryW(file, MAX_PATH);
  wcscat(file, L"\\regedit.exe");
  const std::wstring elsewhere = std::wstring(file) + L".away";
  if (MoveFileW(file, elsewhere.c_str()) == FALSE) GTEST_SKIP() << "the system keeps its editor";
  EXPECT_EQ(GoToRegedit(kTestPath, ""), kEditorMissing);
  MoveFileW(elsewhere.c_str(), file);
  EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: Unable to launch Regedit !"});
  EXPECT_NE(EditorErrorText(), "");
}

TEST_F(RegeditTest, WalksThirtyTwoLevels) {
  std::wstring deep;
  for (int level = 0; level < 40; ++level) deep += L"\\d";
  MakeKey(deep, {});
  const std::string expected = kTestPath + Utf8Name(deep).substr(0, 2 * 29);
  for (int time = 0; time < 2; ++time) {  // then from there
    GoToRegedit(kTestPath + Utf8Name(deep), "Apple");
    EXPECT_EQ(ShownKey(), expected);
  }
}

}  // namespace
}  // namespace hivequarry::testing
