#include "ui/lists/value_window.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "host/host.h"
#include "host/number_text.h"
#include "ui/commands/value_commands.h"
#include "ui/frame/window_class.h"
#include "ui/frame/window_place.h"
#include "ui/lists/list_selection.h"
#include "ui/main/freed.h"
#include "ui/main/main_window.h"
#include "ui/main/notifications.h"

namespace hivequarry {
namespace {

constexpr wchar_t kValueClassName[] = L"HivequarryValue";
constexpr int kViewerId = 1;
constexpr int kValueWidth = 1120;  // at 96 dpi
constexpr int kValueHeight = 420;
constexpr int kValueApart = 56;      // from the corner of the main window
constexpr UINT kReady = WM_APP + 1;  // a result is in the mailbox
constexpr UINT_PTR kSliceTimer = 1;
constexpr UINT kSlicePause = 10;  // milliseconds

using Box = std::shared_ptr<Mailbox<DetailResult>>;

// What the window shows. The head tells the hive from one that was loaded in its place.
struct ShownRecord {
  uint32_t hive = kOfNoHive;
  std::shared_ptr<const ListHead> head;
  uint32_t position = kNoOffset;
};

// Goes with its window; its mailbox with the last thread that puts something in.
struct ValueWindow {
  MainWindow* owner = nullptr;
  HWND handle = nullptr;
  ValueViewer viewer;
  Fonts fonts;
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  Box box = std::make_shared<Mailbox<DetailResult>>();
  ShownRecord shown;
};
ValueWindow*& TheWindow() {
  static ValueWindow* window = nullptr;
  return window;
}

void RenewLook(ValueWindow& window) {
  Fonts old = window.fonts;
  window.fonts = MakeFonts(window.dpi);
  SetViewerLook(window.viewer, window.fonts, window.dpi);
  FreeFonts(old);
}

bool OnCreate(ValueWindow& window) {
  window.dpi = DpiOfWindow(window.handle);
  if (!MakeValueViewer(window.viewer, window.handle, kViewerId, window.dpi)) return false;
  window.viewer.save = [&window](std::span<const uint8_t> bytes) {
    const HiveTurn turn(*window.owner, window.shown.hive);
    SaveBytes(*window.owner, bytes, "Value at " + HexNumber(window.shown.position));
  };
  // There is no status bar to say it in.
  window.viewer.tell = [](const wchar_t*) {};  // it has beeped
  RenewLook(window);
  ShowWindow(window.viewer.window, SW_SHOWNA);
  return true;
}

// The answer to kReady; a result that is not the newest is dropped.
void OnReady(ValueWindow& window) {
  const std::unique_ptr<DetailResult> result = Take(*window.box);
  if (result == nullptr) return;
  if (ShowInViewer(window.viewer, std::move(result->text), std::move(result->bytes))) {
    SetTimer(window.handle, kSliceTimer, kSlicePause, nullptr);
  }
}

void OnDpiChanged(ValueWindow& window, uint32_t dpi, const RECT& area) {
  window.dpi = dpi;
  RenewLook(window);
  SetWindowPos(window.handle, nullptr, area.left, area.top, area.right - area.left,
               area.bottom - area.top, SWP_NOZORDER | SWP_NOACTIVATE);
}

// The last message. A value thread may still be at work for it: the mailbox is shared with that.
void Forget(ValueWindow* window) {
  if (TheWindow() == window) TheWindow() = nullptr;
  SetWindowLongPtrW(window->handle, GWLP_USERDATA, 0);
  FreeFonts(window->fonts);
  delete window;
}

// The window owns its record. Long details are put in a slice at a time, by a timer, so that it
// goes on answering.
LRESULT CALLBACK ValueProc(HWND handle, UINT message, WPARAM first, LPARAM second) {
  auto* window = RecordOfWindow<ValueWindow>(handle, message, second);
  if (window == nullptr) return DefWindowProcW(handle, message, first, second);
  switch (message) {
    case WM_NCCREATE:
      window->handle = handle;
      break;
    case WM_CREATE:
      return OnCreate(*window) ? 0 : -1;
    case WM_SIZE:
      MoveWindow(window->viewer.window, 0, 0, LOWORD(second), HIWORD(second), TRUE);
      return 0;
    case WM_SETFOCUS:
      SetFocus(window->viewer.detail.window);
      return 0;
    case WM_TIMER:
      if (!AddDetailSlice(window->viewer.detail)) KillTimer(handle, kSliceTimer);
      return 0;
    case WM_DPICHANGED:
      OnDpiChanged(*window, HIWORD(first), *reinterpret_cast<const RECT*>(second));
      return 0;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
      RenewLook(*window);
      return 0;
    case kReady:
      OnReady(*window);
      return 0;
    case WM_NCDESTROY:
      Forget(window);
      return 0;
    default:
      break;
  }
  return DefWindowProcW(handle, message, first, second);
}

// A little apart from the main window.
RECT FirstArea(const MainWindow& owner) {
  RECT main;
  GetWindowRect(owner.handle, &main);
  const LONG left = main.left + Scale(kValueApart, owner.dpi);
  const LONG top = main.top + Scale(kValueApart, owner.dpi);
  return OnScreen(
      {left, top, left + Scale(kValueWidth, owner.dpi), top + Scale(kValueHeight, owner.dpi)});
}

ValueWindow* OpenWindow(MainWindow& owner) {
  const WindowClass window_class{.name = kValueClassName, .procedure = ValueProc, .framed = true};
  if (!RegisterWindowClass(owner.instance, window_class)) return nullptr;
  auto* window = new ValueWindow;  // goes with its handle, also when its making fails half-way
  window->owner = &owner;
  TheWindow() = window;
  const HWND handle = CreateWindowExW(
      0, kValueClassName, L"Value", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT, 0,
      CW_USEDEFAULT, 0, owner.handle, nullptr, owner.instance, window);
  if (handle == nullptr) return nullptr;
  MoveBesideOthers(handle, FirstArea(owner));
  ShowWindow(handle, SW_SHOW);
  return TheWindow();
}

// Of the hive that the list is of, which need not be the one that is viewed when the thread reads
// it.
void StartGathering(MainWindow& owner, ValueWindow& window, uint32_t position) {
  window.shown = {owner.shown->number, owner.shown->hashing.head, position};
  const uint32_t serial = ++window.box->newest;
  StartValueThread(owner.selection.threads, [&hive = ShownHive(owner), &tree = *owner.shown->tree,
                                             box = window.box, handle = window.handle, serial,
                                             position, freed = owner.shown->findings.freed] {
    if (!IsNewest(*box, serial)) return;
    Deliver(*box, serial,
            std::make_unique<DetailResult>(DetailOfRecord(hive, tree, freed, position)), handle,
            kReady);
  });
}

}  // namespace

void OnRowsValue(ListPlace& place) {
  MainWindow& owner = *place.owner;
  const int focused = FocusedRow(place);
  if (focused < 0 || owner.shown->slot < 0) return BeepAtUser();
  const uint32_t row = ModelRow(place, static_cast<uint32_t>(focused));
  ValueWindow* window = TheWindow() != nullptr ? TheWindow() : OpenWindow(owner);
  if (window != nullptr) StartGathering(owner, *window, RowDatum(*place.model, row));
}

void RenewValueWindow() {
  ValueWindow* window = TheWindow();
  if (window == nullptr) return;
  const HiveTurn turn(*window->owner, window->shown.hive);
  const WindowHive& hive = *window->owner->shown;
  if (hive.slot < 0 || hive.hashing.head != window->shown.head) return;
  StartGathering(*window->owner, *window, window->shown.position);
}

bool TranslateValueKeys(MSG& message) {
  const ValueWindow* window = TheWindow();
  if (window == nullptr || message.message != WM_KEYDOWN) return false;
  if (GetAncestor(message.hwnd, GA_ROOT) != window->handle) return false;
  if (message.wParam == VK_ESCAPE) {
    PostMessageW(window->handle, WM_CLOSE, 0, 0);
    return true;
  }
  if (message.wParam != VK_TAB || KeepsTab(window->viewer, message)) return false;
  const auto panes = ViewerPanes(window->viewer);
  const auto count = panes.size();
  auto at =
      static_cast<size_t>(std::find(panes.begin(), panes.end(), message.hwnd) - panes.begin());
  for (size_t step = 0; step < count; ++step) {
    at = (at + (GetKeyState(VK_SHIFT) < 0 ? count - 1 : 1)) % count;
    if (IsWindowVisible(panes[at]) != FALSE) break;
  }
  SetFocus(panes[at]);
  return true;
}

}  // namespace hivequarry
