// Cells, bins and base blocks written one after the other: the lower layer of the hive builder,
// also for hives of a size that wants no record per key. Everything is sound unless the caller says
// otherwise. Texts are UTF-8.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry::testing {

using Bytes = std::vector<uint8_t>;
// The bytes of a text, as it has them.
inline std::span<const uint8_t> TextBytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// Offsets of record fields from the start of the cell, for SetU32 and its like.
namespace field {
inline constexpr uint32_t kSize = 0;
inline constexpr uint32_t kSignature = 4;
inline constexpr uint32_t kKeyFlags = 6;
inline constexpr uint32_t kKeyTime = 8;
inline constexpr uint32_t kKeyAccess = 16;
inline constexpr uint32_t kKeyLayer = 17;
inline constexpr uint32_t kKeyParent = 20;
inline constexpr uint32_t kKeySubkeys = 24;
inline constexpr uint32_t kKeyVolatileSubkeys = 28;
inline constexpr uint32_t kKeyList = 32;
inline constexpr uint32_t kKeyVolatileList = 36;
inline constexpr uint32_t kKeyValues = 40;
inline constexpr uint32_t kKeyValueList = 44;
inline constexpr uint32_t kKeySecurity = 48;
inline constexpr uint32_t kKeyClass = 52;
inline constexpr uint32_t kKeyNameLength = 76;
inline constexpr uint32_t kKeyClassLength = 78;
inline constexpr uint32_t kKeyName = 80;
inline constexpr uint32_t kValueNameLength = 6;
inline constexpr uint32_t kValueLength = 8;
inline constexpr uint32_t kValueData = 12;
inline constexpr uint32_t kValueType = 16;
inline constexpr uint32_t kValueFlags = 20;
inline constexpr uint32_t kValueName = 24;
inline constexpr uint32_t kListCount = 6;
inline constexpr uint32_t kListEntries = 8;
inline constexpr uint32_t kSecurityNext = 8;
inline constexpr uint32_t kSecurityPrevious = 12;
inline constexpr uint32_t kSecurityReferences = 16;
inline constexpr uint32_t kSecurityLength = 20;
inline constexpr uint32_t kSecurityDescriptor = 24;
inline constexpr uint32_t kBigCount = 6;
inline constexpr uint32_t kBigList = 8;
inline constexpr uint32_t kBinOffset = 4;
inline constexpr uint32_t kBinSize = 8;
inline constexpr uint32_t kBinSizeCopy = 28;
inline constexpr uint32_t kBaseRoot = 36;
inline constexpr uint32_t kBaseLength = 40;
inline constexpr uint32_t kBaseChecksum = 508;
}  // namespace field

inline constexpr uint32_t kNone = 0xFFFFFFFF;                 // "no offset"
inline constexpr uint32_t kDataArea = 4096;                   // position of offset 0
inline constexpr uint32_t kSegment = 16344;                   // bytes in a big data segment
inline constexpr uint64_t kDefaultTime = 132592896000000000;  // 2021/03/04, 00:00:00

enum class List { kLf, kLh, kLi, kRiOfLh, kRiOfLi, kRiOfLf };  // the last one is a fault

// FILETIME of a UTC date.
uint64_t FileTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);
// UTF-16, little-endian, without and with a terminator.
Bytes Utf16(std::string_view utf8);
Bytes Utf16Z(std::string_view utf8);
std::u16string Wide(std::string_view utf8);

// A self-relative security descriptor. SIDs are "S-1-5-32-544" and so on.
struct Ace {
  uint8_t type = 0;  // 0 allowed, 1 denied, 2 audit
  uint8_t flags = 0;
  uint32_t mask = 0xF003F;
  std::string sid = "S-1-5-18";
};
Bytes Sid(std::string_view text);
Bytes SecurityDescriptor(std::string_view owner, std::string_view group,
                         const std::vector<Ace>& dacl, const std::vector<Ace>& sacl = {});

// Cells one after the other in bins of their own making; the lower layer, also for hives of a size
// that wants no record per key.
struct CellWriter {
  Bytes bytes = Bytes(kDataArea);
  uint32_t bin_size = 4096;  // of a new bin, more when a cell needs more
  std::vector<uint32_t> bins;
  uint32_t next = 0;     // where the next cell goes
  uint32_t bin_end = 0;  // of the bin being filled
};
// A new allocated cell for a record of `record_size` bytes, zero but for its size. Its position.
uint32_t AddCell(CellWriter& writer, uint32_t record_size);
void StartBin(CellWriter& writer, uint32_t room);
// Makes the bin's rest a free cell; then the base block.
struct BaseBlock {
  uint32_t root = kDataArea + 32;
  std::string file_name = "\\??\\C:\\Data\\SAMPLE";
  uint64_t time = kDefaultTime;
  uint32_t minor = 5;
};
void FinishHive(CellWriter& writer, const BaseBlock& base);
void FixChecksum(Bytes& bytes);

void PutU16(Bytes& bytes, uint32_t at, uint16_t value);
void PutU32(Bytes& bytes, uint32_t at, uint32_t value);
void PutU64(Bytes& bytes, uint32_t at, uint64_t value);
void PutBytes(Bytes& bytes, uint32_t at, std::span<const uint8_t> data);
uint16_t GetU16(const Bytes& bytes, uint32_t at);
uint32_t GetU32(const Bytes& bytes, uint32_t at);

// Key and value cells; links are filled in by the caller (kNone until then).
uint32_t AddKeyCell(CellWriter& writer, std::span<const uint8_t> name, uint16_t flags,
                    uint64_t time, uint32_t slack = 0);
uint32_t AddValueCell(CellWriter& writer, std::span<const uint8_t> name, uint16_t flags,
                      uint32_t type, uint32_t data_length);
// Adds the data of the value at `value`, inline, in a cell or in segments; returns its cell (0 when
// inline).
uint32_t AddValueData(CellWriter& writer, uint32_t value, std::span<const uint8_t> data);
// The empty lists for `count` entries; child lists of an "ri" hold `per_list` each.
uint32_t AddListCell(CellWriter& writer, List kind, uint32_t count, uint32_t per_list,
                     std::vector<uint32_t>* child_lists = nullptr);
// Bytes per entry of the lists that name keys.
uint32_t EntrySizeOf(List kind);
// The ring of security cells; every one starts with no references.
std::vector<uint32_t> AddSecurityRing(CellWriter& writer, const std::vector<Bytes>& descriptors);

char16_t UpperUnit(char16_t unit);
std::u16string UpperText(std::u16string text);
uint32_t NameHash(std::u16string_view name);  // of an "lh" entry

}  // namespace hivequarry::testing
