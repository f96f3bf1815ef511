#include "host/long_operation.h"

#include "host/shortfalls.h"

namespace hivequarry {
namespace {

thread_local BackgroundWork* background_work = nullptr;

}  // namespace

BackgroundWork::BackgroundWork() { background_work = this; }
BackgroundWork::~BackgroundWork() { background_work = nullptr; }
BackgroundWork* WorkInBackground() { return background_work; }
void JoinBackgroundWork(BackgroundWork* work) { background_work = work; }

bool StopsThisThread() {
  const LongOperation& operation = TheLongOperation();
  if (background_work != nullptr) return operation.background_ends;
  return operation.running == 0 && operation.worker_busy;
}

bool BeginOperation(int code) {
  LongOperation& operation = TheLongOperation();
  bool idle = false;
  if (!operation.worker_busy.compare_exchange_strong(idle, true)) return false;
  ForgetShortfalls();
  operation.running = code;
  return true;
}

void EndOperation() {
  LongOperation& operation = TheLongOperation();
  operation.running = 0;
  operation.worker_busy = false;
}

void RequestStop() { TheLongOperation().running = 0; }

}  // namespace hivequarry
