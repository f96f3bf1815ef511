#include "ui/draw/icons.h"

#include <algorithm>
#include <initializer_list>

#include "ui/draw/canvas.h"
#include "ui/draw/icon_shapes.h"
#include "ui/draw/tool_icons.h"
#include "view/commands.h"
#include "view/hive_status.h"
#include "view/tree_icons.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Only an outline (`back`) around a pale front: there is no such key here.
void DrawOutlinedFolder(const Canvas& canvas, FolderColours colours, bool open) {
  FillShape(canvas, {{1, 3}, {6, 3}, {7.5, 4.7}, {14, 4.7}, {14, 13.5}, {1, 13.5}}, colours.back);
  FillShape(canvas, {{2, 4}, {5.6, 4}, {7.1, 5.7}, {13, 5.7}, {13, 12.5}, {2, 12.5}},
            colours.front);
  if (open) {
    FillShape(canvas, {{3.6, 7}, {15.8, 7}, {13.8, 13.5}, {1, 13.5}}, colours.back);
    FillShape(canvas, {{4.3, 8}, {14.5, 8}, {13, 12.5}, {2.6, 12.5}}, colours.front);
  } else {
    FillBox(canvas, 2, 6.6, 13, 7.5, colours.back);
  }
}

void DrawKeySign(const Canvas& canvas) {
  FillDisc(canvas, 5, 9.9, 2.5, kWhite);
  FillDisc(canvas, 5, 9.9, 1, kSlate.front);
  FillBox(canvas, 7, 9.3, 13, 10.5, kWhite);
  FillBox(canvas, 9.4, 10, 10.5, 12.3, kWhite);
  FillBox(canvas, 11.6, 10, 12.7, 12.3, kWhite);
}

void DrawSheetSign(const Canvas& canvas) {
  FillBox(canvas, 4, 5.8, 13, 12.6, kWhite);
  FillBox(canvas, 5, 7, 12, 8, kSlate.front);
  FillBox(canvas, 5, 9, 12, 10, kSlate.front);
  FillBox(canvas, 5, 11, 9, 12, kSlate.front);
}

void DrawHintBadge(const Canvas& canvas) {
  DrawBadge(canvas, kAmber);
  DrawLetters(canvas, L"?", {11.8, 11.6}, 5.6, kWhite);
}

void DrawErrorBadge(const Canvas& canvas) {
  DrawBadge(canvas, kRed);
  DrawStroke(canvas, {10.3, 10.1}, {13.3, 13.1}, 1.3, kWhite);
  DrawStroke(canvas, {13.3, 10.1}, {10.3, 13.1}, 1.3, kWhite);
}

// A pen across the corner.
void DrawEditedBadge(const Canvas& canvas) {
  DrawBadge(canvas, kAmber);
  DrawStroke(canvas, {10, 13.4}, {13.6, 9.8}, 1.6, kWhite);
}

void DrawMinusBadge(const Canvas& canvas) {
  DrawBadge(canvas, kRed);
  FillBox(canvas, 9.6, 11, 14, 12.2, kWhite);
}

void DrawLock(const Canvas& canvas) {
  FillDisc(canvas, 11.5, 9.2, 2.6, kRed);
  FillDisc(canvas, 11.5, 9.2, 1.3, kWhite);
  FillBox(canvas, 8.4, 9.4, 14.6, 14.4, kRed);
}

bool IsOneOf(int icon, std::initializer_list<TreeIcon> icons) {
  return std::find(icons.begin(), icons.end(), icon) != icons.end();
}

FolderColours ColoursOf(int closed) {
  if (IsOneOf(closed, {kIconMade, kIconMadeHint})) return kSteel;
  if (IsOneOf(closed, {kIconIsolated, kIconIsolatedRepaired, kIconIsolatedUnnamed})) return kViolet;
  if (IsOneOf(closed, {kIconLostKeys, kIconLostValues})) return kSlate;
  if (closed == kIconCopy) return kGhost;
  if (closed == kIconRemoved) return kFaded;
  if (IsOneOf(closed, {kIconRemovedFolder, kIconFreedFolder})) return kSlate;
  if (closed == kIconFreed) return kPale;
  return closed == kIconRootLimit ? kRust : kGold;
}

void DrawFolderIcon(const Canvas& canvas, int closed, bool open) {
  const bool outlined = IsOneOf(closed, {kIconMade, kIconMadeHint, kIconCopy});
  (outlined ? DrawOutlinedFolder : DrawFolder)(canvas, ColoursOf(closed), open);
  if (closed == kIconLostKeys) DrawKeySign(canvas);
  if (closed == kIconLostValues) DrawSheetSign(canvas);
  if (IsOneOf(closed, {kIconRemoved, kIconRemovedFolder})) DrawMinusBadge(canvas);
  if (IsOneOf(closed, {kIconFreed, kIconFreedFolder})) DrawErrorBadge(canvas);
  if (IsOneOf(closed, {kIconRepaired, kIconIsolatedRepaired})) DrawPlusBadge(canvas);
  if (IsOneOf(closed, {kIconUnnamed, kIconIsolatedUnnamed, kIconMadeHint})) DrawHintBadge(canvas);
}

void DrawTreeIcon(const Canvas& canvas, int icon) {
  switch (icon) {
    case kIconWorkspace:
      return DrawWorkspace(canvas);
    case kIconSnapshot:
      return DrawSnapshot(canvas);
    case kIconBackup:
      return DrawBackup(canvas);
    case kIconNoAccess:
      DrawFolder(canvas, kPale, false);
      return DrawLock(canvas);
    default:
      break;
  }
  // Pairs of a closed and an open folder start at even numbers.
  DrawFolderIcon(canvas, icon & ~1, icon % 2 == 1);
}

