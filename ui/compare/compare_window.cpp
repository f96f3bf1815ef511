#include "ui/compare/compare_window.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/memory.h"
#include "app/settings.h"
#include "hive/hive_table.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/output_file.h"
#include "ui/compare/compare_dialog.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/draw/tones.h"
#include "ui/frame/frame_window.h"
#include "ui/frame/help.h"
#include "ui/frame/list_view.h"
#include "ui/frame/splitter.h"
#include "ui/frame/text.h"
#include "ui/frame/window_place.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/list_window.h"
#include "ui/main/main_window.h"
#include "view/tree_icons.h"

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
constexpr int kFirstValuesHeight = 200;
constexpr int kLeastPane = 60;
constexpr int kCountsWidth = 520;
constexpr int kDeepestIndent = 48;  // levels; keys further down are below each other

constexpr ListColumn kKeyColumns[] = {{L"Key", 420, false},
                                      {L"Difference", 260, false},
                                      {L"Time A", 190, false},
                                      {L"Time B", 190, false}};
constexpr ListColumn kValueColumns[] = {{L"Difference", 130, false}, {L"Value", 190, false},
                                        {L"Type A", 110, false},     {L"Data A", 260, false},
                                        {L"Type B", 110, false},     {L"Data B", 260, false}};

// Goes with its window.
struct CompareWindow {
  MainWindow* owner = nullptr;
  uint32_t hive = 0;  // A
  HWND handle = nullptr;
  HWND last_focus = nullptr;
  HWND keys = nullptr;
  HWND values = nullptr;
  HWND splitter = nullptr;
  HWND status = nullptr;
  HWND heads[2] = {};
  Fonts fonts;
  IconLists icons;
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  int values_height = kFirstValuesHeight;  // at 96 dpi
  std::shared_ptr<ComparedHives> hives;
  uint32_t selected = kNoItem;  // number of the key whose values are shown
  std::vector<ComparedValueRow> rows;
  bool filling = false;  // rows come and go, and what is selected with them
};

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

CompareTree& TreeOf(CompareWindow& window) { return window.hives->tree; }

// --- what is shown -------------------------------------------------------------------------------

uint32_t KeyOfRow(const CompareWindow& window, int row) {
  const std::vector<uint32_t>& rows = window.hives->tree.rows;
  return row >= 0 && static_cast<size_t>(row) < rows.size() ? rows[static_cast<size_t>(row)]
                                                            : kNoItem;
}

int FocusedKeyRow(const CompareWindow& window) {
  return ListView_GetNextItem(window.keys, -1, LVNI_FOCUSED);
}

// Columns: name with the mark of a branch, what differs, time in A, time in B.
std::string KeyCellText(const CompareWindow& window, uint32_t key, int column) {
  const ComparedHives& hives = *window.hives;
  switch (column) {
    case 0: {
      const char* mark = hives.tree.open[key] ? "[-] " : "[+] ";
      if (!CanOpen(hives.tree, key)) mark = "";
      return mark + ComparedKeyName(hives, key);
    }
    case 1:
      return DifferenceText(hives.tree, key);
    default:
      return ComparedKeyTime(hives, key, column == 3);
  }
}

// The open picture of a key follows its closed one in the list of pictures.
int IconOfKey(const CompareWindow& window, uint32_t key) {
  const ComparedHives& hives = *window.hives;
  const ComparedKey& it = hives.tree.keys[key];
  const KeyItem& item = it.a != kNoItem ? hives.tree_a.items[it.a] : hives.tree_b.items[it.b];
  const bool open = hives.tree.open[key] && CanOpen(hives.tree, key);
  return ClosedIcon(item) + (open ? 1 : 0);
}

// LVN_GETDISPINFO. Deep keys are indented no further than kDeepestIndent, so that their names stay
// in view.
void OnKeyDisplay(const CompareWindow& window, LVITEMW& item) {
  const uint32_t key = KeyOfRow(window, item.iItem);
  if (key == kNoItem) return;
  if ((item.mask & LVIF_TEXT) != 0) {
    GiveText(item, WindowText(KeyCellText(window, key, item.iSubItem)).c_str());
  }
  if ((item.mask & LVIF_IMAGE) != 0) item.iImage = IconOfKey(window, key);
  if ((item.mask & LVIF_INDENT) != 0) {
    const uint32_t depth = window.hives->tree.depths[key];
    item.iIndent = static_cast<int>(std::min<uint32_t>(depth, kDeepestIndent));
  }
}

void OnValueDisplay(const CompareWindow& window, LVITEMW& item) {
  const auto row = static_cast<size_t>(item.iItem);
  if (row >= window.rows.size() || (item.mask & LVIF_TEXT) == 0) return;
  const ComparedValueRow& shown = window.rows[row];
  const std::string* const cells[] = {&shown.what,   &shown.name,   &shown.type_a,
                                      &shown.data_a, &shown.type_b, &shown.data_b};
  GiveText(item, WindowText(*cells[item.iSubItem]).c_str());
}

