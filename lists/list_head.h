// The first lines of what is written of a list: which file it was made of, and in what state.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace hivequarry {

// Shared by the lists made of one file. More lines may become known while a writer is at work.
// Any thread may read and set lines: each call sees all of one setting.
struct ListHead {
  mutable std::mutex mutex;
  std::vector<std::string> lines;  // UTF-8, without line ends
};

// LinesOf gives a copy, which stays whole when others are set.
inline void SetLines(ListHead& head, std::vector<std::string> lines) {
  const std::lock_guard lock(head.mutex);
  head.lines = std::move(lines);
}
inline std::vector<std::string> LinesOf(const ListHead& head) {
  const std::lock_guard lock(head.mutex);
  return head.lines;
}

}  // namespace hivequarry
