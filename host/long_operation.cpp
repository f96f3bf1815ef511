#include "host/long_operation.h"

#include "host/host.h"
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

bool StopCommand() {
  LongOperation& operation = TheLongOperation();
  if (operation.backup && operation.backup_progress < kBackupStoppable) return false;
  const int running = operation.running;
  if (running == 0 && !operation.backup) return false;
  const bool quiet = running == kOperationQuietA || running == kOperationQuietB;
  if (!quiet && ShowMessage("Stop current Process ?", kProgramName, Icon::kQuestion,
                            Buttons::kYesNo) != Answer::kYes) {
    return false;
  }
  operation.running = 0;
  operation.backup = false;
  return true;
}

}  // namespace hivequarry
