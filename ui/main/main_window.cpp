// Keys are looked at in HandleMessage, before they are dispatched. What is dispatched to the window
// goes to FrameProc, which answers what all frames do, then to TakeNews for what workers post, then
// to Route.
#include "ui/main/main_window.h"

#include <algorithm>

#include "app/settings.h"
#include "hive/hive_table.h"
#include "hive/keys.h"
#include "hive/replaying.h"
#include "host/long_operation.h"
#include "ui/commands/command_handlers.h"
#include "ui/commands/value_commands.h"
#include "ui/compare/compare_window.h"
#include "ui/draw/tones.h"
#include "ui/draw/win.h"
#include "ui/dress/dress.h"
#include "ui/frame/access_name.h"
#include "ui/frame/frame_window.h"
#include "ui/frame/help.h"
#include "ui/frame/splitter.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/frame/window_class.h"
#include "ui/frame/window_place.h"
#include "ui/hex/hex_edit.h"
#include "ui/lists/list_filtering.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_selection.h"
#include "ui/lists/list_window.h"
#include "ui/lists/value_window.h"
#include "ui/main/address_bar.h"
#include "ui/main/band.h"
#include "ui/main/empty_view.h"
#include "ui/main/expanding.h"
#include "ui/main/freed.h"
#include "ui/main/notifications.h"
#include "ui/main/removed.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"
#include "ui/main/window_settings.h"
#include "ui/resources/resource.h"
#include "ui/security/security_window.h"

