// Search, key dates and special reports, asked for as a user does.
#include "host/long_operation.h"
#include "reports/key_dates.h"
#include "reports/search.h"
#include "tests/support/deadline.h"
#include "tests/support/sample_hives.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/commands/report_commands.h"
#include "ui/commands/search_commands.h"
#include "ui/dialogs/dates_dialog.h"
#include "ui/dialogs/search_dialog.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

Bytes HiveOfSettings() {
  HiveBuilder hive;
  hive.Key("Run").Time(FileTimeOf({2008, 5, 17, 13, 2, 9})).Sz("RunOnce", "tool.exe");
  KeyRef other = hive.Key("Other").Time(FileTimeOf({2008, 5, 17, 13, 2, 10}));
  other.Dword("Number", 0x401).Value("Bytes", 3, Bytes{1, 4, 0, 0});
  hive.Key("ControlSet001\\Services\\Disk").Dword("Start", 5).Dword("Type", 0x110);
  return hive.Build().bytes;
}

class SearchWindowTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    TheLastSearch() = LastSearch();
    Open(file_.name());
    SelectItemAndWait(0);
  }
  static std::string FieldText(HWND dialog, int field) { return TextOf(GetDlgItem(dialog, field)); }
  // The list window of that title, filled.
  ListPlace* Filled(const wchar_t* title) {
    const HWND list = FindWindowW(L"HivequarryList", title);
    if (list == nullptr) return nullptr;
    ListPlace* place = FindListPlace(list);
    Finish(*place);
    return place;
  }
  TempFile file_{HiveOfSettings(), "SOFTWARE"};
};

