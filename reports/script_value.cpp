// Value lines of registry scripts.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "bytes/byte_view.h"
#include "hive/image.h"
#include "host/number_text.h"
#include "host/text.h"
#include "host/visible_text.h"
#include "reports/registry_script.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// What a character is written as between quotes: itself (0), a letter after a backslash, or
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

// How many characters of the text's start are sure to be written as they are.
size_t PlainRun(std::string_view text) {
  size_t at = PlainEnd(text, 0, '"', '\\');
  while (at < text.size() && kQuotedForms[static_cast<uint8_t>(text[at])] == 0) ++at;
  return at;
}

// In quotes: what the form escapes gets a backslash, what it cannot write becomes a stand-in.
void AppendInForms(std::string_view text, std::string& out) {
  while (!text.empty()) {
    const size_t run = PlainRun(text);
    out.append(text, 0, run);
    if (run == text.size()) return;
    const char form = kQuotedForms[static_cast<uint8_t>(text[run])];
    if (form != 0 && form != kUnwritable) out += '\\';
    out += form == 0 ? text[run] : form;
    text.remove_prefix(run + 1);
  }
}

void AppendQuoted(std::string_view text, std::string& out) {
  out += '"';
  AppendInForms(text, out);
  out += '"';
}

// Of the text from `start` on: a zero with a text still to come two places on becomes a blank; any
// other ends the text.
void ResolveZeros(std::string& text, size_t start) {
  for (size_t at = text.find('\0', start); at != text.npos; at = text.find('\0', at)) {
    const size_t next = at + 1 < text.size() ? at + 1 + CharacterAt(text, at + 1).length : at + 2;
    const bool goes_on = next < text.size() && text[next] != '\0';
    if (!goes_on) return text.resize(at);
    text[at] = ' ';
  }
}

// Most texts are plain and have one zero, at their end; they are made in their place. Others are
// made anew from the first character on that has another form.
void AppendQuotedString(std::span<const uint8_t> data, std::string& out, bool& lost) {
  out += '"';
  const size_t start = out.size();
  AppendStringText(data, out);
  const size_t end = PlainEnd(out, start, '"', '\\');
  if (end + 1 >= out.size() && (end == out.size() || out[end] == '\0')) {
    out.resize(end);
    out += '"';
    return;
  }
  ResolveZeros(out, start);
  const std::string_view text = std::string_view(out).substr(start);
  lost = lost || (!IsAscii(text) && !FitsCodePage(text));
  const size_t plain = start + PlainRun(std::string_view(out).substr(start));
  if (plain < out.size()) {
    const std::string rest = out.substr(plain);
    out.resize(plain);
    AppendInForms(rest, out);
  }
  out += '"';
}

// The mark before hexadecimal data.
void AppendHexMark(uint32_t type, std::string& out) {
  out += "hex";
  if (type != kRegBinary) {
    out += '(';
    out += SmallHex(type);
    out += ')';
  }
  out += ':';
}

// Each byte as its two digits and a comma; the fourth character fills up a word.
constexpr auto kHexBytes = [] {
  std::array<std::array<char, 4>, 256> texts{};
  for (size_t byte = 0; byte < texts.size(); ++byte) {
    texts[byte] = {kLowerDigits[byte >> 4], kLowerDigits[byte & 15], ',', ','};
  }
  return texts;
}();

// Three characters a byte; there must be room for one more, which is no part of the text. Gives
// where the text ends.
char* WriteHexRun(std::span<const uint8_t> bytes, char* to) {
  for (const uint8_t byte : bytes) {
    // Four characters are stored faster than three; the next byte's go over the last one.
    std::memcpy(to, kHexBytes[byte].data(), 4);
    to += 3;
  }
  return to;
}

// The data after their mark, which ends at `column` of the line. Lines are continued where a byte
// would begin after column 76; there the counter goes on as if the line were one of 80 columns, so
// that every continuation holds 25 bytes.
void AppendHexBytes(std::span<const uint8_t> data, size_t column, std::string& out) {
  constexpr std::string_view kContinuation = "\\\r\n  ";
  constexpr size_t kLastColumn = 76;
  constexpr size_t kContinued = 25;  // bytes of a line
  const size_t start = out.size();
  out.resize(start + 3 * data.size() + kContinuation.size() * (data.size() / kContinued + 2) + 1);
  char* to = out.data() + start;
  size_t run = (kLastColumn - std::min(column, kLastColumn)) / 3 + 1;
  while (true) {
    to = WriteHexRun(data.first(std::min(run, data.size())), to);
    data = data.subspan(std::min(run, data.size()));
    if (data.empty()) break;
    to = std::copy(kContinuation.begin(), kContinuation.end(), to);
    run = kContinued;
  }
  out.resize(static_cast<size_t>(to - out.data()) - 1);  // without the last comma
}

// `line_start` is where the value's line begins in `out`.
void AppendHexForm(uint32_t type, std::span<const uint8_t> data, size_t line_start,
                   std::string& out) {
  AppendHexMark(type, out);
  if (data.empty()) return;
  const std::string_view line = std::string_view(out).substr(line_start);
  AppendHexBytes(data, IsAscii(line) ? line.size() : CountUnits(line), out);
}

