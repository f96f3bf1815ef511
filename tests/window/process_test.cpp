// The program as its user starts it: a process of its own, with its own command line, seen and
// driven from outside alone.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "host/host.h"
#include "tests/support/deadline.h"
#include "tests/support/hive_builder.h"
#include "tests/support/texts.h"
#include "ui/draw/win.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"

namespace hivequarry::testing {
namespace {

constexpr wchar_t kMainClass[] = L"Hivequarry";
constexpr wchar_t kListClass[] = L"HivequarryList";
constexpr wchar_t kBoxClass[] = L"#32770";

struct Wanted {
  DWORD process;  // 0: any but `not_process`
  DWORD not_process;
  const wchar_t* window_class;
  HWND found;
};

BOOL CALLBACK Match(HWND window, LPARAM parameter) {
  auto& wanted = *reinterpret_cast<Wanted*>(parameter);
  wchar_t name[64] = L"";
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  GetClassNameW(window, name, 64);
  const bool right_process =
      wanted.process != 0 ? process == wanted.process
                          : process != wanted.not_process && process != GetCurrentProcessId();
  if (!right_process || wcscmp(name, wanted.window_class) != 0) return TRUE;
  if (IsWindowVisible(window) == FALSE) return TRUE;
  wanted.found = window;
  return FALSE;
}

// A visible top-level window of that class and process, null for none.
HWND FindOf(DWORD process, const wchar_t* window_class, DWORD not_process = 0) {
  Wanted wanted{process, not_process, window_class, nullptr};
  EnumWindows(Match, reinterpret_cast<LPARAM>(&wanted));
  return wanted.found;
}

std::string TextOfWindow(HWND window) {
  wchar_t text[1024] = L"";
  SendMessageW(window, WM_GETTEXT, 1024, reinterpret_cast<LPARAM>(text));
  return Utf8Name(text);
}

// The text of a tree item of another process.
std::string ItemTextOf(HWND tree, HTREEITEM item) {
  struct Remote {
    TVITEMW item;
    wchar_t text[260];
  };
  DWORD id = 0;
  GetWindowThreadProcessId(tree, &id);
  const HANDLE process =
      OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, id);
  auto* there = static_cast<Remote*>(
      VirtualAllocEx(process, nullptr, sizeof(Remote), MEM_COMMIT, PAGE_READWRITE));
  Remote here{};
  here.item.mask = TVIF_TEXT;
  here.item.hItem = item;
  here.item.pszText = there->text;
  here.item.cchTextMax = 260;
  WriteProcessMemory(process, there, &here, sizeof here, nullptr);
  SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&there->item));
  ReadProcessMemory(process, there, &here, sizeof here, nullptr);
  VirtualFreeEx(process, there, 0, MEM_RELEASE);
  CloseHandle(process);
  return Utf8Name(here.text);
}

std::vector<std::string> ChildTextsOf(HWND tree, HTREEITEM item) {
  std::vector<std::string> texts;
  for (HTREEITEM child = TreeView_GetChild(tree, item); child != nullptr;
       child = TreeView_GetNextSibling(tree, child)) {
    texts.push_back(ItemTextOf(tree, child));
  }
  return texts;
}

