// How hives come into the window: names, copies, drops, ranges, stops.
#include <shlobj.h>

#include <atomic>
#include <thread>

#include "app/command_line.h"
#include "app/settings.h"
#include "hive/hive_table.h"
#include "host/long_operation.h"
#include "tests/support/sample_hives.h"
#include "tests/window/window_fixture.h"
#include "ui/frame/text.h"
#include "ui/main/program.h"
#include "ui/main/status.h"

namespace hivequarry::testing {
namespace {

BuiltHive SmallHive() {
  HiveBuilder hive;
  hive.Key("Alpha\\Beta").Sz("Text", "some words").Dword("Count", 7);
  hive.Key("Gamma");
  return hive.Build();
}

// A drop as the shell makes it.
HDROP MakeDrop(const std::vector<std::string>& files) {
  std::wstring names;
  for (const std::string& file : files) names += WideName(file) + L'\0';
  names += L'\0';
  const size_t size = sizeof(DROPFILES) + names.size() * sizeof(wchar_t);
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
  auto* drop = static_cast<DROPFILES*>(GlobalLock(block));
  drop->pFiles = sizeof(DROPFILES);
  drop->fWide = TRUE;
  memcpy(drop + 1, names.data(), names.size() * sizeof(wchar_t));
  GlobalUnlock(block);
  return static_cast<HDROP>(block);
}

// Holds a worker at the first status text that begins with `phase`, until it is let go or stopped.
struct Gate {
  const char* phase;
  std::atomic<bool> reached{false};
  std::atomic<bool> open{false};

