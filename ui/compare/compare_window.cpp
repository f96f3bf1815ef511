// A comparison is made by a worker, which opens B in the table of hives. The list of differences
// goes to a window of its own. When the window that compares goes, B is closed as soon as no worker
// is under way.
#include "ui/compare/compare_window.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hive/hive_table.h"
#include "host/number_text.h"
#include "ui/compare/compare_acts.h"
#include "ui/compare/compare_dialog.h"
#include "ui/compare/compare_view.h"
#include "ui/frame/frame_window.h"
#include "ui/frame/help.h"
#include "ui/frame/list_view.h"
#include "ui/frame/splitter.h"
#include "ui/frame/text.h"
#include "ui/frame/window_place.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// At 96 dpi.
constexpr int kWidth = 1100;
constexpr int kHeight = 640;
constexpr int kDistance = 36;  // from the main window's corner
constexpr int kHeadHeight = 18;
constexpr int kMargin = 4;
constexpr int kSmallIcon = 16;
constexpr int kToolIcon = 20;
constexpr int kLeastPane = 60;
constexpr int kCountsWidth = 520;

constexpr ListColumn kKeyColumns[] = {{L"Key", 420, false},
                                      {L"Difference", 260, false},
                                      {L"Time A", 190, false},
                                      {L"Time B", 190, false}};
constexpr ListColumn kValueColumns[] = {{L"Difference", 130, false}, {L"Value", 190, false},
                                        {L"Type A", 110, false},     {L"Data A", 260, false},
                                        {L"Type B", 110, false},     {L"Data B", 260, false}};

// Windows that are open, and hives that a worker may still read though their window is gone.
struct CompareWindows {
  std::vector<CompareWindow*> open;
  std::vector<std::shared_ptr<ComparedHives>> closed;  // their slots are freed when nobody works
  RECT last_area{};                                    // of the window closed last
  CompareWish wish;                                    // the last one
};
CompareWindows& TheCompareWindows() {
  static CompareWindows windows;
  return windows;
}

// --- the window ----------------------------------------------------------------------------------

// From CompareCommands, whose rows of one menu follow one another. The window destroys it.
HMENU MakeCompareMenu() {
  const HMENU bar = CreateMenu();
  HMENU menu = nullptr;
  std::string title;
  for (const CompareCommand& command : CompareCommands()) {
    if (menu == nullptr || title != command.menu) {
      title = command.menu;
      menu = CreatePopupMenu();
      AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(menu), WideName(title).c_str());
    }
    AppendMenuW(menu, MF_STRING,
                static_cast<UINT_PTR>(kCompareActs + static_cast<int>(command.act)),
                WideName(command.text).c_str());
  }
  return bar;
}

HWND MakeChild(const CompareWindow& window, const wchar_t* type, DWORD style, int identifier) {
  return CreateWindowExW(0, type, L"", WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, window.handle,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)),
                         window.owner->instance, nullptr);
}

void RefreshLook(CompareWindow& window) {
  Fonts fonts = MakeFonts(window.dpi);
  IconLists icons = MakeIconLists(Scale(kSmallIcon, window.dpi), Scale(kToolIcon, window.dpi));
  const auto font = reinterpret_cast<WPARAM>(fonts.text);
  for (const HWND child :
       {window.keys, window.values, window.status, window.heads[0], window.heads[1]}) {
    SendMessageW(child, WM_SETFONT, font, TRUE);
  }
  ListView_SetImageList(window.keys, icons.tree, LVSIL_SMALL);
  std::swap(window.fonts, fonts);
  std::swap(window.icons, icons);
  FreeFonts(fonts);
  FreeIconLists(icons);
}

void LayOut(CompareWindow& window) {
  RECT client;
  GetClientRect(window.handle, &client);
  SendMessageW(window.status, WM_SIZE, 0, 0);
  RECT bar;
  GetWindowRect(window.status, &bar);
  const int parts[] = {Scale(kCountsWidth, window.dpi), -1};
  SendMessageW(window.status, SB_SETPARTS, 2, reinterpret_cast<LPARAM>(parts));
  const int line = Scale(kHeadHeight, window.dpi);
  const int margin = Scale(kMargin, window.dpi);
  const int top = 2 * line + margin;
  const int bottom = client.bottom - (bar.bottom - bar.top);
  const int between = Scale(kSplitterWidth, window.dpi);
  const int room = bottom - top - between;
  // Both panes keep a line or two while the window allows it; in one that is smaller than both,
  // they share what there is.
  const int least = std::min(Scale(kLeastPane, window.dpi), std::max(room / 2, 0));
  const int values =
      std::clamp(Scale(window.values_height, window.dpi), least, std::max(room - least, least));
  const int keys = std::max(room - values, 0);
  const int width = client.right;
  for (int i = 0; i < 2; ++i) {
    MoveWindow(window.heads[i], margin, margin / 2 + i * line, width - 2 * margin, line, TRUE);
  }
  MoveWindow(window.keys, 0, top, width, keys, TRUE);
  MoveWindow(window.splitter, 0, top + keys, width, between, TRUE);
  MoveWindow(window.values, 0, top + keys + between, width, values, TRUE);
}

