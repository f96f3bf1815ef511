#include "records/value_key.h"

#include <array>

#include "records/stored_text.h"

namespace hivequarry {

ValueFields ReadValueFields(ByteView image, uint32_t cell) {
  std::array<uint8_t, kValueName> value{};
  const uint32_t got = ReadBytes(image, cell, value.data(), kValueName);
  if (got < kValueFlags + 2) value[kValueFlags] = 0;  // a field that was cut off is 0
  ValueFields fields;
  fields.size = LoadU32(value.data());
  fields.signature = LoadU16(value.data() + 4);
  fields.name_length = LoadU16(value.data() + kValueNameLength);
  const uint32_t low = LoadU16(value.data() + kValueDataLength);
  // The mark is tested as the whole upper half: 0x8000 with a low half of up to 4 is inline.
  const uint32_t high = LoadU16(value.data() + kValueDataLength + 2);
  fields.data_length = high != 0 && high != kInlineData >> 16 ? high << 16 | low : low;
  fields.data_offset = LoadU32(value.data() + kValueDataOffset);
  fields.type = LoadU32(value.data() + kValueType);
  fields.flags = LoadU16(value.data() + kValueFlags);
  return fields;
}

std::string ValueNameText(ByteView image, uint32_t cell, uint32_t length, bool wide) {
  const ByteView bytes = PartOf(image, cell + kValueName, length);
  std::string name;
  if (wide) {
    AppendUnits(bytes, StoredUnits::kOfValueName, bytes.size(), name);
  } else {
    AppendSingleByteName(bytes, name);
  }
  return name;
}

}  // namespace hivequarry
