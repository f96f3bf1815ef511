#include "ui/hex/hex_edit.h"

#include <algorithm>
#include <utility>

#include "ui/draw/dpi.h"
#include "ui/frame/text.h"
#include "ui/frame/window_class.h"
#include "ui/hex/hex_window.h"

namespace hivequarry {
namespace {

// Width of the caret, room between lines and at the left edge.
constexpr int kInsertCaret = 2;  // pixels at 96 dpi
constexpr int kLineGap = 2;
constexpr int kMargin = 4;

HexWindow* WindowOf(HWND handle) {
  return reinterpret_cast<HexWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
}

// --- geometry ------------------------------------------------------------------------------------

// Cells of at least one pixel: layouts divide by them.
void MeasureFont(HexWindow& window) {
  const HDC dc = GetDC(window.handle);
  const HGDIOBJ old_font = SelectObject(dc, window.font);
  TEXTMETRICW metrics{};
  GetTextMetricsW(dc, &metrics);
  SelectObject(dc, old_font);
  ReleaseDC(window.handle, dc);
  window.view.layout.cell_width = std::max<int>(1, metrics.tmAveCharWidth);
  window.view.layout.line_height = std::max<int>(1, metrics.tmHeight) + Scale(kLineGap, window.dpi);
  window.view.layout.margin = Scale(kMargin, window.dpi);
}

// Of the fonts for the resolution the monospaced one is kept, the old one and all others are freed.
void SetFont(HexWindow& window) {
  Fonts fonts = MakeFonts(window.dpi);
  std::swap(window.font, fonts.fixed);
  FreeFonts(fonts);
  MeasureFont(window);
}

POINT CaretPoint(const HexWindow& window) {
  const HexLayout& layout = window.view.layout;
  const HexCaret caret = window.view.model.caret;
  const uint32_t line = caret.position / layout.per_line;
  const uint32_t index = caret.position % layout.per_line;
  const bool hex = window.view.side == HexSide::kHex;
  const int column =
      hex ? HexColumn(layout, index) + (caret.low ? 1 : 0) : TextColumn(layout, index);
  // Out of sight above the lines there are the titles.
  const bool above = line < window.view.top_line;
  return {ColumnLeft(layout, column),
          above ? -layout.line_height : LineTop(layout, line, window.view.top_line)};
}

void UpdateScrollBar(const HexWindow& window) {
  SCROLLINFO info{};
  info.cbSize = sizeof info;
  // The bar stays when it is not needed: its coming and going would change the bytes a line.
  info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
  info.nMax = static_cast<int>(LineCount(window.view.layout, ByteCount(window.view.model)) - 1);
  info.nPage = LinesInView(window.view.layout);
  info.nPos = static_cast<int>(window.view.top_line);
  SetScrollInfo(window.handle, SB_VERT, &info, TRUE);
}

// The caret is the system's, of which a thread has one: made with the focus, destroyed when that
// goes. Wide when typing overwrites, narrow when it inserts.
void UpdateCaret(HexWindow& window) {
  if (GetFocus() != window.handle) return;
  const int width =
      window.view.model.overwrite ? window.view.layout.cell_width : Scale(kInsertCaret, window.dpi);
  CreateCaret(window.handle, nullptr, width, window.view.layout.line_height);
  const POINT point = CaretPoint(window);
  SetCaretPos(point.x, point.y);
  ShowCaret(window.handle);
}

// After the number of bytes or lines has changed.
void UpdateView(HexWindow& window) {
  window.view.top_line = std::min(window.view.top_line, LastTopLine(window.view));
  UpdateScrollBar(window);
  UpdateCaret(window);
  InvalidateRect(window.handle, nullptr, FALSE);
}

// Lays everything out again; the first byte in view stays in the first line.
void UpdateLayout(HexWindow& window) {
  RECT area;
  GetClientRect(window.handle, &area);
  const uint32_t first_byte = window.view.top_line * window.view.layout.per_line;
  window.view.layout.width = area.right;
  window.view.layout.height = area.bottom;
  window.view.layout.file_positions = window.file_position != nullptr;
  FitBytesPerLine(window.view.layout);
  window.view.top_line = first_byte / window.view.layout.per_line;
  UpdateView(window);
}

// --- messages ------------------------------------------------------------------------------------

void ApplyDpi(HexWindow& window, uint32_t dpi) {
  // Texts may have another size at the same resolution.
  window.dpi = dpi;
  SetFont(window);
  UpdateLayout(window);
}

void OnFocus(HexWindow& window, bool focused) {
  if (!focused) DestroyCaret();
  UpdateView(window);
}

// Tab goes through both sides before it leaves.
LRESULT WantedKeys(const HexWindow& window, const MSG* message) {
  constexpr LRESULT kWanted = DLGC_WANTARROWS | DLGC_WANTCHARS;
  if (message == nullptr || message->message != WM_KEYDOWN || message->wParam != VK_TAB) {
    return kWanted;
  }
  const bool back = GetKeyState(VK_SHIFT) < 0;
  const bool leaves = (window.view.side == HexSide::kHex) == back;
  return leaves ? kWanted : kWanted | DLGC_WANTTAB;
}

void OnContextMenu(HexWindow& window, LPARAM point) {
  POINT at{GET_X_LPARAM(point), GET_Y_LPARAM(point)};
  if (point == -1) {  // from the keyboard
    at = CaretPoint(window);
    at.y = std::clamp(static_cast<int>(at.y), 0, window.view.layout.height) +
           window.view.layout.line_height;
    ClientToScreen(window.handle, &at);
  }
  ShowHexMenu(window, at);
}

void OnCreate(HexWindow& window) { ApplyDpi(window, DpiOfWindow(window.handle)); }

// Messages of mouse and timer. False for others.
bool OnPointerMessage(HexWindow& window, UINT message, WPARAM first, LPARAM second) {
  const POINT point{GET_X_LPARAM(second), GET_Y_LPARAM(second)};
  switch (message) {
    case WM_LBUTTONDOWN:
      OnHexButtonDown(window, point, (first & MK_SHIFT) != 0);
      return true;
    case WM_MOUSEMOVE:
      OnHexPointerMove(window, point);
      return true;
    case WM_LBUTTONUP:
    case WM_CAPTURECHANGED:
      EndHexDrag(window);
      return true;
    case WM_TIMER:
      OnHexDragTimer(window);
      return true;
    case WM_MOUSEWHEEL:
      OnHexWheel(window, GET_WHEEL_DELTA_WPARAM(first));
      return true;
    case WM_VSCROLL:
      OnHexScroll(window, LOWORD(first));
      return true;
    case WM_RBUTTONDOWN:
      SetFocus(window.handle);
      return true;
    default:
      return false;
  }
}

// The commands that other programs send to edit controls. False for other messages.
bool OnEditMessage(HexWindow& window, UINT message) {
  constexpr std::pair<UINT, HexCommand> kCommands[] = {{WM_COPY, HexCommand::kCopy},
                                                       {WM_CUT, HexCommand::kCut},
                                                       {WM_PASTE, HexCommand::kPaste},
                                                       {WM_CLEAR, HexCommand::kDelete},
                                                       {WM_UNDO, HexCommand::kUndo}};
  for (const auto& [number, command] : kCommands) {
    if (number != message) continue;
    RunHexCommand(window, command);
    return true;
  }
  return false;
}

LRESULT OnMessage(HexWindow& window, UINT message, WPARAM first, LPARAM second) {
  if (OnPointerMessage(window, message, first, second) || OnEditMessage(window, message)) return 0;
  switch (message) {
    case WM_CREATE:
      OnCreate(window);
      return 0;
    case WM_SIZE:
      UpdateLayout(window);
      return 0;
    case WM_PAINT:
      PaintHex(window);
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      OnFocus(window, message == WM_SETFOCUS);
      return 0;
    case WM_GETDLGCODE:
      return WantedKeys(window, reinterpret_cast<const MSG*>(second));
    case WM_KEYDOWN:
      if (OnHexKey(window, first)) return 0;
      break;
    case WM_CHAR:
      OnHexCharacter(window, static_cast<wchar_t>(first));
      return 0;
    case WM_CONTEXTMENU:
      OnContextMenu(window, second);
      return 0;
    case WM_SETCURSOR:
      if (LOWORD(second) != HTCLIENT) break;
      SetCursor(LoadCursorW(nullptr, IDC_IBEAM));
      return TRUE;
    case WM_DPICHANGED_AFTERPARENT:
      ApplyDpi(window, DpiOfWindow(window.handle));
      return 0;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
      InvalidateRect(window.handle, nullptr, FALSE);
      break;
    default:
      break;
  }
  return DefWindowProcW(window.handle, message, first, second);
}

void Destroy(HexWindow* window) {
  SetWindowLongPtrW(window->handle, GWLP_USERDATA, 0);
  DeleteObject(window->font);
  delete window;
}

// The control owns its record, from its first message to its last.
LRESULT CALLBACK HexProc(HWND handle, UINT message, WPARAM first, LPARAM second) {
  HexWindow* window = WindowOf(handle);
  if (message == WM_NCCREATE) {
    window = new HexWindow;
    window->handle = handle;
    SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(window));
  }
  if (window == nullptr) return DefWindowProcW(handle, message, first, second);
  if (message != WM_NCDESTROY) return OnMessage(*window, message, first, second);
  Destroy(window);
  return 0;
}

}  // namespace

