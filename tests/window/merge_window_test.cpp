// A branch merged into the registry of the system that the tests run on, and compared with it, by
// the window's commands.
#include "hive/hive_table.h"
#include "hive/root_path.h"
#include "host/long_operation.h"
#include "tests/window/list_fixture.h"
#include "ui/lists/list_menu.h"

namespace hivequarry::testing {
namespace {

constexpr wchar_t kMergedKey[] = L"Software\\HQTest";

class MergeWindowTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    RegDeleteTreeW(HKEY_CURRENT_USER, kMergedKey);
    HiveBuilder builder;
    builder.Key("Tools").Class("tools").Sz("", "default").Dword("Count", 7).Binary("Big", 20'000);
    builder.Key("Tools\\\xCE\xA9mega").Sz("N\xC3\xA4me", "text");
    builder.Key("Tools\\\xD5\xA1rm").Dword("n", 1);
    builder.Key("Other").Dword("n", 1);
    const TempFile file(builder.Build().bytes);
    Open(file.name());
    SetRootPath(HiveOfSlot(window_->shown->slot), "HKCU\\Software\\HQTest");
    SelectPath("Tools");
  }
  void TearDown() override {
    RegDeleteTreeW(HKEY_CURRENT_USER, kMergedKey);
    ListTest::TearDown();
  }
  void WaitForWork() {
    ASSERT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  }
  static void Set(const wchar_t* key, const wchar_t* name, DWORD number) {
    ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, key, name, REG_DWORD, &number, 4), ERROR_SUCCESS);
  }
  static HWND ListWindow() { return FindWindowW(L"HivequarryList", nullptr); }
  static std::string Row(const ListPlace& place, uint32_t row) {
    std::string text;
    for (int column = 0; column < 4; ++column) {
      text += std::string(CellText(*place.model, row, column)) + "|";
    }
    return text;
  }
};

TEST_F(MergeWindowTest, MergedBranchDiffersOnlyWhereItIsChanged) {
  Run(kCommandMergeFolder);
  EXPECT_EQ(surroundings_.boxes.at(0).buttons, Buttons::kYesNoDefaultNo);
  surroundings_.answer = Answer::kYes;
  Set(L"Software\\HQTest\\Tools\\\u0531RM", L"N", 0);
  Run(kCommandMergeFolder);
  WaitForWork();
  EXPECT_EQ(surroundings_.boxes.size(), 2U);
  EXPECT_EQ(ListWindow(), nullptr);
  Run(kCommandCompareFolder);
  WaitForWork();
  ListPlace* place = FindListPlace(ListWindow());
  ASSERT_NE(place, nullptr);
  EXPECT_EQ(ShownRowCount(*place), 0U);

  const std::string tools = "HKCU\\Software\\HQTest\\Tools";
  Set(L"Software\\HQTest\\Tools", L"COUNT", 8);
  Set(L"Software\\HQTest\\Tools\\New", L"n", 1);
  RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Software\\HQTest\\Tools\\\u03A9mega", L"N\u00E4me");
  place->again();
  Finish(*place);
  ASSERT_EQ(RowCount(*place->model), 3U);
  EXPECT_EQ(Row(*place, 0), tools + "|Count|0x00000007 (7)|0x00000008 (8)|");
  EXPECT_EQ(Row(*place, 1), tools + "\\New||(not found)||");
  RunList(*place, kCommandOnlyDifferent);
  EXPECT_EQ(RowCount(*place->model), 1U);
  RunList(*place, kCommandOnlyMissing);
  ASSERT_EQ(RowCount(*place->model), 1U);
  EXPECT_EQ(Row(*place, 0), tools + "\\\u03A9mega|N\u00E4me|text|(not found)|");
  const HMENU menu = MakeListMenu(*place);
  EXPECT_NE(GetMenuState(menu, kCommandOnlyMissing, MF_BYCOMMAND) & MF_CHECKED, 0U);
  EXPECT_EQ(GetMenuState(menu, kCommandOnlyDifferent, MF_BYCOMMAND) & MF_CHECKED, 0U);
  DestroyMenu(menu);
  RunList(*place, kCommandOnlyMissing);
  EXPECT_EQ(RowCount(*place->model), 3U);
}

TEST_F(MergeWindowTest, DisplayedSubKeysIsAMode) {
  const auto differs = [&](const char* path) {
    const uint32_t item = FindItemByPath(ShownHive(*window_), *window_->shown->tree, path);
    return item < window_->shown->pane.differing.size() && window_->shown->pane.differing[item];
  };
  Run(kCommandCompareDisplayed);
  EXPECT_FALSE(window_->comparing);
  EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: Invalid Registry Key !"});
  Set(L"Software\\HQTest\\Other", L"n", 1);
  Run(kCommandCompareDisplayed);
  WaitForWork();
  EXPECT_TRUE(FactsNow(*window_).comparing);
  EXPECT_TRUE(differs("Tools") && differs("") && !differs("Other"));
  // It is the window's: a hive that is opened meanwhile is compared too, and one that can't be ends
  // it for all.
  {
    WindowHive* const first = window_->shown;
    HiveBuilder keys("OTHER");
    keys.Key("Any\\Key");
    const TempFile second(keys.Build().bytes, "SECOND");
    Open(second.name());
    WaitForWork();
    EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: Invalid Registry Key !"});
    EXPECT_FALSE(window_->comparing);
    EXPECT_TRUE(first->pane.differing.empty());
    Run(kCommandCloseHive);
  }
  Run(kCommandCompareDisplayed);
  WaitForWork();
  EXPECT_TRUE(window_->comparing);
  Run(kCommandCompareDisplayed);
  EXPECT_FALSE(window_->comparing || differs("Tools"));
  surroundings_.on_status = [](const char*) { RequestStop(); };
  Run(kCommandCompareDisplayed);
  WaitForWork();
  EXPECT_FALSE(window_->comparing || differs("Tools"));
}

}  // namespace
}  // namespace hivequarry::testing