// The program in a folder of its own, so that its settings are its own too.
class ProcessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    wchar_t self[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    const auto built = std::filesystem::path(self).parent_path() / "../../ui/hivequarry.exe";
    program_ = std::filesystem::path(WideName(folder_.folder())) / L"hivequarry.exe";
    std::filesystem::copy_file(built, program_);
  }

  void TearDown() override {
    TerminateProcess(process_, 1);
    WaitForSingleObject(process_, 10000);
    CloseHandle(process_);
    // A copy that it started.
    if (copy_ != nullptr) PostMessageW(copy_, WM_CLOSE, 0, 0);
    EXPECT_TRUE(PollUntil([this] { return copy_ == nullptr || IsWindow(copy_) == FALSE; }));
  }

  void StartProcess(const std::string& arguments) {
    std::wstring line = L"\"" + program_.wstring() + L"\" " + WideName(arguments);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made{};
    ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &startup, &made));
    CloseHandle(made.hThread);
    process_ = made.hProcess;
    id_ = made.dwProcessId;
  }

  void Start(const std::string& arguments) {
    StartProcess(arguments);
    ASSERT_TRUE(PollUntil([this] { return FindOf(id_, kMainClass) != nullptr; }));
    main_ = FindOf(id_, kMainClass);
  }

  void CloseAndWait() {
    PostMessageW(main_, WM_CLOSE, 0, 0);
    ASSERT_EQ(WaitForSingleObject(process_, 30000), WAIT_OBJECT_0);
    DWORD code = 1;
    GetExitCodeProcess(process_, &code);
    EXPECT_EQ(code, 0U);
  }

  void WaitForHive(const std::string& file) {
    ASSERT_TRUE(PollUntil([&] {
      const std::string title = TextOfWindow(main_);
      return title.starts_with("Hivequarry:F:") && title.ends_with(file) &&
             SendMessageW(Child(kTreeId), TVM_GETCOUNT, 0, 0) > 0;
    }));
  }

  HWND Child(int identifier) const { return GetDlgItem(main_, identifier); }

  std::string Settings() const {
    return ContentOf(Utf8Name((program_.parent_path() / L"hivequarry.ini").wstring()));
  }

  TempFile folder_{std::string_view(), "anchor"};
  std::filesystem::path program_;
  HANDLE process_ = nullptr;
  DWORD id_ = 0;
  HWND main_ = nullptr;
  HWND copy_ = nullptr;
};

BuiltHive SmallHive(std::string_view key) {
  HiveBuilder hive;
  hive.Key(std::string(key) + "\\Beta").Sz("Text", "some words");
  hive.Key("Gamma");
  return hive.Build();
}

TEST_F(ProcessTest, OpensListsAndRemembers) {
  const TempFile hive(SmallHive("Alpha").bytes);
  Start("\"" + hive.name() + "\"");
  WaitForHive(hive.name());
  const HWND tree = Child(kTreeId);
  ASSERT_TRUE(PollUntil([&] { return TreeView_GetCount(tree) >= 5; }));
  EXPECT_EQ(
      ChildTextsOf(tree, TreeView_GetRoot(tree)),
      (std::vector<std::string>{"Alpha", "Gamma", "Disconnected Keys", "Disconnected Values"}));
  EXPECT_EQ(ItemTextOf(tree, TreeView_GetNextSibling(tree, TreeView_GetRoot(tree))), "Workspace");

  SendMessageW(main_, WM_COMMAND, kCommandListKeys, 0);
  ASSERT_TRUE(PollUntil([&] { return FindOf(id_, kListClass) != nullptr; }));
  const HWND list = FindWindowExW(FindOf(id_, kListClass), nullptr, WC_LISTVIEWW, nullptr);
  EXPECT_TRUE(PollUntil([&] { return ListView_GetItemCount(list) == 4; }));

  MoveWindow(main_, 40, 30, 900, 600, TRUE);
  CloseAndWait();
  const std::string first = Settings();
  EXPECT_NE(first.find("[LTFS]"), std::string::npos);
  CloseHandle(process_);
  Start("/C \"" + hive.name() + "\"");
  WaitForHive(hive.name());
  RECT place{};
  GetWindowRect(main_, &place);
  EXPECT_EQ(place.left, 40);
  EXPECT_EQ(place.top, 30);
  EXPECT_EQ(place.right - place.left, 900);
  EXPECT_EQ(place.bottom - place.top, 600);
  CloseAndWait();
  EXPECT_EQ(Settings(), first);  // byte for byte: nothing changed between the runs
}

