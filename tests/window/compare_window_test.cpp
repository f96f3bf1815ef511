// Two hives compared in the real window: the dialog, the list, the tree of both, its filters and
// the way between differences, scripts, and what is left open afterwards.
#include "ui/compare/compare_window.h"

#include "hive/hive_table.h"
#include "hive/shown_zone.h"
#include "tests/window/access_walk.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/text.h"
#include "ui/lists/list_selection.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

class CompareWindowTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    HiveBuilder a;
    a.Key("Both\\Deep").Sz("v", "1").Sz("same", "s");
    a.Key("Gone\\Below").Sz("x", "1");
    a.Key("Same");
    OpenBytes(a.Build().bytes);
    HiveBuilder b;
    b.Key("BOTH\\Deep").Sz("V", "2").Sz("same", "s");
    b.Key("New");
    b.Key("Same");
    other_ = std::make_unique<TempFile>(b.Build().bytes);
  }
  // Through the dialog; the window, or null.
  HWND Compare(const std::string& file) {
    InNextDialog([&file](HWND dialog) {
      Type(dialog, kCompareFile, WideName(file).c_str());
      Type(dialog, kCompareIgnore, L"");  // the dialog begins with what it had last
      Click(dialog, IDOK);
    });
    Run(kCommandCompareHive);
    EXPECT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
    return FindWindowW(kCompareClassName, nullptr);
  }
  static HWND Keys(HWND compare) { return GetDlgItem(compare, kCompareKeys); }
  static HWND Values(HWND compare) { return GetDlgItem(compare, kCompareValues); }
  static void Do(HWND compare, CompareAct act) {
    SendMessageW(compare, WM_COMMAND, static_cast<WPARAM>(kCompareActs + static_cast<int>(act)), 0);
  }
  Texts Rows(HWND list, size_t first, size_t second) const {
    Texts rows;
    for (int row = 0; row < ListView_GetItemCount(list); ++row) {
      const Texts cells = RowTexts(list, row);
      rows.push_back(cells.at(first) + "|" + cells.at(second));
    }
    return rows;
  }
  void Press(HWND window, WPARAM key) const {
    MSG message{window, WM_KEYDOWN, key, 0, 0, {}};
    HandleMessage(handle_, message);
  }
  static int SlotsTaken() {
    int taken = 0;
    for (const HiveImage& hive : TheHiveTable().slots) taken += hive.state == SlotState::kTaken;
    return taken;
  }

  std::unique_ptr<TempFile> other_;
};

TEST_F(CompareWindowTest, OneTreeShowsBothAndLeadsFromDifferenceToDifference) {
  const std::string title = TextOf(handle_);
  const HWND compare = Compare(other_->name());
  ASSERT_NE(compare, nullptr);
  EXPECT_EQ(SlotsTaken(), 2);
  EXPECT_EQ(TextOf(handle_), title) << "the window shows what it showed";
  const HWND keys = Keys(compare);
  EXPECT_EQ(Rows(keys, 0, 1), (Texts{"[-] ROOT|different below", "[+] Both|different below",
                                     "[+] Gone|only in A", "New|only in B", "Same|"}));
  Do(compare, CompareAct::kNext);
  EXPECT_EQ(Rows(Values(compare), 0, 1), (Texts{"|same", "value data|V"}));
  EXPECT_EQ(RowTexts(Values(compare), 1), (Texts{"value data", "V", "REG_SZ", "1", "REG_SZ", "2"}));
  EXPECT_EQ(ListView_GetItemCount(keys), 6);
  for (int i = 0; i < 2; ++i) Press(keys, VK_F8);
  EXPECT_EQ(Rows(Values(compare), 0, 1), Texts{"only in A|x"});
  for (int i = 0; i < 4; ++i) Press(keys, VK_LEFT);
  EXPECT_EQ(Rows(keys, 0, 1), Texts{"[+] ROOT|different below"});
  Press(keys, VK_RIGHT);
  Do(compare, CompareAct::kShowOnlyB);
  EXPECT_EQ(Rows(keys, 0, 1), (Texts{"[-] ROOT|different below", "New|only in B"}));
  EXPECT_NE(GetMenuState(GetMenu(compare), kCompareActs + static_cast<int>(CompareAct::kShowOnlyB),
                         MF_BYCOMMAND) &
                MF_CHECKED,
            0U);
  Do(compare, CompareAct::kShowDifferent);
  Do(compare, CompareAct::kNext);
  Do(compare, CompareAct::kGoToTree);
  EXPECT_EQ(ItemText(TreeView_GetSelection(window_->controls.tree)), "Deep");

  ListPlace* const list = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(Column(*list, 0).size(), 3U);
  Press(keys, VK_ESCAPE);
  EXPECT_TRUE(PumpUntil([] { return FindWindowW(kCompareClassName, nullptr) == nullptr; }));
  EXPECT_EQ(SlotsTaken(), 1) << "the other hive is closed with its window";
}

