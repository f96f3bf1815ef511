// Lists as files: text, Report Lists, the clipboard, paper, the editor; and the pieces of a file.
#include <cderr.h>

#include <algorithm>

#include "host/files.h"
#include "host/host.h"
#include "tests/window/list_fixture.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/lists/list_frame.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_printing.h"
#include "ui/lists/list_reports.h"
#include "ui/lists/list_saving.h"
#include "view/tree_find.h"

namespace hivequarry::testing {
namespace {

class ListFileTest : public ListTest {
 protected:
  // The dialogs answer at once; `asked_` keeps what they were asked.
  void SetUp() override {
    ListTest::SetUp();
    const auto answer = [this](const FileRequest& request) {
      asked_ = request;
      return choice_;
    };
    TheListDialogs().save = answer;
    TheListDialogs().open = answer;
    TheListDialogs().save_as = [this](HWND, const std::string&) { return save_as_; };
  }
  void TearDown() override {
    TheListDialogs() = real_;
    ListTest::TearDown();
  }

  ListDialogs real_ = TheListDialogs();
  FileRequest asked_;
  FileChoice choice_;
  SaveAs save_as_ = SaveAs::kCancel;
  TempFile here_{std::string_view("old"), "old.txt"};
};

constexpr const char* kKeyErrors =
    "Number of Items : 2\r\n\r\n"
    "Key  : a\r\nValue: x\r\n\r\n"
    "Key  : b\r\nError: failed\r\n\r\n";

OutputListPtr KeyErrors() {
  OutputListPtr list = MakeOutputList(15);
  for (const std::initializer_list<Cell> cells :
       {std::initializer_list<Cell>{"b", "", "failed"}, {"a", "x"}}) {
    NewRow row;
    row.cells = std::span(cells.begin(), cells.size());
    row.icon = static_cast<int>(RowCount(*list)) + 1;
    AddRow(*list, row);
  }
  return list;
}

TEST_F(ListFileTest, TextFileIsReplacedAppendedOrLeft) {
  const struct {
    const char* name;
    SaveAs answer;
    std::string bytes;
    Texts boxes;
  } cases[] = {
      {"new.txt", SaveAs::kCancel, kKeyErrors, {"Hivequarry: 2 Items saved !"}},
      {"old.txt", SaveAs::kCancel, "old", {}},
      {"old.txt",
       SaveAs::kAppend,
       std::string("old\r\n") + kKeyErrors,
       {"Hivequarry: 2 Items saved !"}},
      {"old.txt", SaveAs::kReplace, kKeyErrors, {"Hivequarry: 2 Items saved !"}},
      {"no folder\\new.txt",
       SaveAs::kCancel,
       "",
       {"Hivequarry: Could Not Open or Create File " + here_.folder() + "\\no folder\\new.txt"}},
  };
  ListPlace& place = OpenList(KeyErrors());
  ShowInOrder(place, {1, 0});
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    choice_.name = here_.folder() + "\\" + c.name;
    save_as_ = c.answer;
    RunList(place, kCommandSaveListText);
    EXPECT_EQ(ContentOf(choice_.name), c.bytes);
    EXPECT_EQ(TakeBoxes(), c.boxes);
  }
  EXPECT_EQ(asked_.folder, here_.folder());  // of the file before
  EXPECT_EQ(asked_.filter, std::wstring(L"Text Files"));
  EXPECT_EQ(asked_.extension, std::wstring(L"txt"));
}

TEST_F(ListFileTest, SelectedRowsAndDialogsThatFail) {
  const struct {
    DWORD error;
    Texts boxes;
  } cases[] = {{0, {"Hivequarry: 1 Item saved !"}},
               {FNERR_INVALIDFILENAME, {"Error: Invalid Filename !"}},
               {FNERR_BUFFERTOOSMALL, {"Error: Too many files !"}}};
  ListPlace& place = OpenList(KeyErrors());
  FocusRow(place, 1, false);
  for (const auto& c : cases) {
    const std::string file = here_.folder() + "\\new.txt";
    choice_ = {c.error == 0 ? file : std::string(), c.error};
    RunList(place, kCommandSaveSelected);
    EXPECT_EQ(TakeBoxes(), c.boxes);
    EXPECT_EQ(ContentOf(file), "Key  : a\r\nValue: x\r\n\r\n");
  }
}

TEST_F(ListFileTest, RowsOfANewListOpenNoFilesOfTheOneBefore) {
  ListPlace& place = OpenList(KeyErrors());
  place.files = {{"a"}, {"b"}};
  ShowList(place, KeyErrors());
  EXPECT_TRUE(place.files.empty());
}

TEST_F(ListFileTest, Tables) {
  ListPlace& place = OpenList(KeyErrors());
  FocusRow(place, 0, false);
  const struct {
    DWORD type;
    const char* name;
    const char* written;
    std::string bytes;  // that the file begins with
  } cases[] = {
      {1, "a.csv", "a.csv", "\xEF\xBB\xBFKey,Value,Error\r\nb,,failed\r\na,x,\r\n"},
      {2, "b", "b.csv", "Key,Value,Error\r\nb,,failed\r\na,x,\r\n"},
      {3, "c", "c.jsonl", "{\"Key\":\"b\",\"Value\":\"\",\"Error\":\"failed\""},
      {4, "d.html", "d.html", "<!DOCTYPE html>\r\n"},
      {5, "e", "e.tsv", "Key\tValue\tError\r\nb\t\tfailed\r\na\tx\t\r\n"},
  };
  for (const auto& c : cases) {
    choice_ = {here_.folder() + "\\" + c.name, 0, c.type};
    RunList(place, kCommandSaveListAs);
    EXPECT_EQ(ContentOf(here_.folder() + "\\" + c.written).substr(0, c.bytes.size()), c.bytes);
    EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: 2 Items saved !"});
  }
  // With its ending the name is that of a file of which the dialog did not know.
  std::string asked;
  TheListDialogs().replace = [&asked](HWND, const std::string& file) {
    asked = file;
    return false;
  };
  const std::string there = here_.folder() + "\\b.csv";
  const std::string before = ContentOf(there);
  choice_ = {here_.folder() + "\\b", 0, 1};
  RunList(place, kCommandSaveListAs);
  EXPECT_EQ(asked, there);
  EXPECT_EQ(ContentOf(there), before);
  choice_ = {here_.folder() + "\\g.txt", 0, 5};
  RunList(place, kCommandSaveListAs);
  EXPECT_TRUE(ContentOf(choice_.name).starts_with("Key\t"));
  TakeBoxes();
  choice_ = {here_.folder() + "\\f.tsv", 0, 5};
  RunList(place, kCommandSaveSelectedAs);
  EXPECT_EQ(ContentOf(choice_.name), "Key\tValue\tError\r\nb\t\tfailed\r\n");
  EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: 1 Item saved !"});
  RunList(place, kCommandCopyTable);
  EXPECT_EQ(ClipboardText(), "Key\tValue\tError\r\nb\t\tfailed\r\n");
}

TEST_F(ListFileTest, NothingIsProposedInTheEvidencesFolder) {
  HiveBuilder builder;
  builder.Key("Tools");
  OpenBytes(builder.Build().bytes);
  const std::string hive = ShownHive(*window_).file_name;
  TheSettings().folders[kFolderTexts] = FolderOf(hive);
  OutputListPtr list = MakeRows(5, {{"a", "b"}});
  SetListTitle(*list, "Found: it");
  ListPlace& place = OpenList(std::move(list));
  choice_ = {};
  RunList(place, kCommandSaveListText);
  EXPECT_EQ(asked_.folder, TheProgram().facts.documents);
  const std::string name(BaseName(hive));
  EXPECT_EQ(asked_.name, "Found_ it of " + name);
  // What the rows are of is beside a table that has no place for it.
  choice_ = {here_.folder() + "\\t.tsv", 0, 5};
  RunList(place, kCommandSaveListAs);
  const std::string head = ContentOf(choice_.name + ".head.txt");
  EXPECT_EQ(head.substr(0, 6), "File: ");
  EXPECT_NE(head.find("\r\nList: Found: it\r\nMade: 20"), std::string::npos) << head;
  EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: 1 Item saved !\n\nWhat the rows are of is in " +
                               choice_.name + ".head.txt."});
}

