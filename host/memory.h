// Memory for what is large.
#pragma once

#include <cstddef>
#include <cstdint>

namespace hivequarry {

// `size` bytes that std::free frees, their content undefined; null when there is no memory. Of the
// system's largest pages where it has some: a hive is filled at once, and mapping it in small pages
// takes longer than reading it.
uint8_t* AllocateLarge(size_t size);

}  // namespace hivequarry
