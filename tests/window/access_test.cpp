// The windows and dialogs as a screen reader and a user without a mouse have them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "tests/support/sample_hives.h"
#include "tests/window/access_walk.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/draw/dpi.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/lists/raw_view.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

class AccessTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    Open(file_.name());
  }
  static void ExpectNames(HWND window) {
    for (const MetControl& control : ControlsIn(window)) {
      EXPECT_NE(control.name, "") << control.where;
    }
  }
  TempFile file_{DamagedSample(), "SOFTWARE"};
};

TEST_F(AccessTest, EachPaneOfAWindowHasAName) {
  ExpectNames(handle_);
  SelectPath("");
  OpenRawView(*window_, window_->shown->tree->items[0].position);
  Run(kCommandBlockList);
  Run(kCommandListKeys);
  ASSERT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  std::set<HWND> seen = {handle_};
  const HWND others[] = {FindWindowW(L"HivequarryList", nullptr), window_->blocks};
  for (const HWND other : others) {
    ASSERT_NE(other, nullptr);
    ExpectNames(other);
  }
}

// What the platform itself answers a screen reader, where it does.
TEST_F(AccessTest, ThePlatformFindsTheSameNames) {
  int asked = 0;
  for (const MetControl& control : ControlsIn(handle_)) {
    std::string name;
    if (!AskedName(control.window, name) || name.empty()) continue;
    ++asked;
    const bool text = name == control.name || name == TextOf(control.window);
    EXPECT_TRUE(text) << control.where << " is " << name;
  }
  std::string name;
  if (AskedName(window_->controls.tree, name)) {
    EXPECT_GT(asked, 3);
  }
}

TEST_F(AccessTest, TabGoesRoundAllThatIsShown) {
  window_->bookmarks.shown = false;
  Run(kCommandBookmarkPane);
  SetFocus(window_->controls.tree);
  std::set<HWND> met;
  for (int step = 0; step < 30; ++step) {
    MSG tab{GetFocus(), WM_KEYDOWN, VK_TAB, 0, 0, {}};
    HandleMessage(handle_, tab);
    met.insert(GetFocus());
  }
  for (const MetControl& control : ControlsIn(handle_)) {
    if (IsWindowVisible(control.window) == FALSE) continue;
    EXPECT_TRUE(met.contains(control.window)) << control.where;
  }
}

INT_PTR CALLBACK QuietProc(HWND, UINT, WPARAM, LPARAM) { return FALSE; }

// Every dialog of the program, as it is in the program's resources.
std::vector<std::wstring> DialogNames() {
  std::vector<std::wstring> names;
  EnumResourceNamesW(
      nullptr, RT_DIALOG,
      [](HMODULE, LPCWSTR, LPWSTR name, LONG_PTR into) {
        reinterpret_cast<std::vector<std::wstring>*>(into)->emplace_back(name);
        return TRUE;
      },
      reinterpret_cast<LONG_PTR>(&names));
  return names;
}

// Their names are given when the dialog comes up.
bool IsNamedLater(HWND control) {
  const int id = GetDlgCtrlID(control);
  return (id >= kSnapshotRoot && id < kSnapshotRoot + 7) ||
         (id >= kBookmarkAll && id <= kBookmarkUsers);
}

TEST_F(AccessTest, DialogsHaveNamesLettersAndAWayByKeys) {
  const std::vector<std::wstring> names = DialogNames();
  EXPECT_GT(names.size(), 20U);
  for (const std::wstring& name : names) {
    SCOPED_TRACE(Utf8Name(name));
    const HWND dialog =
        MakeDialogBox(GetModuleHandleW(nullptr), name.c_str(), handle_, QuietProc, 0);
    ASSERT_NE(dialog, nullptr);
    for (const MetControl& control : ControlsIn(dialog)) {
      EXPECT_TRUE(IsNamedLater(control.window) || !control.name.empty()) << control.where;
    }
    EXPECT_EQ(LettersTwice(dialog), std::vector<std::string>());
    EXPECT_EQ(OutOfReach(dialog), std::vector<std::string>());
    EXPECT_EQ(CutTexts(dialog), std::vector<std::string>());
    DestroyWindow(dialog);
  }
}

