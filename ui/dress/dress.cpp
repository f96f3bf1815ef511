// A hook of the thread sees each window before its first message and puts DressProc before its
// procedure. While dark is in force the window's kind (dress_kinds.h) is asked first about each
// message; else the window answers as ever. What a control keeps itself, a theme or a colour, is
// set by put_on whenever the colours change.
#include "ui/dress/dress.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <unordered_map>

#include "ui/draw/tones.h"
#include "ui/dress/dress_kinds.h"
#include "ui/dress/menu_dress.h"
#include "ui/dress/system_dark.h"

namespace hivequarry {
namespace {

constexpr wchar_t kDialogClass[] = L"#32770";

constexpr DressKind kKinds[] = {
    {WC_BUTTONW, nullptr, RouteButton},         {WC_STATICW, nullptr, RouteLabel},
    {WC_EDITW, PutOnField, RouteField},         {WC_LISTBOXW, PutOnField, RouteField},
    {WC_COMBOBOXW, PutOnChoice, RouteChoice},   {WC_TREEVIEWW, PutOnTree, RouteField},
    {WC_LISTVIEWW, PutOnList, RouteField},      {WC_HEADERW, nullptr, RouteHeader},
    {TOOLBARCLASSNAMEW, nullptr, RouteToolbar}, {STATUSCLASSNAMEW, nullptr, RouteStatusBar},
    {PROGRESS_CLASSW, nullptr, RouteProgress},  {TOOLTIPS_CLASSW, PutOnTip, nullptr},
};
constexpr DressKind kFrame = {nullptr, PutOnFrame, RouteFrame};

// What a window was before it was dressed.
struct DressedWindow {
  const DressKind* kind;
  WNDPROC before;  // the window's own procedure
};

// The windows of this thread that are dressed. A tree that is filled gets millions of messages, and
// asking the system for what is known of a window, as the subclasses of the common controls do,
// costs more than most of those.
std::unordered_map<HWND, DressedWindow>& TheDressed() {
  static thread_local std::unordered_map<HWND, DressedWindow> windows;
  return windows;
}

void PutOn(HWND window, const DressKind& kind) {
  if (kind.put_on != nullptr) kind.put_on(window, IsDark());
}

void DressMenu(HMENU menu) { SetOwnDrawn(menu, IsDark()); }

bool TellsOfColours(UINT message) {
  return message == WM_SYSCOLORCHANGE || message == WM_SETTINGCHANGE || message == WM_THEMECHANGED;
}

LRESULT CALLBACK DressProc(HWND window, UINT message, WPARAM first, LPARAM second) {
  const auto found = TheDressed().find(window);
  if (found == TheDressed().end()) return DefWindowProcW(window, message, first, second);
  const DressKind& kind = *found->second.kind;
  if (message == WM_NCDESTROY) {
    const WNDPROC before = found->second.before;
    TheDressed().erase(found);
    return CallWindowProcW(before, window, message, first, second);
  }
  // All windows are told of a change. The first one that is finds other colours and dresses all of
  // them; for the others nothing is new by then.
  if (TellsOfColours(message) && RenewColours()) RedressWindows();
  // The bar is measured with the frame, so its items are made ours, or given back, before that.
  if (kind.name == nullptr && message == WM_NCCALCSIZE) DressMenuBar(window);
  LRESULT answer = 0;
  if (IsDark() && (RouteMenus(window, message, first, second, answer) ||
                   (kind.route != nullptr && kind.route(window, message, first, second, answer)))) {
    return answer;
  }
  answer = Undressed(window, message, first, second);
  // Controls go back to the system's colours when they are told of those.
  if (message == WM_CREATE || message == WM_SYSCOLORCHANGE) PutOn(window, kind);
  // The menu of the title bar is the system's.
  if (message == WM_INITMENUPOPUP && HIWORD(second) == 0) DressMenu(reinterpret_cast<HMENU>(first));
  return answer;
}

bool IsClass(HWND window, const wchar_t* wanted) {
  std::array<wchar_t, 64> name{};
  GetClassNameW(window, name.data(), static_cast<int>(name.size()));
  return lstrcmpiW(name.data(), wanted) == 0;
}

// That of frames and panes for a class that has none of its own.
const DressKind& KindOfClass(HWND window) {
  const auto* found = std::ranges::find_if(
      kKinds, [window](const DressKind& kind) { return IsClass(window, kind.name); });
  return found != std::end(kKinds) ? *found : kFrame;
}

bool IsDressed(HWND window) { return TheDressed().contains(window); }

// Message boxes are the system's own dialogs, or nobody's.
bool IsOwnFrame(HWND window, const CREATESTRUCTW& made) {
  if (made.hInstance == GetModuleHandleW(nullptr)) return true;
  const bool of_system =
      made.hInstance == nullptr || made.hInstance == GetModuleHandleW(L"user32.dll");
  return of_system && IsClass(window, kDialogClass);
}

// A child of a dressed window, a tooltip for one, or a window of the program itself; not what the
// system puts into its own dialogs.
bool IsOurs(HWND window, const CREATESTRUCTW& made) {
  if ((made.style & WS_CHILD) != 0) return IsDressed(made.hwndParent);
  if (IsClass(window, TOOLTIPS_CLASSW)) {
    return made.hwndParent != nullptr && IsDressed(GetAncestor(made.hwndParent, GA_ROOT));
  }
  return IsOwnFrame(window, made);
}

// A hook of this thread: a window is taken over before WM_NCCREATE.
LRESULT CALLBACK OnWindowMade(int code, WPARAM first, LPARAM second) {
  if (code == HCBT_CREATEWND) {
    const HWND window = reinterpret_cast<HWND>(first);
    const CREATESTRUCTW& made = *reinterpret_cast<CBT_CREATEWNDW*>(second)->lpcs;
    if (IsOurs(window, made)) {
      const DressKind& kind = KindOfClass(window);
      const auto before = reinterpret_cast<WNDPROC>(
          SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(DressProc)));
      TheDressed()[window] = {&kind, before};
    }
  }
  return CallNextHookEx(nullptr, code, first, second);
}

// Being told, it is given the colours in force, and makes anew what it had made for others.
BOOL CALLBACK Redress(HWND window, LPARAM) {
  if (IsDressed(window)) SendMessageW(window, WM_SYSCOLORCHANGE, 0, 0);
  return TRUE;
}

// The children before their frame; then all is drawn anew, title bar included.
BOOL CALLBACK RedressFrame(HWND window, LPARAM) {
  if (!IsDressed(window)) return TRUE;
  EnumChildWindows(window, Redress, 0);
  Redress(window, 0);
  constexpr UINT kOnlyFrame = SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE;
  SetWindowPos(window, nullptr, 0, 0, 0, 0, kOnlyFrame | SWP_FRAMECHANGED);
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
  return TRUE;
}

}  // namespace

LRESULT Undressed(HWND window, UINT message, WPARAM first, LPARAM second) {
  const auto found = TheDressed().find(window);
  if (found == TheDressed().end()) return DefWindowProcW(window, message, first, second);
  return CallWindowProcW(found->second.before, window, message, first, second);
}

void StartDressing() {
  // One hook for each thread that asks; it goes with the thread.
  static thread_local const HHOOK hook =
      SetWindowsHookExW(WH_CBT, OnWindowMade, nullptr, GetCurrentThreadId());
  static_cast<void>(hook);
  RenewColours();
  SetDarkProgram(IsDark());
}

void RedressWindows() {
  SetDarkProgram(IsDark());
  EnumThreadWindows(GetCurrentThreadId(), RedressFrame, 0);
}

int ChooseFromMenu(HMENU menu, HWND owner, POINT where) {
  DressMenu(menu);
  const int chosen = TrackPopupMenu(menu, TPM_RIGHTBUTTON | TPM_RETURNCMD | TPM_NONOTIFY, where.x,
                                    where.y, 0, owner, nullptr);
  DestroyMenu(menu);
  return chosen;
}

}  // namespace hivequarry
