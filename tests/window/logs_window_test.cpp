// A dirty hive and its logs in the real window: the state that is always seen, and other logs.
#include <algorithm>
#include <fstream>

#include "app/settings.h"
#include "hive/replaying.h"
#include "host/output_file.h"
#include "tests/support/logged_hive.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/commands/log_commands.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/text.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_selection.h"
#include "ui/main/expanding.h"
#include "ui/main/status.h"
#include "ui/resources/resource.h"
#include "view/removed_words.h"
#include "view/tree_icons.h"

namespace hivequarry::testing {
namespace {

class LogsTest : public ListTest {
 protected:
  void OpenStory() { OpenFiles(MakeLogStory().files); }
  void OpenFiles(const LoggedFiles& files) {
    hive_file_ = std::make_unique<TempFile>(files.hive, "HIVE");
    for (const auto& [ending, bytes] : files.beside) WriteBeside(ending, bytes);
    Open(hive_file_->name());
  }
  std::string WriteBeside(const std::string& ending, const Bytes& bytes) const {
    const std::string name = hive_file_->name() + ending;
    std::ofstream out(name, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    return name;
  }
  void WaitForLoad() {
    ASSERT_TRUE(PumpUntil([&] { return IsLoaded() && !window_->load.thread.joinable(); }));
    WaitForRows();
  }
  void RunAndLoad(uint32_t command) {
    Run(command);
    WaitForLoad();
  }
  std::string State() const { return StatusText(kStatusState); }
  bool IsMarked(uint32_t command) const {
    return IsChecked(*FindCommand(Commands(), command), FactsNow(*window_));
  }
  Texts Keys() const {
    Texts keys = ChildTexts(RootHandle());
    std::erase_if(keys, [](const std::string& key) { return key.starts_with("Disconnected"); });
    return keys;
  }
  // The newest list window with that title, filled.
  HWND WaitForList(const wchar_t* title) {
    HWND list = nullptr;
    PumpUntil([&] {
      list = FindWindowW(L"HivequarryList", title);
      return list != nullptr && !window_->work.thread.joinable();
    });
    return list;
  }
  std::string SelectedKey() const {
    return ItemText(TreeView_GetSelection(window_->controls.tree));
  }
  void WaitForHashes() {
    ASSERT_TRUE(PumpUntil([&] { return window_->shown->hashing.progress == HashProgress::kDone; }));
  }
};

TEST_F(LogsTest, StateIsInTheStatusBarAndEachChoiceOfLogsLoadsTheHiveAgain) {
  OpenStory();
  EXPECT_TRUE(TakeBoxes().empty());
  EXPECT_EQ(State(), "Dirty, logs applied");
  EXPECT_NE(SendMessageW(window_->controls.status, SB_GETICON, kStatusState, 0), 0);
  EXPECT_EQ(Keys(), (Texts{"Comes", "Stays"}));
  EXPECT_TRUE(IsMarked(kCommandLogsAuto));
  SelectPath("Comes\\Later");

  RunAndLoad(kCommandLogsNone);
  EXPECT_EQ(State(), "Dirty, logs left out");
  EXPECT_EQ(Keys(), (Texts{"Goes", "Stays"}));
  EXPECT_TRUE(IsMarked(kCommandLogsNone));
  EXPECT_FALSE(IsMarked(kCommandLogsAuto));
  // The key that was selected is not there, nor is its parent.
  EXPECT_EQ(TreeView_GetSelection(window_->controls.tree), RootHandle());

  SelectPath("Stays");
  InNextDialog([](HWND dialog) {
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));
    Type(dialog, kUntilText, L"ten");
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));
    Type(dialog, kUntilText, L"10");
    Click(dialog, IDOK);
  });
  RunAndLoad(kCommandLogsUntil);
  EXPECT_EQ(State(), "Dirty, logs applied until entry 10");
  EXPECT_EQ(Keys(), (Texts{"Comes", "Goes", "Stays"}));
  EXPECT_EQ(SelectedKey(), "Stays");
  EXPECT_TRUE(IsMarked(kCommandLogsUntil));

  RunAndLoad(kCommandLogsAuto);
  EXPECT_EQ(State(), "Dirty, logs applied");
  EXPECT_EQ(SelectedKey(), "Stays");
  EXPECT_TRUE(TakeBoxes().empty());
}

