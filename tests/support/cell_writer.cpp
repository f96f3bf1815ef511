#include "tests/support/cell_writer.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace hivequarry::testing {
namespace {

constexpr uint32_t kBinHeader = 32;
constexpr uint64_t kUnixEpoch = 11644473600;  // seconds from 1601

uint32_t RoundUp(uint32_t size, uint32_t step) { return (size + step - 1) / step * step; }

uint32_t Size32(size_t size) { return static_cast<uint32_t>(size); }

void PutSignature(Bytes& bytes, uint32_t cell, const char* two_letters) {
  bytes[cell + 4] = static_cast<uint8_t>(two_letters[0]);
  bytes[cell + 5] = static_cast<uint8_t>(two_letters[1]);
}

void PutText(Bytes& bytes, uint32_t at, std::string_view text) {
  std::copy(text.begin(), text.end(), bytes.begin() + at);
}

// The rest of the bin being filled becomes one free cell.
void CloseBin(CellWriter& writer) {
  if (writer.next < writer.bin_end) {
    PutU32(writer.bytes, writer.next, writer.bin_end - writer.next);
  }
  writer.next = writer.bin_end;
}

Bytes Acl(const std::vector<Ace>& aces) {
  Bytes acl(8);
  for (const Ace& ace : aces) {
    const Bytes sid = Sid(ace.sid);
    const uint32_t at = Size32(acl.size());
    acl.resize(at + 8 + sid.size());
    acl[at] = ace.type;
    acl[at + 1] = ace.flags;
    PutU16(acl, at + 2, static_cast<uint16_t>(8 + sid.size()));
    PutU32(acl, at + 4, ace.mask);
    PutBytes(acl, at + 8, sid);
  }
  acl[0] = 2;  // revision
  PutU16(acl, 2, static_cast<uint16_t>(acl.size()));
  PutU16(acl, 4, static_cast<uint16_t>(aces.size()));
  return acl;
}

// Appends `part` and notes its place in the descriptor's header.
void AppendPart(Bytes& descriptor, uint32_t field, const Bytes& part) {
  PutU32(descriptor, field, Size32(descriptor.size()));
  descriptor.insert(descriptor.end(), part.begin(), part.end());
}

uint32_t AddOffsetList(CellWriter& writer, const std::vector<uint32_t>& positions) {
  const uint32_t cell = AddCell(writer, 4 * Size32(positions.size()));
  for (uint32_t i = 0; i < positions.size(); ++i) {
    PutU32(writer.bytes, cell + 4 + 4 * i, positions[i] - kDataArea);
  }
  return cell;
}

uint32_t AddSegments(CellWriter& writer, std::span<const uint8_t> data) {
  const uint32_t big = AddCell(writer, 12);
  std::vector<uint32_t> segments;
  for (size_t at = 0; at < data.size(); at += kSegment) {
    segments.push_back(AddCell(writer, kSegment));
    PutBytes(writer.bytes, segments.back() + 4,
             data.subspan(at, std::min<size_t>(kSegment, data.size() - at)));
  }
  PutSignature(writer.bytes, big, "db");
  PutU16(writer.bytes, big + field::kBigCount, static_cast<uint16_t>(segments.size()));
  const uint32_t list = AddOffsetList(writer, segments);
  PutU32(writer.bytes, big + field::kBigList, list - kDataArea);
  return big;
}

uint32_t AddFlatList(CellWriter& writer, const char* signature, uint32_t count,
                     uint32_t entry_size) {
  const uint32_t cell = AddCell(writer, 4 + count * entry_size);
  PutSignature(writer.bytes, cell, signature);
  PutU16(writer.bytes, cell + field::kListCount, static_cast<uint16_t>(count));
  return cell;
}

struct Flat {
  const char* signature;
  uint32_t entry_size;
};

Flat FlatOf(List kind) {
  if (kind == List::kLf || kind == List::kRiOfLf) return {"lf", 8};
  if (kind == List::kLi || kind == List::kRiOfLi) return {"li", 4};
  return {"lh", 8};
}

}  // namespace