  void Pass(const char* text) {
    if (!std::string_view(text).starts_with(phase)) return;
    reached = true;
    while (!open && !StopRequested()) std::this_thread::yield();
  }
};

TEST_F(WindowTest, StartsEmptyAndSaysHowToOpen) {
  EXPECT_EQ(TextOf(handle_), "Hivequarry");
  EXPECT_TRUE(IsWindowVisible(window_->controls.empty));
  EXPECT_FALSE(IsWindowVisible(window_->controls.tree));
  Run(kCommandBlockList);
  Run(kCommandCopyKeyName);
  Run(kCommandStop);
  EXPECT_EQ(window_->blocks, nullptr);
  EXPECT_TRUE(surroundings_.boxes.empty());
}

TEST_F(WindowTest, OpensIntoATreeThatIsFilledWhenOpened) {
  const TempFile file(SmallHive().bytes);
  Open(file.name());
  char start[32];
  snprintf(start, sizeof start,
           "Hivequarry:F:%08X:", static_cast<unsigned>(reinterpret_cast<uintptr_t>(handle_)));
  EXPECT_EQ(TextOf(handle_), start + file.name());
  EXPECT_FALSE(IsWindowVisible(window_->controls.empty));

  const HTREEITEM root = RootHandle();
  EXPECT_EQ(ItemText(root), window_->shown->tree->root_text);
  EXPECT_TRUE(IsItemExpanded(root));
  EXPECT_EQ(TreeView_GetSelection(window_->controls.tree), root);
  EXPECT_EQ(ChildTexts(root), (std::vector<std::string>{"Alpha", "Gamma", "Disconnected Keys",
                                                        "Disconnected Values"}));

  const HTREEITEM alpha = TreeView_GetChild(window_->controls.tree, root);
  EXPECT_TRUE(ChildTexts(alpha).empty());
  TreeView_Expand(window_->controls.tree, alpha, TVE_EXPAND);
  EXPECT_EQ(ChildTexts(alpha), std::vector<std::string>{"Beta"});
  TreeView_Expand(window_->controls.tree, alpha, TVE_COLLAPSE);
  TreeView_Expand(window_->controls.tree, alpha, TVE_EXPAND);
  EXPECT_EQ(ChildTexts(alpha), std::vector<std::string>{"Beta"});
  EXPECT_EQ(StatusText(kStatusCounts), " 4 keys, 0 disconnected");
}

TEST_F(WindowTest, SecondHiveGoesToACopy) {
  const TempFile file(SmallHive().bytes);
  const TempFile other(SmallHive().bytes, "OTHER");
  TheSettings().options.window_for_each = true;
  Open(file.name());
  const std::string title = TextOf(handle_);
  OpenNamedFile(*window_, {other.name()});
  Pump();
  EXPECT_EQ(surroundings_.launches, std::vector<std::string>{"/C \"" + other.name() + "\""});
  EXPECT_EQ(TextOf(handle_), title);
  // The copy reads the line as it was meant.
  const std::wstring line =
      LaunchLine(L"C:\\Some Folder\\hivequarry.exe", surroundings_.launches[0]);
  const CommandLine parsed = ParseCommandLine(Utf8Name(ArgumentsOf(line)));
  EXPECT_EQ(parsed.file, other.name());
  EXPECT_EQ(parsed.open_mode, 3);
}

TEST_F(WindowTest, ReportListIsNeverAHive) {
  const std::string_view report =
      "[RPLfile]\r\nU0=100\r\nU2=1\r\nU3=;200\r\nU4=51\r\nH0=Key\r\n\r\n[ROWS]\r\n"
      "01first\r\n9901\r\n01second\r\n9900\r\n";
  const TempFile hive(SmallHive().bytes);
  for (const char* name : {"LIST.rpt", "LIST.RPT", "LIST.rPt"}) {
    SCOPED_TRACE(name);
    const TempFile file(report, name);
    OpenNamedFile(*window_, {file.name()});
    EXPECT_FALSE(window_->load.thread.joinable());
    ASSERT_TRUE(PumpUntil([&] {
      return ListView_GetItemCount(window_->output.list) == 2 && !window_->work.thread.joinable();
    }));
    EXPECT_EQ(window_->layout.arrangement, kOutputArrangement);
    EXPECT_EQ(StatusText(kStatusCounts), " Number of Items : 2");
    if (window_->shown->slot < 0) Open(hive.name());  // a hive is shown from then on
    Run(kCommandClearList);
    ShowArrangement(*window_, kKeysArrangement);
  }
  EXPECT_TRUE(surroundings_.launches.empty());
}

TEST_F(WindowTest, DropOpensTheFirstFileHere) {
  const TempFile file(SmallHive().bytes, "h\xC3\xA4user");
  const TempFile other(SmallHive().bytes, "OTHER");
  TheSettings().options.window_for_each = true;
  SendMessageW(handle_, WM_DROPFILES,
               reinterpret_cast<WPARAM>(MakeDrop({file.name(), other.name()})), 0);
  ASSERT_TRUE(PumpUntil([&] { return IsLoaded(); }));
  EXPECT_EQ(ShownHive(*window_).file_name, file.name());
  EXPECT_EQ(surroundings_.launches, std::vector<std::string>{"/C \"" + other.name() + "\""});
}

TEST_F(WindowTest, CommandLineOpensARange) {
  const BuiltHive hive = SmallHive();
  const TempFile file(Embedded(hive.bytes, 512, 700));
  const std::string line =
      "-soff=512 -eoff=" + std::to_string(512 + hive.bytes.size()) + " " + file.name();
  OpenFromCommandLine(*window_, ParseCommandLine(line));
  ASSERT_TRUE(PumpUntil([&] { return IsLoaded(); }));
  EXPECT_EQ(ShownHive(*window_).base_offset, 512U);
  EXPECT_EQ(ShownHive(*window_).length, hive.bytes.size());
  EXPECT_EQ(window_->shown->summary.keys, 4U);
}

TEST_F(WindowTest, FileThatCannotBeOpenedLeavesTheWindowEmpty) {
  const std::string name = "C:\\no such folder\\hive";
  OpenNamedFile(*window_, {name});
  ASSERT_TRUE(PumpUntil([&] { return !window_->load.thread.joinable(); }));
  ASSERT_EQ(surroundings_.boxes.size(), 1U);
  EXPECT_EQ(surroundings_.boxes[0].text,
            "Can not open " + name + "\r\n(No such file or directory)");
  EXPECT_EQ(TextOf(handle_), "Hivequarry");
  EXPECT_TRUE(IsWindowVisible(window_->controls.empty));
  EXPECT_EQ(window_->host.wait_cursors, 0);
  const TempFile text(Bytes(5000, 'x'));
  OpenNamedFile(*window_, {text.name()});
  ASSERT_TRUE(PumpUntil([&] { return !window_->load.thread.joinable(); }));
  EXPECT_EQ(surroundings_.boxes.back().text,
            "Invalid File format !\r\nThe file is 5000 bytes 0x78 and nothing else.");
  EXPECT_TRUE(IsWindowVisible(window_->controls.empty));
  OpenBytes(SmallHive().bytes);
  EXPECT_EQ(window_->shown->summary.keys, 4U);
}

TEST_F(WindowTest, StopAsksAndKeepsWhatWasCollected) {
  const TempFile file(HiveOfKeys(2000));
  for (const Answer answer : {Answer::kNo, Answer::kYes}) {
    if (answer == Answer::kYes) {
      TearDown();
      SetUp();
    }
    Gate gate{"Collecting information"};
    surroundings_ = Surroundings();
    surroundings_.answer = answer;
    surroundings_.on_status = [&gate](const char* text) { gate.Pass(text); };
    OpenNamedFile(*window_, {file.name()});
    ASSERT_TRUE(PumpUntil([&] { return gate.reached.load(); }));
    // Everything but what is always accepted is refused meanwhile, without a word.
    Run(kCommandTechnicalView);
    Run(kCommandAbout);
    OnItemSelected(*window_, 0);
    EXPECT_FALSE(window_->view.technical);
    EXPECT_EQ(window_->selection.item_box.newest, 0U);
    EXPECT_TRUE(
        PumpUntil([&] { return StatusText(kStatusText) == " Collecting information ..."; }));
    Run(kCommandStop);
    gate.open = true;
    ASSERT_TRUE(PumpUntil([&] { return IsLoaded(); }));
    ASSERT_EQ(surroundings_.boxes.size(), 1U);
    EXPECT_EQ(surroundings_.boxes[0].text, "Stop current Process ?");
    EXPECT_EQ(surroundings_.boxes[0].buttons, Buttons::kYesNo);
    EXPECT_EQ(surroundings_.boxes[0].icon, Icon::kQuestion);
    EXPECT_EQ(window_->shown->summary.stopped, answer == Answer::kYes);
    EXPECT_EQ(window_->shown->summary.keys < 2000, answer == Answer::kYes);
    Run(kCommandStop);  // idle again: nothing to ask
    EXPECT_EQ(surroundings_.boxes.size(), 1U);
  }
}

TEST_F(WindowTest, ClosingEndsALoad) {
  const TempFile file(SmallHive().bytes);
  Gate gate{"Collecting information"};
  surroundings_.on_status = [&gate](const char* text) { gate.Pass(text); };
  OpenNamedFile(*window_, {file.name()});
  ASSERT_TRUE(PumpUntil([&] { return gate.reached.load(); }));
  Run(kCommandExit);
  EXPECT_EQ(FindMainWindow(handle_), nullptr);
  EXPECT_FALSE(TheLongOperation().worker_busy);
  EXPECT_EQ(TheHiveTable().slots[1].state, SlotState::kFree);
}

}  // namespace
}  // namespace hivequarry::testing
