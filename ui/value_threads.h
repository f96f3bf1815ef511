// The short threads that read for the value and detail panes, so that no selection makes the
// interface thread wait.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>

namespace hivequarry {

inline constexpr size_t kValueThreads = 256;

struct ValueThreads {
  std::array<std::atomic<bool>, kValueThreads> taken{};
};

// Runs `work` on a thread of its own. False, after the message "Too many threads !", when every
// slot is taken or no thread could be made. The slot is freed as the last act of the thread.
bool StartValueThread(ValueThreads& threads, std::function<void()> work);
// True while a slot is taken.
bool ValueThreadsRun(const ValueThreads& threads);

}  // namespace hivequarry
