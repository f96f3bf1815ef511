// Small pictures drawn by code: shapes on a grid of 16 by 16 units, drawn four times too large and
// shrunk, so that edges are smooth at every size.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "ui/draw/win.h"

namespace hivequarry {

// In units of the grid: 0 to 16.
struct GridPoint {
  double x;
  double y;
};

// A picture drawn larger than it will be, to be made smooth. Handles are its own until it is
// finished.
struct Canvas {
  HDC dc = nullptr;
  HBITMAP bitmap = nullptr;
  HGDIOBJ previous = nullptr;
  uint32_t* pixels = nullptr;  // top row first, kCanvasFactor * size a row
  int size = 0;                // of the finished picture, in pixels
};
inline constexpr int kCanvasFactor = 4;

// An empty (transparent) canvas for a picture of `size` by `size` pixels. dc is null on failure.
Canvas MakeCanvas(int size);
// Also of a canvas that failed.
void FreeCanvas(Canvas& canvas);

// Coordinates are units of the grid, from the upper left corner; what is drawn later covers what is
// there. A shape is a polygon that closes by itself.
void FillShape(const Canvas& canvas, std::initializer_list<GridPoint> points, COLORREF colour);
// `right` and `bottom` are where the box ends: boxes that share an edge touch and do not overlap.
void FillBox(const Canvas& canvas, double left, double top, double right, double bottom,
             COLORREF colour);
void FillDisc(const Canvas& canvas, double x, double y, double radius, COLORREF colour);
// Between two different points, with square ends that do not go beyond them.
void DrawStroke(const Canvas& canvas, GridPoint from, GridPoint to, double width, COLORREF colour);
// Text centred on a point; `height` is that of its capitals and more, in units.
void DrawLetters(const Canvas& canvas, const wchar_t* text, GridPoint centre, double height,
                 COLORREF colour);

// The picture as a bitmap with alpha, for an image list, which multiplies colours by it itself, and
// `gap` empty pixels on its right; the caller owns it. With `faded` it is grey and half
// transparent, as for a button that can not be used.
HBITMAP FinishCanvas(const Canvas& canvas, int gap, bool faded);

}  // namespace hivequarry