TEST_F(CompareWindowTest, DatesFollowTheChosenZone) {
  const HWND compare = Compare(other_->name());
  ASSERT_NE(compare, nullptr);
  EXPECT_FALSE(RowTexts(Keys(compare), 0)[2].ends_with("+05:30"));
  UpdateWindow(Keys(compare));
  ASSERT_EQ(GetUpdateRect(Keys(compare), nullptr, FALSE), FALSE);
  InDialog(L"Time zone of dates", [](HWND dialog) {
    Click(dialog, kZoneFixed);
    Type(dialog, kZoneOffset, L"+05:30");
    Click(dialog, IDOK);
  });
  Run(kCommandTimeZone);
  EXPECT_NE(GetUpdateRect(Keys(compare), nullptr, FALSE), FALSE);
  EXPECT_TRUE(RowTexts(Keys(compare), 0)[2].ends_with("+05:30"));
  SetShownZone({});
}

TEST_F(CompareWindowTest, EachControlHasAName) {
  const HWND compare = Compare(other_->name());
  ASSERT_NE(compare, nullptr);
  const std::vector<MetControl> controls = ControlsIn(compare);
  EXPECT_GE(controls.size(), 3U);
  for (const MetControl& control : controls) EXPECT_NE(control.name, "") << control.where;
}

TEST_F(CompareWindowTest, PatternsLeaveBranchesOut) {
  InNextDialog([this](HWND dialog) {
    Type(dialog, kCompareFile, WideName(other_->name()).c_str());
    Type(dialog, kCompareIgnore, L"a\\\\b");
    EXPECT_FALSE(IsOn(dialog, IDOK)) << "no pattern has an empty name";
    Type(dialog, kCompareIgnore, L"Go*; both\\*");
    Click(dialog, IDOK);
  });
  Run(kCommandCompareHive);
  EXPECT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  const HWND compare = FindWindowW(kCompareClassName, nullptr);
  ASSERT_NE(compare, nullptr);
  ListPlace* const list = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(Column(*list, 0), Texts{"key added"});
  wchar_t text[200] = L"";
  SendMessageW(GetDlgItem(compare, kCompareStatus), SB_GETTEXTW, 0, reinterpret_cast<LPARAM>(text));
  EXPECT_TRUE(std::wstring_view(text).ends_with(L"; 2 rows left out")) << Utf8Name(text);
}

TEST_F(CompareWindowTest, ScriptsMakeOneOfTheOther) {
  const HWND compare = Compare(other_->name());
  ASSERT_NE(compare, nullptr);
  const std::string script = other_->name() + ".reg";
  TheListDialogs().save = [&script](const FileRequest&) { return FileChoice{script}; };
  TheListDialogs().replace = [](HWND, const std::string&) { return true; };
  const auto saved = [&](CompareAct act) {
    Do(compare, act);
    EXPECT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
    const std::string bytes = ContentOf(script);
    std::string text;
    for (size_t i = 2; i < bytes.size(); i += 2) text += bytes[i];
    return text;
  };
  const std::string to_b = saved(CompareAct::kScriptToB);
  EXPECT_NE(to_b.find("[-ROOT\\Gone]"), std::string::npos) << to_b;
  EXPECT_NE(to_b.find("[ROOT\\New]"), std::string::npos) << to_b;
  const std::string to_a = saved(CompareAct::kScriptToA);
  EXPECT_NE(to_a.find("[-ROOT\\New]"), std::string::npos) << to_a;
  EXPECT_NE(to_a.find("[ROOT\\Gone\\Below]"), std::string::npos) << to_a;
}

TEST_F(CompareWindowTest, WhatCanNotBeComparedIsSaidAndLeavesNothingOpen) {
  EXPECT_EQ(Compare(other_->name() + ".none"), nullptr);
  EXPECT_EQ(TakeBoxes().size(), 1U);
  const TempFile text(Bytes(5000, 'x'));
  EXPECT_EQ(Compare(text.name()), nullptr);
  EXPECT_EQ(TakeBoxes().size(), 1U);
  EXPECT_EQ(SlotsTaken(), 1);
  ASSERT_NE(Compare(other_->name()), nullptr);
  CloseWindow();
  EXPECT_EQ(FindWindowW(kCompareClassName, nullptr), nullptr) << "it goes with the main window";
  EXPECT_EQ(SlotsTaken(), 0);
}

}  // namespace
}  // namespace hivequarry::testing
