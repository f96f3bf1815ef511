#include "hive/value_input.h"

#include <algorithm>

#include "hive/values.h"
#include "host/number_text.h"
#include "records/value_key.h"

namespace hivequarry {
namespace {

constexpr const char* kTooLong = "too long";
constexpr const char* kZero = "zero character";
constexpr const char* kEmptyLine = "empty line";
constexpr const char* kNoNumber = "no number";
constexpr const char* kNoDigit = "no digit";
constexpr const char* kTooLarge = "too large";
constexpr const char* kHalfByte = "half a byte";

constexpr size_t kBytesOfLine = 16;

std::nullopt_t Fail(InputError& error, size_t position, const char* word) {
  error = {position, word};
  return std::nullopt;
}

void AppendUnit(std::vector<uint8_t>& data, char16_t unit) {
  data.push_back(static_cast<uint8_t>(unit & 0xFF));
  data.push_back(static_cast<uint8_t>(unit >> 8));
}

// As a zero would end the text for most readers, one in it is refused.
InputData DataOfText(std::u16string_view text, InputError& error) {
  constexpr size_t kMostUnits = (kMaxValueData - 1) / 2 - 1;  // and the zero
  const size_t zero = text.find(u'\0');
  if (zero != std::u16string_view::npos) return Fail(error, zero, kZero);
  if (text.size() > kMostUnits) return Fail(error, kMostUnits, kTooLong);
  std::vector<uint8_t> data;
  data.reserve(2 * text.size() + 2);
  for (const char16_t unit : text) AppendUnit(data, unit);
  AppendUnit(data, 0);
  return data;
}

// Lines end with a line feed, with or without a carriage return before it; a last line may lack it.
// An empty line would end the list early.
InputData DataOfLines(std::u16string_view text, InputError& error) {
  std::vector<uint8_t> data;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find(u'\n', start), text.size());
    std::u16string_view line = text.substr(start, end - start);
    if (end < text.size() && line.ends_with(u'\r')) line.remove_suffix(1);
    if (line.empty()) return Fail(error, start, kEmptyLine);
    const InputData string = DataOfText(line, error);
    if (!string) return Fail(error, start + error.position, error.word);
    // One more zero ends the list.
    if (data.size() + string->size() + 2 >= kMaxValueData) return Fail(error, start, kTooLong);
    data.insert(data.end(), string->begin(), string->end());
    start = end + 1;
  }
  AppendUnit(data, 0);
  return data;
}

bool IsBlank(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}

std::optional<uint64_t> NumberOf(std::u16string_view text, uint64_t limit, InputError& error) {
  size_t end = text.size();
  while (end > 0 && IsBlank(text[end - 1])) --end;
  size_t at = 0;
  while (at < end && IsBlank(text[at])) ++at;
  uint32_t base = 10;
  if (end - at >= 2 && text[at] == u'0' && (text[at + 1] | 0x20) == u'x') {
    base = 16;
    at += 2;
  }
  if (at == end) return Fail(error, at, kNoNumber);
  uint64_t number = 0;
  for (; at < end; ++at) {
    const uint32_t digit = DigitOf(text[at]);
    if (digit >= base) return Fail(error, at, kNoDigit);
    if (number > (limit - digit) / base) return Fail(error, at, kTooLarge);
    number = number * base + digit;
  }
  return number;
}

size_t NumberSize(uint32_t type) { return type == kRegQword ? 8 : 4; }

// Lowest byte first, but for the one type that is the other way round.
InputData DataOfNumber(uint32_t type, std::u16string_view text, InputError& error) {
  const size_t size = NumberSize(type);
  const std::optional<uint64_t> number = NumberOf(text, size == 8 ? UINT64_MAX : UINT32_MAX, error);
  if (!number) return std::nullopt;
  std::vector<uint8_t> data(size);
  for (size_t i = 0; i < size; ++i) data[i] = static_cast<uint8_t>(*number >> 8 * i);
  if (type == kRegDwordBigEndian) std::reverse(data.begin(), data.end());
  return data;
}

