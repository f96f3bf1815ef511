#include "ui/draw/canvas.h"

#include <algorithm>
#include <cmath>
#include <cwchar>
#include <vector>

#include "ui/draw/tones.h"

namespace hivequarry {
namespace {

// A colour that no picture uses: where it still is, nothing was drawn.
constexpr uint32_t kUntouched = 0x00FE01FD;

// Top row first, 32 bits a pixel. `pixels` are the bitmap's own, as long as it lives; null where
// there is none.
HBITMAP MakeBitmap(int width, int height, uint32_t** pixels) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  // Below zero: the rows are stored from the top down.
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  const HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  *pixels = static_cast<uint32_t*>(bits);
  return bitmap;
}

int ToPixels(const Canvas& canvas, double units) {
  return static_cast<int>(std::lround(units * canvas.size * kCanvasFactor / 16));
}

POINT ToPixels(const Canvas& canvas, GridPoint point) {
  return {ToPixels(canvas, point.x), ToPixels(canvas, point.y)};
}

struct Sum {
  uint32_t red = 0;
  uint32_t green = 0;
  uint32_t blue = 0;
  uint32_t covered = 0;
};

// Of the kCanvasFactor squared pixels that become one: how many were drawn, and their colours added
// up.
Sum SumOfBlock(const Canvas& canvas, int x, int y) {
  Sum sum;
  const int row_length = canvas.size * kCanvasFactor;
  for (int i = 0; i < kCanvasFactor * kCanvasFactor; ++i) {
    const int row = y * kCanvasFactor + i / kCanvasFactor;
    const int column = x * kCanvasFactor + i % kCanvasFactor;
    const uint32_t pixel = canvas.pixels[row * row_length + column] & 0x00FFFFFF;
    if (pixel == kUntouched) continue;
    sum.red += pixel >> 16 & 0xFF;
    sum.green += pixel >> 8 & 0xFF;
    sum.blue += pixel & 0xFF;
    ++sum.covered;
  }
  return sum;
}

// The mean of those of a block's pixels that were drawn, with their share as alpha. Faded: grey,
// half as strong.
uint32_t PixelOf(Sum sum, bool faded) {
  constexpr uint32_t kSamples = kCanvasFactor * kCanvasFactor;
  if (sum.covered == 0) return 0;
  if (faded) {
    sum.red = sum.green = sum.blue = (sum.red * 3 + sum.green * 6 + sum.blue) / 10;
  }
  const uint32_t alpha = sum.covered * 255 / (faded ? 2 * kSamples : kSamples);
  return alpha << 24 | sum.red / sum.covered << 16 | sum.green / sum.covered << 8 |
         sum.blue / sum.covered;
}

}  // namespace

Canvas MakeCanvas(int size) {
  Canvas canvas;
  canvas.size = size;
  const int side = size * kCanvasFactor;
  canvas.bitmap = MakeBitmap(side, side, &canvas.pixels);
  if (canvas.bitmap == nullptr) return canvas;
  canvas.dc = CreateCompatibleDC(nullptr);
  canvas.previous = SelectObject(canvas.dc, canvas.bitmap);
  std::fill(canvas.pixels, canvas.pixels + side * side, kUntouched);
  return canvas;
}

void FreeCanvas(Canvas& canvas) {
  if (canvas.dc != nullptr) {
    SelectObject(canvas.dc, canvas.previous);
    DeleteDC(canvas.dc);
  }
  if (canvas.bitmap != nullptr) DeleteObject(canvas.bitmap);
  canvas = Canvas();
}

void FillShape(const Canvas& canvas, std::initializer_list<GridPoint> points, COLORREF colour) {
  std::vector<POINT> corners;
  for (const GridPoint point : points) corners.push_back(ToPixels(canvas, point));
  const HBRUSH brush = CreateSolidBrush(SeenColour(colour));
  // With a pen of the same colour: without one a polygon ends a pixel early at the right and below.
  const HPEN pen = CreatePen(PS_SOLID, 1, SeenColour(colour));
  const HGDIOBJ old_brush = SelectObject(canvas.dc, brush);
  const HGDIOBJ old_pen = SelectObject(canvas.dc, pen);
  Polygon(canvas.dc, corners.data(), static_cast<int>(corners.size()));
  SelectObject(canvas.dc, old_pen);
  SelectObject(canvas.dc, old_brush);
  DeleteObject(pen);
  DeleteObject(brush);
}

