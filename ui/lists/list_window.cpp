#include "ui/lists/list_window.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "app/settings.h"
#include "hive/timestamp.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/text.h"
#include "reports/hive_state.h"
#include "ui/frame/frame_window.h"
#include "ui/frame/help.h"
#include "ui/frame/list_view.h"
#include "ui/frame/window_place.h"
#include "ui/lists/column_choice.h"
#include "ui/lists/list_frame.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_notify.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/list_sorting.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

constexpr wchar_t kListClassName[] = L"HivequarryList";
constexpr int kDefaultWidth = 1180;  // at 96 dpi
constexpr int kDefaultHeight = 520;
constexpr int kApart = 28;  // from the main window

// The list windows that are open, in the order of their making.
struct ListWindows {
  std::vector<ListWindow*> open;
};
ListWindows& TheListWindows() {
  static ListWindows windows;
  return windows;
}

// --- where the window is ---------------------------------------------------------------------

WindowPlace& SavedPlace(const ListPlace& place) {
  return TheSettings().places[static_cast<size_t>(PlaceOfListKind(ListKindOf(*place.model)))];
}

// Widths that the user chose are kept; those of a list of another kind stay until then.
void SavePlace(const ListWindow& window) {
  const ListPlace& place = window.place;
  if (place.model == nullptr) return;  // its making failed
  WindowPlace& saved = SavedPlace(place);
  WindowPlace now = PlaceOfWindow(place.window, window.dpi);
  KeepUnmovedPlace(window.put_beside, place.window, saved, now);
  const bool same_kind = saved.list_kind == ListKindOf(*place.model);
  now.list_kind = place.columns_touched ? ListKindOf(*place.model) : saved.list_kind;
  if (place.columns_touched) {
    now.columns = WidthsOfColumns(place);
    for (int& width : now.columns) width = Unscale(width, window.dpi);
  } else if (!same_kind) {
    now.columns = saved.columns;
  }
  saved = std::move(now);
}

// The saved widths, in pixels, if they are those of a list like this.
std::vector<int> SavedWidths(const ListWindow& window, const WindowPlace& saved,
                             const OutputList& list) {
  if (saved.list_kind != ListKindOf(list)) return {};
  const auto end = std::find(saved.columns.begin(), saved.columns.end(), 0);
  std::vector<int> widths(saved.columns.begin(), end);
  if (std::ssize(widths) != ColumnCount(list)) return {};
  for (int& width : widths) width = Scale(width, window.dpi);
  return widths;
}

RECT DefaultArea(const ListWindow& window) {
  RECT owner;
  GetWindowRect(window.place.owner->handle, &owner);
  const LONG left = owner.left + Scale(kApart, window.dpi);
  const LONG top = owner.top + Scale(kApart, window.dpi);
  return {left, top, left + Scale(kDefaultWidth, window.dpi),
          top + Scale(kDefaultHeight, window.dpi)};
}

// Each further window is a little apart from the one before.
void MoveToPlace(ListWindow& window, const WindowPlace& saved) {
  const RECT area = IsPlaced(saved) ? AreaOfPlace(saved, window.dpi) : DefaultArea(window);
  window.put_beside = MoveBesideOthers(window.place.window, OnScreen(area));
}

// --- messages ------------------------------------------------------------------------------------

bool OnCreate(ListWindow& window) {
  window.dpi = DpiOfWindow(window.place.window);
  if (!MakeListFrame(window)) return false;
  RefreshListLook(window);
  return true;
}

// Widths of hidden columns are kept in pixels, so they are scaled with the others.
void OnDpiChanged(ListWindow& window, uint32_t dpi, const RECT& area) {
  const uint32_t old_dpi = window.dpi;
  window.dpi = dpi;
  RefreshListLook(window);
  ScaleColumns(window.place.list, old_dpi, window.dpi);
  for (int& width : window.place.hidden_widths) {
    width = MulDiv(width, static_cast<int>(window.dpi), static_cast<int>(old_dpi));
  }
  MoveToArea(window.place.window, area);
}

