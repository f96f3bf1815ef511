// The process-wide marks of long operations: load, scan, search, report, sort, export, compare.
// One runs at a time, on a worker thread; the user stops it by clearing the running flag, and every
// long loop asks StopRequested() between items.
#pragma once

#include <atomic>

namespace hivequarry {

struct LongOperation {
  std::atomic<int> running{0};           // 0 idle; 3 and 4 may be stopped without asking
  std::atomic<bool> backup{false};       // a backup or replace run
  std::atomic<int> backup_progress{0};   // counter of the backup run
  std::atomic<bool> worker_busy{false};  // from BeginOperation until EndOperation
};

// The running codes that mean something to the stop rule; any other non-zero code asks first.
inline constexpr int kOperationLoad = 1;
inline constexpr int kOperationQuietA = 3;
inline constexpr int kOperationQuietB = 4;
// A backup is not stopped before this count of its progress.
inline constexpr int kBackupStoppable = 200;

inline constinit LongOperation long_operation_instance;
inline LongOperation& TheLongOperation() { return long_operation_instance; }

// Claims the one slot for a long operation, sets the running flag to `code` (not 0) and forgets
// what the last one cut short. False when one is under way, or was stopped and has not ended yet.
bool BeginOperation(int code);
// The worker's last act; clears the running flag as well.
void EndOperation();
// Clears the running flag: the operation under way ends early. Harmless when idle.
void RequestStop();
// True while an operation is under way whose running flag was cleared. Cheap enough for every step
// of a loop.
inline bool StopRequested() {
  const LongOperation& operation = TheLongOperation();
  return operation.running.load(std::memory_order_relaxed) == 0 &&
         operation.worker_busy.load(std::memory_order_relaxed);
}

}  // namespace hivequarry