// Digits as bars and rings: letters this small would not be read.
void DrawOne(const Canvas& canvas, double x, double y, COLORREF colour) {
  FillBox(canvas, x + 0.6, y, x + 1.7, y + 3.8, colour);
}
void DrawZero(const Canvas& canvas, double x, double y, COLORREF colour) {
  FillBox(canvas, x, y, x + 2.5, y + 3.8, colour);
  FillBox(canvas, x + 0.8, y + 0.9, x + 1.7, y + 2.9, kWhite);
}

void DrawValueIcon(const Canvas& canvas, int icon) {
  const int base = icon % kErrorIconStep;  // the steps to the twins are multiples of it
  switch (static_cast<ValueIcon>(base)) {
    case ValueIcon::kFolder:
      DrawFolder(canvas, kGold, false);
      break;
    case ValueIcon::kString:
      DrawSheet(canvas, kRed);
      DrawLetters(canvas, L"ab", {8, 7.6}, 9, kRed);
      break;
    case ValueIcon::kDword:
      DrawSheet(canvas, kBlue);
      DrawOne(canvas, 3, 3.9, kBlue);
      DrawZero(canvas, 6.6, 3.9, kBlue);
      DrawOne(canvas, 10.2, 3.9, kBlue);
      DrawZero(canvas, 3, 8.6, kBlue);
      DrawOne(canvas, 6.8, 8.6, kBlue);
      DrawZero(canvas, 10.4, 8.6, kBlue);
      break;
    case ValueIcon::kBinary:
      DrawSheet(canvas, kGreen);
      for (int i = 0; i < 9; ++i) {
        const double x = 3.2 + i % 3 * 3.6;
        const double y = 4.2 + i / 3 * 2.8;
        FillBox(canvas, x, y, x + (i % 2 == 0 ? 2.4 : 1.2), y + 1.6, kGreen);
      }
      break;
    default:
      return;  // the two places between the types and their error twins stay empty
  }
  if (icon >= kEditedIconStep) return DrawEditedBadge(canvas);
  if (icon >= kErrorIconStep) DrawErrorBadge(canvas);
}

void DrawExclamation(const Canvas& canvas) {
  FillBox(canvas, 7.1, 3.6, 8.9, 9.2, kWhite);
  FillDisc(canvas, 8, 11.6, 1.2, kWhite);
}

void DrawStateIcon(const Canvas& canvas, int icon) {
  switch (static_cast<HiveMark>(icon)) {
    case HiveMark::kClean:
      FillDisc(canvas, 8, 8, 7, kGreen);
      DrawStroke(canvas, {4.6, 8.2}, {7.2, 10.8}, 1.8, kWhite);
      return DrawStroke(canvas, {7.2, 10.8}, {11.6, 5.6}, 1.8, kWhite);
    case HiveMark::kReplayed:  // something is added
      FillDisc(canvas, 8, 8, 7, kBlue);
      FillBox(canvas, 7.1, 4, 8.9, 12, kWhite);
      return FillBox(canvas, 4, 7.1, 12, 8.9, kWhite);
    case HiveMark::kByUser:
      FillDisc(canvas, 8, 8, 7, kAmber);
      return FillBox(canvas, 4, 7.1, 12, 8.9, kWhite);
    case HiveMark::kLacking:
      FillDisc(canvas, 8, 8, 7, kRed);
      return DrawExclamation(canvas);
    default:
      FillDisc(canvas, 8, 8, 7, kInk);
      return DrawLetters(canvas, L"?", {8, 8}, 10, kWhite);
  }
}

using DrawFunction = void (*)(const Canvas& canvas, int icon);

// For the caller to destroy. Without memory it ends early, and pictures after that are missing.
HIMAGELIST MakeList(int size, int gap, int count, DrawFunction draw, bool faded) {
  const HIMAGELIST list = ImageList_Create(size + gap, size, ILC_COLOR32, count, 0);
  for (int icon = 0; icon < count; ++icon) {
    Canvas canvas = MakeCanvas(size);
    if (canvas.dc == nullptr) break;
    draw(canvas, icon);
    const HBITMAP bitmap = FinishCanvas(canvas, gap, faded);
    ImageList_Add(list, bitmap, nullptr);
    DeleteObject(bitmap);
    FreeCanvas(canvas);
  }
  return list;
}

}  // namespace

IconLists MakeIconLists(int small_size, int tool_size) {
  constexpr int kValueIcons = static_cast<int>(ValueIcon::kBinary) + kEditedIconStep + 1;
  constexpr int kToolIcons = static_cast<int>(ToolIcon::kCount);
  // Lists and trees draw a text right after its picture; the gap is a part of that one.
  const int gap = small_size / 6;  // before the text
  IconLists lists;
  lists.tree = MakeList(small_size, gap, kTreeIconCount, DrawTreeIcon, false);
  lists.values = MakeList(small_size, gap, kValueIcons, DrawValueIcon, false);
  lists.tools = MakeList(tool_size, 0, kToolIcons, DrawToolIcon, false);
  lists.faded_tools = MakeList(tool_size, 0, kToolIcons, DrawToolIcon, true);
  lists.states = MakeList(small_size, 0, static_cast<int>(HiveMark::kCount), DrawStateIcon, false);
  return lists;
}

void FreeIconLists(IconLists& lists) {
  for (const HIMAGELIST list :
       {lists.tree, lists.values, lists.tools, lists.faded_tools, lists.states}) {
    if (list != nullptr) ImageList_Destroy(list);
  }
  lists = IconLists();
}

}  // namespace hivequarry
