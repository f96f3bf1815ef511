#include "ui/draw/tool_icons.h"

#include <iterator>

#include "ui/draw/icon_shapes.h"
#include "view/commands.h"

namespace hivequarry {
namespace {

constexpr COLORREF kSky = RGB(206, 224, 244);
constexpr COLORREF kBrown = RGB(150, 108, 62);

// --- parts ---------------------------------------------------------------------------------------

// A sheet with a few written lines on its left half.
void DrawListSheet(const Canvas& canvas) {
  FillBox(canvas, 1, 1, 11.5, 14, kInk);
  FillBox(canvas, 1.9, 1.9, 10.6, 13.1, kWhite);
  for (const double y : {3.6, 5.8, 8.0, 10.2}) FillBox(canvas, 3.2, y, 9.3, y + 1, kPale.back);
}

// A glass in the lower right, over what was drawn before.
void DrawGlass(const Canvas& canvas, COLORREF rim = kInk, COLORREF lens = kSky) {
  DrawStroke(canvas, {12.2, 12.2}, {15, 15}, 2.2, rim);
  FillDisc(canvas, 9.8, 9.8, 4.4, rim);
  FillDisc(canvas, 9.8, 9.8, 3.2, lens);
}

void DrawArrowDown(const Canvas& canvas, double x, double top, double bottom, COLORREF colour) {
  FillBox(canvas, x - 0.9, top, x + 0.9, bottom - 2, colour);
  FillShape(canvas, {{x - 2.7, bottom - 2.9}, {x + 2.7, bottom - 2.9}, {x, bottom}}, colour);
}

void DrawArrowUp(const Canvas& canvas, double x, double top, double bottom, COLORREF colour) {
  FillBox(canvas, x - 0.9, top + 2, x + 0.9, bottom, colour);
  FillShape(canvas, {{x - 2.7, top + 2.9}, {x + 2.7, top + 2.9}, {x, top}}, colour);
}

// The registry: a block of cubes.
void DrawTwoCubes(const Canvas& canvas) {
  FillBox(canvas, 1, 8, 7, 14, kBlue);
  FillBox(canvas, 4.4, 1.2, 10.4, 7.2, RGB(86, 148, 214));
}

void DrawCubes(const Canvas& canvas) {
  DrawTwoCubes(canvas);
  FillBox(canvas, 7.8, 8, 13.8, 14, kSteel.back);
}

void DrawClock(const Canvas& canvas, double x, double y, double radius) {
  FillDisc(canvas, x, y, radius, kBlue);
  FillDisc(canvas, x, y, radius - 1.1, kWhite);
  DrawStroke(canvas, {x, y}, {x, y - radius + 2.2}, 1.2, kInk);
  DrawStroke(canvas, {x, y}, {x + radius - 2.6, y + 0.6}, 1.2, kInk);
}

void DrawKey(const Canvas& canvas, COLORREF colour) {
  FillDisc(canvas, 4, 8, 3.4, colour);
  FillDisc(canvas, 4, 8, 1.4, kWhite);
  FillBox(canvas, 6.8, 7.1, 15, 8.9, colour);
  FillBox(canvas, 10.6, 8.5, 12, 11.6, colour);
  FillBox(canvas, 13.4, 8.5, 14.8, 11.6, colour);
}

// --- one function a picture ----------------------------------------------------------------------

void DrawOpen(const Canvas& canvas) { DrawFolder(canvas, kGold, true); }

void DrawStop(const Canvas& canvas) {
  FillShape(canvas, {{5, 1}, {11, 1}, {15, 5}, {15, 11}, {11, 15}, {5, 15}, {1, 11}, {1, 5}}, kRed);
  DrawStroke(canvas, {5, 5}, {11, 11}, 2, kWhite);
  DrawStroke(canvas, {11, 5}, {5, 11}, 2, kWhite);
}

void DrawColumns(const Canvas& canvas) {
  FillBox(canvas, 7.4, 2, 8.6, 14, kInk);
  DrawStroke(canvas, {2, 8}, {6.4, 8}, 1.3, kBlue);
  DrawStroke(canvas, {9.6, 8}, {14, 8}, 1.3, kBlue);
  FillShape(canvas, {{0.6, 8}, {3.6, 5}, {3.6, 11}}, kBlue);
  FillShape(canvas, {{15.4, 8}, {12.4, 5}, {12.4, 11}}, kBlue);
}

void DrawTechnical(const Canvas& canvas) {
  DrawSheet(canvas, kInk);
  DrawLetters(canvas, L"0x", {8, 7.8}, 8.5, kBlue);
}

void DrawDetails(const Canvas& canvas) {
  DrawSheet(canvas, kInk);
  FillBox(canvas, 1.8, 8.4, 14.2, 13.2, kSky);
  FillBox(canvas, 1, 7.6, 15, 8.4, kInk);
  FillBox(canvas, 3.4, 9.6, 12.4, 10.4, kBlue);
  FillBox(canvas, 3.4, 11.4, 10, 12.2, kBlue);
}

void DrawBlocks(const Canvas& canvas) {
  for (int i = 0; i < 9; ++i) {
    const double x = 1.4 + i % 3 * 4.6;
    const double y = 1.4 + i / 3 * 4.6;
    FillBox(canvas, x, y, x + 3.9, y + 3.9, i == 4 || i == 6 ? kPale.front : kAmber);
  }
}

void DrawExit(const Canvas& canvas) {
  FillBox(canvas, 2, 1.6, 9.6, 14.4, kInk);
  FillBox(canvas, 3.2, 2.8, 9.6, 13.2, kPale.front);
  DrawStroke(canvas, {6, 8}, {12, 8}, 1.8, kBlue);
  FillShape(canvas, {{15.6, 8}, {11.4, 4.4}, {11.4, 11.6}}, kBlue);
}

void DrawOpenSnapshot(const Canvas& canvas) {
  DrawFolder(canvas, kGold, true);
  FillBox(canvas, 6.4, 8.2, 15.6, 15, kInk);
  FillBox(canvas, 9, 7, 13, 9, kInk);
  FillDisc(canvas, 11, 11.6, 2.5, kWhite);
  FillDisc(canvas, 11, 11.6, 1.5, kBlue);
}

void DrawSearchWorkspace(const Canvas& canvas) {
  DrawWorkspace(canvas);
  DrawGlass(canvas);
}

void DrawSaveText(const Canvas& canvas) {
  DrawListSheet(canvas);
  DrawArrowDown(canvas, 12.3, 5.6, 15.4, kBlue);
}

void DrawSaveReport(const Canvas& canvas) {
  FillBox(canvas, 1, 1, 15, 15, kSteel.back);
  FillBox(canvas, 3.4, 1, 12.6, 6.6, kWhite);
  for (const double y : {2.2, 4.2}) FillBox(canvas, 4.6, y, 11.4, y + 1, kPale.back);
  FillBox(canvas, 3, 9, 13, 15, kWhite);
  FillBox(canvas, 4.6, 10.4, 7, 15, kSteel.back);
}

void DrawLoadReport(const Canvas& canvas) {
  DrawListSheet(canvas);
  DrawArrowUp(canvas, 12.3, 4.6, 14.4, kGreen);
}

void DrawKeyDates(const Canvas& canvas) {
  FillBox(canvas, 1, 2.4, 15, 14.6, kInk);
  FillBox(canvas, 2, 6, 14, 13.6, kWhite);
  FillBox(canvas, 2, 3.4, 14, 5.4, kRed);
  for (int i = 0; i < 8; ++i) {
    const double x = 3.2 + i % 4 * 2.7;
    const double y = 7.2 + i / 4 * 3.1;
    FillBox(canvas, x, y, x + 1.8, y + 2, i == 5 ? kRed : kPale.front);
  }
}

// Not the hive: the glass has a warning's colour, as what it looks at changes meanwhile.
void DrawSearchRegistry(const Canvas& canvas) {
  DrawCubes(canvas);
  DrawGlass(canvas, kRed, kWhite);
}

void DrawCopyList(const Canvas& canvas) {
  FillBox(canvas, 1, 2, 11, 15, kBrown);
  FillBox(canvas, 4, 0.8, 8, 3.6, kInk);
  FillBox(canvas, 5, 5, 15, 15, kInk);
  FillBox(canvas, 5.9, 5.9, 14.1, 14.1, kWhite);
  for (const double y : {7.4, 9.4, 11.4}) FillBox(canvas, 7, y, 13, y + 1, kBlue);
}

void DrawPrint(const Canvas& canvas) {
  FillBox(canvas, 4, 1, 12, 6, kInk);
  FillBox(canvas, 5, 2, 11, 6, kWhite);
  FillBox(canvas, 1, 5.6, 15, 12, kInk);
  FillBox(canvas, 11.6, 7, 13.4, 8.4, RGB(120, 210, 120));
  FillBox(canvas, 3.6, 9.4, 12.4, 15, kInk);
  FillBox(canvas, 4.6, 10.2, 11.4, 14.1, kWhite);
  for (const double y : {11.0, 12.7}) FillBox(canvas, 5.6, y, 10.4, y + 0.8, kPale.back);
}

void DrawFind(const Canvas& canvas) {
  DrawListSheet(canvas);
  DrawGlass(canvas);
}

void DrawRecent(const Canvas& canvas) {
  DrawKey(canvas, kGold.back);
  DrawClock(canvas, 11, 5.2, 4.6);
}

void DrawOptions(const Canvas& canvas) {
  const struct {
    double y, knob;
    COLORREF colour;
  } kSliders[] = {{3.2, 10.6, kBlue}, {8, 5, kGreen}, {12.8, 11.6, kAmber}};
  for (const auto& slider : kSliders) {
    FillBox(canvas, 1, slider.y - 0.7, 15, slider.y + 0.7, kInk);
    FillDisc(canvas, slider.knob, slider.y, 2.2, slider.colour);
    FillDisc(canvas, slider.knob, slider.y, 0.9, kWhite);
  }
}

// The cubes of the registry on their way to a disk.
void DrawBackupRegistry(const Canvas& canvas) {
  DrawTwoCubes(canvas);
  DrawArrowDown(canvas, 12.2, 5, 12.4, kGreen);
  FillBox(canvas, 8.8, 13.2, 15.6, 15.2, kInk);
}

void DrawTakeSnapshot(const Canvas& canvas) {
  DrawSnapshot(canvas);
  DrawPlusBadge(canvas);
}

void DrawKeySnapshot(const Canvas& canvas) {
  FillBox(canvas, 4.6, 0.8, 9.4, 3, kInk);
  FillBox(canvas, 1, 2.2, 13, 9, kInk);
  FillDisc(canvas, 7, 5.6, 2.8, kWhite);
  FillDisc(canvas, 7, 5.6, 1.8, kBlue);
  FillDisc(canvas, 5, 12.2, 2.6, kAmber);
  FillDisc(canvas, 5, 12.2, 1, kWhite);
  FillBox(canvas, 7, 11.5, 15, 12.9, kAmber);
  FillBox(canvas, 10.6, 12.4, 11.8, 15, kAmber);
  FillBox(canvas, 13.2, 12.4, 14.4, 15, kAmber);
}

void DrawView(const Canvas& canvas) {
  DrawSheet(canvas, kInk);
  FillBox(canvas, 1, 2, 15, 4.6, kBlue);
  for (const double y : {6.0, 8.4, 10.8}) {
    FillBox(canvas, 3, y, 5, y + 1.2, kBlue);
    FillBox(canvas, 6, y, 13, y + 1.2, kPale.back);
  }
}

void DrawLastPane(const Canvas& canvas) {
  FillBox(canvas, 1, 1.5, 12, 10, kPale.back);
  FillBox(canvas, 2, 3.6, 11, 9, kWhite);
  FillBox(canvas, 4, 5, 15, 14.5, kInk);
  FillBox(canvas, 5, 7, 14, 13.5, kWhite);
  FillShape(canvas, {{5.8, 10.2}, {9, 7.5}, {9, 12.9}}, kBlue);
  FillBox(canvas, 8.6, 9.4, 13, 11, kBlue);
}

void DrawClearList(const Canvas& canvas) {
  DrawListSheet(canvas);
  DrawStroke(canvas, {7.6, 8}, {14.4, 14.8}, 2.2, kRed);
  DrawStroke(canvas, {14.4, 8}, {7.6, 14.8}, 2.2, kRed);
}

void DrawBookmarks(const Canvas& canvas) {
  FillBox(canvas, 2, 1, 13, 15, kSteel.back);
  FillBox(canvas, 3.4, 1, 14, 13.6, kSteel.front);
  FillShape(canvas, {{8, 1}, {12, 1}, {12, 9.6}, {10, 7.6}, {8, 9.6}}, kRed);
}

using DrawPicture = void (*)(const Canvas& canvas);
// In the order of ToolIcon.
constexpr DrawPicture kPictures[] = {
    DrawOpen,         DrawStop,        DrawColumns,      DrawTechnical,       DrawDetails,
    DrawBlocks,       DrawExit,        DrawOpenSnapshot, DrawSearchWorkspace, DrawSaveText,
    DrawSaveReport,   DrawLoadReport,  DrawKeyDates,     DrawSearchRegistry,  DrawCopyList,
    DrawPrint,        DrawFind,        DrawRecent,       DrawOptions,         DrawBackupRegistry,
    DrawTakeSnapshot, DrawKeySnapshot, DrawView,         DrawLastPane,        DrawClearList,
    DrawBookmarks};
static_assert(std::size(kPictures) == static_cast<size_t>(ToolIcon::kCount));

}  // namespace

void DrawToolIcon(const Canvas& canvas, int icon) { kPictures[icon](canvas); }

}  // namespace hivequarry