namespace hivequarry {
namespace {

constexpr wchar_t kMainClassName[] = L"Hivequarry";
constexpr int kDefaultWidth = 1120;  // at 96 dpi
constexpr int kDefaultHeight = 720;

// The path line has a menu of its own in place of an edit's.
LRESULT CALLBACK PathProc(HWND path, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                          DWORD_PTR) {
  if (message == WM_CONTEXTMENU) return SendMessageW(GetParent(path), message, first, second);
  return DefSubclassProc(path, message, first, second);
}

// In the order of Tab as far as the system knows one. A control that a screen reader is to name has
// its label right before it. False when one can't be had; the window is not opened then.
bool MakeChildren(MainWindow& window) {
  window.controls.toolbar = MakeToolbar(window);
  if (window.controls.toolbar == nullptr) {
    ShowMessage("Toolbar not created!", kProgramName, Icon::kExclamation);
    return false;
  }
  MakeUnseenLabel(window.handle, L"Path of the key");
  window.controls.path = CreateWindowExW(
      0, WC_EDITW, L"", WS_CHILD | WS_TABSTOP | WS_BORDER | ES_MULTILINE | ES_AUTOHSCROLL, 0, 0, 0,
      0, window.handle, reinterpret_cast<HMENU>(static_cast<INT_PTR>(kPathId)), window.instance,
      nullptr);
  window.band.window = MakeBand(window, kBandId);
  window.none.pane.window = window.controls.tree = MakeTreePane(window.handle, kTreeId);
  window.controls.tree_splitter =
      MakeSplitter(window.handle, kTreeSplitterId, true, L"Edge between tree and values");
  window.values.window = MakeValuePane(window.handle, kValuesId, window.dpi);
  window.controls.detail_splitter =
      MakeSplitter(window.handle, kDetailSplitterId, false, L"Edge between values and details");
  if (!MakeValueViewer(window.viewer, window.handle, kDetailId, window.dpi)) return false;
  window.viewer.save = [&window](std::span<const uint8_t> bytes) {
    SaveBytes(window, bytes, SelectedValueName(window));
  };
  window.viewer.tell = [&window](const wchar_t* why) {
    ShowPassingText(window, Utf8Name(why).c_str());
  };
  window.controls.empty = MakeEmptyView(window.handle, kEmptyId);
  MakeListPane(window, kOutputId);
  if (!MakeBookmarkPane(window)) return false;
  if (!MakeFilterBox(window.filter, window.output, false)) return false;
  window.controls.status = MakeStatusBar(window);
  for (const HWND child : {window.controls.path, window.band.window, window.controls.tree,
                           window.controls.tree_splitter, window.values.window,
                           window.controls.detail_splitter, window.controls.empty,
                           window.output.list, window.controls.status, window.controls.progress}) {
    if (child == nullptr) return false;
  }
  SetWindowSubclass(window.controls.path, PathProc, 0, 0);
  return true;
}

// The host first: what fails from then on is told in boxes.
bool OnCreate(MainWindow& window) {
  window.dpi = DpiOfWindow(window.handle);
  StartHostWindow(window.host, window.handle);
  SetHost(MakeWindowHost(window.host));
  if (!MakeChildren(window)) return false;
  window.menus.accelerators = MakeAccelerators();
  window.menus.list_accelerators = MakeListAccelerators();
  window.menus.recent = FindRecentMenu(GetMenu(window.handle));
  RefreshLook(window);
  ApplySettings(window);
  ShowPanes(window);
  RenewBookmarkPane(window);
  UpdateToolbar(window);
  DragAcceptFiles(window.handle, TRUE);
  return true;
}

// The control takes each item out by itself. A tree of very many is left to the end of the program
// instead, which frees all of it at once.
void LeaveTree(const MainWindow& window) {
  if (TreeView_GetCount(window.controls.tree) < kManyTreeItems) {
    TreeView_DeleteAllItems(window.controls.tree);
  } else {
    SetParent(window.controls.tree, HWND_MESSAGE);
  }
}

// Whatever way the window goes: first the workers, then what they work on.
void OnDestroy(MainWindow& window) {
  EndWorkers(window);
  StopFilter(window.output);
  CloseListWindows(window);
  CloseCompareWindows(kAnyHive);
  CloseSecurityWindows();
  GatherSettings(window);
  ClearValues(window.values);
  window.shown = window.viewed = &window.none;
  LeaveTree(window);
  window.hives.clear();
  ResetHiveTable();
  WriteProgramSettings();
  PostQuitMessage(0);
}

// The children are gone by now, so nobody uses fonts and pictures any more.
void FreeMainWindow(MainWindow* window) {
  SetHost(NullHost());
  FreeFonts(window->look.fonts);
  FreeIconLists(window->look.icons);
  if (window->look.state != nullptr) DestroyIcon(window->look.state);
  DestroyAcceleratorTable(window->menus.accelerators);
  DestroyAcceleratorTable(window->menus.list_accelerators);
  delete window;
}

// Closing ends workers; a box that waits for an answer has to be answered first.
void OnClose(MainWindow& window) {
  if (IsWindowEnabled(window.handle) == FALSE) return;
  TheLongOperation().backup = false;
  RequestStop();
  window.host.ending = true;
  DestroyWindow(window.handle);
}

void OnDrop(MainWindow& window, HDROP drop) {
  // The first file may start a load; the guard is that of the open command, asked once.
  const bool open = PassesGuard(FindCommand(Commands(), kCommandOpen)->guard, FactsNow(window));
  const UINT count = open ? DragQueryFileW(drop, UINT32_MAX, nullptr, 0) : 0;
  for (UINT i = 0; i < count; ++i) {
    std::wstring name(DragQueryFileW(drop, i, nullptr, 0) + 1, L'\0');
    DragQueryFileW(drop, i, name.data(), static_cast<UINT>(name.size()));
    OpenNamedFile(window, {Utf8Name(name.c_str())});
  }
  DragFinish(drop);
}

void OnDpiChanged(MainWindow& window, uint32_t dpi, const RECT& area) {
  ApplyDpi(window, dpi);
  MoveToArea(window.handle, area);
}

void OnSystemChange(MainWindow& window, UINT message, WPARAM first, LPARAM second) {
  for (const HWND child : {window.controls.toolbar, window.band.window, window.controls.tree,
                           window.values.window, window.output.list, window.bookmarks.list,
                           window.controls.status, window.controls.progress}) {
    SendMessageW(child, message, first, second);
  }
  RefreshLook(window);
  LayOut(window);
  InvalidateRect(window.controls.empty, nullptr, FALSE);
}

// Items of the menus, the toolbar and keys; what the Output List alone knows goes there.
void OnCommand(MainWindow& window, WPARAM what, LPARAM from) {
  if (reinterpret_cast<HWND>(from) == window.band.window && from != 0) {
    return FollowBand(window, LOWORD(what));
  }
  if (reinterpret_cast<HWND>(from) == window.bookmarks.words && from != 0) {
    if (HIWORD(what) == EN_CHANGE) OnBookmarkWords(window);
    return;
  }
  if (from != 0 && OnFilterControl(window.output, LOWORD(what), HIWORD(what))) return;
  if (HIWORD(what) == kReportNamed) return LoadNamedReport(window);
  const uint32_t number = LOWORD(what);
  const bool of_list = FindCommand(Commands(), number) == nullptr;
  if (!of_list) return RunCommand(window, number);
  if (window.layout.arrangement == kOutputArrangement) RunListCommand(window.output, number);
}

// From dialogs and menus. F1 in the window itself is the command, which has been carried out by
// then: the system asks for help after the key all the same.
void OnHelpAsked(const MainWindow& window, const HELPINFO& asked) {
  const bool own = asked.iContextType == HELPINFO_WINDOW &&
                   GetAncestor(static_cast<HWND>(asked.hItemHandle), GA_ROOT) == window.handle;
  if (!own) ShowHelpFor(window.handle, reinterpret_cast<LPARAM>(&asked), kHelpMainWindow);
}

void OnMenuOpens(const MainWindow& window, HMENU menu) {
  if (menu == window.menus.recent) FillRecentMenu(menu);
  UpdateMenu(menu, FactsNow(window));
}

// From workers and from the window itself. False for a message of the system.
bool TakeNews(MainWindow& window, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case kSplitterMoved:
      MoveSplitter(window, static_cast<int>(first), static_cast<int>(second));
      return true;
    case kHostChanged:
      ShowHostChanges(window);
      return true;
    case kShowBox:
      ShowBox(window.host, *reinterpret_cast<BoxRequest*>(second));
      return true;
    case kRowsChosen:
      TakeChosenRows(window.output, static_cast<uint32_t>(first));
      return true;
    case kLoadDone:
      ShowLoadResult(window);
      return true;
    case kItemReady:
      ShowItemResult(window);
      return true;
    case kDetailReady:
      ShowDetailResult(window);
      return true;
    case kWorkDone:
      FinishWork(window);
      return true;
    case kHashesReady:
      ShowHashes(window, static_cast<uint32_t>(first), static_cast<uint32_t>(second));
      return true;
    case kFindingsReady:
      ShowFindings(window, static_cast<uint32_t>(first), static_cast<uint32_t>(second));
      return true;
    default:
      return false;
  }
}

LRESULT Route(MainWindow& window, UINT message, WPARAM first, LPARAM second) {
  if (TakeNews(window, message, first, second)) return 0;
  switch (message) {
    case WM_COMMAND:
      OnCommand(window, first, second);
      return 0;
    case WM_NOTIFY:
      return OnNotify(window, *reinterpret_cast<const NMHDR*>(second));
    case WM_INITMENUPOPUP:
      OnMenuOpens(window, reinterpret_cast<HMENU>(first));
      return 0;
    case WM_CONTEXTMENU:
      OnContextMenu(window, reinterpret_cast<HWND>(first),
                    {GET_X_LPARAM(second), GET_Y_LPARAM(second)});
      return 0;
    case WM_HELP:
      OnHelpAsked(window, *reinterpret_cast<const HELPINFO*>(second));
      return TRUE;
    case WM_DROPFILES:
      OnDrop(window, reinterpret_cast<HDROP>(first));
      return 0;
    case WM_TIMER:
      OnTimer(window, first);
      return 0;
    case WM_DESTROY:
      OnDestroy(window);
      return 0;
    case WM_ACTIVATEAPP:  // other copies of the program may have set bookmarks meanwhile
      if (first != FALSE) RenewBookmarkPane(window);
      return 0;
    default:
      return DefWindowProcW(window.handle, message, first, second);
  }
}

constexpr FrameRoutes<MainWindow> kRoutes = {
    .least = {480, 320},
    .set_handle = [](MainWindow& window, HWND handle) { window.handle = handle; },
    .create = OnCreate,
    .lay_out =
        [](MainWindow& window) {
          if (window.controls.status != nullptr) LayOut(window);
        },
    .change_dpi = OnDpiChanged,
    .change_look = OnSystemChange,
    .pane = ShownPane,
    .host = [](const MainWindow& window) -> const HostWindow& { return window.host; },
    .close = OnClose,
    .free = FreeMainWindow,
    .others = Route};
constexpr WNDPROC kProcedure = FrameProc<MainWindow, kRoutes>;

// The default size at the window's own resolution, as far as the screen has room for it.
void SetDefaultSize(MainWindow& window) {
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromWindow(window.handle, MONITOR_DEFAULTTONEAREST), &monitor);
  const RECT& work = monitor.rcWork;
  const int width = std::min<int>(Scale(kDefaultWidth, window.dpi), work.right - work.left);
  const int height = std::min<int>(Scale(kDefaultHeight, window.dpi), work.bottom - work.top);
  const LONG left = work.left + (work.right - work.left - width) / 2;
  const LONG top = work.top + (work.bottom - work.top - height) / 2;
  window.put_beside = MoveBesideOthers(window.handle, {left, top, left + width, top + height});
}