uint64_t FileTime(int year, int month, int day, int hour, int minute, int second) {
  const std::chrono::sys_days days = std::chrono::year{year} /
                                     std::chrono::month{static_cast<unsigned>(month)} /
                                     std::chrono::day{static_cast<unsigned>(day)};
  const int64_t seconds =
      int64_t{days.time_since_epoch().count()} * 86400 + hour * 3600 + minute * 60 + second;
  return (static_cast<uint64_t>(seconds) + kUnixEpoch) * 10000000;
}

std::u16string Wide(std::string_view utf8) {
  std::u16string wide;
  for (size_t i = 0; i < utf8.size();) {
    const auto lead = static_cast<uint8_t>(utf8[i++]);
    const int more = lead < 0xC0 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    uint32_t code = more == 0 ? lead : lead & (0x3Fu >> more);
    for (int k = 0; k < more && i < utf8.size(); ++k) {
      code = code << 6 | (static_cast<uint8_t>(utf8[i++]) & 0x3F);
    }
    if (code > 0xFFFF) {
      wide += static_cast<char16_t>(0xD7C0 + (code >> 10));
      code = 0xDC00 | (code & 0x3FF);
    }
    wide += static_cast<char16_t>(code);
  }
  return wide;
}

Bytes Utf16(std::string_view utf8) {
  Bytes bytes;
  for (const char16_t unit : Wide(utf8)) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return bytes;
}

Bytes Utf16Z(std::string_view utf8) {
  Bytes bytes = Utf16(utf8);
  bytes.resize(bytes.size() + 2);
  return bytes;
}

Bytes Sid(std::string_view text) {
  std::vector<uint64_t> numbers;  // revision, authority, sub-authorities
  for (size_t at = text.find('-'); at != std::string_view::npos; at = text.find('-', at + 1)) {
    numbers.push_back(std::strtoull(std::string(text.substr(at + 1)).c_str(), nullptr, 10));
  }
  Bytes sid(4 * numbers.size());
  sid[0] = static_cast<uint8_t>(numbers[0]);
  sid[1] = static_cast<uint8_t>(numbers.size() - 2);
  for (uint32_t i = 0; i < 6; ++i) {
    sid[2 + i] = static_cast<uint8_t>(numbers[1] >> (40 - 8 * i) & 0xFF);
  }
  for (uint32_t i = 2; i < numbers.size(); ++i) {
    PutU32(sid, 4 * i, static_cast<uint32_t>(numbers[i]));
  }
  return sid;
}

Bytes SecurityDescriptor(std::string_view owner, std::string_view group,
                         const std::vector<Ace>& dacl, const std::vector<Ace>& sacl) {
  Bytes descriptor(20);
  descriptor[0] = 1;  // revision
  // Self-relative, a list for access, and one for auditing where there is any.
  PutU16(descriptor, 2, sacl.empty() ? 0x8004 : 0x8014);
  if (!sacl.empty()) AppendPart(descriptor, 12, Acl(sacl));
  AppendPart(descriptor, 16, Acl(dacl));
  AppendPart(descriptor, 4, Sid(owner));
  AppendPart(descriptor, 8, Sid(group));
  return descriptor;
}

void StartBin(CellWriter& writer, uint32_t room) {
  if (!writer.bins.empty()) CloseBin(writer);
  const uint32_t start = Size32(writer.bytes.size());
  const uint32_t size = std::max(RoundUp(room + kBinHeader, 4096), writer.bin_size);
  writer.bytes.resize(start + size);
  PutText(writer.bytes, start, "hbin");
  PutU32(writer.bytes, start + field::kBinOffset, start - kDataArea);
  PutU32(writer.bytes, start + field::kBinSize, size);
  if (writer.bins.empty()) PutU64(writer.bytes, start + 20, kDefaultTime);
  PutU32(writer.bytes, start + field::kBinSizeCopy, size);
  writer.bins.push_back(start);
  writer.next = start + kBinHeader;
  writer.bin_end = start + size;
}

