// The "sk" cell: a security record that keys share, and its text.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "hive/image.h"
#include "records/security_cell.h"
#include "security/sid.h"

namespace hivequarry {

// A list of access-control entries; all 0 when there is none.
struct AclPlace {
  uint32_t position = 0;
  uint32_t size = 0;   // bytes, header included, as stored
  uint32_t count = 0;  // of entries, as stored
};
inline bool IsUsable(const AclPlace& acl) {
  return acl.position != 0 && acl.size != 0 && acl.count != 0;
}

// A decoded record; all positions are image positions.
struct SecurityRecordInfo {
  uint32_t position = 0;  // of the cell
  uint32_t length = 0;    // of the cell, absolute
  uint32_t references = 0;
  uint32_t next = 0;
  uint32_t previous = 0;
  uint32_t owner = 0;  // of the SID
  uint32_t group = 0;  // 0 when absent
  AclPlace dacl;
  AclPlace sacl;           // its position is not held against the cell's bounds
  std::string owner_text;  // empty for a SID that is not valid
  std::string group_text;  // empty also when absent
};

enum AceType : uint8_t { kAceAllow = 0, kAceDeny = 1, kAceAudit = 2, kAceAlarm = 3 };
inline constexpr uint8_t kAceInherited = 0x10;
struct AceInfo {
  uint32_t position = 0;
  uint8_t type = 0;
  uint8_t flags = 0;
  uint32_t size = 0;
  uint32_t mask = 0;
  uint32_t sid = 0;  // position
  bool valid = false;
  std::string sid_text;
};

// One SID shown in place of another; nothing in the image changes.
struct SidReplacement {
  std::string from;  // empty: no replacement is in force
  std::string to;
  bool owner = false;
  bool group = false;
  bool aces = false;
};

// Decodes the cell at `position`. False, and an empty record, when the cell is not a valid one or
// the user stops. `replace` may be null.
bool ReadSecurityRecord(const HiveImage& hive, uint32_t position, SecurityRecordInfo& info,
                        const SidReplacement* replace = nullptr);
// What is said of a key whose record can't be decoded: "Invalid security key at 0x%X" with the
// record's offset. `position` may be kNoOffset.
std::string InvalidRecordText(const HiveImage& hive, uint32_t position);
// Decodes the entry at `position`; false (and not valid) beyond the end of the image.
bool ReadAce(const HiveImage& hive, uint32_t position, AceInfo& ace,
             const SidReplacement* replace = nullptr);

// Visits the entries of a list in order, at most as many as it counts, none of them after the
// list's size or beyond the image. `visit(ace, index)` gets each; one that can't be
// read or has no size is the last. Ends when visit returns false.
template <typename Visit>
void ForEachAce(const HiveImage& hive, const AclPlace& acl, const SidReplacement* replace,
                const Visit& visit) {
  uint64_t position = uint64_t{acl.position} + 8;
  for (uint32_t index = 0; index < acl.count; ++index) {
    if (position >= uint64_t{acl.position} + acl.size || position > hive.length) return;
    AceInfo ace;
    const bool read = ReadAce(hive, static_cast<uint32_t>(position), ace, replace);
    if (!visit(ace, index) || !read || ace.size == 0) return;
    position += ace.size;
  }
}

// Words of the flags byte, of the access mask (32 bits), and of the type: "allow", "0x5".
std::string FormatInheritFlags(uint8_t flags);
std::string FormatAccessMask(uint32_t mask);
std::string AceTypeText(uint8_t type);

// The report of the "Security Record" window: "\r\n" line ends. With `resolve` this machine's
// accounts are asked for names. Texts are code-page text.
std::string FormatSecurityRecord(const HiveImage& hive, const SecurityRecordInfo& info,
                                 bool resolve);
std::string FormatSecurityRecord(const HiveImage& hive, const SecurityRecordInfo& info,
                                 AccountNames& names);

// An image (not in the open-file table) that holds nothing but one record made of a self-relative
// descriptor, its cell at position 0: for descriptors that come from elsewhere than a hive. False
// when it is too long for a cell or there is no memory.
bool MakeDescriptorImage(std::span<const uint8_t> descriptor, HiveImage& image);

}  // namespace hivequarry