// The main window of another copy of the program is seen.
bool IsAnotherOpen(HWND window) {
  for (HWND other = nullptr;
       (other = FindWindowExW(nullptr, other, kMainClassName, nullptr)) != nullptr;) {
    if (other != window && IsWindowVisible(other) != FALSE && IsIconic(other) == FALSE) return true;
  }
  return false;
}

HWND MakeHandle(MainWindow* window) {
  return CreateWindowExW(WS_EX_ACCEPTFILES, kMainClassName, L"Hivequarry",
                         WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT, 0, CW_USEDEFAULT, 0,
                         nullptr, MakeMainMenu(false), window->instance, window);
}

// What an item selected in the tree, kNoItem for none, lets commands do.
void AddItemFacts(const MainWindow& window, uint32_t item, CommandFacts& facts) {
  const KeyTree& tree = *window.shown->tree;
  facts.hidden_keys = tree.any_hidden;
  facts.item = item != kNoItem;
  if (!facts.item) return;
  facts.key = item != tree.disconnected_keys && item != tree.disconnected_values;
  facts.key_cell = HasKeyCell(tree, item);
  facts.root_cell = facts.key_cell && ReadU16(ShownHive(window), tree.items[item].position +
                                                                     kKeyFlags) == kRootKeyFlags;
  facts.removable = facts.key && tree.items[item].parent != kNoItem;
}

