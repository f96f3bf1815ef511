#include "ui/main_window.h"

#include <algorithm>

#include "host/long_operation.h"
#include "ui/empty_view.h"
#include "ui/resource.h"
#include "ui/splitter.h"
#include "ui/text.h"
#include "ui/win.h"

namespace hivequarry {
namespace {

constexpr wchar_t kClassName[] = L"Hivequarry";
constexpr int kDefaultWidth = 1120;  // at 96 dpi
constexpr int kDefaultHeight = 720;
constexpr int kLeastWidth = 480;
constexpr int kLeastHeight = 320;

HWND MakeEdit(const MainWindow& window, ChildId identifier, DWORD style) {
  return CreateWindowExW(0, WC_EDITW, L"", WS_CHILD | WS_TABSTOP | ES_READONLY | style, 0, 0, 0, 0,
                         window.handle, reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)),
                         window.instance, nullptr);
}

bool MakeChildren(MainWindow& window) {
  window.toolbar = MakeToolbar(window);
  if (window.toolbar == nullptr) {
    ShowMessage("Toolbar not created!", kProgramName, Icon::kExclamation);
    return false;
  }
  window.path = MakeEdit(window, kPathId, ES_MULTILINE | ES_AUTOHSCROLL | WS_BORDER);
  window.tree.window = MakeTreePane(window.handle, kTreeId);
  window.tree_splitter = MakeSplitter(window.handle, kTreeSplitterId, true);
  window.values.window = MakeValuePane(window.handle, kValuesId, window.dpi);
  window.detail_splitter = MakeSplitter(window.handle, kDetailSplitterId, false);
  window.detail.window = MakeEdit(window, kDetailId, ES_MULTILINE | ES_NOHIDESEL | WS_VSCROLL);
  window.empty = MakeEmptyView(window.handle, kEmptyId);
  window.status = MakeStatusBar(window);
  for (const HWND child : {window.path, window.tree.window, window.tree_splitter,
                           window.values.window, window.detail_splitter, window.detail.window,
                           window.empty, window.status, window.progress}) {
    if (child == nullptr) return false;
  }
  SendMessageW(window.detail.window, EM_SETLIMITTEXT, 0, 0);
  return true;
}

bool OnCreate(MainWindow& window) {
  window.dpi = DpiOfWindow(window.handle);
  StartHostWindow(window.host, window.handle);
  SetHost(MakeWindowHost(window.host));
  if (!MakeChildren(window)) return false;
  window.accelerators = MakeAccelerators();
  RefreshLook(window);
  ShowPanes(window);
  UpdateToolbar(window);
  DragAcceptFiles(window.handle, TRUE);
  return true;
}

void OnDestroy(MainWindow& window) {
  EndWorkers(window);
  ClearTree(window.tree);
  ClearValues(window.values);
  window.slot = -1;
  window.key_tree = nullptr;
  ResetHiveTable();
  PostQuitMessage(0);
}

// The children are gone by now, so nobody uses fonts and pictures any more.
void FreeMainWindow(MainWindow* window) {
  SetWindowLongPtrW(window->handle, GWLP_USERDATA, 0);
  SetHost(NullHost());
  FreeFonts(window->fonts);
  FreeIconLists(window->icons);
  DestroyAcceleratorTable(window->accelerators);
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
    OpenNamedFile(window, Utf8Name(name.c_str()), 0, 0);
  }
  DragFinish(drop);
}

