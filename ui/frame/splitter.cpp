#include "ui/frame/splitter.h"

#include "ui/draw/tones.h"
#include "ui/draw/win.h"
#include "ui/frame/window_class.h"

namespace hivequarry {
namespace {

constexpr wchar_t kClassName[] = L"HivequarrySplitter";
// Pixels, at any resolution.
constexpr int kKeyStep = 16;

// The window's own long: bit 0 says vertical; the drag's start is in the extra bytes after.
constexpr int kStartIndex = 0;

bool IsVertical(HWND splitter) { return (GetWindowLongPtrW(splitter, GWLP_USERDATA) & 1) != 0; }

void Report(HWND splitter, int distance) {
  if (distance == 0) return;
  SendMessageW(GetParent(splitter), kSplitterMoved, static_cast<WPARAM>(GetDlgCtrlID(splitter)),
               distance);
}

int Along(HWND splitter, LPARAM point) {
  return IsVertical(splitter) ? GET_X_LPARAM(point) : GET_Y_LPARAM(point);
}

void OnKey(HWND splitter, WPARAM key) {
  const bool vertical = IsVertical(splitter);
  if (key == (vertical ? VK_LEFT : VK_UP)) Report(splitter, -kKeyStep);
  if (key == (vertical ? VK_RIGHT : VK_DOWN)) Report(splitter, kKeyStep);
}

void OnPaint(HWND splitter) {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(splitter, &paint);
  RECT area;
  GetClientRect(splitter, &area);
  const bool focused = GetFocus() == splitter;
  FillRect(dc, &area, BrushOf(focused ? Tone::kSelection : Tone::kFace));
  EndPaint(splitter, &paint);
}

void OnButtonDown(HWND splitter, LPARAM point) {
  SetCapture(splitter);
  SetWindowLongW(splitter, kStartIndex, Along(splitter, point));
}

void OnMove(HWND splitter, LPARAM point) {
  if (GetCapture() != splitter) return;
  // The bar follows, so the start stays where it is within the bar.
  Report(splitter, Along(splitter, point) - GetWindowLongW(splitter, kStartIndex));
}

LRESULT CALLBACK SplitterProc(HWND splitter, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_PAINT:
      OnPaint(splitter);
      return 0;
    case WM_LBUTTONDOWN:
      OnButtonDown(splitter, second);
      return 0;
    case WM_MOUSEMOVE:
      OnMove(splitter, second);
      return 0;
    case WM_LBUTTONUP:
      ReleaseCapture();
      return 0;
    case WM_KEYDOWN:
      OnKey(splitter, first);
      return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      InvalidateRect(splitter, nullptr, FALSE);
      return 0;
    case WM_SETCURSOR:
      SetCursor(LoadCursorW(nullptr, IsVertical(splitter) ? IDC_SIZEWE : IDC_SIZENS));
      return TRUE;
    default:
      return DefWindowProcW(splitter, message, first, second);
  }
}

}  // namespace

bool RegisterSplitterClass(HINSTANCE instance) {
  return RegisterWindowClass(
      instance, {.name = kClassName, .procedure = SplitterProc, .extra_bytes = sizeof(LONG)});
}

HWND MakeSplitter(HWND parent, int identifier, bool vertical, const wchar_t* name) {
  const HWND splitter =
      CreateWindowExW(0, kClassName, name, WS_CHILD | WS_TABSTOP, 0, 0, 0, 0, parent,
                      reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)), nullptr, nullptr);
  if (splitter != nullptr) SetSplitterVertical(splitter, vertical);
  return splitter;
}

void SetSplitterVertical(HWND splitter, bool vertical) {
  SetWindowLongPtrW(splitter, GWLP_USERDATA, vertical ? 1 : 0);
}

}  // namespace hivequarry
