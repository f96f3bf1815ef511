#include "view/copy_forms.h"

#include <algorithm>
#include <string_view>

#include "bytes/byte_view.h"
#include "host/number_text.h"
#include "host/text.h"

namespace hivequarry {
namespace {

// Bytes of a line; those of arrays and scripts fit into 80 columns.
constexpr size_t kDumpLine = 16;
constexpr size_t kArrayLine = 12;
constexpr size_t kScriptLine = 25;

void AddHex(std::string& out, uint8_t byte, const char* digits) {
  out += digits[byte >> 4];
  out += digits[byte & 0x0F];
}

std::string Joined(ByteView bytes, std::string_view between) {
  std::string text;
  for (const uint8_t byte : bytes) {
    if (!text.empty()) text += between;
    AddHex(text, byte, kUpperDigits);
  }
  return text;
}

// Lines of kArrayLine bytes, ready to be compiled.
std::string ArrayText(ByteView bytes) {
  std::string text = "const unsigned char data[" + std::to_string(bytes.size()) + "] = {";
  for (size_t i = 0; i < bytes.size(); ++i) {
    text += i % kArrayLine == 0 ? "\r\n    0x" : " 0x";
    AddHex(text, bytes[i], kUpperDigits);
    text += ',';
  }
  return text + "\r\n};\r\n";
}

// Lines that go on end in a backslash, as scripts have it.
std::string ScriptText(ByteView bytes) {
  std::string text = "hex:";
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i != 0) text += i % kScriptLine == 0 ? ",\\\r\n  " : ",";
    AddHex(text, bytes[i], kLowerDigits);
  }
  return text;
}

std::string PythonText(ByteView bytes) {
  std::string text = "b\"";
  for (const uint8_t byte : bytes) {
    text += "\\x";
    AddHex(text, byte, kLowerDigits);
  }
  return text + "\"";
}

// Three bytes in four letters; "=" for those that the last group lacks. Without line ends.
std::string Base64Text(ByteView bytes) {
  constexpr const char kLetters[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t here = std::min<size_t>(3, bytes.size() - i);
    uint32_t group = 0;
    for (size_t j = 0; j < 3; ++j) group = group << 8 | (j < here ? bytes[i + j] : 0U);
    for (size_t j = 0; j < 4; ++j) {
      text += j <= here ? kLetters[group >> (18 - 6 * j) & 0x3F] : '=';
    }
  }
  return text;
}

char AsciiOf(uint8_t byte) { return byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.'; }

std::string AsciiText(ByteView bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    const bool line = byte == '\t' || byte == '\r' || byte == '\n';
    text += line ? static_cast<char>(byte) : AsciiOf(byte);
  }
  return text;
}

// An odd byte at the end is no character.
std::u16string WideTextOf(ByteView bytes) {
  std::u16string text;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto unit = static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
    text += unit == 0 ? u'\u2400' : unit;
  }
  if (bytes.size() % 2 != 0) text += u'\uFFFD';
  return text;
}

std::string DecimalText(ByteView bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += std::to_string(byte);
  }
  return text;
}

// The last line is padded, so that the characters of all lines are below each other.
std::string DumpText(ByteView bytes, const CopyPlace& place) {
  std::string text;
  for (size_t at = 0; at < bytes.size(); at += kDumpLine) {
    const ByteView line = bytes.subspan(at, std::min(kDumpLine, bytes.size() - at));
    const auto offset = place.offset + static_cast<uint32_t>(at);
    text += Hex(offset, 8);
    if (place.in_file) {
      const uint32_t in_file = place.in_file(offset);
      text += "  ";
      text += in_file == kNoFilePosition ? std::string(8, '-') : std::string(Hex(in_file, 8));
    }
    std::string digits = Joined(line, " ");
    digits.resize(3 * kDumpLine - 1, ' ');
    text += "  " + digits + "  ";
    for (const uint8_t byte : line) text += AsciiOf(byte);
    text += "\r\n";
  }
  return text;
}

// All forms but that in UTF-16: their characters are ASCII.
std::string NarrowForm(CopyForm form, ByteView bytes, const CopyPlace& place) {
  switch (form) {
    case CopyForm::kHex:
      return Joined(bytes, "");
    case CopyForm::kSpacedHex:
      return Joined(bytes, " ");
    case CopyForm::kCArray:
      return ArrayText(bytes);
    case CopyForm::kScriptHex:
      return ScriptText(bytes);
    case CopyForm::kPython:
      return PythonText(bytes);
    case CopyForm::kBase64:
      return Base64Text(bytes);
    case CopyForm::kText:
      return AsciiText(bytes);
    case CopyForm::kDecimal:
      return DecimalText(bytes);
    case CopyForm::kDump:
      return DumpText(bytes, place);
    case CopyForm::kWideText:
      break;
  }
  return {};
}

}  // namespace

const char16_t* CopyFormName(CopyForm form) {
  constexpr const char16_t* kNames[kCopyForms] = {u"&Hex, plain",    u"Hex, with &blanks",
                                                  u"&C array",       u"&Registry script (hex:)",
                                                  u"&Python bytes",  u"Base&64",
                                                  u"Text, &ASCII",   u"Text, &UTF-16",
                                                  u"&Decimal bytes", u"Hex dump with &offsets"};
  return kNames[static_cast<size_t>(form)];
}

std::u16string CopiedBytes(CopyForm form, ByteView bytes, const CopyPlace& place) {
  if (form == CopyForm::kWideText) return WideTextOf(bytes);
  const std::string text = NarrowForm(form, bytes, place);
  return {text.begin(), text.end()};
}

}  // namespace hivequarry
