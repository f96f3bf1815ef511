// Results on their way from value threads to a window: the newest one waits to be taken.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "ui/draw/win.h"

namespace hivequarry {

// From threads to the interface thread: of several results the newest alone is taken.
template <typename Result>
struct Mailbox {
  std::atomic<uint32_t> newest{0};  // serial of the last request
  std::mutex mutex;                 // of what follows
  uint32_t serial = 0;              // of `result`
  std::unique_ptr<Result> result;
};

// For a thread to ask on its way: what is not the newest any more need not be finished.
template <typename Result>
bool IsNewest(const Mailbox<Result>& box, uint32_t serial) {
  return box.newest.load() == serial;
}

// On the thread: leaves a result and posts `message` to the window, which may be gone, unless a
// newer one was asked for.
template <typename Result>
void Deliver(Mailbox<Result>& box, uint32_t serial, std::unique_ptr<Result> result, HWND window,
             UINT message) {
  const std::lock_guard lock(box.mutex);
  if (!IsNewest(box, serial)) return;
  box.serial = serial;
  box.result = std::move(result);
  PostMessageW(window, message, 0, 0);
}

// On the interface thread, after that message; null where a newer one was asked for since, or the
// result was taken after an earlier message.
template <typename Result>
std::unique_ptr<Result> Take(Mailbox<Result>& box) {
  const std::lock_guard lock(box.mutex);
  std::unique_ptr<Result> result = std::move(box.result);
  return IsNewest(box, box.serial) ? std::move(result) : nullptr;
}

}  // namespace hivequarry
