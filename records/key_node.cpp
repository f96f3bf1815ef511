#include "records/key_node.h"

#include <algorithm>
#include <string_view>

#include "host/host.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

constexpr uint32_t kMaxNarrowName = 256;  // characters of a name kept
constexpr std::string_view kCutMark = "...";

// A key name keeps the low byte of each UTF-16 unit that has no high byte. A surrogate without its
// other half is shown as what it is: names that differ in those alone must not look alike.
std::string NarrowKeyName(ByteView bytes, bool& has_zero) {
  const auto size = static_cast<uint32_t>(bytes.size());
  std::string name(size / 2, '?');
  bool surrogates = false;
  for (uint32_t i = 0; i < name.size(); ++i) {
    const uint32_t unit = LoadU16(bytes.data() + 2 * i);
    has_zero = has_zero || unit == 0;
    surrogates = surrogates || (unit & 0xF800) == 0xD800;
    if (unit != 0 && unit < 0x100) name[i] = static_cast<char>(unit);
  }
  // From the last on, so that those before keep their places.
  for (uint32_t i = surrogates ? size / 2 : 0; i-- > 0;) {
    if (!IsLoneSurrogate(bytes.data(), size, 2 * i)) continue;
    name.replace(i, 1, LoneSurrogateText(LoadU16(bytes.data() + 2 * i)));
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

}  // namespace

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

std::string KeyNameText(ByteView image, uint32_t cell, uint32_t length, bool wide, bool& has_zero) {
  const uint32_t most = wide ? 2 * (kMaxNarrowName + 1) : kMaxNarrowName + 1;
  const ByteView bytes = PartOf(image, cell + kKeyName, std::min(length, most));
  if (wide) return CutName(NarrowKeyName(bytes, has_zero));
  std::string name;
  AppendText(bytes, name);
  return CutName(std::move(name));
}

void AppendKeyNameText(ByteView image, uint32_t cell, uint32_t length, bool wide,
                       std::string& out) {
  const ByteView bytes = PartOf(image, cell + kKeyName, length);
  if (!wide && length <= kMaxNarrowName) return AppendText(bytes, out);
  bool has_zero = false;
  out += KeyNameText(image, cell, length, wide, has_zero);
}

uint32_t LongestKeyName(ByteView image, uint32_t cell) {
  const uint32_t length = CellLength(ReadU32(image, cell));
  return std::max(kMaxRawName, length > kKeyName ? length - kKeyName : 0);
}

std::u16string WideKeyName(ByteView image, uint32_t cell, uint32_t length) {
  const ByteView raw =
      PartOf(image, cell + kKeyName, std::min(length, LongestKeyName(image, cell)));
  const bool wide = ReadU8(image, cell + kKeyFlags) == 0;
  // A single-byte name is the low bytes of UTF-16, not text of a code page.
  std::u16string text(wide ? raw.size() / 2 : raw.size(), u'\0');
  for (size_t i = 0; i < text.size(); ++i) text[i] = wide ? LoadU16(raw.data() + 2 * i) : raw[i];
  return text;
}

}  // namespace hivequarry