// Logs are for the whole of a file that begins with a base block.
void AddLogFacts(const MainWindow& window, CommandFacts& facts) {
  const HiveImage& hive = ShownHive(window);
  facts.logs = hive.logs != nullptr && hive.base_offset == 0 && window.shown->origin.end == 0 &&
               hive.logs->state != ReplayState::kPart;
  const LogChoice& choice = window.shown->origin.logs;
  facts.logs_none = facts.logs && choice.mode == LogMode::kNone;
  facts.logs_auto = facts.logs && choice.mode == LogMode::kAuto && !choice.bounded;
  facts.logs_chosen = facts.logs && choice.mode == LogMode::kChosen;
  facts.logs_until = facts.logs && choice.mode != LogMode::kNone && choice.bounded;
  facts.replayed = IsReplayed(hive);
}

// The Output List's own keys come first where it has the focus.
bool TranslateKeys(const MainWindow& window, MSG& message) {
  const HWND handle = window.handle;
  if (IsHexKey(window.viewer.hex, message)) return false;
  if (message.hwnd == window.output.list &&
      TranslateAcceleratorW(handle, window.menus.list_accelerators, &message) != 0) {
    return true;
  }
  return TranslateAcceleratorW(handle, window.menus.accelerators, &message) != 0;
}

// The tree control would open all branches at once, and the window would stand still.
bool ExpandsAll(const MainWindow& window, const MSG& message) {
  return message.message == WM_KEYDOWN && message.wParam == VK_MULTIPLY &&
         message.hwnd == window.controls.tree;
}

