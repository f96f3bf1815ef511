#include "ui/list_window.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "app/settings.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "ui/list_frame.h"
#include "ui/list_saving.h"
#include "ui/list_sorting.h"
#include "ui/list_view.h"
#include "ui/main_window.h"
#include "ui/window_class.h"
#include "ui/window_place.h"

namespace hivequarry {
namespace {

constexpr wchar_t kClassName[] = L"HivequarryList";
constexpr int kDefaultWidth = 1180;  // at 96 dpi
constexpr int kDefaultHeight = 520;
constexpr int kLeastWidth = 420;
constexpr int kLeastHeight = 240;
constexpr int kCascade = 28;  // from one window to the next

struct ListWindows {
  std::vector<ListWindow*> open;
};
ListWindows& TheListWindows() {
  static ListWindows windows;
  return windows;
}

// --- where the window stands ---------------------------------------------------------------------

WindowPlace& SavedPlace(const ListPlace& place) {
  return TheSettings().places[static_cast<size_t>(PlaceOfListKind(ListKindOf(*place.model)))];
}

void SavePlace(const ListWindow& window) {
  if (window.place.model == nullptr) return;  // its making failed
  WindowPlace& saved = SavedPlace(window.place);
  saved = PlaceOfWindow(window.place.window, window.dpi);
  saved.columns = ColumnWidths(window.place.list, window.dpi);
}

// The saved widths, in pixels, if they are those of a list like this.
std::vector<int> SavedWidths(const ListWindow& window, const WindowPlace& saved,
                             const OutputList& list) {
  const auto end = std::find(saved.columns.begin(), saved.columns.end(), 0);
  std::vector<int> widths(saved.columns.begin(), end);
  if (std::ssize(widths) != ColumnCount(list)) return {};
  for (int& width : widths) width = Scale(width, window.dpi);
  return widths;
}

RECT DefaultArea(const ListWindow& window) {
  RECT owner;
  GetWindowRect(window.place.owner->handle, &owner);
  const LONG left = owner.left + Scale(kCascade, window.dpi);
  const LONG top = owner.top + Scale(kCascade, window.dpi);
  return {left, top, left + Scale(kDefaultWidth, window.dpi),
          top + Scale(kDefaultHeight, window.dpi)};
}

// Each further window stands a little apart from the one before.
void MoveToPlace(const ListWindow& window, const WindowPlace& saved) {
  RECT area = IsPlaced(saved) ? AreaOfPlace(saved, window.dpi) : DefaultArea(window);
  const auto others = static_cast<int>(TheListWindows().open.size()) - 1;
  const int distance = others * Scale(kCascade, window.dpi);
  OffsetRect(&area, distance, distance);
  MoveToArea(window.place.window, OnScreen(area));
}

// --- messages ------------------------------------------------------------------------------------

bool OnCreate(ListWindow& window) {
  window.dpi = DpiOfWindow(window.place.window);
  if (!MakeListFrame(window)) return false;
  RefreshListLook(window);
  return true;
}

void OnDpiChanged(ListWindow& window, WPARAM dpi, const RECT& area) {
  const uint32_t old_dpi = window.dpi;
  window.dpi = HIWORD(dpi);
  RefreshListLook(window);
  ScaleColumns(window.place.list, old_dpi, window.dpi);
  MoveToArea(window.place.window, area);
}

void OnSystemChange(ListWindow& window, UINT message, WPARAM first, LPARAM second) {
  for (const HWND child :
       {window.toolbar, window.place.list, window.place.status, window.progress}) {
    SendMessageW(child, message, first, second);
  }
  RefreshListLook(window);
  LayOutListWindow(window);
}

void OnActivate(ListWindow& window, WPARAM how) {
  if (LOWORD(how) == WA_INACTIVE) {
    const HWND focus = GetFocus();
    if (IsChild(window.place.window, focus) != FALSE) window.last_focus = focus;
  } else {
    SetFocus(window.last_focus != nullptr ? window.last_focus : window.place.list);
  }
}

// A worker on the list is asked to end first; the window goes with its end.
void OnClose(ListWindow& window) {
  ListPlace& place = window.place;
  if (IsWindowEnabled(place.window) == FALSE) return;
  if (!place.working) {
    DestroyWindow(place.window);
    return;
  }
  place.closing = true;
  RequestStop();
  ShowWindow(place.window, SW_HIDE);
}

void FreeListWindow(ListWindow* window) {
  SetWindowLongPtrW(window->place.window, GWLP_USERDATA, 0);
  std::erase(TheListWindows().open, window);
  FreeFonts(window->fonts);
  FreeIconLists(window->icons);
  delete window;
}

bool OnSetCursor(const ListWindow& window, LPARAM where) {
  if (window.place.owner->host.wait_cursors <= 0 || LOWORD(where) != HTCLIENT) return false;
  SetCursor(LoadCursorW(nullptr, IDC_APPSTARTING));
  return true;
}

LRESULT OnNotify(ListWindow& window, const NMHDR& notice) {
  if (notice.code == TTN_GETDISPINFOW) {
    OnListToolTip(const_cast<NMTTDISPINFOW&>(reinterpret_cast<const NMTTDISPINFOW&>(notice)));
    return 0;
  }
  const HWND list = window.place.list;
  const bool ours = notice.hwndFrom == list || notice.hwndFrom == ListView_GetHeader(list);
  return ours ? OnListNotify(window.place, notice) : 0;
}

LRESULT Route(ListWindow& window, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_CREATE:
      return OnCreate(window) ? 0 : -1;
    case WM_SIZE:
      if (first != SIZE_MINIMIZED) LayOutListWindow(window);
      return 0;
    case WM_GETMINMAXINFO:
      reinterpret_cast<MINMAXINFO*>(second)->ptMinTrackSize = {Scale(kLeastWidth, window.dpi),
                                                               Scale(kLeastHeight, window.dpi)};
      return 0;
    case WM_COMMAND:
      RunListCommand(window.place, LOWORD(first));
      return 0;
    case WM_NOTIFY:
      return OnNotify(window, *reinterpret_cast<const NMHDR*>(second));
    case WM_CONTEXTMENU:
      if (reinterpret_cast<HWND>(first) == window.place.list) {
        TrackListMenu(window.place, {GET_X_LPARAM(second), GET_Y_LPARAM(second)});
      }
      return 0;
    case WM_DPICHANGED:
      OnDpiChanged(window, first, *reinterpret_cast<const RECT*>(second));
      return 0;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
    case WM_SETTINGCHANGE:
      OnSystemChange(window, message, first, second);
      return 0;
    case WM_ACTIVATE:
      OnActivate(window, first);
      return 0;
    case WM_CLOSE:
      OnClose(window);
      return 0;
    case WM_DESTROY:
      SavePlace(window);
      return 0;
    default:
      return DefWindowProcW(window.place.window, message, first, second);
  }
}

LRESULT CALLBACK ListProc(HWND handle, UINT message, WPARAM first, LPARAM second) {
  auto* window = RecordOfWindow<ListWindow>(handle, message, second);
  if (message == WM_NCCREATE) {
    window->place.window = handle;
    TheListWindows().open.push_back(window);
  }
  if (window == nullptr) return DefWindowProcW(handle, message, first, second);
  if (message == WM_NCDESTROY) {
    FreeListWindow(window);
    return 0;
  }
  if (message == WM_SETCURSOR && OnSetCursor(*window, second)) return TRUE;
  return Route(*window, message, first, second);
}

ListWindow* WindowOfHandle(HWND handle) {
  if (GetClassLongPtrW(handle, GCLP_WNDPROC) != reinterpret_cast<ULONG_PTR>(ListProc)) {
    return nullptr;
  }
  return reinterpret_cast<ListWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
}

// The record goes with its window, also when its making fails half-way.
ListWindow* MakeListWindow(MainWindow& owner) {
  if (!RegisterWindowClass(owner.instance,
                           {.name = kClassName, .procedure = ListProc, .framed = true})) {
    return nullptr;
  }
  auto* window = new ListWindow;
  window->place.owner = &owner;
  const HWND handle =
      CreateWindowExW(0, kClassName, L"", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT, 0,
                      CW_USEDEFAULT, 0, nullptr, nullptr, owner.instance, window);
  return handle != nullptr ? window : nullptr;
}

// The rows of a list that came filled.
void NumberRows(OutputList& list) {
  char number[16];
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    std::snprintf(number, sizeof number, "%05u, ", row + 1);
    std::string text(number);
    text += CellText(list, row, 0).substr(0, 511);
    ReplaceCell(list, row, 0, text);
  }
}

}  // namespace