void OnSystemChange(ListWindow& window, UINT message, WPARAM first, LPARAM second) {
  for (const HWND child :
       {window.toolbar, window.place.list, window.place.status, window.progress}) {
    SendMessageW(child, message, first, second);
  }
  for (const HWND child : ChildrenOf(window.filter)) SendMessageW(child, message, first, second);
  RefreshListLook(window);
  LayOutListWindow(window);
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

// The last call for the window; fonts and pictures after the children that used them.
void FreeListWindow(ListWindow* window) {
  std::erase(TheListWindows().open, window);
  FreeFonts(window->fonts);
  FreeIconLists(window->icons);
  delete window;
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

// WM_COMMAND comes from the filter box with its control, else it is a command of the list.
LRESULT Route(ListWindow& window, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_COMMAND:
      if (second != 0 && OnFilterControl(window.place, LOWORD(first), HIWORD(first))) return 0;
      RunListCommand(window.place, LOWORD(first));
      return 0;
    case WM_NOTIFY:
      return OnNotify(window, *reinterpret_cast<const NMHDR*>(second));
    case WM_CONTEXTMENU:
      OnListContextMenu(window.place, reinterpret_cast<HWND>(first),
                        {GET_X_LPARAM(second), GET_Y_LPARAM(second)});
      return 0;
    case WM_HELP:
      ShowHelpFor(window.place.window, second, HelpTopicOfList(ListKindOf(*window.place.model)));
      return TRUE;
    case kRowsChosen:
      TakeChosenRows(window.place, static_cast<uint32_t>(first));
      return 0;
    case WM_DESTROY:
      StopFilter(window.place);
      // While the list with its columns is still there.
      SavePlace(window);
      return 0;
    default:
      return DefWindowProcW(window.place.window, message, first, second);
  }
}

constexpr FrameRoutes<ListWindow> kListRoutes = {
    .least = {420, 240},
    .set_handle =
        [](ListWindow& window, HWND handle) {
          window.place.window = handle;
          TheListWindows().open.push_back(&window);
        },
    .create = OnCreate,
    .lay_out = LayOutListWindow,
    .change_dpi = OnDpiChanged,
    .change_look = OnSystemChange,
    .pane = [](const ListWindow& window) { return window.place.list; },
    .host = [](const ListWindow& window) -> const HostWindow& { return window.place.owner->host; },
    .close = OnClose,
    .free = FreeListWindow,
    .others = Route};
constexpr WNDPROC kProcedure = FrameProc<ListWindow, kListRoutes>;

// Told by the window's procedure: null for any other window.
ListWindow* WindowOfHandle(HWND handle) {
  if (GetClassLongPtrW(handle, GCLP_WNDPROC) != reinterpret_cast<ULONG_PTR>(kProcedure)) {
    return nullptr;
  }
  return reinterpret_cast<ListWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
}

// The record goes with its window, also when its making fails half-way.
ListWindow* MakeListWindow(MainWindow& owner) {
  if (!RegisterWindowClass(owner.instance,
                           {.name = kListClassName, .procedure = kProcedure, .framed = true})) {
    return nullptr;
  }
  auto* window = new ListWindow;
  window->place.owner = &owner;
  const HWND handle =
      CreateWindowExW(0, kListClassName, L"", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                      0, CW_USEDEFAULT, 0, nullptr, nullptr, owner.instance, window);
  return handle != nullptr ? window : nullptr;
}

// The rows of a list that came filled.
void NumberRows(OutputList& list) {
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    ReplaceCell(list, row, 0,
                Concat({Decimal(row + 1, 5), ", ", FirstUnits(CellText(list, row, 0), 511)}));
  }
}

}  // namespace

void GiveHead(const MainWindow& window, OutputList& list) {
  const bool has_one = ListHeadOf(list) != nullptr;  // of a comparison: both sides
  if (has_one || window.shown->slot < 0 || !IsOfHive(ListKindOf(list))) return;
  SetListHead(list, window.shown->hashing.head);
}

void GiveHeadOfAll(const MainWindow& window, OutputList& list) {
  auto head = std::make_shared<ListHead>();
  std::vector<std::string> lines;
  for (const auto& hive : window.hives) {
    if (hive->slot < 0) continue;
    std::vector<std::string> of = LinesOf(*hive->hashing.head);
    // After the line that names the file.
    of.insert(of.begin() + 1, std::string(kHeadRootLine) + hive->tree->root_text);
    lines.insert(lines.end(), of.begin(), of.end());
  }
  SetLines(*head, std::move(lines));
  SetListHead(list, std::move(head));
}

ListPlace* OpenListWindow(MainWindow& window, OutputListPtr list) {
  ListWindow* made = MakeListWindow(window);
  if (made == nullptr) {
    ShowMessage("Can not create window !", kProgramName, Icon::kExclamation);
    return nullptr;
  }
  ListPlace& place = made->place;
  GiveHead(window, *list);
  if (TheSettings().options.number_rows) NumberRows(*list);
  const WindowPlace& saved =
      TheSettings().places[static_cast<size_t>(PlaceOfListKind(ListKindOf(*list)))];
  MoveToPlace(*made, saved);
  const std::vector<int> widths = SavedWidths(*made, saved, *list);
  ShowList(place, std::move(list), widths);
  place.asked = {"List: " + ListTitle(*place.model), "Made: " + FormatIso8601(FileTimeNow())};
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
  // A copy: each window takes itself out of the list when it goes.
  const std::vector<ListWindow*> open = TheListWindows().open;
  for (const ListWindow* list : open) {
    if (list->place.owner == &window) DestroyWindow(list->place.window);
  }
  DeleteEditedTexts();
}

std::vector<ListPlace*> ListPlaces(MainWindow& window) {
  std::vector<ListPlace*> places = {&window.output};
  for (ListWindow* list : TheListWindows().open) {
    if (list->place.owner == &window) places.push_back(&list->place);
  }
  return places;
}

void RefreshListWindow(ListPlace& place) {
  ListWindow* window = WindowOfHandle(place.window);
  if (window != nullptr) ShowListState(*window);
}

void RefreshListWindows() {
  for (ListWindow* window : TheListWindows().open) ShowListState(*window);
}

}  // namespace hivequarry
