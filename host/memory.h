// Memory for what is large.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

namespace hivequarry {

// `size` bytes that std::free frees, their content undefined; null when there is no memory. Of the
// system's largest pages where it has some: a hive is filled at once, and mapping it in small pages
// takes longer than reading it.
uint8_t* AllocateLarge(size_t size);

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
