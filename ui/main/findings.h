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

// Posted by the thread for each thing that it has found; wParam is the serial of its run.
inline constexpr UINT kFindingsReady = WM_APP + 8;

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

// Looks for what is not known yet of the hive shown.
void StartFindings(MainWindow& window);
// Waits for the thread, which ends early; what it has found stays known.
void StopFindings(MainWindow& window);
// Of a hive that goes.
void ForgetFindings(MainWindow& window);
// The answer to kFindingsReady.
void ShowFindings(MainWindow& window, uint32_t serial);

}  // namespace hivequarry
