// The hives that are open in the main window, each with a root item of its own in the tree.
// Everything here is for the interface thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hive/key_tree.h"
#include "recovery/image_tree.h"
#include "replay/replay_plan.h"
#include "security/descriptor.h"
#include "ui/draw/win.h"
#include "ui/main/findings.h"
#include "ui/main/hashing.h"
#include "ui/panes/tree_pane.h"

namespace hivequarry {

struct MainWindow;

// For windows that are about no hive: it leads to the one that is viewed.
inline constexpr uint32_t kAnyHive = UINT32_MAX;
inline constexpr uint32_t kOfNoHive = UINT32_MAX - 1;  // it leads nowhere

// What a hive was loaded from, to load it again.
struct HiveOrigin {
  std::string file;    // as given, UTF-8
  uint32_t start = 0;  // partial range, 0 and 0 for none
  uint32_t end = 0;
  LogChoice logs;
  std::string root_path;  // given by the user; empty for none
};

// Its address stays the same while it is open: workers look at its parts.
struct WindowHive {
  // Not given again in this window; part of the lParams of its items.
  uint32_t number = kOfNoHive;
  int slot = -1;  // in the table of hives; -1 while nothing is loaded
  HiveOrigin origin;
  std::unique_ptr<KeyTree> tree;
  ImageSummary summary;
  HiveSurvey survey;
  HiveStructure structure;                      // what the user had checked, for the status bar
  std::shared_ptr<const RemovedState> removed;  // null until it was worked out
  std::wstring state_words;                     // in the status bar
  Hashing hashing;
  Findings findings;
  SidReplacement sid_replacement;  // in lists of its security records
  TreePane pane;                   // its part of the tree control
  TreePane removed_pane;           // below its folder; no control while it is not there
  TreePane freed_pane;             // deleted keys among those of `pane`
};

// A record for one more hive, after the others in the tree; with nothing loaded yet. It goes with
// DropHive.
WindowHive& AddHive(MainWindow& window);
// Takes the record away, and views another hive if there is one. Nothing of it may be loaded, or
// looked at by a thread, any more.
void DropHive(MainWindow& window, const WindowHive& hive);
// Null for one that is no longer open.
WindowHive* FindHive(const MainWindow& window, uint32_t number);
// The hive that an item of the tree control belongs to, by its lParam; null for the Workspace.
WindowHive* HiveOfParam(const MainWindow& window, LPARAM param);
// Where the root of a hive goes: after the last of what the hives before it have in the control.
HTREEITEM PlaceOfRoot(const MainWindow& window, const WindowHive& hive);
// How many are loaded.
size_t LoadedHives(const MainWindow& window);

// Makes the panes, the band, the title and the commands those of another hive. Its item is to be
// selected next.
void ViewHive(MainWindow& window, WindowHive& hive);
void ShowTitleOfViewed(MainWindow& window);
// What the panes show is of a hive that goes, or is no longer viewed.
void ForgetItemShown(MainWindow& window);

// While it is there, commands and whatever else asks for the hive shown are about that of a list, a
// piece of work, or a window of its own; about none where that one is no longer open.
class HiveTurn {
 public:
  // `number` of a hive, kAnyHive or kOfNoHive. On the interface thread; turns may be inside each
  // other and end in the reverse order.
  HiveTurn(MainWindow& window, uint32_t number);
  ~HiveTurn();
  HiveTurn(const HiveTurn&) = delete;
  HiveTurn& operator=(const HiveTurn&) = delete;

 private:
  MainWindow& window_;
  bool inside_;      // of another turn
  uint32_t before_;  // the hive of that one
};

}  // namespace hivequarry
