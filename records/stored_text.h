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
// `limit` counts units, not bytes or characters. Zeros are appended like any other unit: who wants
// the text up to the first one cuts `bytes` before. A lone surrogate stays in the text as three
// bytes (host/text.h).
void AppendUnits(ByteView bytes, StoredUnits kind, size_t limit, std::string& text);
// Appends a single-byte name.
// Every byte is the character of that number (U+0000 to U+00FF), or the code page's where the user
// has chosen that reading. Never stops at a zero.
void AppendSingleByteName(ByteView bytes, std::string& text);
// Appends single-byte data: the code page's characters in either reading.
// Data in single bytes come from programs that called the older functions, so the code page is the
// right one whatever the names are read by.
void AppendSingleByteData(ByteView bytes, std::string& text);

}  // namespace hivequarry
