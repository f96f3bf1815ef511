#include "host/side_work.h"

#include <system_error>
#include <utility>

#include "host/long_operation.h"

#ifdef __linux__
#include <sched.h>
#endif

namespace hivequarry {
namespace {

// The standard library counts those of the machine, whatever this process was given.
unsigned UsableProcessors() {
#ifdef __linux__
  cpu_set_t given;
  CPU_ZERO(&given);
  if (sched_getaffinity(0, sizeof given, &given) == 0) {
    return static_cast<unsigned>(CPU_COUNT(&given));
  }
#endif
  return std::thread::hardware_concurrency();
}

}  // namespace

SideWork::SideWork(std::function<void()> work) : work_(std::move(work)) {
  BackgroundWork* const background = WorkInBackground();
  try {
    thread_ = std::thread([background, work = work_] {
      JoinBackgroundWork(background);
      work();
    });
    work_ = nullptr;
  } catch (const std::system_error&) {
    // No thread: Wait does it.
  }
}

void SideWork::Wait() {
  if (thread_.joinable()) thread_.join();
  if (work_) std::exchange(work_, nullptr)();
}

SideWorkLimits& TheSideWorkLimits() {
  static SideWorkLimits limits;
  return limits;
}

bool IsWorthSideWork(uint64_t bytes) {
  static const unsigned usable = UsableProcessors();
  const SideWorkLimits& limits = TheSideWorkLimits();
  return (limits.processors != 0 ? limits.processors : usable) > 1 && bytes >= limits.least_bytes;
}

}  // namespace hivequarry
