// The memory that a hive is read into.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace hivequarry {

// Zeroed bytes after an image, so that readers in strides need not look at its end.
inline constexpr uint32_t kImageSlack = 0x24000;
// Positions are 32 bits wide, and one within the slack must be a position too.
inline constexpr uint32_t kLongestImage = UINT32_MAX - kImageSlack;

// The memory comes from the C allocator on all platforms, aligned or not.
struct FreeDeleter {
  void operator()(uint8_t* memory) const { std::free(memory); }
};
using ImageMemory = std::unique_ptr<uint8_t, FreeDeleter>;

// Memory for an image of `length` bytes and its slack, the content undefined: who fills it zeroes
// the slack. Null for one that is longer than kLongestImage, and when there is no memory. Of the
// system's largest pages where it has some: a hive is filled at once, and mapping it in small pages
// takes longer than reading it.
ImageMemory AllocateImage(uint64_t length);

}  // namespace hivequarry
