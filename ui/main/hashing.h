// The hashes of the files shown, computed after the load: nobody waits for them.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "lists/list_head.h"
#include "ui/draw/win.h"
#include "view/hive_status.h"

namespace hivequarry {

struct MainWindow;

// Posted by the hashing thread as its last act; wParam is the serial of its run,
// lParam the number of the hive.
inline constexpr UINT kHashesReady = WM_APP + 7;

// The thread that makes the hashes of one hive, and what it has found.
struct Hashing {
  std::thread thread;  // joinable from the start until it was ended
  std::atomic<bool> stop{false};
  uint32_t serial = 0;  // of the last run
  HiveHashes found;     // the thread's, until its message is answered
  // Of the interface thread.
  HiveHashes hashes;
  HashProgress progress = HashProgress::kStopped;
  // The first lines of what is saved and printed of the hive shown; lists made of it share them.
  std::shared_ptr<ListHead> head;
};

// For the hive that was just loaded. Reads its file and its logs again.
void StartHashing(MainWindow& window);
// Waits for the thread, which looks at its flag after each piece.
void StopHashing(Hashing& hashing);
// The answer to kHashesReady, about the hive of that number.
void ShowHashes(MainWindow& window, uint32_t serial, uint32_t number);

// What the dialog about the hive's state shows.
std::u16string HiveStateNow(const MainWindow& window);

}  // namespace hivequarry
