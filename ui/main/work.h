// Long operations of the window: one at a time, on a worker thread, under the running flag.
#pragma once

#include <functional>
#include <thread>

#include "ui/draw/win.h"

namespace hivequarry {

struct MainWindow;

// Posted by the worker to the main window as its last act.
inline constexpr UINT kWorkDone = WM_APP + 6;

// The one worker that the program may have at a time.
struct Work {
  std::thread thread;          // joinable from the start until its end was taken
  std::function<void()> done;  // for the interface thread
  uint32_t hive = 0;           // that it is about, which `done` is about as well
};

// Running codes of the program's own operations.
inline constexpr int kOperationSort = 1101;
inline constexpr int kOperationFind = 1102;
inline constexpr int kOperationReport = 1103;  // a Report List is loaded
inline constexpr int kOperationList = 1104;    // a list is filled
inline constexpr int kOperationPrint = 1105;
inline constexpr int kOperationSplit = 1106;
inline constexpr int kOperationExport = 1107;
inline constexpr int kOperationMerge = 1108;
inline constexpr int kOperationSnapshot = 1109;
inline constexpr int kOperationBackup = 1110;
inline constexpr int kOperationMount = 1111;
inline constexpr int kOperationCompare = 1112;
inline constexpr int kOperationRepair = 1113;
inline constexpr int kOperationCarve = 1114;
inline constexpr int kOperationMachine = 1115;

// Runs `work` on a worker thread with the running flag set to `code` and the wait cursor shown;
// afterwards, the flag clear again, `done` on the interface thread. False when an operation is
// under way, or, after the message "Too many Threads or Thread not valid !", when there is no
// thread to be had.
bool StartWork(MainWindow& window, int code, std::function<void()> work,
               std::function<void()> done);
// Tells the user what the operation that ended had to cut short, if anything.
void ShowShortfalls();
// The answer to kWorkDone.
void FinishWork(MainWindow& window);

}  // namespace hivequarry
