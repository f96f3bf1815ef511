#include "ui/main/empty_view.h"

#include <string>

#include "ui/draw/tones.h"
#include "ui/draw/win.h"
#include "ui/frame/text.h"
#include "ui/frame/window_class.h"
#include "ui/main/main_window.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

constexpr wchar_t kClassName[] = L"HivequarryEmpty";
constexpr int kPictureSize = 64;  // at 96 dpi
constexpr int kGap = 16;

struct EmptyTexts {
  std::wstring title;
  std::wstring hint;
};

// While a hive is being loaded its name and how far that is, else how to open one.
EmptyTexts TextsFor(MainWindow& window) {
  if (!window.load.thread.joinable()) {
    return {L"Open a registry hive", L"Drop a hive file here, or press Ctrl+O."};
  }
  const std::lock_guard lock(window.host.mutex);
  return {WideName(BaseName(window.load.origin.file)), window.host.status};
}

// Returns where the next line begins.
int DrawLine(HDC dc, const RECT& area, int top, const std::wstring& text, HFONT font,
             COLORREF colour) {
  const HGDIOBJ previous = SelectObject(dc, font);
  SetTextColor(dc, colour);
  RECT line{area.left, top, area.right, area.bottom};
  const int height = DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &line,
                               DT_CENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS | DT_TOP);
  SelectObject(dc, previous);
  return top + height;
}

void DrawPicture(const MainWindow& window, HDC dc, int x, int y, int size) {
  const auto icon = static_cast<HICON>(LoadImageW(window.instance, MAKEINTRESOURCEW(kIconProgram),
                                                  IMAGE_ICON, size, size, LR_DEFAULTCOLOR));
  if (icon == nullptr) return;
  DrawIconEx(dc, x, y, icon, size, size, 0, nullptr, DI_NORMAL);
  DestroyIcon(icon);
}

// A little above the middle.
void Draw(MainWindow& window, HDC dc, const RECT& area) {
  FillRect(dc, &area, BrushOf(Tone::kWindow));
  const EmptyTexts texts = TextsFor(window);
  const int size = Scale(kPictureSize, window.dpi);
  int top = area.bottom * 2 / 5 - size;
  DrawPicture(window, dc, (area.right - size) / 2, top, size);
  top += size + Scale(kGap, window.dpi);
  SetBkMode(dc, TRANSPARENT);
  top = DrawLine(dc, area, top, texts.title, window.look.fonts.title, ColourOf(Tone::kText));
  top += Scale(kGap / 2, window.dpi);
  DrawLine(dc, area, top, texts.hint, window.look.fonts.text, ColourOf(Tone::kFaint));
}

// The parent's record may be gone already while the window is taken down.
void OnPaint(HWND view) {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(view, &paint);
  RECT area;
  GetClientRect(view, &area);
  MainWindow* window = FindMainWindow(GetParent(view));
  HDC buffer = nullptr;
  const HPAINTBUFFER painting =
      BeginBufferedPaint(dc, &area, BPBF_COMPATIBLEBITMAP, nullptr, &buffer);
  if (window != nullptr) Draw(*window, painting != nullptr ? buffer : dc, area);
  if (painting != nullptr) EndBufferedPaint(painting, TRUE);
  EndPaint(view, &paint);
}

LRESULT CALLBACK EmptyProc(HWND view, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_PAINT:
      OnPaint(view);
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_SIZE:
      InvalidateRect(view, nullptr, FALSE);
      return 0;
    default:
      return DefWindowProcW(view, message, first, second);
  }
}

}  // namespace

bool RegisterEmptyViewClass(HINSTANCE instance) {
  return RegisterWindowClass(instance, {.name = kClassName, .procedure = EmptyProc});
}

HWND MakeEmptyView(HWND parent, int identifier) {
  return CreateWindowExW(0, kClassName, L"", WS_CHILD, 0, 0, 0, 0, parent,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)), nullptr,
                         nullptr);
}

}  // namespace hivequarry