// kSplitterMoved, pixels; kept at 96 dpi, so that it stays in proportion when the resolution
// changes.
void OnSplitter(CompareWindow& window, int moved) {
  RECT values;
  GetClientRect(window.values, &values);
  const auto height =
      MulDiv(values.bottom - moved, USER_DEFAULT_SCREEN_DPI, static_cast<int>(window.dpi));
  window.values_height = std::max(height, kLeastPane);
  LayOut(window);
}

std::string DifferencesOf(const ComparedHives& hives) {
  const uint64_t ignored = hives.differences.ignored;
  return DifferenceWords(hives.differences) +
         (ignored == 0 ? "" : "; " + std::to_string(ignored) + " rows left out");
}

bool OnCreate(CompareWindow& window) {
  window.dpi = DpiOfWindow(window.handle);
  for (int i = 0; i < 2; ++i) {
    window.heads[i] = MakeChild(window, L"STATIC", SS_NOPREFIX | SS_ENDELLIPSIS, kCompareHeadA + i);
  }
  window.keys = MakeVirtualList(window.handle, kCompareKeys, kKeyColumns, window.dpi);
  window.splitter =
      MakeSplitter(window.handle, kCompareSplitter, false, L"Edge between keys and values");
  window.values = MakeVirtualList(window.handle, kCompareValues, kValueColumns, window.dpi);
  SetWindowTextW(window.keys, L"Keys of both hives");  // what a screen reader calls them
  SetWindowTextW(window.values, L"Values of the key");
  window.status = MakeChild(window, STATUSCLASSNAMEW, SBARS_SIZEGRIP, kCompareStatus);
  if (window.keys == nullptr || window.values == nullptr || window.status == nullptr) return false;
  SetWindowLongPtrW(window.keys, GWL_STYLE,
                    GetWindowLongPtrW(window.keys, GWL_STYLE) | LVS_SINGLESEL);
  SetMenu(window.handle, MakeCompareMenu());
  RefreshLook(window);
  for (const HWND child : {window.keys, window.splitter, window.values}) {
    ShowWindow(child, SW_SHOWNA);
  }
  const ComparedHives& hives = *window.hives;
  SetWindowTextW(window.heads[0], WindowText(hives.about_a).c_str());
  SetWindowTextW(window.heads[1], WindowText(hives.about_b).c_str());
  SendMessageW(window.status, SB_SETTEXTW, 0,
               reinterpret_cast<LPARAM>(WindowText(DifferencesOf(hives)).c_str()));
  CheckFilter(window);
  ShowRows(window, 0);
  return true;
}

// Rows that are put in anew change their selection too: that is no choice of the user (`filling`).
LRESULT OnKeyNotify(CompareWindow& window, LPARAM second) {
  switch (reinterpret_cast<const NMHDR*>(second)->code) {
    case LVN_ITEMCHANGED:
      if (!window.filling) ShowValues(window);
      return 0;
    case NM_DBLCLK:
      ToggleRow(window, reinterpret_cast<const NMITEMACTIVATE*>(second)->iItem);
      return 0;
    case NM_CLICK: {
      LVHITTESTINFO hit{};
      hit.pt = reinterpret_cast<const NMITEMACTIVATE*>(second)->ptAction;
      const int row = ListView_HitTest(window.keys, &hit);
      // The picture opens and closes as the button of a tree does.
      if ((hit.flags & LVHT_ONITEM) == LVHT_ONITEMICON) ToggleRow(window, row);
      return 0;
    }
    case NM_RETURN:
      ToggleRow(window, FocusedKeyRow(window));
      return 0;
    default:
      return 0;
  }
}