bool RegisterHexClass(HINSTANCE instance) {
  return RegisterWindowClass(instance, {.name = kHexClassName, .procedure = HexProc});
}

void SetHexBytes(HWND hex, std::vector<uint8_t> bytes, FilePosition file_position) {
  HexWindow& window = *WindowOf(hex);
  ShowBytes(window.view, std::move(bytes));
  window.file_position = std::move(file_position);
  UpdateLayout(window);
}

void ShowHexBytes(HWND hex, std::vector<uint8_t> bytes, FilePosition file_position) {
  HexView& view = WindowOf(hex)->view;
  view.read_only = true;
  view.layout.widest = 16;
  SetHexBytes(hex, std::move(bytes), std::move(file_position));
}

std::span<const uint8_t> HexSaved(HWND hex) {
  const HexView& view = WindowOf(hex)->view;
  const HexRange range = SavedRange(view);
  return std::span<const uint8_t>(view.model.bytes).subspan(range.start, Length(range));
}

int HexWidthWanted(HWND hex) {
  const HexWindow& window = *WindowOf(hex);
  HexLayout layout = window.view.layout;
  layout.file_positions = true;
  return WidthOfLine(layout, 16) + layout.margin + GetSystemMetrics(SM_CXVSCROLL);
}

bool IsHexKey(HWND hex, const MSG& message) {
  if (message.message != WM_KEYDOWN || message.hwnd != hex) return false;
  const bool control = GetKeyState(VK_CONTROL) < 0 && GetKeyState(VK_MENU) >= 0;
  const bool shift = GetKeyState(VK_SHIFT) < 0;
  const HexCommandRow* row = HexCommandOfKey(static_cast<uint32_t>(message.wParam), control, shift);
  return row != nullptr && IsOffered(*row, WindowOf(hex)->view);
}

