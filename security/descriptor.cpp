#include "security/descriptor.h"

#include <cstdlib>
#include <cstring>

#include "hive/offset_map.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "records/cell.h"
#include "security/sid.h"

namespace hivequarry {
namespace {

// Offsets of the fields from the start of a descriptor, a list and an entry.
constexpr uint32_t kOwnerOffset = 4;
constexpr uint32_t kGroupOffset = 8;
constexpr uint32_t kSaclOffset = 12;
constexpr uint32_t kDaclOffset = 16;
constexpr uint32_t kAclSize = 2;
constexpr uint32_t kAclCount = 4;
constexpr uint32_t kAceFlags = 1;
constexpr uint32_t kAceSize = 2;
constexpr uint32_t kAceMask = 4;
constexpr uint32_t kAceSid = 8;

constexpr size_t kMostDescriptorBytes = 1024 * 1024;

std::string SidTextAt(const HiveImage& hive, uint32_t position, const SidReplacement* replace,
                      bool replaced) {
  uint8_t bytes[kMaxSidSize];
  const uint32_t size = ReadBytes(hive, position, bytes, sizeof bytes);
  std::string text = SidText({bytes, size});
  if (replaced && !text.empty() && text == replace->from) text = replace->to;
  return text;
}

// The position of a SID inside the cell; false where the descriptor leads out of it.
bool LocateSid(const SecurityRecordInfo& info, uint32_t offset, uint32_t& position) {
  const uint64_t place = uint64_t{info.position} + kSecurityDescriptor + offset;
  if (place > UINT32_MAX || place > uint64_t{info.position} + info.length) return false;
  position = static_cast<uint32_t>(place);
  return true;
}

AclPlace ReadAcl(const HiveImage& hive, const SecurityRecordInfo& info, uint32_t field) {
  const uint32_t descriptor = info.position + kSecurityDescriptor;
  const uint32_t offset = ReadU32(hive, descriptor + field);
  if (offset == 0) return {};
  // May lead back, into the cell's header.
  const uint32_t position = descriptor + offset;
  return {position, ReadU16(hive, position + kAclSize), ReadU16(hive, position + kAclCount)};
}

bool InCell(const SecurityRecordInfo& info, uint32_t position) {
  return position >= info.position && position <= uint64_t{info.position} + info.length;
}

// Everything but the texts.
bool ReadFields(const HiveImage& hive, SecurityRecordInfo& info) {
  if (StopRequested() || ReadU16(hive, info.position + 4) != kSignatureSk) return false;
  info.length = CellLength(ReadU32(hive, info.position));
  info.references = ReadU32(hive, info.position + kSecurityReferences);
  const uint32_t descriptor = info.position + kSecurityDescriptor;
  const uint32_t owner = ReadU32(hive, descriptor + kOwnerOffset);
  if (owner == 0 || !LocateSid(info, owner, info.owner)) return false;
  const uint32_t group = ReadU32(hive, descriptor + kGroupOffset);
  if (group != 0 && !LocateSid(info, group, info.group)) return false;
  info.dacl = ReadAcl(hive, info, kDaclOffset);
  if (info.dacl.position != 0 && !InCell(info, info.dacl.position)) return false;
  info.sacl = ReadAcl(hive, info, kSaclOffset);
  info.next = ReadOffset(hive, info.position + kSecurityNext);
  info.previous = ReadOffset(hive, info.position + kSecurityPrevious);
  return true;
}

void PutU32(uint8_t* bytes, uint32_t value) {
  for (int i = 0; i < 4; ++i, value >>= 8) bytes[i] = static_cast<uint8_t>(value & 0xFF);
}

}  // namespace

bool ReadSecurityRecord(const HiveImage& hive, uint32_t position, SecurityRecordInfo& info,
                        const SidReplacement* replace) {
  info = SecurityRecordInfo();
  info.position = position;
  if (!ReadFields(hive, info)) {
    info = SecurityRecordInfo();
    return false;
  }
  info.owner_text = SidTextAt(hive, info.owner, replace, replace != nullptr && replace->owner);
  if (info.group == 0) return true;
  info.group_text = SidTextAt(hive, info.group, replace, replace != nullptr && replace->group);
  return true;
}

std::string InvalidRecordText(const HiveImage& hive, uint32_t position) {
  if (position == kNowhere) return "Invalid security key: its offset leads nowhere";
  const uint32_t offset = position == kNoOffset ? kNoOffset : OffsetOfPosition(hive, position);
  return Concat({"Invalid security key at 0x", Hex(offset)});
}

bool ReadAce(const HiveImage& hive, uint32_t position, AceInfo& ace,
             const SidReplacement* replace) {
  ace = AceInfo();
  ace.position = position;
  if (position > hive.length) return false;
  ace.type = ReadU8(hive, position);
  ace.flags = ReadU8(hive, position + kAceFlags);
  ace.size = ReadU16(hive, position + kAceSize);
  ace.mask = ReadU32(hive, position + kAceMask);
  ace.sid = position + kAceSid;
  ace.valid = true;
  ace.sid_text = SidTextAt(hive, ace.sid, replace, replace != nullptr && replace->aces);
  return true;
}

bool MakeDescriptorImage(std::span<const uint8_t> descriptor, HiveImage& image) {
  if (descriptor.size() > kMostDescriptorBytes) return false;
  const auto size = static_cast<uint32_t>(descriptor.size());
  const uint32_t length = (kSecurityDescriptor + size + 7) & ~7U;
  auto* bytes = static_cast<uint8_t*>(std::calloc(1, size_t{length} + kImageSlack));
  if (bytes == nullptr) return false;
  image.buffer.reset(bytes);
  image.length = length;
  image.held = length;
  image.last_valid = length - 8;
  PutU32(bytes, 0U - length);
  PutU32(bytes + 4, kSignatureSk);
  PutU32(bytes + kSecurityReferences, 1);
  PutU32(bytes + kSecurityLength, size);
  if (size != 0) std::memcpy(bytes + kSecurityDescriptor, descriptor.data(), size);
  return true;
}

}  // namespace hivequarry