TEST_F(SearchWindowTest, FieldsMirrorOneAnotherAndDigitsDecideWhatIsOn) {
  InNextDialog([](HWND dialog) {
    EXPECT_EQ(TextOf(dialog), "Search");
    EXPECT_FALSE(IsWindowVisible(GetDlgItem(dialog, kSearchMachine)));
    for (const int field : {kSearchKeyName, kSearchValueName, kSearchValueData}) {
      EXPECT_TRUE(Ticked(dialog, field)) << field;
    }
    Click(dialog, kSearchMatchCase);
    Type(dialog, kSearchText, L"Run");
    EXPECT_EQ(FieldText(dialog, kSearchHex), "52756E");
    EXPECT_FALSE(IsOn(dialog, kSearchHex) || IsOn(dialog, kSearchDword));
    Click(dialog, kSearchHexMode);
    EXPECT_TRUE(IsOn(dialog, kSearchHex) && IsOn(dialog, kSearchMatchLength));
    EXPECT_FALSE(IsOn(dialog, kSearchText) || IsOn(dialog, kSearchMatchCase) ||
                 IsOn(dialog, kSearchWide));
    const struct {
      const wchar_t* digits;
      bool ok;
      bool dword;
      const char* text;
    } cases[] = {{L"616", false, false, "a"},
                 {L"00000401", true, true, "\xE2\x90\x80\xE2\x90\x80\x04\x01"},
                 {L"zz", false, false, ""},
                 {L"0x61 62", true, false, "ab"},
                 {L"616263", true, false, "abc"},
                 {L"6162636465", true, false, "abcde"}};
    for (const auto& c : cases) {
      Type(dialog, kSearchHex, c.digits);
      EXPECT_EQ(IsOn(dialog, IDOK), c.ok) << Utf8Name(c.digits);
      EXPECT_EQ(IsOn(dialog, kSearchDword), c.dword) << Utf8Name(c.digits);
      EXPECT_FALSE(Ticked(dialog, kSearchDword)) << Utf8Name(c.digits);
      EXPECT_EQ(FieldText(dialog, kSearchText), c.text);
      if (c.dword) Click(dialog, kSearchDword);
    }
    Type(dialog, kSearchHex, L"abc");
    SendMessageW(dialog, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(IsWindow(dialog));  // it stays
    Click(dialog, kSearchTextMode);
    EXPECT_TRUE(IsOn(dialog, IDOK) && IsOn(dialog, kSearchText) && IsOn(dialog, kSearchWide));
    Click(dialog, kSearchHexMode);
    Type(dialog, kSearchHex, L"6162");
    Click(dialog, IDOK);
  });
  EXPECT_TRUE(AskSearch(handle_, SearchPlace::kHive));
  EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: Hex String must have even length !"});
  EXPECT_TRUE(TheLastSearch().settings.match_case);  // grey, yet it holds
  EXPECT_EQ(TheSettings().histories.search_bytes, History{"6162"});
  EXPECT_TRUE(TheSettings().histories.search_texts.empty());
}

TEST_F(SearchWindowTest, HistoriesAndRootsOfTheRegistry) {
  TheSettings().histories.registry_texts = {"first", "second"};
  InNextDialog([](HWND dialog) {
    EXPECT_EQ(TextOf(dialog), "Search Registry");
    EXPECT_TRUE(IsWindowVisible(GetDlgItem(dialog, kSearchConfig)));
    const HWND box = GetDlgItem(dialog, kSearchText);
    ComboBox_SetCurSel(box, 1);
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(kSearchText, CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(box));
    EXPECT_EQ(FieldText(dialog, kSearchHex), "7365636F6E64");
    Click(dialog, kSearchConfig);
    Click(dialog, IDOK);
  });
  EXPECT_TRUE(AskSearch(handle_, SearchPlace::kRegistry));
  EXPECT_EQ(TheSettings().histories.registry_texts, (History{"second", "first"}));
  EXPECT_EQ(TheLastSearch().roots, LastSearch().roots | kLiveConfig);
  const std::string kept = TheLastSearch().settings.text;
  InNextDialog([](HWND dialog) {
    for (const int root : {kSearchMachine, kSearchUser, kSearchConfig}) Click(dialog, root);
    Type(dialog, kSearchText, L"other");
    Click(dialog, IDOK);
  });
  EXPECT_FALSE(AskSearch(handle_, SearchPlace::kRegistry)) << "no root to search";
  EXPECT_EQ(TheLastSearch().settings.text, kept);
  InNextDialog([](HWND dialog) {
    Click(dialog, kSearchConfig);
    Type(dialog, kSearchText, std::wstring(70, L'\u0436').c_str());
    Click(dialog, IDOK);
  });
  EXPECT_TRUE(AskSearch(handle_, SearchPlace::kRegistry));
  EXPECT_EQ(TheSettings().histories.registry_texts.front(), Utf8Name(std::wstring(64, L'\u0436')));
}

TEST_F(SearchWindowTest, RowsOfSearches) {
  const struct {
    int mode;
    const wchar_t* pattern;
    int option;
    Texts values;  // of the rows: the column "Value"
  } cases[] = {{kSearchTextMode, L"run", 0, {"", "RunOnce"}},
               {kSearchTextMode, L"run", kSearchMatchLength, {""}},
               {kSearchHexMode, L"00000401", kSearchDword, {"Number"}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(Utf8Name(c.pattern));
    TheLastSearch() = LastSearch();
    InNextDialog([&c](HWND dialog) {
      Click(dialog, c.mode);
      Type(dialog, c.mode == kSearchHexMode ? kSearchHex : kSearchText, c.pattern);
      if (c.option != 0) Click(dialog, c.option);
      Click(dialog, IDOK);
    });
    Run(kCommandSearchBranch);
    ListPlace* place = Filled(L"Search results");
    ASSERT_NE(place, nullptr);
    EXPECT_EQ(Column(*place, 1), c.values);
    DestroyWindow(place->window);
  }
}

TEST_F(SearchWindowTest, ExpressionsAndLimits) {
  InNextDialog([](HWND dialog) {
    Type(dialog, kSearchText, L"run(");
    EXPECT_TRUE(IsOn(dialog, IDOK));
    Click(dialog, kSearchRegular);
    EXPECT_FALSE(IsOn(dialog, IDOK));
    EXPECT_EQ(FieldText(dialog, kSearchMessage), "A ( has no ).");
    Type(dialog, kSearchText, L"^r.n$");
    EXPECT_TRUE(IsOn(dialog, IDOK));
    SetDlgItemTextW(dialog, kSearchWrittenTo, L"never");
    SendMessageW(dialog, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(IsWindow(dialog));
    SetDlgItemTextW(dialog, kSearchWrittenTo, L"2008/05/17, 13:02:09");
    Click(dialog, IDOK);
  });
  Run(kCommandSearchBranch);
  EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: No number of bytes and no time: never"});
  ListPlace* place = Filled(L"Search results");
  ASSERT_NE(place, nullptr);
  EXPECT_EQ(Column(*place, 1), Texts{""});
  DestroyWindow(place->window);
  // Without a pattern all values of that size; what was asked for last is there again.
  InNextDialog([](HWND dialog) {
    EXPECT_EQ(FieldText(dialog, kSearchWrittenTo), "2008/05/17, 13:02:09");
    SetDlgItemTextW(dialog, kSearchWrittenTo, L"");
    Type(dialog, kSearchText, L"");
    SetDlgItemTextW(dialog, kSearchMost, L"4");
    Click(dialog, IDOK);
  });
  Run(kCommandSearchBranch);
  place = Filled(L"Search results");
  ASSERT_NE(place, nullptr);
  EXPECT_EQ(Column(*place, 1), (Texts{"Start", "Type", "Number", "Bytes"}));
  DestroyWindow(place->window);
}

TEST_F(SearchWindowTest, SaysWhenKeysLieTooDeep) {
  const TempFile deep(DeepHive(400), "DEEP");
  CloseWindow();
  MakeWindow();
  Open(deep.name());
  TheLastSearch().settings.text = "level0";
  InNextDialog([](HWND dialog) { Click(dialog, IDOK); });
  Run(kCommandSearchWorkspace);
  const ListPlace* place = Filled(L"Search results");
  ASSERT_NE(place, nullptr);
  EXPECT_EQ(ListView_GetItemCount(place->list), 1);
  EXPECT_EQ(PartText(*place, 0), " Keys nested too deep were not searched.");
}

TEST_F(SearchWindowTest, ARunningSearchRefusesAnotherAndSaysWhenItWasStopped) {
  const DWORD window_thread = GetCurrentThreadId();
  surroundings_.on_status = [window_thread](const char*) {  // holds the search up
    if (GetCurrentThreadId() != window_thread) PollUntil(StopRequested);
  };
  for (const bool leave : {false, true}) {
    TheLastSearch().settings.text = "nowhere";
    InNextDialog(Clicks({IDOK}));
    Run(kCommandSearchBranch);
    const auto refused = [](OutputList&) { ADD_FAILURE(); };
    EXPECT_EQ(FillListWindow(*window_, MakeOutputList(kListKeyDates), refused), nullptr);
    EXPECT_EQ(FindWindowW(L"HivequarryList", L"Key Dates"), nullptr);
    if (leave) return Run(kCommandExit);  // ends at once, or the test never does
    surroundings_.answer = Answer::kYes;
    Run(kCommandStop);
    EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: Stop current Process ?"});
    ListPlace* place = Filled(L"Search results");
    ASSERT_NE(place, nullptr);
    EXPECT_EQ(PartText(*place, 0), " Stopped.");
    DestroyWindow(place->window);
  }
}

TEST_F(SearchWindowTest, DatesBeginWithThisHourAndPresetsGoBack) {
  const KeyDateTime noon = {2024, 3, 1, 12, 30, 15};
  EXPECT_EQ(SecondsBefore(noon, 86400), (KeyDateTime{2024, 2, 29, 12, 30, 15}));
  const auto start_of = [](HWND dialog) {
    KeyDateTime start;
    EXPECT_TRUE(ReadKeyDate(FieldText(dialog, kDatesStart), start));
    return start;
  };
  InNextDialog([&](HWND dialog) {
    EXPECT_FALSE(IsOn(dialog, kDatesStart) || IsOn(dialog, kDatesPresets));
    Click(dialog, kDatesLimited);
    EXPECT_TRUE(IsOn(dialog, kDatesEnd) && IsOn(dialog, kDatesPresets));
    EXPECT_EQ(start_of(dialog).minute * 60 + start_of(dialog).second, 0);
    for (const auto& [preset, seconds] :
         {std::pair(kPresetHour, 3600), std::pair(kPresetDay, 86400),
          std::pair(kPresetWeek, 604800), std::pair(kPreset4Minutes, 240),
          std::pair(kPreset10Minutes, 600), std::pair(kPreset30Minutes, 1800)}) {
      SendMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(preset), 0);
      const uint64_t back = FileTimeOf(LocalTimeNow()) - FileTimeOf(start_of(dialog));
      EXPECT_NEAR(static_cast<double>(back) / 1e7, seconds, 5) << preset;
    }
    SendMessageW(dialog, WM_COMMAND, kPresetLastDay, 0);
    EXPECT_EQ(FieldText(dialog, kDatesEnd),
              KeyDateText(KeyDateTimeOf(window_->shown->survey.last_activity)));
    EXPECT_EQ(FileTimeOf(start_of(dialog)) + uint64_t{86400} * 10'000'000,
              window_->shown->survey.last_activity / 10'000'000 * 10'000'000);
    Type(dialog, kDatesStart, L"yesterday");
    Click(dialog, IDOK);
    EXPECT_TRUE(IsWindow(dialog));
    Type(dialog, kDatesStart, L"2008/05/17, 13:02:09");
    Type(dialog, kDatesEnd, L"2008-05-17 13:02:09");
    Click(dialog, IDOK);
  });
  Run(kCommandKeyDates);
  EXPECT_EQ(TakeBoxes().size(), 1U);
  const ListPlace* place = Filled(L"Key Dates");
  ASSERT_NE(place, nullptr);
  EXPECT_EQ(Column(*place, 0), Texts{"2008/05/17, 13:02:09"});
  EXPECT_TRUE(TheSettings().dates.limited);
  EXPECT_EQ(TheSettings().dates.end, "2008-05-17 13:02:09");
}

TEST_F(SearchWindowTest, ReportFromItsCommand) {
  Run(kCommandReport + static_cast<uint32_t>(Report::kServices));
  const ListPlace* place = Filled(L"Output List");
  ASSERT_NE(place, nullptr);
  ASSERT_EQ(ListView_GetItemCount(place->list), 1);
  const Texts row = RowTexts(place->list, 0);
  EXPECT_EQ(row.at(1), "5");
  EXPECT_EQ(row.at(5), "272");
}

TEST_F(SearchWindowTest, ClassIdOfARow) {
  const std::string class_id = "{00021401-0000-0000-C000-000000000046}";
  ListPlace& place = OpenList(MakeRows(28, {{"HKCR\\CLSID\\" + class_id + "\\InProcServer32"}}));
  FocusRow(place, 0, false);
  OnCopyClassId(place);
  EXPECT_EQ(ClipboardText(), class_id);
}

}  // namespace
}  // namespace hivequarry::testing