// What the toolbar alone has is come to by keys.
TEST_F(AccessTest, ToolbarIsUsedByKeys) {
  const HWND toolbar = window_->controls.toolbar;
  uint32_t run = 0;
  window_->on_command = [&run](const Command& command) { run = command.number; };
  SetFocus(toolbar);
  std::set<uint32_t> pressed;
  const auto press = [toolbar](WPARAM key) { SendMessageW(toolbar, WM_KEYDOWN, key, 0); };
  press(VK_HOME);
  for (int step = 0; step < 40; ++step) {
    press(VK_RETURN);
    pressed.insert(run);
    press(VK_RIGHT);
  }
  for (const uint32_t number : {kCommandOpenSnapshot, kCommandRecentKeys, kCommandKeySnapshot,
                                kCommandOutputList, kCommandExit}) {
    EXPECT_TRUE(pressed.contains(number)) << number;
  }
  EXPECT_FALSE(pressed.contains(kCommandStop));  // grey
  press(VK_END);
  press(VK_SPACE);
  EXPECT_EQ(run, static_cast<uint32_t>(kCommandExit));
  window_->on_command = nullptr;
}

// The user's choice of larger texts, as long as it lives.
class LargerTexts {
 public:
  explicit LargerTexts(DWORD percent) {
    RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kName, REG_DWORD, &percent, sizeof percent);
  }
  ~LargerTexts() { RegDeleteKeyValueW(HKEY_CURRENT_USER, kKey, kName); }
  LargerTexts(const LargerTexts&) = delete;
  LargerTexts& operator=(const LargerTexts&) = delete;

 private:
  static constexpr wchar_t kKey[] = L"Software\\Microsoft\\Accessibility";
  static constexpr wchar_t kName[] = L"TextScaleFactor";
};

LONG HeightOfFont(HWND control) {
  LOGFONTW font{};
  GetObjectW(reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0)), sizeof font,
             &font);
  return std::abs(font.lfHeight);
}

TEST_F(AccessTest, LargerTextsMakeColumnsOfBookmarksWider) {
  const auto width_of_tags = [this] {
    int width = 0;
    InNextDialog([&width](HWND dialog) {
      width = ListView_GetColumnWidth(GetDlgItem(dialog, kBookmarkList), 2);
      EndDialog(dialog, IDCANCEL);
    });
    Run(kCommandBookmarks);
    return width;
  };
  const int before = width_of_tags();
  const LargerTexts larger(150);
  EXPECT_GT(width_of_tags(), before * 5 / 4);
}

TEST_F(AccessTest, LargerTextsMakeDialogsAndDetailsLarger) {
  const auto width_of_dialog = [this](const wchar_t* name) {
    const HWND dialog = MakeDialogBox(GetModuleHandleW(nullptr), name, handle_, QuietProc, 0);
    RECT area{};
    GetWindowRect(dialog, &area);
    DestroyWindow(dialog);
    return area.right - area.left;
  };
  const std::vector<std::wstring> names = DialogNames();
  std::vector<LONG> before;
  for (const std::wstring& name : names) before.push_back(width_of_dialog(name.c_str()));
  const LONG font = HeightOfFont(window_->viewer.detail.window);
  {
    const LargerTexts larger(200);
    SendMessageW(handle_, WM_SETTINGCHANGE, 0, 0);
    EXPECT_NEAR(HeightOfFont(window_->viewer.detail.window), 2 * font, 1);
    for (size_t i = 0; i < names.size(); ++i) {
      const LONG width = width_of_dialog(names[i].c_str());
      EXPECT_GT(width, std::min<LONG>(before[i] * 17 / 10, 1000)) << Utf8Name(names[i]);
      EXPECT_LE(width, GetSystemMetrics(SM_CXSCREEN) + 20) << Utf8Name(names[i]);
    }
  }
  SendMessageW(handle_, WM_SETTINGCHANGE, 0, 0);
  EXPECT_EQ(HeightOfFont(window_->viewer.detail.window), font);
  for (const DWORD wrong : {0U, 99U, 100000U}) {
    const LargerTexts odd(wrong);
    EXPECT_EQ(TextPercent(), wrong == 100000U ? 225U : 100U);
  }
}

}  // namespace
}  // namespace hivequarry::testing
