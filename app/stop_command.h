// The user's wish to stop what is under way.
#pragma once

namespace hivequarry {

inline constexpr const char* kStopQuestion = "Stop current Process ?";

// The stop command (Ctrl+Q): ignored while a backup is under kBackupStoppable steps, silent when
// idle, asks "Stop current Process ?" unless the operation may be stopped without asking. True when
// the flags of the operation (host/long_operation.h) were cleared.
bool StopCommand();

}  // namespace hivequarry
