#include "ui/draw/icon_shapes.h"

namespace hivequarry {

void DrawFolder(const Canvas& canvas, FolderColours colours, bool open) {
  FillShape(canvas, {{1, 3}, {6, 3}, {7.5, 4.7}, {14, 4.7}, {14, 13.5}, {1, 13.5}}, colours.back);
  if (open) {
    FillShape(canvas, {{3.6, 7}, {15.8, 7}, {13.8, 13.5}, {1, 13.5}}, colours.front);
  } else {
    FillShape(canvas, {{1, 6.2}, {14, 6.2}, {14, 13.5}, {1, 13.5}}, colours.front);
  }
}

void DrawSheet(const Canvas& canvas, COLORREF edge) {
  FillBox(canvas, 1, 2, 15, 14, edge);
  FillBox(canvas, 1.8, 2.8, 14.2, 13.2, kWhite);
}

void DrawBadge(const Canvas& canvas, COLORREF colour) {
  FillDisc(canvas, 11.8, 11.6, 4, kWhite);
  FillDisc(canvas, 11.8, 11.6, 3.5, colour);
}

void DrawPlusBadge(const Canvas& canvas) {
  DrawBadge(canvas, kGreen);
  DrawStroke(canvas, {9.8, 11.6}, {13.8, 11.6}, 1.3, kWhite);
  DrawStroke(canvas, {11.8, 9.6}, {11.8, 13.6}, 1.3, kWhite);
}

void DrawWorkspace(const Canvas& canvas) {
  FillBox(canvas, 5, 2.5, 11, 5, kInk);
  FillBox(canvas, 6.2, 3.7, 9.8, 5, kWhite);
  FillBox(canvas, 1, 5, 15, 13.5, RGB(150, 108, 62));
  FillBox(canvas, 1, 8.4, 15, 9.4, RGB(108, 74, 38));
  FillBox(canvas, 7, 7.8, 9, 10.2, RGB(240, 214, 130));
}

void DrawSnapshot(const Canvas& canvas) {
  FillBox(canvas, 5, 3, 11, 6, kInk);
  FillBox(canvas, 1, 5, 15, 13, kInk);
  FillDisc(canvas, 8, 9, 3.4, kWhite);
  FillDisc(canvas, 8, 9, 2.2, kBlue);
}

void DrawBackup(const Canvas& canvas) {
  FillBox(canvas, 2, 2, 14, 14, kBlue);
  FillBox(canvas, 4.5, 2, 11.5, 6.5, kWhite);
  FillBox(canvas, 9, 2.8, 10.6, 5.8, kBlue);
  FillBox(canvas, 4, 8.5, 12, 14, kWhite);
}

}  // namespace hivequarry
