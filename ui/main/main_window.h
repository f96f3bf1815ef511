// The main window: its record, and the commands that it carries out. Everything in this folder is
// for the interface thread unless it says otherwise.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ui/commands/bookmark_pane.h"
#include "ui/dialogs/find_dialog.h"
#include "ui/draw/dpi.h"
#include "ui/draw/icons.h"
#include "ui/draw/win.h"
#include "ui/frame/host_window.h"
#include "ui/lists/filter_box.h"
#include "ui/lists/list_place.h"
#include "ui/main/band.h"
#include "ui/main/layout.h"
#include "ui/main/loading.h"
#include "ui/main/menus.h"
#include "ui/main/selection.h"
#include "ui/main/window_hive.h"
#include "ui/main/work.h"
#include "ui/panes/value_pane.h"
#include "ui/panes/value_viewer.h"
#include "view/commands.h"

namespace hivequarry {

// Identifiers of the child windows.
enum ChildId : int {
  kToolbarId = 100,
  kPathId,
  kTreeId,
  kValuesId,
  kDetailId,
  kStatusId,
  kTreeSplitterId,
  kDetailSplitterId,
  kEmptyId,
  kOutputId,
  kBandId,
  kBookmarkSplitterId,
  kBookmarkWordsId,
  kBookmarkListId,
};

// The child windows that are no panes; they go with the window.
struct MainControls {
  HWND toolbar = nullptr;
  HWND path = nullptr;
  HWND tree = nullptr;
  HWND status = nullptr;
  HWND progress = nullptr;  // inside the status bar
  HWND tree_splitter = nullptr;
  HWND detail_splitter = nullptr;
  HWND empty = nullptr;  // what is in place of the panes while there is no hive
};

// Made for the resolution in force; freed after the children, which use them.
struct MainLook {
  Fonts fonts;
  IconLists icons;
  HICON state = nullptr;  // in the status bar
};

// Made and used on the interface thread. Workers write to `host`, `load`, the hashing's
// result and the mailboxes of `selection` alone; they and what they read are there until EndWorkers
// has returned.
struct MainWindow {
  // Called in place of the handler of an accepted command; tests listen here.
  std::function<void(const Command&)> on_command;
  HINSTANCE instance = nullptr;
  HWND handle = nullptr;
  HWND blocks = nullptr;      // the block list's window, null while it is closed
  HWND last_focus = nullptr;  // the pane to return to when the window is activated again
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  RECT put_beside{};  // where it began, if that was not its own place
  MainControls controls;
  MainMenus menus;
  MainLook look;
  PaneLayout layout;

  Band band;
  ValuePane values;
  ValueViewer viewer;
  BookmarkPane bookmarks;
  ListPlace output;       // the Output List pane
  FilterControls filter;  // above it
  ValueViewOptions view;
  FindChoice tree_find;  // what was last searched for in the tree

  HostWindow host;
  LoadJob load;
  Work work;
  std::vector<std::unique_ptr<WindowHive>> hives;  // in the order of the tree
  WindowHive none;                                 // where there is no hive
  WindowHive* viewed = &none;                      // whose items the panes show
  WindowHive* shown = &none;           // whom commands are about: `viewed`, but for a HiveTurn
  uint32_t next_hive = 0;              // number of the next one
  std::atomic<bool> comparing{false};  // the mode "Displayed Sub Keys", also of hives to come
  bool expanding_shown = false;        // the status bar says how far "Expand subfolders" is
  bool tree_changes = false;           // items go, and what is selected by that is of no interest
  PaneSelection selection;
  std::string report_named;  // Report List on its way to be loaded
};

// Creates the window with all it holds and sets the host table; null after a message when that
// fails. `show` as for ShowWindow. The record goes with the window.
MainWindow* CreateMainWindow(HINSTANCE instance, int show);
// Translates and dispatches one message: accelerators of the main window `handle` and the keys that
// move the focus first. The window may be gone already.
void HandleMessage(HWND handle, MSG& message);
// The record of a main window's handle; null for any other window, or one that is gone.
MainWindow* FindMainWindow(HWND handle);

// Where the focus goes by itself: the pane that is shown whatever else is, or the window.
HWND ShownPane(const MainWindow& window);
// The hive that commands are about; only while its slot >= 0.
const HiveImage& ShownHive(const MainWindow& window);
CommandFacts FactsNow(const MainWindow& window);
// Evidence mode: what writes into the live registry or into the hive in memory is not offered, here
// and in new copies of the program that this window starts.
void SetEvidenceMode(MainWindow& window, bool evidence);
// Carries the command out unless it is not available.
void RunCommand(MainWindow& window, uint32_t number);

}  // namespace hivequarry
