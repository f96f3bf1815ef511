#include "tests/window/window_fixture.h"

#include <array>

#include "app/settings.h"
#include "ui/frame/text.h"
#include "ui/main/program.h"

namespace hivequarry::testing {
namespace {

// The fixture whose window is open; the host table's functions have no other way to it.
struct Current {
  Surroundings* surroundings = nullptr;
  Host window_host;
};
Current& TheCurrent() {
  static Current current;
  return current;
}

Answer RecordBox(void*, const char* text, const char* title, Icon icon, Buttons buttons) {
  Surroundings& surroundings = *TheCurrent().surroundings;
  surroundings.boxes.push_back({text, title, icon, buttons});
  return buttons == Buttons::kOk ? Answer::kOk : surroundings.answer;
}

bool RecordLaunch(void*, const std::string& arguments) {
  TheCurrent().surroundings->launches.push_back(arguments);
  return true;
}

void WatchStatus(void* context, const char* text) {
  TheCurrent().window_host.status(context, text);
  const Surroundings& surroundings = *TheCurrent().surroundings;
  if (surroundings.on_status) surroundings.on_status(text);
}

}  // namespace

void WindowTest::SetUp() {
  // As if it were the first start, but that nothing is read from or written to a file.
  TheSettings() = Settings();
  TheProgram() = Program();
  MakeWindow();
}

void WindowTest::MakeWindow() {
  window_ = CreateMainWindow(GetModuleHandleW(nullptr), SW_SHOWNORMAL);
  ASSERT_NE(window_, nullptr);
  handle_ = window_->handle;
  TheCurrent() = {&surroundings_, CurrentHost()};
  Host host = CurrentHost();
  host.message = RecordBox;
  host.launch = RecordLaunch;
  host.status = WatchStatus;
  SetHost(host);
}

void WindowTest::TearDown() { CloseWindow(); }

void WindowTest::CloseWindow() {
  if (FindMainWindow(handle_) != nullptr) SendMessageW(handle_, WM_CLOSE, 0, 0);
  EXPECT_EQ(FindMainWindow(handle_), nullptr);
  Pump();
}

void Pump() {
  MSG message;
  // Timers may keep the queue from ever being empty.
  const DWORD start = GetTickCount();
  while (GetTickCount() - start < 50 && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
    // A closed window leaves its quit message; the next test has a window of its own.
    if (message.message == WM_QUIT) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

bool PumpUntil(const std::function<bool()>& done, std::chrono::milliseconds deadline) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  for (;;) {
    Pump();
    if (done()) return true;
    if (std::chrono::steady_clock::now() >= end) return false;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
  }
}

std::string ClipboardText() {
  if (OpenClipboard(nullptr) == FALSE) return "(busy)";
  const HANDLE block = GetClipboardData(CF_UNICODETEXT);
  std::string text;
  if (block != nullptr) text = Utf8Name(static_cast<const wchar_t*>(GlobalLock(block)));
  CloseClipboard();
  return text;
}

// The last item beside the roots.
HTREEITEM WindowTest::WorkspaceHandle() const {
  HTREEITEM last = RootHandle();
  for (HTREEITEM at = last; at != nullptr;
       at = TreeView_GetNextSibling(window_->controls.tree, at)) {
    last = at;
  }
  return last;
}

bool WindowTest::IsLoaded() const {
  return window_->shown->slot >= 0 && SelectedItem(window_->shown->pane) != kNoItem;
}

void WindowTest::Open(const std::string& file) {
  const size_t before = LoadedHives(*window_);
  OpenNamedFile(*window_, {file});
  ASSERT_TRUE(PumpUntil([&] { return LoadedHives(*window_) > before && IsLoaded(); }))
      << "not loaded: " << file;
  WaitForRows();
}

void WindowTest::OpenBytes(const Bytes& hive) {
  hive_file_ = std::make_unique<TempFile>(hive);
  Open(hive_file_->name());
}

void WindowTest::WaitForRows() {
  const auto serial = window_->selection.item_box.newest.load();
  EXPECT_TRUE(PumpUntil([&] {
    const std::lock_guard lock(window_->selection.item_box.mutex);
    return window_->selection.item_box.serial == serial &&
           window_->selection.item_box.result == nullptr;
  }));
}

void WindowTest::SelectItemAndWait(uint32_t item) {
  ASSERT_NE(item, kNoItem);
  SelectItem(window_->shown->pane, item);
  WaitForRows();
  ASSERT_EQ(window_->selection.item, item);
}

void WindowTest::SelectPath(const std::string& path) {
  SelectItemAndWait(FindItemByPath(ShownHive(*window_), *window_->shown->tree, path));
}

void WindowTest::SelectRow(int row) {
  const HWND list = window_->values.window;
  ListView_SetItemState(list, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  ListView_SetItemState(list, row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
  const auto serial = window_->selection.detail_box.newest.load();
  EXPECT_TRUE(PumpUntil([&] {
    const std::lock_guard lock(window_->selection.detail_box.mutex);
    return window_->selection.detail_box.serial == serial &&
           window_->selection.detail_box.result == nullptr;
  }));
}

void WindowTest::Run(uint32_t command) { SendMessageW(handle_, WM_COMMAND, command, 0); }

std::string WindowTest::ItemText(HTREEITEM item) const {
  std::array<wchar_t, 300> text{};
  TVITEMW info{};
  info.mask = TVIF_TEXT;
  info.hItem = item;
  info.pszText = text.data();
  info.cchTextMax = static_cast<int>(text.size());
  TreeView_GetItem(window_->controls.tree, &info);
  return Utf8Name(info.pszText);
}

std::vector<std::string> WindowTest::ChildTexts(HTREEITEM item) const {
  std::vector<std::string> texts;
  const HWND tree = window_->controls.tree;
  for (HTREEITEM child = TreeView_GetChild(tree, item); child != nullptr;
       child = TreeView_GetNextSibling(tree, child)) {
    texts.push_back(ItemText(child));
  }
  return texts;
}

bool WindowTest::IsItemExpanded(HTREEITEM item) const {
  return (TreeView_GetItemState(window_->controls.tree, item, TVIS_EXPANDED) & TVIS_EXPANDED) != 0;
}

std::vector<std::string> WindowTest::RowTexts(HWND list, int row) const {
  std::vector<std::string> texts;
  const int columns = Header_GetItemCount(ListView_GetHeader(list));
  for (int column = 0; column < columns; ++column) {
    std::array<wchar_t, 300> text{};
    ListView_GetItemText(list, row, column, text.data(), static_cast<int>(text.size()));
    texts.push_back(Utf8Name(text.data()));
  }
  return texts;
}

std::string WindowTest::TextOf(HWND control) {
  std::wstring text(static_cast<size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
  text.resize(
      static_cast<size_t>(GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
  return Utf8Name(text);
}

std::string WindowTest::StatusText(int part) const {
  std::array<wchar_t, 300> text{};
  SendMessageW(window_->controls.status, SB_GETTEXTW, static_cast<WPARAM>(part),
               reinterpret_cast<LPARAM>(text.data()));
  return Utf8Name(text.data());
}

Texts WindowTest::TakeBoxes() {
  Texts texts;
  for (const ShownBox& box : surroundings_.boxes) texts.push_back(box.title + ": " + box.text);
  surroundings_.boxes.clear();
  return texts;
}

}  // namespace hivequarry::testing

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  hivequarry::StartControls();
  return RUN_ALL_TESTS();
}
