// The "sk" record: a security descriptor that keys share, in a ring of such records. The descriptor
// is in the self-relative form (security/descriptor.h).
#pragma once

#include <cstdint>

namespace hivequarry {

// Layout. All "sk" records of a hive are in one ring, whether their keys are near each other or
// not; a descriptor that no key names any more is taken out of it:
//
//    0    4  size of the cell                16    4  keys that name it
//    4    2  "sk"                            20    4  length of the descriptor, bytes
//    6    2  spare                           24       the descriptor
//    8    4  offset of the next one
//   12    4  offset of the previous one
//
// Offsets of the fields from the start of the cell, after its size (0), its signature (4) and two
// bytes without a meaning. Each is 32 bits wide.
inline constexpr uint32_t kSecurityNext = 8;  // offset of another "sk" cell; its own when alone
inline constexpr uint32_t kSecurityPrevious = 12;
inline constexpr uint32_t kSecurityReferences = 16;  // keys that name the record
inline constexpr uint32_t kSecurityLength = 20;      // bytes of the descriptor
inline constexpr uint32_t kSecurityDescriptor = 24;

}  // namespace hivequarry
