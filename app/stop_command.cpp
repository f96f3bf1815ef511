#include "app/stop_command.h"

#include "host/host.h"
#include "host/long_operation.h"

namespace hivequarry {

bool StopCommand() {
  LongOperation& operation = TheLongOperation();
  if (operation.backup && operation.backup_progress < kBackupStoppable) return false;
  const int running = operation.running;
  if (running == 0 && !operation.backup) return false;
  const bool quiet = running == kOperationQuietA || running == kOperationQuietB;
  if (!quiet &&
      ShowMessage(kStopQuestion, kProgramName, Icon::kQuestion, Buttons::kYesNo) != Answer::kYes) {
    return false;
  }
  // What was asked about may have ended meanwhile.
  if (operation.running == 0 && !operation.backup) return false;
  operation.running = 0;
  operation.backup = false;
  return true;
}

}  // namespace hivequarry
