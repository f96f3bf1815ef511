// Options, bookmarks, recent keys and raw views, used as a user does.
#include <algorithm>

#include "app/bookmarks.h"
#include "app/key_paths.h"
#include "app/recent_keys.h"
#include "tests/support/sample_hives.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/commands/bookmark_file.h"
#include "ui/commands/bookmarks_dialog.h"
#include "ui/commands/misc_commands.h"
#include "ui/commands/recent_keys_dialog.h"
#include "ui/commands/root_dialog.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/dialogs/position_dialog.h"
#include "ui/draw/tones.h"
#include "ui/frame/host_window.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/raw_view.h"
#include "ui/live/open_with.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

class DialogsTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    TheRecentKeys().clear();
  }
  std::string SelectedPath() const {
    return ItemPath(ShownHive(*window_), *window_->shown->tree, SelectedItem(window_->shown->pane));
  }
  void OpenSample() {
    Open(file_.name());
    ASSERT_GT(window_->shown->summary.disconnected_values, 0U);
  }
  TempFile file_{DamagedSample(), "SOFTWARE"};
};

TEST_F(DialogsTest, EachOptionHasItsBoxAndDefaultsBringBackTheBuiltInOnes) {
  OpenSample();
  const struct {
    int control;
    bool Options::*option;
  } boxes[] = {{kOptionNumberRows, &Options::number_rows},
               {kOptionSortNew, &Options::sort_new_lists},
               {kOptionWrapFind, &Options::wrap_find},
               {kOptionSavePlace, &Options::save_window_position},
               {kOptionWindowForEach, &Options::window_for_each},
               {kOptionDetailPane, &Options::detail_pane},
               {kOptionTechnical, &Options::technical_view},
               {kOptionCellDetails, &Options::cell_details}};
  for (const auto& box : boxes) {
    SCOPED_TRACE(box.control);
    const bool before = TheSettings().options.*box.option;
    InNextDialog(Clicks({box.control, IDCANCEL}));
    OnOptions(*window_);
    EXPECT_EQ(TheSettings().options.*box.option, before);
    InNextDialog(Clicks({box.control, IDOK}));
    OnOptions(*window_);
    EXPECT_NE(TheSettings().options.*box.option, before);
  }
  EXPECT_TRUE(window_->view.technical && window_->view.cell_details &&
              !window_->layout.detail_shown);
  InNextDialog(Clicks({kOptionsDefaults, IDOK}));
  OnOptions(*window_);
  EXPECT_EQ(OptionDigits(TheSettings().options), OptionDigits(Options()));
  EXPECT_FALSE(window_->view.technical || window_->view.cell_details ||
               !window_->layout.detail_shown);
  EXPECT_TRUE(surroundings_.boxes.empty());
}

TEST_F(DialogsTest, ColoursAreAnOptionToo) {
  const auto run = [this](std::vector<int> controls) {
    InNextDialog(Clicks(std::move(controls)));
    OnOptions(*window_);
    return TheSettings().colours;
  };
  EXPECT_EQ(run({kOptionColoursDark, IDCANCEL}), ColourChoice::kSystem);
  EXPECT_EQ(run({kOptionColoursDark, IDOK}), ColourChoice::kDark);
  EXPECT_TRUE(IsDark());
  EXPECT_EQ(run({IDOK}), ColourChoice::kDark) << "the dialog begins with what is in force";
  EXPECT_EQ(run({kOptionColoursLight, IDOK}), ColourChoice::kLight);
  EXPECT_EQ(run({kOptionsDefaults, IDOK}), ColourChoice::kSystem);
  EXPECT_FALSE(IsDark());
}

