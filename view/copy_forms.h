// Bytes on their way to the clipboard, in the forms that other programs take. Texts are UTF-16.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace hivequarry {

// The file position of the byte at an offset inside the value; kNoFilePosition for none, as for
// offsets after what the file holds. An empty function: none has one.
using FilePosition = std::function<uint32_t(uint32_t)>;
inline constexpr uint32_t kNoFilePosition = UINT32_MAX;

// How bytes of a value are put into the clipboard.
enum class CopyForm {
  kHex,        // 480069
  kSpacedHex,  // 48 00 69
  kCArray,
  kScriptHex,  // as a registry script has it: hex:48,00,69
  kPython,     // b"\x48\x00\x69"
  kBase64,
  kText,      // a byte a character; a dot for what ASCII does not print
  kWideText,  // UTF-16, low byte first; zeros as their visible symbol
  kDecimal,   // 72 0 105
  kDump,      // lines of 16: offset in the value and in the file, digits, characters
};
inline constexpr size_t kCopyForms = 10;
// As the menu has it.
const char16_t* CopyFormName(CopyForm form);

// Where the copied bytes are, for kDump.
struct CopyPlace {
  uint32_t offset = 0;  // of the first byte inside the value
  FilePosition in_file = nullptr;
};
// The bytes in one of the forms, lines with "\r\n". `place` matters to kDump alone. The text may be
// many times as long as the bytes: callers bound them.
std::u16string CopiedBytes(CopyForm form, std::span<const uint8_t> bytes, const CopyPlace& place);

}  // namespace hivequarry
