#include "ui/panes/value_threads.h"

#include <algorithm>
#include <system_error>

#include "app/memory.h"
#include "host/host.h"

namespace hivequarry {
namespace {

// kValueThreads when every slot is taken.
size_t AllocateSlot(ValueThreads& threads) {
  size_t slot = 0;
  while (slot < kValueThreads && threads.taken[slot].exchange(true)) ++slot;
  return slot;
}

bool Refuse() {
  ShowMessage("Too many threads !", "Error", Icon::kExclamation);
  return false;
}

}  // namespace

bool StartValueThread(ValueThreads& threads, std::function<void()> work) {
  const size_t slot = AllocateSlot(threads);
  if (slot == kValueThreads) return Refuse();
  std::atomic<bool>& taken = threads.taken[slot];
  std::thread& thread = threads.threads[slot];
  if (thread.joinable()) thread.join();  // its last act was to free the slot
  try {
    thread = std::thread([&taken, run = std::move(work)] {
      WithMemory([&run] {
        run();
        return true;
      });
      taken = false;
    });
  } catch (const std::system_error&) {
    taken = false;
    return Refuse();
  }
  return true;
}

bool ValueThreadsRun(const ValueThreads& threads) {
  return std::any_of(threads.taken.begin(), threads.taken.end(),
                     [](const std::atomic<bool>& taken) { return taken.load(); });
}

void JoinValueThreads(ValueThreads& threads) {
  for (std::thread& thread : threads.threads) {
    if (thread.joinable()) thread.join();
  }
}

}  // namespace hivequarry
