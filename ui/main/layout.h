// Where the panes and bars of the main window are. Lengths are pixels unless they say otherwise.
#pragma once

#include <array>
#include <cstdint>

#include "ui/draw/win.h"

namespace hivequarry {

struct MainWindow;

// Pane arrangements.
inline constexpr int kTreeArrangement = 1;    // the tree alone
inline constexpr int kKeysArrangement = 2;    // tree, values and details
inline constexpr int kOutputArrangement = 3;  // the Output List

// Which panes are shown, and how large.
struct PaneLayout {
  int tree_width = 320;     // at 96 dpi
  int detail_share = 4800;  // of the right side's height, in 1/10000
  bool detail_shown = true;
  int arrangement = kKeysArrangement;
  std::array<int, 3> recent_arrangements = {kKeysArrangement, 0, 0};  // newest first, 0 for none
};

// Places every child for the size that the window has.
void LayOut(MainWindow& window);
// By pixels, right or down, as kSplitterMoved tells it; each pane keeps a least size.
void MoveSplitter(MainWindow& window, int splitter, int distance);
// Goes over to another resolution: fonts, pictures, widths of columns.
void ApplyDpi(MainWindow& window, uint32_t dpi);
// Makes fonts and pictures anew, for the present resolution and system colours.
void RefreshLook(MainWindow& window);
// Shows the panes of the arrangement in force and hides the others.
void ShowPanes(MainWindow& window);
// Goes over to a pane arrangement and remembers it.
void ShowArrangement(MainWindow& window, int arrangement);
// The one that follows: tree and values, Output List, tree alone.
int NextArrangement(int arrangement);
// The newest remembered one that is not the Output List.
int LastArrangement(const MainWindow& window);
// The next pane that is shown, from the one in focus on, and round.
void FocusNextPane(MainWindow& window, bool backward);

}  // namespace hivequarry
