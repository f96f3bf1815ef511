#include "records/stored_text.h"

#include <algorithm>
#include <bit>

#include "host/host.h"
#include "host/number_text.h"
#include "host/text.h"

namespace hivequarry {
namespace {

bool IsName(StoredUnits kind) {
  return kind == StoredUnits::kOfKeyName || kind == StoredUnits::kOfValueName;
}

// The half of a unit that the bytes end in the middle of is 0.
char16_t UnitAt(ByteView bytes, size_t unit) {
  const uint32_t high = 2 * unit + 1 < bytes.size() ? bytes[2 * unit + 1] : 0U;
  return static_cast<char16_t>(bytes[2 * unit] | high << 8);
}

// Four units below 0x80 as bytes, the first one lowest.
uint32_t PackUnits(uint64_t units) {
  units = (units | units >> 8) & 0x0000FFFF0000FFFF;
  return static_cast<uint32_t>(units | units >> 16);
}

// Nearly all text is ASCII: copies units from number `from` on, four at a time, up to the first
// four with another among them. Returns the number of the first unit that is left.
size_t CopyAscii(ByteView bytes, size_t from, size_t end, char*& out) {
  for (; from + 4 <= end && 2 * from + 8 <= bytes.size(); from += 4) {
    const uint64_t units = LoadU64(bytes.data() + 2 * from);
    if ((units & 0xFF80FF80FF80FF80) != 0) break;
    const uint32_t packed = PackUnits(units);
    static_assert(std::endian::native == std::endian::little);
    std::memcpy(out, &packed, sizeof packed);
    out += sizeof packed;
  }
  return from;
}

// The unit with its other half after it, as one character; 1 unit for any other.
uint32_t WholeCharacter(ByteView bytes, size_t unit, size_t units, size_t& taken) {
  const char16_t first = UnitAt(bytes, unit);
  taken = 1;
  if (!IsHighSurrogate(first) || unit + 1 >= units) return first;
  const char16_t second = UnitAt(bytes, unit + 1);
  if (!IsLowSurrogate(second)) return first;
  taken = 2;
  return 0x10000U + ((first - 0xD800U) << 10) + (second - 0xDC00U);
}

void AppendWhole(ByteView bytes, size_t units, size_t limit, std::string& text) {
  const size_t start = text.size();
  const size_t count = std::min(units, limit);
  // Room for the plain case; other characters make more where they come.
  text.resize(start + count);
  char* out = text.data() + start;
  size_t at = CopyAscii(bytes, 0, count, out);
  while (at < count && UnitAt(bytes, at) < 0x80) *out++ = static_cast<char>(UnitAt(bytes, at++));
  text.resize(static_cast<size_t>(out - text.data()));
  while (at < count) {
    size_t taken = 0;
    const uint32_t code = WholeCharacter(bytes, at, units, taken);
    if (at + taken > count) break;
    AppendCharacter(code, text);
    at += taken;
  }
}

// --- the code page's reading ---------------------------------------------------------------------

void AppendByte(uint8_t byte, std::string& text) {
  AppendCharacter(CurrentHost().code_page->wide_of_byte[byte], text);
}

// "?{D83D}": names that differ in such units alone must not look alike.
void AppendLoneSurrogate(char16_t unit, std::string& text) {
  text += Concat({"?{", Hex(unit, 4), "}"});
}

bool IsLone(ByteView bytes, size_t unit, size_t units) {
  const char16_t here = UnitAt(bytes, unit);
  if (IsHighSurrogate(here)) return unit + 1 >= units || !IsLowSurrogate(UnitAt(bytes, unit + 1));
  return IsLowSurrogate(here) && (unit == 0 || !IsHighSurrogate(UnitAt(bytes, unit - 1)));
}

// To the code page and back, as the older functions of the system show it: what the page lacks is
// "?", what it has under another shape comes back as that shape.
void AppendNarrowed(char16_t unit, std::string& text) {
  const uint8_t byte = CurrentHost().code_page->byte_of_wide[unit];
  if (byte == 0 && unit != 0) {
    text += '?';
  } else {
    AppendByte(byte, text);
  }
}

void AppendInCodePage(ByteView bytes, StoredUnits kind, size_t units, size_t limit,
                      std::string& text) {
  const size_t count = std::min(units, limit);
  for (size_t at = 0; at < count; ++at) {
    const char16_t unit = UnitAt(bytes, at);
    if (IsName(kind) && IsLone(bytes, at, units)) {
      AppendLoneSurrogate(unit, text);
    } else if (kind == StoredUnits::kOfKeyName && (unit == 0 || unit > 0xFF)) {
      text += '?';
    } else if (unit < 0x100 &&
               (kind == StoredUnits::kOfKeyName || kind == StoredUnits::kOfMultiString)) {
      AppendByte(static_cast<uint8_t>(unit), text);
    } else {
      AppendNarrowed(unit, text);
    }
  }
}

}  // namespace

void AppendUnits(ByteView bytes, StoredUnits kind, size_t limit, std::string& text) {
  const size_t units = (bytes.size() + (IsName(kind) ? 0 : 1)) / 2;
  if (ReadsInCodePage()) return AppendInCodePage(bytes, kind, units, limit, text);
  AppendWhole(bytes, units, limit, text);
}

void AppendSingleByteName(ByteView bytes, std::string& text) {
  const std::string_view name(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (IsAscii(name)) {
    text += name;
  } else if (ReadsInCodePage()) {
    text += TextOfCodePage(name);
  } else {
    // Two bytes of UTF-8 for each from 0x80 on.
    const size_t before = text.size();
    text.resize(before + 2 * bytes.size());
    char* at = text.data() + before;
    for (const uint8_t byte : bytes) {
      *at = static_cast<char>(byte < 0x80 ? byte : 0xC0 | byte >> 6);
      at += byte >= 0x80;
      *at++ = static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3F));
    }
    text.resize(static_cast<size_t>(at - text.data()));
  }
}

void AppendSingleByteData(ByteView bytes, std::string& text) {
  text += TextOfCodePage({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace hivequarry
