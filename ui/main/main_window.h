// The main window: its record, and what the files of this folder do with it. Everything here is
// for the interface thread unless it says otherwise.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "hive/key_tree.h"
#include "recovery/image_tree.h"
#include "security/descriptor.h"
#include "ui/dialogs/find_dialog.h"
#include "ui/draw/dpi.h"
#include "ui/draw/icons.h"
#include "ui/draw/win.h"
#include "ui/frame/host_window.h"
#include "ui/lists/list_place.h"
#include "ui/main/work.h"
#include "ui/panes/detail_pane.h"
#include "ui/panes/tree_pane.h"
#include "ui/panes/value_pane.h"
#include "ui/panes/value_threads.h"
#include "view/commands.h"

namespace hivequarry {

// Posted by workers to the main window, without arguments.
inline constexpr UINT kLoadDone = WM_APP + 3;
inline constexpr UINT kItemReady = WM_APP + 4;
inline constexpr UINT kDetailReady = WM_APP + 5;
// In the high word of a posted WM_COMMAND for "Load Report List": MainWindow::report_named says
// which.
inline constexpr WORD kReportNamed = 2;

// Pane arrangements.
inline constexpr int kTreeArrangement = 1;    // the tree alone
inline constexpr int kKeysArrangement = 2;    // tree, values and details
inline constexpr int kOutputArrangement = 3;  // the Output List

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
};

// Parts of the status bar.
enum StatusPart : int { kStatusText, kStatusProgress, kStatusCounts, kStatusPartCount };

// A load under way, or its result. The worker writes what is from `slot` on, the interface thread
// the rest before it starts.
struct LoadJob {
  std::thread thread;  // joinable from the start until its result was taken
  std::string file;
  uint32_t start = 0;  // partial range, 0 and 0 for none
  uint32_t end = 0;
  uint32_t key_position = kNoOffset;  // of the key to select afterwards
  std::string root_path;              // given by the user, code-page text; empty for none
  int slot = -1;                      // -1: the file could not be opened
  std::unique_ptr<KeyTree> tree;
  ImageSummary summary;
};

// A result on its way from a value thread: the newest one waits here to be taken.
template <typename Result>
struct Mailbox {
  std::atomic<uint32_t> newest{0};  // serial of the last request
  std::mutex mutex;                 // of what follows
  uint32_t serial = 0;              // of `result`
  std::unique_ptr<Result> result;
};

// What a value thread gathered for an item of the tree.
struct ItemResult {
  uint32_t item = kNoItem;
  ItemValues values;
  ValueViewOptions options;
  std::wstring detail;
};

// The child windows that are no panes; they go with the window.
struct MainControls {
  HWND toolbar = nullptr;
  HWND path = nullptr;
  HWND status = nullptr;
  HWND progress = nullptr;  // inside the status bar
  HWND tree_splitter = nullptr;
  HWND detail_splitter = nullptr;
  HWND empty = nullptr;  // what is in place of the panes while there is no hive
};

struct MainMenus {
  HMENU recent = nullptr;  // of the main menu, which goes with the window
  HACCEL accelerators = nullptr;
  HACCEL list_accelerators = nullptr;  // while the Output List has the focus
};

// Made for the resolution in force; freed after the children, which use them.
struct MainLook {
  Fonts fonts;
  IconLists icons;
};

// Which panes are shown, and how large.
struct PaneLayout {
  int tree_width = 320;     // at 96 dpi
  int detail_share = 3800;  // of the right side's height, in 1/10000
  bool detail_shown = true;
  int arrangement = kKeysArrangement;
  std::array<int, 3> recent_arrangements = {kKeysArrangement, 0, 0};  // newest first, 0 for none
};

struct ShownHiveState {
  int slot = -1;  // in the table of hives, -1 while none is shown
  std::unique_ptr<KeyTree> tree;
  ImageSummary summary;
  std::atomic<bool> comparing{false};  // the mode "Displayed Sub Keys"
  SidReplacement sid_replacement;      // in lists of its security records
};

// What the value and detail panes show of the tree's selected item, and what is on its way there.
struct PaneSelection {
  ValueThreads threads;
  Mailbox<ItemResult> item_box;
  Mailbox<std::wstring> detail_box;
  uint32_t item = kNoItem;            // whose rows the value pane holds
  uint32_t value = kNoOffset;         // whose detail is shown or on its way
  std::wstring key_detail;            // of `item`
  std::wstring item_words;            // status and info words of the selected item
  uint32_t wanted_value = kNoOffset;  // to be selected when the rows on their way come
  uint32_t branch_return = kNoItem;   // where "Current Branch" came from
};

// Made and used on the interface thread. Workers write to `host`, `load` and the mailboxes of
// `selection` alone; they and what they read are there until EndWorkers has returned.
struct MainWindow {
  // Called in place of the handler of an accepted command; tests listen here.
  std::function<void(const Command&)> on_command;
  HINSTANCE instance = nullptr;
  HWND handle = nullptr;
  HWND blocks = nullptr;      // the block list's window, null while it is closed
  HWND last_focus = nullptr;  // the pane to return to when the window is activated again
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  MainControls controls;
  MainMenus menus;
  MainLook look;
  PaneLayout layout;