TEST_F(ListFileTest, ALoadedListLeadsToItsKeys) {
  HiveBuilder builder;
  builder.Key("Tools\\Inner");
  const BuiltHive hive = builder.Build();
  OpenBytes(hive.bytes);
  const uint32_t inner =
      ItemShowing(ShownHive(*window_), *window_->shown->tree, hive.PositionOf("Tools\\Inner"));
  const std::string path = ItemPath(ShownHive(*window_), *window_->shown->tree, inner);
  ListPlace& place = OpenList(MakeRows(5, {{"00001, " + path}, {path + "\\Gone"}, {""}}));
  FocusRow(place, 0, false);
  EXPECT_FALSE(IsListCommandAvailable(place, kCommandGoToTree)) << "a list that was made";
  choice_.name = here_.folder() + "\\kept.rpt";
  RunList(place, kCommandSaveReport);
  LoadReport(place, choice_.name);
  EXPECT_TRUE(PumpUntil([&] { return !place.working && ShownRowCount(place) == 3; }));
  FocusRow(place, 0, false);
  EXPECT_FALSE(IsListCommandAvailable(place, kCommandListExport)) << "there is no position";
  RunList(place, kCommandGoToTree);
  EXPECT_EQ(SelectedItem(window_->shown->pane), inner);
  FocusRow(place, 1, false);
  RunList(place, kCommandGoToTree);
  EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: The hive has no key " + path + "\\Gone !"});
  FocusRow(place, 2, false);
  EXPECT_FALSE(IsListCommandAvailable(place, kCommandGoToTree));
}

