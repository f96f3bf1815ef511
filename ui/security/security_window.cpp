#include "ui/security/security_window.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "app/settings.h"
#include "hive/file_place.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "security/descriptor.h"
#include "security/security_lists.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/help.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/frame/window_place.h"
#include "ui/main/main_window.h"
#include "ui/resources/resource.h"
#include "ui/security/account_lookup.h"

namespace hivequarry {
namespace {

// At 96 dpi, from the client area's edges.
constexpr int kTextLeft = 2;
constexpr int kTextRight = 110;
constexpr int kTextBottom = 4;
constexpr int kButtonsRight = 98;  // to their left edges
constexpr int kButtonWidth = 90;
constexpr int kButtonHeight = 26;
constexpr int kBoxHeight = 34;  // two lines, for fonts that are wide
// Where a button is, below the window's upper edge, at 96 dpi.
struct ButtonTop {
  int control;
  int top;
  int height;
};
constexpr ButtonTop kButtons[] = {{kSecurityCopy, 4, kButtonHeight},
                                  {IDCANCEL, 34, kButtonHeight},
                                  {kSecurityLocalAccounts, 64, kBoxHeight}};
constexpr int kLeastWidth = 280;
constexpr int kLeastHeight = 160;

// Goes with its window.
struct SecurityWindow {
  MainWindow* owner = nullptr;
  HWND dialog = nullptr;
  HFONT font = nullptr;
  uint32_t hive = 0;                      // whose record it is
  uint32_t record = 0;                    // image position
  std::shared_ptr<AccountLookup> lookup;  // of names on their way
};

// Posted when the names of the record's accounts are there.
constexpr UINT kNamesReady = WM_APP + 30;

// One for the process: windows by their slots, null for a free one.
struct SecurityWindows {
  std::array<SecurityWindow*, kSecurityWindows> slots{};
  RECT last_place{};  // of the window closed last; empty for none
  std::string report;
  HANDLE report_free = nullptr;  // a manual-reset event: nobody uses `report`
};
SecurityWindows& TheSecurityWindows() {
  static SecurityWindows windows;
  return windows;
}

// The report is one for all the windows; whoever uses it waits for his turn.
struct ReportTurn {
  ReportTurn() {
    HANDLE& free = TheSecurityWindows().report_free;
    if (free == nullptr) free = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    WaitForSingleObject(free, INFINITE);
    ResetEvent(free);
  }
  ~ReportTurn() { SetEvent(TheSecurityWindows().report_free); }
  ReportTurn(const ReportTurn&) = delete;
  ReportTurn& operator=(const ReportTurn&) = delete;
};

// --- the look ------------------------------------------------------------------------------------

void SetTextFont(SecurityWindow& window) {
  Fonts fonts = MakeFonts(DpiOfWindow(window.dialog));
  SendDlgItemMessageW(window.dialog, kSecurityText, WM_SETFONT,
                      reinterpret_cast<WPARAM>(fonts.fixed), TRUE);
  std::swap(window.font, fonts.fixed);
  FreeFonts(fonts);
}

void LayOut(HWND dialog) {
  const uint32_t dpi = DpiOfWindow(dialog);
  RECT client;
  GetClientRect(dialog, &client);
  const int left = Scale(kTextLeft, dpi);
  MoveWindow(GetDlgItem(dialog, kSecurityText), left, 0,
             std::max<int>(client.right - Scale(kTextRight, dpi) - left, 0),
             std::max<int>(client.bottom - Scale(kTextBottom, dpi), 0), TRUE);
  for (const ButtonTop& button : kButtons) {
    MoveWindow(GetDlgItem(dialog, button.control), client.right - Scale(kButtonsRight, dpi),
               Scale(button.top, dpi), Scale(kButtonWidth, dpi), Scale(button.height, dpi), TRUE);
  }
}

// Shared pictures, which nobody destroys.
void SetIcons(const SecurityWindow& window) {
  const auto* icon = MAKEINTRESOURCEW(kIconProgram);
  const HINSTANCE instance = window.owner->instance;
  const auto load = [&](int metric) {
    const int side = GetSystemMetrics(metric);
    return reinterpret_cast<LPARAM>(LoadImageW(instance, icon, IMAGE_ICON, side, side, LR_SHARED));
  };
  SendMessageW(window.dialog, WM_SETICON, ICON_BIG, load(SM_CXICON));
  SendMessageW(window.dialog, WM_SETICON, ICON_SMALL, load(SM_CXSMICON));
}

// --- where the window is ---------------------------------------------------------------------

// What the main window covers, also while it is minimised.
RECT MainArea(const MainWindow& window) {
  RECT area = NormalArea(window.handle);
  if (IsIconic(window.handle) == FALSE) GetWindowRect(window.handle, &area);
  return area;
}

// A window that would lie away from the main window is brought to its corner.
RECT BesideMain(const MainWindow& window, const RECT& area) {
  const RECT main = MainArea(window);
  RECT common;
  if (IntersectRect(&common, &area, &main) != FALSE) return area;
  return {main.left, main.top, main.left + area.right - area.left,
          main.top + area.bottom - area.top};
}

void MoveToPlace(const SecurityWindow& window) {
  RECT area = TheSecurityWindows().last_place;
  if (IsRectEmpty(&area) != FALSE) GetWindowRect(window.dialog, &area);
  MoveToArea(window.dialog, BesideMain(*window.owner, area));
}

// --- the record ----------------------------------------------------------------------------------

// False when the hive has gone, or has no such record any more.
bool FillText(const SecurityWindow& window, AccountNames& names) {
  // The window is about its own hive, whichever is viewed by now.
  const HiveTurn hive_turn(*window.owner, window.hive);
  if (window.owner->shown->slot < 0) return false;
  const HiveImage& hive = ShownHive(*window.owner);
  const ReportTurn turn;
  SecurityRecordInfo info;
  if (!ReadSecurityRecord(ImageBytes(hive), window.record, info)) return false;
  std::string& report = TheSecurityWindows().report;
  report = FormatSecurityRecord(ImageBytes(hive), info, PlaceOf(hive, info.position), names);
  SetDlgItemTextW(window.dialog, kSecurityText, WindowText(report).c_str());
  return true;
}

// At first with the names that are known without asking the machine.
bool ShowRecord(SecurityWindow& window) {
  auto lookup = std::make_shared<AccountLookup>();
  AccountNames known(TheSettings().options.resolve_sids, lookup->sids);
  if (!FillText(window, known)) return false;
  if (!lookup->sids.empty() && StartAccountLookup(lookup, window.dialog, kNamesReady)) {
    window.lookup = std::move(lookup);
  }
  return true;
}

// Names make no further lines, so the text stays where it was scrolled to.
void ShowNames(SecurityWindow& window) {
  if (window.lookup == nullptr || !window.lookup->done) return;
  const std::shared_ptr<AccountLookup> lookup = std::move(window.lookup);
  const HWND text = GetDlgItem(window.dialog, kSecurityText);
  const LRESULT line = SendMessageW(text, EM_GETFIRSTVISIBLELINE, 0, 0);
  FillText(window, lookup->names);
  SendMessageW(text, EM_LINESCROLL, 0, line);
}

// What the control shows at that moment.
void CopyReport(HWND dialog) {
  const ReportTurn turn;
  std::string& report = TheSecurityWindows().report;
  report = ControlText(dialog, kSecurityText);
  CopyText(dialog, WindowText(report));
}

// --- messages ------------------------------------------------------------------------------------

// The window before all others of the program, but for the one that goes.
HWND TopmostBut(HWND closing) {
  constexpr int kMostWindows = 10000;  // others come and go meanwhile
  HWND at = GetTopWindow(nullptr);
  for (int i = 0; at != nullptr && i < kMostWindows; ++i, at = GetWindow(at, GW_HWNDNEXT)) {
    const bool ours = GetWindowThreadProcessId(at, nullptr) == GetCurrentThreadId();
    if (ours && at != closing && IsWindowVisible(at) != FALSE && IsIconic(at) == FALSE &&
        IsWindowEnabled(at) != FALSE && (GetWindowLongW(at, GWL_STYLE) & WS_CAPTION) != 0) {
      return at;
    }
  }
  return nullptr;
}

// The next window is brought forward by hand: the system might choose one of another program.
void OnClose(HWND dialog) {
  TheSecurityWindows().last_place = NormalArea(dialog);
  TheSettings().options.resolve_sids = IsTicked(dialog, kSecurityLocalAccounts);
  // Looked for while the window is there: once it has gone the system has chosen already.
  const HWND next = TopmostBut(dialog);
  DestroyWindow(dialog);
  if (next != nullptr) SetForegroundWindow(next);
}

INT_PTR OnStart(SecurityWindow& window) {
  SetIcons(window);
  SetTextFont(window);
  SendDlgItemMessageW(window.dialog, kSecurityText, EM_SETLIMITTEXT, 0, 0);
  CheckDlgButton(window.dialog, kSecurityLocalAccounts,
                 TheSettings().options.resolve_sids ? BST_CHECKED : BST_UNCHECKED);
  MoveToPlace(window);
  LayOut(window.dialog);
  return FALSE;
}

void OnMinMax(HWND dialog, MINMAXINFO& bounds) {
  const uint32_t dpi = DpiOfWindow(dialog);
  bounds.ptMinTrackSize = {Scale(kLeastWidth, dpi), Scale(kLeastHeight, dpi)};
}

// Its slot is free again.
void FreeWindow(SecurityWindow* window) {
  auto& slots = TheSecurityWindows().slots;
  std::replace(slots.begin(), slots.end(), window, static_cast<SecurityWindow*>(nullptr));
  SetWindowLongPtrW(window->dialog, DWLP_USER, 0);
  DeleteObject(window->font);
  delete window;
}

INT_PTR Route(SecurityWindow& window, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_COMMAND:
      if (LOWORD(first) == kSecurityCopy) CopyReport(window.dialog);
      if (LOWORD(first) == IDCANCEL) OnClose(window.dialog);
      return TRUE;
    case WM_SIZE:
      if (first != SIZE_MINIMIZED) LayOut(window.dialog);
      return TRUE;
    case WM_GETMINMAXINFO:
      OnMinMax(window.dialog, *reinterpret_cast<MINMAXINFO*>(second));
      return TRUE;
    case WM_HELP:
      ShowHelp(window.dialog, kHelpSecurity);
      return TRUE;
    case WM_DPICHANGED:
      PostMessageW(window.dialog, kDialogFontChanged, 0, 0);  // the fonts come after this
      return FALSE;
    case kDialogFontChanged:
      SetTextFont(window);
      LayOut(window.dialog);
      return TRUE;
    case kNamesReady:
      ShowNames(window);
      return TRUE;
    case WM_NCDESTROY:
      FreeWindow(&window);
      return TRUE;
    default:
      return FALSE;
  }
}

constexpr DLGPROC kProcedure = RecordDialogProc<SecurityWindow, OnStart, Route>;

// The record goes with its dialog.
SecurityWindow* MakeWindow(MainWindow& owner, SecurityWindow*& slot) {
  slot = new SecurityWindow;
  slot->owner = &owner;
  const HWND dialog = MakeDialogBox(owner.instance, L"SECURITYDLG", nullptr, kProcedure,
                                    reinterpret_cast<LPARAM>(slot));
  if (dialog != nullptr) return slot;
  delete slot;
  slot = nullptr;
  ShowMessage("Can not create window !", kProgramName, Icon::kExclamation);
  return nullptr;
}

void Show(const SecurityWindow& window) {
  const HWND text = GetDlgItem(window.dialog, kSecurityText);
  SendMessageW(text, EM_SETSEL, 0, 0);
  ShowWindow(window.dialog, SW_SHOW);
  SetFocus(text);
}

}  // namespace