uint32_t AddCell(CellWriter& writer, uint32_t record_size) {
  const uint32_t length = RoundUp(record_size + 4, 8);
  if (writer.bin_end - writer.next < length) StartBin(writer, length);
  const uint32_t cell = writer.next;
  PutU32(writer.bytes, cell, 0U - length);
  writer.next += length;
  return cell;
}

void FinishHive(CellWriter& writer, const BaseBlock& base) {
  CloseBin(writer);
  Bytes& bytes = writer.bytes;
  PutText(bytes, 0, "regf");
  PutU32(bytes, 4, 1);  // the two sequence numbers agree: nothing is pending
  PutU32(bytes, 8, 1);
  PutU64(bytes, 12, base.time);
  PutU32(bytes, 20, 1);
  PutU32(bytes, 24, base.minor);
  PutU32(bytes, 32, 1);
  PutU32(bytes, field::kBaseRoot, base.root - kDataArea);
  PutU32(bytes, field::kBaseLength, Size32(bytes.size()) - kDataArea);
  PutU32(bytes, 44, 1);
  Bytes name = Utf16(base.file_name);
  if (name.size() > 62) name.resize(62);
  PutBytes(bytes, 48, name);
  FixChecksum(bytes);
}

void FixChecksum(Bytes& bytes) {
  uint32_t sum = 0;
  for (uint32_t at = 0; at < field::kBaseChecksum; at += 4) sum ^= GetU32(bytes, at);
  if (sum == 0xFFFFFFFF) sum = 0xFFFFFFFE;
  PutU32(bytes, field::kBaseChecksum, sum == 0 ? 1 : sum);
}

void PutU16(Bytes& bytes, uint32_t at, uint16_t value) {
  bytes[at] = static_cast<uint8_t>(value & 0xFF);
  bytes[at + 1] = static_cast<uint8_t>(value >> 8);
}

void PutU32(Bytes& bytes, uint32_t at, uint32_t value) {
  PutU16(bytes, at, static_cast<uint16_t>(value & 0xFFFF));
  PutU16(bytes, at + 2, static_cast<uint16_t>(value >> 16));
}

void PutU64(Bytes& bytes, uint32_t at, uint64_t value) {
  PutU32(bytes, at, static_cast<uint32_t>(value & 0xFFFFFFFF));
  PutU32(bytes, at + 4, static_cast<uint32_t>(value >> 32));
}

void PutBytes(Bytes& bytes, uint32_t at, std::span<const uint8_t> data) {
  std::copy(data.begin(), data.end(), bytes.begin() + at);
}