TEST_F(LogsTest, ChosenFilesAreAppliedAndRefusedAsOutput) {
  LoggedFiles files = MakeLogStory().files;
  const Bytes first = files[".LOG1"];
  const Bytes second = files[".LOG2"];
  files.Remove(".LOG1");
  files.Remove(".LOG2");
  OpenFiles(files);
  EXPECT_EQ(State(), "Dirty, no log beside it");
  EXPECT_EQ(TakeBoxes().size(), 1U);  // its last changes may be missing
  const Texts names = {WriteBeside("-copy-a", first), WriteBeside("-copy-b", second)};
  TheListDialogs().open = [&](const FileRequest& request) {
    EXPECT_TRUE(request.many);
    FileChoice choice{names[0], 0};
    choice.names = names;
    return choice;
  };
  RunAndLoad(kCommandLogsChosen);
  EXPECT_EQ(State(), "Dirty, chosen logs applied");
  EXPECT_EQ(Keys(), (Texts{"Comes", "Stays"}));
  EXPECT_TRUE(IsMarked(kCommandLogsChosen));
  EXPECT_TRUE(TakeBoxes().empty());
  for (const std::string& name : {names[0], names[1], hive_file_->name()}) {
    SCOPED_TRACE(name);
    OutputFile out;
    int error = 0;
    EXPECT_FALSE(OpenOutput(name, OutputMode::kReplace, out, error));
  }
}

TEST_F(LogsTest, EditsAreGivenUpOnlyWhenTheUserSaysSo) {
  OpenStory();
  HiveOfSlot(window_->shown->slot).edits.any = true;
  Run(kCommandLogsNone);  // answered with No
  EXPECT_EQ(TakeBoxes().size(), 1U);
  EXPECT_EQ(State(), "Dirty, logs applied");
  surroundings_.answer = Answer::kYes;
  RunAndLoad(kCommandLogsNone);
  EXPECT_EQ(State(), "Dirty, logs left out");
}

TEST_F(LogsTest, ClickOnTheStateShowsAllAndHashesWhenTheyAreThere) {
  OpenStory();
  WaitForHashes();
  std::string text;
  InNextDialog([&text](HWND dialog) {
    text = TextOf(GetDlgItem(dialog, kHiveStateText));
    Click(dialog, IDCANCEL);
  });
  NMMOUSE click{};
  click.hdr = {window_->controls.status, kStatusId, static_cast<UINT>(NM_CLICK)};
  click.dwItemSpec = kStatusState;
  SendMessageW(handle_, WM_NOTIFY, kStatusId, reinterpret_cast<LPARAM>(&click));
  for (const char* line :
       {"State: Dirty, logs applied\r\n", "Dirty because: sequence numbers 10 and 9 differ\r\n",
        "Checksum of the base block: right\r\n", "Sequence numbers: 10/9\r\n",
        "Log: HIVE.LOG1, new form, numbers 10/10, entry 10, ", "applied: entry 11",
        "SHA-256 of HIVE: ", "SHA-256 of HIVE.LOG2: "}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << "\nin\n" << text;
  }
  EXPECT_EQ(text.find("can't be had"), std::string::npos);

  OutputListPtr list = MakeRows(kListSearch, {{"a key"}});
  ListPlace& place = OpenList(std::move(list));
  const Texts lines = HeadLinesOf(*place.model);
  ASSERT_EQ(lines.size(), 7U);
  EXPECT_EQ(lines[0], "File: " + hive_file_->name());
  EXPECT_EQ(lines[1], "State: Dirty, logs applied");
  EXPECT_TRUE(lines[4].starts_with("SHA-256: "));
  EXPECT_EQ(lines[4].size(), 9U + 64U);
  EXPECT_TRUE(lines[6].ends_with(" HIVE.LOG2"));
  // A list of the live registry says nothing of the hive.
  EXPECT_TRUE(HeadLinesOf(*OpenList(MakeRows(kListLiveSearch, {{"a key"}})).model).empty());
}

