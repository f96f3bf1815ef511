// The "sk" record: a security descriptor that keys share, in a ring of such records. The descriptor
// is in the self-relative form (security/descriptor.h).
#pragma once

#include <cstdint>

namespace hivequarry {

// Offsets of the fields from the start of the cell.
inline constexpr uint32_t kSecurityNext = 8;
inline constexpr uint32_t kSecurityPrevious = 12;
inline constexpr uint32_t kSecurityReferences = 16;  // keys that name the record
inline constexpr uint32_t kSecurityLength = 20;      // bytes of the descriptor
inline constexpr uint32_t kSecurityDescriptor = 24;

}  // namespace hivequarry