TEST_F(DialogsTest, TheSystemOffersTheProgramWhenTheUserWantsIt) {
  const std::wstring program = ProgramPath();
  const std::wstring key =
      L"Software\\Classes\\Applications\\" + program.substr(program.find_last_of(L"\\/") + 1);
  const auto is_there = [&key] {
    HKEY opened = nullptr;
    const bool there = RegOpenKeyW(HKEY_CURRENT_USER, key.c_str(), &opened) == ERROR_SUCCESS;
    RegCloseKey(opened);
    return there;
  };
  const auto run = [this](std::vector<int> controls) {
    InNextDialog(Clicks(std::move(controls)));
    OnOptions(*window_);
  };
  ASSERT_FALSE(is_there());
  run({kOptionOpenWith, IDCANCEL});
  EXPECT_FALSE(is_there());
  run({kOptionOpenWith, IDOK});
  EXPECT_TRUE(IsInOpenWith(program));
  EXPECT_FALSE(IsInOpenWith(L"D:\\other\\" + program.substr(program.find_last_of(L"\\/") + 1)));
  run({IDOK});
  EXPECT_TRUE(is_there()) << "the dialog begins with what is so";
  window_->host.evidence = true;
  run({kOptionOpenWith, IDOK});  // is grey: nothing is written in evidence mode
  EXPECT_TRUE(is_there());
  window_->host.evidence = false;
  run({kOptionOpenWith, IDOK});
  EXPECT_FALSE(is_there());
  EXPECT_TRUE(SetInOpenWith(program, false)) << "what is not there is not taken out";
  EXPECT_TRUE(surroundings_.boxes.empty());
}

TEST_F(DialogsTest, OptionsOfRecoveryWorkOnTheHiveThatIsLoadedAgain) {
  OpenSample();
  SelectItemAndWait(FirstChild(*window_->shown->tree, 0));
  const std::string selected = SelectedPath();
  InNextDialog(Clicks({kOptionLostValues, IDOK}));
  OnOptions(*window_);  // answered with No
  EXPECT_EQ(surroundings_.boxes.size(), 1U);
  EXPECT_GT(window_->shown->summary.disconnected_values, 0U);
  surroundings_.answer = Answer::kYes;
  ReloadHive(*window_, LogChoice());
  EXPECT_LT(window_->shown->slot, 0);
  ASSERT_TRUE(PumpUntil([&] { return IsLoaded(); }));
  WaitForRows();
  EXPECT_EQ(window_->shown->summary.disconnected_values, 0U);
  EXPECT_EQ(SelectedPath(), selected);
}

class BookmarksTest : public DialogsTest {
 protected:
  void SetUp() override {
    DialogsTest::SetUp();
    OpenSample();
    TheProgram().bookmark_file = bookmark_file_.name();
  }
  Texts Paths() const {
    Bookmarks bookmarks;
    EXPECT_TRUE(LoadBookmarks(bookmark_file_.name(), bookmarks));
    Texts paths;
    for (const size_t line : ShownBookmarks(bookmarks, BookmarkFilter::kAll)) {
      const Bookmark& at = bookmarks.lines[line].bookmark;
      paths.push_back(at.path + (at.note.empty() ? "" : ": " + at.note));
    }
    return paths;
  }
  static std::string TextAt(HWND dialog, int row) {
    std::array<wchar_t, 300> text{};
    ListView_GetItemText(GetDlgItem(dialog, kBookmarkList), row, 0, text.data(), 300);
    return Utf8Name(text.data());
  }
  static int Count(HWND dialog) { return ListView_GetItemCount(GetDlgItem(dialog, kBookmarkList)); }
  static constexpr std::string_view kLines =
      "HKEY_LOCAL_MACHINE\\SOFTWARE\\Gone\\Deep\r\nHKEY_CURRENT_USER\\Console\r\n"
      "HKEY_USERS\\S-1-5-18\\Console\r\n# a remark\r\nHKEY_CLASSES_ROOT\\.txt\r\n";
  TempFile bookmark_file_{kLines, "bookmarks.txt"};
};