TEST_F(LogsTest, ARowOfTheLogEntriesShowsTheHiveAsOfThatEntry) {
  OpenStory();
  Run(kCommandListLogs);
  const HWND list = WaitForList(L"Log entries");
  ASSERT_NE(list, nullptr);
  ListPlace& place = *FindListPlace(list);
  EXPECT_EQ(Column(place, 1), (Texts{"10", "11"}));
  EXPECT_EQ(Column(place, 6), (Texts{"applied", "applied"}));
  FocusRow(place, 0, false);
  NMITEMACTIVATE notice{};
  notice.hdr = {place.list, 0, LVN_ITEMACTIVATE};
  SendMessageW(list, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&notice));  // a double click
  WaitForLoad();
  EXPECT_EQ(State(), "Dirty, logs applied until entry 10");
  EXPECT_EQ(Keys(), (Texts{"Comes", "Goes", "Stays"}));
  FocusRow(place, 1, false);
  RunList(place, kCommandShowAsOf);
  WaitForLoad();
  EXPECT_EQ(State(), "Dirty, logs applied until entry 11");
  EXPECT_EQ(Keys(), (Texts{"Comes", "Stays"}));

  Run(kCommandListLogChanges);
  const HWND changes = WaitForList(L"Changes by log entries");
  ASSERT_NE(changes, nullptr);
  ListPlace& changed = *FindListPlace(changes);
  const Texts what = Column(changed, 2);
  const auto removed = std::ranges::find(what, "key removed");
  ASSERT_NE(removed, what.end());
  FocusRow(changed, static_cast<uint32_t>(removed - what.begin()), false);
  // Whatever is at its position now is another key.
  SelectPath("Stays");
  RunList(changed, kCommandGoToTree);
  EXPECT_EQ(SelectedKey(), "Stays");
  EXPECT_TRUE(IsListCommandAvailable(changed, kCommandShowAsOf));
  // A list of another hive's logs does not lead here.
  SetListSource(*changed.model, "another hive");
  EXPECT_FALSE(IsListCommandAvailable(changed, kCommandShowAsOf));
}

TEST_F(LogsTest, WhatTheLogsRemovedIsInTheTreeWithTheEntryThatDid) {
  OpenStory();
  const HWND tree = window_->controls.tree;
  const HTREEITEM folder = TreeView_GetNextSibling(tree, RootHandle());
  ASSERT_EQ(ItemText(folder), "Removed by the logs");
  TreeView_Expand(tree, folder, TVE_EXPAND);
  ASSERT_TRUE(PumpUntil(
      [&] { return window_->shown->removed != nullptr && !window_->work.thread.joinable(); }));
  EXPECT_EQ(ItemText(folder), "Removed by the logs (1 key, 1 value)");
  EXPECT_TRUE(IsItemExpanded(folder));
  EXPECT_EQ(ChildTexts(folder), Texts{"Goes"});
  TreeView_SelectItem(tree, folder);
  Run(kCommandCollapse);
  EXPECT_FALSE(IsItemExpanded(folder));
  Run(kCommandExpand);
  ASSERT_TRUE(PumpUntil([&] { return !IsExpanding(*window_); }));
  EXPECT_TRUE(IsItemExpanded(folder));
  EXPECT_EQ(ChildTexts(folder), Texts{"Goes"});

  const HTREEITEM key = TreeView_GetChild(tree, folder);
  TreeView_SelectItem(tree, key);
  WaitForRows();
  EXPECT_EQ(RemovedIcon(*window_->shown->removed, SelectedItem(window_->shown->removed_pane)),
            kIconRemoved);
  EXPECT_TRUE(TextOf(window_->viewer.detail.window).starts_with("Removed by HIVE.LOG2 at 0x"))
      << TextOf(window_->viewer.detail.window);
  EXPECT_NE(StatusText(kStatusText).find("entry 11"), std::string::npos);
  const Texts row = ValueRowTexts(0);
  EXPECT_EQ(row[0], "Old");
  EXPECT_EQ(row[2], "to be removed");
  SelectRow(0);
  EXPECT_TRUE(TextOf(window_->viewer.detail.window).starts_with("Removed by HIVE.LOG2 at 0x"));
  // What works on the hive as it is shown has nothing to work on.
  EXPECT_FALSE(FactsNow(*window_).value || FactsNow(*window_).item);
  Run(kCommandEditValue);
  SelectItemAndWait(0);
  EXPECT_EQ(window_->selection.removed, nullptr);

  TreeView_SelectItem(tree, key);
  RunAndLoad(kCommandLogsNone);
  EXPECT_EQ(ItemText(TreeView_GetNextSibling(tree, RootHandle())), "Workspace");
  EXPECT_EQ(window_->shown->removed, nullptr);
}

TEST_F(LogsTest, HivesWithoutStateSayThatToo) {
  HiveBuilder clean;
  clean.Key("Alpha");
  OpenBytes(clean.Build().bytes);
  EXPECT_EQ(State(), "Clean");
  CloseWindow();
  MakeWindow();
  EXPECT_EQ(State(), "");
  HiveBuilder fragment;
  fragment.Key("Alpha");
  const Bytes bytes = fragment.Build().bytes;
  OpenBytes(Bytes(bytes.begin() + 4096, bytes.end()));
  EXPECT_EQ(State(), "No base block");
  EXPECT_FALSE(IsAvailable(*FindCommand(Commands(), kCommandLogsNone), FactsNow(*window_)));
}

}  // namespace
}  // namespace hivequarry::testing
