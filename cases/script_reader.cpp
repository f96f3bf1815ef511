#include "cases/script_reader.h"

#include <charconv>
#include <cstring>

#include "host/text.h"
#include "records/value_key.h"

namespace hivequarry {
namespace {

constexpr std::string_view kHeadFour = "REGEDIT4";
constexpr std::string_view kHeadFive = "Windows Registry Editor Version 5.00";
constexpr std::string_view kWideMark = "\xFF\xFE";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// Lowest byte first; an odd byte at the end is dropped.
std::u16string WideOfBytes(std::string_view bytes) {
  std::u16string wide(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < wide.size(); ++i) {
    wide[i] = static_cast<char16_t>(static_cast<uint8_t>(bytes[2 * i]) |
                                    static_cast<uint8_t>(bytes[2 * i + 1]) << 8);
  }
  return wide;
}

std::vector<uint8_t> BytesOfText(std::string_view text) {
  std::vector<uint8_t> bytes;
  for (const char16_t unit : WideOfText(text)) {
    bytes.push_back(static_cast<uint8_t>(unit));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return bytes;
}

// The text of a script, and whether it is of the form "REGEDIT4".
std::string TextOfScript(std::string_view bytes, bool& four) {
  four = false;
  if (bytes.starts_with(kWideMark)) return TextOfWide(WideOfBytes(bytes.substr(2)));
  if (bytes.starts_with(kUtf8Mark)) {
    bytes.remove_prefix(kUtf8Mark.size());
    four = bytes.starts_with(kHeadFour);
    return std::string(bytes);
  }
  four = bytes.starts_with(kHeadFour);
  return TextOfCodePage(bytes);
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// Where in the script the reading is. `four`: a script of version 4, whose hexadecimal texts have a
// byte a character.
struct ScriptReader {
  std::string_view text;
  bool four = false;
  size_t at = 0;
  uint32_t line = 1;

  bool ended() const { return at >= text.size(); }
  char next() const { return ended() ? '\n' : text[at]; }
  void SkipBlanks() {
    while (!ended() && IsBlank(text[at])) ++at;
  }
  // To the start of the next line.
  void EndLine() {
    const size_t end = text.find('\n', at);
    at = end == text.npos ? text.size() : end + 1;
    ++line;
  }
  // Nothing but blanks, or a comment, is left of the line.
  bool AtLineEnd() {
    SkipBlanks();
    return ended() || text[at] == '\n' || text[at] == ';';
  }
};

// After its first quote, up to the one that ends it; text goes on over line ends.
bool ReadQuoted(ScriptReader& reader, std::string& out) {
  for (++reader.at; !reader.ended(); ++reader.at) {
    char c = reader.text[reader.at];
    if (c == '"') {
      ++reader.at;
      return true;
    }
    if (c == '\n') ++reader.line;
    if (c == '\\' && reader.at + 1 < reader.text.size()) {
      c = reader.text[++reader.at];
      if (c == '\n') ++reader.line;
      if (c == 'r') c = '\r';
      if (c == 'n') c = '\n';
    }
    out += c;
  }
  return false;
}

int DigitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// One to `most` digits, of which 8 fill the number.
bool ReadHexNumber(ScriptReader& reader, size_t most, uint32_t& number) {
  const size_t start = reader.at;
  number = 0;
  while (reader.at - start < most && DigitOf(reader.next()) >= 0) {
    number = number << 4 | static_cast<uint32_t>(DigitOf(reader.text[reader.at++]));
  }
  return reader.at != start;
}

// "01,02,\" and on the next line "03".
bool ReadHexBytes(ScriptReader& reader, std::vector<uint8_t>& data) {
  for (;;) {
    reader.SkipBlanks();
    if (reader.next() == '\\') {
      ++reader.at;
      if (!reader.AtLineEnd()) return false;
      reader.EndLine();
      continue;
    }
    if (reader.AtLineEnd()) return true;
    uint32_t byte = 0;
    if (!ReadHexNumber(reader, 2, byte)) return false;
    data.push_back(static_cast<uint8_t>(byte));
    reader.SkipBlanks();
    if (reader.next() == ',') {
      ++reader.at;
    } else if (!reader.AtLineEnd()) {
      return false;
    }
  }
}

bool TakeWord(ScriptReader& reader, std::string_view word) {
  if (!reader.text.substr(reader.at).starts_with(word)) return false;
  reader.at += word.size();
  return true;
}

// Texts as bytes are those of the code page in the older form.
void WidenText(ScriptLine& line) {
  const bool text = line.type == kRegSz || line.type == kRegExpandSz || line.type == kRegMultiSz;
  if (!text) return;
  const std::string bytes(line.data.begin(), line.data.end());
  line.data = BytesOfText(TextOfCodePage(bytes));
}

// After "hex": a type in parentheses or none, ":", the bytes. Text of the older form is in single
// bytes and becomes UTF-16 here.
bool ReadHexData(ScriptReader& reader, ScriptLine& line) {
  line.type = kRegBinary;
  if (TakeWord(reader, "(")) {
    if (!ReadHexNumber(reader, 8, line.type) || !TakeWord(reader, ")")) return false;
  }
  if (!TakeWord(reader, ":") || !ReadHexBytes(reader, line.data)) return false;
  if (reader.four) WidenText(line);
  return true;
}

// After the "=": a text in quotes, "-" for a value to be deleted, "dword:" or "hex". False for
// anything else, which makes the line a bad one.
bool ReadData(ScriptReader& reader, ScriptLine& line) {
  reader.SkipBlanks();
  if (reader.next() == '"') {
    std::string text;
    if (!ReadQuoted(reader, text)) return false;
    line.type = kRegSz;
    line.data = BytesOfText(text + '\0');
    return true;
  }
  if (TakeWord(reader, "-")) {
    line.act = ScriptAct::kDeleteValue;
    return true;
  }
  if (TakeWord(reader, "dword:")) {
    uint32_t number = 0;
    reader.SkipBlanks();
    if (!ReadHexNumber(reader, 8, number)) return false;
    line.type = kRegDword;
    for (int shift = 0; shift < 32; shift += 8) {
      line.data.push_back(static_cast<uint8_t>(number >> shift));
    }
    return true;
  }
  return TakeWord(reader, "hex") && ReadHexData(reader, line);
}

// "@" for the default value, or a name in quotes; then "=" and the data, up to the line's end.
bool ReadValueLine(ScriptReader& reader, ScriptLine& line) {
  line.act = ScriptAct::kValue;
  if (!TakeWord(reader, "@") && !ReadQuoted(reader, line.name)) return false;
  reader.SkipBlanks();
  return TakeWord(reader, "=") && ReadData(reader, line) && reader.AtLineEnd();
}

// "[-" deletes. The path goes up to the last bracket of the line, as names may have brackets.
bool ReadKeyLine(ScriptReader& reader, ScriptLine& line) {
  const std::string_view rest =
      reader.text.substr(reader.at, reader.text.find('\n', reader.at) - reader.at);
  const size_t end = rest.rfind(']');
  if (end == rest.npos) return false;
  std::string_view path = rest.substr(1, end - 1);
  line.act = path.starts_with('-') ? ScriptAct::kDeleteKey : ScriptAct::kKey;
  if (path.starts_with('-')) path.remove_prefix(1);
  while (path.ends_with('\\')) path.remove_suffix(1);
  line.name = path;
  reader.at += end + 1;
  return !path.empty();
}

}  // namespace

bool IsScriptStart(std::string_view bytes) {
  bool four = false;
  const std::string text = TextOfScript(bytes.substr(0, 256), four);
  return text.starts_with(kHeadFour) || text.starts_with(kHeadFive);
}

ScriptRead ReadScript(std::string_view bytes, const std::function<void(ScriptLine&)>& take) {
  ScriptRead read;
  read.script = IsScriptStart(bytes);
  if (!read.script) return read;
  ScriptReader reader;
  const std::string text = TextOfScript(bytes, reader.four);
  reader.text = text;
  reader.EndLine();
  bool in_key = false;
  while (!reader.ended()) {
    const uint32_t number = reader.line;
    ScriptLine line;
    if (!reader.AtLineEnd()) {
      const bool key = reader.next() == '[';
      const bool good = key ? ReadKeyLine(reader, line) : ReadValueLine(reader, line);
      // A key that is not understood must not have the values after it given to another.
      if (key) in_key = good && line.act == ScriptAct::kKey;
      if (good && (key || in_key)) {
        take(line);
      } else {
        if (read.bad_lines++ == 0) read.first_bad = number;
      }
    }
    reader.EndLine();
  }
  return read;
}

}  // namespace hivequarry