  TreePane tree;
  ValuePane values;
  DetailPane detail;
  ListPlace output;  // the Output List pane
  ValueViewOptions view;
  FindChoice tree_find;  // what was last searched for in the tree

  HostWindow host;
  LoadJob load;
  Work work;
  ShownHiveState hive;
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
// The hive shown; only while slot >= 0.
const HiveImage& ShownHive(const MainWindow& window);
CommandFacts FactsNow(const MainWindow& window);
// Carries the command out unless it is not available.
void RunCommand(MainWindow& window, uint32_t number);

// layout.cpp: places every child; moves a splitter by pixels; goes over to another resolution.
void LayOut(MainWindow& window);
void MoveSplitter(MainWindow& window, int splitter, int distance);
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

// menus.cpp
// The menu goes with its window, the tables are for the caller to destroy. Those of the Output List
// are the keys of a list window, but for the one that closes it.
HMENU MakeMainMenu();
HACCEL MakeAccelerators();
HACCEL MakeListAccelerators();
// Enables and checks the items of an opening menu.
void UpdateMenu(HMENU menu, const CommandFacts& facts);
// Fills the menu of the hives opened last, when it opens.
void FillRecentMenu(HMENU menu);
// The sub menu that FillRecentMenu is for.
HMENU FindRecentMenu(HMENU main_menu);
// A context menu of the commands offered in `place`, for the caller to destroy.
HMENU MakeContextMenu(MainWindow& window, CommandPlace place);
void TrackContextMenu(MainWindow& window, CommandPlace place, POINT where);

// toolbar.cpp
// The pictures are set when there are any (SetToolbarIcons).
HWND MakeToolbar(MainWindow& window);
void SetToolbarIcons(MainWindow& window);
// Enables and checks the buttons as the facts are now.
void UpdateToolbar(MainWindow& window);
// The toolbar and those of the list windows, when an operation began or ended.
void UpdateToolbars(MainWindow& window);
void OnToolTip(const MainWindow& window, NMTTDISPINFOW& notice);
// Breaks the toolbar into as many rows as a width takes; their height together.
int WrapToolbar(const MainWindow& window, int width);

// status.cpp: shows what the host has got from workers.
// Also makes the progress bar, a child of it.
HWND MakeStatusBar(MainWindow& window);
// Places the parts for the window's width.
void LayOutStatus(MainWindow& window);
void ShowHostChanges(MainWindow& window);
// How many keys there are, or items in the Output List where that is shown.
void ShowCounts(MainWindow& window);
// The words of the selected item, in place of the host's status text until that changes.
void ShowItemWords(MainWindow& window, std::wstring words);

// loading.cpp
// Opens a file as a command line, the open dialog or a drop names it: a Report List in the Output
// List pane, a hive here when none is shown, else in a new copy of the program. `start` and `end`
// are the partial range, 0 and 0 for none; a key position is gone to after the load.
void OpenNamedFile(MainWindow& window, const std::string& file, uint32_t start, uint32_t end,
                   uint32_t key_position = kNoOffset);
// The answer to the posted "Load Report List": shows the list in the Output List pane.
void LoadNamedReport(MainWindow& window);
// The answer to kLoadDone: shows the hive, or tells why there is none.
void ShowLoadResult(MainWindow& window);
// Waits; answers meanwhile what workers send, who may wait for an answer of this thread.
void WaitWhile(const std::function<bool()>& busy);
// Ends every worker.
void EndWorkers(MainWindow& window);

// selection.cpp
// Its rows and details are gathered by a value thread; path and words are shown at once.
void OnItemSelected(MainWindow& window, uint32_t item);
// The answer to kItemReady. A result that is not the newest is dropped.
void ShowItemResult(MainWindow& window);
// The details of the selected value, or of the key where no value is selected.
void OnRowSelected(MainWindow& window);
// The answer to kDetailReady, likewise.
void ShowDetailResult(MainWindow& window);
// Selects the key at an image position, or the value there with its key, and shows the tree; false
// when that has neither.
bool GoToPosition(MainWindow& window, uint32_t position);
// Gathers the selected item's rows anew, after a change of the view.
void RefreshItem(MainWindow& window);

// notifications.cpp: what the child windows report.
LRESULT OnNotify(MainWindow& window, const NMHDR& notice);
void OnContextMenu(MainWindow& window, HWND child, POINT where);
// A status text of the tree's own, which goes by itself after two seconds.
void ShowPassingText(const MainWindow& window, const char* text);
// Timers of work that the interface thread does in parts: "Expand subfolders", a long detail text,
// a branch with very many keys.
inline constexpr UINT_PTR kExpandTimer = 1;
inline constexpr UINT_PTR kDetailTimer = 2;
inline constexpr UINT_PTR kFillTimer = 3;
inline constexpr UINT_PTR kPassingTimer = 4;  // a status text that goes by itself
inline constexpr UINT kPassingTime = 2000;    // milliseconds
inline constexpr UINT kTimerPause = 10;       // milliseconds between two parts
void OnTimer(MainWindow& window, UINT_PTR timer);
// Sees to it that branches which are filled in part become whole.
void KeepFilling(const MainWindow& window);

}  // namespace hivequarry
