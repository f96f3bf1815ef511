// A second processor for an operation under way: a part of its work that runs beside the rest.
#pragma once

#include <cstdint>
#include <functional>
#include <thread>

namespace hivequarry {

// Work that is part of what the calling thread does: it is stopped with that, and what it cuts
// short is counted there. It runs on a thread of its own; where none can be had, in Wait. It says
// nothing to the user, and it must not throw.
class SideWork {
 public:
  // Begins at once. What `work` refers to must outlive this.
  explicit SideWork(std::function<void()> work);
  ~SideWork() { Wait(); }
  SideWork(const SideWork&) = delete;
  SideWork& operator=(const SideWork&) = delete;
  // Until the work is done; at once when it was waited for before.
  void Wait();

 private:
  std::function<void()> work_;  // empty once it is done, or on its thread
  std::thread thread_;
};

// When an image is worth two threads: below that size starting one costs more than it saves.
struct SideWorkLimits {
  uint64_t least_bytes = uint64_t{8} << 20;  // of the image
  unsigned processors = 0;                   // 0: those that the process may use
};
// Changed by tests alone, before any work.
SideWorkLimits& TheSideWorkLimits();
// False on a machine with one processor, or for a process that was given one.
bool IsWorthSideWork(uint64_t bytes);

}  // namespace hivequarry
