// Self-relative security descriptors: owner, group and access lists inside them.
#include "check/checking.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

// The layout, which is that of the system's own interface (security/descriptor.h reads it for
// showing):
//
//    0  1  revision, 1            8  4  offset of the group's SID
//    1  1  resource manager      12  4  offset of the system list
//    2  2  control bits          16  4  offset of the access list
//    4  4  offset of the owner's SID
//
//  A list:  0 1 revision, 2 2 size in bytes, 4 2 entries, 8 the entries.
//  An entry: 0 1 type, 1 1 flags, 2 2 size in bytes, 4 4 rights, 8 the SID.
//  A SID:  0 1 revision, 1 1 sub-authorities, 2 6 authority (highest byte first), 8 4 each.
//
// Offsets of a descriptor's fields from its start, and what is in its control field.
constexpr uint32_t kControl = 2;
constexpr uint32_t kOwner = 4;
constexpr uint32_t kGroup = 8;
constexpr uint32_t kSystemList = 12;
constexpr uint32_t kAccessList = 16;
constexpr uint32_t kHeader = 20;
constexpr uint16_t kHasAccessList = 0x0004;
constexpr uint16_t kHasSystemList = 0x0010;
constexpr uint16_t kSelfRelative = 0x8000;

constexpr uint32_t kListHeader = 8;
constexpr uint32_t kEntryHeader = 8;    // type, flags, size, mask
constexpr uint8_t kLastPlainEntry = 3;  // allow, deny, audit, alarm: a SID after the header
constexpr uint32_t kSidHeader = 8;
constexpr uint8_t kMostSubAuthorities = 15;

// Bytes after the SID are allowed: entries are padded.
bool IsSid(ByteView bytes) {
  if (bytes.size() < kSidHeader || bytes[0] != 1 || bytes[1] > kMostSubAuthorities) return false;
  return bytes.size() >= kSidHeader + size_t{4} * bytes[1];
}

ByteView From(ByteView bytes, uint32_t at) {
  return at < bytes.size() ? bytes.subspan(at) : ByteView();
}

// `field` is the place of the offset. A descriptor may name no owner or group; a SID in its header
// is none.
std::string SidFault(ByteView descriptor, uint32_t field, const char* whose) {
  const uint32_t at = ReadU32(descriptor, field);
  if (at == 0) return {};
  if (at >= kHeader && IsSid(From(descriptor, at))) return {};
  return Concat({"no SID of the ", whose});
}

std::string ListFault(ByteView descriptor, uint32_t field, const char* what) {
  const uint32_t at = ReadU32(descriptor, field);
  if (at == 0) return {};  // a list that grants everything
  const ByteView list = From(descriptor, at);
  if (at < kHeader || list.size() < kListHeader) return Concat({what, " is outside"});
  const uint32_t size = ReadU16(list, 2);
  const uint32_t count = ReadU16(list, 4);
  if (size < kListHeader || size > list.size()) return Concat({what, " has a wrong size"});
  const ByteView entries = list.first(size);
  // The list ends where its entries do: bytes between the last one and its size are allowed.
  uint32_t entry = kListHeader;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t length = ReadU16(entries, entry + 2);
    if (length < kEntryHeader || length > entries.size() - entry) {
      return Concat({"entry ", std::to_string(i + 1), " of the ", what, " has a wrong size"});
    }
    // In entries of objects and the like the SID is after fields of their own: only their size is
    // judged.
    const bool plain = entries[entry] <= kLastPlainEntry;
    if (plain && !IsSid(entries.subspan(entry + kEntryHeader, length - kEntryHeader))) {
      return Concat({"entry ", std::to_string(i + 1), " of the ", what, " has no SID"});
    }
    entry += length;
  }
  return {};
}

}  // namespace

std::string DescriptorFault(ByteView descriptor) {
  if (descriptor.size() < kHeader) return "shorter than its header";
  if (descriptor[0] != 1) return "unknown revision";
  const uint16_t control = ReadU16(descriptor, kControl);
  if ((control & kSelfRelative) == 0) return "not self-relative";
  std::string fault = SidFault(descriptor, kOwner, "owner");
  if (fault.empty()) fault = SidFault(descriptor, kGroup, "group");
  if (fault.empty() && (control & kHasAccessList) != 0) {
    fault = ListFault(descriptor, kAccessList, "access list");
  }
  if (fault.empty() && (control & kHasSystemList) != 0) {
    fault = ListFault(descriptor, kSystemList, "system list");
  }
  return fault;
}

}  // namespace hivequarry
