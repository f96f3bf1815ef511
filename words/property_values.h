// Values of types that are not the registry's own, in words: properties of devices and settings of
// app packages.
//
// A property's type has 0xFFFF in its upper half, and the property's own type below
// (<devpropdef.h>). A setting is a value of a "settings.dat" below "LocalState" and its like, of a
// type from 0x5F5E101 on; the last eight bytes of its data are the FILETIME of its last change.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "bytes/byte_view.h"

namespace hivequarry {

struct PropertyValue {
  std::string_view kind;  // "app setting", "device property"; empty for a type of neither
  std::string type;       // "text", "list of uint32"; for one that is not known its number
  std::string text;       // UTF-8; items of a list are joined with ", "
  std::string fault;      // why there is no text, or not all of it; else empty
  uint64_t written = 0;   // of a setting: FILETIME, UTC; 0 for none
};

// From 0x5F5E101 to 0x5F5E125; types between that nobody has seen are numbers.
bool IsAppSetting(uint32_t type);

// What data of any type say; an empty record for types of the registry's own. A form that does not
// fit the data to the last byte is not guessed at. Texts of lists end after kMostPropertyItems of
// them.
inline constexpr size_t kMostPropertyItems = 4096;
PropertyValue ReadPropertyValue(uint32_t type, ByteView data);
// What it is: "app setting, text, written 2018-03-17T12:40:00.0000000Z"; empty for an empty record.
std::string PropertyWords(const PropertyValue& value);

}  // namespace hivequarry
