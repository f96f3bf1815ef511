// The band above the tree: the hive's state at a glance (view/hive_glance.h). A row of buttons, of
// which each leads to what it tells of; the arrow keys go from one to the next.
#pragma once

#include <string>

#include "ui/draw/win.h"
#include "view/hive_glance.h"

namespace hivequarry {

struct MainWindow;
struct WindowHive;

// The row of figures above the panes. Its buttons are made anew when its figures or its width
// change.
struct Band {
  HWND window = nullptr;
  HiveGlance glance;
  bool renewed = false;  // the buttons are not yet those of `glance`
  int width = 0;         // for which they were made
  int height = 0;        // pixels of all rows
};

// The parent places it; null when it can't be had.
HWND MakeBand(const MainWindow& window, int identifier);
// What is known of a hive, and of the one that is viewed, by now.
GlanceFacts GlanceOf(const WindowHive& hive);
GlanceFacts GlanceNow(const MainWindow& window);
// Shows what is known by now, and gives the band the height that it needs.
void RenewBand(MainWindow& window);
// Puts the buttons into rows of a width, in pixels; the height of them all, 0 without a hive.
int FillBand(MainWindow& window, int width);

// WM_COMMAND, TBN_GETINFOTIP and NM_CUSTOMDRAW of the band.
void FollowBand(MainWindow& window, int button);
void OnBandTip(const Band& band, NMTBGETINFOTIPW& notice);
LRESULT OnBandDraw(const Band& band, NMTBCUSTOMDRAW& notice);

}  // namespace hivequarry
