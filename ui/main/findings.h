// What is looked for after a load while the user works: deleted keys and values, and faults of the
// structure. Nobody waits for it.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "ui/draw/win.h"
#include "view/freed_tree.h"
#include "view/hive_glance.h"

namespace hivequarry {

struct MainWindow;

// Posted by the thread for each thing that it has found; wParam is the serial of its run, lParam
// the number of the hive.
inline constexpr UINT kFindingsReady = WM_APP + 8;

// What is looked for after a load, on a thread of its own.
struct Findings {
  std::thread thread;  // joinable from the start until it was ended
  uint32_t serial = 0;
  std::mutex mutex;  // of what the thread leaves here
  HiveFindings left;
  std::shared_ptr<const FreedTree> left_freed;
  // Of the interface thread.
  HiveFindings known;
  std::shared_ptr<const FreedTree> freed;  // null until it is known
};

// Looks for what is not known yet of the hives that are open.
void StartFindings(MainWindow& window);
// Waits for the threads, which end early; what they have found stays known.
void StopFindings(MainWindow& window);
// Of the hive shown, which goes.
void ForgetFindings(MainWindow& window);
// The answer to kFindingsReady, about the hive of that number.
void ShowFindings(MainWindow& window, uint32_t serial, uint32_t number);

}  // namespace hivequarry