void FillBox(const Canvas& canvas, double left, double top, double right, double bottom,
             COLORREF colour) {
  const RECT box{ToPixels(canvas, left), ToPixels(canvas, top), ToPixels(canvas, right),
                 ToPixels(canvas, bottom)};
  const HBRUSH brush = CreateSolidBrush(SeenColour(colour));
  FillRect(canvas.dc, &box, brush);
  DeleteObject(brush);
}

void FillDisc(const Canvas& canvas, double x, double y, double radius, COLORREF colour) {
  const HBRUSH brush = CreateSolidBrush(SeenColour(colour));
  const HGDIOBJ old_brush = SelectObject(canvas.dc, brush);
  const HGDIOBJ old_pen = SelectObject(canvas.dc, GetStockObject(NULL_PEN));
  // The pixel added makes up for the one that is lacking without a pen.
  Ellipse(canvas.dc, ToPixels(canvas, x - radius), ToPixels(canvas, y - radius),
          ToPixels(canvas, x + radius) + 1, ToPixels(canvas, y + radius) + 1);
  SelectObject(canvas.dc, old_pen);
  SelectObject(canvas.dc, old_brush);
  DeleteObject(brush);
}

void DrawStroke(const Canvas& canvas, GridPoint from, GridPoint to, double width, COLORREF colour) {
  const double length = std::hypot(to.x - from.x, to.y - from.y);
  const double across_x = (from.y - to.y) / length * width / 2;
  const double across_y = (to.x - from.x) / length * width / 2;
  FillShape(canvas,
            {{from.x + across_x, from.y + across_y},
             {to.x + across_x, to.y + across_y},
             {to.x - across_x, to.y - across_y},
             {from.x - across_x, from.y - across_y}},
            colour);
}

void DrawLetters(const Canvas& canvas, const wchar_t* text, GridPoint centre, double height,
                 COLORREF colour) {
  LOGFONTW font{};
  font.lfHeight = -ToPixels(canvas, height);
  font.lfWeight = FW_BOLD;
  font.lfCharSet = DEFAULT_CHARSET;
  // Smoothed letters would mix with the colour of untouched pixels.
  font.lfQuality = NONANTIALIASED_QUALITY;
  std::wcscpy(font.lfFaceName, L"Segoe UI");
  const HFONT handle = CreateFontIndirectW(&font);
  const HGDIOBJ old_font = SelectObject(canvas.dc, handle);
  SetBkMode(canvas.dc, TRANSPARENT);
  SetTextColor(canvas.dc, SeenColour(colour));
  SIZE extent{};
  const int length = static_cast<int>(std::wcslen(text));
  GetTextExtentPoint32W(canvas.dc, text, length, &extent);
  const POINT at = ToPixels(canvas, centre);
  TextOutW(canvas.dc, at.x - extent.cx / 2, at.y - extent.cy / 2, text, length);
  SelectObject(canvas.dc, old_font);
  DeleteObject(handle);
}

HBITMAP FinishCanvas(const Canvas& canvas, int gap, bool faded) {
  // The drawing may still wait in GDI's batch; the pixels are read here without it.
  GdiFlush();
  uint32_t* pixels = nullptr;
  const int width = canvas.size + gap;
  const HBITMAP bitmap = MakeBitmap(width, canvas.size, &pixels);  // zeroed: transparent
  if (bitmap == nullptr) return nullptr;
  for (int y = 0; y < canvas.size; ++y) {
    for (int x = 0; x < canvas.size; ++x) {
      pixels[y * width + x] = PixelOf(SumOfBlock(canvas, x, y), faded);
    }
  }
  return bitmap;
}

}  // namespace hivequarry
