// Values as text: type names, the one-line preview, the detail view, error markers.
// Texts are UTF-8 (host/text.h).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "hive/values.h"

namespace hivequarry {

// Characters, so that a list of a million values stays small and a line stays a line.
inline constexpr size_t kPreviewLength = 250;

// "REG_SZ" and so on; an unknown code as "0x%x".
// Types whose upper half is some owner's are not taken apart here.
std::string TypeName(uint32_t type);
// Empty for an unknown code.
std::string_view NameOfKnownType(uint32_t type);

// The text of string data (types 1, 2 and 7): UTF-16, or as the reading in force has it. Types 1
// and 2 as a whole, an inner zero kept; type 7 with each terminator a single space, and with
// `keep_zeros` (export, comparison) the zeros kept. Other types: the bytes as characters of the
// code page.
std::string DataText(uint32_t type, std::span<const uint8_t> data, bool keep_zeros = false);
// Appends the text of string data of types 1 and 2, zeros kept.
void AppendStringText(std::span<const uint8_t> data, std::string& out);

// The one-line preview, at most kPreviewLength characters. `wide` says that the data of a text type
// is UTF-16, as it is in a hive.
std::string DataPreview(uint32_t type, std::span<const uint8_t> data, bool wide);

// The same in `text`, in place of what it held: a walk over many values takes no memory for it.
void SetDataPreview(uint32_t type, std::span<const uint8_t> data, bool wide, std::string& text);

// What the lists show for a value: the preview, "Data Offset Error", "ERR_DATALEN" or "ERR_BINVAL";
// empty for a status that lists nothing.
std::string ValueDataText(const ValueKey& value, std::span<const uint8_t> data);
void SetValueDataText(const ValueKey& value, std::span<const uint8_t> data, std::string& text);
// True when a value of this status is listed (as data or as a marker).
bool IsListed(ValueStatus status);

// The name as listed: "(Default value)" when it has none; one that is called so is in quotes. A
// name of more than kShownValueName characters ends in "..." there.
inline constexpr const char* kDefaultValueName = "(Default value)";
inline constexpr size_t kShownValueName = 519;
std::string ValueDisplayName(const ValueKey& value);
// False when the name as listed is not the name itself.
bool IsNameShownWhole(const ValueKey& value);

// Icons of the value list, in the order of its image list. A marker row's icon is the type's icon
// plus kErrorIconStep.
enum class ValueIcon : int { kFolder = 0, kString = 1, kDword = 2, kBinary = 3 };
inline constexpr int kErrorIconStep = 6;
// A number of the image list.
int IconOfValue(const ValueKey& value);

// The detail view: a header line, then the data as text, number or hex dump ("\r\n" line ends). Of
// an edited value it says what the edit is.
struct ValueDetailText {
  ValueStatus status = ValueStatus::kEmpty;  // other than kRead: there is no text
  std::string text;
};
ValueDetailText ValueDetail(const HiveImage& hive, uint32_t position);
// The same of a value that was read with its data.
ValueDetailText ValueDetail(const ValueKey& value, std::span<const uint8_t> data);
// Name only, carriage return and line feed as "\r" and "\n".
std::string ValueDetailName(const HiveImage& hive, uint32_t position);

// The hex dump of the detail view: 8 bytes a line.
// Linear; "\r\n" ends each line.
std::string HexDump(std::span<const uint8_t> data);

}  // namespace hivequarry
