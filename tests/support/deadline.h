// A limit for the time that a test may take.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <functional>
#include <thread>

namespace hivequarry::testing {

// Sanitizers cost a factor that is no business of these tests.
#if defined(HIVEQUARRY_THREAD_SANITIZER)
inline constexpr double kSeconds = 300;
#elif defined(HIVEQUARRY_ADDRESS_SANITIZER)
inline constexpr double kSeconds = 15;
#else
inline constexpr double kSeconds = 1;
#endif

// What the sizes of hostile hives are divided by, so that they cost as much with sanitizers: how
// time grows shows at a quarter of the size as well.
#if defined(HIVEQUARRY_THREAD_SANITIZER) || defined(HIVEQUARRY_ADDRESS_SANITIZER)
inline constexpr uint32_t kSizeShare = 4;
#else
inline constexpr uint32_t kSizeShare = 1;
#endif

// In time of this process, so that what else the machine does is no part of it.
class Deadline {
 public:
  explicit Deadline(double seconds = kSeconds) : seconds_(seconds) {}
  ~Deadline() {
    const auto taken = static_cast<double>(std::clock() - start_) / CLOCKS_PER_SEC;
    EXPECT_LT(taken, seconds_);
  }

 private:
  std::clock_t start_ = std::clock();
  double seconds_;
};

// Waits until `done`, which another thread or program brings about; whether it was in time. Time of
// the clock on the wall: what is waited for may be asleep.
inline bool PollUntil(const std::function<bool()>& done,
                      std::chrono::milliseconds limit = std::chrono::seconds(30)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace hivequarry::testing