LRESULT OnNotify(CompareWindow& window, LPARAM second) {
  const auto& notice = *reinterpret_cast<const NMHDR*>(second);
  const bool keys = notice.hwndFrom == window.keys;
  if (!keys && notice.hwndFrom != window.values) return 0;
  if (notice.code == LVN_GETDISPINFOW) {
    LVITEMW& item = reinterpret_cast<NMLVDISPINFOW*>(second)->item;
    keys ? OnKeyDisplay(window, item) : OnValueDisplay(window, item);
    return 0;
  }
  if (notice.code == NM_CUSTOMDRAW) {
    return DrawComparedRow(window, *reinterpret_cast<NMLVCUSTOMDRAW*>(second));
  }
  return keys ? OnKeyNotify(window, second) : 0;
}

LRESULT Route(CompareWindow& window, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_COMMAND:
      // Of the menu alone: controls send their codes in the high word.
      if (HIWORD(first) == 0) RunAct(window, static_cast<CompareAct>(LOWORD(first) - kCompareActs));
      return 0;
    case WM_NOTIFY:
      return OnNotify(window, second);
    case kSplitterMoved:
      OnSplitter(window, static_cast<int>(second));
      return 0;
    case WM_HELP:
      ShowHelpFor(window.handle, second, kHelpCompareHives);
      return TRUE;
    case WM_DESTROY:
      TheCompareWindows().last_area = NormalArea(window.handle);
      return 0;
    default:
      return DefWindowProcW(window.handle, message, first, second);
  }
}

// Fonts and pictures first: columns and places are measured with them.
void OnDpiChanged(CompareWindow& window, uint32_t dpi, const RECT& area) {
  const uint32_t old_dpi = window.dpi;
  window.dpi = dpi;
  RefreshLook(window);
  ScaleColumns(window.keys, old_dpi, dpi);
  ScaleColumns(window.values, old_dpi, dpi);
  MoveToArea(window.handle, area);
}

void OnSystemChange(CompareWindow& window, UINT message, WPARAM first, LPARAM second) {
  for (const HWND child : {window.keys, window.values, window.status}) {
    SendMessageW(child, message, first, second);
  }
  RefreshLook(window);
  LayOut(window);
}

void OnClose(CompareWindow& window) {
  if (IsWindowEnabled(window.handle) != FALSE) DestroyWindow(window.handle);
}

// The last call for the window. The hive B may go later than that: while an operation runs it may
// be using the table of hives.
void FreeCompareWindow(CompareWindow* window) {
  std::erase(TheCompareWindows().open, window);
  TheCompareWindows().closed.push_back(std::move(window->hives));
  FreeFonts(window->fonts);
  FreeIconLists(window->icons);
  delete window;
  ReleaseComparedHives();
}

constexpr FrameRoutes<CompareWindow> kRoutes = {
    .least = {480, 320},
    .set_handle =
        [](CompareWindow& window, HWND handle) {
          window.handle = handle;
          TheCompareWindows().open.push_back(&window);
        },
    .create = OnCreate,
    .lay_out = LayOut,
    .change_dpi = OnDpiChanged,
    .change_look = OnSystemChange,
    .pane = [](const CompareWindow& window) { return window.keys; },
    .host = [](const CompareWindow& window) -> const HostWindow& { return window.owner->host; },
    .close = OnClose,
    .free = FreeCompareWindow,
    .others = Route};
constexpr WNDPROC kCompareWindowProcedure = FrameProc<CompareWindow, kRoutes>;

// Where the last such window was, or beside the main window; pixels of the screen.
RECT FirstArea(const MainWindow& owner) {
  const RECT& last = TheCompareWindows().last_area;
  if (IsRectEmpty(&last) == FALSE) return last;
  RECT main;
  GetWindowRect(owner.handle, &main);
  const LONG left = main.left + Scale(kDistance, owner.dpi);
  const LONG top = main.top + Scale(kDistance, owner.dpi);
  return {left, top, left + Scale(kWidth, owner.dpi), top + Scale(kHeight, owner.dpi)};
}

// Null for a window that is none of these, or in none.
CompareWindow* WindowOf(HWND child) {
  const HWND root = GetAncestor(child, GA_ROOT);
  const std::vector<CompareWindow*>& open = TheCompareWindows().open;
  const auto found = std::ranges::find(open, root, &CompareWindow::handle);
  return root != nullptr && found != open.end() ? *found : nullptr;
}

// The modifiers must be just those of the command.
bool IsPressed(const CompareCommand& command, WPARAM key) {
  const auto down = [](int which) { return GetKeyState(which) < 0; };
  const uint8_t modifiers =
      static_cast<uint8_t>((down(VK_CONTROL) ? kWithControl : 0) |
                           (down(VK_SHIFT) ? kWithShift : 0) | (down(VK_MENU) ? kWithAlt : 0));
  return command.key != 0 && command.key == key && command.modifiers == modifiers;
}