uint16_t GetU16(const Bytes& bytes, uint32_t at) {
  return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

uint32_t GetU32(const Bytes& bytes, uint32_t at) {
  return GetU16(bytes, at) | uint32_t{GetU16(bytes, at + 2)} << 16;
}

uint32_t AddKeyCell(CellWriter& writer, std::span<const uint8_t> name, uint16_t flags,
                    uint64_t time, uint32_t slack) {
  const uint32_t cell = AddCell(writer, 76 + Size32(name.size()) + slack);
  Bytes& bytes = writer.bytes;
  PutSignature(bytes, cell, "nk");
  PutU16(bytes, cell + field::kKeyFlags, flags);
  PutU64(bytes, cell + field::kKeyTime, time);
  for (const uint32_t link : {field::kKeyParent, field::kKeyList, field::kKeyVolatileList,
                              field::kKeyValueList, field::kKeySecurity, field::kKeyClass}) {
    PutU32(bytes, cell + link, kNone);
  }
  PutU16(bytes, cell + field::kKeyNameLength, static_cast<uint16_t>(name.size()));
  PutBytes(bytes, cell + field::kKeyName, name);
  return cell;
}

uint32_t AddValueCell(CellWriter& writer, std::span<const uint8_t> name, uint16_t flags,
                      uint32_t type, uint32_t data_length) {
  const uint32_t cell = AddCell(writer, 20 + Size32(name.size()));
  Bytes& bytes = writer.bytes;
  PutSignature(bytes, cell, "vk");
  PutU16(bytes, cell + field::kValueNameLength, static_cast<uint16_t>(name.size()));
  PutU32(bytes, cell + field::kValueLength,
         data_length > 4 ? data_length : data_length | 0x80000000);
  PutU32(bytes, cell + field::kValueType, type);
  PutU16(bytes, cell + field::kValueFlags, flags);
  PutBytes(bytes, cell + field::kValueName, name);
  return cell;
}

uint32_t AddValueData(CellWriter& writer, uint32_t value, std::span<const uint8_t> data) {
  if (data.size() <= 4) {
    PutBytes(writer.bytes, value + field::kValueData, data);
    return 0;
  }
  uint32_t cell = 0;
  if (data.size() > kSegment) {
    cell = AddSegments(writer, data);
  } else {
    cell = AddCell(writer, Size32(data.size()));
    PutBytes(writer.bytes, cell + 4, data);
  }
  PutU32(writer.bytes, value + field::kValueData, cell - kDataArea);
  return cell;
}

uint32_t AddListCell(CellWriter& writer, List kind, uint32_t count, uint32_t per_list,
                     std::vector<uint32_t>* child_lists) {
  const Flat flat = FlatOf(kind);
  if (kind == List::kLf || kind == List::kLh || kind == List::kLi) {
    return AddFlatList(writer, flat.signature, count, flat.entry_size);
  }
  const uint32_t lists = (count + per_list - 1) / per_list;
  const uint32_t cell = AddFlatList(writer, "ri", lists, 4);
  for (uint32_t i = 0; i < lists; ++i) {
    const uint32_t size = std::min(per_list, count - i * per_list);
    const uint32_t child = AddFlatList(writer, flat.signature, size, flat.entry_size);
    PutU32(writer.bytes, cell + field::kListEntries + 4 * i, child - kDataArea);
    if (child_lists != nullptr) child_lists->push_back(child);
  }
  return cell;
}

uint32_t EntrySizeOf(List kind) { return FlatOf(kind).entry_size; }

std::vector<uint32_t> AddSecurityRing(CellWriter& writer, const std::vector<Bytes>& descriptors) {
  std::vector<uint32_t> ring;
  for (const Bytes& descriptor : descriptors) {
    const uint32_t cell = AddCell(writer, 20 + Size32(descriptor.size()));
    PutSignature(writer.bytes, cell, "sk");
    PutU32(writer.bytes, cell + field::kSecurityLength, Size32(descriptor.size()));
    PutBytes(writer.bytes, cell + field::kSecurityDescriptor, descriptor);
    ring.push_back(cell);
  }
  for (size_t i = 0; i < ring.size(); ++i) {
    const uint32_t next = ring[(i + 1) % ring.size()];
    PutU32(writer.bytes, ring[i] + field::kSecurityNext, next - kDataArea);
    PutU32(writer.bytes, next + field::kSecurityPrevious, ring[i] - kDataArea);
  }
  return ring;
}

char16_t UpperUnit(char16_t unit) {
  const bool latin = (unit >= 0xE0 && unit <= 0xFE && unit != 0xF7);
  const bool greek_or_cyrillic =
      (unit >= 0x3B1 && unit <= 0x3C9 && unit != 0x3C2) || (unit >= 0x430 && unit <= 0x44F);
  if ((unit >= u'a' && unit <= u'z') || latin || greek_or_cyrillic) {
    return static_cast<char16_t>(unit - 32);
  }
  return unit >= 0x450 && unit <= 0x45F ? static_cast<char16_t>(unit - 80) : unit;
}

std::u16string UpperText(std::u16string text) {
  for (char16_t& unit : text) unit = UpperUnit(unit);
  return text;
}

uint32_t NameHash(std::u16string_view name) {
  uint32_t hash = 0;
  for (const char16_t unit : name) hash = hash * 37 + UpperUnit(unit);
  return hash;
}

}  // namespace hivequarry::testing
