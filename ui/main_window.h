// The main window: its record, and what the files of this folder do with it. Everything here is
// for the interface thread unless it says otherwise.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "hive/key_tree.h"
#include "recovery/image_tree.h"
#include "ui/commands.h"
#include "ui/detail_pane.h"
#include "ui/dpi.h"
#include "ui/host_window.h"
#include "ui/icons.h"
#include "ui/tree_pane.h"
#include "ui/value_pane.h"
#include "ui/value_threads.h"
#include "ui/win.h"

namespace hivequarry {

// Posted by workers to the main window, without arguments.
inline constexpr UINT kLoadDone = WM_APP + 3;
inline constexpr UINT kItemReady = WM_APP + 4;
inline constexpr UINT kDetailReady = WM_APP + 5;

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
};

// Parts of the status bar.
enum StatusPart : int { kStatusText, kStatusProgress, kStatusCounts, kStatusPartCount };

struct LoadJob {
  std::thread thread;  // joinable from the start until its result was taken
  std::string file;
  int slot = -1;  // -1: the file could not be opened
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

struct ItemResult {
  uint32_t item = kNoItem;
  ItemValues values;
  ValueViewOptions options;
  std::wstring detail;
};

struct MainWindow {
  // Called in place of the handler of an accepted command; tests listen here.
  std::function<void(const Command&)> on_command;
  HINSTANCE instance = nullptr;
  HWND handle = nullptr;
  HWND toolbar = nullptr;
  HWND path = nullptr;
  HWND status = nullptr;
  HWND progress = nullptr;
  HWND tree_splitter = nullptr;
  HWND detail_splitter = nullptr;
  HWND empty = nullptr;       // what stands in place of the panes while there is no hive
  HWND blocks = nullptr;      // the block list's window, null while it is closed
  HWND last_focus = nullptr;  // the pane to return to when the window is activated again
  TreePane tree;
  ValuePane values;
  DetailPane detail;

  HMENU menu = nullptr;
  HACCEL accelerators = nullptr;
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  Fonts fonts;
  IconLists icons;
  int tree_width = 320;     // at 96 dpi
  int detail_share = 3800;  // of the right side's height, in 1/10000
  bool detail_shown = true;
  ValueViewOptions view;

  HostWindow host;
  LoadJob load;
  int slot = -1;  // of the hive shown, -1 for none
  std::unique_ptr<KeyTree> key_tree;
  ImageSummary summary;

  ValueThreads threads;
  Mailbox<ItemResult> item_box;
  Mailbox<std::wstring> detail_box;
  uint32_t shown_item = kNoItem;     // whose rows the value pane holds
  uint32_t shown_value = kNoOffset;  // whose detail is shown or on its way
  std::wstring key_detail;           // of shown_item
  std::wstring item_words;           // status and info words of the selected item
};

// Creates the window with all it holds and sets the host table; null after a message when that
// fails. `show` as for ShowWindow. The record goes with the window.
MainWindow* CreateMainWindow(HINSTANCE instance, int show);
// Translates and dispatches one message: accelerators of the main window `handle` and the keys that
// move the focus first. The window may be gone already.
void HandleMessage(HWND handle, MSG& message);
// The record of a main window's handle; null for any other window, or one that is gone.
MainWindow* FindMainWindow(HWND handle);

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
void ShowPanes(MainWindow& window);
void FocusNextPane(MainWindow& window, bool backward);

// menus.cpp
HMENU MakeMainMenu();
HACCEL MakeAccelerators();
// Enables and checks the items of an opening menu.
void UpdateMenu(HMENU menu, const CommandFacts& facts);
// A context menu of the commands offered in `place`, at a screen point.
void TrackContextMenu(MainWindow& window, uint8_t place, POINT where);

// toolbar.cpp
HWND MakeToolbar(MainWindow& window);
void SetToolbarIcons(MainWindow& window);
void UpdateToolbar(MainWindow& window);
void OnToolTip(NMTTDISPINFOW& notice);

// status.cpp: takes what the host has to show.
HWND MakeStatusBar(MainWindow& window);
void LayOutStatus(MainWindow& window);
void TakeHostChanges(MainWindow& window);
void ShowCounts(MainWindow& window);
// The words of the selected item, in place of the host's status text until that changes.
void ShowItemWords(MainWindow& window, std::wstring words);

// loading.cpp
// Opens a file as a command line, the open dialog or a drop names it: here when no hive is shown,
// else in a new copy of the program. `start` and `end` are the partial range, 0 and 0 for none.
void OpenNamedFile(MainWindow& window, const std::string& file, uint32_t start, uint32_t end);
void TakeLoadResult(MainWindow& window);
// Ends every worker; answers what they send meanwhile.
void EndWorkers(MainWindow& window);

// selection.cpp
void OnItemSelected(MainWindow& window, uint32_t item);
void TakeItemResult(MainWindow& window);
void OnRowSelected(MainWindow& window);
void TakeDetailResult(MainWindow& window);
// Gathers the selected item's rows anew, after a change of the view.
void RefreshItem(MainWindow& window);

// notifications.cpp: what the child windows report.
LRESULT OnNotify(MainWindow& window, const NMHDR& notice);
void OnContextMenu(MainWindow& window, HWND child, POINT where);
// Timers of work that the interface thread does in parts: "Expand subfolders", a long detail text,
// a branch with very many keys.
inline constexpr UINT_PTR kExpandTimer = 1;
inline constexpr UINT_PTR kDetailTimer = 2;
inline constexpr UINT_PTR kFillTimer = 3;
inline constexpr UINT kTimerPause = 10;  // milliseconds between two parts
void OnTimer(MainWindow& window, UINT_PTR timer);
// Sees to it that branches which are filled in part become whole.
void KeepFilling(const MainWindow& window);

}  // namespace hivequarry
