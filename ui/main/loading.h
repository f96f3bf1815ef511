// Opening files in the main window.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "hive/key_tree.h"
#include "recovery/image_tree.h"
#include "replay/replay_plan.h"
#include "ui/draw/win.h"
#include "ui/frame/named_file.h"
#include "ui/main/window_hive.h"
#include "view/hive_status.h"

namespace hivequarry {

struct MainWindow;

// Posted by the worker of a load as its last act.
inline constexpr UINT kLoadDone = WM_APP + 3;
// In the high word of a posted WM_COMMAND for "Load Report List": MainWindow::report_named says
// which.
inline constexpr WORD kReportNamed = 2;

// A load under way, or its result. The worker writes what is from `slot` on, the interface thread
// the rest before it starts.
struct LoadJob {
  std::thread thread;  // joinable from the start until its result was taken
  HiveOrigin origin;
  std::vector<NamedFile> waiting;     // to be opened when nothing is under way any more
  uint32_t into = kAnyHive;           // the hive that is loaded again; any: one more
  uint32_t key_position = kNoOffset;  // of the key to select afterwards
  std::string key_path;               // of that key, which is told by its path first
  int slot = -1;                      // -1: the file could not be opened
  std::unique_ptr<KeyTree> tree;
  ImageSummary summary;
  HiveSurvey survey;
};

// Opens a file as a command line, the open dialog or a drop names it: a Report List in the Output
// List pane, a hive here, beside those that are open; one that is open already is gone to. While
// an operation is under way it waits for its end. Where the user wants a window for each, the
// second one is opened by a new copy of the program.
void OpenNamedFile(MainWindow& window, const NamedFile& file);
// When an operation has ended: opens the next of the files that wait.
void OpenWaiting(MainWindow& window);
// Loads the file of the hive shown once more, with these logs. The selected key stays selected, or
// what is left of its path. For the interface thread, with the hive let go of.
struct ReloadRequest {
  LogChoice logs;
  std::string key_path;
  uint32_t key_position = kNoOffset;
};
// Starts the load; what becomes of it kLoadDone tells.
void LoadAgain(MainWindow& window, const ReloadRequest& request);
// Waits until no thread reads for the panes, or looks for what was deleted: before what these look
// at changes (items, root). RefreshItem and StartFindings begin them again.
void LetReadersEnd(MainWindow& window);
// Lets go of the hive shown; of all of it but its origin. No operation may be under way.
void LetGoOfHive(MainWindow& window);
// Takes the hive shown out of the window.
void CloseShownHive(MainWindow& window);
// Opens the file in a new copy of the program.
void OpenInNewCopy(const std::string& file);
// The answer to the posted "Load Report List": shows the list in the Output List pane.
void LoadNamedReport(MainWindow& window);
// The answer to kLoadDone: shows the hive, or tells why there is none.
void ShowLoadResult(MainWindow& window);
// Waits; answers meanwhile what workers send, who may wait for an answer of this thread.
void WaitWhile(const std::function<bool()>& busy);
// Ends every worker.
void EndWorkers(MainWindow& window);

}  // namespace hivequarry
