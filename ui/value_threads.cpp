#include "ui/value_threads.h"

#include <algorithm>
#include <system_error>
#include <thread>

#include "host/host.h"

namespace hivequarry {
namespace {

std::atomic<bool>* TakeSlot(ValueThreads& threads) {
  for (std::atomic<bool>& taken : threads.taken) {
    if (!taken.exchange(true)) return &taken;
  }
  return nullptr;
}

bool Refuse() {
  ShowMessage("Too many threads !", "Error", Icon::kExclamation);
  return false;
}

}  // namespace

bool StartValueThread(ValueThreads& threads, std::function<void()> work) {
  std::atomic<bool>* slot = TakeSlot(threads);
  if (slot == nullptr) return Refuse();
  try {
    std::thread([slot, run = std::move(work)] {
      run();
      *slot = false;
    }).detach();
  } catch (const std::system_error&) {
    *slot = false;
    return Refuse();
  }
  return true;
}

bool ValueThreadsRun(const ValueThreads& threads) {
  return std::any_of(threads.taken.begin(), threads.taken.end(),
                     [](const std::atomic<bool>& taken) { return taken.load(); });
}

}  // namespace hivequarry
