// The short threads that read for the value and detail panes, so that no selection makes the
// interface thread wait. All functions are for that thread.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <thread>

namespace hivequarry {

inline constexpr size_t kValueThreads = 256;

// Slots for threads that gather what a selected item shows.
struct ValueThreads {
  std::array<std::atomic<bool>, kValueThreads> taken{};
  // Joined when their slot is taken anew, or at the end. None is detached: the runtime's
  // book-keeping of detached threads is not safe against others that start while one ends.
  std::array<std::thread, kValueThreads> threads;
};

// Runs `work` on a thread of its own. False, after the message "Too many threads !", when every
// slot is taken or no thread could be made. The slot is freed as the last act of the thread.
bool StartValueThread(ValueThreads& threads, std::function<void()> work);
// True while a slot is taken.
bool ValueThreadsRun(const ValueThreads& threads);
// Once none runs any more.
void JoinValueThreads(ValueThreads& threads);

}  // namespace hivequarry
