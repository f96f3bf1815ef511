// The desktop program's host table, its worker threads and its command table.
#include <atomic>
#include <set>
#include <thread>

#include "tests/window/window_fixture.h"
#include "ui/text.h"

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
  EXPECT_TRUE(IsWindowVisible(window_->progress));
  EXPECT_EQ(SendMessageW(window_->progress, PBM_GETPOS, 0, 0), 150);
  EXPECT_EQ(SendMessageW(window_->progress, PBM_GETRANGE, FALSE, 0), 200);
  host.progress_range(host.context, 0);
  EXPECT_TRUE(PumpUntil([&] { return IsWindowVisible(window_->progress) == FALSE; }));
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
  for (size_t i = 0; i < kValueThreads; ++i) window_->threads.taken[i] = i != 7;
  const auto work = [&] {
    while (!go) std::this_thread::yield();
    ++ran;
  };
  EXPECT_TRUE(StartValueThread(window_->threads, work));
  EXPECT_FALSE(StartValueThread(window_->threads, work));
  ASSERT_EQ(surroundings_.boxes.size(), 1U);
  EXPECT_EQ(surroundings_.boxes[0].text, "Too many threads !");
  EXPECT_EQ(surroundings_.boxes[0].title, "Error");
  go = true;
  EXPECT_TRUE(PumpUntil([&] { return !window_->threads.taken[7]; }));
  EXPECT_EQ(ran, 1);
  for (auto& taken : window_->threads.taken) taken = false;
}

TEST(Commands, RowsAreWhole) {
  std::set<uint32_t> numbers;
  std::set<std::pair<int, int>> keys;
  for (const Command& command : Commands()) {
    SCOPED_TRACE(command.number);
    EXPECT_TRUE(numbers.insert(command.number).second);
    EXPECT_NE(command.handler, nullptr);
    const Accelerator& accelerator = command.accelerator;
    if (accelerator.key != 0) {
      EXPECT_TRUE(keys.insert({accelerator.key, accelerator.modifiers}).second);
    }
    const bool in_toolbar = (command.places & kInToolbar) != 0;
    EXPECT_EQ(in_toolbar, command.icon != ToolIcon::kNone);
    EXPECT_EQ(in_toolbar, command.tooltip != nullptr);
    const bool in_menus =
        command.menu != nullptr || (command.places & (kInTreeMenu | kInValueMenu));
    EXPECT_TRUE(!in_menus || command.text[0] != '\0');
    EXPECT_TRUE(in_menus || in_toolbar || accelerator.key != 0);
  }
}

TEST(Commands, Guards) {
  CommandFacts idle;
  CommandFacts running;
  running.running = true;
  CommandFacts backup;
  backup.backup = true;
  struct Case {
    uint16_t command;
    bool idle, running, backup;
  };
  constexpr Case kCases[] = {
      {kCommandOpen, true, false, true},          {kCommandAbout, true, false, false},
      {kCommandExit, true, true, true},           {kCommandResizeColumns, true, true, true},
      {kCommandTechnicalView, true, false, true}, {kCommandStop, false, true, true},
      {kCommandBlockList, false, false, false},
  };
  for (const Case& expected : kCases) {
    SCOPED_TRACE(expected.command);
    const Command* command = FindCommand(Commands(), expected.command);
    ASSERT_NE(command, nullptr);
    EXPECT_EQ(IsAvailable(*command, idle), expected.idle);
    EXPECT_EQ(IsAvailable(*command, running), expected.running);
    EXPECT_EQ(IsAvailable(*command, backup), expected.backup);
  }
}

}  // namespace
}  // namespace hivequarry::testing
