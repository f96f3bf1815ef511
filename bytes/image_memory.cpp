#include "bytes/image_memory.h"

#include <cstddef>
#include <cstdint>

#include "bytes/large_pages.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace hivequarry {
namespace {

#ifdef __linux__
constexpr size_t kHugePage = size_t{2} << 20;

// Of the large pages that are in the memory as a whole. Smaller tables are filled sooner than asked
// for.
void AdviseWhole(void* memory, size_t size, int advice) {
  constexpr size_t kLeast = 2 * kHugePage;
  if (size < kLeast) return;
  const auto start = reinterpret_cast<uintptr_t>(memory);
  const uintptr_t first = (start + kHugePage - 1) / kHugePage * kHugePage;
  const uintptr_t end = (start + size) / kHugePage * kHugePage;
  if (first < end) madvise(reinterpret_cast<void*>(first), end - first, advice);
}
#endif

// Advice alone: where the kernel declines huge pages the memory is there all the same. The
// allocation is rounded up to whole huge pages, as aligned_alloc wants a multiple of its alignment;
// what is never touched takes no memory.
uint8_t* AllocateLarge(size_t size) {
#ifdef __linux__
  // A last page that would be no more than half full is left to small ones.
  const size_t huge = size / kHugePage + (size % kHugePage > kHugePage / 2);
  if (huge != 0) {
    const size_t pages = (size + kHugePage - 1) / kHugePage;
    void* memory = std::aligned_alloc(kHugePage, pages * kHugePage);
    if (memory != nullptr) madvise(memory, huge * kHugePage, MADV_HUGEPAGE);
    return static_cast<uint8_t*>(memory);
  }
#endif
  return static_cast<uint8_t*>(std::malloc(size));
}

}  // namespace

ImageMemory AllocateImage(uint64_t length) {
  if (length > kLongestImage) return nullptr;
  return ImageMemory(AllocateLarge(size_t{length} + kImageSlack));
}

void UseLargePages([[maybe_unused]] void* memory, [[maybe_unused]] size_t size) {
#ifdef __linux__
  AdviseWhole(memory, size, MADV_HUGEPAGE);
#endif
}

void ForgetPages([[maybe_unused]] void* memory, [[maybe_unused]] size_t size) {
#ifdef __linux__
  AdviseWhole(memory, size, MADV_DONTNEED);
#endif
}

}  // namespace hivequarry