void OnDpiChanged(MainWindow& window, WPARAM dpi, const RECT& place) {
  ApplyDpi(window, HIWORD(dpi));
  SetWindowPos(window.handle, nullptr, place.left, place.top, place.right - place.left,
               place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
}

void OnSize(MainWindow& window, WPARAM how) {
  if (how != SIZE_MINIMIZED && window.status != nullptr) LayOut(window);
}

void OnMinMax(const MainWindow& window, MINMAXINFO& info) {
  info.ptMinTrackSize = {Scale(kLeastWidth, window.dpi), Scale(kLeastHeight, window.dpi)};
}

// An hourglass with the arrow: the window goes on answering while a worker is at work.
bool OnSetCursor(const MainWindow& window, LPARAM where) {
  if (window.host.wait_cursors <= 0 || LOWORD(where) != HTCLIENT) return false;
  SetCursor(LoadCursorW(nullptr, IDC_APPSTARTING));
  return true;
}

// The colours of a read-only edit are those of a disabled one; texts to be read have their own.
LRESULT OnEditColour(WPARAM dc) {
  const HDC device = reinterpret_cast<HDC>(dc);
  SetTextColor(device, GetSysColor(COLOR_WINDOWTEXT));
  SetBkColor(device, GetSysColor(COLOR_WINDOW));
  return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
}

void OnSystemChange(MainWindow& window, UINT message, WPARAM first, LPARAM second) {
  for (const HWND child :
       {window.toolbar, window.tree.window, window.values.window, window.status, window.progress}) {
    SendMessageW(child, message, first, second);
  }
  RefreshLook(window);
  LayOut(window);
  InvalidateRect(window.empty, nullptr, FALSE);
}

// The pane that had the focus gets it back.
void OnActivate(MainWindow& window, WPARAM how) {
  if (LOWORD(how) == WA_INACTIVE) {
    const HWND focus = GetFocus();
    if (IsChild(window.handle, focus) != FALSE) window.last_focus = focus;
  } else if (window.slot >= 0) {
    const HWND last = window.last_focus;
    const bool usable = last != nullptr && IsWindowVisible(last) != FALSE;
    SetFocus(usable ? last : window.tree.window);
  } else {
    SetFocus(window.handle);
  }
}

LRESULT Route(MainWindow& window, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_CREATE:
      return OnCreate(window) ? 0 : -1;
    case WM_SIZE:
      OnSize(window, first);
      return 0;
    case WM_GETMINMAXINFO:
      OnMinMax(window, *reinterpret_cast<MINMAXINFO*>(second));
      return 0;
    case WM_COMMAND:
      RunCommand(window, LOWORD(first));
      return 0;
    case WM_NOTIFY:
      return OnNotify(window, *reinterpret_cast<const NMHDR*>(second));
    case WM_INITMENUPOPUP:
      UpdateMenu(reinterpret_cast<HMENU>(first), FactsNow(window));
      return 0;
    case WM_CONTEXTMENU:
      OnContextMenu(window, reinterpret_cast<HWND>(first),
                    {GET_X_LPARAM(second), GET_Y_LPARAM(second)});
      return 0;
    case WM_DROPFILES:
      OnDrop(window, reinterpret_cast<HDROP>(first));
      return 0;
    case WM_DPICHANGED:
      OnDpiChanged(window, first, *reinterpret_cast<const RECT*>(second));
      return 0;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
    case WM_SETTINGCHANGE:
      OnSystemChange(window, message, first, second);
      return 0;
    case WM_CTLCOLORSTATIC:
      return OnEditColour(first);
    case WM_ACTIVATE:
      OnActivate(window, first);
      return 0;
    case WM_TIMER:
      OnTimer(window, first);
      return 0;
    case kSplitterMoved:
      MoveSplitter(window, static_cast<int>(first), static_cast<int>(second));
      return 0;
    case kHostChanged:
      TakeHostChanges(window);
      return 0;
    case kShowBox:
      ShowBox(window.host, *reinterpret_cast<BoxRequest*>(second));
      return 0;
    case kLoadDone:
      TakeLoadResult(window);
      return 0;
    case kItemReady:
      TakeItemResult(window);
      return 0;
    case kDetailReady:
      TakeDetailResult(window);
      return 0;
    case WM_CLOSE:
      OnClose(window);
      return 0;
    case WM_DESTROY:
      OnDestroy(window);
      return 0;
    default:
      return DefWindowProcW(window.handle, message, first, second);
  }
}

LRESULT CALLBACK MainProc(HWND handle, UINT message, WPARAM first, LPARAM second) {
  auto* window = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
  if (message == WM_NCCREATE) {
    const auto* create = reinterpret_cast<const CREATESTRUCTW*>(second);
    window = static_cast<MainWindow*>(create->lpCreateParams);
    window->handle = handle;
    SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(window));
  }
  if (window == nullptr) return DefWindowProcW(handle, message, first, second);
  if (message == WM_NCDESTROY) {
    FreeMainWindow(window);
    return 0;
  }
  if (message == WM_SETCURSOR && OnSetCursor(*window, second)) return TRUE;
  return Route(*window, message, first, second);
}

