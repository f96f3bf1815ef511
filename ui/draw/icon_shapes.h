// Shapes and colours that several pictures share.
#pragma once

#include "ui/draw/canvas.h"

namespace hivequarry {

// The folder's back and the half that covers it.
struct FolderColours {
  COLORREF back;
  COLORREF front;
};

// What each says is at TreeIcon (view/tree_icons.h).
inline constexpr FolderColours kGold = {RGB(214, 158, 46), RGB(250, 204, 92)};
inline constexpr FolderColours kSteel = {RGB(44, 92, 150), RGB(216, 230, 246)};
inline constexpr FolderColours kGhost = {RGB(172, 178, 188), RGB(240, 242, 245)};
inline constexpr FolderColours kSlate = {RGB(52, 64, 84), RGB(88, 106, 132)};
inline constexpr FolderColours kViolet = {RGB(124, 98, 168), RGB(188, 166, 222)};
inline constexpr FolderColours kRust = {RGB(176, 88, 40), RGB(232, 148, 96)};
inline constexpr FolderColours kFaded = {RGB(168, 64, 64), RGB(236, 190, 190)};
inline constexpr FolderColours kPale = {RGB(150, 150, 150), RGB(206, 206, 206)};
inline constexpr COLORREF kGreen = RGB(36, 140, 70);
inline constexpr COLORREF kRed = RGB(200, 46, 46);
inline constexpr COLORREF kBlue = RGB(30, 100, 180);
inline constexpr COLORREF kAmber = RGB(196, 110, 0);
inline constexpr COLORREF kWhite = RGB(255, 255, 255);
inline constexpr COLORREF kInk = RGB(84, 94, 108);

// Whole pictures but for a badge. `open`: with its front leaning forward.
void DrawFolder(const Canvas& canvas, FolderColours colours, bool open);
void DrawSheet(const Canvas& canvas, COLORREF edge);
// A disc in the lower right quarter; with a plus.
void DrawBadge(const Canvas& canvas, COLORREF colour);
void DrawPlusBadge(const Canvas& canvas);
// A case, a camera and a disk.
void DrawWorkspace(const Canvas& canvas);
void DrawSnapshot(const Canvas& canvas);
void DrawBackup(const Canvas& canvas);

}  // namespace hivequarry
