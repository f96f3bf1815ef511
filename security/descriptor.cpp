#include "security/descriptor.h"

#include <algorithm>

#include "host/long_operation.h"
#include "records/cell.h"
#include "records/security_cell.h"
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

// Far more than lists, whose sizes have 16 bits, can take up.
constexpr size_t kMostDescriptorBytes = 1024 * 1024;

// Empty where no SID is. `replace` may be null only where `replaced` is false.
std::string SidTextAt(ByteView image, uint32_t position, const SidReplacement* replace,
                      bool replaced) {
  uint8_t bytes[kMaxSidSize];
  const uint32_t size = ReadBytes(image, position, bytes, sizeof bytes);
  std::string text = SidText({bytes, size});
  if (replaced && !text.empty() && text == replace->from) text = replace->to;
  return text;
}

// The position of a SID inside the cell; false where the descriptor leads out of it.
// A SID may begin at the cell's very end: it is not valid then and has no text.
bool LocateSid(const SecurityRecordInfo& info, uint32_t offset, uint32_t& position) {
  const uint64_t place = uint64_t{info.position} + kSecurityDescriptor + offset;
  if (place > UINT32_MAX || place > uint64_t{info.position} + info.length) return false;
  position = static_cast<uint32_t>(place);
  return true;
}

AclPlace ReadAcl(ByteView image, const SecurityRecordInfo& info, uint32_t field) {
  const uint32_t descriptor = info.position + kSecurityDescriptor;
  const uint32_t offset = ReadU32(image, descriptor + field);
  if (offset == 0) return {};
  // May lead back, into the cell's header.
  const uint32_t position = descriptor + offset;
  return {position, ReadU16(image, position + kAclSize), ReadU16(image, position + kAclCount)};
}

bool InCell(const SecurityRecordInfo& info, uint32_t position) {
  return position >= info.position && position <= uint64_t{info.position} + info.length;
}

// Everything but the texts.
// The control bits are not looked at: a list whose offset is set is shown, whether the bits say
// that it counts or not.
bool ReadFields(ByteView image, SecurityRecordInfo& info) {
  if (StopRequested() || ReadU16(image, info.position + 4) != kSignatureSk) return false;
  info.length = CellLength(ReadU32(image, info.position));
  info.references = ReadU32(image, info.position + kSecurityReferences);
  const uint32_t descriptor = info.position + kSecurityDescriptor;
  const uint32_t owner = ReadU32(image, descriptor + kOwnerOffset);
  // A descriptor without an owner is none that a key has.
  if (owner == 0 || !LocateSid(info, owner, info.owner)) return false;
  const uint32_t group = ReadU32(image, descriptor + kGroupOffset);
  if (group != 0 && !LocateSid(info, group, info.group)) return false;
  info.dacl = ReadAcl(image, info, kDaclOffset);
  if (info.dacl.position != 0 && !InCell(info, info.dacl.position)) return false;
  info.sacl = ReadAcl(image, info, kSaclOffset);
  return true;
}

void PutU32(uint8_t* bytes, uint32_t value) {
  for (int i = 0; i < 4; ++i, value >>= 8) bytes[i] = static_cast<uint8_t>(value & 0xFF);
}

}  // namespace

bool ReadSecurityRecord(ByteView image, uint32_t position, SecurityRecordInfo& info,
                        const SidReplacement* replace) {
  info = SecurityRecordInfo();
  info.position = position;
  if (!ReadFields(image, info)) {
    info = SecurityRecordInfo();
    return false;
  }
  info.owner_text = SidTextAt(image, info.owner, replace, replace != nullptr && replace->owner);
  if (info.group == 0) return true;
  info.group_text = SidTextAt(image, info.group, replace, replace != nullptr && replace->group);
  return true;
}

bool ReadAce(ByteView image, uint32_t position, AceInfo& ace, const SidReplacement* replace) {
  ace = AceInfo();
  ace.position = position;
  if (position > image.size()) return false;
  ace.type = ReadU8(image, position);
  ace.flags = ReadU8(image, position + kAceFlags);
  ace.size = ReadU16(image, position + kAceSize);
  ace.mask = ReadU32(image, position + kAceMask);
  ace.sid = position + kAceSid;
  ace.valid = true;
  ace.sid_text = SidTextAt(image, ace.sid, replace, replace != nullptr && replace->aces);
  return true;
}

// A whole allocated "sk" cell with one reference and links of 0, zeros up to the next multiple of
// 8.
std::vector<uint8_t> CellOfDescriptor(ByteView descriptor) {
  if (descriptor.size() > kMostDescriptorBytes) return {};
  const auto size = static_cast<uint32_t>(descriptor.size());
  const uint32_t length = (kSecurityDescriptor + size + 7) & ~7U;
  std::vector<uint8_t> cell(length);
  PutU32(cell.data(), 0U - length);
  PutU32(cell.data() + 4, kSignatureSk);
  PutU32(cell.data() + kSecurityReferences, 1);
  PutU32(cell.data() + kSecurityLength, size);
  std::copy(descriptor.begin(), descriptor.end(), cell.begin() + kSecurityDescriptor);
  return cell;
}

}  // namespace hivequarry