bool RegisterMainClass(HINSTANCE instance) {
  WNDCLASSEXW info{};
  info.cbSize = sizeof info;
  info.lpfnWndProc = MainProc;
  info.hInstance = instance;
  info.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(kIconProgram));
  info.hIconSm = static_cast<HICON>(LoadImageW(instance, MAKEINTRESOURCEW(kIconProgram), IMAGE_ICON,
                                               GetSystemMetrics(SM_CXSMICON),
                                               GetSystemMetrics(SM_CYSMICON), LR_SHARED));
  info.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  info.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_BTNFACE + 1));
  info.lpszClassName = kClassName;
  return RegisterClassExW(&info) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

// The default size at the window's own resolution, as far as the screen has room for it.
void SetDefaultSize(MainWindow& window) {
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromWindow(window.handle, MONITOR_DEFAULTTONEAREST), &monitor);
  const RECT& work = monitor.rcWork;
  const int width = std::min<int>(Scale(kDefaultWidth, window.dpi), work.right - work.left);
  const int height = std::min<int>(Scale(kDefaultHeight, window.dpi), work.bottom - work.top);
  SetWindowPos(window.handle, nullptr, work.left + (work.right - work.left - width) / 2,
               work.top + (work.bottom - work.top - height) / 2, width, height,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

HWND MakeHandle(MainWindow* window) {
  return CreateWindowExW(WS_EX_ACCEPTFILES, kClassName, L"Hivequarry",
                         WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT, 0, CW_USEDEFAULT, 0,
                         nullptr, MakeMainMenu(), window->instance, window);
}

}  // namespace

MainWindow* CreateMainWindow(HINSTANCE instance, int show) {
  if (!RegisterMainClass(instance) || !RegisterSplitterClass(instance) ||
      !RegisterEmptyViewClass(instance)) {
    MessageBoxW(nullptr, L"Can not create window !", L"Hivequarry", MB_ICONEXCLAMATION);
    return nullptr;
  }
  auto* window = new MainWindow;  // goes with its handle
  window->instance = instance;
  if (MakeHandle(window) == nullptr) {
    MessageBoxW(nullptr, L"Could not create window !\n (Try delete .ini)", L"Hivequarry",
                MB_ICONEXCLAMATION);
    return nullptr;
  }
  SetDefaultSize(*window);
  ShowWindow(window->handle, show);
  UpdateWindow(window->handle);
  return window;
}

MainWindow* FindMainWindow(HWND handle) {
  if (GetClassLongPtrW(handle, GCLP_WNDPROC) != reinterpret_cast<ULONG_PTR>(MainProc)) {
    return nullptr;
  }
  return reinterpret_cast<MainWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
}

void HandleMessage(HWND handle, MSG& message) {
  MainWindow* window = FindMainWindow(handle);
  const bool ours =
      window != nullptr && (message.hwnd == handle || IsChild(handle, message.hwnd) != FALSE);
  if (ours && TranslateAcceleratorW(handle, window->accelerators, &message) != 0) return;
  if (ours && message.message == WM_KEYDOWN && message.wParam == VK_TAB &&
      GetKeyState(VK_CONTROL) >= 0) {
    FocusNextPane(*window, GetKeyState(VK_SHIFT) < 0);
    return;
  }
  TranslateMessage(&message);
  DispatchMessageW(&message);
}

const HiveImage& ShownHive(const MainWindow& window) {
  return TheHiveTable().slots[static_cast<size_t>(window.slot)];
}

CommandFacts FactsNow(const MainWindow& window) {
  CommandFacts facts;
  facts.running = TheLongOperation().running != 0;
  facts.backup = TheLongOperation().backup;
  facts.hive = window.slot >= 0;
  const uint32_t item = facts.hive ? SelectedItem(window.tree) : kNoItem;
  facts.item = item != kNoItem;
  facts.branch = facts.item && HasChildren(*window.key_tree, item);
  facts.key = facts.item && item != window.key_tree->disconnected_keys &&
              item != window.key_tree->disconnected_values;
  facts.value = window.shown_value != kNoOffset;
  facts.technical_view = window.view.technical;
  facts.cell_details = window.view.cell_details;
  facts.detail_pane = window.detail_shown;
  return facts;
}

void RunCommand(MainWindow& window, uint32_t number) {
  const Command* command = FindCommand(Commands(), number);
  if (command == nullptr || !IsAvailable(*command, FactsNow(window))) return;
  window.on_command ? window.on_command(*command) : command->handler(window);
}

}  // namespace hivequarry
