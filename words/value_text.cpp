#include "words/value_text.h"

#include <algorithm>
#include <cstring>

#include "host/number_text.h"
#include "host/text.h"
#include "host/visible_text.h"
#include "records/stored_text.h"

namespace hivequarry {
namespace {

// How a value's data are shown.
enum class Presentation { kText, kDword, kBinary };

constexpr std::string_view kTypeNames[] = {"REG_NONE",
                                           "REG_SZ",
                                           "REG_EXPAND_SZ",
                                           "REG_BINARY",
                                           "REG_DWORD",
                                           "REG_DWORD_BIG_ENDIAN",
                                           "REG_LINK",
                                           "REG_MULTI_SZ",
                                           "REG_RESOURCE_LIST",
                                           "REG_FULL_RESOURCE_DESCRIPTOR",
                                           "REG_RESOURCE_REQUIREMENTS_LIST",
                                           "REG_QWORD"};
constexpr size_t kNoLimit = SIZE_MAX;
constexpr size_t kPreviewWidth = 48;  // characters of a binary preview: sixteen bytes, three each
constexpr size_t kDumpBytes = 8;      // per line of a hex dump

// A number of the wrong length is shown as bytes: as a number it would be a wrong one. Types that
// hold text in some programs and not in others (link, big-endian number) are shown as text.
Presentation PresentationOf(uint32_t type, size_t length) {
  switch (type) {
    case kRegDword:
      return length == 4 ? Presentation::kDword : Presentation::kBinary;
    case kRegSz:
    case kRegExpandSz:
    case kRegDwordBigEndian:
    case kRegLink:
    case kRegMultiSz:
      return Presentation::kText;
    default:
      return Presentation::kBinary;
  }
}

// Narrower than PresentationOf: a link or a big-endian number is shown as text byte by byte.
bool IsUtf16Type(uint32_t type) {
  return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

// Characters are those of UTF-16: an odd last byte counts as one.
size_t UnitCount(std::span<const uint8_t> data) { return (data.size() + 1) / 2; }

// All of these append to `text`, which is empty. At most `limit` characters of a string's text,
// zeros kept.
void AddStringText(std::span<const uint8_t> data, size_t limit, std::string& text) {
  AppendUnits(data, StoredUnits::kOfString, limit, text);
}

// At most `limit` characters of a multi-string's text. Without `keep_zeros` each terminator is a
// blank, and the zero that ends the whole list is left out.
void AddMultiStringText(std::span<const uint8_t> data, size_t limit, bool keep_zeros,
                        std::string& text) {
  AppendUnits(data, StoredUnits::kOfMultiString, limit, text);
  if (keep_zeros) return;
  const bool whole = UnitCount(data) <= limit;
  if (whole && text.ends_with(std::string_view("\0\0", 2))) text.pop_back();
  std::ranges::replace(text, '\0', ' ');
}

// Bytes that are no UTF-16: characters of the code page.
void AddRawText(std::span<const uint8_t> data, size_t limit, std::string& text) {
  AppendSingleByteData(data.first(std::min(data.size(), limit)), text);
}

void AddDwordText(std::span<const uint8_t> data, std::string& text) {
  AppendHexAndDecimal(LoadU32(data.data()), text);
}

// True when a text has at most so many characters.
bool CountsAtMost(std::string_view text, size_t characters) {
  // A character has at least one byte, so short texts need not be counted.
  return text.size() <= characters || CountUnits(text) <= characters;
}

// "0A FF 10 ..." in capitals, sixteen bytes at most.
void AddBinaryPreview(std::span<const uint8_t> data, std::string& text) {
  if (data.empty()) {
    text = "(zero length)";
    return;
  }
  const size_t shown = std::min(data.size(), kPreviewWidth / 3);
  text.resize(3 * shown, ' ');
  for (size_t i = 0; i < shown; ++i) {
    text[3 * i] = kUpperDigits[data[i] >> 4];
    text[3 * i + 1] = kUpperDigits[data[i] & 15];
  }
  if (shown < data.size()) text.replace(text.size() - 3, 3, "...");
}

// The text that a preview starts from: one character more than it shows, so that it can tell
// whether something was left out.
void AddPreviewSource(uint32_t type, std::span<const uint8_t> data, bool wide, std::string& text) {
  constexpr size_t kLimit = kPreviewLength + 1;
  if (!IsUtf16Type(type)) {
    // Characters of the code page; yet a wide length is counted in those of UTF-16.
    const size_t count = wide && data.size() > 1 ? UnitCount(data) : data.size();
    return AddRawText(data.first(count), kLimit, text);
  }
  if (!wide) {
    AddRawText(data, kLimit, text);
  } else if (type == kRegMultiSz) {
    return AddMultiStringText(data, kLimit, false, text);
  } else {
    AddStringText(data, kLimit, text);
  }
  text.resize(std::min(text.size(), text.find('\0')));
}

// At most kPreviewLength characters with the "..." that says that it was cut. One zero at the end
// is dropped, other control characters become blanks.
void AddTextPreview(uint32_t type, std::span<const uint8_t> data, bool wide, std::string& text) {
  AddPreviewSource(type, data, wide, text);
  const std::string_view shown = FirstUnits(text, kPreviewLength);
  if (shown.size() < text.size()) {
    text.resize(FirstUnits(shown, kPreviewLength - 3).size());
    text += "...";
  } else if (!text.empty() && text.back() == '\0') {
    text.pop_back();
  }
  if (PlainEnd(text, 0) == text.size()) return;  // nearly all
  for (char& character : text) {
    if (static_cast<uint8_t>(character) < 32) character = ' ';
  }
}

// "Type 1, Value 0x1078, Data 0x1090, Length 4": the position shown for data in a cell of their own
// is the cell's.
// Positions are those of the image. The length counts characters for a text, bytes for all else.
std::string DetailHeader(const ValueKey& value, size_t length) {
  const uint32_t data = !value.inline_data ? value.data_position - 4 : value.data_position;
  const std::string header =
      Concat({"Type ", Decimal(static_cast<int32_t>(value.type)), ", Value 0x", Hex(value.position),
              ", Data 0x", Hex(data), ", Length "});
  const auto shown = static_cast<uint32_t>(length);
  if (length <= 9) return Concat({header, Decimal(shown), "\r\n"});
  return Concat({header, "0x", Hex(shown), " (", Decimal(shown), ")\r\n"});
}

std::string DetailText(const ValueKey& value, std::span<const uint8_t> data) {
  if (data.empty()) return DetailHeader(value, 0);
  if (value.type == kRegSz || value.type == kRegExpandSz) {
    const std::string text = DataText(value.type, data);
    // A zero inside means that there is more than a text: the bytes are shown instead.
    if (text.find('\0') == std::string::npos) return DetailHeader(value, CountUnits(text)) + text;
  }
  if (PresentationOf(value.type, data.size()) == Presentation::kDword) {
    return DetailHeader(value, data.size()) + HexAndDecimal(LoadU32(data.data()));
  }
  return DetailHeader(value, data.size()) + HexDump(data);
}

// Writes one line of a dump and returns its end.
char* DumpLine(std::span<const uint8_t> bytes, size_t offset, int digits, char* out) {
  while (offset >> 4 * digits != 0) ++digits;
  for (int digit = digits - 1; digit >= 0; --digit) *out++ = kUpperDigits[offset >> 4 * digit & 15];
  *out++ = ' ';
  for (const uint8_t byte : bytes) {
    *out++ = kLowerDigits[byte >> 4];
    *out++ = kLowerDigits[byte & 15];
    *out++ = ' ';
  }
  out = std::fill_n(out, 3 * (kDumpBytes - bytes.size()) + 1, ' ');
  for (const uint8_t byte : bytes) {
    if (byte < 0x80) {
      *out++ = byte < 32 ? '.' : static_cast<char>(byte);
    } else {
      const char character = static_cast<char>(byte);
      out = std::ranges::copy(TextOfCodePage({&character, 1}), out).out;
    }
  }
  *out++ = '\r';
  *out++ = '\n';
  return out;
}

}  // namespace

std::string_view NameOfKnownType(uint32_t type) {
  return type < std::size(kTypeNames) ? kTypeNames[type] : std::string_view();
}

std::string TypeName(uint32_t type) {
  const std::string_view known = NameOfKnownType(type);
  return known.empty() ? Concat({"0x", SmallHex(type)}) : std::string(known);
}

std::string DataText(uint32_t type, std::span<const uint8_t> data, bool keep_zeros) {
  std::string text;
  if (type == kRegMultiSz) {
    AddMultiStringText(data, kNoLimit, keep_zeros, text);
    return text;
  }
  if (!IsUtf16Type(type)) {
    AddRawText(data, kNoLimit, text);
    return text;
  }
  AddStringText(data, kNoLimit, text);
  // The zero that ends the text is no part of it; any other one is.
  if (!keep_zeros && !text.empty() && text.back() == '\0') text.pop_back();
  return text;
}

void AppendStringText(std::span<const uint8_t> data, std::string& out) {
  AppendUnits(data, StoredUnits::kOfString, kNoLimit, out);
}

void SetDataPreview(uint32_t type, std::span<const uint8_t> data, bool wide, std::string& text) {
  text.clear();
  switch (PresentationOf(type, data.size())) {
    case Presentation::kDword:
      return AddDwordText(data, text);
    case Presentation::kText:
      return AddTextPreview(type, data, wide, text);
    default:
      return AddBinaryPreview(data, text);
  }
}

std::string DataPreview(uint32_t type, std::span<const uint8_t> data, bool wide) {
  std::string text;
  SetDataPreview(type, data, wide, text);
  return text;
}

void SetValueDataText(const ValueKey& value, std::span<const uint8_t> data, std::string& text) {
  switch (value.status) {
    case ValueStatus::kRead:
    case ValueStatus::kReadBefore:
      return SetDataPreview(value.type, data, true, text);
    case ValueStatus::kDataOffset:
      text = "Data Offset Error";
      return;
    case ValueStatus::kDataLength:
      text = "ERR_DATALEN";
      return;
    case ValueStatus::kNoBase:
      text = "ERR_BINVAL";
      return;
    default:
      text.clear();
  }
}

std::string ValueDataText(const ValueKey& value, std::span<const uint8_t> data) {
  std::string text;
  SetValueDataText(value, data, text);
  return text;
}

bool IsListed(ValueStatus status) {
  return status == ValueStatus::kRead || status == ValueStatus::kReadBefore ||
         status == ValueStatus::kDataOffset || status == ValueStatus::kDataLength ||
         status == ValueStatus::kNoBase;
}

std::string ValueDisplayName(const ValueKey& value) {
  if (value.name_length == 0) return kDefaultValueName;
  // A value that is called so has quotes more than its name, so that no two names look alike.
  std::string_view bare = value.name;
  while (bare.starts_with('"') && bare.ends_with('"') && bare.size() > 1) {
    bare = bare.substr(1, bare.size() - 2);
  }
  if (bare == kDefaultValueName) return '"' + value.name + '"';
  if (CountsAtMost(value.name, kShownValueName)) return ShownValueName(value.name);
  return ShownValueName(FirstUnits(value.name, kShownValueName - 3)) + "...";
}

bool IsNameShownWhole(const ValueKey& value) {
  const std::string& name = value.name;
  if (value.name_length == 0 || name.empty()) return true;
  const bool plain = PlainEnd(name, 0, '{') == name.size() && name[0] != '(' && name[0] != '"';
  if (plain) return name.size() <= kShownValueName;
  return CountsAtMost(value.name, kShownValueName) && ValueDisplayName(value) == value.name;
}

int IconOfValue(const ValueKey& value) {
  ValueIcon icon = ValueIcon::kBinary;
  const Presentation presentation = PresentationOf(value.type, value.data_length);
  if (presentation == Presentation::kText) icon = ValueIcon::kString;
  if (presentation == Presentation::kDword) icon = ValueIcon::kDword;
  // Data that were read before are shown as far as lists show any: no marker takes their place.
  const bool marker = IsListed(value.status) && value.status != ValueStatus::kRead &&
                      value.status != ValueStatus::kReadBefore;
  return static_cast<int>(icon) + (marker ? kErrorIconStep : 0);
}

ValueDetailText ValueDetail(const HiveImage& hive, uint32_t position) {
  std::vector<uint8_t> data;
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kData, kMaxValueData, &data);
  return ValueDetail(value, data);
}

ValueDetailText ValueDetail(const ValueKey& value, std::span<const uint8_t> data) {
  if (value.status != ValueStatus::kRead) return {value.status, {}};
  return {value.status, DetailText(value, data)};
}

std::string ValueDetailName(const HiveImage& hive, uint32_t position) {
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kName, 0, nullptr);
  std::string text;
  text.reserve(value.name.size());
  for (const char character : value.name) {
    if (character == '\r') {
      text += "\\r";
    } else if (character == '\n') {
      text += "\\n";
    } else {
      text += character;
    }
  }
  return text;
}

std::string HexDump(std::span<const uint8_t> data) {
  // Room for an offset of 8 digits and a blank, 3 characters a byte, the blank before the
  // character column, that column (a character of a code page has three bytes at most), and the
  // line end.
  constexpr size_t kLineRoom = 9 + 3 * kDumpBytes + 1 + 3 * kDumpBytes + 2;
  const int digits = data.size() < 0x10000 ? 4 : 5;
  std::string text((data.size() + kDumpBytes - 1) / kDumpBytes * kLineRoom, '\0');
  char* out = text.data();
  for (size_t offset = 0; offset < data.size(); offset += kDumpBytes) {
    const size_t count = std::min(kDumpBytes, data.size() - offset);
    out = DumpLine(data.subspan(offset, count), offset, digits, out);
  }
  text.resize(static_cast<size_t>(out - text.data()));
  return text;
}

}  // namespace hivequarry
