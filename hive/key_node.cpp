#include "hive/key_node.h"

#include <algorithm>
#include <bit>
#include <string_view>

#include "hive/cells.h"
#include "host/host.h"

namespace hivequarry {
namespace {

constexpr uint32_t kMaxRawName = 510;     // bytes of a name copied as stored
constexpr uint32_t kMaxNarrowName = 256;  // characters of a name kept
constexpr std::string_view kCutMark = "...";

bool IsKeyFlagsByte(uint8_t flags) {
  switch (flags) {
    case 0x00:
    case 0x20:
    case 0x2C:
    case 0x60:
    case 0xA0:
    case 0xAC:
      return true;
    default:
      return false;
  }
}

// A key name keeps the low byte of each UTF-16 unit that has no high byte. A surrogate without its
// other half is shown as what it is: names that differ in those alone must not look alike.
std::string NarrowKeyName(const uint8_t* bytes, uint32_t size, bool& failed) {
  std::string name(size / 2, '?');
  bool surrogates = false;
  for (uint32_t i = 0; i < name.size(); ++i) {
    const uint32_t unit = LoadU16(bytes + 2 * i);
    failed = failed || unit == 0;
    surrogates = surrogates || (unit & 0xF800) == 0xD800;
    if (unit != 0 && unit < 0x100) name[i] = static_cast<char>(unit);
  }
  // From the last on, so that those before keep their places.
  for (uint32_t i = surrogates ? size / 2 : 0; i-- > 0;) {
    if (!IsLoneSurrogate(bytes, size, 2 * i)) continue;
    name.replace(i, 1, LoneSurrogateText(LoadU16(bytes + 2 * i)));
  }
  return name;
}

// The registry takes names of up to 255 characters. Of longer ones the beginning is shown, and that
// there is more.
std::string CutName(std::string name) {
  if (name.size() <= kMaxNarrowName) return name;
  name.resize(kMaxNarrowName - kCutMark.size());
  return name.append(kCutMark);
}

std::string DecodeName(const HiveImage& hive, uint32_t position, uint32_t length, bool wide,
                       bool& failed) {
  uint8_t bytes[2 * (kMaxNarrowName + 1)];
  const uint32_t most = wide ? 2 * (kMaxNarrowName + 1) : kMaxNarrowName + 1;
  const uint32_t got = ReadBytes(hive, position + kKeyName, bytes, std::min(length, most));
  if (wide) return CutName(NarrowKeyName(bytes, got, failed));
  return CutName(std::string(bytes, bytes + got));
}

std::vector<uint8_t> ReadUpTo(const HiveImage& hive, uint32_t position, uint32_t length) {
  std::vector<uint8_t> bytes(length);
  bytes.resize(ReadBytes(hive, position, bytes.data(), static_cast<uint32_t>(bytes.size())));
  return bytes;
}

void ReadFields(const HiveImage& hive, uint32_t position, KeyNode& key) {
  key.position = position;
  key.size = ReadU32(hive, position);
  key.signature_and_flags = ReadU32(hive, position + 4);
  key.last_write = ReadU64(hive, position + kKeyLastWrite);
  key.parent = ReadOffset(hive, position + kKeyParent);
  key.subkey_count = ReadU32(hive, position + kKeySubkeyCount);
  key.subkey_list = ReadOffset(hive, position + kKeySubkeyList);
  key.value_count = ReadU32(hive, position + kKeyValueCount);
  key.value_list = ReadOffset(hive, position + kKeyValueList);
  key.security = ReadOffset(hive, position + kKeySecurity);
  key.class_name = ReadOffset(hive, position + kKeyClassName);
  key.name_length = ReadU16(hive, position + kKeyNameLength);
  key.class_name_length = ReadU16(hive, position + kKeyClassNameLength);
}

}  // namespace

KeyNode ReadKeyNode(const HiveImage& hive, uint32_t position, KeyRead how) {
  KeyNode key;
  if (!InsideHive(hive, position, kKeyName)) return key;
  ReadFields(hive, position, key);
  const bool name_fits = InsideHive(hive, position, kKeyName + key.name_length);
  if (!name_fits) key.signature_and_flags &= 0xFFFF0000;
  key.flags_low = static_cast<uint8_t>(key.signature_and_flags >> 16);
  if (name_fits) {
    key.name = DecodeName(hive, position, key.name_length, key.flags_low == 0, key.name_failed);
  }
  const bool allocated = key.size >> 16 == 0xFFFF;
  key.state = allocated ? KeyState::kAllocated : KeyState::kFree;
  key.length = allocated ? 0U - key.size : key.size;
  if (position == hive.root_position) key.parent = kNoOffset;
  const auto signature = static_cast<uint16_t>(key.signature_and_flags);
  const auto flags = static_cast<uint16_t>(key.signature_and_flags >> 16);
  if (ClassifyKey(hive, signature, flags, key.size, position) < 0) {
    key.state = KeyState::kNotAKey;
    return key;
  }
  if (how != KeyRead::kFields && key.subkey_count != 0) {
    key.list = CheckSubkeyList(hive, key, how == KeyRead::kDiagnose);
  }
  return key;
}

int ClassifyKey(const HiveImage& hive, uint16_t signature, uint16_t flags, uint32_t size,
                uint32_t position) {
  const auto flags_low = static_cast<uint8_t>(flags);
  // Without a base block to vouch for the file, only cells of a sensible allocated size count.
  const bool size_known = hive.header_valid || (size >> 16 == 0xFFFF && (size & 0xFFFF) != 0);
  if (signature == kSignatureNk && IsKeyFlagsByte(flags_low) && size_known) return 0;
  if ((signature & 0xFF) == 'n' && hive.key_gate % 8 == 0) {
    uint32_t one_bit_errors = 0;
    return TolerantKeyTest(hive, position, one_bit_errors) ? 1 : -1;
  }
  // One flipped bit in the signature and one in a root key's flags.
  if (signature == kSignatureLk && flags_low == 0x2A) return 2;
  return -1;
}

bool TolerantKeyTest(const HiveImage& hive, uint32_t position, uint32_t& one_bit_errors) {
  constexpr uint8_t kExpected[3] = {'k', 0x20, 0x00};
  int matches = 0;
  for (uint32_t i = 0; i < 3; ++i) {
    const auto difference = static_cast<uint8_t>(ReadU8(hive, position + 5 + i) ^ kExpected[i]);
    matches += difference == 0;
    one_bit_errors += std::has_single_bit(difference);
    if (matches == 2) return true;
  }
  return false;
}

uint32_t ReadKeyParentAndName(const HiveImage& hive, uint32_t position, std::string& name) {
  name.clear();
  if (!InsideHive(hive, position, kKeyName)) return kNoOffset;
  bool failed = false;
  name = DecodeName(hive, position, ReadU16(hive, position + kKeyNameLength),
                    ReadU16(hive, position + kKeyFlags) == 0, failed);
  if (position == hive.root_position) return kNoOffset;
  return ReadOffset(hive, position + kKeyParent);
}

std::string ReadKeyName(const HiveImage& hive, uint32_t position) {
  std::string name;
  AppendKeyName(hive, position, name);
  return name;
}

void AppendKeyName(const HiveImage& hive, uint32_t position, std::string& out) {
  const uint32_t length = ReadU16(hive, position + kKeyNameLength);
  const bool wide = ReadU8(hive, position + kKeyFlags) == 0;
  const bool plain = !wide && length <= kMaxNarrowName;
  const uint8_t* bytes = plain ? BytesInMemory(hive, position + kKeyName, length) : nullptr;
  if (bytes != nullptr) {
    out.append(reinterpret_cast<const char*>(bytes), length);
    return;
  }
  bool failed = false;
  out += DecodeName(hive, position, length, wide, failed);
}

uint32_t ValueListOf(const HiveImage& hive, uint32_t key_position) {
  if (!hive.repaired_value_lists.empty()) {
    const auto repaired = hive.repaired_value_lists.find(key_position);
    if (repaired != hive.repaired_value_lists.end()) return repaired->second;
  }
  return ReadOffset(hive, key_position + kKeyValueList);
}

std::vector<uint8_t> ReadRawKeyName(const HiveImage& hive, uint32_t position) {
  const uint32_t length = ReadU16(hive, position + kKeyNameLength);
  return ReadUpTo(hive, position + kKeyName, std::min(length, kMaxRawName));
}

std::vector<uint8_t> ReadClassName(const HiveImage& hive, const KeyNode& key) {
  if (key.class_name == kNoOffset || key.class_name_length == 0) return {};
  if (!InCellBounds(hive, key.class_name)) return {};
  const uint32_t length = key.class_name_length >= 1041 ? 520 : key.class_name_length;
  return ReadUpTo(hive, key.class_name + 4, std::min(length, kMaxRawName));
}

uint32_t LongestKeyName(const HiveImage& hive, uint32_t position) {
  const uint32_t length = CellLength(ReadU32(hive, position));
  return std::max(kMaxRawName, length > kKeyName ? length - kKeyName : 0);
}

std::u16string WideKeyName(const HiveImage& hive, uint32_t position, uint32_t length) {
  const std::vector<uint8_t> raw =
      ReadUpTo(hive, position + kKeyName, std::min(length, LongestKeyName(hive, position)));
  const bool wide = ReadU8(hive, position + kKeyFlags) == 0;
  // A single-byte name is the low bytes of UTF-16, not text of a code page.
  std::u16string text(wide ? raw.size() / 2 : raw.size(), u'\0');
  for (size_t i = 0; i < text.size(); ++i) text[i] = wide ? LoadU16(raw.data() + 2 * i) : raw[i];
  return text;
}

std::string KeyNameUtf8(const HiveImage& hive, uint32_t position) {
  return GeneralUtf8FromWide(WideKeyName(hive, position, ReadU16(hive, position + kKeyNameLength)));
}

}  // namespace hivequarry