ListPlace* OpenListWindow(MainWindow& window, OutputListPtr list) {
  ListWindow* made = MakeListWindow(window);
  if (made == nullptr) {
    ShowMessage("Can not create window !", kProgramName, Icon::kExclamation);
    return nullptr;
  }
  ListPlace& place = made->place;
  if (TheSettings().options.number_rows) NumberRows(*list);
  const WindowPlace& saved =
      TheSettings().places[static_cast<size_t>(PlaceOfListKind(ListKindOf(*list)))];
  MoveToPlace(*made, saved);
  const std::vector<int> widths = SavedWidths(*made, saved, *list);
  ShowList(place, std::move(list), widths);
  const bool maximised = IsPlaced(saved) && saved.maximised;
  ShowWindow(place.window, maximised ? SW_SHOWMAXIMIZED : SW_SHOWNORMAL);
  SortNewList(place);
  return &place;
}

ListPlace* FindListPlace(HWND child) {
  ListWindow* window = WindowOfHandle(GetAncestor(child, GA_ROOT));
  return window != nullptr ? &window->place : nullptr;
}

void CloseListWindows(MainWindow& window) {
  const std::vector<ListWindow*> open = TheListWindows().open;
  for (const ListWindow* list : open) {
    if (list->place.owner == &window) DestroyWindow(list->place.window);
  }
  DeleteEditedTexts();
}

void RefreshListWindow(ListPlace& place) {
  ListWindow* window = WindowOfHandle(place.window);
  if (window != nullptr) ShowListState(*window);
}

void RefreshListWindows() {
  for (ListWindow* window : TheListWindows().open) ShowListState(*window);
}

}  // namespace hivequarry