// Empty for data of another length than the type's number has: they are edited as bytes.
std::u16string NumberText(uint32_t type, std::span<const uint8_t> data, bool decimal) {
  if (data.size() != NumberSize(type)) return {};
  std::vector<uint8_t> bytes(data.begin(), data.end());
  if (type != kRegDwordBigEndian) std::reverse(bytes.begin(), bytes.end());
  uint64_t number = 0;
  std::u16string text = u"0x";
  for (const uint8_t byte : bytes) {
    number = number << 8 | byte;
    text += {char16_t(kLowerDigits[byte >> 4]), char16_t(kLowerDigits[byte & 15])};
  }
  if (!decimal) return text;
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

// Lowest byte first; an odd byte at the end is left out.
std::u16string UnitsOf(std::span<const uint8_t> data) {
  std::u16string units;
  units.reserve(data.size() / 2);
  for (size_t i = 0; i + 1 < data.size(); i += 2) units.push_back(LoadU16(data.data() + i));
  return units;
}

// The strings up to the first empty one, a line each.
std::u16string LinesText(std::span<const uint8_t> data) {
  const std::u16string units = UnitsOf(data);
  std::u16string text;
  for (size_t start = 0; start < units.size() && units[start] != 0;) {
    const size_t end = std::min(units.find(u'\0', start), units.size());
    if (start != 0) text += u"\r\n";
    text.append(units, start, end - start);
    start = end + 1;
  }
  return text;
}

// Text up to its first zero: what is after it is lost when the text is taken over.
std::u16string TextInForm(uint32_t type, std::span<const uint8_t> data, bool decimal) {
  switch (FormOfType(type)) {
    case InputForm::kText: {
      const std::u16string units = UnitsOf(data);
      return units.substr(0, units.find(u'\0'));
    }
    case InputForm::kLines:
      return LinesText(data);
    case InputForm::kNumber:
      return NumberText(type, data, decimal);
    default:
      return InputOfBytes(data);
  }
}

bool IsSeparator(char16_t unit) { return IsBlank(unit) || unit == u',' || unit == u';'; }

}  // namespace

InputForm FormOfType(uint32_t type) {
  switch (type) {
    case kRegSz:
    case kRegExpandSz:
      return InputForm::kText;
    case kRegMultiSz:
      return InputForm::kLines;
    case kRegDword:
    case kRegDwordBigEndian:
    case kRegQword:
      return InputForm::kNumber;
    default:
      return InputForm::kBytes;
  }
}

InputData DataOfInput(uint32_t type, std::u16string_view text, InputError& error) {
  switch (FormOfType(type)) {
    case InputForm::kText:
      return DataOfText(text, error);
    case InputForm::kLines:
      return DataOfLines(text, error);
    case InputForm::kNumber:
      return DataOfNumber(type, text, error);
    default:
      return BytesOfInput(text, error);
  }
}

InputData BytesOfInput(std::u16string_view text, InputError& error) {
  std::vector<uint8_t> data;
  for (size_t at = 0; at < text.size();) {
    if (IsSeparator(text[at])) {
      ++at;
      continue;
    }
    size_t end = at;
    while (end < text.size() && DigitOf(text[end]) < 16) ++end;
    if (end < text.size() && !IsSeparator(text[end])) return Fail(error, end, kNoDigit);
    const size_t digits = end - at;
    if (digits % 2 != 0 && digits > 1) return Fail(error, end - 1, kHalfByte);
    if (data.size() + (digits + 1) / 2 >= kMaxValueData) return Fail(error, at, kTooLong);
    if (digits == 1) data.push_back(static_cast<uint8_t>(DigitOf(text[at++])));
    for (; at < end; at += 2) {
      data.push_back(static_cast<uint8_t>(DigitOf(text[at]) << 4 | DigitOf(text[at + 1])));
    }
  }
  return data;
}

InputText InputOfData(uint32_t type, std::span<const uint8_t> data, bool decimal) {
  InputText input;
  input.text = TextInForm(type, data, decimal);
  InputError error;
  const InputData back = DataOfInput(type, input.text, error);
  input.exact = back && std::equal(back->begin(), back->end(), data.begin(), data.end());
  return input;
}

std::u16string InputOfBytes(std::span<const uint8_t> data) {
  std::u16string text;
  text.reserve(3 * data.size() + data.size() / kBytesOfLine);
  for (size_t i = 0; i < data.size(); ++i) {
    if (i != 0) text += i % kBytesOfLine == 0 ? u"\r\n" : u" ";
    text += {char16_t(kLowerDigits[data[i] >> 4]), char16_t(kLowerDigits[data[i] & 15])};
  }
  return text;
}

}  // namespace hivequarry