TEST_F(BookmarksTest, AddFilterNoteAndDelete) {
  const uint32_t item = FirstChild(*window_->shown->tree, 0);
  SelectItemAndWait(item);
  const std::string key = KeyPathOf(ShownHive(*window_), *window_->shown->tree, item);
  OnAddToBookmarks(*window_);
  EXPECT_EQ(Paths().at(0), key);
  InNextDialog([&](HWND dialog) {
    EXPECT_EQ(Count(dialog), 5);
    for (const auto& [filter, count] :
         {std::pair(kBookmarkMachine, 3), std::pair(kBookmarkUsers, 1),
          std::pair(kBookmarkUser, 1)}) {
      Click(dialog, filter);
      EXPECT_EQ(Count(dialog), count) << filter;
    }
    EXPECT_EQ(TextAt(dialog, 0), "HKEY_CURRENT_USER\\Console");
    SetFocus(GetDlgItem(dialog, kBookmarkNote));
    SendDlgItemMessageW(dialog, kBookmarkNote, EM_REPLACESEL, FALSE,
                        reinterpret_cast<LPARAM>(L"caf\u00e9"));
    SendMessageW(dialog, WM_COMMAND, IDOK, 0);  // Enter ends the note, not the dialog
    EXPECT_EQ(Paths().at(2), "HKEY_CURRENT_USER\\Console: caf\xC3\xA9");
    Click(dialog, kBookmarkAll);
    NMLVKEYDOWN notice{};
    notice.hdr = {GetDlgItem(dialog, kBookmarkList), kBookmarkList, LVN_KEYDOWN};
    notice.wVKey = VK_DELETE;
    SendMessageW(dialog, WM_NOTIFY, kBookmarkList, reinterpret_cast<LPARAM>(&notice));
    EXPECT_EQ(Count(dialog), 4);
    Click(dialog, IDCANCEL);
  });
  OnBookmarks(*window_);
  EXPECT_EQ(Paths().size(), 4U);
  EXPECT_NE(ContentOf(bookmark_file_.name()).find("# a remark"), std::string::npos);
}

TEST_F(BookmarksTest, ReportIsSaved) {
  SelectItemAndWait(FirstChild(*window_->shown->tree, 0));
  OnAddToBookmarks(*window_);
  const std::string file = bookmark_file_.folder() + "\\report.html";
  TheListDialogs().save = [&file](const FileRequest& request) {
    EXPECT_EQ(request.name, "bookmarks.html");
    return FileChoice{file};
  };
  InNextDialog(Clicks({kBookmarkReport}));
  OnBookmarks(*window_);
  ASSERT_TRUE(PumpUntil([&] { return FileExists(file); }));
  ASSERT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  const std::string html = ContentOf(file);
  EXPECT_NE(html.find("<h2>Bookmarked keys</h2>"), std::string::npos);
  EXPECT_NE(html.find("HKEY_CURRENT_USER\\Console"), std::string::npos);
  EXPECT_TRUE(surroundings_.boxes.empty());
}

TEST_F(BookmarksTest, GoingToOneSaysWhenItIsNotThere) {
  const struct {
    int row;
    const char* box;  // what it begins with
    bool moves;
  } cases[] = {{0, "Key not found !", true}, {1, "This hive does not hold", false}};
  for (const auto& c : cases) {
    SelectItemAndWait(FirstChild(*window_->shown->tree, 0));
    const std::string before = SelectedPath();
    TakeBoxes();
    InNextDialog([&](HWND dialog) {
      const HWND list = GetDlgItem(dialog, kBookmarkList);
      ListView_SetItemState(list, c.row, LVIS_SELECTED, LVIS_SELECTED);
      Click(dialog, IDOK);
    });
    OnBookmarks(*window_);
    EXPECT_EQ(TakeBoxes().at(0).find(c.box), std::string("Hivequarry: ").size());
    EXPECT_EQ(SelectedPath() != before, c.moves);
  }
}

TEST_F(DialogsTest, RecentKeysAreThoseThatStayedAndOneIsGoneBackTo) {
  OpenSample();
  const uint32_t first = FirstChild(*window_->shown->tree, 0);
  const uint32_t second = NextSibling(*window_->shown->tree, first);
  SelectItemAndWait(first);
  TheRecentKeys().clear();  // loading may have taken long enough for the root
  NoteKeyShown(*window_);
  EXPECT_TRUE(TheRecentKeys().empty());
  EXPECT_TRUE(PumpUntil([] { return TheRecentKeys().size() == 1; }));
  SelectItemAndWait(second);
  NoteKeyUsed(*window_);
  SelectItemAndWait(window_->shown->tree->disconnected_keys);
  NoteKeyUsed(*window_);  // a folder is no key
  EXPECT_EQ(TheRecentKeys().size(), 2U);
  InNextDialog([](HWND dialog) {
    const HWND list = GetDlgItem(dialog, kRecentList);
    EXPECT_EQ(ListBox_GetCount(list), 2);
    ListBox_SetCurSel(list, 1);
    Click(dialog, IDOK);
  });
  OnRecentKeys(*window_);
  EXPECT_EQ(SelectedItem(window_->shown->pane), first);
}

