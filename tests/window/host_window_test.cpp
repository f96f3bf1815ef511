// The desktop program's host table, its worker threads and its command table.
#include <algorithm>
#include <atomic>
#include <set>
#include <thread>
#include <utility>

#include "app/settings.h"
#include "hive/hive_table.h"
#include "host/long_operation.h"
#include "tests/window/window_fixture.h"
#include "ui/frame/text.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"
#include "view/list_commands.h"

namespace hivequarry::testing {
namespace {

// Answers the message box that comes up next, from inside the box's own message loop.
void CALLBACK AnswerBox(HWND, UINT, UINT_PTR timer, DWORD) {
  const HWND box = FindWindowW(L"#32770", L"A title");
  if (box == nullptr) return;
  KillTimer(nullptr, timer);
  SendMessageW(box, WM_COMMAND, IDYES, 0);
}

TEST_F(WindowTest, BoxOfAWorkerIsShownByTheInterfaceThread) {
  SetHost(MakeWindowHost(window_->host));
  std::atomic<int> answer{-1};
  std::thread worker([&] {
    answer =
        static_cast<int>(ShowMessage("A question ?", "A title", Icon::kQuestion, Buttons::kYesNo));
  });
  SetTimer(nullptr, 0, 10, AnswerBox);
  EXPECT_TRUE(PumpUntil([&] { return answer >= 0; }));
  worker.join();
  EXPECT_EQ(answer, static_cast<int>(Answer::kYes));
}

TEST_F(WindowTest, ProgressAndStatusOfAWorkerAreShown) {
  const Host& host = CurrentHost();
  std::thread worker([&host] {
    host.progress_range(host.context, 200);
    for (uint32_t step = 0; step <= 150; ++step) host.progress_position(host.context, step);
    host.status(host.context, "12/34");
  });
  worker.join();
  EXPECT_TRUE(PumpUntil([&] { return StatusText(kStatusText) == " 12/34"; }));
  EXPECT_TRUE(IsWindowVisible(window_->controls.progress));
  EXPECT_EQ(SendMessageW(window_->controls.progress, PBM_GETPOS, 0, 0), 150);
  EXPECT_EQ(SendMessageW(window_->controls.progress, PBM_GETRANGE, FALSE, 0), 200);
  host.progress_range(host.context, 0);
  EXPECT_TRUE(PumpUntil([&] { return IsWindowVisible(window_->controls.progress) == FALSE; }));
}

TEST_F(WindowTest, LocalTimeFollowsTheRulesOfItsDate) {
  const Host& host = CurrentHost();
  const uint64_t utc = kDefaultTime + 1234567;
  const uint64_t local = host.local_time(host.context, utc);
  const auto hour = int64_t{36000000000};
  const int64_t difference = static_cast<int64_t>(local - utc);
  EXPECT_LE(std::abs(difference), 15 * hour);
  EXPECT_EQ(difference % (hour / 4), 0);
}

TEST_F(WindowTest, CodePageIsTheSystems) {
  const CodePage page = SystemCodePage();
  for (int byte = 0; byte < 128; ++byte) {
    EXPECT_EQ(page.wide_of_byte[static_cast<size_t>(byte)], byte);
    EXPECT_EQ(page.byte_of_wide[static_cast<size_t>(byte)], byte);
  }
}

TEST_F(WindowTest, ThreadTableIsLimited) {
  std::atomic<bool> go{false};
  std::atomic<int> ran{0};
  for (size_t i = 0; i < kValueThreads; ++i) window_->selection.threads.taken[i] = i != 7;
  const auto work = [&] {
    while (!go) std::this_thread::yield();
    ++ran;
  };
  EXPECT_TRUE(StartValueThread(window_->selection.threads, work));
  EXPECT_FALSE(StartValueThread(window_->selection.threads, work));
  ASSERT_EQ(surroundings_.boxes.size(), 1U);
  EXPECT_EQ(surroundings_.boxes[0].text, "Too many threads !");
  EXPECT_EQ(surroundings_.boxes[0].title, "Error");
  go = true;
  EXPECT_TRUE(PumpUntil([&] { return !window_->selection.threads.taken[7]; }));
  EXPECT_EQ(ran, 1);
  for (auto& taken : window_->selection.threads.taken) taken = false;
}

bool IsInToolbar(CommandNumber number) {
  const auto offered = CommandsIn(CommandPlace::kToolbar);
  return std::ranges::find(offered, number) != offered.end();
}

class CommandTest : public WindowTest {
 protected:
  // Everything that a command may work on is there, so only the flags decide.
  void OpenWithSelection() {
    HiveBuilder builder;
    builder.Key("Tools").Dword("Count", 7);
    builder.Key("Tools\\Inner");
    builder.Key("Gone");
    const TempFile file(builder.Build().bytes);
    Open(file.name());
    SelectPath("Gone");
    Run(kCommandDeleteKeys);
    SelectPath("Tools");
    SelectRow(0);
    HiveImage& hive = HiveOfSlot(window_->shown->slot);
    ASSERT_TRUE(SetValueEdit(hive, window_->selection.value, 1, {}));
    TheSettings().histories.recent_files.assign(kRecentHives, file.name());
    const Cell cell = "a row";
    NewRow row;
    row.cells = {&cell, 1};
    AddRow(*window_->output.model, row);
    ListChanged(window_->output);
  }
  void SetFlags(int running, bool backup) {
    TheLongOperation().running = running;
    TheLongOperation().backup = backup;
  }
  std::set<uint32_t> RunEveryNumber() {
    std::set<uint32_t> ran;
    window_->on_command = [&ran](const Command& command) { ran.insert(command.number); };
    for (uint32_t number = 0; number <= 0xFFFF; ++number) Run(number);
    window_->on_command = nullptr;
    return ran;
  }
  bool IsOfferedInToolbar(const Command& command) const {
    return SendMessageW(window_->controls.toolbar, TB_ISBUTTONENABLED, command.number, 0) != 0;
  }
  bool IsOfferedInMenu(const Command& command) const {
    return (GetMenuState(GetMenu(handle_), command.number, MF_BYCOMMAND) & MF_GRAYED) == 0;
  }
  void OpenMenus() {
    const HMENU menu = GetMenu(handle_);
    for (int i = 0; i < GetMenuItemCount(menu); ++i) OpenMenu(GetSubMenu(menu, i));
  }
  void OpenMenu(HMENU menu) {
    SendMessageW(handle_, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu), 0);
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
      if (GetSubMenu(menu, i) != nullptr) OpenMenu(GetSubMenu(menu, i));
    }
  }
};

