#include "ui/draw/hive_state_icons.h"

#include "ui/draw/canvas.h"
#include "ui/draw/icon_shapes.h"

namespace hivequarry {
namespace {

// The states without movement, then the frames of the running one.
enum Picture : int { kNeutral, kDone, kFailed, kFirstFrame };
constexpr int kFrames = 4;

// Small and flat: it must not look like something to be clicked.
void DrawNeutral(const Canvas& canvas) { FillDisc(canvas, 8, 8, 2.4, kGhost.back); }

void DrawDone(const Canvas& canvas) {
  FillDisc(canvas, 8, 8, 7, kGreen);
  DrawStroke(canvas, {4.6, 8.2}, {7.2, 10.8}, 1.8, kWhite);
  DrawStroke(canvas, {7.2, 10.8}, {11.6, 5.6}, 1.8, kWhite);
}

void DrawFailed(const Canvas& canvas) {
  FillDisc(canvas, 8, 8, 7, kRed);
  DrawStroke(canvas, {5.3, 5.3}, {10.7, 10.7}, 1.8, kWhite);
  DrawStroke(canvas, {10.7, 5.3}, {5.3, 10.7}, 1.8, kWhite);
}

// A clock whose hand goes on by a quarter.
void DrawRunning(const Canvas& canvas, int frame) {
  constexpr GridPoint kHand[kFrames] = {{8, 3.8}, {12.2, 8}, {8, 12.2}, {3.8, 8}};
  FillDisc(canvas, 8, 8, 7, kBlue);
  FillDisc(canvas, 8, 8, 5.6, kWhite);
  DrawStroke(canvas, {8, 8}, kHand[frame], 1.8, kBlue);
  FillDisc(canvas, 8, 8, 1.2, kBlue);
}

void DrawState(const Canvas& canvas, int picture) {
  switch (picture) {
    case kNeutral:
      return DrawNeutral(canvas);
    case kDone:
      return DrawDone(canvas);
    case kFailed:
      return DrawFailed(canvas);
    default:
      return DrawRunning(canvas, picture - kFirstFrame);
  }
}

}  // namespace

HIMAGELIST MakeHiveStateIcons(int size) {
  const HIMAGELIST list = ImageList_Create(size, size, ILC_COLOR32, kFirstFrame + kFrames, 0);
  for (int picture = 0; picture < kFirstFrame + kFrames; ++picture) {
    Canvas canvas = MakeCanvas(size);
    if (canvas.dc == nullptr) break;
    DrawState(canvas, picture);
    const HBITMAP bitmap = FinishCanvas(canvas, 0, false);
    ImageList_Add(list, bitmap, nullptr);
    DeleteObject(bitmap);
    FreeCanvas(canvas);
  }
  return list;
}

int HiveStateIcon(HiveState state, int frame) {
  switch (state) {
    case HiveState::kNeutral:
      return kNeutral;
    case HiveState::kRunning:
      return kFirstFrame + static_cast<int>(static_cast<unsigned>(frame) % kFrames);
    case HiveState::kDone:
      return kDone;
    case HiveState::kFailed:
      return kFailed;
  }
  return kNeutral;
}

}  // namespace hivequarry
