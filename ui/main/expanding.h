// "Expand subfolders" in the main window: a slice at a time on the interface thread, by a timer, so
// that the window goes on; with its progress in the status bar.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

struct MainWindow;

// True when the selected item has others below it: of the hive's tree, of what logs removed, or of
// what was deleted.
bool IsBranchSelected(const MainWindow& window);
// Of that item; takes the place of what is under way in its tree.
void StartExpanding(MainWindow& window);
// Closes all branches from that item down.
void CollapseSelected(MainWindow& window);
// True while branches of any hive are being opened.
bool IsExpanding(const MainWindow& window);
// The next slice: the answer to kExpandTimer, which goes on while there is more. Also notices that
// a hive went whose branches were being opened.
void ExpandOn(MainWindow& window);
// Ends it where it is. False when nothing was under way.
bool StopExpanding(MainWindow& window);

// From so many items on, taking them out of the control takes long enough to be told of.
inline constexpr UINT kManyTreeItems = 10'000;
// While the control takes out very many items, during which the window stands still: the status bar
// says so, and the cursor waits.
class ClosingBranches {
 public:
  explicit ClosingBranches(MainWindow& window);
  ~ClosingBranches();
  ClosingBranches(const ClosingBranches&) = delete;
  ClosingBranches& operator=(const ClosingBranches&) = delete;

 private:
  MainWindow& window_;
  bool told_ = false;  // there are so many
  HCURSOR previous_ = nullptr;
};

}  // namespace hivequarry