TEST_F(ProcessTest, ReportListOnTheCommandLine) {
  const TempFile report(
      "[Hivequarry Output List]\r\n\r\n\r\n[RPLfile]\r\nU0=100\r\nU2=2\r\n"
      "U3=;120;200\r\nU4=51\r\nH0=Key\r\nH1=Note\r\n\r\n[ROWS]\r\n"
      "01first\r\n02x\r\n9901\r\n01second\r\n9900\r\n",
      "list.RpT");
  Start(report.name());
  const HWND list = Child(kOutputId);
  EXPECT_TRUE(PollUntil([&] { return ListView_GetItemCount(list) == 2; }));
  EXPECT_TRUE(IsWindowVisible(list));
  EXPECT_EQ(TextOfWindow(main_), "Hivequarry");
  CloseAndWait();
}

TEST_F(ProcessTest, FurtherHiveOpensInACopy) {
  const Bytes first = SmallHive("Alpha").bytes;
  const TempFile file(Joined({first, SmallHive("Astra").bytes}));
  Start(file.name());
  ASSERT_TRUE(PollUntil([&] { return FindOf(id_, kBoxClass) != nullptr; }));
  const HWND box = FindOf(id_, kBoxClass);
  EXPECT_EQ(TextOfWindow(box), "Hivequarry");
  const std::string question = Formatted("New Root Cell found at 0x%X! Open in new Window?",
                                         static_cast<unsigned>(first.size() + 4128));
  std::string text;
  for (HWND part = GetWindow(box, GW_CHILD); part != nullptr; part = GetWindow(part, GW_HWNDNEXT)) {
    if (TextOfWindow(part) == question) text = question;
  }
  EXPECT_EQ(text, question);
  SendMessageW(box, WM_COMMAND, IDYES, 0);
  WaitForHive(file.name());
  EXPECT_EQ(ChildTextsOf(Child(kTreeId), TreeView_GetRoot(Child(kTreeId)))[0], "Alpha");

  ASSERT_TRUE(PollUntil([&] {
    copy_ = FindOf(0, kMainClass, id_);
    return copy_ != nullptr && SendMessageW(GetDlgItem(copy_, kTreeId), TVM_GETCOUNT, 0, 0) > 0;
  }));
  const HWND tree = GetDlgItem(copy_, kTreeId);
  EXPECT_EQ(ChildTextsOf(tree, TreeView_GetRoot(tree))[0], "Astra");
  RECT one{};
  RECT other{};
  GetWindowRect(main_, &one);
  GetWindowRect(copy_, &other);
  EXPECT_TRUE(one.left != other.left && one.top != other.top) << "one is seen behind the other";
  CloseAndWait();
}

TEST_F(ProcessTest, UnattendedBackupEndsByItself) {
  const std::filesystem::path backups = program_.parent_path() / L"backups";
  std::filesystem::create_directory(backups);
  const std::string line = "-bweek -SOFTWARE -HKCU " + Utf8Name(backups.wstring());
  Start(line);
  ASSERT_EQ(WaitForSingleObject(process_, 60000), WAIT_OBJECT_0);
  DWORD code = 1;
  GetExitCodeProcess(process_, &code);
  EXPECT_EQ(code, 0U);
  std::set<std::wstring> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(backups)) {
    if (entry.is_regular_file()) names.insert(entry.path().filename().wstring());
  }
  EXPECT_EQ(names, (std::set<std::wstring>{L"SOFTWARE", L"ntuser.dat", L"hivequarry.ok"}));
  EXPECT_NE(Settings().find("LastBackup="), std::string::npos);
  // Within the week it ends before there is a window.
  CloseHandle(process_);
  StartProcess(line);
  ASSERT_EQ(WaitForSingleObject(process_, 60000), WAIT_OBJECT_0);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(backups),
                          std::filesystem::directory_iterator()),
            2);
}

}  // namespace
}  // namespace hivequarry::testing
