// Where a lack of memory ends.
#pragma once

#include <new>

namespace hivequarry {

// The message "Could Not Allocate Memory".
void ReportNoMemory();
// Runs `act`; false also, after that message, when there is no memory for it. The one place where
// a lack of memory ends: at the top of each command and each worker.
template <typename Act>
bool WithMemory(const Act& act) {
  try {
    return act();
  } catch (const std::bad_alloc&) {
    ReportNoMemory();
    return false;
  }
}

}  // namespace hivequarry