const HexBytes& HexBytesOf(HWND hex) { return WindowOf(hex)->view.model; }
HexSide ActiveHexSide(HWND hex) { return WindowOf(hex)->view.side; }
const wchar_t* HexRefusal(HWND hex) { return WindowOf(hex)->refusal; }
void SetHexDpi(HWND hex, uint32_t dpi) { ApplyDpi(*WindowOf(hex), dpi); }

void SetHexSelection(HWND hex, HexRange range) {
  HexWindow& window = *WindowOf(hex);
  SelectBytes(window.view.model, range);
  AfterHexMove(window);
}

std::optional<uint32_t> HexFilePosition(HWND hex, uint32_t position) {
  const HexWindow& window = *WindowOf(hex);
  if (window.file_position == nullptr) return std::nullopt;
  const uint32_t in_file = window.file_position(position);
  return in_file != kHexNoPosition ? std::optional(in_file) : std::nullopt;
}

void NotifyHexParent(const HexWindow& window, WORD code) {
  const auto identifier = static_cast<WORD>(GetDlgCtrlID(window.handle));
  SendMessageW(GetParent(window.handle), WM_COMMAND, MAKEWPARAM(identifier, code),
               reinterpret_cast<LPARAM>(window.handle));
}

void AfterHexMove(HexWindow& window, bool show) {
  if (show) ShowCaretLine(window.view);
  UpdateView(window);
  NotifyHexParent(window, kHexCaretMoved);
}

void AfterHex(HexWindow& window, const HexOutcome& outcome) {
  switch (outcome.effect) {
    case HexEffect::kNone:
      return;
    case HexEffect::kMoved:
      return AfterHexMove(window);
    case HexEffect::kChanged:
      ShowCaretLine(window.view);
      UpdateView(window);
      return NotifyHexParent(window, kHexChanged);
    case HexEffect::kModeChanged:
      UpdateCaret(window);
      return NotifyHexParent(window, kHexModeChanged);
    case HexEffect::kRefused:
      return RefuseHex(window, AsWide(outcome.refusal));
  }
}

void RefuseHex(HexWindow& window, const wchar_t* reason) {
  window.refusal = reason;
  MessageBeep(MB_OK);
  NotifyHexParent(window, kHexRefused);
}

void ScrollHexTo(HexWindow& window, int64_t line) {
  ScrollTo(window.view, line);
  UpdateView(window);
}

}  // namespace hivequarry
