#include "hive/profile_owner.h"

#include <algorithm>
#include <vector>

#include "records/cell.h"
#include "records/key_node.h"
#include "records/security_cell.h"

namespace hivequarry {
namespace {

// A self-relative descriptor, its list and the entries of that: offsets from the start of each.
// security/descriptor.h reads all of it; this room is below that one, and needs these fields alone.
constexpr uint32_t kControl = 2;  // 16 bits
constexpr uint16_t kHasAccessList = 4;
constexpr uint32_t kAccessList = 16;
constexpr uint32_t kEntryCount = 4;  // 16 bits
constexpr uint32_t kListHeader = 8;
constexpr uint32_t kEntrySize = 2;  // 16 bits
constexpr uint32_t kEntryRights = 4;
constexpr uint32_t kEntrySid = 8;
constexpr uint8_t kAllowed = 0;
constexpr uint8_t kInheritOnly = 8;  // of the entry's flags: not about the key itself
// KEY_ALL_ACCESS: all rights of a key (0x3F) and the standard ones (0xF0000).
constexpr uint32_t kAllAccess = 0xF003F;
constexpr uint32_t kGenericAll = 0x10000000;

// "S-1-authority-part-part...".
struct SidFields {
  uint64_t authority = 0;
  std::vector<uint32_t> parts;
};

bool ReadSid(ByteView bytes, SidFields& sid) {
  constexpr uint32_t kHeader = 8;
  const uint32_t count = ReadU8(bytes, 1);
  if (ReadU8(bytes, 0) != 1 || count == 0 || kHeader + 4 * count > bytes.size()) return false;
  for (uint32_t at = 2; at < kHeader; ++at) sid.authority = sid.authority << 8 | bytes[at];
  for (uint32_t i = 0; i < count; ++i) sid.parts.push_back(ReadU32(bytes, kHeader + 4 * i));
  return true;
}

// Below 1000 are what every domain has: the administrator and the guest are users there, and the
// account that systems set up with; all others are groups.
bool IsUserNumber(uint32_t number) {
  return number >= 1000 || number == 500 || number == 501 || number == 503 || number == 504;
}

bool IsAccount(const SidFields& sid) {
  // Authorities of SIDs: the system's own (S-1-5-...), and the directory's (S-1-12-1-...), whose
  // users' numbers are four.
  constexpr uint64_t kSystem = 5;
  constexpr uint64_t kDirectory = 12;
  const auto& parts = sid.parts;
  if (sid.authority == kDirectory) return parts.size() == 5 && parts[0] == 1;
  if (sid.authority != kSystem) return false;
  if (parts[0] == 21) return parts.size() == 5 && IsUserNumber(parts[4]);
  if (parts[0] == 19 || parts[0] == 20) return parts.size() == 1;
  return (parts[0] == 80 || parts[0] == 82) && parts.size() == 6;  // of one service
}

std::string TextOfSid(const SidFields& sid) {
  std::string text = "S-1-" + std::to_string(sid.authority);
  for (const uint32_t part : sid.parts) text += '-' + std::to_string(part);
  return text;
}

// The bytes of the key's descriptor; empty without a sound record.
// A damaged record says nothing about whose the hive is, so nothing is guessed from it.
ByteView DescriptorOf(const HiveImage& hive, uint32_t key_position) {
  const uint32_t record = ReadOffset(hive, key_position + kKeySecurity);
  if (!InsideHive(hive, record, kSecurityDescriptor)) return {};
  const uint32_t size = ReadU32(hive, record);
  const uint32_t length = ReadU32(hive, record + kSecurityLength);
  if (!IsAllocated(size) || ReadU16(hive, record + 4) != kSignatureSk) return {};
  if (CellLength(size) < kSecurityDescriptor) return {};
  const uint32_t room = CellLength(size) - kSecurityDescriptor;
  if (length > room || !InsideHive(hive, record + kSecurityDescriptor, length)) return {};
  return ImageBytes(hive).subspan(record + kSecurityDescriptor, length);
}

ByteView AccessListOf(ByteView descriptor) {
  const uint32_t at = ReadU32(descriptor, kAccessList);
  const bool has_list = (ReadU16(descriptor, kControl) & kHasAccessList) != 0 && at != 0;
  return has_list && at < descriptor.size() ? descriptor.subspan(at) : ByteView();
}

}  // namespace

std::string AccountWithAllAccess(const HiveImage& hive, uint32_t key_position) {
  const ByteView list = AccessListOf(DescriptorOf(hive, key_position));
  std::string account;
  size_t at = kListHeader;
  for (uint32_t left = ReadU16(list, kEntryCount); left > 0; --left) {
    if (at + kEntrySid > list.size()) return {};
    const uint32_t size = ReadU16(list, static_cast<uint32_t>(at) + kEntrySize);
    if (size < kEntrySid || at + size > list.size()) return {};
    const ByteView entry = list.subspan(at, size);
    at += size;
    const uint32_t rights = ReadU32(entry, kEntryRights);
    const bool all = (rights & kAllAccess) == kAllAccess || (rights & kGenericAll) != 0;
    if (entry[0] != kAllowed || (entry[1] & kInheritOnly) != 0 || !all) continue;
    SidFields sid;
    if (!ReadSid(entry.subspan(kEntrySid), sid) || !IsAccount(sid)) continue;
    const std::string text = TextOfSid(sid);
    if (!account.empty() && account != text) return {};
    account = text;
  }
  return account;
}

}  // namespace hivequarry