HWND OpenSecurityWindow(MainWindow& window, uint32_t record) {
  if (window.shown->slot < 0 || TheLongOperation().running != 0) return nullptr;
  auto& slots = TheSecurityWindows().slots;
  const auto slot = std::find(slots.begin(), slots.end(), nullptr);
  if (slot == slots.end()) {
    BeepAtUser();
    return nullptr;
  }
  SecurityWindow* made = MakeWindow(window, *slot);
  if (made == nullptr) return nullptr;
  made->hive = window.shown->number;
  made->record = record;
  const HWND dialog = made->dialog;
  if (ShowRecord(*made)) {
    Show(*made);
    return dialog;
  }
  TellInvalidRecord(window, record);
  DestroyWindow(dialog);
  return nullptr;
}

void TellInvalidRecord(const MainWindow& window, uint32_t record) {
  const std::string text = InvalidRecordText(ShownHive(window), record);
  ShowMessage(text.c_str(), kProgramName, Icon::kExclamation);
}

// A text of several lines keeps Esc for itself.
bool TranslateSecurityKeys(MSG& message) {
  const HWND root = GetAncestor(message.hwnd, GA_ROOT);
  const auto& slots = TheSecurityWindows().slots;
  const bool ours = root != nullptr &&
                    std::any_of(slots.begin(), slots.end(), [root](const SecurityWindow* window) {
                      return window != nullptr && window->dialog == root;
                    });
  if (!ours) return false;
  if (message.message == WM_KEYDOWN && message.wParam == VK_ESCAPE) {
    PostMessageW(root, WM_COMMAND, IDCANCEL, 0);
    return true;
  }
  return IsDialogMessageW(root, &message) != FALSE;
}

void CloseSecurityWindows() {
  SecurityWindows& windows = TheSecurityWindows();
  for (const SecurityWindow* window : windows.slots) {
    if (window != nullptr) DestroyWindow(window->dialog);
  }
  // The next window makes another event.
  if (windows.report_free != nullptr) CloseHandle(windows.report_free);
  windows = SecurityWindows();
}

}  // namespace hivequarry