// kGroupSame for a row without a colour of its own.
uint8_t GroupOfRow(const CompareWindow& window, const NMLVCUSTOMDRAW& notice) {
  const size_t row = notice.nmcd.dwItemSpec;
  if (notice.nmcd.hdr.hwndFrom == window.keys) {
    const uint32_t key = KeyOfRow(window, static_cast<int>(row));
    return key == kNoItem ? uint8_t{kGroupSame} : window.hives->tree.groups[key];
  }
  if (row >= window.rows.size() || window.rows[row].what.empty()) return kGroupSame;
  if (window.rows[row].what.starts_with("only in A")) return kGroupOnlyA;
  return window.rows[row].what.starts_with("only in B") ? kGroupOnlyB : kGroupDifferent;
}

// NM_CUSTOMDRAW: a selected row keeps the colours of selections.
LRESULT OnDraw(const CompareWindow& window, NMLVCUSTOMDRAW& notice) {
  const LRESULT answer = DrawListRow(notice);
  if (notice.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return answer;
  const auto row = static_cast<int>(notice.nmcd.dwItemSpec);
  if (ListView_GetItemState(notice.nmcd.hdr.hwndFrom, row, LVIS_SELECTED) != 0) return answer;
  const uint8_t group = GroupOfRow(window, notice);
  if (group == kGroupOnlyA) notice.clrText = ColourOf(Tone::kOnlyA);
  if (group == kGroupOnlyB) notice.clrText = ColourOf(Tone::kOnlyB);
  if (group == kGroupDifferent) notice.clrText = ColourOf(Tone::kDifferent);
  return answer;
}

// In the status bar: the path in A, or in B where A lacks the key.
void ShowKeyPath(const CompareWindow& window) {
  const ComparedHives& hives = *window.hives;
  std::string path;
  if (window.selected != kNoItem) {
    const ComparedKey& key = hives.tree.keys[window.selected];
    path = key.a != kNoItem ? LongItemPath(hives.a, hives.tree_a, key.a)
                            : LongItemPath(hives.b(), hives.tree_b, key.b);
  }
  SendMessageW(window.status, SB_SETTEXTW, 1, reinterpret_cast<LPARAM>(WindowText(path).c_str()));
}

void FillValues(CompareWindow& window) {
  window.rows = ComparedValueRows(*window.hives, window.selected);
  ListView_SetItemCountEx(window.values, static_cast<int>(window.rows.size()), 0);
  InvalidateRect(window.values, nullptr, FALSE);
}

// The values of the key in focus.
void ShowValues(CompareWindow& window) {
  const uint32_t key = KeyOfRow(window, FocusedKeyRow(window));
  if (key == window.selected || key == kNoItem) return;
  window.selected = key;
  FillValues(window);
  ShowKeyPath(window);
}

// One row alone is selected, and in view.
void FocusKeyRow(CompareWindow& window, size_t row) {
  const auto at = static_cast<int>(row);
  ListView_SetItemState(window.keys, -1, 0, LVIS_SELECTED);
  ListView_SetItemState(window.keys, at, LVIS_SELECTED | LVIS_FOCUSED,
                        LVIS_SELECTED | LVIS_FOCUSED);
  ListView_SetSelectionMark(window.keys, at);
  ListView_EnsureVisible(window.keys, at, FALSE);
}

// The rows are others now; the selected key stays selected, or the nearest one above it that is
// still in view.
void ShowRows(CompareWindow& window, uint32_t key) {
  const CompareTree& tree = TreeOf(window);
  window.filling = true;
  ListView_SetItemCountEx(window.keys, static_cast<int>(tree.rows.size()), LVSICF_NOSCROLL);
  FocusKeyRow(window, RowOfKey(tree, key == kNoItem ? 0 : key));
  InvalidateRect(window.keys, nullptr, FALSE);
  window.filling = false;
  ShowValues(window);
}

// --- what the user does --------------------------------------------------------------------------

// Nothing for a key without anything below it that is shown.
void ToggleRow(CompareWindow& window, int row) {
  const uint32_t key = KeyOfRow(window, row);
  if (key == kNoItem) return;
  const auto at = static_cast<size_t>(row);
  if (OpenRow(TreeOf(window), at) || CloseRow(TreeOf(window), at)) ShowRows(window, key);
}

// As in a tree: to the right into a key, to the left out of it.
void GoSideways(CompareWindow& window, bool right) {
  CompareTree& tree = TreeOf(window);
  const int row = FocusedKeyRow(window);
  const uint32_t key = KeyOfRow(window, row);
  if (key == kNoItem) return;
  const auto at = static_cast<size_t>(row);
  if (right ? OpenRow(tree, at) : CloseRow(tree, at)) return ShowRows(window, key);
  if (right && CanOpen(tree, key)) return FocusKeyRow(window, at + 1);
  if (!right && tree.keys[key].parent != kNoItem) {
    FocusKeyRow(window, RowOfKey(tree, tree.keys[key].parent));
  }
}

// Opens what is above it; a beep where there is no further one.
void GoToDifference(CompareWindow& window, bool next) {
  CompareTree& tree = TreeOf(window);
  const uint32_t from = KeyOfRow(window, FocusedKeyRow(window));
  const uint32_t key = next ? NextDifference(tree, from) : PreviousDifference(tree, from);
  if (key == kNoItem) return CurrentHost().beep(CurrentHost().context);
  ShowKey(tree, key);
  ShowRows(window, key);
}

void CheckFilter(const CompareWindow& window) {
  for (const CompareCommand& command : CompareCommands()) {
    uint8_t filter = 0;
    if (!FilterOfAct(command.act, filter)) continue;
    const bool on = filter == window.hives->tree.filter;
    CheckMenuItem(GetMenu(window.handle),
                  static_cast<UINT>(kCompareActs + static_cast<int>(command.act)),
                  MF_BYCOMMAND | (on ? MF_CHECKED : MF_UNCHECKED));
  }
}

// A key that A lacks is none of the hive shown: the nearest one above it is gone to.
void GoToTree(const CompareWindow& window) {
  const ComparedKeys& keys = window.hives->tree.keys;
  uint32_t key = window.selected;
  while (key != kNoItem && keys[key].a == kNoItem) key = keys[key].parent;
  if (key == kNoItem) return;
  const HiveTurn turn(*window.owner, window.hive);
  GoToPosition(*window.owner, window.hives->tree_a.items[keys[key].a].position);
  SetForegroundWindow(window.owner->handle);
}

void OpenDifferences(MainWindow& window, ComparedHives& hives) {
  if (hives.list != nullptr) OpenListWindow(window, std::move(hives.list));
}

// The list that came with the comparison was given to its window.
void ListAgain(CompareWindow& window) {
  const std::shared_ptr<ComparedHives> hives = window.hives;
  MainWindow& owner = *window.owner;
  StartWork(
      owner, kOperationCompare, [hives] { hives->list = ListDifferences(*hives); },
      [&owner, hives] { OpenDifferences(owner, *hives); });
}

// --- scripts -------------------------------------------------------------------------------------

constexpr const char* kNotWritten = "Could Not Open or Create File %s";

// Filled by the worker; the interface thread reads it when that has ended.
struct ScriptJob {
  OutputFile file;
  bool kept = false;
};

// From A to B, or back. A stopped one is not kept: it would look like a whole one.
void SaveScript(CompareWindow& window, bool to_b) {
  const std::shared_ptr<ComparedHives> hives = window.hives;
  const std::string root = PatchRoot(to_b ? hives->side_a() : hives->side_b());
  if (root.empty()) {
    ShowMessage("No valid root key !", kProgramName, Icon::kInformation);
    return;
  }
  FileRequest request;
  request.filter = L"Registry Files Version 5.00, Unicode (*.reg)\0*.reg\0All Files (*.*)\0*.*\0";
  request.extension = L"reg";
  const std::string name = ChooseFile(window.handle, true, kFolderScripts, request);
  if (name.empty()) return;
  if (FileExists(name) && !TheListDialogs().replace(window.handle, name)) return;
  const auto job = std::make_shared<ScriptJob>();
  if (!OpenListFile(name, OutputMode::kReplace, kNotWritten, job->file)) return;
  const bool started = StartWork(
      *window.owner, kOperationCompare,
      [job, hives, root, to_b] {
        const auto sink = [job](std::string_view piece) { return WriteOutput(job->file, piece); };
        const bool made = WithMemory([&] {
          const ComparedSide a = hives->side_a();
          const ComparedSide b = hives->side_b();
          return WritePatch(to_b ? a : b, to_b ? b : a, hives->options, root, sink);
        });
        job->kept = CloseOutput(job->file, made && !StopRequested());
      },
      [job, name, hives] {
        if (!job->kept && !StopRequested()) ReportFileFailure(kNotWritten, name);
      });
  if (!started) CloseOutput(job->file, false);
}

// Closing is posted: the menu or key that asked for it still uses the window.
void RunAct(CompareWindow& window, CompareAct act) {
  uint8_t filter = 0;
  if (FilterOfAct(act, filter)) {
    SetFilter(TreeOf(window), filter);
    CheckFilter(window);
    return ShowRows(window, window.selected);
  }
  switch (act) {
    case CompareAct::kNext:
    case CompareAct::kPrevious:
      return GoToDifference(window, act == CompareAct::kNext);
    case CompareAct::kGoToTree:
      return GoToTree(window);
    case CompareAct::kList:
      return ListAgain(window);
    case CompareAct::kScriptToB:
    case CompareAct::kScriptToA:
      return SaveScript(window, act == CompareAct::kScriptToB);
    case CompareAct::kClose:
      PostMessageW(window.handle, WM_CLOSE, 0, 0);
      return;
    default:
      return;
  }
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
    return OnDraw(window, *reinterpret_cast<NMLVCUSTOMDRAW*>(second));
  }
  return keys ? OnKeyNotify(window, second) : 0;
}

LRESULT Route(CompareWindow& window, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_COMMAND:
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
constexpr WNDPROC kProcedure = FrameProc<CompareWindow, kRoutes>;

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
  if (RegisterWindowClass(window.instance,
                          {.name = kCompareClassName, .procedure = kProcedure, .framed = true})) {
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
