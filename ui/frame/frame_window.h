// What the program's top-level windows have in common: a record that goes with the window, and the
// messages that the system sends to each of them.
#pragma once

#include "ui/draw/dpi.h"
#include "ui/draw/win.h"
#include "ui/frame/host_window.h"
#include "ui/frame/window_class.h"

namespace hivequarry {

// What differs. `Window` is the record: it has members `dpi` and `last_focus`.
template <typename Window>
struct FrameRoutes {
  SIZE least;                         // of the window, at 96 dpi
  void (*set_handle)(Window&, HWND);  // before any other message
  bool (*create)(Window&);            // makes the children; false: no window
  void (*lay_out)(Window&);           // may come before the children are there
  // `area`: where the system suggests the window to be, in pixels of the new resolution.
  void (*change_dpi)(Window&, uint32_t dpi, const RECT& area);
  // Colours, theme or other settings of the system, which the children are told too.
  void (*change_look)(Window&, UINT message, WPARAM first, LPARAM second);
  HWND (*pane)(const Window&);  // that has the focus when none had it before
  const HostWindow& (*host)(const Window&);
  void (*close)(Window&);  // WM_CLOSE: the window goes only if this destroys it
  void (*free)(Window*);   // the last call, when the children are gone
  LRESULT (*others)(Window&, UINT message, WPARAM first, LPARAM second);
};

// The pane that had the focus gets it back.
template <typename Window>
void KeepFocus(Window& window, HWND handle, bool active, HWND pane) {
  if (!active) {
    const HWND focus = GetFocus();
    if (IsChild(handle, focus) != FALSE) window.last_focus = focus;
  } else {
    const HWND last = window.last_focus;
    const bool usable = last != nullptr && IsWindowVisible(last) != FALSE;
    SetFocus(usable ? last : pane);
  }
}

// An hourglass with the arrow: the window goes on answering while a worker is at work.
inline bool ShowsWaitCursor(const HostWindow& host, LPARAM where) {
  if (host.wait_cursors <= 0 || LOWORD(where) != HTCLIENT) return false;
  SetCursor(LoadCursorW(nullptr, IDC_APPSTARTING));
  return true;
}

// The record is given to CreateWindowEx as its parameter and belongs to the window from then on.
template <typename Window, const FrameRoutes<Window>& kRoutes>
LRESULT CALLBACK FrameProc(HWND handle, UINT message, WPARAM first, LPARAM second) {
  auto* window = RecordOfWindow<Window>(handle, message, second);
  // Before WM_NCCREATE, as WM_GETMINMAXINFO is, and after WM_NCDESTROY there is no record.
  if (window == nullptr) return DefWindowProcW(handle, message, first, second);
  switch (message) {
    case WM_NCCREATE:
      kRoutes.set_handle(*window, handle);
      break;
    case WM_CREATE:
      return kRoutes.create(*window) ? 0 : -1;
    case WM_SIZE:
      if (first != SIZE_MINIMIZED) kRoutes.lay_out(*window);
      return 0;
    case WM_GETMINMAXINFO:
      reinterpret_cast<MINMAXINFO*>(second)->ptMinTrackSize = {
          Scale(kRoutes.least.cx, window->dpi), Scale(kRoutes.least.cy, window->dpi)};
      return 0;
    case WM_DPICHANGED:
      kRoutes.change_dpi(*window, HIWORD(first), *reinterpret_cast<const RECT*>(second));
      return 0;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
    case WM_SETTINGCHANGE:
      kRoutes.change_look(*window, message, first, second);
      return 0;
    case WM_ACTIVATE:
      KeepFocus(*window, handle, LOWORD(first) != WA_INACTIVE, kRoutes.pane(*window));
      return 0;
    case WM_SETCURSOR:
      if (ShowsWaitCursor(kRoutes.host(*window), second)) return TRUE;
      break;
    case WM_CLOSE:
      kRoutes.close(*window);
      return 0;
    case WM_NCDESTROY:
      // First: what comes while the record is freed must not find it.
      SetWindowLongPtrW(handle, GWLP_USERDATA, 0);
      kRoutes.free(window);
      return 0;
    default:
      break;
  }
  return kRoutes.others(*window, message, first, second);
}

}  // namespace hivequarry
