// The process-wide marks of long operations: load, scan, search, report, sort, export, compare.
// One runs at a time, on a worker thread; the user stops it by clearing the running flag, and every
// long loop asks StopRequested() between items.
#pragma once

#include <atomic>
#include <cstdint>

namespace hivequarry {

// Every member may be read by any thread; who may write which is said with the functions below.
struct LongOperation {
  std::atomic<int> running{0};               // 0 idle; 3 and 4 may be stopped without asking
  std::atomic<bool> backup{false};           // a backup or replace run
  std::atomic<int> backup_progress{0};       // counter of the backup run
  std::atomic<bool> worker_busy{false};      // from BeginOperation until EndOperation
  std::atomic<bool> background_ends{false};  // what is done in the background ends early
};

// The running codes that mean something to the stop rule; any other non-zero code asks first.
inline constexpr int kOperationLoad = 1;
inline constexpr int kOperationQuietA = 3;
inline constexpr int kOperationQuietB = 4;
// A backup is not stopped before this count of its progress.
inline constexpr int kBackupStoppable = 200;

inline constinit LongOperation long_operation_instance;
// One for the process, as there is one operation at a time.
inline LongOperation& TheLongOperation() { return long_operation_instance; }

// Claims the one slot for a long operation, sets the running flag to `code` (not 0) and forgets
// what the last one cut short. False when one is under way, or was stopped and has not ended yet.
// On the interface thread, before the worker starts.
bool BeginOperation(int code);
// The worker's last act; clears the running flag as well.
void EndOperation();
// Clears the running flag: the operation under way ends early. Harmless when idle.
void RequestStop();
// Work of the calling thread that is no operation of the user's: it goes on beside operations, no
// stop of theirs ends it, it says nothing to the user, and what it cuts short is counted apart.
class BackgroundWork {
 public:
  BackgroundWork();
  ~BackgroundWork();
  BackgroundWork(const BackgroundWork&) = delete;
  BackgroundWork& operator=(const BackgroundWork&) = delete;
  std::atomic<uint64_t> shortfalls{0};
};
// What the calling thread does in the background; null where it does an operation's work.
BackgroundWork* WorkInBackground();
// For a thread that does a part of another's work: `work` is what WorkInBackground was there.
void JoinBackgroundWork(BackgroundWork* work);
// StopRequested where some thread is to stop.
bool StopsThisThread();

// True while an operation is under way whose running flag was cleared; on a thread in the
// background, while that is to end. Cheap enough for every step of a loop.
inline bool StopRequested() {
  const LongOperation& operation = TheLongOperation();
  const bool stopped = operation.running.load(std::memory_order_relaxed) == 0 &&
                       operation.worker_busy.load(std::memory_order_relaxed);
  if (!stopped && !operation.background_ends.load(std::memory_order_relaxed)) return false;
  return StopsThisThread();
}

}  // namespace hivequarry