// --- the comparison ------------------------------------------------------------------------------

// On the interface thread. Null where the worker had no memory to make it.
void FinishComparison(MainWindow& window, std::shared_ptr<ComparedHives> hives) {
  if (hives == nullptr) return;
  if (!hives->fault.empty()) {
    ShowMessage(hives->fault.c_str(), kProgramName, Icon::kExclamation);
  }
  if (hives->list == nullptr) return;
  OpenDifferences(window, *hives);
  OpenCompareWindow(window, std::move(hives));
}

// B is opened on the worker: only one operation runs at a time, so nobody else hands out slots.
void StartComparison(MainWindow& window, const CompareWish& wish) {
  const auto made = std::make_shared<std::shared_ptr<ComparedHives>>();
  StartWork(
      window, kOperationCompare,
      [made, wish, &hive = ShownHive(window), &tree = *window.shown->tree,
       summary = window.shown->summary] { *made = CompareWithFile(hive, tree, summary, wish); },
      [&window, made] { FinishComparison(window, std::move(*made)); });
}

}  // namespace

namespace {

// That of another hive that is open; else its own, with other logs or another key.
std::string OtherFile(const MainWindow& window) {
  for (const auto& hive : window.hives) {
    if (hive.get() != window.shown && hive->slot >= 0) return HiveOfSlot(hive->slot).file_name;
  }
  return ShownHive(window).file_name;
}

}  // namespace

void OnCompareHive(MainWindow& window) {
  if (window.shown->tree->any_hidden) {
    ShowMessage("Keys were taken out of the tree: bring them back with \"Show all keys again\"",
                kProgramName, Icon::kInformation);
    return;
  }
  CompareWish& wish = TheCompareWindows().wish;
  if (wish.file.empty()) wish.file = OtherFile(window);
  if (AskComparison(window.handle, wish)) StartComparison(window, wish);
}

HWND OpenCompareWindow(MainWindow& window, std::shared_ptr<ComparedHives> hives) {
  HWND handle = nullptr;
  if (RegisterWindowClass(
          window.instance,
          {.name = kCompareClassName, .procedure = kCompareWindowProcedure, .framed = true})) {
    auto* made = new CompareWindow;
    made->owner = &window;
    made->hive = window.shown->number;
    made->hives = std::move(hives);
    const std::wstring title = WindowText(Concat({"Compare: ", BaseName(made->hives->a.file_name),
                                                  " - ", BaseName(made->hives->b().file_name)}));
    handle = CreateWindowExW(0, kCompareClassName, title.c_str(),
                             WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT, 0, CW_USEDEFAULT,
                             0, nullptr, nullptr, window.instance, made);
  }
  if (handle == nullptr) {
    ShowMessage("Can not create window !", kProgramName, Icon::kExclamation);
    return nullptr;
  }
  MoveToArea(handle, BesideOthers(handle, OnScreen(FirstArea(window))));
  ShowWindow(handle, SW_SHOWNORMAL);
  return handle;
}

bool TranslateCompareKeys(MSG& message) {
  if (message.message != WM_KEYDOWN && message.message != WM_SYSKEYDOWN) return false;
  CompareWindow* const window = WindowOf(message.hwnd);
  if (window == nullptr) return false;
  for (const CompareCommand& command : CompareCommands()) {
    if (!IsPressed(command, message.wParam)) continue;
    RunAct(*window, command.act);
    return true;
  }
  if (message.wParam == VK_TAB) {
    SetFocus(GetFocus() == window->keys ? window->values : window->keys);
    return true;
  }
  const bool sideways = message.wParam == VK_RIGHT || message.wParam == VK_LEFT;
  if (!sideways || message.hwnd != window->keys) return false;
  GoSideways(*window, message.wParam == VK_RIGHT);
  return true;
}

void CloseCompareWindows(uint32_t hive) {
  // A copy: each window takes itself out when it goes.
  const std::vector<CompareWindow*> open = TheCompareWindows().open;
  for (const CompareWindow* window : open) {
    if (hive == kAnyHive || window->hive == hive) DestroyWindow(window->handle);
  }
  TheCompareWindows().closed.clear();
}

void RenewComparedDates() {
  for (CompareWindow* window : TheCompareWindows().open) {
    InvalidateRect(window->keys, nullptr, FALSE);
    if (window->selected != kNoItem) FillValues(*window);
  }
}

void ReleaseComparedHives() {
  if (TheLongOperation().running == 0) TheCompareWindows().closed.clear();
}

}  // namespace hivequarry