TEST_F(CommandTest, EveryNumberObeysTheFlags) {
  OpenWithSelection();
  const std::pair<int, bool> kFlags[] = {{0, false}, {1, false}, {0, true}, {4, true}};
  for (const auto& [running, backup] : kFlags) {
    SCOPED_TRACE(::testing::Message() << "running " << running << ", backup " << backup);
    SetFlags(running, backup);
    const CommandFacts facts = FactsNow(*window_);
    std::set<uint32_t> promised;
    for (const Command& command : Commands()) {
      if (IsAvailable(command, facts)) promised.insert(command.number);
    }
    EXPECT_EQ(promised.contains(kCommandOpen), running == 0);
    EXPECT_EQ(RunEveryNumber(), promised);
    UpdateToolbar(*window_);
    OpenMenus();
    for (const Command& command : Commands()) {
      SCOPED_TRACE(command.number);
      const bool offered = promised.contains(command.number);
      const bool in_toolbar = IsInToolbar(command.number);
      EXPECT_EQ(in_toolbar && IsOfferedInToolbar(command), in_toolbar && offered);
      const bool in_menu = command.menu != nullptr;
      EXPECT_EQ(in_menu && IsOfferedInMenu(command), in_menu && offered);
    }
  }
  SetFlags(0, false);
}

}  // namespace
}  // namespace hivequarry::testing
