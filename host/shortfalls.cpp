#include "host/shortfalls.h"

#include <mutex>

#include "host/long_operation.h"

namespace hivequarry {
namespace {

// The first cell of the first row that was refused since ForgetShortfalls.
struct Refusal {
  std::mutex mutex;
  std::optional<std::string> row;
};

Refusal& TheRefusal() {
  static Refusal refusal;
  return refusal;
}

}  // namespace

void NoteShortfall(Shortfall kind, uint64_t count) {
  if (BackgroundWork* work = WorkInBackground(); work != nullptr) {
    work->shortfalls += count;
    return;
  }
  TheShortfalls().counts[static_cast<size_t>(kind)].fetch_add(count, std::memory_order_relaxed);
}

void NoteRefusedRow(std::string_view first_cell) {
  Refusal& refusal = TheRefusal();
  const std::lock_guard lock(refusal.mutex);
  if (!refusal.row) refusal.row = first_cell;
}

std::optional<std::string> RefusedRow() {
  Refusal& refusal = TheRefusal();
  const std::lock_guard lock(refusal.mutex);
  return refusal.row;
}

void ForgetShortfalls() {
  for (std::atomic<uint64_t>& count : TheShortfalls().counts) count = 0;
  Refusal& refusal = TheRefusal();
  const std::lock_guard lock(refusal.mutex);
  refusal.row.reset();
}

}  // namespace hivequarry
