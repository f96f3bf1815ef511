// The "sk" cell: a security record that keys share, and its text.
//
// The descriptor in it is self-relative: its offsets count from its own start, 0 is none. Bytes of
// its parts, numbers little-endian:
//   descriptor  0 revision, 1 spare, 2 control (16 bits), 4 owner, 8 group, 12 system list,
//               16 discretionary list (32 bits each)
//   list        0 revision, 1 spare, 2 size with this header (16 bits), 4 count (16 bits), 6 spare,
//               8 entries
//   entry       0 type, 1 flags, 2 size with this header (16 bits), 4 access mask (32 bits), 8 SID
// Entries of the rarer types have other things at 8; they are decoded as if it were a SID,
// which is mostly not valid then and has no text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bytes/byte_view.h"
#include "records/security_cell.h"
#include "security/sid.h"

namespace hivequarry {

// A list of access-control entries; all 0 when there is none.
// A size and a count that do not go together are kept: who walks the entries is bounded by both.
struct AclPlace {
  uint32_t position = 0;
  uint32_t size = 0;   // bytes, header included, as stored
  uint32_t count = 0;  // of entries, as stored
};
// There is a list, and it counts entries; not that they are where it says.
inline bool IsUsable(const AclPlace& acl) {
  return acl.position != 0 && acl.size != 0 && acl.count != 0;
}

// A decoded record; all positions are those of the view that it was read from.
// Owns its texts; the view need not outlive it.
struct SecurityRecordInfo {
  uint32_t position = 0;    // of the cell
  uint32_t length = 0;      // of the cell, absolute
  uint32_t references = 0;  // as the record counts the keys that have it
  uint32_t owner = 0;       // of the SID
  uint32_t group = 0;       // 0 when absent
  AclPlace dacl;
  AclPlace sacl;           // its position is not held against the cell's bounds
  std::string owner_text;  // empty for a SID that is not valid
  std::string group_text;  // empty also when absent
};

// The plain types. From 5 on there are those of objects and of callbacks, and mandatory labels
// (0x11).
enum AceType : uint8_t { kAceAllow = 0, kAceDeny = 1, kAceAudit = 2, kAceAlarm = 3 };
// Of an entry's flags: for what inherits alone, so it says nothing of the key itself.
inline constexpr uint8_t kAceInheritOnly = 0x08;
inline constexpr uint8_t kAceInherited = 0x10;
// One entry of a list; positions as in SecurityRecordInfo.
struct AceInfo {
  uint32_t position = 0;  // of its header
  uint8_t type = 0;       // AceType, or another number as stored
  uint8_t flags = 0;      // how it is inherited
  uint32_t size = 0;      // bytes, header included, as stored
  uint32_t mask = 0;      // rights on the key
  uint32_t sid = 0;       // position
  bool valid = false;     // inside the image
  std::string sid_text;   // empty for a SID that is not valid
};

// One SID shown in place of another; nothing in the image changes.
struct SidReplacement {
  std::string from;  // empty: no replacement is in force
  std::string to;
  bool owner = false;  // owners that are `from` are shown as `to`
  bool group = false;  // groups likewise
  bool aces = false;   // trustees of entries likewise
};

// Decodes the cell at `position`. False, and an empty record, when the cell is not a valid one or
// the user stops. `replace` may be null.
// Whether the cell is in use is not asked: freed records are decoded too. Lists are located, their
// entries not read.
bool ReadSecurityRecord(ByteView image, uint32_t position, SecurityRecordInfo& info,
                        const SidReplacement* replace = nullptr);
// Decodes the entry at `position`; false (and not valid) beyond the end of the image.
// Fields beyond the end of the view are 0. The SID is read from position 8 on, whatever the entry's
// size is.
bool ReadAce(ByteView image, uint32_t position, AceInfo& ace,
             const SidReplacement* replace = nullptr);

// Visits the entries of a list in order, at most as many as it counts, none of them after the
// list's size or beyond the image. `visit(ace, index)` gets each; one that can't be
// read or has no size is the last. Ends when visit returns false.
template <typename Visit>
void ForEachAce(ByteView image, const AclPlace& acl, const SidReplacement* replace,
                const Visit& visit) {
  uint64_t position = uint64_t{acl.position} + 8;
  for (uint32_t index = 0; index < acl.count; ++index) {
    if (position >= uint64_t{acl.position} + acl.size || position > image.size()) return;
    AceInfo ace;
    const bool read = ReadAce(image, static_cast<uint32_t>(position), ace, replace);
    if (!visit(ace, index) || !read || ace.size == 0) return;
    position += ace.size;
  }
}

// Words of the flags byte, of the access mask (32 bits), and of the type: "allow", "0x5".
// Bits without a word come last as a number, "...,0x20", so that nothing is left out.
std::string FormatInheritFlags(uint8_t flags);
std::string FormatAccessMask(uint32_t mask);
std::string AceTypeText(uint8_t type);

// The report of the "Security Record" window: "\r\n" line ends. `place` is what it says of where
// the record is. With `resolve` this machine's accounts are asked for names.
std::string FormatSecurityRecord(ByteView image, const SecurityRecordInfo& info, uint32_t place,
                                 bool resolve);
std::string FormatSecurityRecord(ByteView image, const SecurityRecordInfo& info, uint32_t place,
                                 AccountNames& names);

// The cell, to be read at position 0, of a self-relative descriptor that comes from elsewhere than
// a hive. Empty when it is too long for one.
// An allocated "sk" cell of one reference, padded to 8 bytes; its links are 0.
std::vector<uint8_t> CellOfDescriptor(ByteView descriptor);

}  // namespace hivequarry
