// The timeline as a list, its filter, and the picture of activity above it.
#include "reports/key_dates.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/lists/list_filtering.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_sorting.h"
#include "ui/resources/resource.h"
#include "view/activity.h"

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
  ListPlace* Timeline(std::vector<int> boxes = {kTimelineHive}) {
    boxes.push_back(IDOK);
    InNextDialog(Clicks(boxes));
    Run(kCommandTimeline);
    const HWND list = FindWindowW(L"HivequarryList", L"Timeline");
    if (list == nullptr) return nullptr;
    ListPlace& place = *FindListPlace(list);
    Finish(place);
    Pump();  // the picture is read once the list is filled
    Finish(place);
    return &place;
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
  EXPECT_EQ(window_->shown->tree->items[SelectedItem(window_->shown->pane)].position,
            RowDatum(*place->model, row));
}

TEST_F(TimelineWindowTest, HasWhatTheBoxesAdd) {
  HiveBuilder hive;
  Bytes run(72);
  PutU64(run, 60, FileTimeOf({2007, 6, 1, 12, 0, 0}));
  run[4] = 1;
  hive.Key(
          "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\UserAssist\\"
          "{CEBFF5CD-ACE2-4F4F-9178-9926F41749EA}\\Count")
      .Value("P:\\n.rkr", 3, run);
  Run(kCommandCloseHive);
  OpenBytes(hive.Build().bytes);
  SelectItemAndWait(0);
  constexpr const char* kRun = "UserAssist: Last Run";
  for (const bool decoders : {false, true}) {
    ListPlace* place = decoders ? Timeline({kTimelineDecoders, kTimelineLogged}) : Timeline({});
    ASSERT_NE(place, nullptr);
    const Texts events = Column(*place, 1);
    EXPECT_EQ(std::ranges::count(events, kRun), decoders ? 1 : 0);
    if (decoders) {
      const Activity activity = ReadActivity(*place->model, [] { return false; });
      EXPECT_TRUE(std::ranges::any_of(activity.series, [](const ActivitySeries& series) {
        return series.name == kRun;
      })) << "with a colour of its own";
    }
    SendMessageW(place->window, WM_CLOSE, 0, 0);
  }
  EXPECT_TRUE(TheSettings().timeline.decoders);
  EXPECT_TRUE(TheSettings().timeline.logged);
  EXPECT_FALSE(TheSettings().timeline.freed);
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
  ASSERT_TRUE(SortList(place, {{0, SortMode::kText, true}}));
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

// The pane of a list window, once its picture was read.
HWND PaneOf(const ListPlace& place) {
  return FindWindowExW(place.window, nullptr, L"HivequarryActivity", nullptr);
}

// Moves the mouse over a pane with the button down, in hundredths of the width.
void Drag(HWND pane, int from, int to) {
  RECT area;
  GetClientRect(pane, &area);
  const LPARAM start = MAKELPARAM(area.right * from / 100, area.bottom / 2);
  const LPARAM end = MAKELPARAM(area.right * to / 100, area.bottom / 2);
  SendMessageW(pane, WM_LBUTTONDOWN, MK_LBUTTON, start);
  SendMessageW(pane, WM_MOUSEMOVE, MK_LBUTTON, end);
  SendMessageW(pane, WM_LBUTTONUP, 0, end);
}

TEST_F(TimelineWindowTest, DraggingOverThePicturePicksRowsAndEscShowsAll) {
  ListPlace* place = Timeline();
  ASSERT_NE(place, nullptr);
  const HWND pane = PaneOf(*place);
  ASSERT_TRUE(IsWindowVisible(pane));
  const int all = ListView_GetItemCount(place->list);
  SendMessageW(pane, WM_KEYDOWN, 'Y', 0);
  Drag(pane, 0, 40);  // 2001 to some year before 2010
  Finish(*place);
  const Texts dates = Column(*place, 0);
  ASSERT_GE(dates.size(), 3U);
  EXPECT_LT(std::ssize(dates), all);
  for (const std::string& date : dates) EXPECT_TRUE(date.starts_with("200")) << date;
  EXPECT_TRUE(PartText(*place, 0).starts_with(" 2001-01-01 00:00 to 20")) << PartText(*place, 0);
  Drag(pane, 30, 30);  // a bar without rows
  Finish(*place);
  MSG escape{pane, WM_KEYDOWN, VK_ESCAPE, 0, 0, {}};
  EXPECT_TRUE(TranslateListKeys(escape));
  Finish(*place);
  EXPECT_EQ(ListView_GetItemCount(place->list), all);
  SendMessageW(pane, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(100, 60));
  EXPECT_TRUE(TranslateListKeys(escape)) << "ends the drag alone";
  EXPECT_TRUE(IsWindow(place->window));
  SendMessageW(pane, WM_LBUTTONUP, 0, MAKELPARAM(200, 60));
  EXPECT_EQ(ListView_GetItemCount(place->list), all);
  RunList(*place, kCommandActivity);
  EXPECT_FALSE(IsWindowVisible(pane));
  EXPECT_FALSE(IsListCommandAvailable(*place, kCommandSavePicture));
}

TEST_F(TimelineWindowTest, PicturesAreSavedByTheNameOfTheirFile) {
  ListPlace* place = Timeline();
  ASSERT_NE(place, nullptr);
  const ListDialogs real = TheListDialogs();
  const TempFile here(std::string_view("old"), "old.txt");
  const struct {
    const char* name;
    std::string start;
  } cases[] = {{"a.png", "\x89PNG\r\n"}, {"a.svg", "<?xml version=\"1.0\""}};
  for (const auto& c : cases) {
    const std::string file = here.folder() + "\\" + c.name;
    TheListDialogs().save = [&file](const FileRequest&) { return FileChoice{file, 0}; };
    RunList(*place, kCommandSavePicture);
    const std::string bytes = ContentOf(file);
    EXPECT_TRUE(bytes.starts_with(c.start)) << c.name;
    EXPECT_GT(bytes.size(), 500U);
  }
  TheListDialogs() = real;
  ListPlace& other = OpenList(MakeRows(kListUninstall, {{"2008/05/17, 13:02:09", "a"}}));
  EXPECT_FALSE(IsWindowVisible(PaneOf(other)));
  EXPECT_TRUE(IsListCommandAvailable(other, kCommandActivity));
}

}  // namespace
}  // namespace hivequarry::testing
