#include "host/long_operation.h"

#include "host/shortfalls.h"

namespace hivequarry {

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
