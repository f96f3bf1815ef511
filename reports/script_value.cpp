// Value lines of registry scripts.
#include <algorithm>
#include <array>

#include "hive/image.h"
#include "hive/value_text.h"
#include "reports/registry_script.h"

namespace hivequarry {
namespace {

constexpr char kLineEnd[] = "\r\n";
constexpr char kDigits[] = "0123456789abcdef";
constexpr char kUnwritable = '?';  // in place of what a line cannot hold

// What a character is written as between quotes: itself (0), a letter behind a backslash, or
// kUnwritable in its place.
constexpr std::array<char, 256> kQuotedForms = [] {
  std::array<char, 256> forms{};
  forms['\\'] = '\\';
  forms['"'] = '"';
  forms['\r'] = 'r';
  forms['\n'] = 'n';
  forms['\0'] = kUnwritable;
  return forms;
}();

void AppendQuoted(std::string_view text, std::string& out) {
  const size_t start = out.size();
  out.resize(start + 2 * text.size() + 2);
  char* to = out.data() + start;
  *to++ = '"';
  for (const char character : text) {
    const char form = kQuotedForms[static_cast<uint8_t>(character)];
    if (form != 0 && form != kUnwritable) *to++ = '\\';
    *to++ = form == 0 ? character : form;
  }
  *to++ = '"';
  out.resize(static_cast<size_t>(to - out.data()));
}

// A zero with a text still to come two places on becomes a blank; any other ends the text.
void ResolveZeros(std::string& text) {
  for (size_t at = text.find('\0'); at != text.npos; at = text.find('\0', at)) {
    const bool goes_on = at + 2 < text.size() && text[at + 2] != '\0';
    if (!goes_on) return text.resize(at);
    text[at] = ' ';
  }
}

// A number in lower-case hexadecimal, of at least that many digits.
void AppendHexNumber(uint32_t number, int digits, std::string& out) {
  while (digits < 8 && number >> 4 * digits != 0) ++digits;
  for (int digit = digits - 1; digit >= 0; --digit) out += kDigits[number >> 4 * digit & 15];
}

// The mark in front of hexadecimal data.
void AppendHexMark(uint32_t type, std::string& out) {
  out += "hex";
  if (type != kRegBinary) {
    out += '(';
    AppendHexNumber(type, 1, out);
    out += ')';
  }
  out += ':';
}

// The data behind their mark, which ends at `column` of the line. Lines are continued where a byte
// would begin behind column 76; there the counter goes on as if the line were one of 80 columns, so
// that every continuation holds 25 bytes.
void AppendHexBytes(std::span<const uint8_t> data, size_t column, std::string& out) {
  constexpr char kContinuation[] = {'\\', '\r', '\n', ' ', ' '};
  constexpr size_t kLastColumn = 76;
  column = std::min(column, kLastColumn);
  const size_t start = out.size();
  out.resize(start + 3 * data.size() + sizeof kContinuation * (data.size() / 25 + 2));
  char* to = out.data() + start;
  for (const uint8_t byte : data) {
    if (column > kLastColumn) {
      to = std::copy(std::begin(kContinuation), std::end(kContinuation), to);
      column = (column + sizeof kContinuation) % 80;
    }
    *to++ = kDigits[byte >> 4];
    *to++ = kDigits[byte & 15];
    *to++ = ',';
    column += 3;
  }
  out.resize(static_cast<size_t>(to - out.data()) - 1);  // without the last comma
}

// `line_start` is where the value's line begins in `out`.
void AppendHexForm(uint32_t type, std::span<const uint8_t> data, size_t line_start,
                   std::string& out) {
  AppendHexMark(type, out);
  if (!data.empty()) AppendHexBytes(data, out.size() - line_start, out);
}

std::span<const uint8_t> BytesOf(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

void AppendData(uint32_t type, std::span<const uint8_t> data, size_t line_start, std::string& out) {
  if (type == kRegSz) {
    std::string text = DataText(type, data, true);
    ResolveZeros(text);
    AppendQuoted(text, out);
  } else if (type == kRegDword && data.size() == 4) {
    out += "dword:";
    AppendHexNumber(LoadU32(data.data()), 8, out);
  } else if (type == kRegExpandSz || type == kRegMultiSz) {
    AppendHexForm(type, BytesOf(DataText(type, data, true)), line_start, out);
  } else {
    AppendHexForm(type, data, line_start, out);
  }
}

}  // namespace

bool FormatScriptValue(std::string_view name, uint32_t type, std::span<const uint8_t> data,
                       std::string& out) {
  if (name.size() > kMaxScriptName) return false;
  const size_t line_start = out.size();
  if (name.empty()) {
    out += '@';
  } else {
    AppendQuoted(name, out);
  }
  out += '=';
  AppendData(type, data, line_start, out);
  out += kLineEnd;
  return true;
}

}  // namespace hivequarry