void AppendDword(std::span<const uint8_t> data, std::string& out) {
  out += "dword:";
  out += SmallHex(LoadU32(data.data()), 8);
}

// The older form has texts in the code page: strings between quotes, others as the bytes of the
// code page. All else is as in the newer form.
void AppendData4(uint32_t type, std::span<const uint8_t> data, size_t line_start, std::string& out,
                 bool& lost) {
  if (type == kRegSz) {
    AppendQuotedString(data, out, lost);
  } else if (type == kRegDword && data.size() == 4) {
    AppendDword(data, out);
  } else if (type == kRegExpandSz || type == kRegMultiSz) {
    std::string text = DataText(type, data, true);
    size_t missing = 0;
    if (!IsAscii(text)) text = CodePageOfText(text, &missing);
    lost = lost || missing != 0;
    AppendHexForm(type, TextBytes(text), line_start, out);
  } else {
    AppendHexForm(type, data, line_start, out);
  }
}

// Text that an import makes these very bytes of: UTF-16 with one zero, at its end, and nothing that
// would end the line.
bool IsQuotable(std::span<const uint8_t> data) {
  if (data.size() % 2 != 0 || data.size() < 2) return false;
  for (size_t at = 0; at < data.size(); at += 2) {
    const uint16_t unit = LoadU16(data.data() + at);
    if (unit == '\r' || unit == '\n' || (unit == 0) != (at + 2 == data.size())) return false;
  }
  return true;
}

// Hexadecimal wherever quotes would not give back the same bytes, so that nothing is lost in this
// form.
void AppendData5(uint32_t type, std::span<const uint8_t> data, size_t line_start,
                 std::string& out) {
  if (type == kRegSz && IsQuotable(data)) {
    std::string text;
    AppendStringText(data.first(data.size() - 2), text);
    AppendQuoted(text, out);
  } else if (type == kRegDword && data.size() == 4) {
    AppendDword(data, out);
  } else {
    AppendHexForm(type, data, line_start, out);
  }
}

}  // namespace

std::string_view ScriptHead(ScriptForm form) {
  return form == ScriptForm::kFour ? "REGEDIT4\r\n\r\n"
                                   : "Windows Registry Editor Version 5.00\r\n\r\n";
}

std::string_view ScriptMark(ScriptForm form) { return form == ScriptForm::kFour ? "" : "\xFF\xFE"; }

void EncodeScript(ScriptForm form, std::string_view text, std::string& bytes) {
  if (form == ScriptForm::kFour) {
    if (IsAscii(text)) {
      bytes += text;
    } else {
      bytes += CodePageOfText(text);
    }
    return;
  }
  const std::u16string wide = WideOfText(text);
  static_assert(std::endian::native == std::endian::little);
  bytes.append(reinterpret_cast<const char*>(wide.data()), 2 * wide.size());
}

bool HoldsScriptName(ScriptForm form, std::string_view name) {
  if (PlainEnd(name, 0) == name.size()) return true;
  constexpr std::string_view kEnds("\r\n\0", 3);
  return name.find_first_of(kEnds) == name.npos &&
         (form == ScriptForm::kFive || FitsCodePage(name));
}

bool LosesValueName(ScriptForm form, std::string_view name) {
  if (PlainEnd(name, 0) == name.size()) return false;
  return name.find('\0') != name.npos || (form == ScriptForm::kFour && !FitsCodePage(name));
}

namespace {

// "\"name\"=", or "@=". False as FormatScriptValue has it.
bool BeginValueLine(std::string_view name, std::string& out) {
  if (name.size() > kMaxScriptName && CountUnits(name) > kMaxScriptName) return false;
  if (name.empty()) {
    out += '@';
  } else {
    AppendQuoted(name, out);
  }
  out += '=';
  return true;
}

}  // namespace

bool FormatScriptDeletion(std::string_view name, std::string& out) {
  if (!BeginValueLine(name, out)) return false;
  out.append("-").append(kScriptLineEnd);
  return true;
}

// On one line, however long it becomes: for programs, which need no line ends.
bool FormatScriptBytes(std::string_view name, uint32_t type, std::span<const uint8_t> data,
                       std::string& out) {
  if (!BeginValueLine(name, out)) return false;
  AppendHexMark(type, out);
  const size_t start = out.size();
  out.resize(start + 3 * data.size() + 1);
  const char* const end = WriteHexRun(data, out.data() + start);
  out.resize(static_cast<size_t>(end - out.data()) - (data.empty() ? 0 : 1));  // the last comma
  out += kScriptLineEnd;
  return true;
}

bool FormatScriptValue(std::string_view name, uint32_t type, std::span<const uint8_t> data,
                       ScriptForm form, std::string& out, bool& lost) {
  lost = false;
  const size_t line_start = out.size();
  if (!BeginValueLine(name, out)) return false;
  if (form == ScriptForm::kFour) {
    AppendData4(type, data, line_start, out, lost);
  } else {
    AppendData5(type, data, line_start, out);
  }
  out += kScriptLineEnd;
  return true;
}

}  // namespace hivequarry