TEST_F(ListFileTest, Clipboard) {
  ListPlace& place = OpenList(KeyErrors());
  const struct {
    uint16_t command;
    const char* text;
    Texts boxes;
  } cases[] = {{kCommandCopySelected, "Key  : b\r\nError: failed\r\n\r\n", {}},
               {kCommandCopyFirstColumn, "b", {}},
               {kCommandCopyList,
                "Number of Items : 2\r\n\r\nKey  : b\r\nError: failed\r\n\r\n"
                "Key  : a\r\nValue: x\r\n\r\n",
                {"Hivequarry: 2 Item(s) copied !"}}};
  FocusRow(place, 0, false);
  for (const auto& c : cases) {
    RunList(place, c.command);
    EXPECT_EQ(ClipboardText(), c.text);
    EXPECT_EQ(TakeBoxes(), c.boxes);
  }
  Host host = CurrentHost();
  host.clipboard = [](void*, std::string_view) { return false; };
  SetHost(host);
  RunList(place, kCommandCopyList);
  host.clipboard = [](void*, std::string_view) -> bool { throw std::bad_alloc(); };
  SetHost(host);
  RunList(place, kCommandCopyList);
  EXPECT_EQ(TakeBoxes(), (Texts{"Error: Not enough memory available!",
                                "Hivequarry: Could Not Allocate Memory"}));
}

TEST_F(ListFileTest, ReportIsSavedAndLoadedBack) {
  ListPlace& place = OpenList(KeyErrors());
  ListView_SetColumnWidth(place.list, 1, 222);
  SetListTitle(*place.model, "Errors of today");
  choice_.name = here_.folder() + "\\errors.rpt";
  RunList(place, kCommandSaveReport);
  EXPECT_TRUE(TakeBoxes().empty());
  EXPECT_TRUE(asked_.ask_to_replace);

  ListPlace& other = OpenList(MakeRows(51, {{"old"}}));
  RunList(other, kCommandLoadReport);
  EXPECT_EQ(TextOf(other.window), "Errors of today");
  EXPECT_EQ(ListKindOf(*other.model), 15);
  EXPECT_EQ(Column(other, 0), (Texts{"b", "a"}));
  EXPECT_EQ(Column(other, 2), (Texts{"failed", ""}));
  EXPECT_EQ(RowIcon(*other.model, 1), 2);
  EXPECT_EQ(ListView_GetColumnWidth(other.list, 1), 222);
  EXPECT_EQ(Selected(other), Texts{"b"});

  FocusRow(place, 1, false);
  RunList(place, kCommandSaveSelectedReport);
  LoadReport(window_->output, choice_.name);
  Finish(window_->output);
  EXPECT_EQ(Column(window_->output, 0), Texts{"a"});
  EXPECT_EQ(window_->layout.arrangement, 3);
  EXPECT_EQ(TextOf(handle_), "Hivequarry");
}

TEST_F(ListFileTest, ReportOfAnotherHand) {
  const TempFile file(std::string_view("[RPLfile]\r\nU2=2\r\nU3=;120;40\r\nU4=47\r\nU6=\r\n"
                                       "H0=One\r\nH1=Two\r\n[ROWS]\r\n01a\r\n02b\r\n9903\r\n"
                                       "01c\r\n9900\r\n55stop\r\n01d\r\n"),
                      "other.RPT");
  ListPlace& place = OpenList(MakeRows(51, {{"old"}}));
  LoadReport(place, file.name());
  Finish(place);
  EXPECT_EQ(Column(place, 0), (Texts{"a", "c"}));
  const auto boxes = TakeBoxes();
  EXPECT_EQ(boxes.size(), 1U) << ::testing::PrintToString(boxes);
  EXPECT_EQ(TextOf(place.window), "Security Records");
  EXPECT_EQ(ListView_GetColumnWidth(place.list, 0), 160);
  EXPECT_EQ(ListView_GetColumnWidth(place.list, 1), 120);
  const TempFile other(std::string_view("[RPLfile]\r\nU2=0\r\n[ROWS]\r\n01a\r\n"), "no.rpt");
  LoadReport(place, other.name());
  Finish(place);
  EXPECT_EQ(ShownRowCount(place), 0U);
  EXPECT_TRUE(TakeBoxes().empty());
}

