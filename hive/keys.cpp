#include "hive/keys.h"

#include <algorithm>
#include <bit>
#include <string_view>

#include "hive/layer_stack.h"
#include "host/host.h"
#include "records/cell.h"
#include "records/key_flags.h"

namespace hivequarry {
namespace {

void FillFields(const HiveImage& hive, const KeyFields& fields, KeyNode& key) {
  const uint32_t at = key.position;
  key.size = fields.size;
  key.signature_and_flags = fields.signature | uint32_t{fields.flags} << 16;
  key.last_write = fields.last_write;
  key.parent = OffsetPosition(hive, fields.parent, at + kKeyParent);
  key.subkey_count = fields.subkey_count;
  key.subkey_list = OffsetPosition(hive, fields.subkey_list, at + kKeySubkeyList);
  key.value_count = fields.value_count;
  key.value_list = OffsetPosition(hive, fields.value_list, at + kKeyValueList);
  key.security = OffsetPosition(hive, fields.security, at + kKeySecurity);
  key.class_name = OffsetPosition(hive, fields.class_name, at + kKeyClassName);
  key.name_length = fields.name_length;
  key.class_name_length = fields.class_name_length;
}

}  // namespace

KeyNode ReadKeyNode(const HiveImage& hive, uint32_t position, KeyRead how) {
  KeyNode key;
  KeyFields fields;
  if (!ReadKeyFields(ImageBytes(hive), position, fields)) return key;
  key.position = position;
  FillFields(hive, fields, key);
  const bool name_fits = InsideHive(hive, position, kKeyName + key.name_length);
  if (!name_fits) key.signature_and_flags &= 0xFFFF0000;
  key.flags_low = static_cast<uint8_t>(key.signature_and_flags >> 16);
  if (name_fits) {
    const bool wide = IsWideKeyName(key.flags_low);
    key.name = KeyNameText(ImageBytes(hive), position, key.name_length, wide);
    key.name_failed = wide && key.name.find('\0') != std::string::npos;
  }
  // Negative and above -65536: a larger size is no key's, whatever its sign.
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
  if ((signature & 0xFF) == 'n' && hive.tolerant_keys) {
    uint32_t one_bit_errors = 0;
    return TolerantKeyTest(hive, position, one_bit_errors) ? 1 : -1;
  }
  // A link node: a hive ends here (0x02), not to be deleted (0x08), a name of bytes (0x20).
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
  name = KeyNameText(ImageBytes(hive), position, ReadU16(hive, position + kKeyNameLength),
                     ReadU16(hive, position + kKeyFlags) == 0);
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
  const bool wide = IsWideKeyName(ReadU8(hive, position + kKeyFlags));
  AppendKeyNameText(ImageBytes(hive), position, length, wide, out);
}

uint32_t ValueListOf(const HiveImage& hive, uint32_t key_position) {
  if (!hive.found.value_lists.empty()) {
    const auto repaired = hive.found.value_lists.find(key_position);
    if (repaired != hive.found.value_lists.end()) return repaired->second;
  }
  return ReadOffset(hive, key_position + kKeyValueList);
}

std::vector<uint8_t> ReadRawKeyName(const HiveImage& hive, uint32_t position) {
  const uint32_t length = ReadU16(hive, position + kKeyNameLength);
  return CopyOf(PartOf(ImageBytes(hive), position + kKeyName, std::min(length, kMaxRawName)));
}

std::vector<uint8_t> ReadClassName(const HiveImage& hive, const KeyNode& key) {
  const StackKey* joined = StackKeyAt(hive, key.position);
  if (joined != nullptr && joined->class_of != key.position) {
    return ReadClassName(hive, ReadKeyNode(hive, joined->class_of, KeyRead::kFields));
  }
  if (key.class_name == kNoOffset || key.class_name_length == 0) return {};
  if (!InCellBounds(hive, key.class_name)) return {};
  const uint32_t length = key.class_name_length >= 1041 ? 520 : key.class_name_length;
  return CopyOf(PartOf(ImageBytes(hive), key.class_name + 4, std::min(length, kMaxRawName)));
}

}  // namespace hivequarry