// From the filter box to the rows that it left; Esc, there too, shows all of them.
bool OnPaneFilterKey(MainWindow& window, const MSG& message) {
  const bool in_box = message.hwnd == window.filter.words;
  if (!in_box && message.hwnd != window.output.list) return false;
  if (in_box && (message.wParam == VK_RETURN || message.wParam == VK_DOWN)) {
    EnterRows(window.output);
    return true;
  }
  if (message.wParam != VK_ESCAPE || IsExpanding(window)) return false;
  RunListCommand(window.output, kCommandShowAllRows);
  return true;
}

// The tree control of some systems keeps the key that asks for the menu to itself.
bool AsksForTreeMenu(const MainWindow& window, const MSG& message) {
  return message.message == WM_SYSKEYDOWN && message.wParam == VK_F10 &&
         message.hwnd == window.controls.tree && GetKeyState(VK_SHIFT) < 0;
}

}  // namespace

MainWindow* CreateMainWindow(HINSTANCE instance, int show) {
  if (!RegisterWindowClass(instance,
                           {.name = kMainClassName, .procedure = kProcedure, .framed = true}) ||
      !RegisterSplitterClass(instance) || !RegisterEmptyViewClass(instance)) {
    MessageBoxW(nullptr, L"Can not create window !", L"Hivequarry", MB_ICONEXCLAMATION);
    return nullptr;
  }
  TheColours().choice = TheSettings().colours;
  StartDressing();
  auto* window = new MainWindow;  // goes with its handle
  window->instance = instance;
  if (MakeHandle(window) == nullptr) {
    MessageBoxW(nullptr, L"Could not create window !\n (Try delete .ini)", L"Hivequarry",
                MB_ICONEXCLAMATION);
    return nullptr;
  }
  if (!RestorePlace(*window)) SetDefaultSize(*window);
  const bool ordinary = show == SW_SHOWNORMAL || show == SW_SHOWDEFAULT || show == SW_SHOW;
  bool maximised = TheSettings().main.maximised && ordinary;
  if (maximised && IsAnotherOpen(window->handle)) {
    // It would hide that of another copy.
    window->put_beside = NormalArea(window->handle);
    maximised = false;
  }
  ShowWindow(window->handle, maximised ? SW_SHOWMAXIMIZED : show);
  UpdateWindow(window->handle);
  return window;
}

MainWindow* FindMainWindow(HWND handle) {
  // By the class: the window itself has the procedure that dressing has put there.
  if (GetClassLongPtrW(handle, GCLP_WNDPROC) != reinterpret_cast<ULONG_PTR>(kProcedure)) {
    return nullptr;
  }
  return reinterpret_cast<MainWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
}

void HandleMessage(HWND handle, MSG& message) {
  // Windows of their own come first: their keys are no commands of the main window.
  if (TranslateListKeys(message) || TranslateSecurityKeys(message) ||
      TranslateCompareKeys(message) || TranslateValueKeys(message)) {
    return;
  }
  MainWindow* window = FindMainWindow(handle);
  const bool ours =
      window != nullptr && (message.hwnd == handle || IsChild(handle, message.hwnd) != FALSE);
  if (ours && TranslateKeys(*window, message)) return;
  if (ours && TakeBookmarkKey(*window, message)) return;
  if (ours && AsksForTreeMenu(*window, message)) {
    SendMessageW(handle, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(message.hwnd), -1);
    return;
  }
  if (ours && message.message == WM_KEYDOWN && message.hwnd == window->controls.path) {
    if (message.wParam == VK_RETURN) return GoToTypedPath(*window);
    if (message.wParam == VK_ESCAPE) return LeaveAddressBar(*window);
  }
  if (ours && message.message == WM_KEYDOWN && OnPaneFilterKey(*window, message)) return;
  if (ours && ExpandsAll(*window, message)) return RunCommand(*window, kCommandExpand);
  const bool escape = message.message == WM_KEYDOWN && message.wParam == VK_ESCAPE;
  if (ours && escape && StopExpanding(*window)) return;
  if (ours && message.message == WM_KEYDOWN && message.wParam == VK_TAB &&
      GetKeyState(VK_CONTROL) >= 0 && !KeepsTab(window->viewer, message)) {
    FocusNextPane(*window, GetKeyState(VK_SHIFT) < 0);
    return;
  }
  TranslateMessage(&message);
  DispatchMessageW(&message);
}