TEST_F(ListFileTest, EditorGetsTheText) {
  std::string text;
  std::string name;
  TheListDialogs().notepad = [&](HWND, const std::string& file) {
    name = file;
    text = ContentOf(file);
  };
  ListPlace& place = OpenList(KeyErrors());
  ShowInOrder(place, {1, 0});
  RunList(place, kCommandListNotepad);
  EXPECT_EQ(text, kKeyErrors);
  CloseListWindows(*window_);
  EXPECT_EQ(ContentOf(name), "");
}

// Texts drawn on a page, a line each.
int CALLBACK TakeDrawn(HDC, HANDLETABLE*, const ENHMETARECORD* record, int, LPARAM texts) {
  if (record->iType != EMR_EXTTEXTOUTW) return TRUE;
  const EMRTEXT& drawn = reinterpret_cast<const EMREXTTEXTOUTW*>(record)->emrtext;
  const auto* units =
      reinterpret_cast<const wchar_t*>(reinterpret_cast<const char*>(record) + drawn.offString);
  reinterpret_cast<Texts*>(texts)->push_back(Utf8Name({units, drawn.nChars}));
  return TRUE;
}

TEST_F(ListFileTest, PagesOfPaper) {
  PrintTarget target;
  target.height = 1000;
  target.dc = CreateEnhMetaFileW(nullptr, nullptr, nullptr, nullptr);
  target.start_page = [&] { return true; };
  target.end_page = [&] { return true; };
  const OutputListPtr list = MakeManyRows(70);
  target.width = 150;  // too narrow
  EXPECT_EQ(PrintListOn(target, *list, WrittenRows()), 0);
  target.width = 1000;
  const int count = PrintListOn(target, *list, WrittenRows());
  const HENHMETAFILE drawing = CloseEnhMetaFile(target.dc);
  Texts texts;
  EnumEnhMetaFile(nullptr, drawing, TakeDrawn, &texts, nullptr);
  DeleteEnhMetaFile(drawing);
  EXPECT_GT(count, 1);
  EXPECT_EQ(texts.front(), "- 1 -");
  for (const std::string& wanted :
       {std::string("Number of Items : 70"), std::string("Key: Row 0000069"),
        "- " + std::to_string(count) + " -"}) {
    EXPECT_NE(std::find(texts.begin(), texts.end(), wanted), texts.end()) << wanted;
  }
}

TEST_F(ListFileTest, SplitFileFillsInTheNames) {
  const TempFile source(std::string(3000, 'x'), "image.bin");
  OutputListPtr list = MakeRows(55, {{"0x00000000 (0)", "0x000003E7 (999)", "1000"},
                                     {"0x000007D0 (2000)", "0x000007D9 (2009)", "10"}});
  SetListSource(*list, source.name());
  ListPlace& place = OpenList(std::move(list));
  EXPECT_EQ(TextOf(GetDlgItem(place.window, kListSourceId)), source.name());
  EXPECT_NE(IsWindowVisible(GetDlgItem(place.window, kListSourceId)), FALSE);
  RunList(place, kCommandSplitFile);
  const Texts names = Column(place, 3);
  EXPECT_EQ(names, (Texts{source.name() + ".sp_01", source.name() + ".sp_02"}));
  EXPECT_EQ(ContentOf(names[1]), std::string(10, 'x'));
  EXPECT_EQ(PartText(place, kListWords), "Done.");
}

TEST_F(ListFileTest, RootsOpenInCopies) {
  HiveBuilder builder;
  builder.Key("Tools");
  const BuiltHive hive = builder.Build();
  const TempFile file(hive.bytes);
  Open(file.name());
  OutputListPtr list = MakeOutputList(38);
  AddText(*list, "root", 4128);
  ListPlace& place = OpenList(std::move(list));
  FocusRow(place, 0, false);
  RunList(place, kCommandOpenValidRoot);
  RunList(place, kCommandOpenKey);
  const std::string range =
      "-soff=0 -eoff=" + std::to_string(hive.bytes.size()) + " \"" + file.name() + "\"";
  EXPECT_EQ(surroundings_.launches, (Texts{range, "-key=4128 " + range}));
}

}  // namespace
}  // namespace hivequarry::testing
