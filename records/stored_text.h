// Names and data as text (host/text.h): the one place where bytes of a hive become characters.
//
// Windows stores a name in single bytes when all of its units are below 0x100: these are the units'
// low bytes, not text of a code page. Other names and string data are UTF-16. Where the user has
// chosen the code page's reading (ReadsInCodePage) single bytes are its characters, and a unit that
// it lacks is "?".
#pragma once

#include <cstddef>
#include <string>

#include "bytes/byte_view.h"

namespace hivequarry {

// What the units are of. It matters to the code page's reading alone, which differs by the kind.
enum class StoredUnits : uint8_t {
  kOfKeyName,      // no unit above 0xFF is looked up there, and a zero is "?"
  kOfValueName,    // there a lone surrogate is "?{D83D}"
  kOfString,       // as a unit
  kOfMultiString,  // units below 0x100 are the code page's bytes there
};

// Appends at most `limit` UTF-16 units; an odd last byte is a unit of its own in data, and is left
// out of a name. A pair of surrogates that the limit parts is left out.
void AppendUnits(ByteView bytes, StoredUnits kind, size_t limit, std::string& text);
// Appends a single-byte name.
void AppendSingleByteName(ByteView bytes, std::string& text);
// Appends single-byte data: the code page's characters in either reading.
void AppendSingleByteData(ByteView bytes, std::string& text);

}  // namespace hivequarry