TEST_F(DialogsTest, RawViewFollowsOffsetsAndGoesBack) {
  OpenSample();
  TheSettings().options.number_rows = true;  // not for fields
  SelectItemAndWait(FirstChild(*window_->shown->tree, 0));
  const uint32_t position =
      window_->shown->tree->items[SelectedItem(window_->shown->pane)].position;
  const uint32_t parent = window_->shown->tree->items[0].position;
  ListPlace* place = OpenRawView(*window_, position);
  ASSERT_NE(place, nullptr);
  const Texts fields = Column(*place, 2);
  const auto row = static_cast<uint32_t>(std::ranges::find(fields, "Parent") - fields.begin());
  ASSERT_LT(row, fields.size()) << ::testing::PrintToString(fields);
  FocusRow(*place, row, false);
  OnFollowRecord(*place);
  char text[16];
  snprintf(text, sizeof text, "0x%08X", parent);
  EXPECT_TRUE(Column(*place, 0).at(0).starts_with(text)) << Column(*place, 0).at(0);
  OnPreviousRecord(*place);
  EXPECT_EQ(Column(*place, 2), fields);
  EXPECT_EQ(FocusedRow(*place), static_cast<int>(row));
  EXPECT_EQ(OpenRawView(*window_, 0xFFFFFFF0), nullptr);
  EXPECT_EQ(TakeBoxes().size(), 1U);
}

TEST_F(DialogsTest, PositionsAreReadAsTheyAreWritten) {
  const struct {
    const wchar_t* text;
    uint32_t position;  // 1: none
  } cases[] = {{L"4128", 4128},
               {L" 0x1020 ", 4128},
               {L"0x00001020 (4128)", 4128},
               {L"0", 0},
               {L"", 1},
               {L"0x", 1},
               {L"12g", 1},
               {L"-5", 1},
               {L"4294967296", 1}};
  for (const auto& c : cases) {
    uint32_t position = 1;
    EXPECT_EQ(ReadPosition(c.text, position), c.position != 1) << Utf8Name(c.text);
    EXPECT_EQ(position, c.position) << Utf8Name(c.text);
  }
  uint32_t position = 16;
  InNextDialog([](HWND dialog) {
    for (const auto& [text, good] : {std::pair(L"4096", false), std::pair(L"no", false),
                                     std::pair(L"", false), std::pair(L"4095", true)}) {
      SetDlgItemTextW(dialog, kPositionText, text);
      EXPECT_EQ(IsOn(dialog, IDOK), good) << Utf8Name(text);
    }
    Click(dialog, IDOK);
  });
  EXPECT_TRUE(AskPosition(handle_, 4096, position));
  EXPECT_EQ(position, 4095U);
}

TEST_F(DialogsTest, TheRootOfAHiveCanBeNamed) {
  OpenSample();
  InNextDialog([](HWND dialog) {
    EXPECT_EQ(SendDlgItemMessageW(dialog, kRootPathText, CB_GETCOUNT, 0, 0), 10);
    Type(dialog, kRootPathText, L"");
    EXPECT_FALSE(IsOn(dialog, IDOK));
    Type(dialog, kRootPathText, L"HKEY_USERS\\Somebody");
    Click(dialog, IDOK);
  });
  OnHiveRoot(*window_);
  EXPECT_EQ(ItemText(RootHandle()), "HKU\\Somebody");
  EXPECT_EQ(SelectedPath(), "HKU\\Somebody");
  ReloadHive(*window_, LogChoice());
  ASSERT_TRUE(PumpUntil([&] { return !window_->load.thread.joinable(); }));
  EXPECT_EQ(ShownHive(*window_).root.long_prefix, "HKEY_USERS\\Somebody\\")
      << "also when loaded again";
}

}  // namespace
}  // namespace hivequarry::testing
