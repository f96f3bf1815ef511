// The timeline as a list, its filter, and the picture of activity above it.
#include "reports/key_dates.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/lists/list_filtering.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_sorting.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

class TimelineWindowTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    HiveBuilder hive;
    hive.Root().Time(FileTimeOf({2010, 1, 1, 0, 0, 0}));
    for (int year = 2001; year < 2005; ++year) {
      hive.Key("In" + std::to_string(year)).Time(FileTimeOf({year, 6, 1, 12, 0, 0}));
    }
    OpenBytes(hive.Build().bytes);
    SelectItemAndWait(0);
  }
  ListPlace* Timeline() {
    InNextDialog([](HWND dialog) {
      Click(dialog, kTimelineHive);
      Click(dialog, IDOK);
    });
    Run(kCommandTimeline);
    const HWND list = FindWindowW(L"HivequarryList", L"Timeline");
    if (list == nullptr) return nullptr;
    Finish(*FindListPlace(list));
    return FindListPlace(list);
  }
  static Texts LastNames(const Texts& paths) {
    Texts names;
    for (const std::string& path : paths) names.push_back(path.substr(path.rfind('\\') + 1));
    return names;
  }
};

TEST_F(TimelineWindowTest, EventsByTimeThatLeadToTheirKeys) {
  ListPlace* place = Timeline();
  ASSERT_NE(place, nullptr);
  EXPECT_TRUE(TheSettings().timeline.base_block);
  const Texts events = Column(*place, 1);
  EXPECT_EQ(std::ranges::count(events, "key written"), 5);
  EXPECT_GT(std::ranges::count(events, "hive written"), 0);
  const Texts names = LastNames(Column(*place, 2));
  const auto row = static_cast<uint32_t>(std::ranges::find(names, "In2003") - names.begin());
  ASSERT_LT(row, names.size());
  FocusRow(*place, row, false);
  RunList(*place, kCommandGoToTree);
  EXPECT_EQ(window_->hive.tree->items[SelectedItem(window_->tree)].position,
            RowDatum(*place->model, row));
}

TEST_F(TimelineWindowTest, FilteredRowsAreSortedSelectedAndSavedAlone) {
  ListPlace& place = OpenList(MakeRows(51, {{"b 1"}, {"a 2"}, {"c 1"}, {"d 1"}}));
  FocusRow(place, 2, false);
  ASSERT_TRUE(FilterList(place, [](const OutputList& list, uint32_t row) {
    return CellText(list, row, 0).ends_with("1");
  }));
  Finish(place);
  EXPECT_EQ(Column(place, 0), (Texts{"b 1", "c 1", "d 1"}));
  EXPECT_EQ(Selected(place), Texts{"c 1"});
  EXPECT_EQ(PartText(place, 2), "Number of Items : 3 of 4");
  ASSERT_TRUE(SortList(place, {0, SortMode::kText, true}));
  Finish(place);
  EXPECT_EQ(Column(place, 0), (Texts{"d 1", "c 1", "b 1"}));
  EXPECT_EQ(Selected(place), Texts{"c 1"});
  EXPECT_EQ(ChooseRows(place, false).rows, (std::vector<uint32_t>{3, 2, 0}));
  MSG escape{place.list, WM_KEYDOWN, VK_ESCAPE, 0, 0, {}};
  EXPECT_TRUE(TranslateListKeys(escape));
  Finish(place);
  EXPECT_EQ(Column(place, 0), (Texts{"d 1", "c 1", "b 1", "a 2"}));
  EXPECT_FALSE(IsListCommandAvailable(place, kCommandShowAllRows));
}

}  // namespace
}  // namespace hivequarry::testing
