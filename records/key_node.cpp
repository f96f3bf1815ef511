#include "records/key_node.h"

#include <algorithm>

#include "records/cell.h"
#include "records/key_flags.h"
#include "records/stored_text.h"

namespace hivequarry {
bool ReadKeyFields(ByteView image, uint32_t cell, KeyFields& fields) {
  fields = KeyFields();
  if (!IsInside(image, cell, kKeyName)) return false;
  const uint8_t* key = image.data() + cell;
  fields.size = LoadU32(key);
  fields.signature = LoadU16(key + 4);
  fields.flags = LoadU16(key + kKeyFlags);
  fields.last_write = LoadU64(key + kKeyLastWrite);
  fields.parent = LoadU32(key + kKeyParent);
  fields.subkey_count = LoadU32(key + kKeySubkeyCount);
  fields.subkey_list = LoadU32(key + kKeySubkeyList);
  fields.value_count = LoadU32(key + kKeyValueCount);
  fields.value_list = LoadU32(key + kKeyValueList);
  fields.security = LoadU32(key + kKeySecurity);
  fields.class_name = LoadU32(key + kKeyClassName);
  fields.name_length = LoadU16(key + kKeyNameLength);
  fields.class_name_length = LoadU16(key + kKeyClassNameLength);
  return true;
}

bool IsKeyFlagsByte(uint8_t flags) {
  switch (flags) {
    case 0x00:
    case 0x10:
    case 0x20:
    case 0x2C:
    case 0x30:
    case 0x60:
    case 0xA0:
    case 0xAC:
      return true;
    default:
      return false;
  }
}

void AppendKeyNameText(ByteView image, uint32_t cell, uint32_t length, bool wide,
                       std::string& out) {
  // Longer ones have no room in most cells: only of these are the cell's bounds worth a look.
  if (length > kMaxRawName) length = std::min(length, LongestKeyName(image, cell));
  const ByteView bytes = PartOf(image, cell + kKeyName, length);
  if (!wide) return AppendSingleByteName(bytes, out);
  AppendUnits(bytes, StoredUnits::kOfKeyName, bytes.size(), out);
}

std::string KeyNameText(ByteView image, uint32_t cell, uint32_t length, bool wide) {
  std::string name;
  AppendKeyNameText(image, cell, length, wide, name);
  return name;
}

uint32_t LongestKeyName(ByteView image, uint32_t cell) {
  const uint32_t length = CellLength(ReadU32(image, cell));
  return std::max(kMaxRawName, length > kKeyName ? length - kKeyName : 0);
}

std::u16string WideKeyName(ByteView image, uint32_t cell, uint32_t length) {
  const ByteView raw =
      PartOf(image, cell + kKeyName, std::min(length, LongestKeyName(image, cell)));
  const bool wide = IsWideKeyName(ReadU8(image, cell + kKeyFlags));
  // A single-byte name is the low bytes of UTF-16, not text of a code page.
  std::u16string text(wide ? raw.size() / 2 : raw.size(), u'\0');
  for (size_t i = 0; i < text.size(); ++i) text[i] = wide ? LoadU16(raw.data() + 2 * i) : raw[i];
  return text;
}

}  // namespace hivequarry