HWND ShownPane(const MainWindow& window) {
  if (window.layout.arrangement == kOutputArrangement) return window.output.list;
  return LoadedHives(window) != 0 ? window.controls.tree : window.handle;
}

const HiveImage& ShownHive(const MainWindow& window) { return HiveOfSlot(window.shown->slot); }

CommandFacts FactsNow(const MainWindow& window) {
  CommandFacts facts;
  facts.running = TheLongOperation().running != 0;
  facts.backup = TheLongOperation().backup;
  facts.expanding = IsExpanding(window);
  facts.hive = window.shown->slot >= 0;
  if (facts.hive) AddItemFacts(window, SelectedItem(window.shown->pane), facts);
  facts.branch = IsBranchSelected(window);
  // What can be done with a value is for those of the hive as it is shown.
  facts.value_record = window.selection.value != kNoOffset && window.selection.removed == nullptr;
  facts.value = facts.value_record && !IsDeletedRow(window.values.rows, SelectedRow(window.values));
  facts.key_record = facts.key_cell || SelectedFreedKey(window) != kNoOffset;
  facts.key_path = facts.key || SelectedFreedKey(window) != kNoOffset;
  facts.freed_in_tree = TheSettings().freed_in_tree;
  facts.edits = facts.hive && ShownHive(window).edits.any;
  facts.edited_value =
      facts.edits && facts.value && EditOf(ShownHive(window), window.selection.value) != nullptr;
  facts.value_rows = RowCount(window.values.rows) > 0;
  facts.row_selected = ListView_GetSelectedCount(window.values.window) > 0;
  facts.list_shown = window.layout.arrangement == kOutputArrangement;
  facts.list_rows = window.output.model != nullptr && ShownRowCount(window.output) > 0;
  facts.findable = facts.list_shown ? facts.list_rows : facts.hive;
  facts.recent_hives = static_cast<uint16_t>(TheSettings().histories.recent_files.size());
  facts.technical_view = window.view.technical;
  facts.cell_details = window.view.cell_details;
  facts.detail_pane = window.layout.detail_shown;
  facts.toolbar = TheSettings().toolbar;
  facts.colours_system = TheSettings().colours == ColourChoice::kSystem;
  facts.colours_light = TheSettings().colours == ColourChoice::kLight;
  facts.colours_dark = TheSettings().colours == ColourChoice::kDark;
  facts.bookmark_pane = window.bookmarks.shown;
  facts.bookmarks_below = window.bookmarks.below;
  facts.evidence = window.host.evidence;
  facts.comparing = window.comparing;
  if (facts.hive) AddLogFacts(window, facts);
  return facts;
}

void SetEvidenceMode(MainWindow& window, bool evidence) {
  if (window.host.evidence == evidence) return;
  window.host.evidence = evidence;
  const HMENU before = GetMenu(window.handle);
  const HMENU menu = MakeMainMenu(evidence);
  SetMenu(window.handle, menu);
  window.menus.recent = FindRecentMenu(menu);
  // A menu that was replaced is no longer the window's to destroy.
  DestroyMenu(before);
  UpdateToolbar(window);
  if (window.viewed->slot >= 0) RenewBand(window);
}

void RunCommand(MainWindow& window, uint32_t number) {
  const Command* command = FindCommand(Commands(), number);
  if (command == nullptr || !IsAvailable(*command, FactsNow(window))) return;
  window.on_command ? window.on_command(*command) : HandlerOf(command->number)(window);
}

}  // namespace hivequarry
